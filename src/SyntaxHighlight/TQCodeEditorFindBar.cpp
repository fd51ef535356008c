// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/TQCodeEditorFindBar.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

// The bundled icons live in a static library: their resource registers on first use.
static void initEditorIcons()
{
    Q_INIT_RESOURCE(editoricons);
}

namespace {

QToolButton* makeButton(QWidget* parent, const QString& objectName, const QString& iconName,
                        const QString& fallback, const QString& text, const QString& toolTip)
{
    auto* button = new QToolButton(parent);
    button->setObjectName(objectName);
    button->setIcon(QIcon::fromTheme(iconName, QIcon(fallback)));
    button->setText(text);
    button->setToolTip(toolTip);
    button->setAccessibleName(text);
    button->setAutoRaise(true);
    return button;
}

} // namespace

TQCodeEditorFindBar::TQCodeEditorFindBar(QWidget* parent)
    : QWidget(parent), m_field((initEditorIcons(), new QLineEdit(this))),
      m_previousButton(makeButton(this, QStringLiteral("findPreviousButton"),
                                  QStringLiteral("go-up"),
                                  QStringLiteral(":/editor/icons/go-up.svg"), tr("Previous"),
                                  tr("Find the previous match (Shift+F3)"))),
      m_nextButton(makeButton(this, QStringLiteral("findNextButton"), QStringLiteral("go-down"),
                              QStringLiteral(":/editor/icons/go-down.svg"), tr("Next"),
                              tr("Find the next match (F3)"))),
      m_closeButton(makeButton(this, QStringLiteral("findCloseButton"),
                               QStringLiteral("window-close"),
                               QStringLiteral(":/editor/icons/window-close.svg"), tr("Close"),
                               tr("Close the find field (Escape)")))
{
    setObjectName(QStringLiteral("findBar"));
    setAccessibleName(tr("Find"));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);

    auto* label = new QLabel(tr("&Find:"), this);
    label->setBuddy(m_field);
    m_field->setObjectName(QStringLiteral("findField"));
    m_field->setClearButtonEnabled(true);
    m_field->setPlaceholderText(tr("Find in text"));
    m_field->installEventFilter(this);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 2, 4, 2);
    layout->addWidget(label);
    layout->addWidget(m_field, 1);
    layout->addWidget(m_previousButton);
    layout->addWidget(m_nextButton);
    layout->addWidget(m_closeButton);

    connect(m_field, &QLineEdit::textEdited, this, [this] { setFound(true); });
    connect(m_previousButton, &QToolButton::clicked, this,
            &TQCodeEditorFindBar::findPreviousRequested);
    connect(m_nextButton, &QToolButton::clicked, this, &TQCodeEditorFindBar::findNextRequested);
    connect(m_closeButton, &QToolButton::clicked, this, &TQCodeEditorFindBar::closeRequested);
}

QString TQCodeEditorFindBar::text() const
{
    return m_field->text();
}

void TQCodeEditorFindBar::setFound(bool found)
{
    QPalette palette = this->palette();
    if (!found) {
        const QColor base = palette.color(QPalette::Base);
        palette.setColor(
            QPalette::Base,
            QColor::fromRgbF(base.redF() * 0.6f + 0.4f, base.greenF() * 0.6f, base.blueF() * 0.6f));
    }
    m_field->setPalette(palette);
}

bool TQCodeEditorFindBar::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Escape) {
            emit closeRequested();
            return true;
        }
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            if (key->modifiers() & Qt::ShiftModifier)
                emit findPreviousRequested();
            else
                emit findNextRequested();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

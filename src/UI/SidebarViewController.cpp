// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/SidebarViewController.h"

#include "QuillonCommons/NotificationCenter.h"
#include "SyntaxHighlight/SyntaxHighlight.h"

#include <QAction>
#include <QMenu>
#include <QStyledItemDelegate>

namespace {

// Section headers read as headers: bold, in the secondary text colour.
class SidebarItemDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.data(SidebarModel::IsHeaderRole).toBool()) {
            option->font.setBold(true);
            option->palette.setColor(QPalette::Text,
                                     option->palette.color(QPalette::PlaceholderText));
        }
    }
};

} // namespace

SidebarViewController::SidebarViewController(TQOutlineView* sourceListView,
                                             NotificationCenter* notificationCenter,
                                             QObject* parent)
    : QObject(parent), m_sourceListView(sourceListView), m_model(new SidebarModel(this)),
      m_notificationCenter(notificationCenter)
{
    sourceListView->setObjectName(QStringLiteral("sourceListView"));
    sourceListView->setAccessibleName(tr("Scripts and running scripts"));
    sourceListView->setItemDelegate(new SidebarItemDelegate(sourceListView));
    sourceListView->setModel(m_model);
    sourceListView->setIndentation(10);
    sourceListView->setRootIsDecorated(false);
    sourceListView->setItemsExpandable(false);
    sourceListView->expandAll();
    // Rows inserted under a header later must show too: headers stay expanded.
    connect(m_model, &QAbstractItemModel::rowsInserted, sourceListView,
            [view = sourceListView, model = m_model](const QModelIndex& parent) {
                if (!parent.isValid())
                    return;
                if (model->node(parent)->isHeader())
                    view->expand(parent);
            });
    connect(sourceListView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SidebarViewController::announceSelection);
    sourceListView->setMenuProvider([this](const QModelIndex& row) { return menuForRow(row); });
}

SidebarViewController::~SidebarViewController()
{
    m_model->setDragAndDrop(nullptr);
    disconnect(m_scriptsManagerSubsriction);
    disconnect(m_scriptExecutorSubsriction);
}

void SidebarViewController::setScriptsManager(ScriptsManager* scriptsManager)
{
    disconnect(m_scriptsManagerSubsriction);
    m_scriptsManager = scriptsManager;
    m_model->setScripts(scriptsManager ? scriptsManager->scripts() : ScriptList{});
    if (scriptsManager)
        m_scriptsManagerSubsriction = connect(scriptsManager, &ScriptsManager::scriptsChanged,
                                              m_model, &SidebarModel::setScripts);
    setUpDragAndDrop();
    if (m_sourceListView)
        m_sourceListView->expand(m_model->scriptsIndex());
}

void SidebarViewController::setScriptExecutor(ScriptExecutorManager* scriptExecutor)
{
    disconnect(m_scriptExecutorSubsriction);
    m_scriptExecutor = scriptExecutor;
    m_model->setRunningScripts(scriptExecutor ? scriptExecutor->runningScripts()
                                              : RunningScriptList{});
    if (scriptExecutor)
        m_scriptExecutorSubsriction =
            connect(scriptExecutor, &ScriptExecutorManager::runningScriptsChanged, m_model,
                    &SidebarModel::setRunningScripts);
    if (m_sourceListView)
        m_sourceListView->expand(m_model->runningScriptsIndex());
}

void SidebarViewController::setUpDragAndDrop()
{
    m_model->setDragAndDrop(nullptr);
    m_dragAndDrop.reset();
    if (m_scriptsManager)
        m_dragAndDrop = std::make_unique<ScriptDragAndDrop>(*m_scriptsManager, [] {
            QStringList identifiers;
            for (const Language& language : SyntaxHighlight::shared().availableLanguages())
                identifiers.append(language.identifier);
            return identifiers;
        });
    m_model->setDragAndDrop(m_dragAndDrop.get());
    if (!m_sourceListView)
        return;
    const bool enabled = m_dragAndDrop != nullptr;
    m_sourceListView->setDragEnabled(enabled);
    m_sourceListView->setAcceptDrops(enabled);
    m_sourceListView->setDropIndicatorShown(enabled);
    m_sourceListView->setDragDropMode(enabled ? QAbstractItemView::DragDrop
                                              : QAbstractItemView::NoDragDrop);
    // Within the sidebar a drag reorders; files from outside are linked, never moved.
    m_sourceListView->setDefaultDropAction(Qt::MoveAction);
}

bool SidebarViewController::selectIndex(const QModelIndex& index)
{
    if (!index.isValid() || !m_sourceListView)
        return false;
    m_sourceListView->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                                   QItemSelectionModel::Rows);
    m_sourceListView->scrollTo(index);
    return true;
}

bool SidebarViewController::selectScript(const ScriptPtr& script)
{
    return selectIndex(m_model->indexOfObject(script.get()));
}

bool SidebarViewController::selectRunningScript(const RunningScriptPtr& runningScript)
{
    return selectIndex(m_model->indexOfObject(runningScript.get()));
}

SidebarNode::RepresentedObject SidebarViewController::selectedObject() const
{
    if (!m_sourceListView)
        return {};
    const QModelIndexList rows = m_sourceListView->selectionModel()->selectedRows();
    if (rows.isEmpty())
        return {};
    const SidebarNode* node = m_model->node(rows.first());
    return node ? node->representedObject() : SidebarNode::RepresentedObject{};
}

void SidebarViewController::announceSelection()
{
    const SidebarNode::RepresentedObject selected = selectedObject();
    QVariant object;
    const void* key = nullptr;
    if (const auto* script = std::get_if<ScriptPtr>(&selected)) {
        object = QVariant::fromValue(*script);
        key = script->get();
    } else if (const auto* run = std::get_if<RunningScriptPtr>(&selected)) {
        object = QVariant::fromValue(*run);
        key = run->get();
    }
    // Moves and renames re-announce nothing: the same object stays selected.
    if (key && key == m_announced)
        return;
    m_announced = key;
    if (m_notificationCenter)
        m_notificationCenter->post(selectionChangedNotification(), object);
}

QMenu* SidebarViewController::menuForRow(const QModelIndex& row)
{
    const SidebarNode* node = m_model->node(row);
    if (!node || node->isHeader())
        return nullptr;
    auto* menu = new QMenu(m_sourceListView);
    menu->setObjectName(QStringLiteral("sidebarContextMenu"));
    const auto add = [this, menu](const QString& title, const QString& name, const QVariant& object,
                                  void (SidebarViewController::*request)(QObject*)) {
        QAction* action = menu->addAction(title);
        action->setObjectName(name);
        action->setData(object);
        connect(action, &QAction::triggered, this,
                [this, action, request] { emit(this->*request)(action); });
        return action;
    };
    if (const ScriptPtr script = node->script()) {
        const QVariant object = QVariant::fromValue(script);
        add(tr("Save script to…"), QStringLiteral("saveTo"), object,
            &SidebarViewController::saveToRequested);
        menu->addSeparator();
        QAction* remove = add(tr("Delete script"), QStringLiteral("deleteScript"), object,
                              &SidebarViewController::deleteScriptRequested);
        // A built-in script would come back at the next start: deleting it is not offered.
        remove->setEnabled(!script->builtIn());
        add(tr("Duplicate script"), QStringLiteral("duplicate"), object,
            &SidebarViewController::duplicateRequested);
    } else if (const RunningScriptPtr run = node->runningScript()) {
        add(tr("Delete log"), QStringLiteral("deleteRunningScript"), QVariant::fromValue(run),
            &SidebarViewController::deleteRunningScriptRequested);
    }
    return menu;
}

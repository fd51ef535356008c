// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/ScriptExporter.h"

#include "Model/Bookmark.h"
#include "Model/Script.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/Utf8.h"
#include "UI/SaveOptionsViewController.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QMessageBox>

#include <cerrno>
#include <sys/stat.h>

namespace {

void showError(const AppError& error, QWidget* parent)
{
    QMessageBox box(QMessageBox::Warning, QObject::tr("The script couldn’t be saved"),
                    error.description(), QMessageBox::Ok, parent);
    box.setObjectName(QStringLiteral("saveErrorAlert"));
    box.setInformativeText(error.failureReason());
    box.exec();
}

} // namespace

ScriptExporter::ScriptExporter(ScriptsManager* scriptsManager) : m_scriptsManager(scriptsManager) {}

QFileDialog* ScriptExporter::makeSavePanel(const Script& script, QWidget* parent,
                                           SaveOptionsViewController** options)
{
    auto* panel = new QFileDialog(parent, QObject::tr("Save Script"));
    panel->setObjectName(QStringLiteral("savePanel"));
    // The platform's own dialog would have no room for the options.
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setFileMode(QFileDialog::AnyFile);
    panel->setDirectory(QDir::homePath());
    panel->selectFile(script.fileName());
    auto* accessory = new SaveOptionsViewController(panel);
    accessory->setPanel(panel);
    if (auto* grid = qobject_cast<QGridLayout*>(panel->layout()))
        grid->addWidget(accessory, grid->rowCount(), 0, 1, grid->columnCount());
    else
        panel->layout()->addWidget(accessory);
    if (options)
        *options = accessory;
    return panel;
}

bool ScriptExporter::exportScript(Script& script, QWidget* parent)
{
    SaveOptionsViewController* options = nullptr;
    std::unique_ptr<QFileDialog> panel(makeSavePanel(script, parent, &options));
    if (panel->exec() != QDialog::Accepted || panel->selectedFiles().isEmpty())
        return false;
    return saveTo(script, panel->selectedFiles().constFirst(), options->hasExecutionRights(),
                  parent);
}

bool ScriptExporter::saveTo(Script& script, const QString& path, bool hasExecutionRights,
                            QWidget* parent)
{
    try {
        const auto data = Utf8::encode(script.content());
        if (!data)
            throw AppError(QStringLiteral("The file “%1” couldn’t be saved.").arg(path),
                           QStringLiteral("The script holds text that cannot be encoded as "
                                          "UTF-8."));
        FileUtils::writeAtomically(path, *data);
        script.setBookmark(Bookmark::create(path));
        if (m_scriptsManager)
            m_scriptsManager->saveScripts();
        if (hasExecutionRights)
            addExecutionRights(path);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("saveTo(_:)"), __LINE__);
        showError(error, parent);
        return false;
    }
    return true;
}

void ScriptExporter::addExecutionRights(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    struct stat info
    {};
    if (::stat(native.constData(), &info) != 0)
        throw AppError::fromErrno(
            errno, QStringLiteral("The permissions of “%1” couldn’t be read.").arg(path));
    if (::chmod(native.constData(), (info.st_mode & 07777) | 0111) != 0)
        throw AppError::fromErrno(
            errno, QStringLiteral("The permissions of “%1” couldn’t be changed.").arg(path));
}

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QString>

class QFileDialog;
class QWidget;
class Script;
class SaveOptionsViewController;
class ScriptsManager;

// Saving a script to a file of the user's choice (the main window's "Export…" and the
// sidebar's "Save script to…"): the file is written, the script becomes linked to it and the
// library is saved. The one place in the program where a failure is shown in a dialog.
class ScriptExporter
{
public:
    explicit ScriptExporter(ScriptsManager* scriptsManager);

    // Asks for the file in a save panel with the save options; answers whether the script
    // was written.
    bool exportScript(Script& script, QWidget* parent);

    // The panel for `script`, proposing its file name, with the options accessory inside.
    static QFileDialog* makeSavePanel(const Script& script, QWidget* parent,
                                      SaveOptionsViewController** options);

    // What follows a confirmed panel. Every failure is logged and shown; the steps done before
    // it stay done. Answers whether every step succeeded.
    bool saveTo(Script& script, const QString& path, bool hasExecutionRights, QWidget* parent);

    // Adds execute permission for owner, group and others to what the file has. Throws AppError.
    static void addExecutionRights(const QString& path);

private:
    QPointer<ScriptsManager> m_scriptsManager;
};

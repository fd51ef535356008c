// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QWidget;

// What the main window shows right of the sidebar for a selection: the script editor for a
// script, the log viewer for a run, the placeholder otherwise. A pane is its own view (a
// QWidget that implements this interface, view() answering this): the window takes the widget
// and deletes it, and so the pane, when the selection moves on.
class DetailPane
{
public:
    virtual ~DetailPane();
    virtual QWidget* view() = 0;
    // A new script was just added: put the cursor in its name, where the pane has one.
    virtual void beginEditingName() {}
};

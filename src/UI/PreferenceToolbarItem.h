// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAction>
#include <QPointer>

class PreferencesPaneViewController;

// A pane and the toolbar item that shows it.
struct PreferenceToolbarItem
{
    QPointer<PreferencesPaneViewController> paneViewController;
    QPointer<QAction> toolbarItem;
};

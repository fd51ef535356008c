// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/TQOutlineView.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>

TQOutlineView::TQOutlineView(QWidget* parent) : QTreeView(parent)
{
    setHeaderHidden(true);
    setUniformRowHeights(false);
    setIndentation(10);
    setTextElideMode(Qt::ElideMiddle);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setContextMenuPolicy(Qt::DefaultContextMenu);
}

QMenu* TQOutlineView::menuForRow(const QModelIndex& row) const
{
    if (!m_menuProvider || !row.isValid())
        return nullptr;
    return m_menuProvider(row);
}

void TQOutlineView::rowsAboutToBeRemoved(const QModelIndex& parent, int start, int end)
{
    // In single selection QAbstractItemView selects a neighbour of a removed selected row; here
    // the selection ends with its row, so the detail pane falls back to the placeholder.
    const SelectionMode mode = selectionMode();
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    QTreeView::rowsAboutToBeRemoved(parent, start, end);
    setSelectionMode(mode);
}

void TQOutlineView::contextMenuEvent(QContextMenuEvent* event)
{
    const QModelIndex row =
        event->reason() == QContextMenuEvent::Mouse ? indexAt(event->pos()) : currentIndex();
    QMenu* menu = menuForRow(row);
    if (!menu)
        return;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QPoint at = event->reason() == QContextMenuEvent::Mouse
                          ? event->globalPos()
                          : viewport()->mapToGlobal(visualRect(row).bottomLeft());
    menu->popup(at);
}

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTreeView>

#include <functional>

class QMenu;

// The sidebar's tree view: asks its owner for the context menu of the row under the pointer
// (or of the current row, from the keyboard's menu key).
class TQOutlineView : public QTreeView
{
    Q_OBJECT
public:
    using MenuProvider = std::function<QMenu*(const QModelIndex& row)>;

    explicit TQOutlineView(QWidget* parent = nullptr);
    void setMenuProvider(MenuProvider provider) { m_menuProvider = std::move(provider); }
    // The menu for a row, as the owner builds it; the caller owns it. Null when there is none.
    QMenu* menuForRow(const QModelIndex& row) const;

protected:
    void rowsAboutToBeRemoved(const QModelIndex& parent, int start, int end) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    MenuProvider m_menuProvider;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/RunningScript.h"
#include "Model/Script.h"
#include "UI/SidebarHeaderNode.h"

#include <QAbstractItemModel>
#include <QHash>

#include <memory>
#include <optional>

class ScriptDragAndDrop;

// The sidebar's tree: two headers ("Running Scripts", then "Scripts") over one row per run and
// one per script, in the lists' order. A new list is applied as row removes, moves and inserts,
// never as a reset, so a view keeps its selection and scroll position through every update.
class SidebarModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Role
    {
        IsHeaderRole = Qt::UserRole + 1,
        ScriptRole,
        RunningScriptRole,
    };

    static constexpr int headerRowHeight = 25;
    static constexpr int rowHeight = 20;

    explicit SidebarModel(QObject* parent = nullptr);
    ~SidebarModel() override;

    SidebarNode* rootNode() const { return m_rootNode.get(); }
    SidebarHeaderNode* runningScriptsNode() const { return m_runningScriptsNode; }
    SidebarHeaderNode* scriptsNode() const { return m_scriptsNode; }

    void setScripts(const ScriptList& scripts);
    void setRunningScripts(const RunningScriptList& runningScripts);

    SidebarNode* node(const QModelIndex& index) const;
    QModelIndex indexOfNode(const SidebarNode* node) const;
    QModelIndex runningScriptsIndex() const { return indexOfNode(m_runningScriptsNode); }
    QModelIndex scriptsIndex() const { return indexOfNode(m_scriptsNode); }
    // The row of this script or run, or an invalid index.
    QModelIndex indexOfObject(const void* object) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // Drags out of script rows and drops into the scripts section go through this; without
    // it the sidebar offers no drag and drop.
    void setDragAndDrop(ScriptDragAndDrop* dragAndDrop);
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    std::optional<int> scriptsDropIndex(int row, const QModelIndex& parent) const;
    template <typename Ptr>
    void sync(SidebarHeaderNode* header, const QList<Ptr>& items);
    void rename(const void* key, const QString& name);
    void watch(const SidebarNode& node);
    void unwatch(const SidebarNode& node);

    std::unique_ptr<SidebarNode> m_rootNode;
    SidebarHeaderNode* m_runningScriptsNode = nullptr;
    SidebarHeaderNode* m_scriptsNode = nullptr;
    QHash<const void*, QMetaObject::Connection> m_nameConnections;
    ScriptDragAndDrop* m_dragAndDrop = nullptr;
};

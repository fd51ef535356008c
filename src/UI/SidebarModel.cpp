// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/SidebarModel.h"

#include "Model/ScriptDragAndDrop.h"

#include <QMimeData>
#include <QSet>
#include <QSize>

namespace {

const void* keyOf(const ScriptPtr& script)
{
    return script.get();
}
const void* keyOf(const RunningScriptPtr& run)
{
    return run.get();
}

} // namespace

SidebarModel::SidebarModel(QObject* parent)
    : QAbstractItemModel(parent), m_rootNode(std::make_unique<SidebarNode>(QStringLiteral("root")))
{
    auto running = std::make_unique<SidebarHeaderNode>(tr("Running Scripts"));
    auto scripts = std::make_unique<SidebarHeaderNode>(tr("Scripts"));
    m_runningScriptsNode = running.get();
    m_scriptsNode = scripts.get();
    m_rootNode->insertChild(0, std::move(running));
    m_rootNode->insertChild(1, std::move(scripts));
}

SidebarModel::~SidebarModel()
{
    for (const QMetaObject::Connection& connection : std::as_const(m_nameConnections))
        QObject::disconnect(connection);
}

void SidebarModel::setScripts(const ScriptList& scripts)
{
    sync(m_scriptsNode, scripts);
}

void SidebarModel::setRunningScripts(const RunningScriptList& runningScripts)
{
    sync(m_runningScriptsNode, runningScripts);
}

template <typename Ptr>
void SidebarModel::sync(SidebarHeaderNode* header, const QList<Ptr>& items)
{
    const QModelIndex parent = indexOfNode(header);
    QSet<const void*> wanted;
    wanted.reserve(items.size());
    for (const Ptr& item : items)
        wanted.insert(keyOf(item));

    // Rows whose object left the list go first, a contiguous run at a time, from the bottom.
    for (int row = header->childCount() - 1; row >= 0; --row) {
        if (wanted.contains(header->child(row)->objectKey()))
            continue;
        const int last = row;
        while (row > 0 && !wanted.contains(header->child(row - 1)->objectKey()))
            --row;
        beginRemoveRows(parent, row, last);
        for (int r = last; r >= row; --r)
            unwatch(*header->child(r));
        for (int r = last; r >= row; --r)
            header->takeChild(r);
        endRemoveRows();
    }

    // Then every row is put in its place: kept, moved up from below, or inserted.
    for (int i = 0; i < items.size(); ++i) {
        const Ptr& item = items[i];
        const void* key = keyOf(item);
        int found = -1;
        for (int j = i; j < header->childCount(); ++j) {
            if (header->child(j)->objectKey() == key) {
                found = j;
                break;
            }
        }
        if (found == i) {
            // Names are compared rather than trusted to their signal: a list can arrive after
            // a rename made while signals were blocked.
            SidebarNode* node = header->child(i);
            if (node->name() != item->name()) {
                node->setName(item->name());
                const QModelIndex changed = index(i, 0, parent);
                emit dataChanged(changed, changed, {Qt::DisplayRole});
            }
            continue;
        }
        if (found > i) {
            beginMoveRows(parent, found, found, parent, i);
            header->moveChild(found, i);
            endMoveRows();
            --i; // look at the moved row again, for its name
            continue;
        }
        beginInsertRows(parent, i, i);
        auto node = std::make_unique<SidebarNode>(item->name(), item);
        watch(*node);
        header->insertChild(i, std::move(node));
        endInsertRows();
    }

    // A list that named the same object twice leaves rows behind.
    if (header->childCount() > items.size()) {
        beginRemoveRows(parent, int(items.size()), header->childCount() - 1);
        while (header->childCount() > items.size()) {
            unwatch(*header->child(header->childCount() - 1));
            header->takeChild(header->childCount() - 1);
        }
        endRemoveRows();
    }
}

void SidebarModel::watch(const SidebarNode& node)
{
    const ScriptPtr script = node.script();
    if (!script || m_nameConnections.contains(script.get()))
        return;
    const void* key = script.get();
    m_nameConnections.insert(key, connect(script.get(), &Script::nameChanged, this,
                                          [this, key](const QString& name) { rename(key, name); }));
}

void SidebarModel::unwatch(const SidebarNode& node)
{
    if (!node.script())
        return;
    // The same script can still be listed elsewhere in the tree only under "Scripts", once.
    QObject::disconnect(m_nameConnections.take(node.objectKey()));
}

void SidebarModel::rename(const void* key, const QString& name)
{
    const QModelIndex changed = indexOfObject(key);
    SidebarNode* target = node(changed);
    if (!target || target->name() == name)
        return;
    target->setName(name);
    emit dataChanged(changed, changed, {Qt::DisplayRole});
}

SidebarNode* SidebarModel::node(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    return static_cast<SidebarNode*>(index.internalPointer());
}

QModelIndex SidebarModel::indexOfNode(const SidebarNode* target) const
{
    if (!target || target == m_rootNode.get() || !target->parent())
        return {};
    return createIndex(target->parent()->indexOf(target), 0, const_cast<SidebarNode*>(target));
}

QModelIndex SidebarModel::indexOfObject(const void* object) const
{
    if (!object)
        return {};
    for (const SidebarHeaderNode* header : {m_runningScriptsNode, m_scriptsNode}) {
        for (int row = 0; row < header->childCount(); ++row) {
            if (header->child(row)->objectKey() == object)
                return indexOfNode(header->child(row));
        }
    }
    return {};
}

QModelIndex SidebarModel::index(int row, int column, const QModelIndex& parent) const
{
    if (column != 0 || row < 0)
        return {};
    const SidebarNode* parentNode = parent.isValid() ? node(parent) : m_rootNode.get();
    if (!parentNode || row >= parentNode->childCount())
        return {};
    return createIndex(row, 0, parentNode->child(row));
}

QModelIndex SidebarModel::parent(const QModelIndex& child) const
{
    const SidebarNode* childNode = node(child);
    if (!childNode)
        return {};
    return indexOfNode(childNode->parent());
}

int SidebarModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0)
        return 0;
    const SidebarNode* parentNode = parent.isValid() ? node(parent) : m_rootNode.get();
    return parentNode ? parentNode->childCount() : 0;
}

int SidebarModel::columnCount(const QModelIndex&) const
{
    return 1;
}

QVariant SidebarModel::data(const QModelIndex& index, int role) const
{
    const SidebarNode* target = node(index);
    if (!target)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return target->name();
    case Qt::SizeHintRole:
        return QSize(-1, target->isHeader() ? headerRowHeight : rowHeight);
    case IsHeaderRole:
        return target->isHeader();
    case ScriptRole:
        if (ScriptPtr script = target->script())
            return QVariant::fromValue(script);
        return {};
    case RunningScriptRole:
        if (RunningScriptPtr run = target->runningScript())
            return QVariant::fromValue(run);
        return {};
    default:
        return {};
    }
}

Qt::ItemFlags SidebarModel::flags(const QModelIndex& index) const
{
    const SidebarNode* target = node(index);
    if (!target)
        return Qt::NoItemFlags;
    // Drops land between the rows of the scripts section, never on a row.
    if (target->isHeader())
        return target == m_scriptsNode && m_dragAndDrop ? Qt::ItemIsEnabled | Qt::ItemIsDropEnabled
                                                        : Qt::ItemIsEnabled;
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    return target->script() && m_dragAndDrop ? flags | Qt::ItemIsDragEnabled : flags;
}

void SidebarModel::setDragAndDrop(ScriptDragAndDrop* dragAndDrop)
{
    m_dragAndDrop = dragAndDrop;
}

QStringList SidebarModel::mimeTypes() const
{
    return {QStringLiteral("text/uri-list"), Script::scriptPasteboardType()};
}

QMimeData* SidebarModel::mimeData(const QModelIndexList& indexes) const
{
    ScriptList scripts;
    for (const QModelIndex& index : indexes) {
        const SidebarNode* target = node(index);
        if (ScriptPtr script = target ? target->script() : nullptr;
            script && !scripts.contains(script))
            scripts.append(script);
    }
    if (scripts.isEmpty())
        return nullptr;
    return ScriptDragAndDrop::mimeData(scripts);
}

Qt::DropActions SidebarModel::supportedDragActions() const
{
    return Qt::CopyAction | Qt::MoveAction;
}

Qt::DropActions SidebarModel::supportedDropActions() const
{
    return Qt::CopyAction | Qt::MoveAction;
}

std::optional<int> SidebarModel::scriptsDropIndex(int row, const QModelIndex& parent) const
{
    if (node(parent) != m_scriptsNode)
        return std::nullopt;
    return row;
}

bool SidebarModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int row, int,
                                   const QModelIndex& parent) const
{
    if (!m_dragAndDrop)
        return false;
    const SidebarNode* proposed = node(parent);
    return m_dragAndDrop->validateDrop(data, proposed ? proposed->name() : QStringLiteral("root"),
                                       scriptsDropIndex(row, parent)) != Qt::IgnoreAction;
}

bool SidebarModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                const QModelIndex& parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    // The library announces the new order and the rows follow it as a move; the view's own
    // removal of moved rows finds nothing to remove (removeRows is not offered).
    return m_dragAndDrop->acceptDrop(data, scriptsDropIndex(row, parent));
}

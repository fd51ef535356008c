// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/RunningScript.h"
#include "Model/Script.h"

#include <QString>

#include <memory>
#include <variant>
#include <vector>

// One row of the sidebar: a script, a run, or (for the root and the section headers) nothing.
class SidebarNode
{
public:
    using RepresentedObject = std::variant<std::monostate, ScriptPtr, RunningScriptPtr>;

    explicit SidebarNode(const QString& name, RepresentedObject object = {});
    virtual ~SidebarNode();
    SidebarNode(const SidebarNode&) = delete;
    SidebarNode& operator=(const SidebarNode&) = delete;

    virtual bool isHeader() const { return false; }

    const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    const RepresentedObject& representedObject() const { return m_object; }
    ScriptPtr script() const;
    RunningScriptPtr runningScript() const;
    // The address of the script or run, for identity comparisons; null for headers.
    const void* objectKey() const;

    SidebarNode* parent() const { return m_parent; }
    const std::vector<std::unique_ptr<SidebarNode>>& children() const { return m_children; }
    int childCount() const { return int(m_children.size()); }
    SidebarNode* child(int row) const;
    int indexOf(const SidebarNode* child) const;

    void insertChild(int row, std::unique_ptr<SidebarNode> child);
    std::unique_ptr<SidebarNode> takeChild(int row);
    void moveChild(int from, int to);

private:
    QString m_name;
    RepresentedObject m_object;
    SidebarNode* m_parent = nullptr;
    std::vector<std::unique_ptr<SidebarNode>> m_children;
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/SidebarNode.h"

#include <algorithm>

SidebarNode::SidebarNode(const QString& name, RepresentedObject object)
    : m_name(name), m_object(std::move(object))
{}

SidebarNode::~SidebarNode() = default;

ScriptPtr SidebarNode::script() const
{
    if (const auto* script = std::get_if<ScriptPtr>(&m_object))
        return *script;
    return nullptr;
}

RunningScriptPtr SidebarNode::runningScript() const
{
    if (const auto* run = std::get_if<RunningScriptPtr>(&m_object))
        return *run;
    return nullptr;
}

const void* SidebarNode::objectKey() const
{
    if (const auto* script = std::get_if<ScriptPtr>(&m_object))
        return script->get();
    if (const auto* run = std::get_if<RunningScriptPtr>(&m_object))
        return run->get();
    return nullptr;
}

SidebarNode* SidebarNode::child(int row) const
{
    if (row < 0 || row >= childCount())
        return nullptr;
    return m_children[size_t(row)].get();
}

int SidebarNode::indexOf(const SidebarNode* child) const
{
    for (size_t i = 0; i < m_children.size(); ++i) {
        if (m_children[i].get() == child)
            return int(i);
    }
    return -1;
}

void SidebarNode::insertChild(int row, std::unique_ptr<SidebarNode> child)
{
    child->m_parent = this;
    m_children.insert(m_children.begin() + std::clamp(row, 0, childCount()), std::move(child));
}

std::unique_ptr<SidebarNode> SidebarNode::takeChild(int row)
{
    std::unique_ptr<SidebarNode> child = std::move(m_children[size_t(row)]);
    m_children.erase(m_children.begin() + row);
    child->m_parent = nullptr;
    return child;
}

void SidebarNode::moveChild(int from, int to)
{
    if (from == to)
        return;
    std::unique_ptr<SidebarNode> child = std::move(m_children[size_t(from)]);
    m_children.erase(m_children.begin() + from);
    m_children.insert(m_children.begin() + to, std::move(child));
}

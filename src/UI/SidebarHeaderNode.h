// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "UI/SidebarNode.h"

// A section header of the sidebar ("Running Scripts", "Scripts"): never selectable.
class SidebarHeaderNode : public SidebarNode
{
public:
    explicit SidebarHeaderNode(const QString& name);
    bool isHeader() const override { return true; }
};

// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/SidebarHeaderNode.h"

SidebarHeaderNode::SidebarHeaderNode(const QString& name) : SidebarNode(name) {}

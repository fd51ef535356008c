// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/ClassRangeNode.h"

#include <QStringList>

namespace {

QString identity(const void* object)
{
    return QStringLiteral("0x") + QString::number(quintptr(object), 16).toUpper();
}

} // namespace

QString TextRange::description() const
{
    return QStringLiteral("{%1, %2}").arg(location).arg(length);
}

ClassRangeNode::ClassRangeNode(QString classes, TextRange range, ClassRangeNode* parent)
    : m_classes(std::move(classes)), m_range(range), m_parent(parent)
{}

ClassRangeNode* ClassRangeNode::appendChild(std::unique_ptr<ClassRangeNode> child)
{
    m_children.push_back(std::move(child));
    return m_children.back().get();
}

QString ClassRangeNode::description() const
{
    QString children = QStringLiteral("(\n");
    QStringList items;
    for (const auto& child : m_children)
        items.append(QStringLiteral("    ") + child->description());
    children += items.join(QStringLiteral(",\n"));
    if (!items.isEmpty())
        children += u'\n';
    children += u')';
    return QStringLiteral("<ClassRangeNode:%1: classes=%2, range=%3, children=%4, parent=%5>")
        .arg(identity(this), m_classes, m_range.description(), children,
             m_parent ? identity(m_parent) : QStringLiteral("0x0"));
}

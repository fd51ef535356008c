// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>
#include <vector>

// A run of the rebuilt text, in UTF-16 units.
struct TextRange
{
    int location = 0;
    int length = 0;

    int end() const { return location + length; }
    bool operator==(const TextRange&) const = default;
    // "{location, length}"
    QString description() const;
};

// One span of the HTML that Highlight.js returns: its class names, the part of the rebuilt
// text it covers, and the spans nested in it.
class ClassRangeNode
{
public:
    ClassRangeNode(QString classes, TextRange range, ClassRangeNode* parent);

    const QString& classes() const { return m_classes; }
    const TextRange& range() const { return m_range; }
    void setLength(int length) { m_range.length = length; }
    ClassRangeNode* parent() const { return m_parent; }
    const std::vector<std::unique_ptr<ClassRangeNode>>& children() const { return m_children; }
    ClassRangeNode* appendChild(std::unique_ptr<ClassRangeNode> child);

    // "<ClassRangeNode:0x…: classes=…, range={…}, children=(…), parent=0x…>"
    QString description() const;

private:
    QString m_classes;
    TextRange m_range;
    std::vector<std::unique_ptr<ClassRangeNode>> m_children;
    ClassRangeNode* m_parent;
};

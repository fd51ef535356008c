// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

namespace bench {

// A bash script of the kind people keep in a script library: functions, conditionals,
// loops, here-documents, substitutions, arrays and comments, varied so that no two blocks are
// the same text.
inline QString bashScript(int lines)
{
    const QStringList block = {
        "# Block %1: back up and report",
        "backup_%1() {",
        "  local source=\"${1:-$HOME/Documents}\" target=\"/var/backups/run-%1\"",
        "  if [[ ! -d \"$source\" ]]; then",
        "    echo \"missing $source\" >&2; return 1",
        "  fi",
        "  for file in \"$source\"/*.txt; do",
        "    size=$(( $(stat -c %s \"$file\") / 1024 ))",
        "    printf '%s: %d KiB\\n' \"${file##*/}\" \"$size\"",
        "  done",
        "  cat <<EOF > \"$target.log\"",
        "run=%1 user=$(whoami) date=$(date +%F)",
        "EOF",
        "  tar -czf \"$target.tar.gz\" -C \"$source\" . && echo \"ok %1\" || exit 2",
        "  local -a names=(alpha beta \"gamma delta\" %1)",
        "  case \"${names[0]}\" in alpha) echo first ;; *) echo other ;; esac",
        "}",
        "",
    };
    QStringList text{"#!/usr/bin/env bash", "set -euo pipefail"};
    for (int n = 0; text.size() < lines; ++n) {
        for (const QString& line : block) {
            if (text.size() == lines)
                break;
            text.append(QString(line).replace(QStringLiteral("%1"), QString::number(n)));
        }
    }
    return text.join(u'\n') + u'\n';
}

} // namespace bench

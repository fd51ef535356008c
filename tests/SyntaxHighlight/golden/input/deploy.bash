#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Deploys the site: builds, uploads, reports.
set -euo pipefail

readonly TARGET="${DEPLOY_TARGET:-staging}"
count=$(find . -name '*.html' | wc -l)
echo "Deploying $count pages to ${TARGET} at $(date +%H:%M)"

cat <<EOF2 > /tmp/deploy.conf
target=$TARGET
user=$(whoami)
home="$HOME"
EOF2

cat <<'RAW'
Nothing $expands here: $(not a command)
RAW

for file in "$@"; do
  if [[ -f "$file" && "$file" != *.tmp ]]; then
    size=$(( $(stat -c %s "$file") / 1024 ))
    printf '%s: %d KiB\n' "$file" "$size"
  elif [ -d "$file" ]; then
    echo "skipping directory $file" >&2
  fi
done

upload() {
  local name=$1
  curl -fsS -X PUT --data-binary "@${name}" "https://example.org/${TARGET}/${name##*/}" || return 1
}
trap 'echo "failed at line $LINENO" >&2' ERR
upload "site.tar.gz" && echo ok
exit 0

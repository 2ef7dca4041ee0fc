#!/usr/bin/env bash
# Validates every GenApi description against the GenApi 1.1 schema. Exits 77 (skipped) with a
# visible message when the schema or xmllint is not available.
set -uo pipefail
schema=$1
dir=$2
if [ ! -f "$schema" ]; then
  echo "SKIPPED: GenApi schema not found at $schema"
  exit 77
fi
if ! command -v xmllint >/dev/null; then
  echo "SKIPPED: xmllint not installed (Debian package libxml2-utils)"
  exit 77
fi
status=0
count=0
for file in "$dir"/*.xml; do
  count=$((count + 1))
  xmllint --noout --schema "$schema" "$file" || status=1
done
[ "$count" -eq 6 ] || { echo "expected 6 descriptions, found $count"; status=1; }
exit $status

#!/usr/bin/env bash
# Fails unless the producer's dynamic symbol table defines exactly the GenTL functions that the
# header declares: nothing else, and none of them missing.
set -euo pipefail
cti=$1
header=$2
exported=$(nm -D --defined-only "$cti" | awk '{print $NF}' | sort)
declared=$(grep -oE '^GC_API [A-Za-z]+' "$header" | awk '{print $2}' | sort)
if [ "$exported" != "$declared" ]; then
  echo "exported symbols that are not GenTL functions, then GenTL functions not exported:"
  comm -23 <(echo "$exported") <(echo "$declared")
  echo "--"
  comm -13 <(echo "$exported") <(echo "$declared")
  exit 1
fi
echo "$(wc -l <<<"$exported") GenTL functions exported, nothing else"

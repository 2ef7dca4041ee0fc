#!/usr/bin/env bash
# Builds the Python wheel with the producer inside, repairs it into a manylinux wheel that carries
# its image decoders, installs it into a fresh virtual environment and runs the Python suite
# (harvesters, the reference GenApi, the package's own helpers) against the installed package,
# never the build tree.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/install-deps.sh" python3-venv python3-pip
out="$root/build/python"
rm -rf "$out/raw" "$out/wheel" "$out/test-env"
mkdir -p "$out"

[ -x "$out/build-env/bin/pip" ] || python3 -m venv "$out/build-env"
"$out/build-env/bin/pip" install -q -r "$root/python/requirements-build.txt"
"$out/build-env/bin/pip" wheel -q --no-build-isolation --no-deps -w "$out/raw" "$root"
PATH="$out/build-env/bin:$PATH" auditwheel repair -w "$out/wheel" "$out"/raw/*.whl

python3 -m venv "$out/test-env"
"$out/test-env/bin/pip" install -q -r "$root/python/requirements-test.txt" "$out"/wheel/*.whl
cd "$out"
LMMOCKTL_WHEEL="$(ls "$out"/wheel/*.whl)" "$out/test-env/bin/python" -m pytest -p no:cacheprovider -q "$root/python/tests" "$@"

#!/usr/bin/env bash
# Builds the Python package, installs its wheel and its sdist, each into an environment of its own,
# offline, and tests what is installed.  A second run takes over what the first has compiled.
set -euo pipefail
source_dir=$1 out=$2/python
mkdir -p "$out/sdist" && cd "$out" && rm -f rsmpl-*
"$source_dir/python/build" "$out" venv >build.log 2>&1 || { cat build.log; exit 1; }
[ "$(echo rsmpl-*.whl)" = "$(basename rsmpl-*.tar.gz .tar.gz)-cp39-abi3-linux_$(uname -m).whl" ]

package=$(echo "$PWD"/venv/lib/python3*/site-packages/rsmpl)

# The module exports its start alone, and uses the limited interface only.
symbols=$(nm -D "$package/_native.abi3.so")
[ "$(grep -v ' [Uw] ' <<<"$symbols" | cut -d' ' -f3)" = PyInit__native ]
[ -z "$(grep ' _Py' <<<"$symbols" | grep -vE '_Py_(Dealloc|NoneStruct)$')" ]

venv/bin/python -m pytest -q -p no:cacheprovider --rootdir "$out" --doctest-modules "$package" \
    "$source_dir/tests/python_test.py"
/usr/bin/mypy --strict --python-version 3.9 --cache-dir "$out/mypy" --python-executable venv/bin/python -p rsmpl

find sdist -path '*/library/build' -prune -o -type f -print0 | xargs -0r rm # but for what it compiled
tar -xzf rsmpl-*.tar.gz -C sdist
[ -x from_sdist/bin/pip ] || /usr/bin/python3 -m venv --system-site-packages from_sdist
from_sdist/bin/pip uninstall -qy rsmpl 2>/dev/null || true
from_sdist/bin/pip install -q --no-index --no-build-isolation ./sdist/rsmpl-*/
from_sdist/bin/python -c 'import rsmpl; print(rsmpl.Stream(48000, 16000))'

venv/bin/python "$source_dir/tests/training_test.py" "$source_dir/docs/training.md"

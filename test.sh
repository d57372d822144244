#!/usr/bin/env bash
# Installs what is missing, builds and runs the tests. `./test.sh` runs all tests on the developer
# build; `./test.sh all` adds the same under the address and undefined-behaviour sanitizers, and the
# core under the thread sanitizer, and tries all faults of a save instead of some. `./test.sh dev`
# (or asan, tsan, or several) runs those builds only.
# `./test.sh bare` runs both commands of the README on a bare Debian made for it, which needs root.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

presets=("$@")
case ${1:-dev} in
bare) exec packaging/bare-machine.sh "${@:2}" ;;
all) presets=(dev asan tsan) && export QUILLMOR_FAULTS=all ;;
dev | asan | tsan) presets=("${@:-dev}") ;;
*) echo "usage: $0 [all | bare [all] | dev | asan | tsan]" >&2 && exit 2 ;;
esac

source packaging/packages.sh
packaging/install-packages.sh "${build_packages[@]}" "${test_packages[@]}"
jobs=$(nproc)

for preset in "${presets[@]}"; do
  if [[ ! -f build/$preset/build.ninja ]]; then
    echo "Configuring $preset"
    mkdir -p "build/$preset"
    cmake --preset "$preset" >"build/$preset/configure.log" 2>&1 || { cat "build/$preset/configure.log" >&2; exit 1; }
  fi
  echo "Building $preset"
  cmake --build "build/$preset" --parallel "$jobs" >"build/$preset/build.log" 2>&1 || { cat "build/$preset/build.log" >&2; exit 1; }
  echo "Testing $preset"
  ctest --test-dir "build/$preset" --output-on-failure --parallel "$jobs" --no-tests=error |
    grep -v -E '^ *[0-9]+/[0-9]+ Test .* Passed |^ *Start +[0-9]+:'
done
echo "All tests passed: ${presets[*]}"

#!/usr/bin/env bash
# Installs what is missing, builds and runs every test: the developer build, then the same under the
# address and undefined-behaviour sanitizers, then the core under the thread sanitizer.
# `./test.sh dev` (or asan, tsan) runs that one build only; `./test.sh bare` runs both commands of the
# README on a bare Debian made for it, which takes an hour or more and needs root.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
[[ ${1:-} != bare ]] || exec packaging/bare-machine.sh "${@:2}"
source packaging/packages.sh
packaging/install-packages.sh "${build_packages[@]}" "${test_packages[@]}"

presets=("$@")
[[ ${#presets[@]} -gt 0 ]] || presets=(dev asan tsan)
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

#!/usr/bin/env bash
# Builds Quillmor and opens it on the files given. Without a display it renders the window of the
# first file to quillmor.png instead.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$root/packaging/packages.sh"
"$root/packaging/install-packages.sh" "${build_packages[@]}"

if [[ ! -f $root/build/release/build.ninja ]]; then
  echo "Configuring the release build"
  (cd "$root" && cmake --preset release >build-configure.log 2>&1) || { cat "$root/build-configure.log" >&2; exit 1; }
  rm -f "$root/build-configure.log"
fi
if ! ninja -C "$root/build/release" -n quillmor | grep -q 'no work to do'; then
  echo "Building Quillmor"
  cmake --build "$root/build/release" --target quillmor --parallel >"$root/build/release/build.log" 2>&1 ||
    { cat "$root/build/release/build.log" >&2; exit 1; }
fi

program=$root/build/release/bin/quillmor

# A display is reachable when a socket of its server is there; a variable alone may be left over.
display_is_reachable() {
  if [[ -n ${WAYLAND_DISPLAY:-} && -S ${XDG_RUNTIME_DIR:-/nonexistent}/$WAYLAND_DISPLAY ]]; then return 0; fi
  [[ -n ${DISPLAY:-} ]] || return 1
  [[ $DISPLAY == :* ]] || return 0
  local number=${DISPLAY#:}
  [[ -S /tmp/.X11-unix/X${number%%.*} ]]
}

if display_is_reachable; then
  exec "$program" "$@"
fi
if [[ $# -eq 0 ]]; then
  echo "No display is reachable; name a file to get a picture of its window."
  exit 0
fi
"$program" --screenshot quillmor.png "$1"
echo "No display is reachable; the window of $1 is in quillmor.png."

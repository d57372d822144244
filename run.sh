#!/usr/bin/env bash
# Builds Quillmor and opens it on the files given. Without a display it renders the window of the
# first file to quillmor.png instead.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$root/packaging/packages.sh"
"$root/packaging/install-packages.sh" "${build_packages[@]}"

build=$root/build/release
program=$build/bin/quillmor

if [[ ! -f $build/build.ninja ]]; then
  echo "Configuring the release build"
  mkdir -p "$build"
  (cd "$root" && cmake --preset release >"$build/configure.log" 2>&1) || { cat "$build/configure.log" >&2; exit 1; }
fi

# Only Ninja knows whether there is anything to build, and only while it runs.
announce_compiling() {
  local line announced=false
  while IFS= read -r line; do
    if ! $announced && [[ $line == \[*\]\ Building* ]]; then
      echo "Building Quillmor"
      announced=true
    fi
  done
}
cmake --build "$build" --target quillmor quillmor-cli --parallel 2>&1 | tee "$build/build.log" | announce_compiling ||
  { cat "$build/build.log" >&2; exit 1; }

# A display is reachable if its server's socket exists; a variable alone may be left over.
wayland_is_reachable() {
  [[ -n ${WAYLAND_DISPLAY:-} ]] || return 1
  local socket=$WAYLAND_DISPLAY
  [[ $socket == /* ]] || socket=${XDG_RUNTIME_DIR:-/nonexistent}/$socket
  # Qt speaks Wayland through a plugin that is a package of its own.
  [[ -S $socket ]] && compgen -G '/usr/lib/*/qt6/plugins/platforms/libqwayland*.so' >/dev/null
}

x11_is_reachable() {
  [[ -n ${DISPLAY:-} ]] || return 1
  [[ $DISPLAY == :* ]] || return 0
  local number=${DISPLAY#:}
  [[ -S /tmp/.X11-unix/X${number%%.*} ]]
}

if wayland_is_reachable; then
  exec "$program" "$@"
elif x11_is_reachable; then
  # On a Wayland desktop without that plugin Qt would first look for it, and complain.
  QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-xcb} exec "$program" "$@"
fi
if [[ $# -eq 0 ]]; then
  echo "No display is reachable; name a file to get a picture of its window."
  exit 0
fi
"$program" --screenshot quillmor.png -- "$1"
echo "No display is reachable; the window of $1 is in quillmor.png."

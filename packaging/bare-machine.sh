#!/usr/bin/env bash
# Runs both commands of the README on a bare Debian 12: a fresh minimal root with a clone of the last
# commit, in which nothing is installed but git and the certificates of authorities. Arguments go to
# test.sh: `packaging/bare-machine.sh all` runs the sanitizers too, which takes an hour or more. Needs
# root and 8 GB of disk. Prints one line for each step; the logs are shown when a step fails.
set -euo pipefail

suite=bookworm
repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
[[ $(id -u) -eq 0 ]] || { echo "Please run as root: a root directory is made and entered" >&2; exit 1; }

# In a mount and process namespace of its own, so no mount and no process is left, whatever ends it.
if [[ ${1:-} != --in-namespace ]]; then
  "$repository/packaging/install-packages.sh" mmdebstrap util-linux
  work=$(mktemp -d "${TMPDIR:-/var/tmp}/bare-machine.XXXXXX")
  namespace=
  # shellcheck disable=SC2317
  clean_up() {
    [[ -z $namespace ]] || { kill -KILL "$namespace" && wait "$namespace"; } 2>/dev/null || true
    # A process that is being killed may still have written something.
    rm -rf --one-file-system "$work" 2>/dev/null || { sleep 2; rm -rf --one-file-system "$work"; }
  }
  trap clean_up EXIT
  trap 'exit 130' INT TERM HUP
  # In the background, because a signal is handled at once only while the shell waits.
  unshare --mount --pid --fork --kill-child -- "${BASH_SOURCE[0]}" --in-namespace "$work" "$@" &
  namespace=$!
  status=0
  wait "$namespace" || status=$?
  namespace=
  exit "$status"
fi
work=$2
shift 2
bare=$work/root

# Runs a step with its output in a log, and prints how long it took. Steps are joined by "&&", since
# their errors do not end the shell here.
step() {
  local name=$1 begin=$SECONDS
  shift
  if ! "$@" >"$work/log" 2>&1 </dev/null; then
    cat "$work/log" >&2
    echo "Failed after $((SECONDS - begin)) s: $name" >&2
    exit 1
  fi
  echo "$name: $((SECONDS - begin)) s"
}

make_root() {
  # The sources of packages are those of this machine, as far as they are of that Debian.
  # shellcheck disable=SC2016
  apt-get indextargets --format='deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk -v suite="$suite" '$3 == suite || index($3, suite "-") == 1' | sort -u >"$work/sources.list"
  [[ -s $work/sources.list ]] || { echo "This machine has no source of packages of $suite"; return 1; }
  mmdebstrap --mode=root --variant=minbase --include=ca-certificates,git "$suite" "$bare" "$work/sources.list"
}

enter_root() {
  mount -t proc proc "$bare/proc" && mount --rbind /sys "$bare/sys" && mount --rbind /dev "$bare/dev" &&
    cp /etc/resolv.conf "$bare/etc/resolv.conf"
}

# Neither display nor settings of this machine, but the way it reaches the network.
inside() {
  local variable passed=()
  for variable in http_proxy https_proxy no_proxy; do
    [[ -z ${!variable:-} ]] || passed+=("$variable=${!variable}")
  done
  env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "${passed[@]}" \
    chroot "$bare" bash -c 'cd /opt/quillmor && "$@"' bash "$@"
}

shows_window() {
  inside ./run.sh run.sh &&
    [[ $(head -c 4 "$bare/opt/quillmor/quillmor.png") == $'\x89PNG' ]]
}

step "Making a bare Debian ($suite)" make_root
step "Entering it" enter_root
step "Cloning $(git -C "$repository" rev-parse --short HEAD)" git clone --quiet "$repository" "$bare/opt/quillmor"
step "./run.sh run.sh" shows_window
step "./test.sh${*:+ $*}" inside ./test.sh "$@"
echo "Both commands work on a bare machine"

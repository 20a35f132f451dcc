#!/usr/bin/env bash
# empty_root.sh FOLDER: installs the packages of FOLDER in an empty Debian 12, as a host developer does, and measures the
# time from there to a host's first signal; runs the packages' own tests there; and removes the packages again, of which
# nothing may be left. The root is made anew each time, from the archives that this machine's apt uses.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
packages=$(cd "$1" && pwd)
keyring=${KTS_ARCHIVE_KEYRING:-/usr/share/keyrings/debian-archive-keyring.gpg}
[ "$(id -u)" = 0 ] || exec sudo -n "$here/empty_root.sh" "$packages"

work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
chmod 755 "$work"
root=$work/root
names=(libktshttpagent0 libktshttpagent-dev ktshttpagent-tools libktshttpagent-doc)

# Runs a command and shows its output only if it failed.
quietly() {
  "$@" >"$work/log" 2>&1 || { tail -60 "$work/log" >&2; return 1; }
}

make_root() {
  # shellcheck disable=SC2016 # apt's own placeholders
  apt-get indextargets --format 'deb [signed-by=KEYRING] $(REPO_URI) $(RELEASE) $(COMPONENT)|$(ORIGIN)' \
    'Created-By: Packages' | sed -n "s/|Debian\$//; T; s|KEYRING|$keyring|p" | sort -u >"$work/sources.list"
  # How this machine reaches them.
  apt-config dump | grep -E '^Acquire::(https?::|Check-|Retries)' >"$work/apt.conf" || true
  quietly mmdebstrap --mode=root --variant=minbase --aptopt="$work/apt.conf" --dpkgopt=force-unsafe-io bookworm "$root" \
    "$work/sources.list"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  mkdir "$root/srv/packages"
  for name in "${names[@]}"; do
    cp "$packages/${name}"_*.deb "$root/srv/packages/"
  done
  quietly dpkg-source --extract "$packages"/*.dsc "$root/srv/source"
  chmod -R a+rX "$root/srv"
  quietly inside apt-get update
}

# inside [--net] COMMAND...: runs a command in the root, in namespaces of its own; with --net without a network except
# loopback.
inside() {
  local namespaces=(--mount --pid --fork --kill-child)
  [ "$1" != --net ] || { namespaces+=(--net); shift; }
  # shellcheck disable=SC2016 # for the inner shell
  unshare "${namespaces[@]}" sh -euc '
    ip link set lo up
    mount -t proc proc "$1/proc"
    mount -t devpts devpts "$1/dev/pts"
    exec chroot "$@"' sh "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"
}

# What a host developer types.
install_and_get_a_signal() {
  local begin=$EPOCHSECONDS
  quietly inside sh -c 'cd /srv/packages && exec apt-get install -y --no-install-recommends ./*.deb g++ cmake make'
  echo "installed after $((EPOCHSECONDS - begin)) s"
  inside --net sh -c 'cd /srv/source && exec debian/tests/cmake'
  echo "from apt install to the first signal: $((EPOCHSECONDS - begin)) s"
}

own_tests() {
  autopkgtest --no-built-binaries "$root/srv/source" --output-dir "$work/tests" -- chroot "$root" >"$work/log" 2>&1 ||
    { cat "$work/log" >&2; return 1; }
  cat "$work/tests/summary"
}

installed_files() { inside dpkg-query --listfiles "${names[@]}" | sort -u; }

# shellcheck disable=SC2016 # dpkg's own placeholders
known_to_dpkg() { inside dpkg-query -W -f='${db:Status-Status} ${Package}\n' | grep -F ktshttpagent; }

# Installed once more and then removed, the packages leave no file, and dpkg knows none of them any more.
remove() {
  local left
  installed_files >"$work/files"
  quietly inside sh -c 'cd /srv/packages && exec apt-get install -y --reinstall ./*.deb'
  installed_files | diff "$work/files" - || { echo "installed again, the packages have other files" >&2; return 1; }
  quietly inside apt-get purge -y "${names[@]}"
  left=$(cd "$root" && find . -xdev \( -path ./srv -o -path ./proc \) -prune -o \
    \( -iname '*ktshttpagent*' -o -iname '*ktsagent*' -o -iname '*ktslabserver*' -o -iname '*chttpclient*' -o -iname '*libclog*' \) -print
    while read -r file; do [ -d "./$file" ] || [ ! -e "./$file" ] || echo ".$file"; done <"$work/files"
    known_to_dpkg || true)
  [ -z "$left" ] || { printf 'left after purge:\n%s\n' "$left" >&2; return 1; }
  echo "$(wc -l <"$work/files") files and folders, removed without a trace"
}

make_root
install_and_get_a_signal
own_tests
remove

# Functions with which ./dev abi reads and compares binary interfaces. To be sourced in the folder of the project.
# shellcheck shell=bash
baseline=tests/abi/baseline

# read_interface LIBRARY FILE [OPTION...] writes what a library offers, as XML without anything that depends on the
# machine or the folder.
read_interface() {
  abidw --no-architecture --no-corpus-path --no-comp-dir-path --no-elf-needed --no-show-locs --no-parameter-names \
    "${@:3}" --out-file "$2" "$1"
}

# read_library LIBRARY FILE does so for a library that hosts link.
read_library() {
  read_interface "$1" "$2" --suppressions tests/abi/libraries.suppr --exported-interfaces-only
}

# read_layouts HEADERS FILE does so for the layout of every record and class in a folder of public headers.
read_layouts() {
  local library=${2%.abi}.so flags
  read -ra flags < <(pkg-config --cflags Qt5Core)
  # Without -femit-class-debug-always, a class with virtual functions is described only where these are defined.
  g++ -std=c++17 -g -O0 -fPIC -shared -femit-class-debug-always -I"$1" "${flags[@]}" tests/abi/layouts.cpp \
    -Wl,-soname,layouts -o "$library"
  read_interface "$library" "$2"
}

# unnamed_types HEADERS prints the records, classes and enumerations of a folder of public headers that layouts.cpp does
# not name. The headers of the test kit are left out: hosts compile it with their tests.
unnamed_types() {
  local type
  awk '/^(struct|class|enum) / && !/;$/ { sub(/ (: .*|\{)$/, ""); print $NF }' "$1"/ktshttpagent/*.h |
    while read -r type; do
      grep -qw "$type" tests/abi/layouts.cpp || printf '%s\n' "$type"
    done
}

# same_interface FILE compares a file with the stored one of the same name. It prints what differs, and fails if
# anything does, additions too: what was once added is only missed later if the stored file knows it.
same_interface() {
  local stored status=0
  stored=$(dirname "$1")/stored.abi
  xz -dc "$baseline/$(basename "$1").xz" >"$stored"
  abidiff --harmless --suppressions tests/abi/layouts.suppr "$stored" "$1" || status=$?
  return "$status"
}

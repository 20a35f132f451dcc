#!/usr/bin/env bash
# Cross-builds the dependencies of the library and the lab server for Windows: Qt, libcurl, jsoncpp and SQLite from
# Debian's sources, googletest, and the header-only libraries. Everything is installed into one folder of the cache. Its
# name contains a hash of all versions and options, so that later calls with the same ones use it again. Prints that
# folder to stdout; all other output goes to stderr.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# The same versions that the native build uses: the installed -dev packages tell which sources to fetch.
fromSource=(qtbase5-dev libcurl4-openssl-dev libjsoncpp-dev libsqlite3-dev libcpp-httplib-dev)
fromHeaders=(rapidjson-dev libspdlog-dev libfmt-dev libcli11-dev googletest)
toolchain=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev)

# Both HTTP interfaces use Windows' own TLS; zlib is linked into libcurl, for compressed replies. Debian's tarball of Qt
# lacks the sources that -sql-* and -accessibility would need.
qtOptions=(-opensource -confirm-license -xplatform win32-g++ -device-option CROSS_COMPILE=x86_64-w64-mingw32-
  -shared -release -no-opengl -no-dbus -no-feature-sql -no-icu -no-openssl -schannel
  -qt-zlib -qt-pcre -qt-doubleconversion -nomake examples -nomake tests
  -no-gui -no-widgets)
curlOptions=(-DBUILD_SHARED_LIBS=ON -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DENABLE_MANUAL=OFF -DHTTP_ONLY=ON
  -DCURL_USE_SCHANNEL=ON -DENABLE_UNICODE=ON -DCURL_ZLIB=ON -DZLIB_LIBRARY=/usr/x86_64-w64-mingw32/lib/libz.a
  -DCURL_USE_LIBSSH2=OFF -DUSE_LIBIDN2=OFF -DCURL_CA_BUNDLE=none -DCURL_CA_PATH=none)
jsoncppOptions=(-DJSONCPP_WITH_TESTS=OFF -DJSONCPP_WITH_POST_BUILD_UNITTEST=OFF
  -DBUILD_SHARED_LIBS=ON -DBUILD_STATIC_LIBS=OFF -DBUILD_OBJECT_LIBS=OFF)
googletestOptions=(-DBUILD_GMOCK=ON)
sqliteOptions=(-O2 -DSQLITE_OMIT_LOAD_EXTENSION)
# The same protections as for this project's own code, see cmake/KtsHardening.cmake. Qt is built without the checking
# functions, because it hardly calls the functions that they replace.
guards=(-fstack-protector-strong)
checks=(-D_FORTIFY_SOURCE=2)
guardLibrary=-l:libssp.a
# No file tells when it was made, so that a second build gives the same files.
timeless=("-Wl,--no-insert-timestamp")
systemLibraries=(-lkernel32 -luser32 -lgdi32 -lwinspool -lshell32 -lole32 -loleaut32 -luuid -lcomdlg32 -ladvapi32)

source_version() { dpkg-query -W -f='${source:Package}=${source:Version}\n' "$@"; }

key() {
  { source_version "${fromSource[@]}" "${fromHeaders[@]}" "${toolchain[@]}"
    printf '%s\n' "${qtOptions[@]}" "${curlOptions[@]}" "${jsoncppOptions[@]}" "${googletestOptions[@]}" \
      "${sqliteOptions[@]}" "${guards[@]}" "${checks[@]}" "$guardLibrary" "${timeless[@]}" 'names no folder'
  } | sha256sum | cut -c1-16
}

prefix=${KTS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/ktshttpagent}/windows-$(key)
work=$prefix.work
nameless=("-ffile-prefix-map=$prefix=." "-ffile-prefix-map=$work=.")
jobs=${KTS_JOBS:-$(nproc)}

say() { printf -- '-- windows dependencies: %s\n' "$*" >&2; }

# Runs a command and writes its output to a log; shows the end of the log only if the command fails.
logged() {
  local log=$work/$1.log
  shift
  "$@" >"$log" 2>&1 || { tail -40 "$log" >&2; say "failed: $* (whole log: $log)"; exit 1; }
}

fetch_sources() {
  mkdir -p "$work/src"
  local -a wanted
  mapfile -t wanted < <(source_version "${fromSource[@]}")
  logged debian-source "$here/../debian_source.sh" "$work/src" "${wanted[@]}"
  unpack qtbase-opensource-src qtbase
  unpack curl curl
  unpack libjsoncpp jsoncpp
  unpack sqlite3 sqlite
  unpack cpp-httplib httplib
  # MinGW's import libraries have lower-case names, and this file system is case-sensitive.
  sed -i -e 's/-lSecur32/-lsecur32/' -e 's/"-lCrypt32"/"-lcrypt32"/' "$work/src/qtbase/src/network/ssl/ssl.pri"
  cat >>"$work/src/qtbase/mkspecs/win32-g++/qmake.conf" <<CONF
QMAKE_CFLAGS += ${guards[@]} ${nameless[@]}
QMAKE_CXXFLAGS += ${guards[@]} ${nameless[@]}
QMAKE_LFLAGS += ${timeless[@]}
QMAKE_LIBS += $guardLibrary
CONF
}

unpack() {
  rm -rf "${work:?}/src/$2"
  logged "unpack-$2" dpkg-source -x "$work/src/$1"_*.dsc "$work/src/$2"
}

build_qt() {
  rm -rf "$work/build/qt"
  mkdir -p "$work/build/qt"
  cd "$work/build/qt"
  logged qt-configure "$work/src/qtbase/configure" -prefix "$prefix" "${qtOptions[@]}"
  logged qt-make make -j"$jobs"
  logged qt-install make install
  cd "$here"
}

# cross_cmake NAME SOURCE OPTIONS...
cross_cmake() {
  local name=$1 source=$2 flags="${guards[*]} ${checks[*]} ${nameless[*]}"
  shift 2
  rm -rf "$work/build/$name"
  logged "$name-configure" cmake -G Ninja -S "$source" -B "$work/build/$name" \
    -DCMAKE_TOOLCHAIN_FILE="$here/../../cmake/mingw-w64.cmake" -DKTS_WINDOWS_PREFIX="$prefix" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_SHARED_LINKER_FLAGS="${timeless[*]}" -DCMAKE_C_STANDARD_LIBRARIES="${systemLibraries[*]} $guardLibrary" \
    -DCMAKE_CXX_STANDARD_LIBRARIES="${systemLibraries[*]} $guardLibrary" "$@"
  logged "$name-build" ninja -C "$work/build/$name" -j"$jobs" install
}

build_jsoncpp() { cross_cmake jsoncpp "$work/src/jsoncpp" "${jsoncppOptions[@]}"; }
build_curl() { cross_cmake curl "$work/src/curl" "${curlOptions[@]}"; }
build_googletest() { cross_cmake googletest /usr/src/googletest "${googletestOptions[@]}"; }

# A static library, because only the lab server uses it.
build_sqlite() {
  rm -rf "$work/build/sqlite"
  mkdir -p "$work/build/sqlite" "$prefix/include" "$prefix/lib"
  cd "$work/build/sqlite"
  logged sqlite-configure "$work/src/sqlite/configure" --disable-tcl --disable-readline
  logged sqlite-amalgamation make sqlite3.c
  logged sqlite-build x86_64-w64-mingw32-gcc-posix "${sqliteOptions[@]}" "${guards[@]}" "${checks[@]}" "${nameless[@]}" \
    -c sqlite3.c -o sqlite3.o
  x86_64-w64-mingw32-ar rcs "$prefix/lib/libsqlite3.a" sqlite3.o
  cp sqlite3.h "$prefix/include/"
  cd "$here"
}

# Copied, because a cross compiler with /usr/include in its search path would find the native system's headers too.
copy_headers() {
  local name
  mkdir -p "$prefix/include"
  for name in rapidjson spdlog fmt CLI; do
    cp -rL "/usr/include/$name" "$prefix/include/"
  done
  cp "$work/src/httplib/httplib.h" "$prefix/include/" # the complete header; the one that Debian installs needs a library
}

# Each finished step leaves a marker file, so that an interrupted build continues where it stopped.
step() {
  [ ! -e "$work/done/$1" ] || return 0
  say "$1"
  "$1"
  mkdir -p "$work/done"
  touch "$work/done/$1"
}

if [ ! -e "$prefix/complete" ]; then
  mkdir -p "$work"
  exec 9>"$work/lock"
  flock 9
fi
if [ ! -e "$prefix/complete" ]; then
  say "building into $prefix"
  for name in fetch_sources build_qt build_jsoncpp build_curl build_googletest build_sqlite copy_headers; do
    step "$name"
  done
  source_version "${fromSource[@]}" "${fromHeaders[@]}" "${toolchain[@]}" >"$prefix/versions"
  touch "$prefix/complete"
  rm -rf "$work"
fi
printf '%s\n' "$prefix"

#!/bin/sh
# debian/sbom.sh PACKAGE: puts the bill of materials of a package into it, and the licences of what is compiled into it,
# which have to go with it. The libraries that it loads are those that dh_shlibdeps found; those that are compiled into it
# consist of headers only, and each is named here by one of them.
set -eu
package=$1
case $package in
  libktshttpagent0) headers='boost/version.hpp fmt/core.h rapidjson/rapidjson.h spdlog/spdlog.h' ;;
  ktshttpagent-tools) headers='boost/version.hpp CLI/CLI.hpp rapidjson/rapidjson.h' ;;
  *) headers= ;;
esac

# sources PACKAGE...: NAME-OF-ITS-SOURCE=VERSION of each Debian package, except our own ones.
# shellcheck disable=SC2016 # dpkg's own placeholders
sources() {
  for name in "$@"; do
    grep -q "^Package: ${name%%:*}\$" debian/control ||
      dpkg-query -W -f='${source:Package}=${source:Version}\n' "$name" || exit 1
  done
}

# owners HEADER...: the Debian packages that the headers are from.
owners() {
  for header in "$@"; do
    found=$(dpkg-query -S "/usr/include/$header") || exit 1
    echo "${found%%:*}"
  done
}

folder=usr/share/doc/$package
file=$folder/${package}_$(dpkg-architecture -qDEB_HOST_ARCH).spdx.json
# shellcheck disable=SC2086 # several headers
compiled_in=$(owners $headers)
loaded=$(sed -n 's/^shlibs:Depends=//p' "debian/$package.substvars" | tr ',' '\n' | awk 'NF { print $1 }')
# shellcheck disable=SC2086 # several packages
compiled_in_sources=$(sources $compiled_in)
# shellcheck disable=SC2086
loaded_sources=$(sources $loaded)

mkdir -p "debian/$package/$folder"
for name in $compiled_in; do
  case $name in
    libboost*) ;; # its licence does not have to go with programs, and its file has two megabytes
    *) install -D -m 644 "/usr/share/doc/$name/copyright" "debian/$package/$folder/compiled-in/$name.copyright" ;;
  esac
done

set --
for source in $loaded_sources; do
  set -- "$@" --dynamic "$source"
done
for source in $compiled_in_sources; do
  set -- "$@" --static "$source"
done
packaging/sbom/sbom.py --name "$package" --version "$(dpkg-parsechangelog -S Version)" \
  --created "$(dpkg-parsechangelog -S Timestamp)" --folder "debian/$package" --without "$file" --without DEBIAN "$@" \
  >"debian/$package/$file"
chmod -R u=rwX,go=rX "debian/$package/$folder"

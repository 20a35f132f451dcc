#!/usr/bin/env bash
# docs/build_site.sh FOLDER: makes the site of the documentation, FOLDER/html/index.html. Needs doxygen,
# doxygen-awesome-css and python3; installs nothing, and uses no network. What is not documented, a dead link, and a
# field name that the glossary lacks are errors.
set -euo pipefail
folder=$(realpath --canonicalize-missing "${1:?usage: docs/build_site.sh FOLDER}")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export KTS_SITE=$folder PYTHONDONTWRITEBYTECODE=1
rm -rf "$folder/html" "$folder/xml"
docs/site/pages.py "$folder"
# Doxygen's own header, with the switch between light and dark added.
doxygen -w html "$folder/header.html" "$folder/footer.html" "$folder/doxygen.css" <(grep -v '^HTML_HEADER' docs/Doxyfile)
sed -i -e 's|<html |&lang="en" |' -e '/^.extrastylesheet/r docs/site/head.html' "$folder/header.html"
doxygen docs/Doxyfile
# A URL in code is an example, not a link; the language of a page decides which form its characters have.
sed -i -E 's|(<code>[^<]*)<a href="https?:[^"]*">([^<]*)</a>|\1\2|g' "$folder"/html/*.html
sed -i 's|<html lang="en"|<html lang="zh-CN"|' "$folder"/html/*_zh.html
docs/site/check_names.py "$folder/xml" docs/glossary.md
docs/site/check_links.py "$folder/html"

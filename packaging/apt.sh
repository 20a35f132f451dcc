# shellcheck shell=bash
# To be sourced: a folder in which apt may download with all its protections, and what it may never be talked out of
# by the machine's settings. Fetched files are handed over only after a second look at their sums, which the signed
# index of the archive holds: until then they belong to the user that apt downloads as.

# apt, as root, downloads as a user of its own, who can't write below a home folder: so all of it takes place here.
apt_folder=$(mktemp -d)
trap 'rm -rf "$apt_folder"' EXIT
chmod 755 "$apt_folder"
mkdir -p "$apt_folder"/{lists/partial,archives/partial,files}
apt_user=$(apt-config dump --format '%v' APT::Sandbox::User)
[ "$(id -u)" != 0 ] || [ -z "$apt_user" ] || chown "$apt_user" "$apt_folder/files"

# shellcheck disable=SC2034 # used by whoever sources this
apt_protections=(-o Acquire::AllowInsecureRepositories=false -o Acquire::AllowWeakRepositories=false
  -o Acquire::AllowDowngradeToInsecureRepositories=false -o APT::Get::AllowUnauthenticated=false)

# hand_over FOLDER: copies what was downloaded into a folder, if each file has the sum that stdin has for it, in lines
# "SUM  NAME"; else it copies nothing.
hand_over() {
  local verified=$apt_folder/verified file
  mkdir "$verified"
  cp --no-preserve=all "$apt_folder"/files/* "$verified/"
  sort -u >"$apt_folder/sums"
  for file in "$verified"/*; do
    awk -v name="${file##*/}" '$2 == name { print; found = 1 } END { exit !found }' "$apt_folder/sums" ||
      { echo "${file##*/}: the archive's signed index does not know it" >&2; return 1; }
  done >"$apt_folder/wanted"
  (cd "$verified" && sha256sum --strict --check --quiet "$apt_folder/wanted") || return 1
  cp "$verified"/* "$1/"
}

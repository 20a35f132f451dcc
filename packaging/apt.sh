# shellcheck shell=bash
# To be sourced. Provides a folder in which apt may download with all its protections, and the options that prevent the
# machine's settings from switching these off. Downloaded files belong to the user that apt downloads as; they are
# copied elsewhere only after their checksums have been compared once more with those in the archive's signed index.

# When run by root, apt downloads as a separate user, who can't write below a home folder. So everything happens here.
apt_folder=$(mktemp -d)
trap 'rm -rf "$apt_folder"' EXIT
chmod 755 "$apt_folder"
mkdir -p "$apt_folder"/{lists/partial,archives/partial,files}
apt_user=$(apt-config dump --format '%v' APT::Sandbox::User)
[ "$(id -u)" != 0 ] || [ -z "$apt_user" ] || chown "$apt_user" "$apt_folder/files"

# shellcheck disable=SC2034 # used by the script that sources this
apt_protections=(-o Acquire::AllowInsecureRepositories=false -o Acquire::AllowWeakRepositories=false
  -o Acquire::AllowDowngradeToInsecureRepositories=false -o APT::Get::AllowUnauthenticated=false)

# hand_over FOLDER: copies the downloaded files to a folder if each file has the checksum that stdin lists for it, in
# lines "SUM  NAME"; otherwise copies nothing.
hand_over() {
  local verified=$apt_folder/verified file
  mkdir "$verified"
  cp --no-preserve=all "$apt_folder"/files/* "$verified/"
  sort -u >"$apt_folder/sums"
  for file in "$verified"/*; do
    awk -v name="${file##*/}" '$2 == name { print; found = 1 } END { exit !found }' "$apt_folder/sums" ||
      { echo "${file##*/}: not in the archive's signed index" >&2; return 1; }
  done >"$apt_folder/wanted"
  (cd "$verified" && sha256sum --strict --check --quiet "$apt_folder/wanted") || return 1
  cp "$verified"/* "$1/"
}

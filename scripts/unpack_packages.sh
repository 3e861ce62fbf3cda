# shellcheck shell=bash
# Sourced by ./run: programs of Debian packages without installing them, so that no service begins
# with them and nothing in /etc changes.

# The names of the packages, and of those which they need beside what is installed.
needed_packages() {
    apt-get -s -o Debug::NoLocking=1 --no-install-recommends install "$@" 2>/dev/null |
        awk -v wanted=" $* " '/^Inst / && ($2 ~ /^(krb5-|lib|comerr-dev$)/ || index(wanted, " " $2 " ")) {
            print $2
        }' | sort -u
}

# unpack_packages FOLDER NAME...
unpack_packages() {
    local folder=$1 wanted names
    shift
    wanted="$*"
    [ "$(cat "$folder.made-of" 2>/dev/null)" = "$wanted" ] && return
    step "Unpacking packages below $folder, without installing them: $wanted"
    rm -rf "$folder" "$folder.debs"
    mkdir -p "$folder" "$folder.debs"
    apt-get -s -o Debug::NoLocking=1 install "$@" >/dev/null 2>&1 || update_package_lists
    mapfile -t names < <(needed_packages "$@")
    (cd "$folder.debs" && { [ ${#names[@]} = 0 ] || apt-get download -qq "${names[@]}"; }) 2>&1 |
        { grep -v 'unsandboxed as root' || true; }
    for package in "$folder.debs"/*.deb; do
        [ ! -e "$package" ] || dpkg -x "$package" "$folder"
    done
    rm -rf "$folder.debs"
    printf '%s' "$wanted" >"$folder.made-of"
}

# shellcheck shell=bash
# Sourced by ./run: sees to the programs that the build and the tests call.

# One line each: what is looked for (a command, a library, a file by its path), the packages that
# bring it. Wine's cryptography is GnuTLS, which the package of Wine merely recommends.
# The demo needs doctest, too: one configuration holds programs and tests.
kDemoTools='cmake cmake
ninja ninja-build
x86_64-w64-mingw32-g++-win32 g++-mingw-w64-x86-64-win32
x86_64-w64-mingw32-windres binutils-mingw-w64-x86-64
/usr/include/rapidjson/document.h rapidjson-dev
/usr/include/doctest/doctest.h doctest-dev
wine wine wine64
libgnutls.so.30 libgnutls30
flock util-linux'
# The window needs a family of fonts near Windows' own, and a screen where there is none.
kPreviewTools="$kDemoTools
/usr/share/fonts/truetype/open-sans/OpenSans-Regular.ttf fonts-open-sans
Xvfb xvfb"
kPackageTools="$kDemoTools
wixl wixl
msibuild msitools
osslsigncode osslsigncode
python3 python3"
kFuzzTools='cmake cmake
ninja ninja-build
clang++-14 clang-14
/usr/lib/clang/14/lib/linux/libclang_rt.fuzzer-x86_64.a libclang-rt-14-dev
llvm-cov-14 llvm-14
python3 python3'
# What decides over the logons of `./run demo --kdc` is unpacked, not installed.
kKdcTools="$kDemoTools
g++ g++
openssl openssl
python3 python3"
kFidelityTools="$kDemoTools
python3 python3
unshare util-linux"
kTestTools="$kPreviewTools
$kPackageTools
$kFuzzTools
openssl openssl
clang-format-14 clang-format-14
clang-tidy-14 clang-tidy-14
git git"
# Ubuntu has Chromium as a snap alone, which may not read our files: its test is skipped there.
kGateTools=$kTestTools
[ "$(sed -n 's/^ID=//p' /etc/os-release 2>/dev/null)" = ubuntu ] || kGateTools+=$'\nchromium chromium'
kBenchTools="$kDemoTools
g++ g++
/usr/include/nlohmann/json.hpp nlohmann-json3-dev
/usr/include/jsmn.h libjsmn-dev
/usr/include/simdjson.h libsimdjson-dev
python3 python3
git git"
kCoverageTools="$kTestTools
x86_64-w64-mingw32-gcov-win32 gcc-mingw-w64-x86-64-win32"

is_there() {
    case $1 in
        wine) wine --version >/dev/null 2>&1 ;; # the command is there without its 64-bit part, too
        lib*) /sbin/ldconfig -p | grep -F "$1" >/dev/null ;;
        /*) [ -e "$1" ] ;;
        *) command -v "$1" >/dev/null 2>&1 ;;
    esac
}

missing_packages() {
    local thing packages
    while read -r thing packages; do
        is_there "$thing" || tr ' ' '\n' <<<"$packages"
    done <<<"$1" | sort -u
}

# as_root REASON COMMAND...
as_root() {
    local reason=$1
    shift
    if [ "$(id -u)" = 0 ]; then
        "$@"
        return
    fi
    command -v sudo >/dev/null || return 1
    say "sudo is asked for, $reason"
    sudo "$@"
}

update_package_lists() {
    as_root 'to look for packages' apt-get update -q
}

install_packages() {
    update_package_lists &&
        as_root "to install: $*" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -q -y --no-install-recommends "$@"
}

# Installs what is missing of the given list, or says what to install where that cannot be done.
prepare_machine() {
    local packages
    mapfile -t packages < <(missing_packages "$1")
    [ ${#packages[@]} = 0 ] && return
    if command -v apt-get >/dev/null; then
        step "Installing packages (a minute or two): ${packages[*]}"
        install_packages "${packages[@]}"
        mapfile -t packages < <(missing_packages "$1")
        [ ${#packages[@]} = 0 ] && return
    fi
    {
        echo "Please install these first, by the names that Debian gives them:"
        printf '    %s\n' "${packages[@]}"
    } >&2
    exit 1
}

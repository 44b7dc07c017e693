# shellcheck shell=bash
# What the scripts need from Debian, and why; sourced, never run. Each script takes the lists it needs.
# shellcheck disable=SC2034

PACKAGES_BUILD=(
    "g++                        compiles the library"
    "cmake                      configures the build"
    "ninja-build                runs the build"
    "libgtest-dev               the framework of the tests"
    "libcli11-dev               command line of the tools"
    "nlohmann-json3-dev         JSON output of the tools"
    "python3                    compares transcripts, layers, exports and measurements"
)
PACKAGES_CHECK=(
    "clang                      the second compiler, with its thread-safety analysis"
    "clang-format-14            keeps the house style"
)
PACKAGES_QT=(
    "qt6-base-dev               the window system, its tests and example"
    "fonts-dejavu-core          letters for windows without a display"
)
PACKAGES_WINDOWS=(
    "g++-mingw-w64-x86-64-posix compiles the 64-bit DLLs"
    "g++-mingw-w64-i686-posix   compiles the 32-bit DLLs"
    "googletest                 sources of the test framework, for the Windows build"
    "wine64                     runs the Windows tests"
)
PACKAGES_BENCH=(
    "libbenchmark-dev           the framework of the measurements"
    "pkgconf                    finds GLib"
    "libglib2.0-dev             peer: GLib's strings, per-thread pointers and settings"
    "libglib2.0-bin             the settings' schema for that"
    "liblmdb-dev                peer: LMDB's store"
    "libgdbm-dev                peer: GDBM's store"
    "libcdb-dev                 peer: cdb's store, which is written once"
    "libtkrzw-dev               peer: tkrzw's hash store"
    "libproc2-dev               peer: the walk over processes of ps and top"
    "qt6-base-dev               peer: Qt's settings in INI files"
    "libpoco-dev                peer: Poco's numbers"
    "libspdlog-dev              peer: spdlog's messages"
    "libboost-dev               peer: Boost.Interprocess's named mutex"
)

is_installed()
{
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# need_packages <"package why">...: installs what is missing, or says what to install and ends the script.
need_packages()
{
    local entry package missing=()
    if ! command -v dpkg-query >/dev/null; then
        echo "This is no Debian system; these are expected to be here:"
        printf '    %s\n' "$@"
        return
    fi
    for entry in "$@"; do
        package=${entry%% *}
        if ! is_installed "$package"; then
            [ ${#missing[@]} -gt 0 ] || echo "To be installed:"
            echo "    $entry"
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
        if ! command -v sudo >/dev/null || ! { sudo -n true 2>/dev/null || [ -t 0 ]; }; then
            echo "Neither root nor sudo is at hand. Please run, as root:"
            echo "    apt-get install --no-install-recommends ${missing[*]}"
            exit 1
        fi
        sudo -v
    fi
    must "package lists" "${as_root[@]}" apt-get update
    must "packages" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
         apt-get install --yes --no-install-recommends "${missing[@]}"
}

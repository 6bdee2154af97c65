#!/usr/bin/env bash
# Set up, build and run Tavimo on Debian.
#   ./tavimo.sh run    install what is needed, build the program alone, start it
#   ./tavimo.sh test   install what is needed, build, run every test: against Qt 5, then Qt 6
#   ./tavimo.sh deb    install what is needed, build, make the Debian package in the build folder
# BUILD_DIR (default: build) and CMAKE_ARGS (e.g. -DTAVIMO_SANITIZE=address,undefined) are honoured.
# TAVIMO_QT=5 or 6 chooses the Qt (5 by default for run and deb; test takes both unless told).
# A Qt 6 build goes into "$BUILD_DIR-qt6" (build-qt6).
set -euo pipefail
cd "$(dirname "$0")"

packages=(g++ cmake make perl qtbase5-dev qtbase5-dev-tools qttools5-dev qttools5-dev-tools
          libqt5svg5-dev libimage-exiftool-perl fonts-freefont-ttf icc-profiles-free xvfb xauth
          qttranslations5-l10n)
packages+=(qt6-base-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools qt6-svg-dev
           qt6-translations-l10n qt6-qpa-plugins)

# The desktop integration: a private session bus and gapplication for its tests, the two
# validators, and dpkg-shlibdeps for the package's dependencies.
packages+=(dbus-daemon libglib2.0-bin desktop-file-utils appstream dpkg-dev)

# heif-enc makes the HEIC photo of the fix tests.
packages+=(libheif-examples)

# Memory cards for the fix's safety tests: FAT and exFAT through FUSE, on image files.
packages+=(dosfstools fusefat exfatprogs exfat-fuse)

# A Wayland compositor without a screen, and Qt's Wayland platforms, for the Wayland smoke test.
packages+=(weston qtwayland5 qt6-wayland)

install_packages() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    echo "Installing: ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# The build folder of Qt $1.
build_dir() {
    if [ "$1" = 6 ]; then echo "${BUILD_DIR:-build}-qt6"; else echo "${BUILD_DIR:-build}"; fi
}

# Builds against Qt $1 into its folder; further arguments go to the build (--target tavimo).
build() {
    local version=$1 dir
    dir=$(build_dir "$version")
    shift
    # shellcheck disable=SC2086
    cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVIMO_QT="$version" ${CMAKE_ARGS:-}
    cmake --build "$dir" -j"$(nproc)" "$@"
}

# Whether the program would find a display, by the rule it applies itself: DISPLAY or
# WAYLAND_DISPLAY, or a platform in QT_QPA_PLATFORM that needs none (offscreen, vnc...).
have_display() {
    if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
        return 0
    fi
    local entry entries
    IFS=';' read -ra entries <<< "${QT_QPA_PLATFORM:-}"
    for entry in "${entries[@]}"; do
        entry=${entry%%:*}
        case "$entry" in
        "" | xcb | wayland*) ;;
        *) return 0 ;;
        esac
    done
    return 1
}

qt="${TAVIMO_QT:-5}"

case "${1:-}" in
run)
    dir=$(build_dir "$qt")
    # Before anything is installed or built: without a display the window has nowhere to go,
    # and the build alone takes minutes.
    if ! have_display; then
        echo "There is no display to show the window on (DISPLAY and WAYLAND_DISPLAY are not set)."
        echo "Start the program on a virtual display instead:"
        if [ -x "$dir/bin/tavimo" ]; then
            echo "    xvfb-run -a -s '-screen 0 1280x1024x24' $dir/bin/tavimo"
        else
            echo "    xvfb-run -a -s '-screen 0 1280x1024x24' $0 run"
        fi
        command -v xvfb-run >/dev/null || echo "(xvfb-run comes with Debian's packages xvfb and xauth.)"
        exit 1
    fi
    install_packages
    # The program and what it loads (its libraries with their catalogues and artwork); the
    # tests and benchmarks are left to "test".
    build "$qt" --target tavimo
    exec "$dir/bin/tavimo"
    ;;
test)
    install_packages
    # Both Qt's in turn, each in its own folder; the first failure ends the run.
    for version in ${TAVIMO_QT:-5 6}; do
        echo "=== Qt $version"
        build "$version"
        (cd "$(build_dir "$version")" && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j"$(nproc)")
    done
    ;;
deb)
    install_packages
    build "$qt"
    cd "$(build_dir "$qt")"
    cpack -G DEB
    echo "Install it with: apt-get install ./$(ls -t tavimo_*.deb | head -1)  (from $(pwd))"
    ;;
*)
    echo "usage: $0 run|test|deb" >&2
    exit 2
    ;;
esac

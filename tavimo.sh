#!/usr/bin/env bash
# Set up, build and run Tavimo on Debian.
#   ./tavimo.sh run    install what is needed, build, start the program
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

# Builds against Qt $1 into its folder.
build() {
    local dir
    dir=$(build_dir "$1")
    # shellcheck disable=SC2086
    cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVIMO_QT="$1" ${CMAKE_ARGS:-}
    cmake --build "$dir" -j"$(nproc)"
}

qt="${TAVIMO_QT:-5}"

case "${1:-}" in
run)
    install_packages
    build "$qt"
    dir=$(build_dir "$qt")
    if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
        echo "There is no display to show the window on (DISPLAY is not set)."
        echo "Start the program on a virtual display instead:"
        echo "    xvfb-run -a -s '-screen 0 1280x1024x24' $dir/bin/tavimo"
        exit 1
    fi
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

#!/usr/bin/env bash
# Set up, build and run Tavimo on Debian.
#   ./tavimo.sh run    install what is needed, build, start the program
#   ./tavimo.sh test   install what is needed, build, run every test
#   ./tavimo.sh deb    install what is needed, build, make the Debian package in the build folder
# BUILD_DIR (default: build) and CMAKE_ARGS (e.g. -DTAVIMO_SANITIZE=address,undefined) are honoured.
set -euo pipefail
cd "$(dirname "$0")"

packages=(g++ cmake make perl qtbase5-dev qtbase5-dev-tools qttools5-dev qttools5-dev-tools
          libqt5svg5-dev libimage-exiftool-perl fonts-freefont-ttf icc-profiles-free xvfb xauth
          qttranslations5-l10n)

# The desktop integration: a private session bus and gapplication for its tests, the two
# validators, and dpkg-shlibdeps for the package's dependencies.
packages+=(dbus-daemon libglib2.0-bin desktop-file-utils appstream dpkg-dev)

# heif-enc makes the HEIC photo of the fix tests.
packages+=(libheif-examples)

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

build() {
    local dir="${BUILD_DIR:-build}"
    # shellcheck disable=SC2086
    cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo ${CMAKE_ARGS:-}
    cmake --build "$dir" -j"$(nproc)"
}

case "${1:-}" in
run)
    install_packages
    build
    if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
        echo "There is no display to show the window on (DISPLAY is not set)."
        echo "Start the program on a virtual display instead:"
        echo "    xvfb-run -a -s '-screen 0 1280x1024x24' ${BUILD_DIR:-build}/bin/tavimo"
        exit 1
    fi
    exec "${BUILD_DIR:-build}/bin/tavimo"
    ;;
test)
    install_packages
    build
    cd "${BUILD_DIR:-build}"
    QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j"$(nproc)"
    ;;
deb)
    install_packages
    build
    cd "${BUILD_DIR:-build}"
    cpack -G DEB
    echo "Install it with: apt-get install ./$(ls -t tavimo_*.deb | head -1)  (from $(pwd))"
    ;;
*)
    echo "usage: $0 run|test|deb" >&2
    exit 2
    ;;
esac

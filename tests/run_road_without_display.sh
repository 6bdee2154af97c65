#!/bin/sh
# `./tavimo.sh run` in a shell without a display ends at once: it says how to start under
# xvfb-run and installs and builds nothing. Stand-ins for the package tools and the build tools
# come first on PATH and note any call; the build folder is a scratch one that must stay empty.
# usage: run_road_without_display.sh <checkout>
set -u
checkout=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/bin"
for tool in apt-get sudo dpkg-query cmake make c++ g++; do
    printf '#!/bin/sh\necho "%s $*" >> "%s/called"\nexit 1\n' "$tool" "$scratch" > "$scratch/bin/$tool"
    chmod +x "$scratch/bin/$tool"
done

start=$(date +%s)
output=$(cd "$checkout" && env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM -u TAVIMO_QT \
    PATH="$scratch/bin:$PATH" BUILD_DIR="$scratch/build" timeout 20 ./tavimo.sh run 2>&1)
status=$?
seconds=$(($(date +%s) - start))

fail() {
    echo "FAIL: $1"
    echo "--- exit status $status after $seconds s; output:"
    echo "$output"
    [ -f "$scratch/called" ] && { echo "--- called:"; cat "$scratch/called"; }
    exit 1
}
[ "$status" -ne 0 ] || fail "ended with 0"
[ "$status" -ne 124 ] || fail "still running after 20 s"
[ "$seconds" -le 5 ] || fail "took more than 5 s"
echo "$output" | grep -q "xvfb-run -a -s '-screen 0 1280x1024x24' " || fail "no xvfb-run hint"
[ ! -e "$scratch/called" ] || fail "installed or built something"
[ ! -e "$scratch/build" ] || fail "made the build folder"
echo "$output"
echo "PASS after $seconds s with exit status $status"

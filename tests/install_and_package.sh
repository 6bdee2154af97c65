#!/bin/sh
# Installs the build in folder $1 into a DESTDIR, checks what is there and that the installed
# program finds its libraries, runs the desktop validators where they are installed, then makes
# the Debian package and checks its dependencies and contents. $2 is the application's id.
set -eu
build=$1
id=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

DESTDIR="$work/root" cmake --install "$build" --prefix /usr > "$work/install.log" || { cat "$work/install.log"; fail "install"; }
root=$work/root/usr
for file in bin/tavimo share/applications/$id.desktop share/dbus-1/services/$id.service \
            share/metainfo/$id.metainfo.xml; do
    [ -f "$root/$file" ] || fail "$file was not installed"
done
for size in 16 24 32 48 64 128 256 512; do
    icon=$root/share/icons/hicolor/${size}x$size/apps/$id.png
    [ -f "$icon" ] || fail "no icon of $size pixels"
    # A PNG's width and height stand big-endian in bytes 16 to 23.
    [ "$(od -An -tu1 -j16 -N8 "$icon" | tr -s ' ')" = " 0 0 $((size / 256)) $((size % 256)) 0 0 $((size / 256)) $((size % 256))" ] \
        || fail "icon of $size pixels has another size"
done
for lib in libtavimo_app.so libondo_toolkit.so; do
    ls "$root"/lib*/tavimo/$lib "$root"/lib/*/tavimo/$lib > /dev/null 2>&1 || ls "$root"/lib/tavimo/$lib > /dev/null \
        || fail "$lib is not in the program's library folder"
done
# The RPATH is relative to the program, so the libraries are found inside the DESTDIR as they
# will be under the prefix; nothing may come from the build folder.
ldd "$root/bin/tavimo" > "$work/ldd" 2>&1
grep -q "not found" "$work/ldd" && { cat "$work/ldd"; fail "libraries not found"; }
grep "tavimo_app\|ondo_toolkit" "$work/ldd" | grep -qv "^.*=> $work/root/" && { cat "$work/ldd"; fail "libraries taken from outside the install"; }
grep -qx "Exec=/usr/bin/tavimo" "$root/share/dbus-1/services/$id.service" || fail "service file: $(cat "$root/share/dbus-1/services/$id.service")"
grep -qx "DBusActivatable=true" "$root/share/applications/$id.desktop" || fail "desktop entry is not D-Bus activatable"

if command -v desktop-file-validate > /dev/null; then
    desktop-file-validate "$root/share/applications/$id.desktop" || fail "desktop-file-validate"
    echo "desktop-file-validate: passed"
else
    echo "desktop-file-validate is not installed (desktop-file-utils); not run"
fi
if command -v appstreamcli > /dev/null; then
    appstreamcli validate --no-net "$root/share/metainfo/$id.metainfo.xml" || fail "appstreamcli validate"
else
    echo "appstreamcli is not installed (appstream); not run"
fi

if ! command -v dpkg-deb > /dev/null; then
    echo "dpkg-deb is not installed; no package made"
    exit 0
fi
(cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/package" > "$work/cpack.log" 2>&1) \
    || { cat "$work/cpack.log"; fail "cpack"; }
deb=$(ls "$work"/package/*.deb)
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for package in libqt5core5a libqt5gui5 libqt5widgets5 libqt5network5 libqt5dbus5 libc6 libstdc++6 \
               libimage-exiftool-perl perl fonts-freefont-ttf; do
    echo "$depends" | tr ',' '\n' | grep -q "^ *$package\( \|$\)" || fail "$package is not among the dependencies"
done
dpkg-deb -c "$deb" > "$work/contents"
for file in ./usr/bin/tavimo ./usr/share/applications/$id.desktop ./usr/share/dbus-1/services/$id.service; do
    grep -q " $file\$" "$work/contents" || fail "$file is not in the package"
done
echo "package $(basename "$deb") made"

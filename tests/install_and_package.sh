#!/bin/sh
# Installs the build in folder $1 into a DESTDIR, checks what is there and that the installed
# program finds its libraries, runs the desktop validators where they are installed, then makes
# the Debian package and checks its dependencies and contents. $2 is the application's id,
# $3 the major version of Qt it was built against (5 by default).
set -eu
build=$1
id=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

DESTDIR="$work/root" cmake --install "$build" --prefix /usr > "$work/install.log" || { cat "$work/install.log"; fail "install"; }
root=$work/root/usr
for file in bin/tavimo share/applications/$id.desktop share/dbus-1/services/$id.service \
            share/metainfo/$id.metainfo.xml share/icons/hicolor/16x16/apps/$id.png share/icons/hicolor/256x256/apps/$id.png; do
    [ -f "$root/$file" ] || fail "$file was not installed"
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
fi
if command -v appstreamcli > /dev/null; then
    appstreamcli validate --no-net "$root/share/metainfo/$id.metainfo.xml" || fail "appstreamcli validate"
fi

if ! command -v dpkg-deb > /dev/null; then
    echo "dpkg-deb is not installed; no package made"
    exit 0
fi
(cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/package" > "$work/cpack.log" 2>&1) \
    || { cat "$work/cpack.log"; fail "cpack"; }
deb=$(ls "$work"/package/*.deb)
depends=$(dpkg-deb -f "$deb" Depends)
case "${3:-5}" in
6) qt_packages="libqt6widgets6 libqt6dbus6 qt6-translations-l10n qt6-qpa-plugins" ;;
*) qt_packages="libqt5widgets5 libqt5dbus5 qttranslations5-l10n" ;;
esac
for package in $qt_packages libimage-exiftool-perl fonts-freefont-ttf; do
    echo "$depends" | tr ',' '\n' | grep -q "^ *$package\( \|$\)" || fail "$package is not among the dependencies"
done
dpkg-deb -c "$deb" | grep -q " ./usr/bin/tavimo\$" || fail "the program is not in the package"
echo "package $(basename "$deb") made"

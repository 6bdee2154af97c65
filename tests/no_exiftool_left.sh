#!/bin/sh
# Fails when an ExifTool child started by the test suite in build folder $1 still runs; a child
# that was just told to end gets a few seconds.
suite="TAVIMO_TEST_SUITE=$1"
left() {
    for dir in /proc/[0-9]*; do
        tr '\0' '\n' < "$dir/environ" 2>/dev/null | grep -qxF "$suite" || continue
        tr '\0' ' ' < "$dir/cmdline" 2>/dev/null | grep -q -- '-stay_open' || continue
        # A zombie has ended; only a parent that doesn't reap keeps it listed.
        sed 's/.*) //' "$dir/stat" 2>/dev/null | grep -q '^Z' && continue
        echo "${dir#/proc/}: $(tr '\0' ' ' < "$dir/cmdline")"
    done
}
for _ in 1 2 3 4 5 6 7 8 9 10; do
    [ -z "$(left)" ] && { echo "no ExifTool child left"; exit 0; }
    sleep 0.5
done
echo "ExifTool children left behind by the tests:"
left
exit 1

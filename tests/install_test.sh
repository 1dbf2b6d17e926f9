#!/bin/sh
# install_test.sh BUILD SOURCES LIBDIR [FLAGS [C_FLAGS]]: installs into a scratch prefix, and builds and runs two programs of
# somebody else against what lies there. FLAGS are those that every program of a sanitizer build needs, C_FLAGS those
# that a program in C needs besides.
set -eu
build=$1
sources=$2
libdir=$3
flags=${4-}
cFlags=${5-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
# The user's own settings and documents are none of a test's business.
export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config"
: "${CC:=cc}" "${CXX:=c++}"

cmake --install "$build" --prefix "$prefix" > "$work/install.log" 2>&1 || { cat "$work/install.log"; exit 1; }
cameras=$prefix/$libdir/libvexcap-cameras.so.1
for file in include/vexcap/vexcap.h bin/vexcap-camera-contract "$libdir/libvexcap.so" "$libdir/libvexcap.so.1" "$libdir/libvexcap-cameras.so.1" \
            "$libdir/libvexcap-i18n.so.1" "$libdir/libvexcap-media.so.1" "$libdir/libvexcap-text.so.1" \
            share/locale/de/LC_MESSAGES/vexcap.mo "$libdir/pkgconfig/vexcap.pc" "$libdir/cmake/vexcap/vexcap-config.cmake"; do
    test -e "$prefix/$file" || { echo "$file was not installed"; exit 1; }
done
# Nothing that is installed may point back into the build.
if grep -l "$build" "$prefix/$libdir/pkgconfig/vexcap.pc" "$prefix/$libdir/cmake/vexcap"/*.cmake; then
    echo "these name the build folder"
    exit 1
fi

# The whole prefix is moved first: it must work wherever it lies.
mv "$prefix" "$work/elsewhere"
prefix=$work/elsewhere
cameras=$prefix/$libdir/libvexcap-cameras.so.1
export LD_LIBRARY_PATH="$prefix/$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"

# 178 bytes of header, 20 frames of 640 x 480 samples of 8 bits.
want=$((178 + 20 * 640 * 480))
check() {
    size=$(stat -c %s "$1")
    test "$size" -eq "$want" || { echo "$1 has $size bytes, not $want"; exit 1; }
}

# C, by pkg-config.
package=$(PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig" pkg-config --cflags --libs vexcap)
# shellcheck disable=SC2086
$CC -std=c11 -Wall -Wextra -Wpedantic -Werror $flags $cFlags "$sources/outside_c/list_cameras.c" $package \
    -o "$work/list_cameras"
"$work/list_cameras" "$cameras" "$work/c.ser"
check "$work/c.ser"

# C++, by the package of CMake.
cmake -G Ninja -S "$sources/outside_cpp" -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_CXX_FLAGS="$flags" > "$work/cpp.log" 2>&1 || { cat "$work/cpp.log"; exit 1; }
cmake --build "$work/cpp" > "$work/cpp.log" 2>&1 || { cat "$work/cpp.log"; exit 1; }
"$work/cpp/record_frames" "$cameras" "$work/cpp.ser"
check "$work/cpp.ser"

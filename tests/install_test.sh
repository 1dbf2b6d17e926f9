#!/bin/sh
# install_test.sh BUILD SOURCES LIBDIR [FLAGS [C_FLAGS]]: installs into a scratch prefix, looks at what lies there, builds
# and runs two programs of somebody else against it, and removes it again. FLAGS are those that every program of a
# sanitizer build needs, C_FLAGS those that a program in C needs besides.
set -eu
build=$1
sources=$2
libdir=$3
flags=${4-}
cFlags=${5-}
work=$(mktemp -d)
mkdir "$work/manifests"
# What the user of this build folder installed can still be removed afterwards.
cp "$build"/install_manifest*.txt "$work/manifests" 2> /dev/null || true
cleanUp() {
    rm -f "$build"/install_manifest*.txt
    cp "$work/manifests"/* "$build" 2> /dev/null || true
    rm -rf "$work"
}
trap cleanUp EXIT
prefix=$work/prefix
# The user's own settings and documents are none of a test's business.
export HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config"
unset LD_LIBRARY_PATH
: "${CC:=cc}" "${CXX:=c++}"

fail() {
    echo "$1"
    exit 1
}

# installTo PREFIX [ARGUMENT ...]: the files that were installed are listed in $work/manifest.
installTo() {
    to=$1
    shift
    rm -f "$build"/install_manifest*.txt
    cmake --install "$build" --prefix "$to" "$@" > "$work/install.log" 2>&1 || { cat "$work/install.log"; exit 1; }
    mkdir -p "$work/manifest"
    cp "$build"/install_manifest*.txt "$work/manifest"
}

installTo "$prefix"
for file in include/vexcap/vexcap.h bin/vexcap bin/vexcap-camera-contract "$libdir/libvexcap.so" "$libdir/libvexcap.so.1" \
            "$libdir/vexcap/libvexcap-cameras.so.1" "$libdir/vexcap/libvexcap-i18n.so.1" \
            "$libdir/vexcap/libvexcap-media.so.1" "$libdir/vexcap/libvexcap-text.so.1" \
            share/locale/de/LC_MESSAGES/vexcap.mo lib/udev/rules.d/70-vexcap.rules share/man/man1/vexcap.1 \
            share/doc/vexcap/LICENSE share/doc/vexcap/README.md share/doc/vexcap/docs/cell.png \
            "$libdir/pkgconfig/vexcap.pc" "$libdir/cmake/vexcap/vexcap-config.cmake"; do
    test -e "$prefix/$file" || fail "$file was not installed"
done
# What is loaded by name is neither linked nor found by the system's loader.
stray=$(cd "$prefix/$libdir" && ls -d libvexcap-* vexcap/*.so 2> /dev/null || true)
test -z "$stray" || fail "these lie where the loader looks, or are for linking: $stray"
# Nothing that is installed may point back into the build, or look for libraries beside itself.
if grep -l "$build" "$prefix/$libdir/pkgconfig/vexcap.pc" "$prefix/$libdir/cmake/vexcap"/*.cmake; then
    fail "these name the build folder"
fi
for library in "$prefix/$libdir"/libvexcap.so.1 "$prefix/$libdir"/vexcap/*.so.1; do
    if readelf -d "$library" | grep -E 'RUNPATH|RPATH'; then fail "$library has a path of its own"; fi
done

# Each component is whole by itself.
for component in runtime development tools documents; do
    installTo "$work/$component" --component "$component"
done
test -e "$work/runtime/$libdir/libvexcap.so.1" || fail "the runtime has no library"
test ! -e "$work/runtime/$libdir/libvexcap.so" || fail "the runtime has a link for development"
test ! -e "$work/runtime/include" || fail "the runtime has headers"
test -L "$work/development/$libdir/libvexcap.so" || fail "there is no link for development"
test ! -e "$work/development/$libdir/libvexcap.so.1" || fail "the library is for development, too"
together=$(cd "$work" && find runtime development tools documents ! -type d | sed 's,^[a-z]*/,,' | sort)
all=$(cd "$prefix" && find . ! -type d | sed 's,^./,,' | sort)
test "$together" = "$all" || fail "the components together are not what is installed without them"

# The whole prefix is moved first: it must work wherever it lies.
mv "$prefix" "$work/elsewhere"
prefix=$work/elsewhere
libraries=$prefix/$libdir
export PKG_CONFIG_PATH="$libraries/pkgconfig"

# The program finds cameras, texts and codecs without any help.
"$prefix/bin/vexcap" devices > "$work/devices" || fail "no devices can be listed"
grep -q sim-fast "$work/devices" || fail "the cameras were not found"
"$prefix/bin/vexcap" codecs > "$work/codecs" || fail "the part that compresses was not found"

# 178 bytes of header, 20 frames of 640 x 480 samples of 8 bits.
want=$((178 + 20 * 640 * 480))
check() {
    size=$(stat -c %s "$1")
    test "$size" -eq "$want" || fail "$1 has $size bytes, not $want"
}

# C, by pkg-config; the cameras by their bare name, the library by the path in the program.
package=$(pkg-config --cflags --libs vexcap)
# shellcheck disable=SC2086
$CC -std=c11 -Wall -Wextra -Wpedantic -Werror $flags $cFlags "$sources/outside_c/list_cameras.c" $package \
    "-Wl,-rpath,$(pkg-config --variable=libdir vexcap)" -o "$work/list_cameras"
"$work/list_cameras" libvexcap-cameras.so.1 "$work/c.ser"
check "$work/c.ser"

# C++, by the package of CMake; the cameras by their path.
cmake -G Ninja -S "$sources/outside_cpp" -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_CXX_FLAGS="$flags" > "$work/cpp.log" 2>&1 || { cat "$work/cpp.log"; exit 1; }
cmake --build "$work/cpp" > "$work/cpp.log" 2>&1 || { cat "$work/cpp.log"; exit 1; }
"$work/cpp/record_frames" "$libraries/vexcap/libvexcap-cameras.so.1" "$work/cpp.ser"
check "$work/cpp.ser"

# The example of a camera library, as a user builds it, kept to the contract by the program that was installed.
cmake -G Ninja -S "$prefix/share/doc/vexcap/examples/camera_library" -B "$work/example" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_FLAGS="$flags $cFlags" > "$work/example.log" 2>&1 || { cat "$work/example.log"; exit 1; }
cmake --build "$work/example" > "$work/example.log" 2>&1 || { cat "$work/example.log"; exit 1; }
"$prefix/bin/vexcap-camera-contract" "$work/example/libmy_cameras.so" --prefix My --only 'Library.*:Object.*' \
    > "$work/example.log" || { cat "$work/example.log"; exit 1; }

# Removed again, with the folders that are its own; what others put there stays.
prefix=$work/prefix
rm -rf "$work/manifest"
installTo "$prefix"
touch "$prefix/$libdir/other.so"
cmake -D BUILD="$work/manifest" -P "$sources/../cmake/uninstall.cmake" > "$work/uninstall.log" 2>&1 ||
    { cat "$work/uninstall.log"; exit 1; }
rest=$(cd "$prefix" && find . ! -type d; find . -name vexcap)
test "$rest" = "./$libdir/other.so" || fail "this is left: $rest"

#!/bin/sh
# The install tree and the Debian packages as a packager and a user meet them:
# - `cmake --install` puts the program, the library and the desktop files under any prefix, and its
#   pkg-config file names that prefix;
# - CPack makes quillmoor-thumbnailer, libquillmoor-dev and the -dbgsym package, and where the KDE
#   plug-in is built quillmoor-thumbnailer-kde and its -dbgsym package; the packages, unpacked into
#   a scratch root, hold every expected path and nothing outside /usr, the static libraries without
#   debug information, the plug-in in the KDE package alone;
# - the program in the root runs and prints the project's version, which is also the packages'
#   and the Debian changelog's; it takes the decoders and GLib from their shared libraries, each a
#   declared dependency, and is stripped, its debug symbols under its build ID in the -dbgsym package;
# - the KDE package depends on KIO, Qt and the program's package of the same version, none of which
#   the program's package depends on, and its plug-in is stripped in the same way;
# - pkg-config (through PKG_CONFIG_SYSROOT_DIR) and find_package (through CMAKE_PREFIX_PATH) build
#   a program against the root's development package;
# - lintian, when installed, reports no error and no warning on any package.
# Usage: package_test.sh BUILD_DIR SOURCE_DIR [KDE], KDE 1 when the build has the KDE plug-in.
set -eu
build=$1
source=$2
kde=${3:-0}
command -v dpkg-deb >/dev/null 2>&1 || { echo "SKIP: no dpkg-deb"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT TERM HUP

fail=0
failed() { echo "FAIL: $*"; fail=1; }
expect() { # FILE-LIST PATTERN
  grep -Eq "$2" "$1" || failed "$2 not in $(basename "$1")"
}

# A user of the library: the fit rule of a 1024 x 768 picture in a 256 box.
mkdir -p "$work/user"
cat > "$work/user/main.cpp" <<'CPP'
#include "generator/GSThumbnailSize.h"
#include <cstdio>
int main() { GSDrawingSize d = GSThumbnailDrawingSize(1024, 768, 256, 256); std::printf("%gx%g\n", d.width, d.height); }
CPP
cat > "$work/user/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(user CXX)
find_package(quillmoor REQUIRED)
add_executable(user main.cpp)
target_link_libraries(user PRIVATE quillmoor::generator)
CMAKE
pkg_config_user() { # NAME, with PKG_CONFIG_* set by the caller
  # shellcheck disable=SC2046
  c++ -std=c++20 -o "$work/user/$1" "$work/user/main.cpp" $(pkg-config --cflags --libs quillmoor) ||
    { failed "pkg-config user $1 does not build"; return; }
  [ "$("$work/user/$1")" = "256x192" ] || failed "pkg-config user $1"
}

# The install tree.
cmake --install "$build" --prefix "$work/prefix" >/dev/null
(cd "$work/prefix" && find . -type f -o -type l) > "$work/installed"
for pattern in '^\./bin/quillmoor-thumbnailer$' '^\./share/thumbnailers/quillmoor\.thumbnailer$' \
               '^\./share/mime/packages/quillmoor\.xml$' '^\./share/man/man1/quillmoor-thumbnailer\.1\.gz$' \
               '^\./include/gs/file/GSFile\.h$' '^\./include/generator/GSThumbnailSize\.h$' \
               '^\./lib[^ ]*/libquillmoor-gs\.a$' '^\./lib[^ ]*/cmake/quillmoor/quillmoorConfig\.cmake$' \
               '^\./lib[^ ]*/pkgconfig/quillmoor\.pc$'; do
  expect "$work/installed" "$pattern"
done
if [ "$kde" = 1 ]; then expect "$work/installed" '^\./lib[^ ]*/qt5/plugins/kf5/thumbcreator/quillmoorthumbnail\.so$'; fi
# The Debian documents are the packages' alone.
grep -q '^\./share/doc/' "$work/installed" && failed "cmake --install writes share/doc"
pc=$(dirname "$(find "$work/prefix" -name quillmoor.pc)")
PKG_CONFIG_PATH="$pc" pkg_config_user prefix

# The packages, unpacked into one root.
(cd "$build" && cpack -G DEB -B "$work/deb" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; failed "cpack"; exit 1; }
arch=$(dpkg --print-architecture)
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || gcc -print-multiarch)
version=$(sed -n 's/^project(quillmoor VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
revision=$(sed -n '1s/^quillmoor (\([^)]*\)-\([^)-]*\)).*/\2/p' "$source/packaging/debian/changelog")
[ "$(sed -n '1s/^quillmoor (\([^)]*\)-[^)-]*).*/\1/p' "$source/packaging/debian/changelog")" = "$version" ] ||
  failed "the changelog's top entry is not of version $version"
program=$work/deb/quillmoor-thumbnailer_${version}-${revision}_$arch.deb
dev=$work/deb/libquillmoor-dev_${version}-${revision}_$arch.deb
dbgsym=$work/deb/quillmoor-thumbnailer-dbgsym_${version}-${revision}_$arch.ddeb
kde_program=$work/deb/quillmoor-thumbnailer-kde_${version}-${revision}_$arch.deb
kde_dbgsym=$work/deb/quillmoor-thumbnailer-kde-dbgsym_${version}-${revision}_$arch.ddeb
packages="$program $dev"
expected="$program $dev $dbgsym"
if [ "$kde" = 1 ]; then
  packages="$packages $kde_program"
  expected="$expected $kde_program $kde_dbgsym"
elif [ -e "$kde_program" ]; then
  failed "$(basename "$kde_program") without the plug-in"
fi
for f in $expected; do
  [ -f "$f" ] || { failed "no $(basename "$f") among: $(ls "$work/deb")"; exit 1; }
done
root=$work/root
for f in $packages; do dpkg -x "$f" "$root"; done

# Every path, per package.
check_paths() { # DEB PATH...
  deb=$1; shift
  dpkg-deb -c "$deb" | awk '{print $NF}' | sed 's|^\./|/|; s|/$||' > "$work/contents"
  for path in "$@"; do
    grep -qxF "$path" "$work/contents" || failed "$path not in $(basename "$deb")"
    [ -e "$root$path" ] || failed "$path not unpacked"
  done
  grep -v '^/$' "$work/contents" | grep -v '^/usr' && failed "$(basename "$deb") writes outside /usr"
  return 0
}
check_paths "$program" /usr/bin/quillmoor-thumbnailer /usr/share/thumbnailers/quillmoor.thumbnailer \
  /usr/share/mime/packages/quillmoor.xml /usr/share/man/man1/quillmoor-thumbnailer.1.gz \
  /usr/share/doc/quillmoor-thumbnailer/copyright /usr/share/doc/quillmoor-thumbnailer/changelog.Debian.gz
headers=$(cd "$source" && find gs generator -name '*.h' ! -path '*/apple/*' ! -path '*/quicklook/*' |
          sed 's|^|/usr/include/|')
# shellcheck disable=SC2086
check_paths "$dev" $headers /usr/lib/$multiarch/libquillmoor-gs.a /usr/lib/$multiarch/libquillmoor-gs-platform.a \
  /usr/lib/$multiarch/libquillmoor-generator.a /usr/lib/$multiarch/cmake/quillmoor/quillmoorConfig.cmake \
  /usr/lib/$multiarch/cmake/quillmoor/quillmoorConfigVersion.cmake /usr/lib/$multiarch/cmake/quillmoor/quillmoorTargets.cmake \
  /usr/lib/$multiarch/pkgconfig/quillmoor.pc /usr/share/doc/libquillmoor-dev/copyright \
  /usr/share/doc/libquillmoor-dev/changelog.Debian.gz
dpkg-deb -c "$program" | grep -q '/include/\|\.a$' && failed "the program's package holds development files"
dpkg-deb -c "$dev" | grep -q '/bin/' && failed "the development package holds the program"
plugin=/usr/lib/$multiarch/qt5/plugins/kf5/thumbcreator/quillmoorthumbnail.so
for f in "$program" "$dev"; do
  dpkg-deb -c "$f" > "$work/contents"
  grep -q 'quillmoorthumbnail\|/qt5/' "$work/contents" && failed "$(basename "$f") holds the KDE plug-in"
done
if [ "$kde" = 1 ]; then
  check_paths "$kde_program" "$plugin" /usr/share/doc/quillmoor-thumbnailer-kde/copyright \
    /usr/share/doc/quillmoor-thumbnailer-kde/changelog.Debian.gz
  grep -q '/bin/\|/include/\|/thumbnailers/\|/mime/' "$work/contents" && failed "the KDE package holds more than the plug-in"
fi
for archive in "$root/usr/lib/$multiarch"/libquillmoor-*.a; do
  if readelf -SW "$archive" | grep -q ' \.debug_info '; then failed "$(basename "$archive") keeps its debug information"; fi
done

# The program runs from the root, on the shared libraries the system has.
bin=$root/usr/bin/quillmoor-thumbnailer
[ "$("$bin" --version)" = "quillmoor-thumbnailer $version" ] || failed "--version: $("$bin" --version)"
"$bin" thumbnail -s 64 "$source/examples/landscape.qmd" "$work/thumb.png" || failed "thumbnail from the root"
[ "$(head -c 8 "$work/thumb.png" | od -An -tx1 | tr -d ' ')" = 89504e470d0a1a0a ] || failed "the thumbnail is no PNG"
for field in $packages; do
  [ "$(dpkg-deb -f "$field" Version)" = "$version-$revision" ] || failed "$(basename "$field"): Version"
done
[ "$(zcat "$root/usr/share/doc/quillmoor-thumbnailer/changelog.Debian.gz" | head -1)" = \
  "$(head -1 "$source/packaging/debian/changelog")" ] || failed "changelog.Debian.gz is not the changelog"

# Shared, not copied in: each library's functions are imported, and its package is a dependency.
nm -D --undefined-only "$bin" | awk '{print $NF}' > "$work/imported"
depends=$(dpkg-deb -f "$program" Depends)
for pair in tjInitDecompress:libturbojpeg0 jpeg_read_header:libjpeg62-turbo spng_ctx_new:libspng0 \
            g_compute_checksum_for_string:libglib2.0-0 fstat:libc6; do
  grep -q "^${pair%%:*}" "$work/imported" || failed "${pair%%:*} is not taken from a shared library"
  echo "$depends" | grep -Eq "(^|, )${pair#*:} " || failed "Depends lacks ${pair#*:}: $depends"
done

# Stripped, with the debug symbols under the build ID in the -dbgsym package.
check_stripped() { # ELF DBGSYM
  readelf -SW "$1" | grep -Eq '\.(symtab|debug_info) ' && failed "$(basename "$1") is not stripped"
  id=$(readelf -nW "$1" | sed -n 's/.*Build ID: *\([0-9a-f]*\).*/\1/p')
  rest=${id#??}
  dpkg-deb -c "$2" | grep -q "/usr/lib/debug/.build-id/${id%"$rest"}/$rest.debug$" ||
    failed "no debug file for $(basename "$1")'s build ID $id in $(basename "$2")"
}
check_stripped "$bin" "$dbgsym"

# The KDE plug-in's dependencies: KIO and Qt from dpkg-shlibdeps, which the program's package is
# spared, and the MIME package of the same build; each of its libraries is found on this system.
echo "$depends" | grep -q 'libqt5\|libkf5' && failed "the program's package depends on Qt or KDE: $depends"
if [ "$kde" = 1 ]; then
  kde_depends=$(dpkg-deb -f "$kde_program" Depends)
  for package in 'libkf5kio(gui|core)5' 'libqt5core5a' 'libqt5gui5' "quillmoor-thumbnailer \\(= $version-$revision\\)"; do
    echo "$kde_depends" | grep -Eq "(^|, )$package( |,|$)" || failed "the KDE package's Depends lacks $package: $kde_depends"
  done
  ldd "$root$plugin" | grep 'not found' && failed "the plug-in's libraries are not all found"
  check_stripped "$root$plugin" "$kde_dbgsym"
fi

# Users of the development package in the root.
PKG_CONFIG_SYSROOT_DIR=$root PKG_CONFIG_LIBDIR=$root/usr/lib/$multiarch/pkgconfig pkg_config_user sysroot
PKG_CONFIG_SYSROOT_DIR=$root PKG_CONFIG_LIBDIR=$root/usr/lib/$multiarch/pkgconfig pkg-config --cflags quillmoor |
  grep -q -- '-std=' && failed "the pkg-config file sets a language standard"
if cmake -S "$work/user" -B "$work/user/build" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null &&
   cmake --build "$work/user/build" >/dev/null; then
  [ "$("$work/user/build/user")" = "256x192" ] || failed "find_package user"
else
  failed "find_package user does not build"
fi

# What Debian's package checker says.
if command -v lintian >/dev/null 2>&1; then
  # shellcheck disable=SC2086
  lintian --fail-on error,warning $packages > "$work/lintian" 2>&1 || { cat "$work/lintian"; failed "lintian"; }
else
  echo "lintian is not installed: its checks are skipped"
fi
[ $fail -eq 0 ] && echo "packages as expected"
exit $fail

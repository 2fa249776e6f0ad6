#!/bin/sh
# The install tree and the Debian package: `cmake --install` puts the program, the library with its
# CMake package and pkg-config file, the thumbnailer entry and the MIME package in place, a program
# builds against the installed library both ways, and the .deb lists the same files under /usr.
# Usage: package_test.sh BUILD_DIR SOURCE_DIR
set -eu
build=$1
command -v dpkg-deb >/dev/null 2>&1 || { echo "SKIP: no dpkg-deb"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT TERM HUP

fail=0
expect() { # FILE-LIST PATTERN
  if ! grep -Eq "$2" "$1"; then echo "FAIL: $2 not in $(basename "$1")"; fail=1; fi
}

cmake --install "$build" --prefix "$work/prefix" >/dev/null
(cd "$work/prefix" && find . -type f -o -type l) > "$work/installed"
for pattern in '^\./bin/quillmoor-thumbnailer$' '^\./share/thumbnailers/quillmoor\.thumbnailer$' \
               '^\./share/mime/packages/quillmoor\.xml$' '^\./include/gs/file/GSFile\.h$' \
               '^\./include/generator/GSThumbnailSize\.h$' '^\./lib[^ ]*/libquillmoor-gs\.a$' \
               '^\./lib[^ ]*/cmake/quillmoor/quillmoorConfig\.cmake$' '^\./lib[^ ]*/pkgconfig/quillmoor\.pc$'; do
  expect "$work/installed" "$pattern"
done

# A user of the library, through CMake and through pkg-config.
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
cmake -S "$work/user" -B "$work/user/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/user/build" >/dev/null
[ "$("$work/user/build/user")" = "256x192" ] || { echo "FAIL: CMake user"; fail=1; }
pc=$(dirname "$(find "$work/prefix" -name quillmoor.pc)")
# shellcheck disable=SC2046
c++ -o "$work/user/pc" "$work/user/main.cpp" $(PKG_CONFIG_PATH="$pc" pkg-config --cflags --libs quillmoor)
[ "$("$work/user/pc")" = "256x192" ] || { echo "FAIL: pkg-config user"; fail=1; }

# The Debian package, built by CPack from the same tree.
(cd "$build" && cpack -G DEB -B "$work/deb" >/dev/null)
deb=$(ls "$work"/deb/*.deb)
dpkg-deb -c "$deb" | awk '{print $NF}' > "$work/contents"
for pattern in '^\./usr/bin/quillmoor-thumbnailer$' '^\./usr/share/thumbnailers/quillmoor\.thumbnailer$' \
               '^\./usr/share/mime/packages/quillmoor\.xml$' '^\./usr/include/gs/file/GSFile\.h$' \
               '^\./usr/lib[^ ]*/cmake/quillmoor/quillmoorConfig\.cmake$' '^\./usr/lib[^ ]*/pkgconfig/quillmoor\.pc$'; do
  expect "$work/contents" "$pattern"
done
dpkg-deb -f "$deb" Package Depends > "$work/control"
expect "$work/control" '^Package: quillmoor-thumbnailer$'
expect "$work/control" 'libspng0'
[ $fail -eq 0 ] && echo "package contents as expected"
exit $fail

#!/bin/sh
# `cmake --install` puts the plug-in beside Debian's own thumbnail plug-ins (kio-extras'), so that
# with prefix /usr KDE finds it without QT_PLUGIN_PATH.
# Usage: install_test.sh BUILD_DIR. Exit 0 success, 1 failure, 77 without kio-extras.
build=$1
dir=$(dpkg -L kio-extras 2>/dev/null | grep '/kf5/thumbcreator$' | head -n 1)
if [ -z "$dir" ]; then
  echo "SKIP: kio-extras is not installed"
  exit 77
fi
stage=$(mktemp -d) || exit 1
trap 'rm -rf "$stage"' EXIT
cmake --install "$build" --prefix "$stage/usr" --component kde >/dev/null || exit 1
if [ ! -f "$stage$dir/quillmoorthumbnail.so" ]; then
  echo "FAIL: the plug-in is not in $dir; installed:"
  find "$stage" -name '*.so'
  exit 1
fi

#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, and only those that are missing.
# Usage: scripts/install-deps.sh [extra-package ...]
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libcli11-dev nlohmann-json3-dev
  libturbojpeg0-dev libjpeg62-turbo-dev libspng-dev libpixman-1-dev libglib2.0-dev zlib1g-dev
  # End-to-end desktop tests: XFCE's tumbler on a private bus, GNOME's thumbnail factory (through
  # PyGObject, sandboxed by bubblewrap), the MIME database tools.
  tumbler dbus-daemon python3-gi gir1.2-gnomedesktop-3.0 bubblewrap shared-mime-info libglib2.0-bin
  # The Debian packages: Debian's checker, the manual page's formatter, file (CPack finds the
  # programs to strip and to pass to dpkg-shlibdeps with it).
  lintian groff-base file
  # The trash test: gio reads and restores the trash through gvfs.
  gvfs
  # The KDE thumbnail plug-in and its end-to-end test: KIO's development files, Qt, and kio-extras'
  # thumbnail worker, which KIO::PreviewJob runs.
  libkf5kio-dev qtbase5-dev kio-extras
  "$@"
)

missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"

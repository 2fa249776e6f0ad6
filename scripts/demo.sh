#!/usr/bin/env bash
# The demo behind `make demo`: inspects the sample documents in examples/ and extracts their stored
# pictures into examples/out/. Usage: scripts/demo.sh BUILD_DIR (a configured and built preset).
set -uo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
program=$build/thumbnailer/quillmoor-thumbnailer
if [ ! -x "$program" ]; then
  echo "demo: $program is missing; build first (make release)" >&2
  exit 1
fi

out=examples/out
rm -rf "$out"
mkdir -p "$out"

echo "== quillmoor-thumbnailer info examples/*.qmd"
"$program" info examples/*.qmd
echo
echo "== quillmoor-thumbnailer info --json examples/landscape.qmd examples/selection.qmd"
"$program" info --json examples/landscape.qmd examples/selection.qmd
echo
echo "== quillmoor-thumbnailer extract FILE -o $out/NAME.EXT"
for doc in examples/*.qmd; do
  name=$(basename "$doc" .qmd)
  # The extension follows the stored type, which info tells; a document without a picture is
  # still handed to extract, to show its failure line and exit code.
  case $("$program" info --json "$doc" | grep -o '"type":"[a-z]*"') in
    *png*) ext=png ;;
    *) ext=jpg ;;
  esac
  "$program" extract "$doc" -o "$out/$name.$ext" 2>&1
  echo "   -> exit code $?"
done
echo
echo "The pictures went to $out/:"
ls -l "$out"

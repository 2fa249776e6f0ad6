#!/usr/bin/env bash
# Start-up of quillmoor-thumbnailer builds side by side: hyperfine (no shell, 20 warm-up runs) on
# `--help` and on a 512-pixel thumbnail of two bundled examples (a stored JPEG and a stored PNG).
# Prints a Markdown table of median milliseconds, one column per program.
# Usage: bench/startup_compare.sh [--runs N] NAME=PROGRAM...   (from the repository)
set -euo pipefail
cd "$(dirname "$0")/.."
runs=200
if [ "${1:-}" = --runs ]; then runs=$2; shift 2; fi
[ $# -ge 1 ] || { echo "usage: $0 [--runs N] NAME=PROGRAM..." >&2; exit 2; }
scripts/install-deps.sh hyperfine
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cases=("--help" "thumbnail -s 512 examples/landscape.qmd $work/out.png"
       "thumbnail -s 512 examples/drawing.qmd $work/out.png")
labels=("--help" "thumbnail -s 512, JPEG (landscape.qmd)" "thumbnail -s 512, PNG (drawing.qmd)")
header="| command |"; rule="|---|"
for named in "$@"; do header+=" ${named%%=*} ms |"; rule+="---|"; done
echo "$header"; echo "$rule"
for i in "${!cases[@]}"; do
  commands=()
  for named in "$@"; do commands+=(-n "${named%%=*}" "${named#*=} ${cases[$i]}"); done
  hyperfine -N --warmup 20 --runs "$runs" --export-json "$work/r.json" "${commands[@]}" >/dev/null
  row=$(python3 -c '
import json, sys
print(" | ".join("%.2f" % (r["median"] * 1000) for r in json.load(open(sys.argv[1]))["results"]))' "$work/r.json")
  echo "| ${labels[$i]} | $row |"
done

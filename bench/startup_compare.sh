#!/usr/bin/env bash
# Start-up of quillmoor-thumbnailer builds side by side: hyperfine (no shell, 20 warm-up runs) on
# `--help` and on a 512-pixel thumbnail of two bundled examples (a stored JPEG and a stored PNG).
# Each case runs in ROUNDS rounds, the programs in a different order each round, and the lowest
# median of the rounds is kept, so that a burst of load on a shared machine does not decide.
# Prints Markdown tables of milliseconds: wall-clock time, then CPU time (user + system, mean).
# Usage: bench/startup_compare.sh [--runs N] [--rounds R] NAME=PROGRAM...   (from the repository)
set -euo pipefail
cd "$(dirname "$0")/.."
runs=200
rounds=3
while [ $# -gt 0 ]; do
  case $1 in
    --runs) runs=$2; shift 2 ;;
    --rounds) rounds=$2; shift 2 ;;
    *) break ;;
  esac
done
[ $# -ge 1 ] || { echo "usage: $0 [--runs N] [--rounds R] NAME=PROGRAM..." >&2; exit 2; }
scripts/install-deps.sh hyperfine
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cases=("--help" "thumbnail -s 512 examples/landscape.qmd $work/out.png"
       "thumbnail -s 512 examples/drawing.qmd $work/out.png")
labels=("--help" "thumbnail -s 512, JPEG (landscape.qmd)" "thumbnail -s 512, PNG (drawing.qmd)")
programs=("$@")
for i in "${!cases[@]}"; do
  for round in $(seq 1 "$rounds"); do
    commands=()
    n=${#programs[@]}
    for k in $(seq 0 $((n - 1))); do   # rotate the order by the round
      named=${programs[$(((k + round) % n))]}
      commands+=(-n "${named%%=*}" "${named#*=} ${cases[$i]}")
    done
    hyperfine -N --warmup 20 --runs "$runs" --export-json "$work/r-$i-$round.json" "${commands[@]}" >/dev/null 2>&1
  done
done

python3 - "$work" "$rounds" "${#cases[@]}" "${labels[@]}" -- "${programs[@]%%=*}" <<'PY'
import json, sys
work, rounds, ncases = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
rest = sys.argv[4:]
labels, names = rest[:ncases], rest[ncases + 1:]
for title, value in (("median wall-clock ms, lowest of %d rounds" % rounds, lambda r: r["median"]),
                     ("mean CPU ms (user + system), lowest of %d rounds" % rounds, lambda r: r["user"] + r["system"])):
    print("%s\n" % title)
    print("| command | " + " | ".join(names) + " |")
    print("|---|" + "---|" * len(names))
    for i, label in enumerate(labels):
        best = {}
        for round in range(1, rounds + 1):
            for r in json.load(open("%s/r-%d-%d.json" % (work, i, round)))["results"]:
                best[r["command"]] = min(best.get(r["command"], 1e9), value(r) * 1000)
        print("| %s | %s |" % (label, " | ".join("%.2f" % best[n] for n in names)))
    print()
PY

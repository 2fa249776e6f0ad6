#!/usr/bin/env bash
# Whole-program thumbnail benchmark: our `thumbnail -s 256` from a document against
# gdk-pixbuf-thumbnailer and vipsthumbnail on the same picture extracted, one hyperfine run per
# picture (photo-like JPEG q90 4:2:0, RGB and RGBA PNG at zlib 6; 512^2, 1024x768, 2048^2, 4096^2),
# then the peak RSS of each program (median of 5 runs), then `cache` of 1,000 documents with 2 jobs
# against a shell loop over gdk-pixbuf-thumbnailer.
# Usage: bench/thumbnail_compare.sh [RUNS]    (from the repository; builds the release preset)
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-20}
scripts/install-deps.sh hyperfine libvips-tools libgdk-pixbuf2.0-bin time
cmake --preset release >/dev/null
cmake --build --preset release -j2 --target quillmoor-thumbnailer make_examples >/dev/null
prog=$PWD/build/release/thumbnailer/quillmoor-thumbnailer
tool=$PWD/build/release/tools/make_examples
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$tool" desktop --bench "$work"

peak_rss() { # median peak RSS in MiB of 5 runs of a command
  for _ in 1 2 3 4 5; do /usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -1; done | sort -n | sed -n 3p |
    awk '{printf "%.1f", $1 / 1024}'
}

printf '| picture | ours ms | gdk-pixbuf ms | vips ms | gdk/ours | ours MiB | gdk MiB | vips MiB |\n'
printf '|---|---|---|---|---|---|---|---|\n'
for size in 512x512 1024x768 2048x2048 4096x4096; do
  for kind in jpeg png-rgb png-rgba; do
    base=$work/$size-$kind
    pic=$base.jpg; [ "$kind" = jpeg ] || pic=$base.png
    hyperfine -N --warmup 3 --min-runs "$runs" --export-json "$work/r.json" \
      -n ours "$prog thumbnail -s 256 $base.qmd $work/o1.png" \
      -n gdk "gdk-pixbuf-thumbnailer -s 256 $pic $work/o2.png" \
      -n vips "vipsthumbnail -s 256 $pic -o $work/o3.png" >/dev/null
    read -r ours gdk vips < <(python3 -c '
import json, sys
r = {x["command"]: x["median"] * 1000 for x in json.load(open(sys.argv[1]))["results"]}
print("%.1f %.1f %.1f" % (r["ours"], r["gdk"], r["vips"]))' "$work/r.json")
    rss_ours=$(peak_rss "$prog" thumbnail -s 256 "$base.qmd" "$work/o1.png")
    rss_gdk=$(peak_rss gdk-pixbuf-thumbnailer -s 256 "$pic" "$work/o2.png")
    rss_vips=$(peak_rss vipsthumbnail -s 256 "$pic" -o "$work/o3.png")
    ratio=$(python3 -c "print('%.2f' % ($gdk / $ours))")
    printf '| %s %s | %s | %s | %s | %sx | %s | %s | %s |\n' "$kind" "$size" "$ours" "$gdk" "$vips" "$ratio" \
      "$rss_ours" "$rss_gdk" "$rss_vips"
  done
done

# 1,000 documents into an empty cache.
mkdir -p "$work/many" "$work/pics"
for i in $(seq 1 500); do
  cp "$work/512x512-jpeg.qmd" "$work/many/a$i.qmd"; cp "$work/512x512-jpeg.jpg" "$work/pics/a$i.jpg"
  cp "$work/1024x768-png-rgb.qmd" "$work/many/b$i.qmd"; cp "$work/1024x768-png-rgb.png" "$work/pics/b$i.png"
done
start=$(date +%s.%N)
XDG_CACHE_HOME=$work/cache "$prog" cache --size large --jobs 2 "$work/many" 2>/dev/null
ours=$(python3 -c "import time; print('%.1f' % (1000 / ($(date +%s.%N) - $start)))")
mkdir -p "$work/gdkout"
start=$(date +%s.%N)
for f in "$work"/pics/*; do gdk-pixbuf-thumbnailer -s 256 "$f" "$work/gdkout/$(basename "$f").png"; done
gdk=$(python3 -c "print('%.1f' % (1000 / ($(date +%s.%N) - $start)))")
echo
echo "cache of 1,000 documents (500 JPEG 512^2 + 500 PNG RGB 1024x768), large: ours --jobs 2: $ours documents/s;" \
     "shell loop over gdk-pixbuf-thumbnailer: $gdk documents/s"

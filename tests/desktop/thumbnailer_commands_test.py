#!/usr/bin/python3
"""quillmoor-thumbnailer's `thumbnail` and `cache` commands, run as a user runs them.

Usage: thumbnailer_commands_test.py PROGRAM SAMPLE_TOOL
"""
import hashlib
import os
import shutil
import stat
import struct
import subprocess
import sys
import tempfile
import time

from gi.repository import Gio

failures = []


def check(condition, text):
    if not condition:
        failures.append(text)
        print("FAIL:", text, flush=True)


def read_png(path):
    """(width, height, {keyword: text}) of a PNG, or None."""
    try:
        with open(path, "rb") as f:
            data = f.read()
    except OSError:
        return None
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        return None
    pos, size, texts = 8, None, {}
    while pos + 8 <= len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            size = struct.unpack(">II", body[:8])
        elif kind == b"tEXt":
            key, _, value = body.partition(b"\0")
            texts[key.decode("latin-1")] = value.decode("latin-1")
        pos += 12 + length
    return size[0], size[1], texts


def run(program, *args, env=None):
    """(exit status, stdout, stderr)."""
    proc = subprocess.run([program, *args], capture_output=True, env=env, timeout=120)
    return proc.returncode, proc.stdout.decode(errors="replace"), proc.stderr.decode(errors="replace")


def empty_or_missing(path):
    return not os.path.exists(path) or os.path.getsize(path) == 0


def test(program, sample_tool, work):
    docs = os.path.join(work, "docs")
    os.makedirs(docs)
    # The sample tool prints per document its name and the expected sizes at 128, 256, 512, 1024.
    samples = []
    for line in subprocess.run([sample_tool, "desktop", docs], capture_output=True, text=True, check=True).stdout.splitlines():
        f = line.split("\t")
        samples.append((f[0], [(int(f[1 + 2 * i]), int(f[2 + 2 * i])) for i in range(4)]))

    # thumbnail: the core's size at each box, the thumbnail text chunks, path and URI input.
    out = os.path.join(work, "out.png")
    for name, sizes in samples:
        path = os.path.join(docs, name)
        uri = Gio.File.new_for_path(path).get_uri()
        st = os.stat(path)
        for i, box in enumerate((128, 256, 512, 1024)):
            code, _, err = run(program, "thumbnail", "-s", str(box), uri if i % 2 else path, out)
            if sizes[i] == (0, 0):
                check(code == 5 and empty_or_missing(out), "%s: exit 5, no PNG (got %d %s)" % (name, code, err))
                continue
            png = read_png(out)
            check(code == 0 and png is not None and png[:2] == sizes[i],
                  "%s at %d: exit %d, %s, want %s (%s)" % (name, box, code, png and png[:2], sizes[i], err))
            if png and i == 1:
                t = png[2]
                want = {"Thumb::URI": uri, "Thumb::MTime": str(int(st.st_mtime)), "Thumb::Size": str(st.st_size),
                        "Thumb::Mimetype": "application/x-quillmoor-document"}
                check(all(t.get(k) == v for k, v in want.items()), "%s: text chunks %r" % (name, t))
                check(t.get("Software", "").startswith("quillmoor-thumbnailer"), "%s: Software" % name)
                check(int(t.get("Thumb::Image::Width", "0")) > 0 and int(t.get("Thumb::Image::Height", "0")) > 0,
                      "%s: Thumb::Image::Width/Height" % name)
    photo = os.path.join(docs, "photo 640x480.qmd")
    code, _, _ = run(program, "thumbnail", photo, out)
    check(code == 0 and read_png(out)[:2] == (256, 192), "default size 256")

    # The output is rewritten in place: a reader holding it open sees the new PNG.
    with open(out, "wb") as f:
        f.write(b"old contents that are longer than nothing")
    inode = os.stat(out).st_ino
    with open(out, "rb") as held:
        code, _, _ = run(program, "thumbnail", "-s", "128", photo, out)
        seen = held.read()
    check(code == 0 and seen[:8] == b"\x89PNG\r\n\x1a\n", "a reader's earlier handle sees the PNG")
    check(os.stat(out).st_ino == inode, "same inode")

    # Failures leave no PNG behind and give the documented exit codes.
    notdoc = os.path.join(work, "not a document.qmd")
    with open(notdoc, "wb") as f:
        f.write(b"Something else entirely\0\0\0\0")
    cases = [(["thumbnail", os.path.join(docs, "no picture.qmd"), out], 5),
             (["thumbnail", notdoc, out], 4),
             (["thumbnail", os.path.join(work, "missing.qmd"), out], 3),
             (["thumbnail", "http://example.com/a.qmd", out], 3),
             (["thumbnail", "-s", "0", photo, out], 2),
             (["thumbnail", photo], 2),
             # The shortest time-out, against the most work (a whole 640x480 picture decoded and encoded).
             (["thumbnail", "-s", "16384", "--timeout", "0.001", photo, out], 6)]
    for args, want in cases:
        shutil.copy(photo, out)  # something that is not empty
        code, _, err = run(program, *args)
        check(code == want, "%s: exit %d (got %d: %s)" % (" ".join(args[:-1]), want, code, err.strip()))
        check(want == 2 or os.path.getsize(out) == 0, "%s: output emptied" % " ".join(args[:-1]))

    # Hostile and damaged pictures: exit 6 and no PNG (their time and memory are the benchmarks').
    hostile = os.path.join(work, "hostile")
    os.makedirs(hostile)
    names = subprocess.run([sample_tool, "desktop", "--hostile", hostile], capture_output=True, text=True,
                           check=True).stdout.split()
    check(len(names) >= 8, "hostile samples written")
    for name in names:
        code, _, _ = run(program, "thumbnail", "-s", "256", os.path.join(hostile, name), out)
        check(code == 6 and empty_or_missing(out), "%s: exit %d" % (name, code))

    # cache: entries named as GLib names them, failure records, up-to-date checks, the summary.
    env = dict(os.environ, XDG_CACHE_HOME=os.path.join(work, "cache"))
    thumbnails = os.path.join(work, "cache", "thumbnails")
    code, stdout, err = run(program, "cache", "--size", "large", "--jobs", "2", docs, env=env)
    made = sum(1 for _, s in samples if s[1] != (0, 0))
    check(code == 0, "cache: exit 0 (got %d: %s)" % (code, err))
    check("made %d, up to date 0, no picture 1, failed 0" % made in stdout, "cache summary: %r" % stdout)
    check("documents/s" in err, "cache: plain progress lines off a terminal: %r" % err)
    for name, sizes in samples:
        uri = Gio.File.new_for_path(os.path.join(docs, name)).get_uri()
        md5 = hashlib.md5(uri.encode()).hexdigest()
        entry = os.path.join(thumbnails, "large", md5 + ".png")
        if sizes[1] == (0, 0):
            png = read_png(os.path.join(thumbnails, "fail", "quillmoor-thumbnailer", md5 + ".png"))
            check(not os.path.exists(entry), "cache: no entry for %s" % name)
            check(png is not None and png[2].get("Thumb::URI") == uri, "cache: failure record for %s" % name)
        else:
            png = read_png(entry)
            check(png is not None and png[:2] == sizes[1] and png[2].get("Thumb::URI") == uri,
                  "cache: %s is %s" % (name, png and png[:2]))
            check(stat.S_IMODE(os.stat(entry).st_mode) == 0o600, "cache: %s is private" % name)
    leftovers = [f for f in os.listdir(os.path.join(thumbnails, "large")) if not f.endswith(".png")]
    check(not leftovers, "cache: no temporary files left: %s" % leftovers)

    code, stdout, _ = run(program, "cache", "--size", "large", docs, env=env)
    check(code == 0 and "made 0, up to date %d" % len(samples) in stdout, "cache again: %r" % stdout)
    os.utime(photo, (time.time() + 100, time.time() + 100))
    code, stdout, _ = run(program, "cache", "--size", "large", "--jobs", "1", docs, env=env)
    check(code == 0 and "made 1, up to date %d" % (len(samples) - 1) in stdout, "cache after a change: %r" % stdout)
    code, _, _ = run(program, "cache", "--size", "huge", docs, env=env)
    check(code == 2, "cache: unknown flavor is a usage error (got %d)" % code)
    code, stdout, _ = run(program, "cache", "--size", "normal", os.path.join(work, "missing"), env=env)
    check(code != 0 and "failed 1" in stdout, "cache: a missing path fails: %r" % stdout)
    test_special_files(program, docs, work, env)


def test_special_files(program, docs, work, env):
    """Special files, outputs that would destroy something, names that would forge lines."""
    photo = os.path.join(docs, "photo 640x480.qmd")
    special = os.path.join(work, "special")
    os.makedirs(special)
    fifo = os.path.join(special, "fifo.qmd")
    os.mkfifo(fifo)
    with open(photo, "rb") as f:
        original = f.read()

    # Inputs that are not regular files are refused at once, never read (a FIFO would block). info
    # and extract: FileSafety_test (DocumentFile) and Cli_test.
    code, _, err = run(program, "thumbnail", fifo, os.path.join(special, "t.png"))
    check(code == 3 and err.startswith("quillmoor-thumbnailer: %s: " % fifo), "thumbnail FIFO: %d %r" % (code, err))
    code, stdout, err = run(program, "cache", fifo, env=env)
    check(code == 3 and "not a regular file" in err and "failed 1" in stdout, "cache FIFO: %d %r" % (code, err))

    # An output that is the document itself, also through a link, is refused and leaves it whole
    # (extract's check: Cli_test).
    hard = os.path.join(special, "hard.qmd")
    soft = os.path.join(special, "soft.png")
    os.link(photo, hard)
    os.symlink(photo, soft)
    for args in (["thumbnail", photo, photo], ["thumbnail", photo, hard], ["thumbnail", photo, soft]):
        code, _, err = run(program, *args)
        with open(photo, "rb") as f:
            check(code == 2 and f.read() == original, "%s: exit 2, document intact (got %d: %r)"
                  % (" ".join(args), code, err))
    # Which outputs extract may replace is FileSafety_test's (writeFileWhole).
    # A leftover of a killed run (our naming, over a minute old) is cleaned by the next run.
    stale = os.path.join(special, ".qm-Ab12Cd")
    with open(stale, "wb") as f:
        f.write(b"half a picture")
    os.utime(stale, (time.time() - 120, time.time() - 120))
    run(program, "extract", photo, "-o", os.path.join(special, "again.jpg"))
    check(not os.path.exists(stale), "extract removes a stale temporary file")

    # --timeout: a finite number of seconds, at least a millisecond.
    for value in ("nan", "inf", "-1", "0", "0.0009", "1e-9", "x"):
        code, _, _ = run(program, "thumbnail", "--timeout", value, photo, os.path.join(special, "t.png"))
        check(code == 2, "--timeout %s: exit 2 (got %d)" % (value, code))
        code, _, _ = run(program, "cache", "--timeout", value, docs, env=env)
        check(code == 2, "cache --timeout %s: exit 2 (got %d)" % (value, code))
    # The time-out fires also while OUTPUT is a FIFO nobody reads, and says so in the usual form.
    out_fifo = os.path.join(special, "out-fifo.png")
    os.mkfifo(out_fifo)
    code, _, err = run(program, "thumbnail", "--timeout", "0.3", photo, out_fifo)
    check(code == 6 and err == "quillmoor-thumbnailer: %s: timed out after 0.3 s\n" % photo,
          "time-out with a FIFO output: %d %r" % (code, err))
    # SIGTERM empties OUTPUT (here while it waits for the FIFO's reader: the regular file case is
    # the same handler) and ends the program by the signal.
    proc = subprocess.Popen([program, "thumbnail", photo, out_fifo], stderr=subprocess.DEVNULL)
    time.sleep(0.3)
    proc.terminate()
    check(proc.wait(timeout=20) == -15, "thumbnail ends by SIGTERM")

    # FILE:// in upper case is a URI.
    out = os.path.join(special, "upper.png")
    code, _, err = run(program, "thumbnail", "FILE://" + Gio.File.new_for_path(photo).get_uri()[7:], out)
    check(code == 0 and read_png(out) is not None, "FILE:// URI: %d %r" % (code, err))

    # Names with control characters are printed escaped: no forged lines.
    forged = os.path.join(special, "a\nquillmoor-thumbnailer: b.qmd")
    shutil.copy(photo, forged)
    code, stdout, _ = run(program, "info", forged)
    check(code == 0 and stdout.count("\n") == 1 and "a\\nquillmoor" in stdout, "info escapes: %r" % stdout)
    code, _, err = run(program, "info", forged + "\x1b")
    check(code == 3 and err.count("\n") == 1 and "\\x1B" in err, "messages escape: %r" % err)

    # A failed write on standard output is exit 3 with a message.
    with open("/dev/full", "wb") as full:
        proc = subprocess.run([program, "info", photo], stdout=full, stderr=subprocess.PIPE, timeout=60)
    check(proc.returncode == 3 and proc.stderr.decode().startswith("quillmoor-thumbnailer: standard output: "),
          "info > /dev/full: %d %r" % (proc.returncode, proc.stderr))

    # In folders cache takes documents only: not selections, not other files.
    mixed = os.path.join(special, "mixed")
    os.makedirs(mixed)
    shutil.copy(photo, os.path.join(mixed, "photo.qmd"))
    with open(os.path.join(mixed, "cut.qms"), "wb") as f:
        f.write(b"Quillmoor Selection\0\0\0")
    with open(os.path.join(mixed, "notes.txt"), "wb") as f:
        f.write(b"Quillmoor Documentation\n")
    code, stdout, err = run(program, "cache", "--size", "x-large", mixed, env=env)
    check(code == 0 and "made 1, up to date 0, no picture 0, failed 0 (1 documents" in stdout,
          "cache of a mixed folder: %d %r %r" % (code, stdout, err))

    # cache reports what it skips: a path too long to open is reported and counted.
    deep = os.path.join(special, "deep")
    os.makedirs(deep)
    fd = os.open(deep, os.O_RDONLY)
    try:
        for _ in range(20):
            os.mkdir("d" * 250, dir_fd=fd)
            next_fd = os.open("d" * 250, os.O_RDONLY, dir_fd=fd)
            os.close(fd)
            fd = next_fd
        with open(os.open("doc.qmd", os.O_WRONLY | os.O_CREAT, 0o644, dir_fd=fd), "wb") as f:
            f.write(original)
    finally:
        os.close(fd)
    code, stdout, err = run(program, "cache", deep, env=env)
    check(code == 3 and "too long" in err and "failed 1" in stdout, "cache too long: %d %r %r"
          % (code, stdout, err[-300:]))
    shutil.rmtree(deep, ignore_errors=True)


def main(program, sample_tool):
    work = tempfile.mkdtemp(prefix="qm-commands-test-")
    try:
        test(program, sample_tool, work)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    if failures:
        print("%d checks failed" % len(failures))
        return 1
    print("all command checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))

#!/usr/bin/python3
"""Our trash is the desktop's trash: what GSURLMoveToTrash puts there, GLib's gio lists and restores.

A scratch home (HOME, XDG_DATA_HOME, XDG_CONFIG_HOME, XDG_RUNTIME_DIR) holds files and a folder with
plain, blank and non-ASCII names. TRASH_TOOL moves them to the home trash through the library; then
gio, on a private session bus (dbus-run-session, which starts gvfs's trash backend), must list each
item with its original path, and bring each back byte for byte: `gio trash --restore` for ASCII
names, `gio move trash:///NAME PATH` for the others (GLib 2.74's restore escapes such names wrongly).
Afterwards the trash is empty again.

Usage: trash_gio_test.py TRASH_TOOL
Exit status 0 on success, 1 on failure, 77 when gio, dbus-run-session or gvfs's trash backend is
missing.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import urllib.parse

SKIP = 77
GVFSD_TRASH = "/usr/libexec/gvfsd-trash"

failures = []


def check(condition, text):
    if not condition:
        failures.append(text)
        print("FAIL:", text, flush=True)


def gio(env, *args):
    """Runs one gio command on a private session bus; returns its exit status and output."""
    result = subprocess.run(["dbus-run-session", "--", "gio", *args], env=env, capture_output=True, timeout=120)
    return result.returncode, result.stdout.decode("utf-8", "surrogateescape")


def unescape_byte_string(text):
    """gio shows byte-string attributes (the original path) with every byte below 32, above 127 and
    every backslash as \\xNN."""
    raw = text.encode("utf-8", "surrogateescape")
    raw = re.sub(rb"\\x([0-9a-fA-F]{2})", lambda m: bytes([int(m.group(1), 16)]), raw)
    return raw.decode("utf-8", "surrogateescape")


def trash_listing(env):
    """gio trash --list as a dict: trash name -> original path."""
    status, out = gio(env, "trash", "--list")
    check(status == 0, "gio trash --list failed")
    listing = {}
    for line in out.splitlines():
        uri, _, original = line.partition("\t")
        name = urllib.parse.unquote(uri[len("trash:///"):], errors="surrogateescape")
        listing[name] = unescape_byte_string(original)
    return listing


def tree_bytes(path):
    """A file's bytes, or a folder's names and bytes, for comparison."""
    if os.path.isdir(path):
        return {name: tree_bytes(os.path.join(path, name)) for name in sorted(os.listdir(path))}
    with open(path, "rb") as f:
        return f.read()


def main():
    tool = sys.argv[1]
    for program in ("gio", "dbus-run-session"):
        if not shutil.which(program):
            print(f"SKIP: {program} is not installed")
            return SKIP
    if not os.path.exists(GVFSD_TRASH):
        print(f"SKIP: gvfs's trash backend ({GVFSD_TRASH}) is not installed")
        return SKIP

    scratch = tempfile.mkdtemp(prefix="qm-trash-")
    try:
        home = os.path.join(scratch, "home")
        runtime = os.path.join(scratch, "run")
        os.makedirs(home)
        os.makedirs(runtime, mode=0o700)
        env = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "HOME": home,
            "XDG_DATA_HOME": os.path.join(home, ".local", "share"),
            "XDG_CONFIG_HOME": os.path.join(home, ".config"),
            "XDG_RUNTIME_DIR": runtime,
            "LC_ALL": "C.UTF-8",
        }
        items = {
            "plain.txt": b"plain bytes\n",
            "with blank.qmd": bytes(range(256)),
            "caf\u00e9 \u65e5\u672c.txt": "non-ASCII name \u00e9".encode(),
            "folder": None,
        }
        paths = {}
        for name, content in items.items():
            path = os.path.join(home, name)
            paths[name] = path
            if content is None:
                os.makedirs(os.path.join(path, "inner"))
                with open(os.path.join(path, "inner", "deep.bin"), "wb") as f:
                    f.write(b"\0deep\xff")
            else:
                with open(path, "wb") as f:
                    f.write(content)
        expected = {name: tree_bytes(path) for name, path in paths.items()}

        result = subprocess.run([tool, *paths.values()], env=env, capture_output=True, timeout=60)
        check(result.returncode == 0, "the library could not trash every item: " + result.stdout.decode(errors="replace"))
        for path in paths.values():
            check(not os.path.lexists(path), f"{path} is still in place")

        listing = trash_listing(env)
        for name, path in paths.items():
            check(listing.get(name) == path, f"gio lists {name!r} as {listing.get(name)!r}, expected {path!r}")

        for name, path in paths.items():
            if name.isascii():
                status, _ = gio(env, "trash", "--restore", "trash:///" + urllib.parse.quote(name))
            else:
                status, _ = gio(env, "move", "trash:///" + urllib.parse.quote(name), path)
            check(status == 0, f"gio could not restore {name!r}")
            check(os.path.lexists(path) and tree_bytes(path) == expected[name], f"{name!r} did not come back unchanged")

        check(trash_listing(env) == {}, "the trash is not empty after restoring")
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    if failures:
        print(f"{len(failures)} failure(s)")
        return 1
    print("gio lists and restores everything the library trashed")
    return 0


if __name__ == "__main__":
    sys.exit(main())

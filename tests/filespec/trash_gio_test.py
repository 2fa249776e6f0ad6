#!/usr/bin/python3
"""Our trash is the desktop's trash: what GSURLMoveToTrash puts there, GLib's gio lists and restores.

In a scratch home (HOME, XDG_DATA_HOME, XDG_CONFIG_HOME, XDG_RUNTIME_DIR), TRASH_TOOL trashes files
and a folder with plain, blank and non-ASCII names through the library. gio, on a private session
bus (dbus-run-session starts gvfs's trash backend), must list each with its original path and bring
it back byte for byte: `gio trash --restore` for ASCII names, `gio move trash:///NAME PATH` for the
others (GLib 2.74's restore escapes them wrongly). The trash is empty afterwards.

Usage: trash_gio_test.py TRASH_TOOL. Exit status 0, 1 on failure, 77 when gio, dbus-run-session or
gvfs's trash backend is missing.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import urllib.parse


def gio(env, *args):
    result = subprocess.run(["dbus-run-session", "--", "gio", *args], env=env, capture_output=True, timeout=120)
    return result.returncode, result.stdout.decode("utf-8", "surrogateescape")


def listing(env):
    """Trash name -> original path. gio shows the path's bytes below 32, above 127 and "\\" as \\xNN."""
    status, out = gio(env, "trash", "--list")
    assert status == 0, "gio trash --list failed"
    unescape = lambda s: re.sub(rb"\\x([0-9a-fA-F]{2})", lambda m: bytes([int(m[1], 16)]), s.encode("utf-8", "surrogateescape"))
    return {urllib.parse.unquote(uri[len("trash:///"):]): unescape(path).decode("utf-8", "surrogateescape")
            for uri, _, path in (line.partition("\t") for line in out.splitlines())}


def content(path):
    if os.path.isdir(path):
        return {name: content(os.path.join(path, name)) for name in sorted(os.listdir(path))}
    with open(path, "rb") as f:
        return f.read()


def main():
    if not (shutil.which("gio") and shutil.which("dbus-run-session") and os.path.exists("/usr/libexec/gvfsd-trash")):
        print("SKIP: gio, dbus-run-session or gvfs's trash backend (/usr/libexec/gvfsd-trash) is missing")
        return 77
    with tempfile.TemporaryDirectory(prefix="qm-trash-") as scratch:
        home = os.path.join(scratch, "home")
        os.makedirs(os.path.join(home, "folder", "inner"))
        os.makedirs(os.path.join(scratch, "run"), mode=0o700)
        env = {"PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": home, "LC_ALL": "C.UTF-8",
               "XDG_DATA_HOME": os.path.join(home, ".local", "share"), "XDG_CONFIG_HOME": os.path.join(home, ".config"),
               "XDG_RUNTIME_DIR": os.path.join(scratch, "run")}
        files = {"plain.txt": b"plain\n", "with blank.qmd": bytes(range(256)), "caf\u00e9 \u65e5\u672c.txt": "\u00e9".encode(),
                 "folder/inner/deep.bin": b"\0deep\xff"}
        for name, data in files.items():
            with open(os.path.join(home, name), "wb") as f:
                f.write(data)
        names = ["plain.txt", "with blank.qmd", "caf\u00e9 \u65e5\u672c.txt", "folder"]
        expected = {name: content(os.path.join(home, name)) for name in names}
        paths = [os.path.join(home, name) for name in names]
        result = subprocess.run([tool, *paths], env=env, capture_output=True, timeout=60)
        assert result.returncode == 0, "the library could not trash everything: " + result.stdout.decode(errors="replace")
        assert not any(os.path.lexists(p) for p in paths), "an item is still in place"
        assert listing(env) == dict(zip(names, paths)), f"gio lists {listing(env)}"
        for name, path in zip(names, paths):
            uri = "trash:///" + urllib.parse.quote(name)
            status, _ = gio(env, "trash", "--restore", uri) if name.isascii() else gio(env, "move", uri, path)
            assert status == 0 and content(path) == expected[name], f"{name!r} did not come back unchanged"
        assert listing(env) == {}, "the trash is not empty after restoring"
    print("gio lists and restores everything the library trashed")
    return 0


if __name__ == "__main__":
    tool = sys.argv[1]
    try:
        sys.exit(main())
    except AssertionError as failure:
        print("FAIL:", failure)
        sys.exit(1)

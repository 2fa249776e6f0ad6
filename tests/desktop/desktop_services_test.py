#!/usr/bin/python3
"""Real desktop thumbnail services make Quillmoor thumbnails, end to end.

XFCE's tumbler (on a private session bus) and GNOME's thumbnail factory (which runs thumbnailers in
a bubblewrap sandbox that sees only /usr) are given our .thumbnailer entry and MIME package under a
throwaway XDG_DATA_HOME. For every flavor and every sample document the PNG that lands in
$XDG_CACHE_HOME/thumbnails/<flavor>/<md5 of the URI>.png must have the size the core's rule gives;
a document without a picture must leave no entry (tumbler: an Error to the caller; GNOME: the
caller's failure record).

The test starts and stops only its own processes (by PID) and removes everything it made, also
when it is interrupted or terminated.

Usage: desktop_services_test.py PROGRAM SAMPLE_TOOL SOURCE_DIR
  PROGRAM      the built quillmoor-thumbnailer
  SAMPLE_TOOL  writes the sample documents and prints their expected thumbnail sizes
  SOURCE_DIR   the repository (for packaging/)
Exit status 0 on success, 1 on failure, 77 when it cannot run here (not root, a service missing).
"""
import hashlib
import os
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

FLAVORS = [("normal", 128), ("large", 256), ("x-large", 512), ("xx-large", 1024)]
DOC_MIME = "application/x-quillmoor-document"
TUMBLERD = "/usr/lib/x86_64-linux-gnu/tumbler-1/tumblerd"
SKIP = 77

started = []     # Popen objects of the processes this test started
cleanup_paths = []
failures = []


def check(condition, text):
    if not condition:
        failures.append(text)
        print("FAIL:", text, flush=True)


def stop_started():
    while started:
        proc = started.pop()
        if proc.poll() is None:
            os.kill(proc.pid, signal.SIGTERM)
            try:
                proc.wait(timeout=5)
            except subprocess.TimeoutExpired:
                os.kill(proc.pid, signal.SIGKILL)
                proc.wait()


def clean_up():
    stop_started()
    while cleanup_paths:
        shutil.rmtree(cleanup_paths.pop(), ignore_errors=True)


def on_signal(signum, _frame):
    clean_up()
    sys.exit(128 + signum)


def run_client(args, env):
    """Runs one of this script's client modes as a child this test owns; returns (status, stdout)."""
    proc = subprocess.Popen([sys.executable, __file__] + args, env=env, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True)
    started.append(proc)
    try:
        out, err = proc.communicate(timeout=240)
    except subprocess.TimeoutExpired:
        os.kill(proc.pid, signal.SIGKILL)
        out, err = proc.communicate()
    started.remove(proc)
    sys.stdout.write(err)
    return proc.returncode, out


def png_size(path):
    if not os.path.exists(path):
        return None
    with open(path, "rb") as f:
        head = f.read(24)
    if len(head) < 24 or head[:8] != b"\x89PNG\r\n\x1a\n" or head[12:16] != b"IHDR":
        return None
    return struct.unpack(">II", head[16:24])


def entry_path(cache, flavor, uri):
    return os.path.join(cache, "thumbnails", flavor, hashlib.md5(uri.encode()).hexdigest() + ".png")


def check_entries(service, cache, samples, outcome, made, failed):
    """Every sample at every flavor: an entry of the expected size, or a failure and no entry."""
    for i, (flavor, _size) in enumerate(FLAVORS):
        for s in samples:
            want = s["sizes"][i]
            entry = entry_path(cache, flavor, s["uri"])
            kind = outcome.get((flavor, s["uri"]))
            if want == (0, 0):
                check(kind in failed(i) and not os.path.exists(entry),
                      "%s %s: %s for %s, want a failure and no entry" % (service, flavor, kind, s["name"]))
            else:
                check(kind == made and png_size(entry) == want, "%s %s: %s, %s is %s, want %s" %
                      (service, flavor, kind, s["name"], png_size(entry), want))


def setup_data_home(work, program, source_dir):
    data = os.path.join(work, "data")
    os.makedirs(os.path.join(data, "thumbnailers"))
    os.makedirs(os.path.join(data, "mime", "packages"))
    # Our entry as shipped, with the program named by its absolute path: the services' PATH is not ours.
    with open(os.path.join(source_dir, "packaging", "quillmoor.thumbnailer")) as f:
        entry = f.read()
    check("Exec=quillmoor-thumbnailer thumbnail -s %s %u %o" in entry, "the shipped Exec line")
    entry = entry.replace("=quillmoor-thumbnailer", "=" + program)
    with open(os.path.join(data, "thumbnailers", "quillmoor.thumbnailer"), "w") as f:
        f.write(entry)
    shutil.copy(os.path.join(source_dir, "packaging", "quillmoor.xml"), os.path.join(data, "mime", "packages"))
    subprocess.run(["update-mime-database", os.path.join(data, "mime")], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return data


def service_env(work, data, cache):
    env = {
        "PATH": "/usr/bin:/bin",
        "HOME": os.path.join(work, "home"),
        "XDG_DATA_HOME": data,
        "XDG_DATA_DIRS": "/usr/share",
        "XDG_CACHE_HOME": cache,
        "XDG_CONFIG_HOME": os.path.join(work, "config"),
        "TMPDIR": os.path.join(work, "tmp"),
        "LANG": "C.UTF-8",
    }
    for key in ("home", "config", "tmp"):
        os.makedirs(os.path.join(work, key), exist_ok=True)
    os.makedirs(cache, exist_ok=True)
    return env


def outcomes(out):
    """{(flavor, uri): what the client printed for it}."""
    return {(flavor, uri): kind for kind, flavor, uri in (line.split("\t", 2) for line in out.splitlines())}


def run_tumbler(work, samples, env):
    """Starts a private bus and tumblerd, queues every sample per flavor; (flavor, uri) -> "ready"
    or "error"."""
    bus_conf = os.path.join(work, "bus.conf")
    with open(bus_conf, "w") as f:
        f.write("""<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%s</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
""" % work)
    bus = subprocess.Popen(["dbus-daemon", "--config-file=" + bus_conf, "--nofork", "--print-address=1"],
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=env, text=True)
    started.append(bus)
    address = bus.stdout.readline().strip()
    check(address.startswith("unix:"), "private bus address")
    env = dict(env, DBUS_SESSION_BUS_ADDRESS=address)
    tumbler = subprocess.Popen([TUMBLERD], env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    started.append(tumbler)

    status, out = run_client(["--tumbler-client", address] + [s["uri"] + "\t" + s["mime"] for s in samples], env)
    check(status == 0, "tumbler client finished (%d)" % status)
    return outcomes(out)


def tumbler_client(address, items):
    """Runs in a child process with the private bus in its environment: tumbler answers only the
    caller, so this client queues and listens on one connection."""
    import gi
    from gi.repository import Gio, GLib
    conn = Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
        None, None)
    name = "org.freedesktop.thumbnails.Thumbnailer1"
    path = "/org/freedesktop/thumbnails/Thumbnailer1"
    deadline = time.monotonic() + 30
    while True:
        owned = conn.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                               "NameHasOwner", GLib.Variant("(s)", (name,)), None,
                               Gio.DBusCallFlags.NONE, -1, None).unpack()[0]
        if owned:
            break
        if time.monotonic() > deadline:
            print("tumblerd did not appear on the bus", file=sys.stderr)
            return 1
        time.sleep(0.1)

    uris = [i.split("\t")[0] for i in items]
    mimes = [i.split("\t")[1] for i in items]
    loop = GLib.MainLoop()
    state = {"handle": None, "finished": False}
    out = []

    def on_signal(_conn, _sender, _path, _iface, signal_name, params, flavor):
        args = params.unpack()
        if args[0] != state["handle"]:
            return
        if signal_name == "Ready":
            out.extend(("ready", flavor, u) for u in args[1])
        elif signal_name == "Error":
            out.extend(("error", flavor, u) for u in args[1])
        elif signal_name == "Finished":
            state["finished"] = True
            loop.quit()

    for flavor, _size in FLAVORS:
        state["finished"] = False
        sub = conn.signal_subscribe(name, "org.freedesktop.thumbnails.Thumbnailer1", None, path, None,
                                    Gio.DBusSignalFlags.NONE, on_signal, flavor)
        state["handle"] = conn.call_sync(name, path, "org.freedesktop.thumbnails.Thumbnailer1", "Queue",
                                         GLib.Variant("(asasssu)", (uris, mimes, flavor, "default", 0)),
                                         GLib.VariantType("(u)"), Gio.DBusCallFlags.NONE, -1, None).unpack()[0]
        timer = GLib.timeout_add_seconds(60, loop.quit)
        loop.run()
        GLib.source_remove(timer)
        conn.signal_unsubscribe(sub)
        if not state["finished"]:
            print("tumbler did not finish flavor", flavor, file=sys.stderr)
            return 1
    for kind, flavor, uri in out:
        print("%s\t%s\t%s" % (kind, flavor, uri))
    return 0


def gnome_client(items):
    """Runs in a child process with the throwaway XDG folders: generates and saves every sample at
    every flavor as a file manager does, writing failure records for failures."""
    import gi
    gi.require_version("GnomeDesktop", "3.0")
    from gi.repository import GnomeDesktop, GLib
    sizes = {"normal": GnomeDesktop.DesktopThumbnailSize.NORMAL, "large": GnomeDesktop.DesktopThumbnailSize.LARGE,
             "x-large": GnomeDesktop.DesktopThumbnailSize.XLARGE,
             "xx-large": GnomeDesktop.DesktopThumbnailSize.XXLARGE}
    for flavor, _size in FLAVORS:
        factory = GnomeDesktop.DesktopThumbnailFactory.new(sizes[flavor])
        for item in items:
            uri, mime, mtime = item.split("\t")
            mtime = int(mtime)
            if not factory.can_thumbnail(uri, mime, mtime):
                print("cannot\t%s\t%s" % (flavor, uri))
                continue
            try:
                pixbuf = factory.generate_thumbnail(uri, mime, None)
            except GLib.Error:
                pixbuf = None
            if pixbuf is None:
                factory.create_failed_thumbnail(uri, mtime, None)
                print("failed\t%s\t%s" % (flavor, uri))
            else:
                factory.save_thumbnail(pixbuf, uri, mtime, None)
                print("made\t%s\t%s" % (flavor, uri))
    return 0


def content_type(path, env):
    out = subprocess.run(["gio", "info", "-a", "standard::content-type", path], env=env,
                         capture_output=True, text=True).stdout
    for line in out.splitlines():
        if "standard::content-type:" in line:
            return line.split(":", 3)[-1].strip()
    return ""


def main(argv):
    if len(argv) >= 2 and argv[1] == "--tumbler-client":
        return tumbler_client(argv[2], argv[3:])
    if len(argv) >= 2 and argv[1] == "--gnome-client":
        return gnome_client(argv[2:])
    if len(argv) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    program, sample_tool, source_dir = argv[1:]
    from gi.repository import Gio
    if os.geteuid() != 0:
        print("SKIP: installing under /usr needs root", flush=True)
        return SKIP
    for need in (TUMBLERD, "/usr/bin/bwrap", "/usr/bin/dbus-daemon", "/usr/bin/update-mime-database"):
        if not os.path.exists(need):
            print("SKIP: missing", need, flush=True)
            return SKIP

    for sig in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(sig, on_signal)
    try:
        work = tempfile.mkdtemp(prefix="qm-desktop-test-")
        cleanup_paths.append(work)
        # GNOME's sandbox shows the thumbnailer only what lies under /usr.
        usr_dir = tempfile.mkdtemp(prefix="qm-desktop-test-", dir="/usr/lib")
        cleanup_paths.append(usr_dir)
        installed = os.path.join(usr_dir, "quillmoor-thumbnailer")
        shutil.copy2(program, installed)
        os.chmod(usr_dir, 0o755)

        data = setup_data_home(work, installed, source_dir)
        docs = os.path.join(work, "Documents with spaces")
        os.makedirs(docs)
        # The sample tool writes the documents and prints: file name, then the expected width and
        # height at 128, 256, 512 and 1024 (0 0 when the document has no picture).
        listing = subprocess.run([sample_tool, "desktop", docs], capture_output=True, text=True, check=True).stdout
        samples = []
        env_probe = service_env(work, data, os.path.join(work, "probe-cache"))
        env_probe["XDG_DATA_DIRS"] = data + ":/usr/share"
        for line in listing.splitlines():
            fields = line.split("\t")
            path = os.path.join(docs, fields[0])
            uri = Gio.File.new_for_path(path).get_uri()
            sizes = [(int(fields[1 + 2 * i]), int(fields[2 + 2 * i])) for i in range(4)]
            mime = content_type(path, env_probe)
            check(mime == DOC_MIME, "%s is %s by the MIME package (got %r)" % (fields[0], DOC_MIME, mime))
            samples.append({"name": fields[0], "path": path, "uri": uri, "sizes": sizes,
                            "mime": mime or DOC_MIME, "mtime": int(os.stat(path).st_mtime)})
        check(len(samples) >= 4, "sample documents written")

        # tumbler answers Ready or Error; GNOME's factory makes a thumbnail or writes a failure
        # record, which is shared by all flavors: once written, the factory declines the document
        # at the other sizes.
        cache = os.path.join(work, "cache-tumbler")
        outcome = run_tumbler(work, samples, service_env(work, data, cache))
        stop_started()
        check_entries("tumbler", cache, samples, outcome, "ready", lambda i: ("error",))

        cache = os.path.join(work, "cache-gnome")
        status, out = run_client(["--gnome-client"] + ["%s\t%s\t%d" % (s["uri"], s["mime"], s["mtime"]) for s in samples],
                                 service_env(work, data, cache))
        check(status == 0, "GNOME client finished (%d)" % status)
        check_entries("GNOME", cache, samples, outcomes(out), "made", lambda i: ("failed",) if i == 0 else ("failed", "cannot"))
        fail_dir = os.path.join(cache, "thumbnails", "fail", "gnome-thumbnail-factory")
        for s in samples:
            if s["sizes"][0] == (0, 0):
                record = os.path.join(fail_dir, hashlib.md5(s["uri"].encode()).hexdigest() + ".png")
                check(os.path.exists(record), "GNOME: failure record for %s" % s["name"])
    finally:
        clean_up()
    if failures:
        print("%d checks failed" % len(failures))
        return 1
    print("all desktop service checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

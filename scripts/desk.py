"""A user's environment for the end-to-end tests and screenshots: a home, a maker's web server and, optionally, a
display with a window manager and a session bus. Separate for each test, and removed at its end.
"""
import concurrent.futures
import contextlib
import http.server
import io
import os
import subprocess
import sys
import tempfile
import threading
import time
import traceback
import zipfile
import zlib

import dbus
import dbus.bus

SERVICE = "com.quillonsystems.TessalyStudio"
USER_KEY = r"HKCU\SOFTWARE\Quillon Systems\Tessaly Studio\7.0"
VERSION_KEY = r"HKLM\SOFTWARE\Quillon Systems\Tessaly Studio\7.0\Version"
# The positions of the dialog's controls in twips, 15 to the pixel.
FREQUENCY, CHECK, OK = (2700, 2580), (1700, 3610), (6350, 3630)
INSTALL, LATER, CLOSE = (5950, 3650), (2480, 3650), (4240, 3700)

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:dir=%(folder)s</listen><servicedir>%(services)s</servicedir>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
</policy></busconfig>"""


def pack():
    content = io.BytesIO()
    with zipfile.ZipFile(content, "w") as archive:
        archive.writestr("Templates/Card.svg", "<svg/>")
    return content.getvalue()


PACK = pack()


def until(what, condition, limit=30):
    end = time.monotonic() + limit
    while not (found := condition()):
        assert time.monotonic() < end, f"gave up waiting for: {what}"
        time.sleep(0.02)
    return found


class Maker(http.server.BaseHTTPRequestHandler):
    """A maker's web server: the pages of Desk.serve by path."""

    def do_GET(self):
        self.server.requests += 1
        body, status, stall = self.server.answers.get(self.path, (b"", 404, False))
        self.send_response(status)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        with contextlib.suppress(OSError):
            self.wfile.write(body[:len(body) // 2] if stall else body)
            self.wfile.flush()
            if stall:
                self.server.release.wait()
                self.wfile.write(body[len(body) // 2:])

    def log_message(self, *_):
        pass


class Desk:
    def __init__(self, programs, stack, display=False, bus=False, scale=1, locale="C.UTF-8"):
        self.programs, self.stack, self.scale = os.path.abspath(programs), stack, scale
        self.folder = stack.enter_context(tempfile.TemporaryDirectory())
        self.environment = dict(os.environ, TSLY_HOME=self.folder + "/home", XDG_RUNTIME_DIR=self.folder,
                                QT_SCALE_FACTOR=str(scale), LC_ALL=locale, TSLY_RUNAS="",
                                PATH=f"{self.folder}/bin:{os.environ['PATH']}")
        # The toolkit's libraries free some memory only at exit.
        self.environment["ASAN_OPTIONS"] = f"detect_leaks=0:log_path={self.folder}/asan"
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "DBUS_SESSION_BUS_ADDRESS"):
            self.environment.pop(name, None)
        if display:
            self.open_display()
        if bus:
            self.open_bus()
        self.web = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Maker)
        self.web.answers, self.web.requests, self.web.release = {}, 0, threading.Event()
        self.address = f"http://127.0.0.1:{self.web.server_port}"
        threading.Thread(target=self.web.serve_forever, daemon=True).start()
        stack.callback(self.web.shutdown)
        stack.callback(self.web.release.set)
        self.setting("Version file URL", "sz", self.address + "/updates.txt")

    def open_display(self):
        size = f"{round(700 * self.scale)}x{round(460 * self.scale)}x24"
        xvfb = self.start("Xvfb", "-displayfd", "1", "-screen", "0", size, "-nolisten", "tcp", "-noreset")
        self.environment["DISPLAY"] = ":" + xvfb.stdout.readline().decode().strip()
        self.start("openbox", "--sm-disable")
        until("the window manager", lambda: "window id" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK").stdout)
        # The first key makes the server announce its keyboard, and the window manager then grabs its keys again: it
        # would miss a key in between.
        self.press("Shift_L")

    def open_bus(self):
        services = os.path.join(self.folder, "services")
        os.mkdir(services)
        for file in (f"{self.programs}/{SERVICE}.service", "/usr/share/dbus-1/services/org.a11y.Bus.service"):
            os.symlink(file, os.path.join(services, os.path.basename(file)))
        config = os.path.join(self.folder, "bus.conf")
        with open(config, "w", encoding="ascii") as file:
            file.write(BUS_CONFIG % {"folder": self.folder, "services": services})
        daemon = self.start("dbus-daemon", "--config-file=" + config, "--nofork", "--print-address")
        self.bus_address = daemon.stdout.readline().decode().strip()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.bus_address
        self.bus = dbus.bus.BusConnection(self.bus_address)

    # ---- Processes and settings

    def start(self, *command, **options):
        """Runs it in the background; killed at the end of the test."""
        process = subprocess.Popen(command, env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL, **options)

        def end():
            process.kill()
            process.wait()  # not for its pipes: its children may keep them open
            process.stdin.close()
            process.stdout.close()

        self.stack.callback(end)
        return process

    def run(self, *command):
        return subprocess.run(command, env=self.environment, capture_output=True, text=True, timeout=60, check=False)

    def setting(self, name, kind=None, value=None, key=VERSION_KEY):
        if kind:
            assert self.run(self.programs + "/tslyReg", "set", key, name, kind, value).returncode == 0
        answer = self.run(self.programs + "/tslyReg", "get", key, name)
        return answer.stdout.strip() if answer.returncode == 0 else None

    def running(self):
        """The process IDs of this desk's updaters."""
        found = []
        for number in self.run("pgrep", "-x", "tslyCheckNew").stdout.split():
            with contextlib.suppress(OSError), open(f"/proc/{number}/environ", "rb") as environment:
                if self.folder.encode() in environment.read():
                    found.append(number)
        return found

    def expect_no_reports(self):
        """Of the sanitizers, if the programs are built with them."""
        reports = [name for name in os.listdir(self.folder) if name.startswith("asan")]
        assert not reports, open(os.path.join(self.folder, reports[0]), encoding="utf-8").read()

    def log(self):
        path = self.folder + "/home/folders/AppData/Quillon Systems/Tessaly Studio/tslyUpdater.log"
        with contextlib.suppress(OSError), open(path, encoding="utf-8") as file:
            return file.read()
        return ""

    # ---- The maker

    def serve(self, path, body, status=200, stall=False):
        """With `stall`, sends the second half after self.web.release is set."""
        self.web.answers[path] = (body if isinstance(body, bytes) else body.encode("utf-8"), status, stall)

    def offer(self, count=1, summary="Corrects the printing of double-sided cards.", stop="no", broken=(), stall=False):
        """An updates file with `count` modules; the packs of the `broken` ones don't match it."""
        names = ["Designer", "Printer profiles", "Sample cards"] + [f"Template set {i}" for i in range(4, count + 1)]
        text = "[Versions]\n" + "".join(f"{name}=7.0.1600.0\n" for name in names[:count])
        text += "[Localization - English]\n"
        for name in names[:count]:
            text += f"{name}:Description={name} 7.0.1600\n{name}:Summary={summary}\n{name}:More info={self.address}/\n"
        for number, name in enumerate(names[:count], 1):
            text += (f"[{name}]\nDownload URL={self.address}/{number}.zip\nSize={len(PACK)}\nCRC32={zlib.crc32(PACK):X}\n"
                     f"Released=11/2026\nStop application={stop}\nAction 1=unzip:{{commonappdata}}\n")
            self.serve(f"/{number}.zip", PACK[:-1] if number in broken else PACK, stall=stall)
        self.serve("/updates.txt", text)

    # ---- The display

    def updater(self, *switches):
        """Starts it without a client and waits for its first window."""
        process = self.start(self.programs + "/tslyCheckNew", *switches)
        until("a window", self.windows)
        return process

    def windows(self, name="tslyCheckNew"):
        return self.run("xdotool", "search", "--onlyvisible", "--class", name).stdout.split()

    def click(self, place, window=None, button="1"):
        x, y = (str(int(twips * self.scale / 15)) for twips in place)
        self.run("xdotool", "mousemove", "--sync", "--window", window or self.windows()[0], x, y, "click", button)

    def press(self, *keys):
        """Sends keys to the focused window."""
        self.run("xdotool", "key", "--delay", "30", *keys)

    def focused(self):
        return self.run("xdotool", "getwindowfocus").stdout.strip()

    def look(self):
        return subprocess.run(["import", "-silent", "-window", "root", "rgb:-"], env=self.environment,
                              capture_output=True, check=True).stdout

    def settle(self):
        """Waits until the display stops changing."""
        last, now = None, self.look()
        while last != now:
            time.sleep(0.2)
            last, now = now, self.look()


def run_all(tests, workers=None):
    """Runs the tests in parallel, prints the results, and exits accordingly."""

    def run(test):
        try:
            with contextlib.ExitStack() as stack:
                test(stack)
        except Exception:
            return traceback.format_exc()
        return None

    with concurrent.futures.ThreadPoolExecutor(workers or len(tests)) as pool:
        outcomes = dict(zip(tests, pool.map(run, tests.values())))
    for name, failure in outcomes.items():
        print(("FAILED  " if failure else "ok      ") + name, failure or "", sep="\n" if failure else "")
    sys.exit(any(outcomes.values()))

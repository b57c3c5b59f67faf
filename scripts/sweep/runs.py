"""Runs the released program, each time on its own desk: a folder with the program, its home and its search path, and a
maker's server. scenarios.py has the runs; judge.py checks their results.
"""
import collections
import contextlib
import http.server
import os
import shutil
import subprocess
import tempfile
import threading

import judge
import scenarios

LIMIT = 30  # seconds of a run


class Maker(http.server.BaseHTTPRequestHandler):
    """Serves /DESK/NAME and records the requests of each desk."""

    def do_GET(self):
        desk, name = self.path[1:].split("/", 1)
        self.server.asked[desk].append(name)
        body = self.server.pages.get((desk, name))
        self.send_response(200 if body is not None else 404)
        self.send_header("Content-Length", str(len(body or b"")))
        self.end_headers()
        with contextlib.suppress(OSError):  # the program may have been killed meanwhile
            self.wfile.write(body or b"")

    def log_message(self, *_):
        pass


class Desk:
    """The folder for runs of one scenario."""

    def __init__(self, scenario, tools, web, folder, number):
        self.scenario, self.tools, self.web = scenario, tools, web
        self.name = f"{scenario.name}-{number}"
        self.folder = os.path.join(folder, self.name)
        self.run, self.kept = self.folder + "/run", self.folder + "/before"
        self.user = folder + "/user"
        address = f"http://127.0.0.1:{web.server_port}/{self.name}"
        self.modules = scenarios.modules_of(scenario.updates)
        pages = scenarios.website(scenario.updates, address)
        web.pages.update({(self.name, name): body for name, body in pages.items()})
        self.documents = {judge.OWN_DATA + ("updates.ini" if name == "updates.txt" else name): judge.content(body)
                          for name, body in pages.items()}
        scenarios.prepare(scenario, folder + "/programs", self.kept, address)
        self.before = self.end = judge.look(self.kept)
        self.strays = []
        self.reset()

    def reset(self):
        shutil.rmtree(self.run, ignore_errors=True)
        shutil.copytree(self.kept, self.run, symlinks=True, copy_function=scenarios.copy)

    def trace(self, command, clicks, mode="plain", number=0, error=0, limit=LIMIT, bus="disabled:"):
        """Runs the command under the tracer until it and all its child processes have ended. Returns how it ended and
        the tracer's lines.
        """
        libraries = ["fast_time"] + ["clicks"] * bool(clicks)
        environment = {"TSLY_HOME": self.run + "/home", "TSLY_RUNAS": "", "HOME": self.user,
                       "XDG_RUNTIME_DIR": self.user, "TMPDIR": self.user,
                       "PATH": self.run + "/bin:/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                       "QT_QPA_PLATFORM": "offscreen", "DBUS_SESSION_BUS_ADDRESS": bus,
                       "TSLY_SWEEP_CLICKS": clicks, "TSLY_SWEEP_PRELOAD": " ".join(
                           f"{self.tools}/libsweep_{name}.so" for name in libraries)}
        words = [self.tools + "/sweep_tracer", self.run, mode, str(number), str(error), str(limit),
                 f"{self.run}/app/{command[0]}", *command[1:]]
        with open(self.errors_file(), "wb") as errors:
            done = subprocess.run(words, env=environment, cwd=self.run, stdout=subprocess.PIPE, stderr=errors,
                                  check=True)
        lines = done.stdout.decode(errors="replace").splitlines()
        self.strays += [line for line in lines if line.startswith("outside ")]
        return lines[-1].split(" calls ")[0].removeprefix("end "), lines

    def errors_file(self):
        return f"{self.folder}/errors-{threading.get_ident()}"

    def errors(self):
        with open(self.errors_file(), encoding="utf-8", errors="replace") as file:
            return file.read()[-600:]

    def log(self):
        try:
            with open(os.path.join(self.run, judge.LOG), encoding="utf-8", errors="replace") as file:
                return file.read()
        except OSError:
            return "no log\n"

    def start_again(self):
        """The faults of the next, undisturbed start: it has to install exactly what is missing."""
        here = judge.recorded(judge.look(self.run), self.modules)
        self.web.asked[self.name].clear()
        ended, _ = self.trace(self.scenario.again, self.scenario.again_clicks)
        faults = [] if ended == "exit 0" else [f"the next start ended with {ended}: {self.errors()}"]
        asked = self.web.asked[self.name]
        fetched = {name for name, update in self.scenario.updates.items() if update.pack_url(name) in asked}
        if fetched != self.modules.keys() - here:
            faults.append(f"the next start installed {sorted(fetched)}, recorded were {sorted(here)}")
        if self.scenario.ends_early:  # the start after it removes what it leaves by design
            self.trace(self.scenario.again, self.scenario.again_clicks)
        return faults


@contextlib.contextmanager
def server():
    """A maker's server: `pages` by desk and name, and the names that each desk has requested (`asked`)."""
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Maker) as web:
        web.pages, web.asked = {}, collections.defaultdict(list)
        threading.Thread(target=web.serve_forever, daemon=True).start()
        yield web
        web.shutdown()


@contextlib.contextmanager
def playground(programs):
    """A server, and a folder in memory for the desks, with a copy of the programs."""
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    with server() as web, tempfile.TemporaryDirectory(prefix="tsly-sweep-", dir=memory) as folder:
        os.mkdir(folder + "/user", 0o700)
        os.mkdir(folder + "/programs")
        for name in scenarios.PROGRAMS:
            shutil.copy2(os.path.join(programs, name), folder + "/programs")
        for name in ("Languages", "Skins"):
            shutil.copytree(os.path.join(programs, name), f"{folder}/programs/{name}")
        yield web, folder

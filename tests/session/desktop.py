# SPDX-License-Identifier: MIT
"""What looking at the program from outside needs: a display of its own, processes, windows, the pointer, pixels."""
import contextlib
import ctypes
import http.client
import http.server
import json
import os
import pathlib
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time

SKIPPED = 77
TITLE = "Kestrune Bar"
SCREEN = "1280x1000x24"
FOLDER = pathlib.Path(__file__).resolve().parent


class Failure(Exception):
    pass


def expect(condition, what):
    if not condition:
        raise Failure(what)


def missing(tools):
    return [tool for tool in tools if not shutil.which(tool)]


def python_with(namespace, version):
    """An interpreter that can load the introspected library: this one, else the system's."""
    code = f"import gi; gi.require_version('{namespace}', '{version}')"
    for interpreter in (sys.executable, "/usr/bin/python3"):
        if shutil.which(interpreter) and subprocess.run([interpreter, "-c", code], capture_output=True,
                                                        check=False).returncode == 0:
            return interpreter
    return None


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, timeout=20, check=False).stdout


def act(*command):
    subprocess.run([str(part) for part in command], timeout=20, check=True)


def wait_for(condition, what, limit=10.0, still=0.0):
    """The first true value of the condition, or the first that does not change for `still` seconds: desktops lay
    things out in several steps."""
    end = time.monotonic() + limit
    last, since = None, 0.0
    while True:
        value = condition()
        if not value or repr(value) != repr(last):
            last, since = value, time.monotonic()
        if value and time.monotonic() - since >= still:
            return value
        expect(time.monotonic() < end, f"waited {limit} s in vain: {what}")
        time.sleep(0.05)


def wait_until_it_stays(look, what, limit=10.0, still=0.5):
    return wait_for(look, what, limit, still)


class Window:
    """A line of the window tree; the indentation tells how many windows lie between this one and the root."""

    def __init__(self, line):
        match = re.match(r'(\s*)(0x[0-9a-f]+) .*?(\d+)x(\d+)\+-?\d+\+-?\d+\s+\+(-?\d+)\+(-?\d+)$', line)
        self.depth = (len(match.group(1)) - 5) // 3
        self.id = match.group(2)
        self.width, self.height, self.x, self.y = (int(text) for text in match.groups()[2:])
        self.right, self.bottom = self.x + self.width, self.y + self.height

    def __repr__(self):
        return f"{self.width}x{self.height}+{self.x}+{self.y}"


def windows(name=f'"{TITLE}"'):
    """The program's visible windows."""
    lines = output("xwininfo", "-root", "-tree").splitlines()
    found = [Window(line) for line in lines if name in line]
    return [window for window in found if "IsViewable" in output("xwininfo", "-id", window.id)]


def items():
    """The status item's windows, in a tray or as a strip."""
    return [window for window in windows() if window.height <= 64]


def tray_item(wanted=True):
    """The item in a tray; a window manager's frame is one level only."""
    return next((window for window in items() if (window.depth >= 2 and window.y < 60) == wanted), None)


def strip():
    return tray_item(False)


def panel(scale=1.0):
    return next((window for window in windows() if window.width == round(320 * scale) and window.height > 300), None)


def menu():
    """The item's context menu; like every menu it bears the program's name only."""
    return next((window for window in windows('"kestrune-bar": ') if window.width > 50), None)


def picture(window):
    """A window's own pixels, as bytes of red, green and blue; nothing of a window that has just gone."""
    return subprocess.run(["import", "-silent", "-window", window.id, "-depth", "8", "rgb:-"], capture_output=True,
                          timeout=20, check=False).stdout


def move_pointer(x, y):
    act("xdotool", "mousemove", x, y)
    time.sleep(0.1)


def click(window, button=1):
    move_pointer(window.x + 20, window.y + window.height // 2)
    act("xdotool", "click", button)


def keys(*names):
    act("xdotool", "key", "--delay", "40", *names)


def misplace(window):
    """Tells the program that its window is at 0,0, as a window manager does that has not yet moved its frame."""
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    display = ctypes.c_void_p(x11.XOpenDisplay(None))
    number = int(window.id, 16)
    event = (ctypes.c_long * 24)(22, 0, 0, 0, number, number)  # ConfigureNotify; place, width and height are ints
    struct.pack_into("6i", event, 48, 0, 0, window.width, window.height, 0, 0)
    x11.XSendEvent(display, ctypes.c_ulong(number), 0, ctypes.c_long(1 << 17), event)
    x11.XCloseDisplay(display)


def close_panel():
    keys("Escape")
    wait_for(lambda: not panel(), "Escape closes the panel")


class Gate(http.server.ThreadingHTTPServer):
    """A door in front of a market, which counts requests for candles: they come once a minute, and with everything
    that asks for all data."""

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):  # noqa: N802  pylint: disable=invalid-name
            self.server.candle_requests += "candle" in self.path or "kline" in self.path
            market = http.client.HTTPConnection(self.server.market)
            market.request("GET", self.path)
            reply = market.getresponse()
            self.send_response(reply.status)
            self.end_headers()
            self.wfile.write(reply.read())

        def log_message(self, *_):
            pass

    def __init__(self, market):
        super().__init__(("127.0.0.1", 0), self.Handler)
        self.market = market.removeprefix("http://")
        self.candle_requests = 0
        self.address = f"http://127.0.0.1:{self.server_port}"
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Services:
    """Stand-ins for services of the desktop, see services.py."""

    def __init__(self, process):
        self.process = process

    def ask(self, *request):
        self.process.stdin.write(json.dumps(request) + "\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        expect(line, f"the services did not survive {request}")
        return json.loads(line)


class Session:
    """Processes and folders of one run; everything that was started ends with it."""

    def __init__(self, bin_dir):
        self.bin = pathlib.Path(bin_dir).resolve()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kestrune-session-"))
        self.running = []
        self.environment = dict(os.environ, HOME=str(self.folder), QT_QPA_PLATFORM="xcb", LC_ALL="C.UTF-8",
                                TZ="UTC", no_proxy="", NO_PROXY="")
        for name in ("http_proxy", "https_proxy", "all_proxy"):  # nothing but the loopback can be reached
            self.environment[name] = self.environment[name.upper()] = "http://127.0.0.1:1"
        for name in ("WAYLAND_DISPLAY", "QT_SCALE_FACTOR"):
            self.environment.pop(name, None)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.running[:]):
            self.end(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, *command, log=None, talking=False, **variables):
        target = open(self.folder / log, "wb") if log else subprocess.DEVNULL
        pipe = subprocess.PIPE if talking else subprocess.DEVNULL
        process = subprocess.Popen(command, env=dict(self.environment, **variables), stdin=pipe, stdout=pipe,
                                   stderr=target, text=True, cwd=self.folder)
        self.running.append(process)
        return process

    def end(self, process, number=signal.SIGTERM):
        if process in self.running:
            self.running.remove(process)
        with contextlib.suppress(ProcessLookupError):
            process.send_signal(number)
        try:
            return process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            raise Failure("a process did not end when asked to") from None

    def keep_evidence(self, folder):
        """What can be seen after a failure: the screen, its windows, the processes, what the programs said."""
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        with contextlib.suppress(subprocess.SubprocessError):
            output("import", "-silent", "-window", "root", str(folder / "screen.png"))
            (folder / "windows.txt").write_text(output("xwininfo", "-root", "-tree"), encoding="utf-8")
            (folder / "processes.txt").write_text(output("ps", "-eo", "pid,ppid,stat,etime,time,args"),
                                                  encoding="utf-8")
        for file in (*self.folder.glob("*.err"), *self.config.glob("kestrune-bar/**/*.json")):
            shutil.copy(file, folder)

    @property
    def config(self):
        return pathlib.Path(self.environment["XDG_CONFIG_HOME"])

    def settings(self):
        return json.loads((self.config / "kestrune-bar" / "preferences.json").read_text(encoding="utf-8"))

    def preset(self, **values):
        """Settings as an earlier run left them, with four decimals: every tick changes the text."""
        for folder in ("", "demo"):
            file = self.config / "kestrune-bar" / folder / "preferences.json"
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(json.dumps({"ks_has_launched_v2": True, "ks_coin": "DOGE", **values}), encoding="utf-8")

    def start_bar(self, *arguments, log="bar.err", **variables):
        return self.start(str(self.bin / "kestrune-bar"), *arguments, log=log, **variables)

    def start_market(self, *arguments):
        """A simulated market; gives its address."""
        return self.start(str(self.bin / "kestrune-replay"), *arguments, talking=True).stdout.readline().split()[-1]

    def start_services(self, *names, known_as="services"):
        """Services under these names on the bus, by a program of this name."""
        program = self.folder / known_as
        program.symlink_to(FOLDER / "services.py")
        process = self.start(python_with("Gio", "2.0"), str(program), *names, talking=True)
        for name in names:
            self.wait_for_name(name)
        return Services(process)

    def quit_bar(self, bar, log="bar.err", by=None, allowed=""):
        """Ends the program, by a signal or another act; nothing may be left of it, nor said but what is allowed."""
        children = output("pgrep", "-P", str(bar.pid)).split()
        if by:
            by()
            wait_for(lambda: bar.poll() is not None, "the program ends")
        status = self.end(bar)
        expect(status == 0, f"the program ended with {status}")
        wait_for(lambda: not any(pathlib.Path("/proc", child).exists() for child in children),
                 "the program's own processes end with it", 3)
        expect(not windows(), f"windows are left: {windows()}")
        words = (self.folder / log).read_text(encoding="utf-8", errors="replace")
        expect(re.fullmatch(allowed, words), f"on standard error is:\n{words}")

    def start_window_manager(self):
        self.start("openbox")
        wait_for(lambda: "window id" in output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), "a window manager", 30)

    @staticmethod
    def wait_for_name(name, limit=20):
        """Waits until somebody owns a name on the session bus."""
        wait_for(lambda: "boolean true" in output("dbus-send", "--session", "--print-reply",
                                                  "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus.NameHasOwner", f"string:{name}"),
                 f"{name} is on the bus", limit)

    def start_tray(self):
        return self.start("xfce4-panel", "--disable-wm-check")


@contextlib.contextmanager
def display(screen=SCREEN):
    """The name of a display of our own. The server picks a free number itself: looking for one first would race
    with other sessions that start at the same moment."""
    reader, writer = os.pipe()
    # Without -noreset the server starts afresh whenever its last client leaves: a tool that looked at it while the
    # window manager was just connecting took the window manager's connection along.
    server = subprocess.Popen(["Xvfb", "-displayfd", str(writer), "-screen", "0", screen, "-nolisten", "tcp",
                               "-noreset"],
                              pass_fds=[writer], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(writer)
    try:
        with os.fdopen(reader) as pipe:
            number = pipe.readline().strip()
        expect(number, "the X server did not start")
        yield f":{number}"
    finally:
        server.terminate()
        server.wait(10)


def inside_session(arguments, screen=SCREEN):
    """Runs this script again in a display and on a bus of its own."""
    home = tempfile.mkdtemp(prefix="kestrune-home-")
    runtime = pathlib.Path(home, "run")
    runtime.mkdir(mode=0o700)
    config = pathlib.Path(home, "config")
    shutil.copytree(FOLDER / "config", config)
    environment = dict(os.environ, XDG_CONFIG_HOME=str(config), XDG_RUNTIME_DIR=str(runtime), NO_AT_BRIDGE="1",
                       XDG_CURRENT_DESKTOP=os.environ.get("KESTRUNE_SESSION_DESKTOP", "XFCE"),
                       QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", PYTHONDONTWRITEBYTECODE="1")
    try:
        with display(screen) as name:
            # The bus gets the environment too: the settings daemon that it starts must find our folders.
            return subprocess.run(["dbus-run-session", "--", sys.executable, str(pathlib.Path(sys.argv[0]).resolve()),
                                   "--inside", *arguments],
                                  env=dict(environment, DISPLAY=name), stderr=subprocess.STDOUT,
                                  check=False).returncode
    finally:
        shutil.rmtree(home, ignore_errors=True)


def run(work, tools, bindings=None):
    """The whole of a script: runs `work` with a session of its own and gives the exit code. The script's last
    argument is the folder of the programs."""
    if sys.argv[1] != "--inside":
        lacking = missing(["Xvfb", "dbus-run-session", "openbox", "xdotool", "xwininfo", "xprop", "import", "pgrep",
                           "dbus-send", *tools])
        lacking += [f"Python bindings of {name} {version}" for name, version in (bindings or {}).items()
                    if not python_with(name, version)]
        if lacking:
            print(f"SKIP: not installed: {', '.join(lacking)}")
            return SKIPPED
        return inside_session(sys.argv[1:])
    evidence = pathlib.Path(sys.argv[-1]).resolve().parent / "session-evidence" / pathlib.Path(sys.argv[2]).name
    try:
        with Session(sys.argv[-1]) as session:
            try:
                work(session)
            except (Failure, subprocess.SubprocessError):
                session.keep_evidence(evidence)
                raise
    except (Failure, subprocess.SubprocessError) as failure:
        print(f"FAIL: {failure} (what was seen is in {evidence})")
        return 1
    print("PASS")
    return 0

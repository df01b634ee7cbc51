# SPDX-License-Identifier: MIT
"""What the session tests need of a desktop: processes, windows, the pointer, pixels, the settings file."""
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

SKIPPED = 77
TITLE = "Kestrune Bar"
FOLDER = pathlib.Path(__file__).resolve().parent
SIMULATED = {"ks_coin": "DOGE"}  # four decimals: every tick changes the text


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


def has_accessibility():
    return python_with("Atspi", "2.0")


def has_bus_bindings():
    return python_with("Gio", "2.0")


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, timeout=20, check=False).stdout


def wait_for(condition, what, limit=10.0):
    """The first true value of the condition."""
    end = time.monotonic() + limit
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Failure(f"waited {limit} s in vain: {what}")
        time.sleep(0.1)


def wait_until_it_stays(look, what, limit=10.0, still=1.0):
    """The first true value that does not change for a while: what desktops lay out in several steps."""
    end = time.monotonic() + limit
    last, since = None, 0.0
    while True:
        now = look()
        if not now or repr(now) != repr(last):
            last, since = now, time.monotonic()
        elif time.monotonic() - since >= still:
            return now
        if time.monotonic() > end:
            raise Failure(f"waited {limit} s in vain: {what}")
        time.sleep(0.1)


class Window:
    """A line of the window tree; the indentation tells how many windows lie between this one and the root."""

    def __init__(self, line):
        match = re.match(r'(\s*)(0x[0-9a-f]+) .*?(\d+)x(\d+)\+-?\d+\+-?\d+\s+\+(-?\d+)\+(-?\d+)$', line)
        self.depth = (len(match.group(1)) - 5) // 3
        self.id = match.group(2)
        self.width, self.height, self.x, self.y = (int(text) for text in match.groups()[2:])

    @property
    def right(self):
        return self.x + self.width

    @property
    def bottom(self):
        return self.y + self.height

    def is_viewable(self):
        return "IsViewable" in output("xwininfo", "-id", self.id)

    def __repr__(self):
        return f"{self.width}x{self.height}+{self.x}+{self.y}"


def windows():
    """The program's visible windows."""
    lines = output("xwininfo", "-root", "-tree").splitlines()
    found = [Window(line) for line in lines if f'"{TITLE}"' in line]
    return [window for window in found if window.is_viewable()]


def items():
    """The status item's windows, in a tray or as a strip."""
    return [window for window in windows() if window.height <= 64]


def item():
    return next(iter(items()), None)


def panel():
    return next((window for window in windows() if window.width == 320 and window.height > 300), None)


def is_tray_item(window):
    return window.depth >= 2 and window.y < 60  # a window manager's frame is one level


def tray_item():
    window = item()
    return window if window and is_tray_item(window) else None


def strip():
    window = item()
    return window if window and not is_tray_item(window) else None


def menu():
    """The item's context menu; like every menu it bears the program's name only."""
    lines = output("xwininfo", "-root", "-tree").splitlines()
    found = [Window(line) for line in lines if '"kestrune-bar": ' in line]
    return next((window for window in found if window.width > 50 and window.is_viewable()), None)


def pixels(x, y, width, height):
    """The screen's pixels of a rectangle, as bytes of red, green and blue."""
    shot = subprocess.run(["import", "-silent", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}", "-depth",
                           "8", "rgb:-"], capture_output=True, timeout=20, check=True)
    return shot.stdout


def picture(window):
    """A window's own pixels, wherever it stands."""
    shot = subprocess.run(["import", "-silent", "-window", window.id, "-depth", "8", "rgb:-"], capture_output=True,
                          timeout=20, check=False)
    return shot.stdout  # nothing of a window that has just gone


def move_pointer(x, y):
    subprocess.run(["xdotool", "mousemove", str(x), str(y)], timeout=10, check=True)
    time.sleep(0.2)


def click(x, y, button=1):
    move_pointer(x, y)
    subprocess.run(["xdotool", "click", str(button)], timeout=10, check=True)


def drag(x, y, to_x, to_y):
    steps = [("mousemove", x, y), ("mousedown", 1), ("mousemove", (x + to_x) // 2, (y + to_y) // 2),
             ("mousemove", to_x, to_y), ("mouseup", 1)]
    for step in steps:
        subprocess.run(["xdotool", *(str(part) for part in step)], timeout=10, check=True)
        time.sleep(0.1)


def chord(code):
    """A key by its place on the keyboard, with Control: its letter depends on the layout."""
    subprocess.run(["xdotool", "keydown", "Control_L", "key", str(code), "keyup", "Control_L"], timeout=10, check=True)
    time.sleep(0.1)


def keys(*names):
    subprocess.run(["xdotool", "key", "--delay", "40", *names], timeout=10, check=True)


def open_by_strip():
    """Clicks the strip once it stands still: it is as wide as its text."""
    window = wait_until_it_stays(strip, "the strip shows", 12)
    click(window.x + 10, window.y + 10)


def accessible(interpreter, name, action):
    """Asks something of a named control of the program over the accessibility bus."""
    return output(interpreter, str(FOLDER / "field.py"), "kestrune-bar", name, action).strip()


class Bar:
    """A bar that shows status notifier items, and can be asked what it sees."""

    def __init__(self, process):
        self.process = process

    def ask(self, *request):
        self.process.stdin.write(json.dumps(request) + "\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        expect(line, f"the bar did not survive {request}")
        return json.loads(line)


class Session:
    """Processes and folders of one run; everything that was started ends with it."""

    def __init__(self, bin_dir):
        self.bin = pathlib.Path(bin_dir).resolve()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kestrune-session-"))
        self.running = []
        self.environment = dict(os.environ, HOME=str(self.folder), QT_QPA_PLATFORM="xcb", LC_ALL="C.UTF-8",
                                TZ="UTC", no_proxy="", NO_PROXY="")
        for name in ("http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"):
            self.environment[name] = "http://127.0.0.1:1"  # nothing but the loopback can be reached
        for name in ("WAYLAND_DISPLAY", "QT_SCALE_FACTOR"):
            self.environment.pop(name, None)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.running):
            self.end(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, *command, log=None, **variables):
        environment = dict(self.environment, **variables)
        target = open(self.folder / log, "wb") if log else subprocess.DEVNULL
        process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=target, cwd=self.folder)
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

    # The program

    @property
    def config(self):
        return pathlib.Path(self.environment["XDG_CONFIG_HOME"])

    def settings_file(self, demo=True):
        return self.config / "kestrune-bar" / ("demo" if demo else "") / "preferences.json"

    def settings(self, demo=True):
        file = self.settings_file(demo)
        return json.loads(file.read_text(encoding="utf-8")) if file.exists() else {}

    def preset(self, demo=True, **values):
        """Settings as an earlier run left them; no hint of the first start."""
        file = self.settings_file(demo)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(json.dumps({"ks_has_launched_v2": True, **values}), encoding="utf-8")

    def start_bar(self, *arguments, log="bar.err", **variables):
        return self.start(str(self.bin / "kestrune-bar"), *arguments, log=log, **variables)

    def start_market(self, *arguments):
        """A simulated market; gives its address."""
        return self.start_talking(str(self.bin / "kestrune-replay"), *arguments).stdout.readline().split()[-1]

    def start_talking(self, *command):
        process = subprocess.Popen(command, env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL, text=True, cwd=self.folder)
        self.running.append(process)
        return process

    def start_bar_of(self, kind):
        """A bar for status notifier items that is taken for one of this kind."""
        program = self.folder / kind
        if not program.exists():
            program.symlink_to(FOLDER / "watcher.py")
        process = self.start_talking(has_bus_bindings(), str(program))
        self.wait_for_name("org.kde.StatusNotifierWatcher")
        return Bar(process)

    def quit_bar(self, bar, log="bar.err", by=None, allowed=""):
        """Ends the program, by a signal or as told; nothing may be left of it, nor said but what is allowed."""
        children = output("pgrep", "-P", str(bar.pid)).split()
        if by:
            by()
            with contextlib.suppress(subprocess.TimeoutExpired):
                bar.wait(10)
            expect(bar.poll() is not None, "the program did not end when told to")
        status = self.end(bar)
        expect(status == 0, f"the program ended with {status}")
        wait_for(lambda: not any(pathlib.Path("/proc", child).exists() for child in children),
                 "the program's own processes end with it", 3)
        expect(not windows(), f"windows are left: {windows()}")
        words = (self.folder / log).read_text(encoding="utf-8", errors="replace")
        expect(re.fullmatch(allowed, words), f"on standard error is:\n{words}")

    # The desktop

    def start_window_manager(self):
        self.start("openbox")
        wait_for(lambda: "window id" in output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), "a window manager",
                 30)

    def wait_for_name(self, name, limit=20, bus=None):
        """Waits until somebody owns a name on the session bus, or another one."""
        question = ["dbus-send", f"--bus={bus}" if bus else "--session", "--print-reply",
                    "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner",
                    f"string:{name}"]
        wait_for(lambda: "boolean true" in output(*question), f"{name} is on the bus", limit)

    def start_tray(self):
        if shutil.which("xfce4-panel"):
            tray = self.start("xfce4-panel", "--disable-wm-check")
        else:
            tray = self.start("trayer", "--edge", "top", "--align", "right", "--widthtype", "request", "--height", "26")
        return tray


@contextlib.contextmanager
def display():
    """The name of a display of our own. The server picks a free number itself: looking for one first would race
    with other sessions that start at the same moment."""
    reader, writer = os.pipe()
    # Without -noreset the server starts afresh whenever its last client leaves: a tool that looked at it while the
    # window manager was just connecting took the window manager's connection along.
    server = subprocess.Popen(["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x1000x24", "-nolisten", "tcp",
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


def inside_session(arguments):
    """Runs this script again in a display and on a bus of its own."""
    script = pathlib.Path(sys.argv[0]).resolve()
    home = tempfile.mkdtemp(prefix="kestrune-home-")
    runtime = pathlib.Path(home, "run")
    runtime.mkdir(mode=0o700)
    config = pathlib.Path(home, "config")
    shutil.copytree(pathlib.Path(__file__).resolve().parent / "config", config)
    environment = dict(os.environ, XDG_CONFIG_HOME=str(config), XDG_RUNTIME_DIR=str(runtime), NO_AT_BRIDGE="1",
                       XDG_CURRENT_DESKTOP=os.environ.get("KESTRUNE_SESSION_DESKTOP", "XFCE"),
                       QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", PYTHONDONTWRITEBYTECODE="1")
    try:
        with display() as name:
            # The bus gets the environment too: the settings daemon that it starts must find our folders.
            return subprocess.run(["dbus-run-session", "--", sys.executable, str(script), "--inside", *arguments],
                                  env=dict(environment, DISPLAY=name), stderr=subprocess.STDOUT,
                                  check=False).returncode
    finally:
        shutil.rmtree(home, ignore_errors=True)

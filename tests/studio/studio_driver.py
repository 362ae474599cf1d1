"""Drives Lumenara Studio from outside: an X server without a screen, a window manager, the real program, a mouse and a
keyboard. The program reports where things are on screen (LUMENARA_INSPECT); their contents are read from screenshots.

Nothing here waits for a fixed time: everything polls with a deadline.
"""
import json
import mmap
import os
import pathlib
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

SKIP = 77
# A click brings the window to the front, Super+M makes it as large as the screen; Alt belongs to the program, not to
# the window manager.
WINDOW_MANAGER = """<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew><followMouse>no</followMouse></focus>
  <placement><policy>Smart</policy></placement>
  <keyboard><keybind key="W-m"><action name="ToggleMaximize"/></keybind></keyboard>
  <mouse>
    <context name="Client">
      <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
    </context>
  </mouse>
</openbox_config>
"""
TOOLS = ("Xvfb", "openbox", "xdotool", "import")


class Failed(Exception):
    """A scenario's failure; the text says what the program did not do."""


def require_tools():
    """Ends the test as skipped, with a message, on a machine without the tools."""
    missing = [tool for tool in TOOLS if not shutil.which(tool)]
    if missing:
        print("skipped: not installed: " + ", ".join(missing))
        sys.exit(SKIP)


def wait_for(what, test, seconds=20.0, every=0.05):
    """The first true value of `test()`; fails with `what` at the deadline."""
    end = time.monotonic() + seconds
    while True:
        value = test()
        if value:
            return value
        if time.monotonic() > end:
            raise Failed(f"after {seconds:g} s still not: {what}")
        time.sleep(every)


class Screen:
    """The pixels of an X server that keeps its screen in a file, in the format of xwd(1)."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.memory = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        header = struct.unpack(">25I", self.memory[:100])
        header_size, byte_order, bits_per_pixel, self.line_bytes, colours = header[0], header[7], header[11], header[12], header[19]
        if (byte_order, bits_per_pixel) != (0, 32):
            raise Failed(f"the X server keeps its screen with {bits_per_pixel} bits a pixel in byte order {byte_order}")
        self.start = header_size + colours * 12

    def pixels(self, left, top, width, height):
        """The rectangle's red, green and blue bytes."""
        begin = self.start + top * self.line_bytes + left * 4

        def read():
            return b"".join(self.memory[line:line + width * 4]
                            for line in range(begin, begin + height * self.line_bytes, self.line_bytes))
        data = read()
        for _ in range(10):  # the server may be drawing
            before, data = data, read()
            if data == before:
                break
        rgb = bytearray(width * height * 3)
        for channel in range(3):
            rgb[channel::3] = data[2 - channel::4]
        return bytes(rgb)

    def close(self):
        self.memory.close()


class Display:
    """An X server with a window manager, on a free display number."""

    def __init__(self, width=1600, height=1000):
        self.width, self.height = width, height
        self.folder = tempfile.mkdtemp(prefix="studio-display-")
        reader, writer = os.pipe()
        # The screen's memory is a file, which costs no process to read. The pointer would be drawn into it.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp",
             "-fbdir", self.folder, "-nocursor"],
            pass_fds=[writer], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writer)
        with os.fdopen(reader) as answer:
            number = answer.readline().strip()
        if not number:
            raise Failed("the X server did not start")
        self.name = ":" + number
        self.environment = {k: v for k, v in os.environ.items()
                            if k not in ("WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS")
                            and not k.startswith("QT_")}
        self.environment["DISPLAY"] = self.name
        self.screen = Screen(pathlib.Path(self.folder) / "Xvfb_screen0")
        rules = pathlib.Path(self.folder) / "rc.xml"
        rules.write_text(WINDOW_MANAGER, encoding="utf-8")
        self.manager = None
        # Windows that appear while it starts may stay unmapped. It has desktops once it runs.
        wait_for("a window manager", lambda: self.manages(rules), 60, 0.1)

    def manages(self, rules):
        """Starts the window manager, again where it has ended by itself."""
        if self.manager is None or self.manager.poll() is not None:
            self.manager = subprocess.Popen(["openbox", "--config-file", str(rules)], env=self.environment, stdout=subprocess.DEVNULL,
                                            stderr=subprocess.DEVNULL)
        return self.tool("get_num_desktops", check=False).returncode == 0

    def tool(self, *arguments, check=True):
        return subprocess.run(["xdotool", *map(str, arguments)], env=self.environment, check=check,
                              capture_output=True, text=True, timeout=30)

    def shot(self, place):
        """The pixels of a rectangle (x, y, width, height) of the screen."""
        x, y, width, height = place
        left, top = max(0, x), max(0, y)
        width, height = min(width, self.width - left), min(height, self.height - top)
        if width < 1 or height < 1:
            raise Failed(f"{place} is not on the screen")
        return Picture(width, height, self.screen.pixels(left, top, width, height))

    def save(self, path):
        subprocess.run(["import", "-silent", "-display", self.name, "-window", "root", str(path)],
                       env=self.environment, check=False, timeout=60)

    def window(self, title):
        """The visible window whose title has this text."""
        def found():  # the search fails when another window closes meanwhile
            return self.tool("search", "--onlyvisible", "--name", title, check=False).stdout.split()
        return wait_for(f"a window with {title} in its title", found)[0]

    def to_front(self, title):
        def activated():  # fails when the window manager is still placing the window
            return self.tool("windowactivate", "--sync", self.window(title), check=False).returncode == 0
        wait_for(f"{title} in front", activated)

    def close(self):
        self.screen.close()
        for process in (self.manager, self.server):
            process.terminate()
        for process in (self.manager, self.server):
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)


class Picture:
    def __init__(self, width, height, data):
        self.width, self.height, self.data = width, height, data
        if len(data) != width * height * 3:
            raise Failed(f"a screenshot of {width}x{height} has {len(data)} bytes")

    def pixel(self, x, y):
        at = (y * self.width + x) * 3
        return tuple(self.data[at:at + 3])

    def colours(self, step=5):
        """The number of different colours among every `step`th pixel."""
        return len({self.data[i:i + 3] for i in range(0, len(self.data) - 2, 3 * step)})

    def difference(self, other):
        """Mean difference of a channel's value, 0 to 255."""
        if (self.width, self.height) != (other.width, other.height):
            return 255.0
        if self.data == other.data:
            return 0
        step = max(1, len(self.data) // 200000)
        ours, theirs = self.data[::step], other.data[::step]
        return sum(abs(a - b) for a, b in zip(ours, theirs)) / len(ours)

    def mean(self):
        step = max(1, len(self.data) // 200000)
        part = self.data[::step]
        return sum(part) / len(part)


class Studio:
    """A running lumenara-studio."""

    def __init__(self, display, program, *arguments, home, theme="dark", environment=None):
        self.display = display
        self.inspect_folder = pathlib.Path(tempfile.mkdtemp(prefix="studio-inspect-"))
        self.log = open(self.inspect_folder / "output.txt", "w+", encoding="utf-8", errors="replace")
        # The plug-in's own defaults and an empty window, unless a scenario asks for more.
        settings = {**display.environment, "LUMENARA_INSPECT": str(self.inspect_folder), "LUMENARA_THEME": theme,
                    "XDG_RUNTIME_DIR": str(self.inspect_folder), "LUMENARA_DEFAULTS": "/dev/null", "LUMENARA_TOUR": "0",
                    **(environment or {})}
        self.placed = False
        self.process = subprocess.Popen([str(program), *map(str, arguments), "--home", str(home)], env=settings,
                                        stdin=subprocess.DEVNULL, stdout=self.log, stderr=subprocess.STDOUT)
        wait_for("the main window", lambda: self.find(name="studio"), 60)

    # --- looking ---

    def output(self):
        self.log.flush()
        return pathlib.Path(self.log.name).read_text(encoding="utf-8", errors="replace")

    def alive(self):
        if self.process.poll() is not None:
            raise Failed(f"the program has ended with {self.process.returncode}:\n{self.output()}")

    def things(self, seconds=30):
        """Everything on screen, as the program reports it now."""
        answer = self.inspect_folder / "answer.json"
        answer.unlink(missing_ok=True)
        (self.inspect_folder / "request").touch()

        def read():
            self.alive()
            try:
                return json.loads(answer.read_text(encoding="utf-8"))
            except FileNotFoundError:
                return None
        return wait_for("an answer of the program's main thread", read, seconds, 0.01)

    def find(self, **wanted):
        """The first thing with these values (name=, text=, label=...); a text may end in "*". None without one."""
        for thing in self.things():
            for key, value in wanted.items():
                have = thing.get(key, "")
                if isinstance(value, str) and value.endswith("*"):
                    if not str(have).startswith(value[:-1]):
                        break
                elif have != value:
                    break
            else:
                return thing
        return None

    def get(self, seconds=20, **wanted):
        return wait_for(f"{wanted} on screen", lambda: self.find(**wanted), seconds)

    def text(self, name):
        return self.get(name=name)["text"]

    def shot(self, thing):
        return self.display.shot(thing["place"])

    # --- hands ---

    @staticmethod
    def middle(thing):
        x, y, width, height = thing["place"]
        return x + width // 2, y + height // 2

    def move(self, x, y):
        self.display.tool("mousemove", x, y)

    def standing(self, **wanted):
        """The thing, once two looks find it at the same place: window managers move new windows."""
        places = [None]

        def stands():
            places.append(self.get(**wanted))
            return places[-1] if places[-2] and places[-1]["place"] == places[-2]["place"] else None
        return wait_for("a window that stands still", stands, 20, 0.3)

    def click(self, thing=None, button=1, at=None, **wanted):
        x, y = at or self.middle(thing or self.get(**wanted))
        self.move(x, y)
        self.display.tool("click", button)

    def tick(self, **wanted):
        """Clicks the box of a check box: its row may go on behind its label, where a click switches nothing."""
        x, y, _, height = self.get(**wanted)["place"]
        self.click(at=(x + 10, y + height // 2))

    def drag(self, start, end, button=1, key=None, steps=8):
        self.move(*start)
        if key:
            self.display.tool("keydown", key)
        self.display.tool("mousedown", button)
        for i in range(1, steps + 1):
            self.display.tool("mousemove", round(start[0] + (end[0] - start[0]) * i / steps),
                              round(start[1] + (end[1] - start[1]) * i / steps))
            time.sleep(0.01)
        self.display.tool("mouseup", button)
        if key:
            self.display.tool("keyup", key)

    def key(self, *keys):
        self.display.tool("key", "--clearmodifiers", *keys)

    def write(self, text):
        self.display.tool("type", "--delay", "15", "--", text)

    def menu(self, *path):
        """Chooses an entry of the main window's menus, or of a dialog's own."""
        if not self.placed:  # a click at a window that the window manager is still placing is lost
            self.await_keyboard()
            self.placed = True
        for text in path[:-1]:
            self.click(**{"class": "QAction", "text": text, "menu": True})
        self.click(**{"class": "QAction", "text": path[-1], "enabled": True})

    def enter(self, name, text):
        """Types a number or a word into a field."""
        field = self.get(name=name)
        self.move(*self.middle(field))
        self.display.tool("click", "--repeat", 2, "--delay", 60, 1)
        wait_for(f"the keyboard in {name}", lambda: self.get(name=name)["focus"])
        self.key("ctrl+a")
        self.write(text)
        self.key("Return")

    # --- the viewer ---

    def viewer(self):
        return self.get(name="gadget-1123")

    def picture(self):
        return self.shot(self.viewer())

    def busy(self):
        return self.find(name="status-stop") is not None

    def settled(self, seconds=120):
        """The viewer's picture at rest: no progress bar, and two equal shots."""
        end = time.monotonic() + seconds
        before, quiet = None, 0
        while time.monotonic() < end:
            busy, now = self.busy(), self.picture()
            alike = before is not None and now.difference(before) == 0
            quiet = quiet + 1 if alike and not busy else 0
            if quiet >= 4:
                return now
            before = now
            time.sleep(0.15)
        raise Failed(f"the viewer's picture did not come to rest in {seconds} s")

    def changed_from(self, picture, least=0.3, seconds=60):
        return wait_for("another picture in the viewer",
                        lambda: (lambda now: now if now.difference(picture) > least else None)(self.picture()),
                        seconds, 0.1)

    # --- the end ---

    def quit(self, seconds=30):
        """Quits the program as a user does and discards unsaved changes."""
        end = time.monotonic() + seconds
        while not self.ends_by_key():
            if time.monotonic() > end:
                raise Failed("the program did not end")
        if self.process.returncode != 0:
            raise Failed(f"the program ended with {self.process.returncode}:\n{self.output()}")

    def ends_by_key(self, seconds=6):
        """Presses Ctrl+Q; false when nothing came of it, as with a key that a closing window has swallowed."""
        try:
            self.await_keyboard()
            self.key("ctrl+q")
            wait_for("the end of the program", self.ended_or_answered, seconds, 0.1)
        except Failed:
            return self.process.poll() is not None
        return True

    def ended_or_answered(self):
        """Whether the program has ended; answers its question about unsaved changes meanwhile."""
        try:
            question = self.find(name="answer-1")
        except Failed:
            return self.process.poll() is not None
        if question:
            self.click(question)
        return False

    def await_keyboard(self):
        """Waits until a window of the program has the keyboard, which a key needs. A window manager may leave every window without
        it after a dialog has closed: then the main window is activated, as a user would click at it."""
        looks = [None, None]

        def has_keyboard():  # three looks must agree: a window that closes keeps the keyboard for a moment
            active = self.display.tool("getactivewindow", check=False).stdout
            focus = self.display.tool("getwindowfocus", "getwindowpid", check=False)
            ours = focus.returncode == 0 and focus.stdout.strip() == str(self.process.pid)
            looks.append(active if active and ours else None)
            return looks[-1] is not None and looks[-1] == looks[-2] == looks[-3]
        try:
            wait_for("the keyboard", has_keyboard, 4, 0.1)
        except Failed:
            self.display.to_front("Lumenara Studio")
            wait_for("the keyboard", has_keyboard, every=0.1)

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.log.close()
        shutil.rmtree(self.inspect_folder, ignore_errors=True)

"""The stage as a user meets it, without a screen and in a real window: the same acts and perceptions for both."""

import os
import tempfile

from session import Ear, Stage, clipboard, focused, press, sound_server, until, value, xdotool

KEYS = {"Tab": 9, "Return": 13, "Escape": 27, "space": 32, "End": 35, "Home": 36, "Left": 37, "Right": 39, "a": 65, "c": 67,
        "k": 75, "Menu": 93, "F10": 121, "XF86Back": 166}
MODIFIERS = {"ctrl": 1, "alt": 2, "shift": 4}
SEEN = {"Ok": ("push button", "OK"), "Cancel": ("push button", "Cancel"), "Expand": ("push button", "Show all"),
        "Copy0": ("push button", "Copy the product name"), "Value0": ("text", "Product name"),
        "Box1": ("text", "Charging"), "Label1": ("label", "Charging"),
        **{each: ("push button", each) for each in ("Minimize", "Maximize", "Close")}}


class World(Stage):
    """Elements have their names from the markup, keys those of xdotool."""

    def events(self):
        """What handlers have reported of keys and clicks so far, without keys that only change others."""
        return [line for line in self.lines
                if line.startswith(("key", "clicked", "back")) and not line.endswith((" 16", " 17", " 18"))]

    def sees(self, element, text):
        until(lambda: self.text(element) == text, f"{element}: {text}")

    def has_focus(self, element):
        until(lambda: self.focus() == element, f"focus on {element}, not {self.focus()}")

    def size(self):
        self.say("size")
        return tuple(map(float, self.heard("size").split()[1:3]))


class Headless(World):
    """The user's part is played by commands of the stage."""

    def __init__(self, sound):
        super().__init__("--headless" if sound else "--headless-without-sound", LC_ALL="C.UTF-8", LANGUAGE="")
        self.heard("launched")

    def look(self):
        self.say("look")
        return self.heard("looks").split("\t")

    def hold(self, keys):
        *modifiers, key = keys.split("+")
        self.say(f"hold {KEYS[key]} {sum(MODIFIERS[each] for each in modifiers)}")

    def release(self, keys):
        self.say(f"release {KEYS[keys.split('+')[-1]]}")

    def key(self, keys):
        self.hold(keys)
        self.release(keys)

    def click(self, element):
        self.say(f"click {element}")

    def press_back_button(self):
        self.say("back")

    def close(self):
        self.say("close")

    def focus(self):
        return self.look()[1]

    def sound(self):
        return int(self.look()[2])

    def clipboard(self):
        return self.look()[3]

    def announced(self):
        return self.look()[4:]

    def text(self, element):
        self.say(f"read {element}")
        seen, text = self.heard(("reads", "hidden")).split("\t")
        return text if seen == "reads" else None


class Desktop(World):
    """The user has X events, the accessibility bus and a sound server."""

    def __init__(self, sound):
        self.folder = tempfile.TemporaryDirectory()
        self.server = None
        self.samples = bytearray()
        socket, recording = (f"{self.folder.name}/{each}" for each in ("socket", "heard.raw"))
        if sound:
            # A server whose sink writes into a pipe what a person would hear.
            self.server = sound_server(socket, f"module-pipe-sink file={recording} rate=22050 channels=1 format=s16le")
            until(lambda: os.path.exists(recording), "what is heard")
            self.recording = os.open(recording, os.O_RDONLY | os.O_NONBLOCK)
        super().__init__(PULSE_SERVER=f"unix:{socket}")
        self.heard("launched")
        xdotool("windowfocus", "--sync", self.window)
        self.ear = Ear(self)

    def announced(self):
        return self.ear.said

    def __exit__(self, *unused):
        super().__exit__()
        if self.server:
            self.server.kill()
            self.server.wait()
            os.close(self.recording)
        self.folder.cleanup()

    def hold(self, keys):
        xdotool("keydown", keys)

    def release(self, keys):
        xdotool("keyup", keys)

    def key(self, keys):
        xdotool("key", keys)

    def click(self, element):
        press(self, SEEN[element][1])

    def press_back_button(self):
        xdotool("mousemove", "--window", self.window, 300, 100, "click", 8)

    def close(self):
        press(self, "Close")

    def focus(self):
        node = focused(self)
        seen = node and (node.get_role_name(), node.get_name())
        return next((name for name in SEEN if SEEN[name] == seen), "")

    def text(self, element):
        return value(self, SEEN[element][1])

    def clipboard(self):
        return clipboard()

    def sound(self):
        """Samples other than silence. The sound stands still unless it is read on."""
        try:
            self.samples.extend(os.read(self.recording, 65536))
        except BlockingIOError:
            pass
        return sum(sample != 0 for sample in memoryview(bytes(self.samples)).cast("h"))

"""What only a desktop has: places, assistive technology, the mouse, colours, pictures, the session bus."""

import os
import re
import struct
import tempfile
import time
import unittest

from gi.repository import Gio, GLib
from session import BIN, Atspi, Stage, descriptions, everything, gone, has_focus, press, run, shown, sound_server, text_of, until, xdotool

LABEL, BOX, BUTTON = "label", "text", "push button"


class Bridge(unittest.TestCase):
    def setUp(self):
        self.stage = self.enterContext(Stage())
        self.stage.heard("launched")

    def size(self, *expected, insets=None):
        """Waits until the window has the size, and the caption buttons the insets."""

        def fits():
            self.stage.say("size")
            numbers = tuple(map(float, self.stage.heard("size").split()[1:]))
            return numbers[:2] == expected and insets in (None, numbers[2:])

        until(fits, f"size {expected} {insets}")

    def test_properties_reach_assistive_technology(self):
        stage = self.stage
        rows = [
            # The command, then the role, name, text and description that are seen; no text: the element disappears.
            ("set Value0 Text Ωmega 三 16 GB", BOX, "Product name", "Ωmega 三 16 GB", ""),
            ("set Label0 Text Model", BOX, "Model", "Ωmega 三 16 GB", ""),
            ("set Copy0 ToolTipService.ToolTip To the clipboard", BUTTON, "Copy the product name", "",
             "To the clipboard"),
            ("set Copy0 AutomationProperties.Name Copy it", BUTTON, "Copy it", "", "To the clipboard"),
            ("icon Copy0", BUTTON, "Copy it", "", "To the clipboard"),
            ("set Later Visibility Visible", BOX, "Charging", "Supported", "By the firmware"),
            ("set Ok Content Go on", BUTTON, "Go on", "", ""),
            ("set Title Text Kelvane", "heading", "Kelvane", "Kelvane", ""),
            ("set Ring IsActive False", "progress bar", "Reading", None, ""),
            ("set Ring IsActive True", "progress bar", "Reading", "", ""),
        ]
        for command, role, name, text, description in rows:
            with self.subTest(command):
                stage.say(command)
                if text is None:
                    gone(stage, role, name)
                else:
                    expected = (role, name, text, description)
                    until(lambda: expected in [
                        (node.get_role_name(), node.get_name(), text_of(node) or "", "".join(descriptions(node)))
                        for node in everything(stage.application)], command)

    def test_elements_take_the_place_that_their_layout_says(self):
        stage = self.stage

        def left_and_right(role, name):
            area = shown(stage, role, name).get_extents(Atspi.CoordType.WINDOW)
            return area.x, area.x + area.width

        label = lambda: left_and_right(LABEL, "Charging")  # noqa: E731
        copy = lambda: left_and_right(BUTTON, "Copy the product name")  # noqa: E731
        # Column of 160 after a padding of 16; the button at the other end, before a padding of 12, reported without its
        # border.
        until(lambda: label() == (16, 176) and copy()[1] == 627, "left to right")
        stage.say("set Page FlowDirection RightToLeft")
        until(lambda: label() == (464, 624) and copy()[0] == 13, "right to left")
        self.size(640, 210, insets=(120, 0))
        stage.say("set Page FlowDirection LeftToRight", "set Label1 Margin 8,0,4,0", "set Label1 Width 100")
        until(lambda: label() == (24, 124), "margin and width")
        box = lambda: left_and_right(BOX, "Charging")  # noqa: E731
        stage.say("set Box1 MaxWidth 120")
        until(lambda: box() == (322, 442), "largest width, in the middle")
        stage.say("set Box1 Width 100", "set Box1 HorizontalAlignment Right")
        until(lambda: box() == (528, 628), "fixed width, at the end")

    def test_a_box_that_gets_the_focus_shows_its_text_selected(self):
        self.stage.say("focus Box1")
        box = shown(self.stage, BOX, "Charging")
        selection = lambda: Atspi.Text.get_selection(box, 0)  # noqa: E731
        until(lambda: (selection().start_offset, selection().end_offset) == (0, 9), "the whole text is selected")

    def test_the_window_resizes_moves_and_closes(self):
        stage = self.stage
        window = stage.window
        self.size(640, 210, insets=(0, 120))

        def place():
            words = dict(line.split("=") for line in
                         run("xdotool", "getwindowgeometry", "--shell", window).stdout.split())
            return int(words["X"]), int(words["Y"]), int(words["WIDTH"]), int(words["HEIGHT"])

        def mouse(what, act, wanted):
            """Acts with the mouse until the place is wanted: what comes before the window's next layout, or
            soon after an earlier click, counts for nothing."""

            def attempt():
                before = place()
                act(*before[:2])
                end = time.monotonic() + 2
                while not wanted(before, place()) and time.monotonic() < end:
                    pass
                return wanted(before, place())

            until(attempt, what)

        def drag(x, y, dx, dy):
            def act(left, top):
                xdotool("mousemove", "--sync", left + x, top + y, "mousedown", 1)
                for step in range(1, 5):
                    xdotool("mousemove", "--sync", left + x + dx * step // 4, top + y + dy * step // 4)
                xdotool("mouseup", 1)

            return act

        xdotool("windowmove", "--sync", window, 200, 200)
        stage.say("titlebar Bar", "size")
        stage.heard("size")
        mouse("the title bar moves the window", drag(300, 15, 60, 40),
              lambda old, new: new == (old[0] + 60, old[1] + 40, *old[2:]))
        mouse("the corner resizes the window", drag(638, 208, 48, 32),
              lambda old, new: new == (*old[:2], old[2] + 48, old[3] + 32))
        self.size(688, 242)

        # A size asked for while maximized counts once the window is itself again.
        mouse("a double click maximizes",
              lambda left, top: xdotool("mousemove", left + 200, top + 15, "click", "--repeat", 2, "--delay", 40, 1),
              lambda old, new: new[2:] == (1280, 900))
        self.size(1280, 900)
        # There the present width means the window's own.
        stage.say("resize 1280 560")
        press(stage, "Restore")
        self.size(688, 560)

    def test_a_picture_shows_the_window_as_it_is_after_all_changes(self):
        stage = self.stage
        with tempfile.TemporaryDirectory() as folder:
            picture = os.path.join(folder, "window.png")
            stage.say("resize 640 560", f"picture {picture}")
            self.assertEqual(stage.heard("picture"), "picture ")
            with open(picture, "rb") as file:
                signature, size = struct.unpack(">8s8x8s", file.read(24))
            self.assertEqual(signature, b"\x89PNG\r\n\x1a\n")
            self.assertEqual(struct.unpack(">II", size), (640, 560))
            stage.say(f"picture {folder}/none/window.png")
            self.assertIn("cannot write", stage.heard("picture"))

    def test_content_comes_and_goes(self):
        stage = self.stage
        for _ in range(20):
            stage.say("reload", "titlebar Bar", "icon Copy0", "set Label0 Text Again")
        shown(stage, LABEL, "Again")
        has_focus(stage, "OK")
        stage.say("exit")
        self.assertEqual(stage.ended(), 0)
        self.assertEqual(stage.errors, [])

    def test_a_second_start_reaches_the_running_program(self):
        for words, heard in (["kelvane:?x=1&y=a%20b"], "activated ?x=1&y=a%20b"), (["F1", "key"], "launched F1 key"):
            with self.subTest(words), Stage(*words) as second:
                self.assertEqual(second.ended(), 0)
                self.assertEqual(second.lines, [])
                self.stage.heard(heard)
        # The stage knows no options, so it takes one for a word and hands it over.
        with open(f"{BIN}/../package/org.kelvane.Kelvane.desktop", encoding="utf-8") as entry:
            actions = re.search("^Actions=(.*);$", entry.read(), re.M)[1].split(";")
        for action, heard in zip(actions, ("launched hotkey", "launched --hide-identifiers"), strict=True):
            with self.subTest(action):
                run("gapplication", "action", "org.kelvane.Kelvane", action)
                self.stage.heard(heard)


class Starts(unittest.TestCase):
    def test_in_the_background_it_waits_for_a_start(self):
        with Stage("--gapplication-service") as stage:
            stage.heard("prelaunched")
            run("gdbus", "call", "--session", "--dest", "org.kelvane.Kelvane", "--object-path", "/org/kelvane/Kelvane",
                "--method", "org.freedesktop.Application.Open", "['kelvane:?x=2']", "{}")
            stage.heard("activated ?x=2")
            shown(stage, BUTTON, "OK")

    def test_without_a_bus_it_starts_quietly(self):
        with Stage(DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent") as stage:
            stage.heard("launched")
            stage.say("exit")
            self.assertEqual((stage.ended(), stage.errors), (0, []))

    def test_without_a_display_it_says_so_and_nothing_else(self):
        with Stage(DISPLAY=":987", WAYLAND_DISPLAY="") as stage:
            self.assertEqual((stage.ended(), stage.errors, stage.lines), (2, ["no display"], []))

    def test_a_sound_server_that_ends_in_the_middle_is_a_failure_of_the_sound(self):
        with tempfile.TemporaryDirectory() as folder:
            server = sound_server(f"{folder}/socket", "module-null-sink")
            with Stage(PULSE_SERVER=f"unix:{folder}/socket") as stage:
                stage.say("speak " + "5CG1234XYZ" * 30)
                until(lambda: run("pactl", "-s", f"unix:{folder}/socket", "list", "short", "sink-inputs").stdout, "the sound")
                server.kill()
                server.wait()
                stage.heard("sound failed")
                stage.say("exit")
                self.assertEqual((stage.ended(), stage.errors), (0, []))

    @staticmethod
    def brightness(stage, which):
        """Of the window as it looks, from 0 to 1: its mean, minima or maxima."""
        with tempfile.NamedTemporaryFile(suffix=".png") as picture:
            stage.say(f"picture {picture.name}")
            stage.heard("picture ")
            return float(run("convert", picture.name, "-colorspace", "gray", "-format", f"%[fx:{which}]",
                             "info:").stdout)

    def is_dark(self, stage):
        return self.brightness(stage, "mean") < 0.5

    def test_the_colours_are_those_of_the_toolkits_theme_unless_forced(self):
        for theme, forced, dark, contrast in (
                ("Adwaita", "", False, False), ("Adwaita", "dark", True, False), ("Adwaita-dark", "", True, False),
                ("Adwaita-dark", "light", False, False), ("HighContrast", "", False, True),
                ("HighContrastInverse", "", True, True)):
            with self.subTest(f"{theme} {forced}"), tempfile.TemporaryDirectory() as folder:
                os.mkdir(f"{folder}/gtk-4.0")
                with open(f"{folder}/gtk-4.0/settings.ini", "w", encoding="utf-8") as settings:
                    settings.write(f"[Settings]\ngtk-theme-name={theme}\n")
                with Stage(XDG_CONFIG_HOME=folder, KELVANE_COLOR_SCHEME=forced) as stage:
                    stage.heard("launched")
                    self.assertEqual(self.is_dark(stage), dark)
                    self.assertEqual(self.brightness(stage, "minima") == 0, contrast)

    def test_the_colours_follow_the_desktop(self):
        scheme, path = "org.freedesktop.appearance", "/org/freedesktop/portal/desktop"
        name, interface = "org.freedesktop.portal.Desktop", "org.freedesktop.portal.Settings"
        declared = Gio.DBusNodeInfo.new_for_xml(
            f"<node><interface name='{interface}'><method name='ReadAll'><arg type='as' direction='in'/>"
            "<arg type='a{sa{sv}}' direction='out'/></method></interface></node>")
        bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        answer, asked = {}, []

        def read_all(*call):
            asked.append(call[-2])
            call[-1].return_value(GLib.Variant("(a{sa{sv}})", (answer,)))

        bus.register_object(path, declared.interfaces[0], read_all, None, None)

        def owned():
            return Gio.bus_own_name_on_connection(bus, name, Gio.BusNameOwnerFlags.NONE, None, None)

        def owner():
            return bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameHasOwner", GLib.Variant("(s)", (name,)),
                                 None, Gio.DBusCallFlags.NONE, -1)[0]

        portal = owned()
        self.addCleanup(lambda: Gio.bus_unown_name(portal))
        with Stage() as stage:
            stage.heard("launched")
            until(lambda: asked, "the question")
            self.assertFalse(self.is_dark(stage), "the desktop knows no such setting")
            stage.say("exit")
            self.assertEqual(stage.ended(), 0)
        answer[scheme] = {"color-scheme": GLib.Variant("u", 1)}
        with Stage() as stage:
            stage.heard("launched")
            until(lambda: self.is_dark(stage), "dark, as the desktop is at the start")

            def change(key, number):
                setting = GLib.Variant("(ssv)", (scheme, key, GLib.Variant("u", number)))
                bus.emit_signal(None, path, interface, "SettingChanged", setting)

            for number, expected in (0, False), (1, True), (2, False):
                change("color-scheme", number)
                until(lambda: self.is_dark(stage) == expected, f"the look for {number}")
            for number, expected in (1, True), (0, False):
                change("contrast", number)
                until(lambda: (self.brightness(stage, "minima") == 0) == expected, f"contrast {number}")
            change("color-scheme", 1)
            until(lambda: self.is_dark(stage), "dark before the portal ends")
            Gio.bus_unown_name(portal)
            until(lambda: not owner(), "the portal gone")
            stage.say("size")
            stage.heard("size")
            self.assertTrue(self.is_dark(stage), "the colours stay")
            portal = owned()
            until(owner, "the portal back")
            change("color-scheme", 2)
            until(lambda: not self.is_dark(stage), "what it says when it is back")
        answer[scheme]["contrast"] = GLib.Variant("u", 1)
        with Stage(KELVANE_COLOR_SCHEME="light") as stage:
            stage.heard("launched")
            until(lambda: self.brightness(stage, "minima") == 0, "higher contrast, also where light is forced")
            self.assertFalse(self.is_dark(stage))


if __name__ == "__main__":
    unittest.main(verbosity=2)

"""Everything that a user does with the program, in its real window, against a real service."""

import contextlib
import glob
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as Xml

from session import (Atspi, SessionServices, Ear, Program, Snapshot, clipboard, descriptions, everything, find, focused,
                     gone, has_focus, press, run, serve, shown, tab, text_of, until, value, xdotool)

SOURCE = os.path.realpath(f"{__file__}/../../..")
STRINGS = f"{SOURCE}/package/Strings"
ALWAYS = {"Product name": "Workstation 5 SFF", "Product number": "4T8Z9EA#ABU", "Serial number": "5CG1234XYZ"}
DETAILS = {"Processor": "12th Gen @ 2.10 GHz", "Memory": "16 GB (15.6 GB usable)", "Operating system": "Debian 12",
           "Firmware version": "1.11.11, 888-888", "System board": "8953 KBC", "Build identifier": "21WWHTAT602",
           "BIOS password": "Password set"}
STANDARDS = "USB 2.0, USB 3.2 Gen 2, USB 3.2 Gen 1, and one with a longer name"
USB = {"USB standard": STANDARDS, "DisplayPort": "Not supported",
       "Thunderbolt / USB4": "Supported", "Power delivery": "Supported", "Charges battery": "Supported",
       "Maximum power": "100 W"}
ROWS = {**ALWAYS, **DETAILS}
ORDER = ["Product name", "Product number", "Processor", "Memory", "Operating system", "Firmware version",
         "System board", "Serial number", "Build identifier"]
COPY = {**{label: f"Copy {label.lower()}" for label in ROWS}, "BIOS password": "Copy BIOS password"}


class Case(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        files = {"system": "<.^.>".join([ROWS[label] for label in ORDER] + ["12", ""]),
                 "usb": f"{STANDARDS}<.^.>Supported<.^.>No<.^.>Supported<.^.>Supported<.^.>100 W",
                 # Nothing may happen to the machine that the test runs on.
                 "configuration": "firmware-request = off\nsystem-information-tool = /bin/true\n"}
        for name, text in files.items():
            with open(f"{cls.folder}/{name}", "w", encoding="utf-8") as file:
                file.write(text)
        cls.service = cls.enterClassContext(serve(
            f"{cls.folder}/rpc", "--system-information", f"{cls.folder}/system", "--usb-type-c", f"{cls.folder}/usb",
            "--configuration", f"{cls.folder}/configuration"))

    def start(self, *words, service="rpc", state="state", **environment):
        return self.enterContext(Program(
            "kelvane", *words, KELVANE_RPC_DIRECTORY=f"{self.folder}/{service}",
            XDG_STATE_HOME=f"{self.folder}/{state}", PULSE_SERVER=f"unix:{self.folder}/no-sound", **environment))

    def sees(self, program, rows):
        for label, text in rows.items():
            with self.subTest(label):
                until(lambda: value(program, label) == text, f"{label}: {text}")

    @staticmethod
    def area(program, role, name):
        area = shown(program, role, name).get_extents(Atspi.CoordType.WINDOW)
        return area.x, area.y, area.width, area.height

    def points_at(self, program, role, name, *further):
        x, y, width, height = self.area(program, role, name)
        xdotool("mousemove", "--window", program.window, x + width // 2, y + height // 2, *further)

    @staticmethod
    def sees_below_the_pointer(is_right, what):
        """Waits until the darkest pixel there, the mean and the brightest, from 0 to 1, are right."""
        x, y = (int(part.split("=")[1]) for part in run("xdotool", "getmouselocation", "--shell").stdout.split()[:2])
        until(lambda: is_right(*map(float, run("import", "-window", "root", "-crop", f"120x8+{x - 60}+{y + 28}", "-colorspace",
                                               "gray", "-format", "%[fx:minima] %[fx:mean] %[fx:maxima]", "info:").stdout.split())), what)

    def has_size(self, program, *size):
        until(lambda: self.area(program, "frame", "Kelvane")[2:] == size, f"a window of {size}")

    @staticmethod
    def is_open(program):
        """What the button for the details reports of them, in words and as a state."""
        button = find(program, "push button", "Hide details")
        return button is not None and button.get_state_set().contains(Atspi.StateType.EXPANDED)

    @staticmethod
    def reach(program, name):
        if focused(program).get_name() != name:
            until(lambda: tab(program) == name, f"focus on {name}")

    @staticmethod
    def catches(process, number):
        with open(f"/proc/{process}/status", encoding="utf-8") as status:
            mask = next(line.split()[1] for line in status if line.startswith("SigCgt:"))
        return int(mask, 16) >> number - 1 & 1

    @contextlib.contextmanager
    def text_settings(self):
        """A function that sets the desktop's text scale in percent and its font, for running programs too."""
        file = f"{self.folder}/xsettings"

        def write(percent, font):
            with open(file, "w", encoding="utf-8") as settings:
                settings.write(f'Xft/DPI {percent * 96 * 1024 // 100}\nGtk/FontName "{font}"\n')

        write(100, "Sans 10")
        # Where no tool tip comes up over what is measured.
        xdotool("mousemove", 1279, 899)
        with subprocess.Popen(["xsettingsd", "-c", file], stderr=subprocess.DEVNULL) as daemon:
            try:
                # The signal ends it until it has its handler.
                until(lambda: self.catches(daemon.pid, signal.SIGHUP), "xsettingsd's handler")
                yield lambda *text: (write(*text), daemon.send_signal(signal.SIGHUP))
            finally:
                daemon.kill()

    def drawing(self, program, button, *change):
        """What the button shows, as one word for equal pictures, after ImageMagick's change; "blank" for nothing."""
        left, top, width, height = self.area(program, "push button", button)
        with tempfile.NamedTemporaryFile(suffix=".png") as file:
            run("import", "-window", program.window, "-crop", f"{width}x{height}+{left}+{top}", "+repage", file.name)
            colours, picture = run("convert", file.name, *change, "-threshold", "70%", "-format", "%k %#", "info:").stdout.split()
        return picture if int(colours) > 1 else "blank"

    def has_less_ink_at_the_left(self, program, text):
        node = until(lambda: [node for node in everything(program.application) if text_of(node) == text], text)[0]
        place = node.get_extents(Atspi.CoordType.WINDOW)
        with tempfile.NamedTemporaryFile(suffix=".png") as file:
            run("import", "-window", program.window, "-crop", f"{place.width}x{place.height}+{place.x}+{place.y}", "+repage", file.name)
            means = [float(run("convert", file.name, "-trim", "+repage", "-gravity", side, "-crop", "50%x100%+0+0", "-format",
                               "%[fx:mean]", "info:").stdout) for side in ("West", "East")]
        return means[0] > means[1]


class Pages(Case):
    def test_every_value_can_be_read(self):
        program = self.start()
        self.sees(program, ALWAYS)
        gone(program, "label", "Processor")
        gone(program, "progress bar", "Reading the machine’s data")
        self.has_size(program, 640, 210)
        self.assertFalse(self.is_open(program))
        press(program, "Show details")
        self.has_size(program, 640, 560)
        self.sees(program, ROWS)
        self.assertTrue(self.is_open(program))
        press(program, "Hide serial number")
        press(program, "Copy all")
        self.sees(program, {"Serial number": "•" * 8, "Build identifier": "•" * 8})
        until(lambda: f"Serial number: {'•' * 8}\n" in clipboard(), "dots on the clipboard")
        press(program, "Copy serial number")
        until(lambda: clipboard() == ROWS["Serial number"], "the number on the clipboard")
        press(program, "Hide details")
        self.has_size(program, 640, 210)
        gone(program, "label", "Processor")
        icons = run("xprop", "-id", program.window, "_NET_WM_ICON").stdout
        self.assertEqual(re.findall(r"Icon \((\d+ x \d+)\)", icons), ["16 x 16", "64 x 64"])
        press(program, "Close")
        self.assertEqual((program.ended(), program.errors), (0, []))
        logs = f"{self.folder}/state/kelvane/LocalState/Kelvane_LogFiles"
        self.assertEqual(sorted({os.path.splitext(name)[1] for name in os.listdir(logs)}), [".etl", ".txt"],
                         "the trace of the run has been saved, with a warning beside it")

    def test_the_action_of_the_desktop_entry_opens_a_window_without_identifiers(self):
        started = self.start("--gapplication-service")
        until(lambda: run("gapplication", "action", "org.kelvane.Kelvane", "hide-identifiers").returncode == 0, "the action")
        window = until(lambda: run("xdotool", "search", "--onlyvisible", "--name", "^Kelvane$").stdout.split(), "the window")[0]
        process = run("xdotool", "getwindowpid", window).stdout.strip()
        self.assertIn("--hide-identifiers", pathlib.Path(f"/proc/{process}/cmdline").read_text("utf-8"))
        self.assertEqual(started.process.wait(20), 0, "nothing remains of what the bus started for the action")
        xdotool("windowfocus", "--sync", window, "key", "ctrl+q")
        until(lambda: not os.path.exists(f"/proc/{process}"), "its end")

    def test_a_failure_in_the_window_ends_the_program_with_its_log_saved(self):
        with open(f"{self.folder}/USBTypeCPage.xaml", "w", encoding="utf-8") as markup:
            markup.write("<Page>\n<Nonsense/></Page>")
        program = self.start(state="failed", KELVANE_PACKAGE_DIRECTORY=self.folder)
        self.sees(program, ALWAYS)
        press(program, "USB Type-C")
        self.assertEqual(program.ended(), 1)
        self.assertIn("USBTypeCPage.xaml:2: unknown element <Nonsense>", "".join(program.errors))
        logs = os.listdir(f"{self.folder}/failed/kelvane/LocalState/Kelvane_LogFiles")
        self.assertEqual(len([name for name in logs if name.endswith(".etl")]), 1)

    def test_pages_come_and_go(self):
        program = self.start()
        self.sees(program, ALWAYS)
        press(program, "Show details")
        self.has_size(program, 640, 560)
        press(program, "USB Type-C")
        self.sees(program, USB)
        press(program, "Back")
        self.sees(program, ROWS)
        self.assertTrue(self.is_open(program))
        press(program, "Diagnostics…")
        shown(program, "heading", "Run diagnostics at the next start?")
        press(program, "Cancel")
        self.sees(program, ALWAYS)
        before = len(self.service.errors)

        def asked():
            return [line for line in self.service.errors[before:] if "run the diagnostics at the next start" in line]

        self.assertFalse(asked())
        press(program, "Diagnostics…")
        # The button that confirms is the default one.
        xdotool("windowfocus", "--sync", program.window)
        has_focus(program, "Set for next start")
        relations = {each.get_relation_type(): each.get_target(0).get_name()
                     for each in focused(program).get_relation_set()}
        self.assertIn("before the operating system", relations[Atspi.RelationType.DESCRIBED_BY])
        self.assertEqual(tab(program), "Cancel")
        xdotool("key", "shift+Tab")
        has_focus(program, "Set for next start")
        xdotool("key", "Return")
        self.sees(program, ALWAYS)
        until(asked, "the request at the service")

    def test_a_request_is_undone_by_its_notification(self):
        """The window is on the screen, but the user is elsewhere."""
        desktop = SessionServices()
        with serve(f"{self.folder}/firmware", "--sysroot", f"{SOURCE}/tests/machines/business-laptop",
                   DBUS_SYSTEM_BUS_ADDRESS=os.environ["DBUS_SESSION_BUS_ADDRESS"]):
            program = self.start(service="firmware", state="firmware-state")
            xdotool("windowminimize", "--sync", program.window)
            press(program, "Diagnostics…")
            shown(program, "label", "The firmware setup opens before the operating system; start the diagnostics there. "
                  "You can undo this on the main page until then.")
            press(program, "Set for next start")
            until(lambda: desktop.is_requested, "the request")
            _, _, _, title, text, actions, _, _ = until(lambda: desktop.notified, "a notification")[-1]
            self.assertEqual((title, text), ("Kelvane", "The firmware setup opens at the next start."))
            self.assertEqual(actions[1::2], ["Undo"])
            desktop.act(actions[0])
            until(lambda: not desktop.is_requested, "the request undone")
            until(lambda: desktop.notified[-1][4] == "Undone: nothing special happens at the next start.", "what came of it")
            self.assertEqual(desktop.notified[-1][5][1::2], [])
            shown(program, "label", desktop.notified[-1][4])

    def test_everything_is_done_by_keyboard(self):
        """Only keys are pressed here."""
        program = self.start(service="later", state="keys")
        gone(program, "progress bar", "Reading the machine’s data")
        xdotool("windowfocus", "--sync", program.window)
        os.symlink("rpc", f"{self.folder}/later")
        xdotool("key", "F5")
        self.sees(program, ALWAYS)
        has_focus(program, "Product name")
        for label, keys, copied in (("Product name", ["ctrl+a", "ctrl+c"], ALWAYS["Product name"]),
                                    ("Product number", ["Home", "shift+Right", "ctrl+c"], "4")):
            self.reach(program, label)
            xdotool("key", *keys)
            until(lambda: clipboard() == copied, f"{label} copied")
        xdotool("key", "Home", "shift+F10")
        has_focus(program, "Select All")  # Nothing is selected that could be copied.
        gone(program, "menu item", "Copy")
        xdotool("key", "Return")
        has_focus(program, "Product number")
        xdotool("key", "Menu")
        has_focus(program, "Copy")
        xdotool("key", "Down", "Up", "Return")
        until(lambda: clipboard() == ALWAYS["Product number"], "the value by its menu")
        own = ["Minimize", "Maximize", "Close"]
        for keys, rows in ("alt+d", ROWS), ("alt+u", USB):
            xdotool("key", keys)
            self.sees(program, rows)
            names = [until(lambda: focused(program), "an element with the focus").get_name()]
            while names.count(names[0]) < 2 and len(names) < 60:
                names.append(tab(program))
            self.assertEqual(sorted(name for name in names[:-1] if name in rows), sorted(rows))
            self.assertEqual([name for name in names if name in own], own)
        self.reach(program, "Charges battery")
        xdotool("key", "x", "BackSpace", "alt+Left")
        self.sees(program, ROWS)
        xdotool("key", "alt+g")
        shown(program, "heading", "Run diagnostics at the next start?")
        xdotool("key", "F1")
        shown(program, "heading", "Keyboard shortcuts")
        self.assertEqual([value(program, name) for name in ("Go back", "Close the window", "Cancel")],
                         ["Esc, Alt+Left, Back key", "Ctrl+W, Ctrl+Q", "Alt+C"])
        for heading in "Run diagnostics at the next start?", "":
            xdotool("key", "Escape")
            shown(program, "heading", heading) if heading else self.sees(program, ROWS)
        xdotool("key", "Escape", "ctrl+w")
        self.assertEqual((program.ended(), program.errors), (0, []))
        self.assertTrue(os.listdir(f"{self.folder}/keys/kelvane/LocalState/Kelvane_LogFiles"))

    def test_keys_work_where_the_first_layout_has_no_latin_letters(self):
        run("setxkbmap", "ru,us")
        self.addCleanup(run, "setxkbmap", "us")
        program = self.start()
        self.sees(program, ALWAYS)
        xdotool("windowfocus", "--sync", program.window)
        has_focus(program, "Product name")
        control, alt, a, c, d, w = 37, 64, 38, 54, 40, 25  # Places on the keyboard, named by the Latin letters there.
        for held, keys in (control, (a, c)), (alt, (d,)):
            xdotool("keydown", held, "key", *keys, "keyup", held)
        until(lambda: clipboard() == ALWAYS["Product name"], "the value copied")
        self.sees(program, DETAILS)
        xdotool("keydown", control, "key", w, "keyup", control)
        self.assertEqual((program.ended(), program.errors), (0, []))

    def test_menus_and_tooltips_can_be_read(self):
        program = self.start()
        self.sees(program, ALWAYS)
        xdotool("windowfocus", "--sync", program.window)
        self.points_at(program, "text", "Serial number", "click", 3)
        has_focus(program, "Copy")
        xdotool("key", "Escape")
        has_focus(program, "Serial number")
        self.points_at(program, "text", "Product name", "click", 3)  # In large letters, which its menu must not have.
        has_focus(program, "Select All")
        self.sees_below_the_pointer(lambda least, mean, most: least < 0.3 and mean > 0.72, "dark words on a light menu")
        xdotool("key", "Escape")
        has_focus(program, "Product name")
        self.points_at(program, "push button", "Copy serial number")
        self.sees_below_the_pointer(lambda least, mean, most: mean < 0.4 and most > 0.8, "light words on a dark tooltip")

    def test_a_word_longer_than_the_window_breaks(self):
        self.enterContext(serve(f"{self.folder}/long", "--sysroot", f"{SOURCE}/tests/machines/hostile-texts",
                                "--configuration", f"{self.folder}/configuration"))
        program = self.start(service="long")
        until(lambda: [node for node in everything(program.application) if node.get_name().startswith("Made by")], "the maker")
        self.assertEqual(self.area(program, "frame", "Kelvane")[2:], (640, 210))

    def test_right_to_left_is_the_mirror(self):
        program = self.start()
        self.sees(program, ALWAYS)
        speak, copy = "Read serial number aloud", "Copy serial number"
        expected = [self.drawing(program, speak, "-flop"), self.drawing(program, copy)]
        self.assertNotIn("blank", expected)
        press(program, "Close")
        self.assertEqual(program.ended(), 0)
        for words in ((), ("kelvane:?key=1",)):
            with self.subTest(words):
                program = self.start(*words, LC_ALL="fa_IR.UTF-8")
                self.sees(program, ALWAYS)
                label, button = self.area(program, "label", "Product number"), self.area(program, "push button", copy)
                close = self.area(program, "push button", "Close")
                self.assertEqual((label[0] + label[2], button[0], close[0]), (611, 22, 0))
                self.assertEqual([self.drawing(program, each) for each in (speak, copy)], expected)
                press(program, "Show details")
                self.has_size(program, 640, 560)
                self.assertTrue(self.has_less_ink_at_the_left(program, ROWS["Firmware version"]), "digits are read from the left")
                press(program, "Close")
                self.assertEqual(program.ended(), 0)

    def test_a_second_start_comes_to_the_front(self):
        program = self.start()
        self.sees(program, ALWAYS)
        window = program.window
        xdotool("windowminimize", "--sync", window)
        with Program("kelvane", "kelvane:?key=1") as second:
            self.assertEqual((second.ended(), second.lines, second.errors), (0, [], []))
        self.sees(program, ALWAYS)
        until(lambda: run("xdotool", "getactivewindow").stdout.split() == [window], "the window in front")
        self.assertEqual(program.window, window, "on the screen")

    def test_without_the_service_the_window_says_what_to_do_and_tries_again(self):
        program = self.start(service="absent")
        self.assertIn("Start kelvane-service", "".join(descriptions(shown(program, "push button", "Try again"))))
        gone(program, "progress bar", "Reading the machine’s data")
        self.assertEqual([value(program, label) for label in ALWAYS], ["", "", ""])
        os.symlink(f"{self.folder}/rpc", f"{self.folder}/absent")
        press(program, "Try again")
        self.sees(program, ALWAYS)

    def test_a_picture_without_data_is_a_failure_with_its_reason(self):
        for service, status, errors in (("rpc", 0, []), ("nowhere", 1, ["kelvane: The system service is not running."])):
            with self.subTest(service):
                program = self.start("--screenshot", f"{self.folder}/{service}.png", service=service)
                self.assertEqual(program.ended(), status)
                self.assertEqual([line[:len(error)] for line, error in zip(program.errors, errors, strict=True)], errors)
                self.assertTrue(os.path.exists(f"{self.folder}/{service}.png"))


class ScreenReader(Case):
    def test_a_screen_reader_presses_everything_and_hears_what_happens(self):
        program = self.start()
        self.sees(program, ALWAYS)
        xdotool("windowfocus", "--sync", program.window)
        until(lambda: focused(program), "the focus")
        ear = Ear(program)

        def look():
            """What can be known of the program, but for what a button is called while it tells of its success."""
            seen = Snapshot(program.application)
            texts = seen.texts()
            return ([(seen.items[path][6:], texts.get(path)) for path in seen if seen.name(path) != "Copied"],
                    len(ear.said), clipboard(), len(self.service.errors),
                    run("xdotool", "search", "--onlyvisible", "--pid", str(program.process.pid)).stdout)

        def buttons():
            names = []
            seen = Snapshot(program.application)
            for path in seen:
                name = seen.name(path)
                words = name.split()
                self.assertNotEqual(words[:len(words) // 2], words[(len(words) + 1) // 2:] or None, f"{name} twice")
                if seen.has(path, Atspi.StateType.FOCUSABLE):
                    self.assertFalse(name == "" or name.startswith("Gtk"), f"a nameless {seen.role(path)}")
                if seen.role(path) == "push button" and seen.has(path, Atspi.StateType.SENSITIVE):
                    names.append(name)
            return names

        pressed, last = [], ["Maximize", "Restore", "Minimize", "Close"]
        while True:
            names = buttons()
            left = [name for name in names if name not in [*pressed, *last, "Copied", "Stop reading"]]
            if not left and "Cancel" not in pressed:
                # Once more, for its other button.
                left = ["Close message" if "Close message" in names else "Diagnostics…"]
            if not left and not last:
                break
            name = left[0] if left else last.pop(0)
            said, copied = len(ear.said), [label for label in COPY if COPY[label] == name]
            before = look() if not copied else None
            button = shown(program, "push button", name)
            button.do_action(0)
            pressed.append(name)
            if name == "Close":
                break
            for label in copied:
                for seen in "Copied", name:
                    until(lambda: button.get_name() == seen, f"the button is called {seen}")
                until(lambda: clipboard() == ROWS[label] and ear.said[said:] == ["Copied"], f"{label} is copied and said")
            if not copied:
                until(lambda: look() != before, f"what {name} does")
            if name == "Read serial number aloud":
                until(lambda: ear.said[said:] == ["Reading", "Nothing can be heard: no sound output was found."],
                      f"why nothing is heard, not {ear.said[said:]}")
                self.assertEqual(button.get_name(), name)
            print(f"{name}: {', '.join(ear.said[said:])}")
        self.assertLessEqual({*COPY.values(), "Back", "Cancel", "Set for next start", "Hide details"}, set(pressed))
        self.assertEqual((program.ended(), program.errors), (0, []))


class Measures(Case):
    @classmethod
    def pieces(cls, snapshot, areas, texts, path, clip):
        """Each text and each button without one below the element, with its left, top, right and bottom side as far as
        it is not scrolled away; `clip` is that of all."""
        for child in snapshot.children[path]:
            x, y, width, height = areas[child]
            area = (x, y, x + width, y + height)
            seen = (*map(max, area[:2], clip[:2]), *map(min, area[2:], clip[2:]))
            role = snapshot.role(child)
            below = list(cls.pieces(snapshot, areas, texts, child, seen if role == "scroll pane" else clip))
            if texts.get(child) or role == "push button" and not below:
                if seen[1] < seen[3]:
                    yield child, *seen
            yield from below

    def is_whole(self, program):
        """As `measure` says, once the window has the size that was asked for, and shows the same twice: a page is filled
        after it has come."""
        flaws, before = [""], [None]

        def measured():
            try:
                found = self.measure(program)
            except AssertionError as flaw:
                flaws.append(str(flaw))
                found = None
            same, before[0] = found is not None and found == before[0], found
            return same

        try:
            until(measured, "a page that is whole")
        except AssertionError:
            self.fail(flaws[-1])

    def measure(self, program):
        """No text or button is outside of the window or over another one, and no word is broken."""
        snapshot = Snapshot(program.application)
        areas, texts = snapshot.areas(), snapshot.texts()
        self.assertIn("Kelvane", texts.values(), "the title")
        (frame,) = snapshot.children[snapshot.root.path]
        width, height = areas[frame][2:]
        seen = []
        for path, left, top, right, bottom in self.pieces(snapshot, areas, texts, frame, (-9999, -9999, 9999, 9999)):
            name = snapshot.name(path)
            self.assertTrue(0 <= left < right <= width and 0 <= top < bottom <= height, name)
            for other, *its in seen:
                self.assertFalse(left < its[2] and its[0] < right and top < its[3] and its[1] < bottom,
                                 f"{name} over {other}")
            seen.append((name, left, top, right, bottom))
        ends = {path: 0 for path, text in texts.items() if text}
        while ends:
            # The toolkit counts the first character of a line to the line before.
            lines = snapshot.ask("Text", "GetStringAtOffset", ends, "(iu)", lambda path: (ends[path] + 1, Atspi.TextGranularity.LINE))
            for path, (_, _, line_end) in lines.items():
                text, end = texts[path], max(ends[path] + 1, line_end)
                # Chinese and Japanese have no blanks.
                self.assertTrue(end >= len(text) or text[end - 1] in " -/" or max(text[end - 1:end + 1]) > "\u2fff",
                                f"{text} is broken")
                ends[path] = end
            ends = {path: end for path, end in ends.items() if end < len(texts[path])}
        return areas, texts

    def pages_are_whole(self, program, language):
        words = {data.get("name"): data.findtext("value")
                 for data in Xml.parse(f"{STRINGS}/{language}/Resources.resw").iter("data")}
        for page, back in (("USBType.Content", "BackButton.AutomationProperties.Name"),
                           ("RunSysDiagsbutton.Content", "CancelButton.Content"), ("ShowDetails.Text", "HideDetails.Text")):
            press(program, words[page])
            shown(program, "push button", words[back])
            self.is_whole(program)
            press(program, words[back])
            shown(program, "push button", words[page])

    def test_every_language_fits(self):
        """With a machine of two ports, some values that are missing, and long words."""
        with self.text_settings() as set_text, serve(
                f"{self.folder}/ports", "--sysroot", f"{SOURCE}/tests/machines/laptop-with-dock",
                "--configuration", f"{self.folder}/configuration"):
            for file in sorted(glob.glob(f"{STRINGS}/*/Desktop.properties")):
                with open(file, encoding="utf-8") as properties:
                    locale = properties.readline().strip().removeprefix("Locale=")
                set_text(100, "Noto Sans 11")
                program = self.start(service="ports", LC_ALL=f"{locale}.UTF-8")
                for percent in (100, 200):
                    with self.subTest(f"{locale}, {percent} %"):
                        set_text(percent, "Noto Sans 11")
                        self.has_size(program, *(side * percent // 100 for side in (640, 210)))
                        self.is_whole(program)
                        self.pages_are_whole(program, file.split("/")[-2])
                program.process.kill()

    def test_everything_grows_with_the_text_and_nothing_is_cut(self):
        with self.text_settings() as set_text:
            program = self.start()
            self.sees(program, ALWAYS)
            # Each of another size than the one before, which shows when all has changed.
            for percent, font, unit in ((200, "Noto Sans 10", 2), (100, "Noto Sans CJK JP 11", 1),
                                        (300, "DejaVu Sans 11", 3), (100, "DejaVu Sans 11", 1),
                                        (125, "Noto Sans 11", 1.25), (100, "Cantarell 11", 1),
                                        (300, "Cantarell 11", 3), (100, "Noto Sans 22", 2), (100, "Noto Sans 11", 1)):
                with self.subTest(f"{percent} % in {font}"):
                    set_text(percent, font)
                    button = (int(30 * unit + 0.5),) * 2
                    until(lambda: self.area(program, "push button", "Copy serial number")[2:] == button, "the buttons")
                    cramped = 640 * unit > 1280  # The width of the screen.
                    if not cramped:
                        self.has_size(program, int(640 * unit + 0.5), int(210 * unit + 0.5))
                    self.is_whole(program)
                    pane = shown(program, "scroll pane", "Content")
                    areas = [node.get_extents(Atspi.CoordType.WINDOW) for node in everything(pane)
                             if node.get_name() == "Serial number" or node in (pane, pane.get_child_at_index(0))]
                    bottoms = [area.y + area.height for area in areas]
                    self.assertEqual(len(bottoms), 4)
                    if cramped:
                        del bottoms[1]  # All that is scrolled.
                    self.assertEqual(max(bottoms), bottoms[0], "the serial number is in the first picture")
                    self.pages_are_whole(program, "en-US")


if __name__ == "__main__":
    unittest.main(verbosity=2)

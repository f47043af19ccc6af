"""What every world must do alike. Usage: test_contract.py headless|desktop"""

import sys
import unittest

from session import until
from worlds import Desktop, Headless

START = {"headless": Headless, "desktop": Desktop}[sys.argv.pop(1)]


class Contract(unittest.TestCase):
    def start(self, sound=False):
        return self.enterContext(START(sound))

    def ends(self, world, status=0, errors=()):
        world.heard("suspended")
        self.assertEqual((world.ended(), world.errors), (status, list(errors)))

    def test_tab_follows_the_reading_order_past_what_is_hidden_or_disabled(self):
        world = self.start()
        # The default button is first; Tab goes from the last one to what the window itself has.
        own = ["Minimize", "Maximize", "Close"] if START is Desktop else []
        for name in ["Ok", "Cancel", "Expand", *own, "Value0", "Copy0", "Box1", "Ok"]:
            world.has_focus(name)
            world.key("Tab")
        world.has_focus("Cancel")
        world.say("set Value0 Text ", "set Copy0 Visibility Collapsed", "set Expand IsEnabled False")
        for keys, name in (("shift+Tab", "Ok"), ("shift+Tab", "Box1"), *[("shift+Tab", each) for each in own[::-1]],
                           ("shift+Tab", "Cancel"), ("ctrl+Tab", [*own, "Box1"][0])):
            world.key(keys)
            world.has_focus(name)

    def test_the_focus_leaves_what_disappears_and_nothing_else(self):
        world = self.start()
        for command, name in (("focus Copy0", "Copy0"), ("set Ok Visibility Collapsed", "Copy0"),
                              ("set Row0 Visibility Collapsed", "Box1"), ("set Ok Visibility Visible", "Ok"),
                              ("set Cancel Visibility Collapsed", "Ok"), ("focus Box1", "Box1"), ("reload", "Ok"),
                              # The first row may come later than the page, unless the user has begun.
                              ("set Ok IsDefault False;set Row0 Visibility Collapsed;set Row1 Visibility Collapsed", "Ok"),
                              ("set Row0 Visibility Visible", "Value0"), ("set Row0 Visibility Collapsed", "Ok")):
            with self.subTest(command):
                world.say(command)
                world.has_focus(name)
        world.key("a")
        world.say("set Row0 Visibility Visible")
        world.key("Tab")
        world.has_focus("Cancel")
        self.assertEqual([line for line in world.lines if line.startswith("loaded")], ["loaded Ok", "loaded Page"] * 2)

    def test_keys_reach_handlers_first_and_then_do_what_they_are_for(self):
        world = self.start()
        # A text without handlers.
        world.say("set Label1 IsTextSelectionEnabled True")
        rows = [("Box1", "a", "keydown Box1 65", "keyup Box1 65"),
                ("Box1", "Escape", "keydown Box1 27", "clicked Cancel", "keyup Box1 27"),
                ("Box1", "Return", "keydown Box1 13", "keyup Box1 13"),
                ("Box1", "Tab", "keydown Box1 9"),
                ("Box1", "alt+Left", "keydown Box1 37", "back", "keyup Box1 37"),
                ("Box1", "XF86Back", "keydown Box1 166", "back", "keyup Box1 166"),
                ("Box1", "alt+k", "keydown Box1 75", "clicked Ok", "keyup Box1 75"),
                ("Copy0", "k"),
                ("Label1", "ctrl+shift+c", "clicked Cancel"),
                ("Label1", "ctrl+c"),
                ("Label1", "Return", "clicked Ok"),
                ("Label1", "space"),
                ("Copy0", "shift+Escape"),
                ("Copy0", "Return", "clicked Copy0"),
                ("Copy0", "space", "clicked Copy0"),
                ("Cancel", "Return", "clicked Cancel")]
        expected = []
        for focus, keys, *events in rows:
            with self.subTest(f"{keys} on {focus}"):
                world.say(f"focus {focus}")
                world.has_focus(focus)
                world.key(keys)
                expected += events
                # The toolkit clicks later than the key is released.
                until(lambda: sorted(world.events()) == sorted(expected), f"{expected}, not {world.events()}")

    def test_the_mouse_goes_back_too(self):
        world = self.start()
        world.press_back_button()
        world.heard("back")
        world.say("mirror")
        world.heard("insets")
        world.key("alt+Right")
        world.heard("back")

    def test_a_text_has_its_own_keys_whatever_its_handlers_take(self):
        world = self.start()
        world.say("set Value0 Text one two")
        for text, moves, copied in (("Value0", ["ctrl+a"], "one two"), ("Value0", ["Home", "shift+Right"], "o"),
                                    ("Value0", ["End", "ctrl+shift+Left"], "two"), ("Box1", ["ctrl+a"], "Supported"),
                                    ("Box1", ["ctrl+a", "Left", "shift+End"], "Supported")):
            with self.subTest(text, moves=moves):
                world.say(f"focus {text}", "copy nothing")
                world.has_focus(text)
                for keys in [*moves, "ctrl+c"]:
                    world.key(keys)
                until(lambda: world.clipboard() == copied, f"{copied} on the clipboard")

    def test_a_held_key_presses_nothing_on_the_next_page(self):
        world = self.start()
        world.say("focus Box1")
        world.has_focus("Box1")
        for _ in range(2):  # The press and its first repeat.
            world.hold("Return")
            world.heard("keydown Box1 13")
        self.addCleanup(world.release, "Return")
        world.say("reload")
        world.has_focus("Ok")
        # Each click takes the toolkit longer than several repeats.
        for _ in range(2):
            world.hold("Return")
            world.click("Cancel")
            self.assertEqual(world.heard("clicked"), "clicked Cancel")
        world.release("Return")
        world.key("Return")
        self.assertEqual(world.heard("clicked"), "clicked Ok")

    def test_texts_are_seen_while_they_are_visible(self):
        world = self.start()
        for command, element, text in (("set Value0 Text Ωmega 三 16 GB", "Value0", "Ωmega 三 16 GB"),
                                       ("set Box1 Text Not supported", "Box1", "Not supported"),
                                       ("set Row1 Visibility Collapsed", "Box1", None),
                                       ("set Box1 Text ", "Box1", None),
                                       ("set Row1 Visibility Visible", "Box1", "")):
            with self.subTest(command):
                world.say(command)
                world.sees(element, text)

    def test_announcements_are_heard_once(self):
        world = self.start()
        # Whether what has the focus has a tool tip of its own or not.
        world.say("set Copy0 ToolTipService.ToolTip To the clipboard", "set Label1 AutomationProperties.LiveSetting Polite",
                  "set Bar AutomationProperties.LiveSetting Polite", "set Ring AutomationProperties.LiveSetting Assertive")
        expected = []
        for focus in "Ok", "Copy0", "Box1", "Copy0":
            world.say(f"focus {focus}")
            world.has_focus(focus)
            for command, *said in (("announce Copied", "Copied"), ("set Label1 Text " + focus, focus),
                                   ("set Label0 Text " + focus,), ("set Label1 Visibility Collapsed",),
                                   ("set Label1 Text Charging",), ("set Label1 Visibility Visible", "Charging"),
                                   ("set Bar Visibility Collapsed",), ("set Bar Visibility Visible", "Stage Reading"),
                                   ("set Ring IsActive False",), ("set Ring IsActive True", "Reading"),
                                   ("set Copy0 AutomationProperties.Name Copied",),
                                   ("set Copy0 AutomationProperties.Name Copy the product name",),
                                   ("set Copy0 ToolTipService.ToolTip To the clipboard as " + focus,)):
                world.say(command)
                expected += said
            until(lambda: world.announced() == expected, f"{expected[-5:]}, not {world.announced()[-5:]}")

    def test_the_dispatcher_queues_in_order_and_keeps_failures_to_the_task(self):
        world = self.start()
        world.say("dispatch")
        world.heard("ran third")
        world.say("exit")
        self.ends(world, 0, ["kelvane: a failure that nothing waited for: broken"])
        self.assertEqual([line for line in world.lines if line.startswith("ran")],
                         ["ran nothing yet", "ran first", "ran second", "ran third"])

    def test_a_copied_text_is_on_the_clipboard(self):
        world = self.start()
        world.say("copy 5CG1234XYZ — Ω")
        until(lambda: world.clipboard() == "5CG1234XYZ — Ω", "the text in another program")

    def test_speech_is_heard_to_its_end_or_stopped(self):
        world = self.start(sound=True)
        world.say("speak PF3ABC12")
        samples = int(world.heard("samples").split()[1])
        until(lambda: (world.sound(), "sound ended" in world.lines)[1], "the end of the sound")
        # All of it, wherever the world has waited for more.
        until(lambda: world.sound() == samples, f"{samples} samples")
        # One that is replaced, stopped, or playing when the program ends.
        world.say("speak 5CG1234XYZ;speak 5CG1234XYZ;hush")
        world.size()
        self.assertEqual(world.lines.count("sound ended"), 1)
        world.say("speak 5CG1234XYZ;exit")
        self.ends(world)

    def test_without_sound_speech_fails_and_nothing_else(self):
        world = self.start()
        world.say("speak PF3ABC12")
        world.heard("sound failed")
        world.say("exit")
        self.ends(world)

    def test_the_window_has_the_size_that_is_asked_for_and_closes(self):
        world = self.start()
        for command, size in ("", (640, 210)), ("resize 700 560", (700, 560)), ("resize 100 300", (640, 300)):
            with self.subTest(command):
                world.say(*filter(None, [command]))
                until(lambda: world.size() == size, f"{size}, not {world.size()}")
        world.close()
        self.ends(world)

    def test_a_failure_in_a_call_from_the_world_ends_the_program_in_good_order(self):
        rows = [("clicked Copy0", lambda world: world.click("Copy0")),
                ("clicked Ok", lambda world: world.key("Return")),
                ("clicked Cancel", lambda world: world.key("Escape")),
                ("keydown Box1", lambda world: world.key("a")),
                ("keyup Box1", lambda world: world.key("a")),
                ("loaded Page", "reload"), ("timer", "timer"), ("insets", "mirror"), ("sound failed", "speak a"),
                ("suspended", "exit"), ("suspended", lambda world: world.close())]
        if START is Desktop:
            rows += [("layout", "set Layout Width 8"), ("picture", "picture /nowhere.png")]
        for number, (place, cause) in enumerate(rows):
            with self.subTest(place), START(sound=False) as world:
                world.has_focus("Ok")
                if place.endswith("Box1"):
                    world.say("focus Box1")
                    world.has_focus("Box1")
                world.say(f"fail {number % 3} {place}")
                world.say(cause) if isinstance(cause, str) else cause(world)
                message = place if number % 3 != 2 else "Unspecified failure"
                self.ends(world, 1, [f"kelvane: {message}"])


if __name__ == "__main__":
    unittest.main(verbosity=2)

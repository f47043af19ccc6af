"""A handler that throws, or another call from the toolkit, ends the program in good order: each of them, one by one."""

import glob
import os
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree
from concurrent.futures import ThreadPoolExecutor

from session import BIN, LIMIT

SOURCES = os.path.join(os.path.dirname(__file__), "..", "..")
EVENTS = ("Click", "KeyDown", "KeyUp", "Loaded")


def handlers(markup):
    """What the markup gives a handler to, as the program says it."""
    for element in xml.etree.ElementTree.parse(markup).iter():
        name = element.get("{http://schemas.microsoft.com/winfx/2006/xaml}Name", "Page")
        yield from (f"{event} of {name}" for event in EVENTS if event in element.attrib)


def cause(page, number):
    """Runs the program; how many faults of the page there are, and the name of this one."""
    with tempfile.TemporaryDirectory() as folder:
        environment = {**os.environ, "XDG_STATE_HOME": folder, "KELVANE_RPC_DIRECTORY": f"{folder}/none",
                       "PULSE_SERVER": f"unix:{folder}/none"}
        ended = subprocess.run([f"{BIN}/kelvane-faults", page, str(number)], env=environment, timeout=2 * LIMIT,
                               capture_output=True, text=True)
        count, _, name = ended.stdout.rstrip("\n").partition(" ")
        message = name if number % 3 != 2 else "Unspecified failure"
        logs = glob.glob(f"{folder}/kelvane/LocalState/Kelvane_LogFiles/*.etl")
        if (ended.returncode, ended.stderr, len(logs)) != (1, f"kelvane: {message}\n", 1):
            raise AssertionError(f"{page} {number} {name}: status {ended.returncode}, {ended.stderr!r}, logs {logs}")
        return int(count), name


class Faults(unittest.TestCase):
    def names(self, page):
        count, first = cause(page, 0)
        with ThreadPoolExecutor(2) as pool:
            return {first, *(name for _, name in pool.map(lambda number: cause(page, number), range(1, count)))}

    def test_every_handler_of_every_page(self):
        for folder, page in (("main", "MainPage"), ("usbc", "USBTypeCPage"), ("diagnostics", "RunSystemDiagnostics")):
            with self.subTest(page):
                expected = set(handlers(f"{SOURCES}/pages/{folder}/{page}.xaml"))
                self.assertGreaterEqual(self.names(f"Kelvane.{page}"), expected)

    def test_every_other_call(self):
        self.assertEqual(len(self.names("Toolkit")), 7)


if __name__ == "__main__":
    unittest.main(verbosity=2)

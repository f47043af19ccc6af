"""Every language has every text and no other, with the same placeholders. Usage: test_languages.py SOURCE"""

import pathlib
import re
import sys
import unittest
import xml.etree.ElementTree as Xml

ROOT = pathlib.Path(sys.argv.pop())
STRINGS = ROOT / "package/Strings"
PLACEHOLDER = r"\{\w+\}|'[^']*'|KELVANE_\w+|/run/\S+?(?=[,.\s、，]|$)"


def texts(folder):
    pairs = [(each.get("name"), each.findtext("value")) for each in Xml.parse(folder / "Resources.resw").iter("data")]
    assert len(dict(pairs)) == len(pairs), f"a key is there twice in {folder}"
    return dict(pairs)


def properties(folder):
    return dict(line.split("=", 1) for line in (folder / "Desktop.properties").read_text("utf-8").splitlines())


class Languages(unittest.TestCase):
    def test_each_has_the_texts_of_english(self):
        english = texts(STRINGS / "en-US")
        languages = [folder for folder in STRINGS.iterdir() if folder.name != "en-US"]
        self.assertGreaterEqual(len(languages), 10)
        for folder in languages:
            with self.subTest(folder.name):
                own = texts(folder)
                self.assertEqual(list(own), list(english))
                self.assertEqual([key for key, text in (own | properties(folder)).items() if not text or text != text.strip()], [])
                for key, text in english.items():
                    # Placeholders, commands and paths are the same in every language, in any order.
                    self.assertEqual(*(sorted(re.findall(PLACEHOLDER, each)) for each in (own[key], text)), key)
                for page in ROOT.glob("pages/*/*.xaml"):
                    uids = re.findall('x:Uid="([^"]+)"', page.read_text("utf-8"))
                    access = [own[uid + ".AccessKey"].upper() for uid in uids if uid + ".AccessKey" in own]
                    self.assertEqual(len(access), len(set(access)), f"access keys of {page}: {access}")
                self.assertEqual(list(properties(folder)),
                                 [*properties(STRINGS / "en-US"), "kelvane.1", "kelvane-service.8", "kelvane-log.1"])


if __name__ == "__main__":
    unittest.main()

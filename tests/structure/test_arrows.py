"""The tree obeys the table of docs/structure.md, and the check that says so refuses wrong arrows. Usage: test_arrows.py ROOT BUILD"""
import importlib.machinery
import importlib.util
import pathlib
import sys
import unittest

ROOT, BUILD = (pathlib.Path(each) for each in sys.argv[1:3])
loader = importlib.machinery.SourceFileLoader("structure", str(ROOT / "tools/structure"))
structure = importlib.util.module_from_spec(importlib.util.spec_from_loader("structure", loader))
sys.dont_write_bytecode = True
loader.exec_module(structure)
ROWS = structure.rows_of((ROOT / structure.TABLE).read_text())
FILES = structure.files_of(ROOT)

# A line planted at the end of a file each, a way in which an arrow has pointed wrong or could hide; "\\n" is a line end.
WRONG = [row.split(": ", 1) for row in (ROOT / "tests/structure/wrong-includes.txt").read_text().splitlines()]


class Arrows(unittest.TestCase):
    def test_tree_obeys_the_table(self):
        self.assertGreater(len(FILES), 200)
        self.assertEqual(structure.faults(ROOT, BUILD), [])
        self.assertGreater(len(structure.symbols_of(ROOT, BUILD)), 20)

    def test_wrong_includes_are_refused(self):
        for path, row in WRONG:
            line = row.encode().decode("unicode_escape")
            planted = FILES | {path: FILES.get(path, "") + "\n" + line + "\n"}
            refused = list(structure.include_faults(ROWS, planted, [path]))
            self.assertEqual(len(refused), 1, f"{path}: {line}: {refused}")
            print(f"refused: {refused[0]}")

    def test_calls_by_a_declaration_of_ones_own_are_refused(self):
        symbols = structure.symbols_of(ROOT, BUILD)
        for lower, upper in (("platform/core", "pages/main"), ("viewmodel", "pages"), ("backends/headless", "app")):
            symbol = min(symbols[upper][0].difference(*(defined for name, (defined, _) in symbols.items() if name != upper)))
            planted = symbols | {lower: (symbols[lower][0], symbols[lower][1] | {symbol})}
            self.assertEqual(len(list(structure.symbol_faults(ROWS, planted))), 1)

    def test_a_circle_in_the_table_is_refused(self):
        table = (ROOT / structure.TABLE).read_text().replace("| `platform/core` | |", "| `platform/core` | `platform/tasks` |", 1)
        self.assertEqual([*structure.table_faults(structure.rows_of(table))],
                         ["docs/structure.md: platform/core uses platform/tasks, which has no row above it"])

    def test_a_circle_of_files_in_one_folder_is_refused(self):
        planted = FILES | {"platform/core/Text.h": FILES["platform/core/Text.h"] + '#include "platform/core/UserName.h"\n'}
        self.assertIn("platform/core/UserName -> platform/core/Text", "".join(structure.circle_faults(planted)) * 2)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

"""Types the beginning of a word and Tab into real shells, which find the installed completions by themselves.
Usage: test_completion.py BUILD [TEST]   Exit status 77 when no shell was tried."""

import os
import pathlib
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD = sys.argv.pop(1)
LIMIT = 60  # Seconds until a shell counts as silent; a loaded machine needs some.
READY = "ready>"

# What is typed, and what the program is given then.
LINES = {
    "kelvane --hi\t": "--hide-identifiers",
    "kelvane --screenshot pict\t": "--screenshot picture.png",
    "kelvane-log --level Wa\t": "--level Warning",
    "kelvane-service --start-tool us\t": "--start-tool usb-type-c",
}

# The command, and the file in the home folder that makes its prompt and has it find what is installed below $XDG_DATA_DIRS.
SHELLS = {
    "bash": (["bash", "--noprofile", "-i"], ".bashrc",
             f". /usr/share/bash-completion/bash_completion\nPS1='{READY}'\n"),
    "zsh": (["zsh", "-i"], ".zshrc",
            f"fpath=(${{XDG_DATA_DIRS%%:*}}/zsh/site-functions $fpath)\nautoload -U compinit\ncompinit -u\nPS1='{READY}'\n"),
    "fish": (["fish", "-i"], ".config/fish/config.fish",
             f"function fish_prompt; echo -n '{READY}'; end\nset fish_greeting\n"),
}


class Shell:
    """An interactive shell on a terminal of its own, in `home`."""

    def __init__(self, command, home):
        self.seen = ""
        environment = {"HOME": home, "PATH": f"{home}/programs:/usr/bin:/bin", "TERM": "xterm", "LC_ALL": "C.UTF-8",
                       "XDG_DATA_DIRS": f"{home}/installed/share:/usr/share"}
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(home)
            os.execvpe(command[0], command, environment)

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        os.close(self.terminal)  # The shell is hung up.
        os.waitpid(self.process, 0)

    def type(self, text):
        os.write(self.terminal, text.encode())

    def until(self, text):
        """Reads on until the terminal shows this; what came before it."""
        while text not in self.seen:
            if not select.select([self.terminal], [], [], LIMIT)[0]:
                raise AssertionError(f"never shown: {text!r} in {self.seen!r}")
            self.seen += os.read(self.terminal, 4096).decode(errors="replace")
        before, _, self.seen = self.seen.partition(text)
        return before


class Completion(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.home = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.home)
        subprocess.run(["cmake", "--install", BUILD, "--prefix", f"{cls.home}/installed"], check=True,
                       stdout=subprocess.DEVNULL)
        pathlib.Path(cls.home, "picture.png").touch()
        # Without this folder fish reads all man pages in the background.
        pathlib.Path(cls.home, ".local/share/fish/generated_completions").mkdir(parents=True)
        programs = pathlib.Path(cls.home, "programs")
        programs.mkdir()
        for name in ("kelvane", "kelvane-log", "kelvane-service"):
            (programs / name).write_text("#!/bin/sh\necho \"given <$*>\"\n")
            (programs / name).chmod(0o755)

    def completes(self, name):
        command, file, content = SHELLS[name]
        if not shutil.which(command[0], path="/usr/bin:/bin"):
            self.skipTest(f"{name} is not installed")
        path = pathlib.Path(self.home, file)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content)
        with Shell(command, self.home) as shell:
            for line, arguments in LINES.items():
                shell.until(READY)
                shell.type(line + "\n")
                shell.until("given <")
                self.assertEqual(shell.until(">"), arguments, line)

    def test_bash(self):
        self.completes("bash")

    def test_zsh(self):
        self.completes("zsh")

    def test_fish(self):
        self.completes("fish")


if __name__ == "__main__":
    result = unittest.main(exit=False).result
    for _, reason in result.skipped:
        print(f"skipped: {reason}")
    sys.exit(1 if not result.wasSuccessful() else 77 if len(result.skipped) == result.testsRun else 0)

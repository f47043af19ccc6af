#!/usr/bin/python3
"""Starts kelvane --text with its data on a file system of our own that takes long for each operation, and cannot reserve space.

Usage: KELVANE_BIN=build/release/bin tests/programs/slow_disk.py [MILLISECONDS]   for each operation, default 50
Exit status 1 when the pages or the log are not those of a fast disk, or a start asks the disk for too much; 77 where nothing can be
mounted.
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import fusepy

BIN = pathlib.Path(os.environ["KELVANE_BIN"]).resolve()
MACHINE = pathlib.Path(__file__).resolve().parents[1] / "machines/usb4-laptop"
MOST = 1000  # A byte for each block of the log's 8 MB would be 2,048 operations or more.


class SlowDisk(fusepy.Operations):
    """Another folder, slowly."""

    def __init__(self, folder, delay, count):
        self.delay, self.count, self.operations = delay, count, 0
        at = (lambda path: folder + path)
        self.readdir = lambda path, fh: [".", "..", *os.listdir(at(path))]
        self.create = lambda path, mode, fi=None: os.open(at(path), os.O_RDWR | os.O_CREAT | os.O_TRUNC, mode)
        self.open = lambda path, flags: os.open(at(path), os.O_RDONLY if flags & os.O_ACCMODE == os.O_RDONLY else os.O_RDWR)
        self.read = lambda path, size, offset, fh: os.pread(fh, size, offset)
        self.write = lambda path, data, offset, fh: os.pwrite(fh, data, offset)
        self.truncate = lambda path, length, fh=None: os.truncate(at(path), length)
        self.release = lambda path, fh: os.close(fh)
        self.fsync = lambda path, datasync, fh: os.fsync(fh)
        self.rename = lambda old, new: os.rename(at(old), at(new))
        self.link = lambda new, old: os.link(at(old), at(new))
        self.unlink = lambda path: os.unlink(at(path))
        self.mkdir = lambda path, mode: os.mkdir(at(path), mode)
        self.chmod = lambda path, mode: os.chmod(at(path), mode)
        self.utimens = lambda path, times=None: os.utime(at(path), times)
        facts = "st_mode", "st_nlink", "st_uid", "st_gid", "st_size", "st_mtime", "st_ino", "st_blksize"
        self.getattr = lambda path, fh=None: {fact: getattr(os.lstat(at(path)), fact) for fact in facts}

    def __call__(self, operation, *arguments):
        if operation == "destroy":
            self.count.write_text(str(self.operations))
        self.operations += 1
        time.sleep(self.delay)
        return super().__call__(operation, *arguments)


def start(state):
    """What a start prints, and the texts of its log."""
    run = {"env": {**os.environ, "XDG_STATE_HOME": str(state)}, "capture_output": True, "text": True, "timeout": 250}
    pages = subprocess.run([BIN / "kelvane", "--text", "--timeout", "200"], **run)
    log = subprocess.run([BIN / "kelvane-log", "--json"], **run)
    return pages.stdout, log.stderr, sorted(json.loads(line)["message"] for line in log.stdout.splitlines())


def main():
    delay = int(sys.argv[1]) if len(sys.argv) > 1 else 50
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        fast, slow, disk, count = (folder / name for name in ("fast", "slow", "disk", "count"))
        slow.mkdir()
        disk.mkdir()
        os.environ["KELVANE_RPC_DIRECTORY"] = str(folder)
        service = subprocess.Popen([BIN / "kelvane-service", "--sysroot", MACHINE], stderr=subprocess.DEVNULL)
        mounted = subprocess.Popen([sys.executable, __file__, "--mount", disk, slow, str(delay), count])
        try:
            while not os.path.ismount(slow) or not (folder / "HotkeyRpcEndpoint").exists():
                if mounted.poll() is not None:
                    print("skipped: this machine mounts no file system of a program's own, so no slow disk was tried")
                    return 77
                time.sleep(0.05)
            expected, seen = start(fast), start(slow)
        finally:
            service.kill()
            service.wait()
            subprocess.run(["umount", slow], stderr=subprocess.DEVNULL)
            mounted.wait()
        operations = int(count.read_text())
        print(f"{len(seen[2])} messages of {len(expected[2])}, {operations} operations", seen[1])
        return 0 if seen == expected and operations <= MOST else 1


if __name__ == "__main__":
    if sys.argv[1:2] == ["--mount"]:
        _, _, disk, slow, delay, count = sys.argv
        fusepy.FUSE(SlowDisk(disk, int(delay) / 1000, pathlib.Path(count)), slow, foreground=True, big_writes=True)
        sys.exit()
    sys.exit(main())

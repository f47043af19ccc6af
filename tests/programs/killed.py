#!/usr/bin/env python3
"""Kills kelvane --text, and in every other round the service that it reads from, at a random moment; then starts both anew.

Usage: KELVANE_BIN=build/release/bin tests/programs/killed.py [ROUNDS] [SEED]
Exit status 1 when a program hangs, a reader of the logs complains, settings are damaged, or the next start does not show the machine.
"""
import collections
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import time

BIN = pathlib.Path(os.environ["KELVANE_BIN"]).resolve()
LIMIT = 30


def start(program, *arguments, **streams):
    return subprocess.Popen([BIN / program, *arguments], text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **streams)


def serve():
    service = start("kelvane-service")
    while "HotkeyRpcEndpoint" not in service.stderr.readline():
        if service.poll() is not None:
            sys.exit("the service does not start")
    return service


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 100
    moments = random.Random(int(sys.argv[2]) if len(sys.argv) > 2 else 1)
    outcomes = collections.Counter()
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        os.environ.update(XDG_STATE_HOME=folder, KELVANE_RPC_DIRECTORY=folder)
        for number in range(rounds):
            service = serve()
            application = start("kelvane", "--text", "--timeout", "5")
            victim = service if number % 2 else application
            time.sleep(moments.uniform(0, 0.06))
            victim.kill()
            _, said = application.communicate(timeout=LIMIT)
            outcomes["service" if number % 2 else "application", application.returncode, said.strip()[:70]] += 1
            service.kill()
            service.communicate(timeout=LIMIT)
            logs = subprocess.run([BIN / "kelvane-log"], capture_output=True, text=True, timeout=LIMIT)
            service = serve()
            following = subprocess.run([BIN / "kelvane", "--text"], capture_output=True, text=True, timeout=LIMIT)
            service.kill()
            service.communicate(timeout=LIMIT)
            left = [*pathlib.Path(folder, "kelvane/Logs").iterdir(), *pathlib.Path(folder, "kelvane/Settings").glob("*.xml.*")]
            unread = logs.stderr if number else ""  # the first may have been killed before its log began
            if unread or following.stderr or left or "Product name" not in following.stdout:
                faults.append((number, logs.stderr, following.stderr, left))
    for (victim, status, said), times in outcomes.most_common():
        print(f"{times:5} {victim} killed: status {status} {said}")
    print(*faults, sep="\n")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

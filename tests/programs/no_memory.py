#!/usr/bin/env python3
"""Starts kelvane --text without a service again and again; each time another allocation fails. Prints what came of it, and how often.

Usage: KELVANE_BIN=build/release/bin tests/programs/no_memory.py [STEP]   every STEPth allocation, default 25
A start may be aborted where nothing can report the failure (docs/reliability.md). Exit status 1 when one ended otherwise or did not.
"""
import collections
import os
import pathlib
import subprocess
import sys
import tempfile
import time

ALLOCATOR = r"""
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
namespace {
std::atomic<long> g_count{0};
const long kFails = std::atol(std::getenv("FAILS"));
void* Take(std::size_t size) { return ++g_count == kFails ? nullptr : std::malloc(size ? size : 1); }
struct Report { ~Report() { if (kFails == 0) std::fprintf(stderr, "allocations %ld\n", g_count.load()); } } g_report;
}
void* operator new(std::size_t size) { if (void* p = Take(size)) return p; throw std::bad_alloc(); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
"""


def start(folder, fails):
    with tempfile.TemporaryDirectory(dir=folder) as state:
        environment = {"PATH": os.environ["PATH"], "XDG_STATE_HOME": state, "KELVANE_RPC_DIRECTORY": "/nonexistent",
                       "LD_PRELOAD": f"{folder}/allocator.so", "FAILS": str(fails)}
        begin = time.monotonic()
        try:
            done = subprocess.run([os.environ["KELVANE_BIN"] + "/kelvane", "--text", "--timeout", "1"], env=environment,
                                  capture_output=True, text=True, timeout=30)
        except subprocess.TimeoutExpired:
            return "does not end", ""
        # One for an answer that never comes, five for an end that is never completed.
        if time.monotonic() - begin > 9:
            return "ends late", done.stderr.strip()
        return f"status {done.returncode}" if done.returncode >= 0 else f"signal {-done.returncode}", done.stderr.strip()


def main():
    step = int(sys.argv[1]) if len(sys.argv) > 1 else 25
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder, "allocator.cpp")
        source.write_text(ALLOCATOR)
        subprocess.run(["g++", "-std=c++20", "-shared", "-fPIC", "-o", f"{folder}/allocator.so", source], check=True)
        _, counted = start(folder, 0)
        allocations = int(counted.split()[-1])
        outcomes = collections.defaultdict(list)
        for fails in range(1, allocations, step):
            how, said = start(folder, fails)
            outcomes[how, said[:60] if how.startswith("status") else ""].append(fails)
        print(f"{allocations} allocations")
        for (how, said), which in sorted(outcomes.items(), key=lambda outcome: -len(outcome[1])):
            print(f"{len(which):5} {how} {said} (first: allocation {which[0]})")
        return 1 if {how for how, _ in outcomes} - {"status 0", "status 1", "signal 6"} else 0


if __name__ == "__main__":
    sys.exit(main())

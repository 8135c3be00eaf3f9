#!/usr/bin/env python3
"""Counts the calls of the system that 1,000 level sets make, at the sender and at the server.

A set is one call of the sender's; the server learns of it with one and takes it with another. Now
and then the server looks for other clients, which is what the few more calls are for.

Usage: CountSystemCalls.py STRACE PROGRAM    (PROGRAM is CountedSets)
"""

import collections
import os
import subprocess
import sys
import tempfile


def main():
    strace, program = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        log = os.path.join(folder, "log")
        subprocess.run([strace, "-f", "-qq", "-o", log, program], check=True,
                       env={**os.environ, "XDG_RUNTIME_DIR": folder})
        with open(log, encoding="utf-8", errors="replace") as file:
            lines = file.read().splitlines()
    starts = [line.split(None, 1) for line in lines]
    marks = [place for place, (_, call) in enumerate(starts) if call.startswith("getppid(")]
    sender = starts[marks[0]][0]
    counts = {True: collections.Counter(), False: collections.Counter()}
    for process, call in starts[marks[0] + 1:marks[1]]:
        # The end of a call that another process's came between, and signals.
        if not call.startswith(("<", "-", "+")):
            counts[process == sender][call.split("(", 1)[0]] += 1
    print("sender:", dict(counts[True]), "server:", dict(counts[False]))
    if counts[True] != {"sendmsg": 1000}:
        sys.exit("a set is more than one call of the sender's")
    if counts[False]["recvmsg"] < 1000 or sum(counts[False].values()) > 2100:
        sys.exit("a set is more than two calls of the server's")


if __name__ == "__main__":
    main()

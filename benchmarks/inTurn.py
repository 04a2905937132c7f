#!/usr/bin/env python3
"""inTurn.py RUNS NAME=COMMAND...: runs the commands in turn, so that a busy moment hits them all, and prints for each
the minimum and the median of the elapsed time and of its processor time, in milliseconds. A first round does not count."""
import resource
import statistics
import subprocess
import sys
import time


def run(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    subprocess.run(command.split(), check=True, stdout=subprocess.DEVNULL)
    elapsed = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return elapsed * 1e3, (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime) * 1e3


commands = dict(argument.split("=", 1) for argument in sys.argv[2:])
rounds = [{name: run(command) for name, command in commands.items()} for _ in range(int(sys.argv[1]) + 1)][1:]
for name in commands:
    for kind, what in enumerate(("elapsed", "processor")):
        times = [one[name][kind] for one in rounds]
        print(f"{name:12} {what:10} minimum {min(times):7.1f}   median {statistics.median(times):7.1f}")

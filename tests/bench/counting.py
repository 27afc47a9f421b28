# SPDX-License-Identifier: Apache-2.0
"""Counts what one operation of a program costs, from outside: measured.hpp says
how a program marks it. Each command runs in an empty directory of its own."""

import os
import re
import statistics
import subprocess
import tempfile
from pathlib import Path

CALL = re.compile(r"^(\w+)\((.*)\)\s+= (-?\d+)", re.DOTALL)
WRITES = {"write", "pwrite64", "writev", "pwritev", "pwritev2", "sendfile",
          "copy_file_range", "splice"}
SYNCS = {"fsync", "fdatasync", "msync", "sync", "syncfs", "sync_file_range"}


def run(command, directory):
    # Meson's tests have the allocator fill what it frees, which takes its time.
    environment = {**os.environ, "MALLOC_PERTURB_": "0"}
    done = subprocess.run(command, cwd=directory, env=environment,
                          capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(f"{command}: {done.stdout}{done.stderr}")
    return done.stdout


def instructions(command, wrapper=(), below=None):
    """What is executed in user space, the C library included; the median where
    it is repeated. The wrapper is a command that runs another one."""
    with tempfile.TemporaryDirectory(dir=below) as directory:
        run([*wrapper, "valgrind", "--tool=callgrind",
             "--toggle-collect=measuredOperation",
             "--dump-after=measuredOperation",
             f"--callgrind-out-file={directory}/callgrind", *command],
            directory)
        dumps = [path.read_text(encoding="utf-8")
                 for path in Path(directory).glob("callgrind.*")]
    totals = [int(re.search(r"^totals: (\d+)", dump, re.MULTILINE)[1])
              for dump in dumps]
    # The last dump is of the time after the operation.
    return statistics.median_low(total for total in totals if total > 0)


class Calls:
    """System calls, as strace prints them with -y."""

    def __init__(self, lines):
        self.calls = [match.groups() for match in map(CALL.match, lines)
                      if match]

    def __len__(self):
        return len(self.calls)

    def writes(self):
        """(path, arguments, bytes) of each write to a file."""
        for name, arguments, result in self.calls:
            file = re.match(r"\d+<(/[^>]*)>", arguments)
            if name in WRITES and file and int(result) > 0:
                yield file[1], arguments, int(result)

    def written(self):
        return sum(count for _, _, count in self.writes())

    def syncs(self):
        """Writes to a file that was opened with O_SYNC or O_DSYNC included."""
        descriptors = {
            result for name, arguments, result in self.calls
            if name == "openat" and re.search(r"O_D?SYNC", arguments)}
        return (sum(name in SYNCS for name, _, _ in self.calls)
                + sum(arguments.split("<")[0] in descriptors
                      for _, arguments, _ in self.writes()))


def system_calls(command, wrapper=(), below=None):
    """Those between two marks; the median where it is repeated."""
    with tempfile.TemporaryDirectory(dir=below) as directory:
        run([*wrapper, "strace", "-y", "-o", f"{directory}/trace", *command],
            directory)
        text = Path(f"{directory}/trace").read_text(encoding="utf-8")
    runs = re.findall(
        r'"/operation begins"[^\n]*\n(.*?)^[^\n]*"/operation ends"', text,
        re.DOTALL | re.MULTILINE)
    calls = sorted((Calls(lines.splitlines()) for lines in runs), key=len)
    return calls[(len(calls) - 1) // 2]

#!/usr/bin/python3
"""Plays a session with gdb and compares what gdb prints with what is expected.

    session.py [--write-core FILE | --core FILE] GDB PROGRAM SAFE_PATH SESSION

SESSION holds commands, as "(gdb) print x", with the expected output behind each; blank lines do not
count. In a Markdown document it is the blocks of code that begin with a command. The commands are
given when PROGRAM has come to gallery::is_open, or to the core file that was written there.
SAFE_PATH is where gdb may load scripts from.
"""

import argparse
import difflib
import itertools
import os
import re
import subprocess
import sys

PROMPT = "(gdb) "
INDENTATION = "    "


def read_session(path):
    """The lines of the session."""
    with open(path, encoding="ascii") as file:
        lines = file.read().splitlines()
    if path.endswith(".md"):
        blocks = itertools.groupby(lines, lambda line: line.startswith(INDENTATION))
        blocks = [[line[len(INDENTATION) :] for line in block] for code, block in blocks if code]
        lines = [line for block in blocks if block[0].startswith(PROMPT) for line in block]
    return without_prelude(lines)


def without_prelude(lines):
    """The lines from the first command on; addresses, which differ from run to run, are dots."""
    lines = [line.rstrip() for line in lines if line.strip()]
    start = next((i for i, line in enumerate(lines) if line.startswith(PROMPT)), len(lines))
    return [re.sub(r"address 0x[0-9a-f]+", "address 0x...", line) for line in lines[start:]]


def play(arguments, commands):
    if arguments.core:
        start = [f"core-file {arguments.core}"]
    else:
        start = ["break gallery::is_open", "run"]
    if arguments.write_core:
        start.append(f"generate-core-file {arguments.write_core}")
    for command in commands:
        start += [f"echo {PROMPT}{command}\\n", command]
    call = [arguments.gdb, "-nx", "-batch"]
    call += ["-iex", f"add-auto-load-safe-path {arguments.safe_path}", "-iex", "set width 0"]
    call += [part for command in start for part in ("-ex", command)]
    run = subprocess.run(
        [*call, arguments.program],
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        timeout=120,
        check=False,
        env={**os.environ, "LC_ALL": "C", "DEBUGINFOD_URLS": ""},
    )
    return run.stdout.decode("ascii", "backslashreplace")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--write-core")
    parser.add_argument("--core")
    for name in ("gdb", "program", "safe_path", "session"):
        parser.add_argument(name)
    arguments = parser.parse_args()

    expected = read_session(arguments.session)
    commands = [line[len(PROMPT) :] for line in expected if line.startswith(PROMPT)]
    output = play(arguments, commands)
    printed = without_prelude(output.splitlines())
    difference = list(difflib.unified_diff(expected, printed, "expected", "printed", lineterm=""))
    if difference or not commands:
        print("\n".join(difference))
        sys.exit(f"All that gdb said:\n{output}")
    print(f"{len(commands)} commands, as expected")


if __name__ == "__main__":
    main()

#!/usr/bin/python3
"""Reads the list of mutations, and makes one of them.

    mutate.py                  prints a line for each: number, source, test programs
    mutate.py NUMBER FOLDER    changes the source of one in the tree that lies in FOLDER
    mutate.py --check FOLDER   changes nothing; fails unless each could be made there
"""

import pathlib
import sys
from dataclasses import dataclass, field

LIST = pathlib.Path(__file__).with_name("mutations.txt")


@dataclass
class Mutation:
    """Lines of a source, and what they become."""

    source: str
    tests: list
    before: list = field(default_factory=list)
    after: list = field(default_factory=list)

    def apply(self, text):
        """The text of the source with the lines changed."""
        before, after = ("".join(f"\n{line}" for line in lines) + "\n"
                         for lines in (self.before, self.after))
        if before == after or text.count(before) != 1:
            sys.exit(f"{self.source}: what is to be changed does not stand there exactly once:"
                     f"{before}")
        return text.replace(before, after)


def read_list():
    """The mutations by their numbers."""
    mutations = {}
    for line in LIST.read_text(encoding="ascii").splitlines():
        mark, text = line[:1], line[1:]
        if line.startswith("== "):
            number, source, *tests = line.split()[1:]
            if int(number) != len(mutations) + 1 or not tests:
                sys.exit(f"{LIST.name}: not number {len(mutations) + 1} with its tests: {line}")
            mutation = Mutation(f"SharedLibraries/{source}", tests)
            mutations[int(number)] = mutation
        if mark in ("-", " "):
            mutation.before.append(text)
        if mark in ("+", " "):
            mutation.after.append(text)
    return mutations


def main():
    mutations = read_list()
    if len(sys.argv) == 1:
        for number, mutation in mutations.items():
            print(number, mutation.source, *mutation.tests)
        return
    what, folder = sys.argv[1:]
    for mutation in mutations.values() if what == "--check" else [mutations[int(what)]]:
        path = pathlib.Path(folder, mutation.source)
        changed = mutation.apply(path.read_text(encoding="ascii"))
        if what != "--check":
            path.write_text(changed, encoding="ascii")


if __name__ == "__main__":
    main()

"""Run by gdb: changes bytes of objects at random and has them shown. The printers may find that
they are corrupt or show something else; they must not fail, nor print without bounds.
"""

import itertools
import random
import traceback

import gdb

OBJECTS = (
    "greeting",
    "updated",
    "bytes",
    "stream",
    "first",
    "second",
    "numbers",
    "fields",
    "tabbed",
    "addresses",
    "cp_850",
    "version",
    "at_night",
    "noon",
    "holder",
    "closed_signature",
)
ROUNDS = 150
MOST = 100_000  # characters


def damaged(data):
    """The bytes with a few of them, or a word, replaced."""
    data = bytearray(data)
    if random.random() < 0.5:
        for _ in range(random.randint(1, 4)):
            data[random.randrange(len(data))] = random.randrange(256)
    else:
        place = random.randrange(len(data) // 4) * 4
        word = random.choice((0, 1, 2, 0x7FFFFFFF, 0xFFFFFFFF, random.getrandbits(32)))
        data[place : place + 4] = word.to_bytes(4, "little")
    return bytes(data)


def show(value):
    """Shows a value twice: once with what would be raised, and once as gdb does."""
    printer = gdb.default_visualizer(value)
    if printer is not None:
        text = printer.to_string()
        for name, part in itertools.islice(printer.children(), 300):
            if not isinstance(name, str) or not isinstance(part, (str, gdb.Value)):
                raise TypeError(f"a part is {name!r}: {part!r}")
        if not isinstance(text, str):
            raise TypeError(f"the text is {text!r}")
    text = value.format_string()
    if len(text) > MOST:
        raise ValueError(f"{len(text)} characters")
    return text


def main():
    random.seed(1)
    corrupt = shown = 0
    for name in OBJECTS:
        value = gdb.parse_and_eval(f"gallery::{name}")
        memory = gdb.selected_inferior().read_memory(value.address, value.type.sizeof)
        for _ in range(ROUNDS):
            data = damaged(memory)
            try:
                text = show(gdb.Value(data, value.type))
            except Exception:
                print(f"{name} with the bytes {data.hex()}:")
                raise
            shown += 1
            corrupt += "<corrupt" in text
    print(f"{shown} objects shown, {corrupt} of them as corrupt")
    return 0 if 0 < corrupt < shown else 1


try:
    status = main()
except Exception:
    traceback.print_exc()
    status = 1
gdb.execute(f"quit {status}")

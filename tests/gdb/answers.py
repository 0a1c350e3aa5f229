"""Run by gdb: holds what the printers show against what the library says of the same objects."""

import traceback

import gdb

NO_TIME = "0000-00-00T00:00:00.00+00:00"


def schedule(shown):
    return shown


def time(shown):
    return shown.removesuffix(" (not valid)") if shown.startswith(NO_TIME) else shown


def dump(shown):
    return shown.partition("\n")[2] + "\n"


def disagreements(name, answer):
    """What is shown of the elements of an array otherwise than the library says it."""
    elements = gdb.parse_and_eval(f"gallery::{name}")["_M_elems"]
    first, last = elements.type.strip_typedefs().range()
    texts = set()
    for i in range(first, last + 1):
        said = elements[i]["text"].string("latin-1")
        shown = gdb.default_visualizer(elements[i]["object"]).to_string()
        if answer(shown) != said:
            yield f"{name}[{i}] is shown as\n{shown}\nand the library says\n{said}"
        texts.add(said)
    print(f"{name}: {last + 1 - first} compared, {len(texts)} texts")
    if len(texts) < 100:
        yield f"{name}: hardly anything to compare"


def main():
    gdb.execute("set print elements unlimited")
    found = [
        *disagreements("schedules", schedule),
        *disagreements("times", time),
        *disagreements("dumps", dump),
    ]
    print("\n".join(found))
    return 1 if found else 0


try:
    status = main()
except Exception:
    traceback.print_exc()
    status = 1
gdb.execute(f"quit {status}")

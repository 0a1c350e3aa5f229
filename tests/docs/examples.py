#!/usr/bin/env python3
"""Takes the code blocks out of the guides and other documents, and holds what they print against
what the documents show.

    examples.py split FOLDER DOCUMENT...
        Writes the C++ sources of the DOCUMENTs' examples to FOLDER: statements.cpp, whose program
        runs the statements of the document that is its argument, and one source for each complete
        program. Prints "program NAME SOURCE" for each of them and "tool DOCUMENT" for each document
        with commands that run nuriccl-tool.
    examples.py run PROGRAMS COMMANDS SCRATCH DOCUMENT...
        Runs the examples of the DOCUMENTs in SCRATCH, a folder that is made anew, and compares what
        they print. PROGRAMS is the folder of what was built of the sources, COMMANDS that of
        programs that commands may name beside those of the system.

Above each block stands a comment that says what it is, but for C++:

    ```cpp                      statements that assert what they show, or, with "int main" in it, a
                                program, which is compiled by itself
    <!-- output -->, ```text    all that the program or the commands in the block before print
    <!-- run -->, ```sh         commands; each must succeed
    <!-- excerpt: PATH -->      lines as they stand in this file of the tree; "..." on a line of its
                                own stands for any others
    <!-- not run: REASON -->    nothing of that
    ```                         a block without a language is a picture

Programs and commands of a document run one after the other in one folder. What shows no output must
print nothing.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parents[2]
MARKER = re.compile(r"<!-- *(output|run|excerpt|not run)(?:: *(.*?))? *-->$")
SYSTEM_HEADERS = """algorithm cassert cerrno cstdint cstring fstream iostream iterator list locale
    map sstream stdexcept string utility vector""".split()


class Fault(Exception):
    """What is wrong with a document; it begins with the place."""


@dataclass
class Block:
    document: pathlib.Path
    line: int  # of the first line inside
    kind: str  # statements, program, output, run, excerpt, not run, picture
    text: str
    argument: str = ""
    program: int = 0  # which program of the document it is, from 1 on

    def fault(self, message):
        return Fault(f"{self.document}:{self.line - 1}: {message}")

    def name(self):
        """Names the program of this block."""
        return f"{document_name(self.document)}_{self.program}"


def document_name(document):
    """The document's path in the tree as an identifier."""
    path = pathlib.Path(document).resolve()
    path = path.relative_to(ROOT) if path.is_relative_to(ROOT) else pathlib.Path(path.name)
    return re.sub(r"\W", "_", str(path.with_suffix("")).removeprefix("docs/"))


def kind_of(language, marker, argument, text):
    """The kind of a block, or None when its comment does not fit its language."""
    if marker in ("not run", "excerpt"):
        return marker if argument else None
    if marker is None and language == "":
        return "picture"
    if marker is None and language == "cpp":
        return "program" if "int main" in text else "statements"
    if (marker, language) in (("output", "text"), ("run", "sh")):
        return marker
    return None


def read_blocks(document):
    """The blocks of a document in their order."""
    blocks = []
    programs = 0
    marker = argument = None
    fence = None  # line number, language and lines of the block that is open
    lines = pathlib.Path(document).read_text(encoding="utf-8").splitlines()

    def stop(number, message):
        raise Fault(f"{document}:{number}: {message}")

    for number, line in enumerate(lines, 1):
        if fence:
            if line != "```":
                fence[2].append(line + "\n")
                continue
            start, language, text = fence[0], fence[1], "".join(fence[2])
            kind = kind_of(language, marker, argument, text)
            if kind is None:
                stop(start, f"no comment above this block of '{language}' says what it is for"
                     if marker is None else f"a block of '{language}' cannot be '{marker}'")
            programs += kind == "program"
            blocks.append(Block(pathlib.Path(document), start + 1, kind, text, argument or "",
                                programs))
            fence = marker = argument = None
        elif line.startswith("```"):
            fence = (number, line[3:], [])
        elif re.match(r"\s*(```|~~~)", line):
            stop(number, "blocks start at the margin, with three backquotes")
        elif match := MARKER.match(line):
            if marker:
                stop(number, "there is no block for the comment before this one")
            marker, argument = match.groups()
        elif marker and line.strip():
            stop(number, f"a block has to follow the comment '{marker}'")
    if fence:
        stop(fence[0], "this block has no end")
    if marker:
        stop(len(lines), f"a block has to follow the comment '{marker}'")
    return blocks


def examples(blocks):
    """Pairs of a block that is run and what it has to print."""
    pairs = []
    takes_output = False  # whether the last pair has not got any yet
    for block in blocks:
        if block.kind == "output":
            if not takes_output:
                raise block.fault("no program and no commands come before this output")
            pairs[-1] = (pairs[-1][0], block.text)
        elif block.kind in ("program", "run"):
            pairs.append((block, ""))
        elif block.kind == "excerpt":
            check_excerpt(block)
        takes_output = block.kind in ("program", "run")
    return pairs


def check_excerpt(block):
    path = ROOT / block.argument
    if not path.is_file():
        raise block.fault(f"there is no file {block.argument}")
    text = "\n" + path.read_text(encoding="utf-8")
    position = 0
    for part in re.split(r"^\.\.\.\n", block.text, flags=re.MULTILINE):
        position = text.find("\n" + part, position) if part else -1
        if position < 0:
            raise block.fault(f"{block.argument} has no such lines")
        position += len(part)


def write_if_new(path, text):
    """Leaves a file alone that is right already, so that it is not compiled again."""
    if not path.exists() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")


def statements_source(blocks):
    """The program of the statements in all documents."""
    includes = sorted(path.relative_to(path.parents[1])
                      for path in ROOT.glob("SharedLibraries/*/include/*/*.hpp"))
    source = [f"#include <{header}>\n" for header in [*includes, *SYSTEM_HEADERS]]
    calls = []
    for number, block in enumerate(blocks, 1):
        source.append(f'\nstatic void statements_{number}() {{\n'
                      f'#line {block.line} "{block.document}"\n{block.text}}}\n')
        calls.append(f'    if (document == "{document_name(block.document)}") {{\n'
                     f"        statements_{number}();\n    }}\n")
    source.append("\nint main(int count, char** arguments) {\n"
                  '    const std::string document = count == 2 ? arguments[1] : "";\n')
    return "".join([*source, *calls, "}\n"])


def split(folder, documents):
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    statements = []
    for document in documents:
        blocks = read_blocks(document)
        statements += [block for block in blocks if block.kind == "statements"]
        pairs = examples(blocks)
        for block, _ in pairs:
            if block.kind == "program":
                source = folder / f"{block.name()}.cpp"
                write_if_new(source, f'#line {block.line} "{document}"\n{block.text}')
                print("program", block.name(), source)
        if any(block.kind == "run" and "nuriccl-tool" in block.text for block, _ in pairs):
            print("tool", document)
    write_if_new(folder / "statements.cpp", statements_source(statements))


def environment(home, commands):
    """The same for everybody who runs the suite."""
    kept = {name: value for name, value in os.environ.items()
            if name != "LANG" and not name.startswith("LC_")}
    return {**kept, "LC_ALL": "C.UTF-8", "TZ": "UTC0", "HOME": str(home),
            "PATH": f"{commands}:{os.environ['PATH']}"}


def run_example(block, expected, command, **where):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False,
                          timeout=120, **where)
    printed = done.stdout.decode("utf-8", "backslashreplace")
    if done.returncode != 0:
        raise block.fault(f"ends with status {done.returncode}\n{printed}"
                          f"{done.stderr.decode('utf-8', 'backslashreplace')}")
    if printed != expected:
        raise block.fault(f"prints\n{printed}and not\n{expected}")


def run(programs, commands, scratch, documents):
    """Returns the number of examples that hold."""
    scratch, programs = pathlib.Path(scratch).resolve(), pathlib.Path(programs).resolve()
    shutil.rmtree(scratch, ignore_errors=True)
    count = 0
    for document in documents:
        folder = scratch / document_name(document)
        folder.mkdir(parents=True)
        where = {"cwd": folder, "env": environment(folder, commands)}
        blocks = read_blocks(document)
        statements = [block for block in blocks if block.kind == "statements"]
        if statements:
            run_example(statements[0], "", [programs / "docs_statements", document_name(document)],
                        **where)
        pairs = examples(blocks)
        for block, expected in pairs:
            command = ["bash", "-euo", "pipefail", "-c", block.text]
            if block.kind == "program":
                command = [programs / f"docs_{block.name()}"]
            run_example(block, expected, command, **where)
        count += len(statements) + len(pairs) + sum(block.kind == "excerpt" for block in blocks)
    return count


def main(arguments):
    try:
        if len(arguments) > 3 and arguments[1] == "split":
            split(arguments[2], arguments[3:])
        elif len(arguments) > 5 and arguments[1] == "run":
            print(run(*arguments[2:5], arguments[5:]), "examples hold")
        else:
            sys.exit(__doc__)
    except Fault as fault:
        sys.exit(str(fault))


if __name__ == "__main__":
    main(sys.argv)

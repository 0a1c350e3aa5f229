#!/usr/bin/env python3
"""Usage: markdown.py DOCUMENT

Doxygen's filter for Markdown: gives each page and each heading of DOCUMENT a name, and makes the
links between documents, which lead to files, lead to these names. Lines keep their numbers, so that
warnings name the right ones.
"""

import os
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FRONT = "docs/site/front.md"
LINK = re.compile(r"(!?)\[((?:[^\]`]|`[^`]*`)*)\]\(([^)\s]+)\)")


def page(path):
    """The name of the page that a document becomes; it is that of its file, too."""
    path = pathlib.Path(path)
    return ("guide_" if path.parent.name == "guides" else "page_") + path.stem


def anchor(heading):
    """The part of a link behind "#" that leads to a heading."""
    return re.sub(r"[^a-z0-9 _-]", "", heading.lower()).replace(" ", "-")


def guides():
    """A table of the guides, with what each family is for."""
    rows = ["| guide | for | header |", "|---|---|---|"]
    for path in sorted((ROOT / "docs/guides").glob("*.md"), key=lambda path: path.stem.lower()):
        title = path.read_text(encoding="utf-8").partition("\n")[0]
        family, _, purpose = title.removeprefix("# ").partition(": ")
        rows.append(f'| @subpage {page(path)} "{family}" | {purpose} | nuriccl/{family}.hpp |')
    return "\n".join(rows)


def target(document, link):
    """Where a link leads to on the site; None when that is not a part of it."""
    if re.match(r"[a-z]+:", link):
        return link
    file, _, heading = link.partition("#")
    path = os.path.normpath(document.parent / file) if file else str(document)
    if path.endswith(".hpp") and "/include/" in path:
        return f"@ref {path.partition('/include/')[2]}"
    if not path.endswith(".md") or path.startswith(("docs/man/", "..")):
        return None
    return f"@ref {page(path)}{'_' + heading if heading else ''}"


def convert_link(document, match):
    image, text, link = match.groups()
    if image:
        return f"![{text}]({os.path.basename(link)})"
    leads_to = target(document, link)
    return text if leads_to is None else f"[{text}]({leads_to})"


def convert_prose(document, line, titled):
    if line.strip() == "<!-- guides -->":
        return guides()
    if match := re.match(r"(#+) (.*)", line):
        if not titled:
            return f"{line} {{#{page(document)}}}"
        # Doxygen takes no name from a heading that follows a list.
        command = "sub" * (len(match[1]) - 2) + "section"
        return f"@{command} {page(document)}_{anchor(match[2])} {match[2]}"
    # Code in backquotes has no links.
    parts = re.split(r"(?<!\[)(`[^`]*`)(?!\])", line)
    return "".join(part if part.startswith("`") else
                   LINK.sub(lambda match: convert_link(document, match), part) for part in parts)


def convert(document):
    lines = []
    code = titled = False
    for line in (ROOT / document).read_text(encoding="utf-8").splitlines():
        if line.startswith("```"):
            code = not code
            # A block without a language is a picture; Doxygen would take it for C++.
            lines.append("```unparsed" if code and line == "```" else line)
        elif code:
            lines.append(line)
        else:
            lines.append(convert_prose(document, line, titled))
            titled = titled or line.startswith("# ")
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    sys.stdout.write(convert(pathlib.Path(os.path.relpath(sys.argv[1], ROOT))))

#!/usr/bin/env python3
"""Usage: markdown.py DOCUMENT

Doxygen's filter for Markdown. What Doxygen makes of Markdown is not what GitHub makes of it (strong
text that begins with code, for one), so it gets HTML, made by lowdown, and only the headings and
the code blocks as they are. Links between documents, which lead to files, lead to pages of the site
here.
"""

import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FRONT = "docs/site/front.md"
LINK = re.compile(r'(<(?:a href|img src)=")([^"]*)')


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


def header_page(path):
    """The page that Doxygen makes of a header; where two have one name, folders stand in front."""
    name = os.path.basename(path)
    if len(list(ROOT.glob(f"SharedLibraries/*/include/*/{name}"))) > 1:
        name = "/".join(pathlib.Path(path).parts[-4:])
    return name.replace("_", "__").replace("/", "_2").replace(".", "_8") + ".html"


def target(document, link):
    """Where a link of a document leads to on the site; None when that is not a part of it."""
    if re.match(r"[a-z]+:", link):
        return link
    file, _, heading = link.partition("#")
    path = os.path.normpath(document.parent / file) if file else str(document)
    name = os.path.basename(path)
    if path.endswith(".svg"):
        return name
    if path == FRONT:
        return "index.html"
    if path.endswith(".hpp") and "/include/" in path:
        return header_page(path)
    if not path.endswith(".md") or path.startswith(("docs/man/", "..")):
        return None
    return f"{page(path)}.html{f'#{page(path)}_{heading}' if heading else ''}"


def html(document, texts):
    """Texts of Markdown without headings and code blocks as HTML."""
    between = "END-OF-PIECE"
    whole = subprocess.run(["lowdown", "-Thtml", "--out-no-smarty", "--parse-no-super"],
                           input=f"\n\n{between}\n\n".join(texts), capture_output=True,
                           check=True, encoding="utf-8").stdout

    def convert_link(match):
        leads_to = target(document, match[2])
        return f'<span title="{match[2]}' if leads_to is None else match[1] + leads_to

    whole = LINK.sub(convert_link, whole)
    whole = re.sub(r"(<span title=(?:(?!</a>).)*)</a>", r"\1</span>", whole, flags=re.DOTALL)
    whole = whole.replace("<table>", '<table class="markdownTable">')
    return whole.split(f"<p>{between}</p>")


def pieces(lines):
    """Pairs of a kind (prose, heading, code, guides) and the lines."""
    prose, code = [], None
    for line in lines:
        kind = "heading" if re.match("#+ ", line) else "guides" if "<!-- guides -->" in line else ""
        if code is not None:
            code.append(line)
            if line == "```":
                yield "code", code
                code = None
        elif kind or line.startswith("```"):
            yield "prose", prose
            prose = []
            if kind:
                yield kind, [line]
            else:
                code = [line]
        elif not re.match("<!--.*-->$", line):
            prose.append(line)
    yield "prose", prose


def convert(document):
    text = []
    titled = False
    found = [(kind, lines) for kind, lines in
             pieces((ROOT / document).read_text(encoding="utf-8").splitlines())
             if kind != "prose" or any(lines)]
    prose = iter(html(document, ["\n".join(lines) for kind, lines in found if kind == "prose"]))
    for kind, lines in found:
        if kind == "prose":
            text.append(f"@htmlonly[block]\n{next(prose).strip()}\n@endhtmlonly\n\n")
        elif kind == "guides":
            text.append(guides() + "\n\n")
        elif kind == "code":
            # A block without a language is a picture; Doxygen would take it for C++.
            lines[0] = "```unparsed" if lines[0] == "```" else lines[0]
            text.append("\n".join(lines) + "\n\n")
        elif not titled:
            titled = True
            # The front page has the name of the whole.
            title = "# README" if document.name == "README.md" else lines[0]
            text.append(f"{title} {{#{page(document)}}}\n\n")
        else:
            marks, _, heading = lines[0].partition(" ")
            command = "sub" * (len(marks) - 2) + "section"
            text.append(f"@{command} {page(document)}_{anchor(heading)} {heading}\n\n")
    return "".join(text)


if __name__ == "__main__":
    sys.stdout.write(convert(pathlib.Path(os.path.relpath(sys.argv[1], ROOT))))

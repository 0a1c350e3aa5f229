"""Tests of examples.py: what it takes out of documents, and what it refuses."""

import contextlib
import io
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import examples  # pylint: disable=wrong-import-position

FIXTURES = pathlib.Path(__file__).parent / "fixtures"


class Documents(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.document = self.folder / "guide.md"

    def read(self, text):
        self.document.write_text(text, encoding="utf-8")
        return examples.read_blocks(self.document)

    def run_document(self, text):
        self.read(text)
        return examples.run(self.folder, self.folder, self.folder / "scratch", [self.document])

    def assert_refused(self, words, text, act=None):
        with self.assertRaisesRegex(examples.Fault, words):
            (act or self.read)(text)


class Reading(Documents):
    def test_kinds(self):
        blocks = self.read((FIXTURES / "kinds.md").read_text(encoding="utf-8"))
        self.assertEqual([block.kind for block in blocks],
                         ["statements", "program", "output", "run", "output", "not run", "picture",
                          "excerpt"])
        self.assertEqual(blocks[0].text, "assert(1 + 1 == 2);\n")

    def test_statements_are_no_empty_promise(self):
        self.assertEqual(self.read("no blocks\n"), [])

    def test_block_without_comment(self):
        self.assert_refused(r"guide.md:2: no comment above this block of 'sh'",
                            "text\n```sh\nls\n```\n")
        self.assert_refused("no comment above", "```text\nx\n```\n")

    def test_comment_that_does_not_fit(self):
        self.assert_refused("of 'cpp' cannot be 'output'", "<!-- output -->\n```cpp\n;\n```\n")
        self.assert_refused("of 'text' cannot be 'run'", "<!-- run -->\n```text\n;\n```\n")

    def test_not_run_needs_a_reason(self):
        self.assert_refused("cannot be 'not run'", "<!-- not run -->\n```sh\nls\n```\n")

    def test_misspelt_comment(self):
        self.assert_refused("no comment above", "<!-- outptu -->\n```text\nx\n```\n")

    def test_unterminated_block(self):
        self.assert_refused("guide.md:1: this block has no end", "```cpp\nint x;\n")

    def test_comment_without_a_block(self):
        self.assert_refused("guide.md:2: a block has to follow", "<!-- output -->\nprose\n")
        self.assert_refused("a block has to follow", "<!-- run -->\n")

    def test_fences_that_would_be_overlooked(self):
        self.assert_refused("start at the margin", "- item\n  ```cpp\n  ;\n  ```\n")
        self.assert_refused("start at the margin", "~~~\n;\n~~~\n")

    def test_output_of_nothing(self):
        self.assert_refused("no program and no commands", "<!-- output -->\n```text\nx\n```\n",
                            lambda text: examples.examples(self.read(text)))

    def test_excerpt(self):
        excerpt = "<!-- excerpt: tests/docs/fixtures/kinds.md -->\n```text\n{}\n```\n"
        take = lambda text: examples.examples(self.read(text))
        self.assertEqual(take(excerpt.format("assert(1 + 1 == 2);")), [])
        self.assertEqual(take(excerpt.format("assert(1 + 1 == 2);\n...\nIt prints:")), [])
        self.assert_refused("no such lines",
                            excerpt.format("It prints:\n...\nassert(1 + 1 == 2);"), take)
        self.assert_refused("no such lines", excerpt.format("...\n..."), take)
        self.assert_refused("has no such lines", excerpt.format("1 + 1 == 2"), take)
        self.assert_refused("there is no file", excerpt.replace("kinds", "none"), take)


class Splitting(Documents):
    def split(self, text):
        self.read(text)
        listing = io.StringIO()
        with contextlib.redirect_stdout(listing):
            examples.split(self.folder / "out", [self.document])
        return listing.getvalue().split()

    def test_sources_name_the_line_of_the_document(self):
        words = self.split("first\n```cpp\nint main() {}\n```\n```cpp\nassert(true);\n```\n")
        self.assertEqual(words[:2], ["program", "guide_1"])
        self.assertEqual(pathlib.Path(words[2]).read_text(encoding="utf-8"),
                         f'#line 3 "{self.document}"\nint main() {{}}\n')
        statements = (self.folder / "out/statements.cpp").read_text(encoding="utf-8")
        self.assertIn(f'#line 6 "{self.document}"\nassert(true);\n', statements)
        self.assertIn('document == "guide"', statements)
        self.assertIn("#include <nuriccl/string.hpp>", statements)

    def test_use_of_the_tool_is_announced(self):
        self.assertEqual(self.split("<!-- run -->\n```sh\ntrue\n```\n"), [])
        self.assertEqual(self.split("<!-- run -->\n```sh\nnuriccl-tool version\n```\n"),
                         ["tool", str(self.document)])


class Running(Documents):
    COMMANDS = "<!-- run -->\n```sh\n{}\n```\n<!-- output -->\n```text\n{}\n```\n"

    def test_commands(self):
        self.assertEqual(self.run_document(self.COMMANDS.format("echo a\necho b", "a\nb")), 1)

    def test_commands_share_a_folder(self):
        text = "<!-- run -->\n```sh\necho x > file\n```\n" + self.COMMANDS.format("cat file", "x")
        self.assertEqual(self.run_document(text), 2)

    def test_other_output(self):
        self.assert_refused("guide.md:2: prints\na\nand not\nb\n",
                            self.COMMANDS.format("echo a", "b"), self.run_document)

    def test_output_that_is_longer_or_not_shown(self):
        self.assert_refused("prints", self.COMMANDS.format("printf 'a\\n\\n'", "a"),
                            self.run_document)
        self.assert_refused("prints", "<!-- run -->\n```sh\necho a\n```\n", self.run_document)

    def test_failing_commands(self):
        self.assert_refused("status 3", self.COMMANDS.format("(exit 3)\necho a", "a"),
                            self.run_document)

    def test_program(self):
        text = "```cpp\nint main() {}\n```\n<!-- output -->\n```text\nhi\n```\n"
        program = self.folder / "docs_guide_1"
        program.write_text("#!/bin/sh\necho hi\n", encoding="utf-8")
        program.chmod(0o755)
        self.assertEqual(self.run_document(text), 1)
        self.assert_refused("prints\nhi\nand not\nho", text.replace("hi", "ho"), self.run_document)

    def test_statements(self):
        program = self.folder / "docs_statements"
        program.write_text('#!/bin/sh\ntest "$1" = guide\n', encoding="utf-8")
        program.chmod(0o755)
        text = "```cpp\nassert(true);\n```\n"
        self.assertEqual(self.run_document(text), 1)
        program.write_text("#!/bin/sh\nexit 134\n", encoding="utf-8")
        self.assert_refused("status 134", text, self.run_document)


if __name__ == "__main__":
    unittest.main()

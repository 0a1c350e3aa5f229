"""Holds nuriccl-tool against the system's own tools, its help and its rules.

Usage: tool_test.py PROGRAM SOURCE_FOLDER VERSION CASE

CASE is a class below. Random data come from a seed that is printed; NURICCL_TEST_SEED sets it.
"""

import base64
import collections
import contextlib
import csv
import datetime
import functools
import io
import itertools
import os
import posixpath
import random
import re
import signal
import string
import subprocess
import sys
import tempfile
import time
import unittest
import xml.sax.saxutils
import zlib

PROGRAM, SOURCE, VERSION = sys.argv[1:4]
SEED = int(os.environ.get("NURICCL_TEST_SEED", random.SystemRandom().randrange(2**32)))
ENVIRONMENT = dict(
    os.environ, LC_ALL="C", TZ="UTC0", PATH=os.path.dirname(PROGRAM) + ":" + os.environ["PATH"])

Outcome = collections.namedtuple("Outcome", "status out err")


# With the address sanitizer the look for leaks takes a process twice as long as all else.
RUNS_LOOKED_THROUGH_FOR_LEAKS = 40
runs = itertools.count(1)


def run(arguments, data=b"", **options):
    if next(runs) > RUNS_LOOKED_THROUGH_FOR_LEAKS:
        ENVIRONMENT["ASAN_OPTIONS"] = "detect_leaks=0"
    done = subprocess.run(arguments, input=data, capture_output=True, env=ENVIRONMENT, **options)
    return Outcome(done.returncode, done.stdout, done.stderr.decode())


def section(text, name):
    """The lines of a section of help, up to the next empty one."""
    lines = text.partition("\n" + name + ":\n")[2].split("\n\n")[0].splitlines()
    return [line[2:] for line in lines if line.startswith("  ")]


@functools.lru_cache(maxsize=None)
def help_of(*command):
    return run([PROGRAM, *command, "--help"]).out.decode()


def commands():
    return [line.split()[0] for line in section(help_of(), "Commands")]


class ToolTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.random = random.Random(SEED)
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name

    def tool(self, *arguments, data=b"", **options):
        return run([PROGRAM, *arguments], data, cwd=self.folder, **options)

    def output(self, *arguments, data=b""):
        """What a call prints that succeeds without a word."""
        outcome = self.tool(*arguments, data=data)
        self.assertEqual((0, ""), (outcome.status, outcome.err), arguments)
        return outcome.out

    def lines(self, *arguments, data=b""):
        return self.output(*arguments, data=data).decode().splitlines()

    def system(self, *arguments, data=b""):
        outcome = run(arguments, data, cwd=self.folder)
        self.assertEqual(0, outcome.status, outcome)
        return outcome.out

    def assert_fails(self, status, message, *arguments, data=b"", out=b"", **options):
        outcome = self.tool(*arguments, data=data, **options)
        self.assertEqual((status, out), (outcome.status, outcome.out), (arguments, outcome))
        self.assertTrue(outcome.err.startswith("nuriccl-tool " + arguments[0] + ": "), outcome.err)
        self.assertIn(message, outcome.err)

    def write(self, name, data):
        with open(os.path.join(self.folder, name), "wb") as file:
            file.write(data)

    def blocks(self):
        """Data of small sizes, and of sizes around those of what is read at once."""
        for size in [*range(5), 0x10000 - 1, 0x10000, 0x10000 + 1, 1000003]:
            yield self.random.randbytes(size)
        yield b"\0" * 100
        yield bytes(range(256))


class Examples(ToolTest):
    """What each help text shows is what happens."""

    def test_examples(self):
        for command in commands():
            count = 0
            shown = help_of(command).partition("\nExamples:\n")[2]
            # A folder for each command: later examples may use what earlier ones made.
            with self.subTest(command), tempfile.TemporaryDirectory() as folder:
                for example in re.split(r"^  \$ ", shown, flags=re.M)[1:]:
                    line, _, expected = example.partition("\n")
                    outcome = run(["bash", "-c", line], cwd=folder)
                    self.assertEqual(
                        re.sub("^  ", "", expected, flags=re.M), outcome.out.decode(), line)
                    self.assertEqual(0, outcome.status, line)
                    count += 1
                self.assertLess(1, count)


class Base64(ToolTest):
    def test_like_the_system(self):
        for data in self.blocks():
            text = self.output("base64", data=data)
            self.assertEqual(self.system("base64", "-w0", data=data) + b"\n", text)
            self.assertEqual(base64.urlsafe_b64encode(data) + b"\n",
                             self.output("base64", "--url", data=data))
            self.assertEqual(data, self.output("base64", "-d", data=text))
            lines = self.system("base64", data=data)
            self.assertEqual(data, self.output("base64", "--decode", data=lines))

    def test_what_is_no_base64(self):
        for text in [b"a", b"ab", b"abc", b"ab==cd==", b"ab!=", b"abc\0", b"ab cd===", b"="]:
            self.assert_fails(1, "not Base64", "base64", "-d", data=text)

    def test_file(self):
        self.write("-d", b"data")
        self.assertEqual(b"ZGF0YQ==\n", self.output("base64", "--", "-d"))
        self.assertEqual(b"ZGF0YQ==\n", self.output("base64", "-", data=b"data"))


class Zlib(ToolTest):
    def test_like_the_system(self):
        for data in [*self.blocks(), b"\0" * 0x2000000, b"x" * 0x10001]:
            packed = self.output("deflate", data=data)
            self.assertTrue(data == zlib.decompress(packed), len(data))
            level = self.random.randrange(10)
            self.assertTrue(data == self.output("inflate", data=zlib.compress(data, level)))

    def test_levels(self):
        data = bytes(self.random.choices(b"abcdef", k=100000))
        sizes = []
        for level in range(10):
            packed = self.output("deflate", "--level", str(level), data=data)
            self.assertEqual(data, zlib.decompress(packed))
            sizes.append(len(packed))
        self.assertLess(len(data), sizes[0])
        self.assertGreater(sizes[1], sizes[9])
        self.assertEqual(sizes[6], len(self.output("deflate", data=data)))

    def test_what_is_no_block(self):
        packed = zlib.compress(self.random.randbytes(1000))
        gzip = zlib.compressobj(wbits=31)
        broken = bytearray(packed)
        broken[500] ^= 1
        for data in [b"", b"x", packed[:-1], packed[1:], broken,
                     gzip.compress(b"data") + gzip.flush()]:
            self.assert_fails(1, "not in the zlib format", "inflate", data=bytes(data))

    def test_limit(self):
        packed = zlib.compress(b"\0" * 100000)
        self.assertEqual(100000, len(self.output("inflate", "-l", "100000", data=packed)))
        self.assertEqual(100000, len(self.output("inflate", "-l", "4294967295", data=packed)))
        self.assert_fails(1, "more than 99999 bytes", "inflate", "-l", "99999", data=packed)
        for limit in ["0", "-1", "x", "", "1x", "4294967296"]:
            self.assert_fails(2, "is no number from 1 to", "inflate", "--limit=" + limit)
        self.assert_fails(2, "is no number from 0 to 9", "deflate", "-l", "10")


class Sign(ToolTest):
    NAMES = ["plain", "with blank", "back\\slash", "line\nfeed", "return\r", " edge ", "-n"]

    def test_like_the_system(self):
        for data in self.blocks():
            self.assertEqual(self.system("sha1sum", data=data), self.output("sign", data=data))
        self.assertEqual(self.system("sha1sum", "-", data=b"a\0b"),
                         self.output("sign", "-", data=b"a\0b"))

    def write_files(self):
        for name in self.NAMES:
            self.write(name, self.random.randbytes(self.random.randrange(3000000)))

    def test_lists_are_those_of_the_system(self):
        self.write_files()
        own = self.output("sign", "--", *self.NAMES)
        self.assertEqual(self.system("sha1sum", "--", *self.NAMES), own)
        self.write("list", own)
        self.system("sha1sum", "--check", "--strict", "list")

    def test_check(self):
        self.write_files()
        marked = self.system("sha1sum", "--binary", "--", *self.NAMES)
        for signatures in [marked, self.system("sha1sum", "--", *self.NAMES)]:
            answers = self.output("sign", "--check", data=signatures).decode().splitlines()
            self.assertEqual(len(self.NAMES), len(answers))
            self.assertTrue(all(answer.endswith(": OK") for answer in answers), answers)
        self.write("plain", b"other")
        outcome = self.tool("sign", "--check", data=signatures)
        self.assertEqual(1, outcome.status)
        self.assertEqual(1, outcome.out.count(b"FAILED"))
        self.assertIn(b"plain: FAILED\nwith blank: OK\n", outcome.out)

    def test_trouble_is_told_and_not_the_end(self):
        self.write("a", b"abc")
        signature = b"a9993e364706816aba3e25717850c26c9cd0d89d  a\n"
        self.assert_fails(2, "none: cannot open", "sign", "none", "a", out=signature)
        self.assert_fails(2, ".: cannot read", "sign", ".", "a", out=signature)
        self.assert_fails(2, "none: cannot open", "sign", "-c", out=b"a: OK\n",
                          data=signature.replace(b" a", b" none") + signature)
        self.assert_fails(1, "'a' is not a signature and a name", "sign", "-c", out=b"a: OK\n",
                          data=b"a\n" + signature)
        self.assert_fails(1, "names no files", "sign", "--check")
        for line in [signature[1:], b"0" + signature, signature[:40], signature[:42], b"\\"]:
            self.assert_fails(1, "is not a signature and a name", "sign", "-c", data=line)


class Convert(ToolTest):
    CODE_PAGES = {
        "US-ASCII": (0x00, 0x7F), "ISO-8859-1": (0x01, 0xFF), "WINDOWS-1252": (0xA0, 0xFF),
        "WINDOWS-1251": (0x410, 0x44F), "KOI8-R": (0x410, 0x44F), "CP850": (0xC0, 0xFF),
        "ISO-8859-7": (0x3B1, 0x3C9), "SHIFT_JIS": (0x3041, 0x3093), "UTF-16LE": (0x20, 0x2FFF),
        "UTF-16": (0x20, 0x2FFF), "UTF-32": (0x20, 0x1F64F), "UTF-8": (0x20, 0x1F64F)}

    def text(self, first, last, size):
        characters = (chr(self.random.randint(first, last)) for _ in range(size))
        text = "".join(c for c in characters if not "\ud800" <= c <= "\udfff")
        return text.lstrip("\0").encode()

    def test_like_the_system(self):
        for page, (first, last) in self.CODE_PAGES.items():
            for size in [0, 1, 100000]:
                text = self.text(first, last, size)
                encoded = self.system("iconv", "-f", "UTF-8", "-t", page, data=text)
                self.assertEqual(encoded, self.output("convert", "--to", page, data=text), page)
                if encoded[:1] != b"\0":
                    self.assertEqual(
                        self.system("iconv", "-f", page, "-t", "UTF-8", data=encoded),
                        self.output("convert", "--from", page, data=encoded), page)

    def test_what_cannot_be_converted(self):
        for page in ["US-ASCII", "KOI8-R"]:
            text = self.text(0x20, 0x44F, 300)
            expected = run(["iconv", "-c", "-f", "UTF-8", "-t", page], text).out
            self.assert_fails(1, "does not have all characters", "convert", "-c", "-t", page,
                              data=text, out=expected)
        self.assert_fails(1, "does not have all", "convert", "-t", "US-ASCII", out=b"ab",
                          data="ab\u00e9c".encode())
        self.assert_fails(1, "does not have all", "convert", "-t", "US-ASCII", "-r", "[?]",
                          data="a\u00e9\u00eab".encode(), out=b"a[?][?]b")
        self.assert_fails(1, "not all in the code page", "convert", "-t", "UTF-8", out=b"ab",
                          data=b"ab\xffc")
        self.assert_fails(1, "not all in the code page", "convert", "-c", out=b"abc",
                          data=b"ab\xffc")
        self.assert_fails(1, "starts with NUL", "convert", "-f", "UTF-16BE", data=b"\0a")

    def test_code_pages_that_are_none(self):
        for page in ["NONE", "", "C", "a\nb"]:
            self.assert_fails(2, "no code page", "convert", "-f", page)
            self.assert_fails(2, "no code page", "convert", "-t", page)


class Texts(ToolTest):
    """The sub-commands that work on texts, against models."""

    def random_items(self, alphabet, count=200, longest=12):
        return ["".join(self.random.choices(alphabet, k=self.random.randrange(longest)))
                for _ in range(count)]

    def edited(self, items, *arguments):
        """What is made of the items, one for each."""
        data = "".join(item + "\0" for item in items).encode("latin-1")
        results = self.output(*arguments, "--zero", data=data).decode("latin-1").split("\0")
        self.assertEqual("", results.pop())
        self.assertEqual(len(items), len(results))
        return results

    def test_items(self):
        for data, zero, expected in [
                (b"", False, []), (b"\n", False, [b""]), (b"a", False, [b"a"]),
                (b"a\n", False, [b"a"]), (b"a\n\nb", False, [b"a", b"", b"b"]),
                (b"a\nb\0", True, [b"a\nb"]), (b"\0a", True, [b"", b"a"])]:
            end = b"\0" if zero else b"\n"
            for arguments in [[], ["-"]]:
                self.assertEqual(
                    b"".join(item + end for item in expected),
                    self.output("path", "squeeze", *arguments, *(["-z"] * zero), data=data))
        self.assertEqual(b"-\na\n", self.output("path", "squeeze", "-", "a", data=b"unread"))

    def test_csv(self):
        for _ in range(10):
            fields = self.random_items("ab ,;\"\n\r\t'", count=self.random.randrange(1, 8))
            data = "".join(field + "\0" for field in fields).encode()
            for all_fields in [[], ["--all"]]:
                if not all_fields and "" in [fields[0], fields[-1]]:
                    continue  # lost on the way back
                line = self.output("fields", "--join", "-z", *all_fields, data=data)
                [own] = csv.reader(io.StringIO(line.decode()[:-1], newline=""), strict=True)
                self.assertEqual(fields, own)
                text = io.StringIO(newline="")
                quoting = csv.QUOTE_ALL if all_fields else csv.QUOTE_MINIMAL
                csv.writer(text, quoting=quoting, lineterminator="\n").writerow(fields)
                self.assertEqual(
                    data, self.output("fields", "-z", data=text.getvalue().encode()))

    def test_field_settings(self):
        self.assertEqual(["a", "b,c", "d"], self.lines("fields", "-s", "::", "a::b,c::d"))
        self.assertEqual(["a,b", "c"], self.lines("fields", "--quote", "'", "'a,b',c"))
        self.assertEqual(['"a', 'b"'], self.lines("fields", "--literal", '"a,b"'))
        self.assertEqual(['"a"'], self.lines("fields", "--quote", "", '"a"'))
        self.assertEqual(["a|'b|c'"], self.lines("fields", "-j", "-s|", "-q'", "a", "b|c"))
        self.assertEqual(b"", self.output("fields"))
        self.assertEqual(b"\n", self.output("fields", "--join"))
        self.assert_fails(2, "is not one character", "fields", "-q", "ab", "x")
        self.assert_fails(2, "takes one LINE", "fields", "a", "b")

    def test_quote(self):
        items = self.random_items("ab,\"\n&<>;\t \x7f\x9f", count=500)
        quoted = self.edited(items, "quote", "csv", "--all")
        self.assertEqual(['"' + item.replace('"', '""') + '"' for item in items], quoted)
        quoted = self.edited(items, "quote", "csv")
        self.assertEqual(
            ['"' + item.replace('"', '""') + '"' if set(item) & set(',"\n') else item
             for item in items], quoted)
        self.assertEqual(items, self.edited(quoted, "quote", "csv", "-d"))
        escaped = self.edited(items, "quote", "xml")
        self.assertEqual([xml.sax.saxutils.escape(item) for item in items], escaped)
        self.assertEqual(items, self.edited(escaped, "quote", "xml", "--decode"))
        self.assertEqual(
            [re.sub("[\x01-\x1f\x7f-\x9f]", lambda c: "&#x%02X;" % ord(c[0]), item)
             for item in items], self.edited(items, "quote", "references"))
        self.assert_fails(1, "'a,b' is more than one field", "quote", "csv", "-d", "a,b", "c",
                          out=b"c\n")
        self.assert_fails(2, "cannot be decoded", "quote", "references", "-d", "a")

    def test_encode_name(self):
        forbidden = {"file": '\\/:*?<>|%"', "vm": '\\/:;*?<>|%",',
                     "line": "".join(map(chr, range(1, 32))) + '",-/#^%', "vsphere": "%/\\"}
        items = self.random_items([chr(byte) for byte in range(1, 256)], count=500)
        for name, characters in forbidden.items():
            encoded = self.edited(items, "encode-name", "--set", name)
            self.assertEqual(
                ["".join("%%%02x" % ord(c) if c in characters else c for c in item)
                 for item in items], encoded)
            self.assertEqual(items, self.edited(encoded, "encode-name", "-d", "-s", name))
        self.assertEqual(["=61=3db:"], self.lines("encode-name", "-e=", "-s", "line", "-p", "a",
                                                  "a=b:"))
        self.assert_fails(2, "there is no set 'none', but file, vm", "encode-name", "-s", "none")
        self.assert_fails(2, "is not one character", "encode-name", "-e", "", "a")

    def test_hexdump(self):
        shown = string.ascii_letters + string.digits + string.punctuation + " "
        for data in [b"", b"a", bytes(range(256)), self.random.randbytes(1000),
                     b"\0" * 0x10020]:
            expected = ""
            for at in range(0, len(data), 16):
                line = data[at:at + 16]
                text = "".join(chr(byte) if chr(byte) in shown else "." for byte in line)
                expected += "%04x  %-32s ** %-16s **\n" % (at, line.hex(), text)
            self.assertEqual(expected, self.output("hexdump", data=data).decode())

    def test_words(self):
        for arguments, words in [
                (["shell", "a 'b c' \"d\\\"e\" f\\ g=h"], ["a", "b c", 'd"e', "f g", "=", "h"]),
                (["shell", "a '' b"], ["a"]),
                (["keyed", "b = 2 a='1 2' b=3"], ["a=1 2", "b=2"]),
                (["tokens", " a\tb  c "], ["a", "b", "c"]),
                (["tokens", "-s", ",;", "a,;b c"], ["a", "b c"]),
                (["quoted", 'a "b, c",d'], ["a", "b, c", "d"]),
                (["commas", ' a, "b" ,,c'], ["a", "b", "c"]),
                (["split", ",a,,b"], ["", "a", "", "b"]),
                (["split", "-s:", "a:b,c"], ["a", "b,c"])]:
            self.assertEqual(words, self.lines("words", *arguments), arguments)
            with_input = self.lines("words", *arguments[:-1], data=arguments[-1].encode() + b"\n")
            self.assertEqual(words, with_input, arguments)
        self.assertEqual(b"a\nb\0c\0", self.output("words", "split", "-z", data=b"a\nb,c"))
        self.assert_fails(1, "a quote is left open", "words", "quoted", 'a "b', out=b"a\n")
        self.assert_fails(2, "is not one character", "words", "split", "-s", "::", "a")

    def test_paths(self):
        paths = ["/" + path for path in self.random_items("ab./", count=300)]
        # Two slashes at the start are special to POSIX, and not to the library.
        self.assertEqual(
            [posixpath.normpath("/" + path.lstrip("/")) for path in paths],
            self.edited(paths, "path", "normalize"))
        self.assertEqual([re.sub("/+", "/", path) for path in paths],
                         self.edited(paths, "path", "squeeze"))
        self.assertEqual([str(path.count("/") + 1) if path != "/" else "1" for path in paths],
                         self.edited(paths, "path", "parts"))
        for action, path, expected in [
                ("dir", "/a/b/", "/a/"), ("chop", "/a//b/", "/a/b"), ("append", "/a", "/a/"),
                ("mark", "dir", "dir/./"), ("insert-mark", "dir/name", "dir/./name"),
                ("unmark", "a/./b", "a/b"), ("below", "/data", "/data/./*"),
                ("plain", "a*b?", "ab"), ("base-stream", "name:stream", "name"),
                ("classify", "/", "absolute device"), ("classify", "", "relative"),
                ("classify", "\\\\?\\GLOBALROOT\\Device\\x", "relative wildcard globalroot"),
                ("split", "/a//b/", "/\na\nb")]:
            self.assertEqual(expected + "\n", self.output("path", action, path).decode())
        self.assertEqual(b"a/b\n", self.output("path", "join", "a/", "b"))

    def test_questions_about_paths(self):
        self.write("file", b"")
        os.symlink(".", os.path.join(self.folder, "link"))
        for status, *arguments in [
                (0, "exists", "file", "link", "."), (1, "exists", "file", "none"),
                (1, "exists", ""), (0, "is-dir", ".", "/"), (1, "is-dir", "file"),
                (1, "is-dir", "link"), (0, "is-exclusion", "Memory Page File"),
                (1, "is-exclusion", "memory page file")]:
            self.assertEqual(Outcome(status, b"", ""), self.tool("path", *arguments), arguments)

    def test_times(self):
        times, seconds = [], []
        for _ in range(200):
            zone = datetime.timezone(datetime.timedelta(minutes=self.random.randint(-720, 840)))
            moment = datetime.datetime.fromtimestamp(
                self.random.randrange(-10**10, 10**11), tz=zone)
            times.append(moment.isoformat())
            seconds.append(str(int(moment.timestamp())))
        self.assertEqual(times, self.edited(times, "time", "--short"))
        self.assertEqual([time[:19] + ".00" + time[19:] for time in times],
                         self.edited(times, "time"))
        self.assertEqual(seconds, self.edited(times, "time", "--epoch"))
        [now] = self.lines("time", "-e", "now")
        self.assertLess(abs(int(now) - time.time()), 60)
        self.assert_fails(1, "'today' is not a time such as", "time", "today", times[0],
                          out=(times[0][:19] + ".00" + times[0][19:] + "\n").encode())

    def test_versions(self):
        numbers = [tuple(self.random.randrange(10) for _ in range(4)) for _ in range(100)]
        text = "{}.{}{}.{}".format
        shown = "major {} minor {} patch {} build {}".format
        versions = [text(*number) for number in numbers]
        self.assertEqual([shown(*n) for n in numbers], self.edited(versions, "version", "print"))
        self.assertEqual([text(*number) for number in sorted(numbers)],
                         self.edited(versions, "version", "sort"))
        self.assertEqual([text(*number) for number in sorted(numbers, key=lambda n: n[:2])],
                         self.edited(versions, "version", "sort", "--number", "minor"))
        for other, answer, status in [("7.12.344", b"newer", 0), ("7.12.345", b"equal", 0),
                                      ("7.12.346", b"older", 1), ("8", b"older", 1)]:
            self.assertEqual(answer + b"\n", self.output("version", "compare", "7.12.345", other))
            self.assertEqual(status, self.tool("version", "at-least", "7.12.345", other).status)
        self.assertEqual(b"equal\n", self.output("version", "compare", "-nmajor", "7.1", "7.2"))
        self.assert_fails(1, "'7.' ends with its first '.'", "version", "compare", "7.", "8")
        self.assert_fails(2, "there is no number 'x'", "version", "sort", "-n", "x", "8")

    def test_numbers(self):
        bases = {"dec": "d", "hex": "x", "oct": "o"}
        numbers = [self.random.randrange(2**self.random.randrange(1, 65)) for _ in range(100)]
        for source, form in bases.items():
            for target, shown in bases.items():
                self.assertEqual(
                    [format(number, shown) for number in numbers],
                    self.edited([format(number, form) for number in numbers], "number",
                                "-k", "ullong", "--from", source, "--to", target))
        for kind, text, expected in [
                ("short", "65535", "-1"), ("ushort", "65535", "65535"), ("int", "3000000000",
                "-1294967296"), ("uint", "3000000000", "3000000000"), ("llong", "12 apples", "12")]:
            self.assertEqual([expected], self.lines("number", "--kind", kind, text))
        self.assert_fails(1, "'65536' is not such a number", "number", "-k", "ushort", "65536")
        self.assert_fails(2, "there is no base 'bin'", "number", "-f", "bin", "1")
        self.assert_fails(2, "there is no type 'byte'", "number", "-k", "byte", "1")

    def test_schedules(self):
        start = datetime.datetime(2026, 2, 27, 12, 30, tzinfo=datetime.timezone.utc)
        for schedule, is_due in [
                ("0,30 8-18/2 * * mon-fri",
                 lambda t: t.minute in (0, 30) and t.hour in range(8, 19, 2) and t.weekday() < 5),
                ("15 3 1 * *", lambda t: (t.minute, t.hour, t.day) == (15, 3, 1)),
                ("*/20 23 L * *", lambda t: t.minute % 20 == 0 and t.hour == 23
                 and (t + datetime.timedelta(days=1)).day == 1)]:
            expected, moment = [], start
            while len(expected) < 7:
                moment += datetime.timedelta(minutes=1)
                if is_due(moment):
                    expected.append(moment.strftime("%Y-%m-%dT%H:%M:%S.00+00:00"))
            after = start.strftime("%Y-%m-%dT%H:%M:%S+00:00")
            self.assertEqual(expected,
                             self.lines("cron", "next", "-n7", "--after", after, schedule))
        self.assertEqual(5, len(self.lines("cron", "next", "* * * * *")))
        self.assert_fails(1, "weekday: '9' is not in 0 to 7", "cron", "print", "* * * * 9",
                          "0 0 * * sun", out=b"0 0 * * 0\n")
        self.assert_fails(1, "is never due", "cron", "next", "0 0 30 2 *")
        self.assert_fails(2, "is not a time", "cron", "next", "-a", "noon", "* * * * *")
        self.assert_fails(2, "is no number from 1 to 1000", "cron", "next", "-n", "0", "* * * * *")

    def test_addresses(self):
        data = b"b|2\nA|1,,x\nnone\nB|3\nc|\n"
        self.assertEqual(b"A|1,,x\nb|2\nc\n", self.output("addresses", data=data))
        self.assertEqual(b"1\n\nx\n", self.output("addresses", "-n", "a", data=data))
        self.assert_fails(1, "does not have the name 'none'", "addresses", "--name", "none",
                          data=data)


class Usage(ToolTest):
    def assert_usage_error(self, message, *arguments):
        outcome = self.tool(*arguments)
        command = arguments[0] + " " if arguments and arguments[0] in commands() else ""
        self.assertEqual((2, b""), (outcome.status, outcome.out), arguments)
        self.assertIn(message, outcome.err)
        self.assertEqual(f"Try 'nuriccl-tool {command}--help'.", outcome.err.splitlines()[-1])

    def test_program(self):
        self.assertEqual(f"nuriccl-tool {VERSION}\n", self.output("--version").decode())
        self.assertEqual(self.output("--help"), self.output("-h"))
        self.assertEqual(17, len(commands()))
        self.assert_usage_error("a command is missing")
        self.assert_usage_error("there is no command 'none'", "none")
        self.assert_usage_error("there is no command 'a\\x0ab'", "a\nb")
        self.assert_usage_error("there is no command '--none'", "--none")

    def test_options(self):
        self.assertEqual(self.output("sign", "--help"), self.output("sign", "-h"))
        self.assertEqual(b"YQ==\n", self.output("base64", "--ur", "--", "-", data=b"a"))
        self.assert_usage_error("there is no such option: '-!'", "sign", "-!")
        self.assert_usage_error("there is no such option: '-!'", "sign", "-c!")
        self.assert_usage_error("there is no such option: '--check=x'", "sign", "--check=x")
        self.assert_usage_error("is missing behind '-s'", "fields", "-s")

    def test_each_command(self):
        for command in commands():
            text = self.output(command, "--help")
            self.assertLessEqual(max(map(len, text.decode().splitlines())), 100, command)
            self.assert_usage_error("there is no such option: '--none'", command, "--none")
            for option in section(text.decode(), "Options"):
                name = re.match(r"-\w, (--[a-z-]+) ([A-Z]+ )?", option)
                if name[2]:
                    self.assert_usage_error("is missing behind '" + name[1], command, name[1])
            if section(text.decode(), "Actions"):
                self.assert_usage_error("an action is missing", command)
                self.assert_usage_error("there is no action 'none'", command, "none")

    def test_number_of_arguments(self):
        self.assert_usage_error("takes the arguments [FILE]", "base64", "a", "b")
        self.assert_usage_error("takes the arguments DIR NAME", "path", "join", "a")
        self.assert_usage_error("takes the arguments DIR NAME", "path", "join", "a", "b", "c")
        self.assert_usage_error("takes PATH, and COMMAND", "lock", ".")
        self.assert_usage_error("takes PATH, and COMMAND", "lock", "--query", ".", "--", "true")
        self.assert_usage_error("takes the arguments PATH", "lock")


class Streams(ToolTest):
    """Trouble with files and standard streams."""

    CALLS = [["base64"], ["deflate"], ["hexdump"], ["sign"], ["convert"], ["words", "shell"],
             ["fields"], ["addresses"], ["quote", "xml"], ["encode-name"], ["path", "dir"],
             ["number", "1"], ["cron", "print", "* * * * *"], ["time", "now"],
             ["version", "print", "1"], ["lock", "-q", "."], ["base64", "--help"], ["--version"]]

    def failed(self, arguments, redirection, data=b"a|b\n"):
        line = '"$0" "$@" ' + redirection
        return run(["bash", "-c", line, PROGRAM, *arguments], data, cwd=self.folder)

    def test_full_disk_and_closed_output(self):
        for arguments in self.CALLS:
            for redirection, reason in [(">/dev/full", "No space left on device"),
                                        (">&-", "Bad file descriptor")]:
                outcome = self.failed(arguments, redirection)
                self.assertEqual((2, b""), (outcome.status, outcome.out), arguments)
                self.assertIn("standard output: cannot write: " + reason, outcome.err)
        big = self.failed(["base64"], ">/dev/full", b"x" * 1000000)
        self.assertEqual((2, 1), (big.status, len(big.err.splitlines())), big.err)

    def test_output_that_nobody_needs_may_be_closed(self):
        self.assertEqual(Outcome(0, b"", ""), self.failed(["path", "exists", "."], ">&-"))

    def test_closed_input(self):
        for arguments in [["base64"], ["inflate"], ["sign"], ["words", "shell"], ["path", "dir"]]:
            outcome = self.failed(arguments, "<&-")
            self.assertEqual((2, b""), (outcome.status, outcome.out), arguments)
            self.assertIn("standard input: cannot read: Bad file descriptor", outcome.err)

    def test_reader_that_goes(self):
        def outcome_of(handler):
            with subprocess.Popen([PROGRAM, "base64", "/dev/stdin"], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                  preexec_fn=lambda: signal.signal(signal.SIGPIPE, handler),
                                  restore_signals=False) as tool:
                tool.stdout.close()
                tool.stdin.write(b"x" * 300000)
                tool.stdin.close()
                error = tool.stderr.read().decode()
                return tool.wait(), error
        self.assertEqual((-signal.SIGPIPE, ""), outcome_of(signal.SIG_DFL))
        status, error = outcome_of(signal.SIG_IGN)
        self.assertEqual((2, "nuriccl-tool base64: standard output: cannot write: Broken pipe\n"),
                         (status, error))

    def test_files_that_cannot_be_read(self):
        for command in ["addresses", "base64", "convert", "deflate", "hexdump", "inflate", "sign"]:
            self.assert_fails(2, "no\\x0ane: cannot open: No such file", command, "no\nne")
            self.assert_fails(2, "/: cannot read: Is a directory", command, "/")

    def test_big_input(self):
        data = self.random.randbytes(0x1000) * 0x2000
        self.write("big", data)
        text = self.output("base64", "big")
        self.assertTrue(text == base64.b64encode(data) + b"\n")
        self.assertTrue(data == self.output("base64", "-d", data=text))
        self.assertEqual(self.system("sha1sum", "big"), self.output("sign", "big"))
        lines = b"/a//b\n" * 300000
        self.assertTrue(self.output("path", "squeeze", data=lines) == b"/a/b\n" * 300000)
        depth = b"((" * 500000
        self.assertTrue(self.output("words", "shell", data=depth) == depth + b"\n")


class Lock(ToolTest):
    def setUp(self):
        super().setUp()
        self.path = os.path.join(self.folder, "job")
        self.write("job", b"")

    @staticmethod
    def heed_signals():
        """Undoes what a shell does to programs in the background."""
        for number in [signal.SIGHUP, signal.SIGINT, signal.SIGQUIT]:
            signal.signal(number, signal.SIG_DFL)

    def start(self, *arguments):
        """A call in the background that has begun its command."""
        tool = subprocess.Popen([PROGRAM, "lock", *arguments], stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=ENVIRONMENT,
                                preexec_fn=self.heed_signals)
        for stream in [tool.stdin, tool.stdout, tool.stderr]:
            self.addCleanup(stream.close)
        self.addCleanup(tool.wait)
        self.addCleanup(tool.kill)
        return tool

    def start_holder(self, command="echo $$; read line; echo end"):
        tool = self.start(self.path, "--", "sh", "-c", command)
        return tool, int(tool.stdout.readline())

    def test_statuses(self):
        for status in [0, 1, 2, 77]:
            self.assertEqual(
                status, self.tool("lock", self.path, "--", "sh", "-c", f"exit {status}").status)
        self.assertEqual(128 + signal.SIGKILL,
                         self.tool("lock", self.path, "--", "sh", "-c", "kill -KILL $$").status)
        self.assert_fails(127, "none: cannot run: No such file", "lock", self.path, "--", "none")
        self.assert_fails(126, "job: cannot run: Permission denied", "lock", self.path, "--",
                          self.path)
        self.assert_fails(2, "none: cannot lock: No such file", "lock", "none", "--", "true")
        self.assert_fails(2, "none: cannot lock: No such file", "lock", "--query", "none")

    def test_streams_and_arguments_are_those_of_the_command(self):
        outcome = self.tool("lock", self.path, "--", "sh", "-c", 'cat; echo "$@" >&2', "-", "--try",
                            "a b", data=b"in\0put")
        self.assertEqual(Outcome(0, b"in\0put", "--try a b\n"), outcome)

    def test_held(self):
        tool, _ = self.start_holder()
        self.assertEqual(Outcome(1, f"held by process {tool.pid}\n".encode(), ""),
                         self.tool("lock", "--query", self.path))
        self.assert_fails(1, f"job: process {tool.pid} holds the lock\n", "lock", "--try",
                          self.path, "--", "echo", "never")
        tool.stdin.close()
        self.assertEqual(b"end\n", tool.stdout.read())
        self.assertEqual(0, tool.wait())
        self.assertEqual(Outcome(0, b"free\n", ""), self.tool("lock", "-q", self.path))
        self.assertEqual(b"now\n", self.output("lock", "-t", self.path, "--", "echo", "now"))

    def test_second_one_waits(self):
        first, _ = self.start_holder()
        second = self.start(self.path, "--", "echo", "second")
        self.assertIn(f"process {first.pid} holds the lock; waiting for it",
                      second.stderr.readline().decode())
        self.assertIsNone(second.poll())
        first.stdin.close()
        self.assertEqual(b"second\n", second.stdout.readline())
        self.assertEqual((0, 0), (first.wait(), second.wait()))

    def test_signals_are_handed_on(self):
        for number, name in [(signal.SIGTERM, "TERM"), (signal.SIGINT, "INT"),
                             (signal.SIGHUP, "HUP"), (signal.SIGUSR1, "USR1")]:
            tool, _ = self.start_holder(
                f"trap 'echo got {name}; exit 7' {name}; echo $$; while :; do sleep 0.05; done")
            tool.send_signal(number)
            self.assertEqual(f"got {name}\n".encode(), tool.stdout.readline())
            self.assertEqual(7, tool.wait())
            self.assertEqual(Outcome(0, b"free\n", ""), self.tool("lock", "-q", self.path))

    def test_holder_that_is_killed_gives_the_lock_back(self):
        tool, command = self.start_holder()
        tool.kill()
        tool.wait()
        self.assertEqual(b"free\n", self.output("lock", "-q", self.path))
        with contextlib.suppress(ProcessLookupError):
            os.kill(command, signal.SIGKILL)  # it goes on by itself
        self.assertEqual(b"now\n", self.output("lock", self.path, "--", "echo", "now"))


class Completion(ToolTest):
    FILE = os.path.join(SOURCE, "tools/nuriccl-tool/nuriccl-tool.bash-completion")
    SCRIPT = """
        source "$1" || exit
        COMP_WORDS=(nuriccl-tool "${@:2}")
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        _nuriccl_tool
        printf '%s\\n' "${COMPREPLY[@]}"
        """

    def completions(self, *words):
        outcome = run(["bash", "-uc", self.SCRIPT, "bash", self.FILE, *words], cwd=self.folder)
        self.assertEqual((0, ""), (outcome.status, outcome.err), words)
        return outcome.out.decode().split()

    def test_commands(self):
        self.assertEqual([*commands(), "--help", "--version"], self.completions(""))
        self.assertEqual(["deflate"], self.completions("de"))
        self.assertEqual([], self.completions("none"))

    def test_options_and_actions(self):
        for command in commands():
            text = help_of(command)
            options = [re.match(r"-\w, (--[a-z-]+)", line)[1] for line in section(text, "Options")]
            self.assertIn("--help", options)
            self.assertEqual(options, self.completions(command, "--"))
            actions = [line.split()[0] for line in section(text, "Actions")]
            self.assertEqual(actions, self.completions(command, ""))
        self.assertEqual(["--decode"], self.completions("base64", "file", "--de"))
        self.assertEqual(["squeeze", "split"][::-1], self.completions("path", "s"))

    def test_elsewhere_files_are_completed(self):
        self.assertEqual([], self.completions("base64", ""))
        self.assertEqual([], self.completions("path", "dir", ""))
        self.assertEqual([], self.completions("lock", "job", "--", "-"))
        self.assertIn("-o default", run(
            ["bash", "-c", 'source "$0"; complete -p nuriccl-tool', self.FILE]).out.decode())


class Manual(ToolTest):
    """The manual names all that there is."""

    def test_manual(self):
        with open(os.path.join(SOURCE, "docs/man/nuriccl-tool.1.md"), encoding="ascii") as file:
            sections = re.split(r"^## ", file.read(), flags=re.M)
        for command in commands():
            [shown] = [text for text in sections if text.startswith(command + "\n")]
            text = help_of(command)
            for line in section(text, "Options"):
                option = re.match(r"(-\w), (--[a-z-]+)", line)
                if option[2] != "--help":
                    self.assertIn(f"**{option[1]}**, **{option[2]}**", shown, command)
            for line in section(text, "Actions"):
                self.assertIn(f"**{line.split()[0]}**", shown, command)


if __name__ == "__main__":
    print("NURICCL_TEST_SEED =", SEED)
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])

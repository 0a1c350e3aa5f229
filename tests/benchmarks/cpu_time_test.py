"""Tests of benchmarks/cpu_time.py, run as scripts/bench runs it."""

import pathlib
import subprocess
import sys
import unittest

import cpu_time
import report

SCRIPT = pathlib.Path(cpu_time.__file__)
BUSY = "import time\nwhile time.process_time() < 0.2: pass"


def run(*arguments):
    return subprocess.run(
        [sys.executable, "-B", SCRIPT, *arguments], capture_output=True, text=True, check=False
    )


class CpuTime(unittest.TestCase):
    def test_is_what_the_command_takes(self):
        self.assertGreaterEqual(sum(cpu_time.cpu_nanoseconds([sys.executable, "-c", BUSY])), 0.2e9)

    def test_is_not_the_time_that_passes(self):
        self.assertLess(sum(cpu_time.cpu_nanoseconds(["sleep", "0.3"])), 0.2e9)


class Lines(unittest.TestCase):
    def test_are_such_as_the_report_reads(self):
        result = run("family", "a.row", "some program", "true")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue(result.stdout.startswith("family\ta.row\tsome program\t"), result.stdout)
        row, contestant, samples = report.parse_line(result.stdout)
        self.assertEqual((row, contestant, len(samples)), ("a.row", "some program", 1))
        self.assertGreater(samples[0], 0)

    def test_may_tell_the_time_without_the_kernels_share_too(self):
        result = run("--user-row", "a.user", "family", "a", "x", sys.executable, "-c", BUSY)
        both, user = map(report.parse_line, result.stdout.splitlines())
        self.assertEqual((both[0], user[0]), ("a", "a.user"))
        self.assertEqual((both[1], user[1]), ("x", "x"))
        self.assertLessEqual(user[2], both[2])
        self.assertGreater(user[2], [0])

    def test_leave_out_what_the_command_prints(self):
        result = run("family", "a", "x", "echo", "-n", "hello", "--user-row")
        self.assertEqual(result.stdout.count("\n"), 1)
        self.assertNotIn("hello", result.stdout)

    def test_are_not_there_when_the_command_fails(self):
        result = run("family", "a", "x", "sh", "-c", "exit 3")
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "")
        self.assertEqual(result.stderr, "cpu_time.py: failed: sh -c exit 3\n")


if __name__ == "__main__":
    unittest.main()

"""Tests of benchmarks/report.py: from samples in files to the table and the document.

    reading      Reading
    evaluation   Times, Verdicts, Comparing
    text         Amounts, Tables
    document     Document, Program
"""

import contextlib
import io
import pathlib
import tempfile
import unittest
from unittest import mock

import report
import rows
from rows import Goal, Row

BENCHMARKS = pathlib.Path(report.__file__).parent
DOCUMENT = BENCHMARKS.parent / "docs" / "performance.md"


def with_rows(*table):
    return mock.patch.object(rows, "ROWS", table)


class Folder(unittest.TestCase):
    """A folder of results."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def write(self, name, *lines):
        (self.folder / name).write_text("".join("\t".join(line) + "\n" for line in lines))


class Reading(Folder):
    def test_adds_up_the_rounds(self):
        self.write("1.64.plain.tsv", ("string", "string.split", "nuriccl", "3 1.5"))
        self.write("2.64.plain.tsv", ("string", "string.split", "nuriccl", "2"))
        self.assertEqual(
            report.read_samples(self.folder), {("string.split", 64, "nuriccl"): [3, 1.5, 2]}
        )

    def test_keeps_rows_sizes_and_contestants_apart(self):
        self.write(
            "1.64.plain.tsv",
            ("string", "string.split", "nuriccl", "1"),
            ("string", "string.split", "Abseil", "2"),
            ("string", "string.hex_dump", "nuriccl", "3"),
        )
        self.write("1.32.plain.tsv", ("string", "string.split", "nuriccl", "4"))
        self.assertEqual(
            report.read_samples(self.folder),
            {
                ("string.split", 64, "nuriccl"): [1],
                ("string.split", 64, "Abseil"): [2],
                ("string.hex_dump", 64, "nuriccl"): [3],
                ("string.split", 32, "nuriccl"): [4],
            },
        )

    def test_has_rows_of_their_own_for_sha_instructions(self):
        self.write("1.32.plain.tsv", ("signature", "signature.64", "nuriccl", "9"))
        self.write("1.32.sha.tsv", ("signature", "signature.64", "nuriccl", "4"))
        self.assertEqual(
            report.read_samples(self.folder),
            {("signature.64", 32, "nuriccl"): [9], ("signature.64.sha", 32, "nuriccl"): [4]},
        )

    def test_takes_the_environment_for_no_samples(self):
        self.write("environment.tsv", ("CPU", "one\twith a tab"), ("date", "2026-11-21"))
        self.assertEqual(report.read_samples(self.folder), {})
        self.assertEqual(
            report.read_environment(self.folder),
            [("CPU", "one\twith a tab"), ("date", "2026-11-21")],
        )


class Times(unittest.TestCase):
    def test_are_the_minimum_and_the_median(self):
        with with_rows(Row("a", "A")):
            times = report.times_of({("a", 64, "x"): [40.0, 10.0, 20.0]})
        self.assertEqual(times, {("a", 64, "x"): report.Time(10, 20)})

    def test_have_the_mean_of_the_middle_two_for_the_median(self):
        with with_rows(Row("a", "A")):
            times = report.times_of({("a", 64, "x"): [1.0, 4.0, 2.0, 9.0]})
        self.assertEqual(times["a", 64, "x"], report.Time(1, 3))

    def test_are_those_of_one_call(self):
        with with_rows(Row("a", "A", calls=16), Row("b", "B")):
            times = report.times_of({("a", 64, "x"): [32.0, 64.0], ("b", 64, "x"): [32.0]})
        self.assertEqual(times["a", 64, "x"], report.Time(2, 3))
        self.assertEqual(times["b", 64, "x"], report.Time(32, 32))

    def test_of_unknown_rows_are_refused_by_name(self):
        with with_rows(Row("a", "A")), self.assertRaises(SystemExit) as refusal:
            report.times_of({("c", 64, "x"): [1.0], ("b", 32, "x"): [1.0], ("a", 64, "x"): [1.0]})
        self.assertEqual(str(refusal.exception), "report.py: rows.py does not know: b, c")

    def test_spread_from_the_minimum_to_the_median(self):
        self.assertEqual(report.Time(10, 15).spread, 0.5)
        self.assertEqual(report.Time(10, 10).spread, 0)


def comparison(ours=(10, 10), theirs=(20, 20), goal=0.0, **others):
    """A line of the table, with the parts that do not matter filled in."""
    parts = {
        "row": Row("a", "A"),
        "bits": 64,
        "peer": "peer",
        "peer_bits": 64,
        "is_best": False,
        "limit": None,
    }
    parts.update(others)
    return report.Comparison(
        ours=report.Time(*ours), theirs=report.Time(*theirs), goal=goal, **parts
    )


class Verdicts(unittest.TestCase):
    def test_go_by_the_ratio_of_the_minima(self):
        line = comparison(ours=(10, 40), theirs=(25, 30))
        self.assertEqual(line.speed, 2.5)
        self.assertEqual(line.median_speed, 0.75)

    def test_are_yes_from_the_goal_up(self):
        self.assertEqual(comparison(ours=(10, 10), theirs=(20, 20), goal=2).verdict, "yes")
        self.assertEqual(comparison(ours=(10, 10), theirs=(90, 90), goal=2).verdict, "yes")

    def test_are_nearly_down_to_a_tenth_below(self):
        self.assertEqual(comparison(ours=(10, 10), theirs=(19.9, 20), goal=2).verdict, "nearly")
        self.assertEqual(comparison(ours=(10, 10), theirs=(18, 18), goal=2).verdict, "nearly")

    def test_are_no_below_that(self):
        self.assertEqual(comparison(ours=(10, 10), theirs=(17.9, 20), goal=2).verdict, "no")

    def test_are_none_without_a_goal(self):
        self.assertEqual(comparison(goal=0).verdict, "")

    def test_are_counted(self):
        lines = [
            comparison(theirs=(theirs, theirs), goal=goal)
            for theirs, goal in ((20, 2), (30, 2), (19, 2), (10, 2), (10, 3), (11, 3), (90, 0))
        ]
        self.assertEqual(
            report.summary(lines), "6 goals: 2 reached, 1 nearly (within 10%), 3 not"
        )


class Comparing(unittest.TestCase):
    @staticmethod
    def lines(row, **times):
        """The lines of a row. The times are those of "us" and of peers, by name and size."""
        samples = {}
        for name, time in times.items():
            contestant, bits = name.rsplit("_", 1)
            names = {"us": rows.OURS, "limit": rows.LIMIT + "memcpy", "ref": rows.REFERENCE + "r"}
            samples["a", int(bits), names.get(contestant, contestant)] = [float(time)]
        with with_rows(row):
            return report.evaluate(samples)

    @staticmethod
    def peers(lines):
        return [(line.bits, line.peer, line.peer_bits, line.goal, line.is_best) for line in lines]

    def test_is_with_the_peer_of_each_goal_and_with_the_best_one(self):
        row = Row("a", "A", (Goal("x", 2), Goal("y", 3)))
        lines = self.lines(row, us_64=10, x_64=30, y_64=40, z_64=20)
        self.assertEqual(
            self.peers(lines),
            [(64, "x", 64, 2, False), (64, "y", 64, 3, False), (64, "z", 64, 0, True)],
        )
        self.assertEqual([line.speed for line in lines], [3, 4, 2])

    def test_names_the_best_peer_once(self):
        row = Row("a", "A", (Goal("x", 2),))
        self.assertEqual(
            self.peers(self.lines(row, us_64=10, x_64=20, y_64=30)), [(64, "x", 64, 2, True)]
        )

    def test_leaves_out_goals_whose_peer_is_missing(self):
        row = Row("a", "A", (Goal("x", 2), Goal("y", 3)))
        self.assertEqual(
            self.peers(self.lines(row, us_64=10, y_64=20)), [(64, "y", 64, 3, True)]
        )

    def test_leaves_out_rows_that_have_no_peer_or_not_us(self):
        row = Row("a", "A", (Goal("x", 2),))
        self.assertEqual(self.lines(row, us_64=10), [])
        self.assertEqual(self.lines(row, x_64=10), [])

    def test_has_the_goals_of_64_bit_in_32_bit_when_there_are_no_others(self):
        times = {"us_64": 10, "x_64": 20, "us_32": 20, "x_32": 60}
        self.assertEqual(
            self.peers(self.lines(Row("a", "A", (Goal("x", 2),)), **times)),
            [(64, "x", 64, 2, True), (32, "x", 32, 2, True)],
        )
        self.assertEqual(
            self.peers(self.lines(Row("a", "A", (Goal("x", 2),), ()), **times)),
            [(64, "x", 64, 2, True), (32, "x", 32, 0, True)],
        )

    def test_of_32_bit_may_be_with_a_peer_in_64_bit(self):
        row = Row("a", "A", (), (Goal("x", 2, 64),))
        lines = self.lines(row, us_64=1, x_64=30, us_32=10, x_32=50, y_32=40)
        self.assertEqual(
            self.peers(lines),
            [(64, "x", 64, 0, True), (32, "x", 64, 2, False), (32, "y", 32, 0, True)],
        )
        self.assertEqual(lines[1].speed, 3)

    def test_takes_limits_and_references_for_no_peers(self):
        row = Row("a", "A")
        self.assertEqual(self.lines(row, us_64=10, limit_64=1, ref_64=2), [])
        lines = self.lines(row, us_64=10, limit_64=1, ref_64=2, x_64=30)
        self.assertEqual(self.peers(lines), [(64, "x", 64, 0, True)])
        self.assertEqual(lines[0].limit, ("memcpy", report.Time(1, 1)))

    def test_follows_the_order_of_the_rows_and_then_of_the_sizes(self):
        samples = {
            (row, bits, name): [1.0]
            for row in ("a", "b")
            for bits in (32, 64)
            for name in (rows.OURS, "x")
        }
        with with_rows(Row("b", "B"), Row("a", "A")):
            lines = report.evaluate(samples)
        self.assertEqual(
            [(line.row.id, line.bits) for line in lines],
            [("b", 64), ("b", 32), ("a", 64), ("a", 32)],
        )


class Amounts(unittest.TestCase):
    def test_of_time_have_three_digits_and_the_unit_that_suits(self):
        for value, text in (
            (0.5, "0.500 ns"),
            (2.704, "2.70 ns"),
            (99.94, "99.9 ns"),
            (99.95, "100 ns"),
            (999, "999 ns"),
            (1000, "1.00 us"),
            (41_600, "41.6 us"),
            (912_000, "912 us"),
            (1_000_000, "1.00 ms"),
            (22_040_000, "22.0 ms"),
            (1_000_000_000, "1.00 s"),
            (3_350_000_000, "3.35 s"),
            (123_400_000_000, "123 s"),
        ):
            with self.subTest(value=value):
                self.assertEqual(report.amount(value, "ns"), text)

    def test_of_bytes_are_in_kib(self):
        self.assertEqual(report.amount(262_144, "B"), "256 KiB")
        self.assertEqual(report.amount(1_000, "B"), "1 KiB")

    def test_of_speed_have_two_decimals_below_ten_and_then_one(self):
        self.assertEqual(report.factor_text(0.5), "0.50")
        self.assertEqual(report.factor_text(9.994), "9.99")
        self.assertEqual(report.factor_text(10), "10.0")
        self.assertEqual(report.factor_text(123.45), "123.5")


class Tables(unittest.TestCase):
    LINES = [
        comparison(
            row=Row("a", "a<b>"),
            ours=(10, 11),
            theirs=(25, 25),
            goal=2,
            is_best=True,
            limit=("memcpy", report.Time(5, 6)),
        ),
        comparison(
            row=Row("a", "a<b>"),
            ours=(10, 11),
            theirs=(18, 27),
            peer="p|q",
            goal=2,
            limit=("memcpy", report.Time(5, 6)),
        ),
        comparison(
            row=Row("a", "a<b>"), bits=32, ours=(20, 20), theirs=(25, 25), peer_bits=64
        ),
        comparison(row=Row("s", "size", unit="B"), ours=(2048, 2048), theirs=(1024, 1024)),
    ]

    def test_for_the_eye_are_aligned_and_repeat_nothing(self):
        self.assertEqual(
            report.text_table(self.LINES).splitlines(),
            [
                "      bits     ours  peer            theirs  speed  of medians     spread"
                "  goal  reached  limit",
                "a<b>    64  10.0 ns  peer *         25.0 ns   2.50        2.27   10% / 0%"
                "  2.00  yes      5.00 ns (memcpy)",
                "                     p|q            18.0 ns   1.80        2.45  10% / 50%"
                "  2.00  nearly",
                "        32  20.0 ns  peer (64-bit)  25.0 ns   1.25        1.25    0% / 0%",
                "size    64    2 KiB  peer             1 KiB   0.50        0.50    0% / 0%",
            ],
        )

    def test_in_markdown_keep_their_columns_and_show_what_it_would_interpret(self):
        self.assertEqual(
            report.markdown_table(self.LINES).splitlines(),
            [
                "|  | bits | ours | peer | theirs | speed | of medians | spread | goal | reached"
                " | limit |",
                "| --- | ---: | ---: | --- | ---: | ---: | ---: | ---: | ---: | --- | --- |",
                "| a&lt;b> | 64 | 10.0 ns | peer * | 25.0 ns | 2.50 | 2.27 | 10% / 0% | 2.00 | yes"
                " | 5.00 ns (memcpy) |",
                "|  |  |  | p\\|q | 18.0 ns | 1.80 | 2.45 | 10% / 50% | 2.00 | nearly |  |",
                "|  | 32 | 20.0 ns | peer (64-bit) | 25.0 ns | 1.25 | 1.25 | 0% / 0% |  |  |  |",
                "| size | 64 | 2 KiB | peer | 1 KiB | 0.50 | 0.50 | 0% / 0% |  |  |  |",
            ],
        )


class Document(unittest.TestCase):
    def test_gets_the_section_between_its_markers_and_keeps_all_else(self):
        before, after = "# Title\n\n| not | ours |\n", "\nThe end, without a line break"
        document = before + report.BEGIN + "old\n" + report.END + after
        renewed = report.with_section(document, "\nnew\n")
        self.assertEqual(renewed, before + report.BEGIN + "\nnew\n" + report.END + after)
        self.assertEqual(report.with_section(renewed, "\nnew\n"), renewed)

    def test_without_both_markers_once_is_refused(self):
        for document in (
            "",
            report.BEGIN,
            report.END,
            report.END + report.BEGIN,
            (report.BEGIN + report.END) * 2,
        ):
            with self.subTest(document=document), self.assertRaises(ValueError):
                report.with_section(document, "new")

    def test_of_this_project_has_the_markers(self):
        document = DOCUMENT.read_text()
        renewed = report.with_section(document, "new\n")
        self.assertTrue(renewed.startswith(document[: document.index(report.BEGIN)]))
        self.assertTrue(renewed.endswith(document[document.index(report.END) :]))
        self.assertEqual(renewed.count("\n"), renewed.replace("new\n", "").count("\n") + 1)

    def test_says_where_was_measured(self):
        section = report.generated_section([], [("CPU", "one | two"), ("flags", "<none>")])
        self.assertTrue(
            section.startswith(
                "\n| measured on |  |\n| --- | --- |\n"
                "| CPU | one \\| two |\n| flags | &lt;none> |\n\n"
                "0 goals: 0 reached, 0 nearly (within 10%), 0 not.\n\n"
            ),
            section,
        )
        self.assertTrue(section.endswith(" |\n\n"), section)


class Program(Folder):
    def setUp(self):
        super().setUp()
        self.write("environment.tsv", ("CPU", "abacus"))
        self.write(
            "1.64.plain.tsv",
            ("string", "string.split", rows.OURS, "2000 1000"),
            ("string", "string.split", "Abseil", "3000 4000"),
        )
        self.docs = self.folder / "docs"
        self.docs.mkdir()
        self.document = self.docs / "performance.md"
        self.document.write_text(f"before\n{report.BEGIN}old\n{report.END}after\n")

    def run_with(self, *arguments):
        output = io.StringIO()
        command = ["report.py", *arguments, str(self.folder)]
        with mock.patch("sys.argv", command), contextlib.redirect_stdout(output):
            report.main()
        return output.getvalue()

    def test_prints_the_table_and_leaves_documents_alone(self):
        before = self.document.read_text()
        output = self.run_with()
        self.assertRegex(output, r"64 +1\.00 us +Abseil \* +3\.00 us +3\.00 +2\.33 ")
        self.assertTrue(
            output.endswith("\n1 goals: 1 reached, 0 nearly (within 10%), 0 not\n"), output
        )
        self.assertEqual(self.document.read_text(), before)
        self.assertEqual([path.name for path in self.docs.iterdir()], ["performance.md"])

    def test_renews_the_document_and_the_chart(self):
        self.run_with("--docs", str(self.docs))
        document = self.document.read_text()
        self.assertTrue(document.startswith(f"before\n{report.BEGIN}\n| measured on |"), document)
        self.assertTrue(document.endswith(f" |\n\n{report.END}after\n"), document)
        self.assertIn("| CPU | abacus |\n", document)
        self.assertIn("| 64 | 1.00 us | Abseil * | 3.00 us | 3.00 | 2.33 |", document)
        self.assertNotIn("old", document)
        self.assertIn("3.00 x Abseil", (self.docs / "performance.svg").read_text())


if __name__ == "__main__":
    unittest.main()

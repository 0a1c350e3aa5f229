"""Tests of benchmarks/chart.py: the drawing as a whole, and where its parts stand."""

import unittest
import xml.etree.ElementTree as ElementTree

import chart
import report
from rows import Row

SVG = "{http://www.w3.org/2000/svg}"


def comparison(speed, row=Row("a", "A"), bits=64, peer="peer", goal=0.0):
    return report.Comparison(
        row=row,
        bits=bits,
        ours=report.Time(10, 10),
        peer=peer,
        peer_bits=bits,
        theirs=report.Time(10 * speed, 10 * speed),
        goal=goal,
        is_best=True,
        limit=None,
    )


def draw(*lines):
    """The drawing as a tree; what is no XML fails."""
    return ElementTree.fromstring(chart.draw(lines))


def bars(drawing):
    """The rectangles with a text of their own, which are the bars."""
    return [each for each in drawing.iter(SVG + "rect") if each.find(SVG + "title") is not None]


def texts(drawing):
    return [each.text for each in drawing.iter(SVG + "text")]


class Scale(unittest.TestCase):
    def test_is_logarithmic_with_one_in_the_middle(self):
        self.assertAlmostEqual(chart.x_of(1), chart.LABELS + chart.PLOT / 2)
        self.assertAlmostEqual(chart.x_of(4) - chart.x_of(2), chart.x_of(2) - chart.x_of(1))
        self.assertAlmostEqual(chart.x_of(1) - chart.x_of(1 / 5), chart.x_of(5) - chart.x_of(1))

    def test_ends_at_its_ends(self):
        for speed in (20, 21, 1e9):
            self.assertAlmostEqual(chart.x_of(speed), chart.LABELS + chart.PLOT)
        for speed in (1 / 20, 1 / 21, 1e-9):
            self.assertAlmostEqual(chart.x_of(speed), chart.LABELS)


class Drawing(unittest.TestCase):
    def test_is_well_formed_with_any_text(self):
        title, peer = 'a <b> & "c"', "shared_ptr<vector<char>> & ]]>"
        drawing = draw(comparison(2, Row("a", title), peer=peer))
        self.assertIn(title, texts(drawing))
        self.assertIn(peer, texts(drawing))
        self.assertEqual(
            bars(drawing)[0].find(SVG + "title").text, f"{title}, 64 bit: 2.00 x {peer}"
        )

    def test_of_nothing_is_well_formed(self):
        self.assertEqual(bars(draw()), [])

    def test_holds_all_that_is_drawn(self):
        lines = [comparison(s, Row(str(s), "A"), goal=20) for s in (1e-9, 0.5, 1, 19.9, 1e9)]
        drawing = draw(*lines)
        _, _, width, height = map(float, drawing.get("viewBox").split())
        for each in drawing.iter():
            left = float(each.get("x", each.get("x1", 0)))
            top = float(each.get("y", each.get("y1", 0)))
            self.assertTrue(0 <= left <= width and 0 <= top <= height, each.attrib)
            self.assertLessEqual(left + float(each.get("width", 0)), width)
            self.assertLessEqual(top + float(each.get("height", 0)), height)

    def test_grows_by_the_rows(self):
        heights = [
            float(draw(*(comparison(1, Row(str(i), "A")) for i in range(count))).get("height"))
            for count in (1, 2, 3)
        ]
        self.assertGreater(heights[1], heights[0])
        self.assertEqual(heights[2] - heights[1], heights[1] - heights[0])


class Bars(unittest.TestCase):
    def test_reach_from_one_to_the_speed(self):
        fast, slow = bars(draw(comparison(4), comparison(0.25, Row("b", "B"))))
        for bar, left, right in ((fast, 1, 4), (slow, 0.25, 1)):
            start = float(bar.get("x"))
            self.assertAlmostEqual(start, chart.x_of(left), delta=0.1)
            self.assertAlmostEqual(start + float(bar.get("width")), chart.x_of(right), delta=0.2)
        self.assertEqual(fast.get("class"), "b64")
        self.assertEqual(slow.get("class"), "b64 slow")

    def test_can_be_seen_at_one(self):
        self.assertEqual(float(bars(draw(comparison(1)))[0].get("width")), 1)

    def test_stand_one_for_each_size_for_the_first_comparison_of_a_row(self):
        a, b = Row("a", "A"), Row("b", "B")
        drawing = draw(
            comparison(2, a, 64, "first"),
            comparison(3, a, 64, "second"),
            comparison(4, a, 32, "third"),
            comparison(5, b, 32, "fourth"),
        )
        self.assertEqual(
            [(bar.get("class"), bar.find(SVG + "title").text) for bar in bars(drawing)],
            [
                ("b64", "A, 64 bit: 2.00 x first"),
                ("b32", "A, 32 bit: 4.00 x third"),
                ("b32", "B, 32 bit: 5.00 x fourth"),
            ],
        )
        self.assertIn("first / third", texts(drawing))
        self.assertIn("fourth", texts(drawing))

    def test_have_a_goal_where_there_is_one(self):
        def goals(drawing):
            return [each for each in drawing.iter(SVG + "line") if each.get("class") == "goal"]

        legend = len(goals(draw(comparison(2))))
        with_goal = goals(draw(comparison(2, goal=5)))
        self.assertEqual(len(with_goal), legend + 1)
        self.assertAlmostEqual(float(with_goal[-1].get("x1")), chart.x_of(5), delta=0.1)

    def test_tell_their_number(self):
        self.assertEqual(chart.number(0.126), "0.13")
        self.assertEqual(chart.number(9.99), "9.99")
        self.assertEqual(chart.number(14.1), "14")

    def test_have_the_number_behind_a_goal_that_it_would_cover(self):
        bar_end = chart.x_of(2)
        for goal, start in ((0, bar_end), (1, bar_end), (2.1, chart.x_of(2.1)), (9, bar_end)):
            with self.subTest(goal=goal):
                line = comparison(2, goal=goal)
                self.assertAlmostEqual(chart.label_x(bar_end, line), start + 5)


if __name__ == "__main__":
    unittest.main()

"""Tests of benchmarks/rows.py: how goals are looked up, and what makes sense in the table."""

import unittest

import rows
from rows import Goal, Row


class Goals(unittest.TestCase):
    def test_of_time_are_goals_of_speed(self):
        self.assertEqual(rows.at_most("x", 2), Goal("x", 0.5))

    def test_of_64_bit_are_those_of_32_bit_unless_it_has_its_own(self):
        row = Row("a", "A", (Goal("x", 2),))
        self.assertEqual(row.goals(64), (Goal("x", 2),))
        self.assertEqual(row.goals(32), (Goal("x", 2),))
        row = Row("a", "A", (Goal("x", 2),), (Goal("y", 3, 64),))
        self.assertEqual(row.goals(64), (Goal("x", 2),))
        self.assertEqual(row.goals(32), (Goal("y", 3, 64),))

    def test_of_32_bit_may_be_none(self):
        self.assertEqual(Row("a", "A", (Goal("x", 2),), ()).goals(32), ())

    def test_name_a_peer_of_either_size_once(self):
        for row in rows.ROWS:
            for bits in (64, 32):
                with self.subTest(row=row.id, bits=bits):
                    peers = [(goal.peer, goal.bits or bits) for goal in row.goals(bits)]
                    self.assertEqual(len(peers), len(set(peers)))
                    self.assertLessEqual({size for _, size in peers}, {32, 64})
                    self.assertTrue(all(goal.speed >= 0 for goal in row.goals(bits)))


class Table(unittest.TestCase):
    def test_has_each_row_once(self):
        for part in ("id", "title"):
            names = [getattr(row, part) for row in rows.ROWS]
            self.assertEqual(sorted(names), sorted(set(names)))

    def test_has_rows_with_sha_instructions_beside_those_without(self):
        ids = {row.id for row in rows.ROWS}
        for name in ids:
            if name.endswith(rows.SHA_VARIANT):
                self.assertIn(name.removesuffix(rows.SHA_VARIANT), ids)


if __name__ == "__main__":
    unittest.main()

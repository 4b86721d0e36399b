#!/usr/bin/env python3
"""bench/compare on two small programs that print what a benchmark prints, with times that are known."""
import contextlib
import importlib.machinery
import importlib.util
import io
import json
import pathlib
import stat
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "bench"))


def load(name):
    loader = importlib.machinery.SourceFileLoader(name, str(ROOT / "bench" / name))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(name, loader))
    loader.exec_module(module)
    return module


compare = load("compare")
counting = compare.counting

#: Prints what was made ready for its number of run, and logs the run, so that the order of runs can be seen.
FAKE = """#!/bin/sh
runs=$(wc -l < '{place}/log')
echo {side} >> '{place}/log'
exec cat '{place}/{side}.'$((runs / 2 % 5))
"""


def printed(times, slow):
    """What a benchmark prints, of a machine that is so much slower."""
    entries = [dict(name=name, run_type="iteration", cpu_time=time * slow, real_time=1.0, time_unit="us")
               for name, time in times.items()]
    entries.append(dict(name="sum", run_type="aggregate", cpu_time=1.0, time_unit="us"))
    return json.dumps(dict(context={}, benchmarks=entries))


class Compare(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.place = pathlib.Path(scratch.name)

    def program(self, side, times):
        """A benchmark of these times, 10 % slower every other run up to the fifth, as a clock slows down."""
        path = self.place / side
        path.write_text(FAKE.format(place=self.place, side=side))
        path.chmod(path.stat().st_mode | stat.S_IXUSR)
        for step in range(5):
            (self.place / f"{side}.{step}").write_text(printed(times, 1.0 + 0.1 * step))
        (self.place / "log").touch()
        return str(path)

    def run_compare(self, *arguments, rounds="6"):
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(io.StringIO()):
            status = compare.main([*arguments, "--rounds", rounds])
        return status, output.getvalue()

    def row(self, report, name):
        return next(line for line in report.splitlines() if line.startswith(f"| {name} "))

    def test_pairs_see_through_a_clock_that_slows_down(self):
        old = self.program("old", {"same": 5.0, "slow": 5.0, "fast": 5.0, "gone": 1.0})
        new = self.program("new", {"same": 5.0, "slow": 6.0, "fast": 4.0, "made": 1.0})
        status, report = self.run_compare(old, new, "--no-counts", rounds="10")
        self.assertEqual(status, 0)
        self.assertTrue(self.row(report, "same").endswith("| 1.000 | 1.000 to 1.000 | alike |"), report)
        self.assertTrue(self.row(report, "slow").endswith("| 1.200 | 1.200 to 1.200 | slower |"), report)
        self.assertTrue(self.row(report, "fast").endswith("| 0.800 | 0.800 to 0.800 | faster |"), report)
        self.assertIn("intervals of 97.9 %", report)  # ten pairs, the outermost two left out
        for absent in ("gone", "made", "sum"):
            self.assertNotIn(absent, report)

    def test_runs_take_turns(self):
        old, new = self.program("old", {"a": 1.0}), self.program("new", {"a": 1.0})
        self.run_compare(old, new, "--no-counts")
        runs = (self.place / "log").read_text().split()
        self.assertEqual(runs, ["old", "new", "new", "old"] * 3)

    def test_what_is_slower_by_too_much_fails(self):
        old, new = self.program("old", {"a": 5.0}), self.program("new", {"a": 5.5})
        self.assertEqual(self.run_compare(old, new, "--no-counts", "--fail-above", "15")[0], 0)
        self.assertEqual(self.run_compare(old, new, "--no-counts", "--fail-above", "5")[0], 1)

    def test_too_few_rounds_are_refused(self):
        with self.assertRaises(SystemExit):
            self.run_compare("a", "b", rounds="5")

    def test_nothing_in_common_is_told(self):
        old, new = self.program("old", {"a": 1.0}), self.program("new", {"b": 1.0})
        with self.assertRaises(SystemExit):
            self.run_compare(old, new, "--no-counts")

    def test_counts_stand_side_by_side(self):
        made = {("old", "cold-flash", 6): 100.0, ("new", "cold-flash", 6): 104.0, ("new", "depletion", 15): 7.0}

        def count(build, name, size):
            if (build, name, size) not in made:
                raise counting.NoCount("none")
            return counting.Count(name, size, made[build, name, size])

        original, counting.count = counting.count, count
        self.addCleanup(setattr, counting, "count", original)
        status, report = self.run_compare("old", "new", "--no-times", "--fail-above", "5")
        self.assertEqual(status, 0)
        self.assertIn("| cold-flash, 6 | 100 | 104 | 1.0400 |", report)
        self.assertIn("| depletion, 15 | none | 7 |  |", report)
        self.assertEqual(self.run_compare("old", "new", "--no-times", "--fail-above", "3")[0], 1)

    def test_interval_is_that_of_the_pairs(self):
        pairs = {"noisy": ([1.0, 2.0, 4.0, 8.0, 16.0, 32.0], [0.9, 1.8, 3.6, 8.0, 16.0, 38.4])}
        with contextlib.redirect_stdout(io.StringIO()) as output:
            low, high = compare.report_times(pairs)["noisy"]
        self.assertAlmostEqual(low, 0.9)
        self.assertAlmostEqual(high, 1.2)
        self.assertIn("| alike |", output.getvalue())

    def test_interval_has_the_level_of_the_sign_test(self):
        # By hand: of 6 values 1 - 2/64; of 10 without the outermost two 1 - 22/1024.
        self.assertEqual(compare.median_interval([6, 5, 4, 3, 2, 1]), (1, 6, 1 - 2 / 64))
        self.assertEqual(compare.median_interval(list(range(10))), (1, 8, 1 - 22 / 1024))
        self.assertAlmostEqual(compare.median_interval(list(range(20)))[2], 0.9586, places=4)


class Counting(unittest.TestCase):
    def test_a_build_without_the_program_has_no_count(self):
        with self.assertRaises(counting.NoCount):
            counting.count("/nonexistent", "cold-flash", 6)


if __name__ == "__main__":
    unittest.main()

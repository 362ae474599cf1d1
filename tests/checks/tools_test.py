#!/usr/bin/env python3
"""Tests of what ./test is made of: the selection of tests by name, and the report of a run."""
import json
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "tools"))
import select_tests  # noqa: E402
import test_report  # noqa: E402

TESTS = [("core.1", ["core"]), ("core.2", ["core"]), ("image.1", ["image"]), ("studio.viewer", ["studio"]),
         ("studio.refresh", ["studio"]), ("stress.crowd", ["stress", "batch"]), ("batch.1", ["batch"])]
LOG = """      Start 1: core.1
1/3 Test #1: core.1 ........................   Passed    3.00 sec
2/3 Test #2: image.1 .......................***Failed    1.00 sec
3/3 Test #3: studio.viewer .................   Passed    4.02 sec
"""


class Selection(unittest.TestCase):
    def test_a_folder_is_its_shards(self):
        self.assertEqual(select_tests.select(["core"], TESTS), (["core.1", "core.2"], ""))

    def test_a_group_is_its_tests(self):
        self.assertEqual(select_tests.select(["batch"], TESTS), (["batch.1", "stress.crowd"], ""))

    def test_scenarios_by_name_and_pattern(self):
        self.assertEqual(select_tests.select(["studio.viewer"], TESTS), (["studio.viewer"], ""))
        self.assertEqual(select_tests.select(["studio.re*", "image"], TESTS), (["image.1", "studio.refresh"], ""))

    def test_cases_are_looked_for_in_all_shards(self):
        shards = ["batch.1", "core.1", "core.2", "image.1"]
        self.assertEqual(select_tests.select(["Codec*", "Film.Merges"], TESTS), (shards, "Codec*:Film.Merges"))
        self.assertEqual(select_tests.select(["Film"], TESTS), (shards, "Film.*:*.Film"))

    def test_cases_of_one_folder(self):
        self.assertEqual(select_tests.select(["image.Film.Merges"], TESTS), (["image.1"], "Film.Merges"))

    def test_cases_and_folders_do_not_mix(self):
        with self.assertRaises(select_tests.Unknown):
            select_tests.select(["core", "Codec*"], TESTS)


class Report(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.shards = pathlib.Path(self.folder.name)

    def write(self, name, *cases):
        suite = [{"name": case, "classname": "Film", "status": "RUN", "time": time, **more} for case, time, more in cases]
        (self.shards / name).write_text(json.dumps({"testsuites": [{"testsuite": suite}]}), encoding="utf-8")

    def test_counts_and_slowest(self):
        self.write("core.1.json", ("Merges", "2.5s", {"result": "COMPLETED"}), ("Waits", "0.1s", {"result": "SKIPPED"}),
                   ("Breaks", "0s", {"result": "COMPLETED", "failures": [{}]}), ("Off", "0s", {"status": "NOTRUN", "result": "SUPPRESSED"}))
        lines, count = test_report.report(LOG, self.shards)
        self.assertEqual(count, 4)
        self.assertEqual(lines[0], "Test cases: 3 (1 passed, 1 failed, 1 skipped)")
        self.assertIn("  skipped: core.Film.Waits", lines)
        self.assertIn("  ended without a report, its cases are not counted: image.1", lines)
        slowest = lines[lines.index("Slowest tests (s):") + 1:]
        self.assertEqual(slowest[:2], ["    4.02 studio.viewer", "    2.50 core.Film.Merges"])

    def test_a_run_without_a_test(self):
        self.assertEqual(test_report.report("1/1 Test #1: core.1 ....   Passed    0.10 sec\n", self.shards)[1], 0)

    def test_a_report_that_is_cut(self):
        (self.shards / "core.1.json").write_text('{"testsuites": [', encoding="utf-8")
        self.assertEqual(test_report.report(LOG, self.shards)[0][0], "Test cases: 0 (0 passed, 0 failed, 0 skipped)")


if __name__ == "__main__":
    unittest.main()

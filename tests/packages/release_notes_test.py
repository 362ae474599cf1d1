#!/usr/bin/env python3
"""Tests of tools/release_notes.py: versions, notes and the Debian changelog from CHANGELOG.md."""
import pathlib
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "tools"))
import release_notes  # noqa: E402

CHANGES = """# Changes

## [Unreleased]
{unreleased}
## [1.1.0] - 2026-03-05

### Added
- **Light** groups, see [colour](docs/colour.md)
  and `--view`.

### Fixed
- A crash.

## [1.0.0] - 2026-01-02
- First.
"""


def parsed(unreleased=""):
    return release_notes.sections(CHANGES.format(unreleased=unreleased))


class ReleaseNotes(unittest.TestCase):
    def test_a_release_has_its_own_version(self):
        self.assertEqual(release_notes.package_version(parsed()), "1.1.0")

    def test_changes_after_it_make_a_later_version(self):
        self.assertEqual(release_notes.package_version(parsed("\n- New.\n")), "1.1.0+dev")

    def test_sections(self):
        self.assertEqual([(version, date) for version, date, _ in parsed()],
                         [("Unreleased", None), ("1.1.0", "2026-03-05"), ("1.0.0", "2026-01-02")])
        self.assertEqual(parsed()[2][2], "- First.")

    def test_a_release_without_a_date_is_refused(self):
        with self.assertRaises(SystemExit):
            release_notes.newest_release(release_notes.sections("## [1.0.0]\n- First.\n"))

    def test_the_debian_changelog(self):
        self.assertEqual(release_notes.debian(parsed(), "A <a@b>"), """lumenara (1.1.0) unstable; urgency=medium

  * Light groups, see colour and --view.
  * A crash.

 -- A <a@b>  Thu, 05 Mar 2026 00:00:00 +0000

lumenara (1.0.0) unstable; urgency=medium

  * First.

 -- A <a@b>  Fri, 02 Jan 2026 00:00:00 +0000
""")

    def test_unreleased_changes_come_first(self):
        self.assertTrue(release_notes.debian(parsed("- New.\n"), "A <a@b>").startswith(
            "lumenara (1.1.0+dev) UNRELEASED; urgency=medium\n\n  * New.\n"))


if __name__ == "__main__":
    unittest.main()

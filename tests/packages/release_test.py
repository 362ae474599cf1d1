#!/usr/bin/env python3
"""Tests of tools/release --dry-run, in a small repository of their own.

  release_test.py
"""
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CHANGES = "# Changes\n\n## [Unreleased]\n{more}\n## [1.2.0] - 2026-03-05\n\n### Added\n- Light groups.\n\n## [1.1.0] - 2026-01-01\n- First.\n"


class Release(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="lumenara-release-")
        self.addCleanup(temporary.cleanup)
        self.root = pathlib.Path(temporary.name)
        (self.root / "tools").mkdir()
        for name in ("release", "release_notes.py", "setup.sh"):
            shutil.copy(ROOT / "tools" / name, self.root / "tools")
        (self.root / ".gitignore").write_text("/build/\n__pycache__/\n", encoding="utf-8")
        (self.root / "CMakeLists.txt").write_text('project(Lumenara VERSION 1.2.0 DESCRIPTION "x")\n', encoding="utf-8")
        # Were a step run, this would say so.
        (self.root / "test").write_text("#!/bin/sh\ntouch \"$(dirname \"$0\")/build/tested\"\n", encoding="utf-8")
        (self.root / "test").chmod(0o755)
        self.write_changes("")
        self.git("init", "-q")
        self.commit()

    def write_changes(self, more):
        (self.root / "CHANGELOG.md").write_text(CHANGES.format(more=more), encoding="utf-8")

    def git(self, *arguments):
        return subprocess.run(["git", "-C", self.root, "-c", "user.name=A", "-c", "user.email=a@b", *arguments], check=True,
                              capture_output=True, text=True).stdout

    def commit(self):
        self.git("add", "-A")
        self.git("commit", "-qm", "State")

    def release(self, *arguments):
        ended = subprocess.run([self.root / "tools" / "release", *arguments, "--dry-run"], capture_output=True, text=True, check=False)
        self.assertFalse((self.root / "build" / "tested").exists())
        self.assertEqual(self.git("status", "--porcelain"), self.before if hasattr(self, "before") else "")
        return ended

    def refused(self, sentence, *arguments):
        ended = self.release(*arguments)
        self.assertEqual(ended.returncode, 1, ended.stdout)
        self.assertIn(sentence, ended.stderr)

    def test_a_dry_run_writes_the_notes_and_prints_the_steps(self):
        ended = self.release("1.2.0")
        self.assertEqual(ended.returncode, 0, ended.stderr)
        self.assertEqual([line[3:] for line in ended.stdout.splitlines() if line.startswith("== ")][:2], ["./test", "make_packages"])
        self.assertIn("== git tag -a v1.2.0", ended.stdout)
        notes = (self.root / "build" / "release" / "notes-1.2.0.md").read_text(encoding="utf-8")
        self.assertEqual(notes, "# Lumenara 1.2.0\n\n### Added\n- Light groups.\n")
        self.assertEqual(self.git("tag"), "")

    def test_changes_that_are_not_committed(self):
        (self.root / "new.txt").write_text("x", encoding="utf-8")
        self.before = "?? new.txt\n"
        self.refused("not committed", "1.2.0")

    def test_another_version_in_the_build(self):
        self.refused("CMakeLists.txt states version 1.2.0, not 1.3.0", "1.3.0")

    def test_changes_under_unreleased(self):
        self.write_changes("\n- New.\n")
        self.commit()
        self.refused("under Unreleased", "1.2.0")

    def test_a_release_that_the_changelog_does_not_have(self):
        (self.root / "CMakeLists.txt").write_text('project(Lumenara VERSION 1.3.0 DESCRIPTION "x")\n', encoding="utf-8")
        self.commit()
        self.refused("the newest release in CHANGELOG.md is 1.2.0, not 1.3.0", "1.3.0")

    def test_a_version_that_exists(self):
        self.git("tag", "v1.2.0")
        self.refused("the tag v1.2.0 exists", "1.2.0")

    def test_words_that_are_no_version(self):
        self.refused("name a version", "one")


if __name__ == "__main__":
    unittest.main()

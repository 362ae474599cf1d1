#!/usr/bin/env python3
"""Reads CHANGELOG.md for packages and releases.

  release_notes.py --version             version of a package made now: 1.0.0, or 1.0.0+dev with changes after the release
  release_notes.py --date                date of the newest release
  release_notes.py --notes VERSION       notes of a release (or of Unreleased), as Markdown
  release_notes.py --debian FILE.gz --maintainer "NAME <MAIL>"     the same history as a Debian changelog
"""
import argparse
import datetime
import gzip
import pathlib
import re
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADING = re.compile(r"^## \[([^\]]+)\](?: - (\d{4}-\d\d-\d\d))?\s*$", re.M)


class Faulty(SystemExit):
    """The changelog cannot be used; the text says why."""


def sections(text):
    """(Version, date or None, text) of each section, newest first."""
    found = list(HEADING.finditer(text))
    ends = [match.start() for match in found[1:]] + [len(text)]
    return [(m.group(1), m.group(2), text[m.end():end].strip()) for m, end in zip(found, ends)]


def newest_release(all_sections):
    for version, date, _ in all_sections:
        if version != "Unreleased":
            if not date:
                raise Faulty(f"CHANGELOG.md: the release {version} has no date; write \"## [{version}] - YYYY-MM-DD\"")
            return version, date
    raise Faulty("CHANGELOG.md has no release")


def package_version(all_sections):
    version, _ = newest_release(all_sections)
    return version + ("+dev" if any(name == "Unreleased" and text for name, _, text in all_sections) else "")


def points(text):
    """The list points of a section, each in one line and plain text."""
    for point in re.split(r"^- ", text, flags=re.M)[1:]:
        point = re.split(r"^#", point, flags=re.M)[0]
        yield re.sub(r"\[([^\]]+)\]\([^)]*\)", r"\1", " ".join(point.split())).replace("**", "").replace("`", "")


def debian(all_sections, maintainer):
    entries = []
    _, date = newest_release(all_sections)
    for name, own_date, text in all_sections:
        if name == "Unreleased" and not text:
            continue
        version = package_version(all_sections) if name == "Unreleased" else name
        date = own_date or date
        day = datetime.date.fromisoformat(date).strftime("%a, %d %b %Y 00:00:00 +0000")
        lines = [f"lumenara ({version}) {'UNRELEASED' if name == 'Unreleased' else 'unstable'}; urgency=medium", ""]
        for point in list(points(text)) or ["Changes."]:
            lines += textwrap.wrap(point, 76, initial_indent="  * ", subsequent_indent="    ", break_on_hyphens=False)
        lines += ["", f" -- {maintainer}  {day}", ""]
        entries.append("\n".join(lines))
    return "\n".join(entries)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--changelog", type=pathlib.Path, default=ROOT / "CHANGELOG.md")
    parser.add_argument("--version", action="store_true")
    parser.add_argument("--date", action="store_true")
    parser.add_argument("--notes")
    parser.add_argument("--debian", type=pathlib.Path)
    parser.add_argument("--maintainer", default="")
    options = parser.parse_args()
    found = sections(options.changelog.read_text(encoding="utf-8"))
    if options.version:
        print(package_version(found))
    if options.date:
        print(newest_release(found)[1])
    if options.notes:
        notes = [text for name, _, text in found if name == options.notes]
        if not notes:
            raise Faulty(f"CHANGELOG.md has no section [{options.notes}]")
        print(notes[0])
    if options.debian:
        options.debian.write_bytes(gzip.compress(debian(found, options.maintainer).encode(), 9, mtime=0))


if __name__ == "__main__":
    main()

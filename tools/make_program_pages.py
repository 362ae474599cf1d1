#!/usr/bin/env python3
"""Makes a program's man page and its completion for bash, zsh and fish.

  make_program_pages.py PROGRAM --version V --output FOLDER

Commands, options and texts come from the program itself (`PROGRAM --describe`), as those of --help do. Files: NAME.1.gz (man
page), NAME (bash), _NAME (zsh), NAME.fish.
"""
import argparse
import gzip
import json
import pathlib
import subprocess

from completion_scripts import bash, fish, zsh

MORE = {
    "lumenara": [
        ("EXAMPLES", [
            ("lumenara render scene.glb -o picture.png --size 640x360 --samples 16", "A quick picture."),
            ("lumenara render scene.glb -o picture.exr --layers all --denoise", "The film with all its layers, without noise."),
            ("lumenara animate scene.glb -o film.mov --frames 0:89", "A movie of 90 frames.")]),
        ("ENVIRONMENT", [
            ("LUMENARA_HOME", "Folder of settings, history and plug-ins. Default: \"Lumenara Studio\" in XDG_DATA_HOME, else in "
                              "~/.local/share."),
            ("OCIO", "An OpenColorIO configuration, whose views --view can name.")]),
    ],
    "lumenara-studio": [
        ("ENVIRONMENT", [
            ("LUMENARA_HOME", "Folder of settings, renders and plug-ins. Default: \"Lumenara Studio\" in XDG_DATA_HOME, else in "
                              "~/.local/share."),
            ("LUMENARA_THEME", "dark or light; default: as the desktop is."),
            ("OCIO", "An OpenColorIO configuration, whose views can be chosen.")]),
    ],
}
SEE_ALSO = {"lumenara": "lumenara-studio", "lumenara-studio": "lumenara"}


def roff(text):
    """Plain text for roff: nothing in it is a request or an escape."""
    text = text.strip().replace("\\", "\\e").replace("-", "\\-")
    return "\n".join("\\&" + line if line[:1] in (".", "'") else line for line in text.splitlines())


def option_lines(option):
    value = f" \\fI{roff(option['value'])}\\fR" if option["value"] else ""
    names = ", ".join(f"\\fB{roff(name)}\\fR" for name in option["names"])
    required = " Required." if option["required"] else ""
    return [".TP", names + value, roff(option["text"] + required)]


def command_lines(command, names):
    """A command's own section, and those of the commands in it."""
    arguments = " ".join(f"\\fI{roff(a['names'][0])}\\fR" for a in command["arguments"])
    inner = "\\fICOMMAND\\fR" if command["commands"] else ""
    usage = " ".join(filter(None, (f"\\fB{roff(' '.join(names))}\\fR", arguments, inner, "[\\fIoptions\\fR]")))
    lines = [f".SS {usage}", roff(command["text"] + ".")]
    for option in command["arguments"] + command["options"]:
        lines += option_lines(option)
    for below in command["commands"]:
        lines += command_lines(below, names + [below["name"]])
    return lines


def man_page(program, version):
    name = program["name"]
    brief = program["text"].rstrip(".")
    brief = brief.split(": ", 1)[-1].removeprefix("Lumenara ")
    lines = [f'.TH {name.upper()} 1 "" "Lumenara {version}" "User Commands"', ".SH NAME",
             f"{roff(name)} \\- {roff(brief)}", ".SH SYNOPSIS"]
    what = "\\fICOMMAND\\fR [\\fIarguments\\fR]" if program["commands"] else " ".join(
        f"[\\fI{a['names'][0]}\\fR]" for a in program["arguments"])
    lines += [f"\\fB{roff(name)}\\fR {what} [\\fIoptions\\fR]", ".SH DESCRIPTION", roff(program["text"]), ".SH OPTIONS"]
    for option in program["arguments"] + program["options"]:
        lines += option_lines(option)
    if program["commands"]:
        lines.append(".SH COMMANDS")
    for command in program["commands"]:
        lines += command_lines(command, [command["name"]])
    if program["footer"].strip():
        lines += [".SH NOTES", roff(" ".join(program["footer"].split()))]
    for title, entries in MORE.get(name, []):
        lines.append(f".SH {title}")
        for term, text in entries:
            lines += [".TP", f"\\fB{roff(term)}\\fR", roff(text)]
    lines += [".SH SEE ALSO", f"\\fB{roff(SEE_ALSO[name])}\\fR(1)"]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("--version", required=True)
    parser.add_argument("--output", type=pathlib.Path, required=True)
    options = parser.parse_args()
    program = json.loads(subprocess.run([options.program.resolve(), "--describe"], check=True, capture_output=True, text=True).stdout)
    name = program["name"]
    options.output.mkdir(parents=True, exist_ok=True)
    page = man_page(program, options.version).encode()
    (options.output / f"{name}.1.gz").write_bytes(gzip.compress(page, 9, mtime=0))
    for file, make in ((name, bash), (f"_{name}", zsh), (f"{name}.fish", fish)):
        (options.output / file).write_text(make(program), encoding="utf-8")


if __name__ == "__main__":
    main()

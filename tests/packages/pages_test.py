#!/usr/bin/env python3
"""Man pages and completion agree with --help, and shells complete with them.

  pages_test.py --build FOLDER
"""
import argparse
import gzip
import os
import pathlib
import pty
import re
import select
import shutil
import signal
import subprocess
import sys
import time

from installed import Failed, check

COMMANDS = {"lumenara": ["", "render", "animate", "info", "settings", "settings set", "settings list", "compare", "history", "history add"],
            "lumenara-studio": [""]}


def options_of_help(program, words):
    """The option names of `PROGRAM WORDS --help`; what is indented by two and starts with a minus sign."""
    text = subprocess.run([program, *words.split(), "--help"], check=True, capture_output=True, text=True).stdout
    names = set()
    for line in text.splitlines():
        match = re.match(r"  (-[^ ]*)", line)
        if match:
            names |= {re.sub(r"\{.*", "", name) for name in match.group(1).split(",")}
    check("--help" in names, f"{program} {words} --help lists no options")
    return names


def section(page, words):
    """The part of a page that describes a command."""
    if not words:
        return page
    start = page.index(".SS \\fB" + words.replace("-", "\\-") + "\\fR")
    end = page.find(".SS ", start + 1)
    return page[start:end if end > 0 else len(page)]


def bash_completes(script, function, words, word):
    """What bash offers for the word behind the others."""
    line = " ".join(f"'{w}'" for w in words.split() + [word])
    run = f"source '{script}'; COMP_WORDS=({line}); COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1)); {function}; printf '%s\\n' \"${{COMPREPLY[@]}}\""
    return subprocess.run(["bash", "--norc", "-c", run], check=True, capture_output=True, text=True).stdout.split()


def fish_completes(script, line):
    run = f"source '{script}'; complete -C '{line}'"
    return [found.split("\t")[0] for found in
            subprocess.run(["fish", "--no-config", "-c", run], check=True, capture_output=True, text=True).stdout.splitlines()]


def check_program(build, name):
    program, pages = build / "bin" / name, build / "pages" / name
    page = gzip.decompress((pages / f"{name}.1.gz").read_bytes()).decode()
    function = "_" + name.replace("-", "_")
    for words in COMMANDS[name]:
        wanted = options_of_help(program, words)
        here = section(page, words) if words.count(" ") == 0 else section(page, words) + section(page, words.split()[0])
        for option in wanted:
            check(f"\\fB{option}\\fR".replace("-", "\\-") in here, f"the page of {name} {words} does not have {option}")
        offered = set(bash_completes(pages / name, function, f"{name} {words}", "-"))
        check(wanted <= offered, f"bash does not complete {wanted - offered} of {name} {words}")
        if shutil.which("fish"):
            long = {option for option in wanted if option.startswith("--")}
            known = set(fish_completes(pages / f"{name}.fish", f"{name} {words} --".replace("  ", " ")))
            check(long <= known, f"fish does not complete {long - known} of {name} {words}")


def check_words(build):
    """Commands, values and files."""
    pages = build / "pages" / "lumenara"
    bash = lambda words, word: bash_completes(pages / "lumenara", "_lumenara", words, word)  # noqa: E731
    check(bash("lumenara", "re") == ["render"], "bash does not complete the command render")
    check(bash("lumenara settings", "") == ["list", "get", "set", "preset", "reset"], "bash does not complete the actions of settings")
    check(sorted(bash("lumenara render --sampling", "")) == ["even", "noise"], "bash does not complete the values of --sampling")
    os.environ["PATH"] = f"{build / 'bin'}:{os.environ['PATH']}"
    names = bash("lumenara settings get", "opt.g")
    check(names == ["opt.gi"], f"bash does not complete names of settings: {names}")
    scenes = bash("lumenara render", str(pathlib.Path(__file__).parents[2] / "scenes") + "/")
    check(any(name.endswith("demo.glb") for name in scenes), "bash does not complete scenes")
    check(not any(name.endswith(".py") for name in bash("lumenara render", str(pathlib.Path(__file__).parent) + "/")),
          "bash offers files that are no scenes")
    if shutil.which("fish"):
        fish = fish_completes(pages / "lumenara.fish", "lumenara re")
        check("render" in fish, f"fish does not complete the command render: {fish}")
        check("noise" in fish_completes(pages / "lumenara.fish", "lumenara render --sampling "), "fish does not complete values")


def zsh_completes(folder, line, wanted, seconds=30):
    """What zsh shows when Tab is pressed behind the line, until that is the wanted text."""
    child, terminal = pty.fork()
    if child == 0:
        os.execvpe("zsh", ["zsh", "-f", "-i"], {"PATH": "/usr/bin:/bin", "TERM": "dumb", "HOME": "/nonexistent", "LANG": "C.UTF-8"})
    os.write(terminal, f"fpath=({folder} $fpath); autoload -Uz compinit; compinit -D -u; print REA''DY\n".encode())
    shown = ""
    try:
        for text, sign in (("", "READY"), (line + "\t", wanted)):
            os.write(terminal, text.encode())
            end = time.monotonic() + seconds
            while sign not in shown and time.monotonic() < end:
                if select.select([terminal], [], [], 0.1)[0]:
                    shown += os.read(terminal, 4096).decode(errors="replace")
    finally:
        os.kill(child, signal.SIGKILL)
        os.waitpid(child, 0)
        os.close(terminal)
    return shown


def check_zsh(build):
    """Its own parser accepts the scripts, and a command and an option are completed."""
    for name in COMMANDS:
        subprocess.run(["zsh", "-n", build / "pages" / name / f"_{name}"], check=True)
    folder = build / "pages" / "lumenara"
    for line, wanted in (("lumenara rend", "lumenara render "), ("lumenara settings s", "lumenara settings set "),
                         ("lumenara animate --stam", "lumenara animate --stamps ")):
        shown = zsh_completes(folder, line, wanted)
        check(wanted in shown, f"zsh does not complete {line}: {shown!r}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    options = parser.parse_args()
    for name in COMMANDS:
        check_program(options.build, name)
    check_words(options.build)
    if shutil.which("zsh"):
        check_zsh(options.build)
    for tool in ("zsh", "fish"):
        if not shutil.which(tool):
            print(f"not tested, because not installed: {tool}")
    if shutil.which("man"):
        for name in COMMANDS:
            told = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", options.build / "pages" / name / f"{name}.1.gz"],
                                  stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True,
                                  env={"PATH": "/usr/bin:/bin", "LANG": "C.UTF-8", "MANROFFSEQ": "", "MANWIDTH": "80"}).stderr
            check(not told, f"the page of {name} has faults: {told}")
    print("passed")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Failed as failure:
        print(f"failed: {failure}")
        sys.exit(1)

"""Completion scripts for bash, zsh and fish, made from the description of a program (its hidden option --describe)."""
import re

SCENES = ("glb", "gltf", "obj", "fbx", "ply", "stl", "dae")
FISH_SETTINGS = "(lumenara settings list --names 2>/dev/null | cut -f1)"
FILES = ("IMAGE", "FILE", "A", "B")


def choices(option):
    """The words that a value may be, as "noise|even" lists them."""
    word = re.match(r"[a-z]+(\|[a-z]+)+", option["value"])
    return word.group().split("|") if word else []


def kind(option):
    """scene, file, folder, setting, or empty: how the value is completed."""
    value = option["names"][0] if not option["names"][0].startswith("-") else re.split(r"[: ]", option["value"])[0]
    if value in ("KEY", "KEY=VALUE"):
        return "setting"
    return "scene" if value == "SCENE" else "file" if value in FILES else "folder" if value == "DIR" else ""


def paths(command, words=()):
    """(Words, command) of the program and of all commands below it."""
    yield words, command
    for below in command["commands"]:
        yield from paths(below, words + (below["name"],))


def inherited(program, words):
    """The options that count after these words: those of the command and, for actions, of the command above."""
    options, command = [], program
    for word in words:
        command = next(c for c in command["commands"] if c["name"] == word)
        options = [o for o in options if "--help" not in o["names"]] + command["options"]
    return options or program["options"]


def quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


def function_name(program):
    return "_" + program["name"].replace("-", "_")


BASH = """# Completion of {name} for bash.
{function}() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD-1]}} path='' i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "$path/${{COMP_WORDS[i]}}" in
      {commands}) path+="/${{COMP_WORDS[i]}}" ;;
    esac
  done
  case "$path:$before" in
{values}
  esac
  local options='' words='' files=''
  case "$path" in
{paths}
  esac
  if [[ $word == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
  elif [[ -n $words ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  elif [[ -n $files ]]; then
    {function}_files "$files" "$word"
  fi
}}
# {function}_files KIND WORD: folders, and files of the kind.
{function}_files() {{
  compopt -o filenames 2>/dev/null
  local extended
  extended=$(shopt -p extglob)
  shopt -s extglob
  case $1 in
    setting) mapfile -t COMPREPLY < <(compgen -W "$({name} settings list --names 2>/dev/null | cut -f1)" -- "$2") ;;
    folder) mapfile -t COMPREPLY < <(compgen -d -- "$2") ;;
    scene) mapfile -t COMPREPLY < <(compgen -d -- "$2"; compgen -f -X '!*.@({suffixes})' -- "$2") ;;
    *) mapfile -t COMPREPLY < <(compgen -f -- "$2") ;;
  esac
  $extended
}}
complete -F {function} {name}
"""


def bash(program):
    function = function_name(program)
    values, cases = [], []
    for words, command in paths(program):
        path = "".join("/" + word for word in words)
        options = inherited(program, words)
        for option in options:
            if not option["value"]:
                continue
            names = "|".join(f"{path}:{name}" for name in option["names"])
            if choices(option):
                action = f'mapfile -t COMPREPLY < <(compgen -W {quoted(" ".join(choices(option)))} -- "$word")'
            else:
                action = f'{function}_files {kind(option)} "$word"' if kind(option) else ":"
            values.append(f"    {names}) {action}; return ;;")
        names = " ".join(name for option in options for name in option["names"])
        below = " ".join(c["name"] for c in command["commands"])
        files = next(filter(None, map(kind, command["arguments"])), "")
        cases.append(f"    {quoted(path)}) options={quoted(names)} words={quoted(below)} files={quoted(files)} ;;")
    commands = "|".join("/" + "/".join(words) for words, _ in paths(program) if words) or "/"
    return BASH.format(name=program["name"], function=function, suffixes="|".join(SCENES), commands=commands,
                       values="\n".join(values), paths="\n".join(cases))


def zsh_value(option):
    if choices(option):
        return "(" + " ".join(choices(option)) + ")"
    return {"scene": f"_files -g '*.({'|'.join(SCENES)})'", "file": "_files", "folder": "_files -/",
            "setting": "{compadd -- ${(f)\"$(lumenara settings list --names 2>/dev/null | cut -f1)\"}}"}.get(kind(option), " ")


def zsh_text(text):
    return re.sub(r"([\[\]:\\])", r"\\\1", text)


def zsh_specs(options, arguments):
    for option in options:
        value = f":{zsh_text(option['value'])}:{zsh_value(option)}" if option["value"] else ""
        together = "(" + " ".join(option["names"]) + ")" if len(option["names"]) > 1 else ""
        for name in option["names"]:
            yield quoted(f"{together}{name}[{zsh_text(option['text'])}]{value}")
    for argument in arguments:
        yield quoted(f":{argument['names'][0]}:{zsh_value(argument)}")


def zsh(program):
    function = function_name(program)
    lines = [f"#compdef {program['name']}", f"# Completion of {program['name']} for zsh."]
    for words, command in paths(program):
        name = "_".join((function,) + words)
        specs = list(zsh_specs(inherited(program, words), command["arguments"]))
        lines.append(f"{name}() {{")
        if command["commands"]:
            lines.append("  local state line context; typeset -A opt_args")
            specs += ["'1:command:->command'", "'*::arguments:->arguments'"]
        lines.append("  _arguments -C \\\n    " + " \\\n    ".join(specs))
        if command["commands"]:
            known = " ".join(quoted(f"{c['name']}:{zsh_text(c['text'])}") for c in command["commands"])
            lines += ["  case $state in", f"    command) local -a known=({known}); _describe command known ;;",
                      f"    arguments) (( $+functions[{name}_$line[1]] )) && {name}_$line[1] ;;", "  esac"]
        lines.append("}")
    return "\n".join(lines) + f'\n{function} "$@"\n'


def fish_condition(program, words, command):
    """True where exactly these words were given."""
    tests = [f"__fish_seen_subcommand_from {word}" for word in words]
    below = " ".join(c["name"] for c in command["commands"])
    if below:
        tests.append(f"not __fish_seen_subcommand_from {below}")
    return "; and ".join(tests)


def fish_option(start, option):
    parts = [start]
    for name in option["names"]:
        parts.append(f"-l {name[2:]}" if name.startswith("--") else f"-s {name[1:]}")
    if choices(option):
        parts.append(f"-x -a {quoted(' '.join(choices(option)))}")
    elif option["value"]:
        parts.append("-r -F" if kind(option) in ("file", "scene") else
                     f"-x -a '{FISH_SETTINGS}'" if kind(option) == "setting" else
                     "-x -a '(__fish_complete_directories)'" if kind(option) else "-x")
    return " ".join(parts) + " -d " + quoted(option["text"])


def fish(program):
    name = program["name"]
    lines = [f"# Completion of {name} for fish.", f"complete -c {name} -f"]
    for words, command in paths(program):
        condition = fish_condition(program, words, command)
        start = f"complete -c {name}" + (f" -n {quoted(condition)}" if condition else "")
        lines += [fish_option(start, option) for option in inherited(program, words)]
        lines += [f"{start} -a {below['name']} -d {quoted(below['text'])}" for below in command["commands"]]
        files = set(filter(None, map(kind, command["arguments"])))
        if "setting" in files:
            lines.append(f"{start} -a '{FISH_SETTINGS}'")
        elif files:
            lines.append(f"{start} -F")
    return "\n".join(lines) + "\n"

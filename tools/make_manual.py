#!/usr/bin/python3
"""Makes the manual, docs/lm_manual.pdf, from the texts in docs/manual/. Usage: make_manual.py [OUTPUT.pdf]

Chapters are the Markdown files, in the order of their names. A line "{{dialog NUMBER}}" becomes tables of that dialog's
settings, with the words of its resource files. Needs the packages weasyprint and python3-markdown.
"""

import html
import pathlib
import re
import sys

import markdown
import weasyprint

ROOT = pathlib.Path(__file__).resolve().parent.parent
MANUAL = ROOT / "docs" / "manual"
FIELDS = {"CHECKBOX", "COMBOBOX", "EDITTEXT", "EDITNUMBER", "EDITNUMBERARROWS", "EDITSLIDER", "SLIDER", "COLORFIELD"}


def tokens(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    return re.findall(r'"(?:\\.|[^"\\])*"|[{};,=]|[^\s{};,="]+', re.sub(r"//[^\n]*", " ", text))


def symbols():
    numbers, last = {}, -1
    text = re.sub(r"^#.*$", "", (ROOT / "res" / "c4d_symbols.h").read_text(), flags=re.M)
    for body in re.findall(r"enum[^{]*\{(.*?)\}", re.sub(r"//[^\n]*", "", text), flags=re.S):
        for entry in filter(None, (e.strip() for e in body.split(","))):
            name, _, value = (part.strip() for part in entry.partition("="))
            last = int(value, 0) if value else last + 1
            numbers[name] = last
    return numbers


def strings():
    words = {}
    for file in (ROOT / "res" / "strings_us" / "dialogs").glob("*.str"):
        parts = tokens(file.read_text())
        for name, text in zip(parts, parts[1:]):
            if text.startswith('"'):
                words[name] = text[1:-1].replace("&", "").replace('\\"', '"').replace("\\n", " ")
    return words


def parse(parts, at):
    """The entries between two braces, ([word, words..., block or None]...), and the index of their end."""
    out, words = [], []
    while at < len(parts):
        part = parts[at]
        at += 1
        if part == "}":
            return out, at
        if part == "{":
            block, at = parse(parts, at)
            out.append((words, block))
            words = []
        elif part == ";":
            out.append((words, None))
            words = []
        elif part != ",":
            words.append(part)
    return out, at


class Dialog:
    def __init__(self, number):
        self.numbers, self.words = symbols(), strings()
        for file in sorted((ROOT / "res" / "dialogs").glob("*.res")):
            for words, block in parse(tokens(file.read_text()), 0)[0]:
                if block is not None and self.number(words[1]) == number:
                    self.block = block
                    return
        sys.exit(f"res/dialogs has no dialog {number}")

    def number(self, word):
        return self.numbers.get(word) if word in self.numbers else int(word) if word.lstrip("-").isdigit() else None

    def text(self, block, kind):
        for words, inner in block:
            if inner is None and words and words[0] == kind:
                return self.words.get(words[1], "")
        return ""

    def choices(self, block):
        for words, inner in block:
            if inner is not None and words == ["CHILDS"]:
                return [self.words[w[1]] for w, _ in inner if len(w) > 1 and w[1] in self.words]
        return []

    def rows(self, block):
        label = ""
        for words, inner in block:
            if inner is None or not words:
                continue
            kind = words[0]
            if kind in ("GROUP", "SCROLLGROUP"):
                title = self.text(inner, "NAME")
                if title:
                    yield "title", title, ""
                yield from self.rows(inner)
            elif kind == "STATICTEXT":
                label = self.text(inner, "NAME") or label
            elif kind in FIELDS and (self.text(inner, "NAME") or label):  # what has no label belongs to the row above
                name = self.text(inner, "NAME") or label
                what = self.text(inner, "TOOLTIP")
                choices = ", ".join(self.choices(inner))
                yield "field", name, ". ".join(filter(None, [what.rstrip("."), choices]))
                label = ""

    def merged(self):
        """The rows; neighbours with the same explanation are one."""
        last = None
        for kind, name, what in self.rows(self.block):
            if last and kind == last[0] == "field" and what == last[2]:
                last = (kind, f"{last[1]}, {name}", what)
                continue
            if last:
                yield last
            last = (kind, name, what)
        if last:
            yield last

    def html(self):
        out, open_table = [], False
        for kind, name, what in self.merged():
            if kind == "title":
                out += ["</table>"] if open_table else []
                out.append(f"<h2>{html.escape(name)}</h2>")
                open_table = False
            else:
                out += [] if open_table else ["<table>"]
                open_table = True
                out.append(f"<tr><td><strong>{html.escape(name)}</strong></td><td>{html.escape(what)}</td></tr>")
        return "\n".join(out + (["</table>"] if open_table else []))


def figures(page):
    """Pictures with their descriptions below them."""
    page = re.sub(r"<p>((?:\s*<img [^>]*>)+)\s*</p>", r"\1", page)

    def figure(match):
        text, names = (re.search(rf'{key}="([^"]*)"', match[0]) for key in ("alt", "class"))
        kind = f' class="{names[1]}"' if names else ""
        return f"<figure{kind}>{match[0]}<figcaption>{text[1]}</figcaption></figure>"
    return re.sub(r"<img [^>]*>", figure, page)


def chapters():
    for file in sorted(MANUAL.glob("*.md")):
        text = re.sub(r"^\{\{dialog (\d+)\}\}$", lambda m: Dialog(int(m[1])).html(), file.read_text(), flags=re.M)
        yield file.stem, figures(markdown.markdown(text, extensions=["tables", "md_in_html", "attr_list"]))


def cover():
    mark = (ROOT / "host" / "qt" / "icons" / "lumenara.svg").read_text()
    return f'<div class="cover">{mark}<div class="name">LUMENARA</div><div class="what">The manual</div></div>'


def main():
    output = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "docs" / "lm_manual.pdf"
    bodies, contents = [], []
    for name, body in chapters():
        title = re.search(r"<h1>(.*?)</h1>", body)[1]
        contents.append(f'<a href="#{name}">{title}</a>')
        bodies.append(body.replace("<h1>", f'<h1 id="{name}">', 1))
    page = cover() + '<div class="contents"><h1>Contents</h1>' + "".join(contents) + "</div>" + "".join(bodies)
    document = weasyprint.HTML(string=f"<html lang='en'><title>Lumenara</title><body>{page}</body></html>", base_url=MANUAL.as_uri() + "/")
    document.write_pdf(str(output), stylesheets=[str(MANUAL / "style.css")])


if __name__ == "__main__":
    main()

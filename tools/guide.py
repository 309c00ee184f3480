#!/usr/bin/python3
"""Makes the guide of the package, HTML out of docs/: tools/guide.py FOLDER

A link to a page becomes one to its HTML, a link to what else the package holds leads there, and one to what it does not
hold, such as a source file, is left as text. Pictures are copied. Debian's python3-markdown does the rest.
"""

import html
import re
import shutil
import sys
from pathlib import Path
from urllib.parse import unquote, urlsplit

import markdown

ROOT = Path(__file__).resolve().parent.parent
DOCS = ROOT / "docs"
# Pages for whoever uses the library, in the order of reading; the others are for whoever works on it, by their names.
FOR_HOSTS = ["first-picture", "host-guide", "rules", "package", "edge-cases", "how-far", "compatibility"]
HEADINGS = ["To use the library", "To work on it: how it is made, and why so"]
# Files of the tree that the package holds, and where.
PACKAGED = {"CHANGELOG.md": "CHANGELOG.md", "THIRD_PARTY.md": "THIRD_PARTY.md", "LICENSE": "LICENSE"}
FOLDERS = {"interface": "include", "player/include": "include", "device/include": "include", "hosts": "hosts"}
PICTURES = {".png", ".jpg", ".svg"}

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title} - Pellora</title>
<style>
body {{ font: 16px/1.5 "Segoe UI", "Liberation Sans", sans-serif; color: #222; background: #fff; margin: 2em auto; padding: 0 1em; max-width: 56em; }}
code, pre {{ font: 14px/1.4 Consolas, "Liberation Mono", monospace; background: #f3f4f6; }}
code {{ padding: 0 .2em; }}
pre {{ padding: .8em; overflow-x: auto; }}
pre code {{ padding: 0; }}
table {{ border-collapse: collapse; }}
th, td {{ border: 1px solid #ccc; padding: .3em .6em; text-align: left; vertical-align: top; }}
img {{ max-width: 100%; }}
nav {{ border-bottom: 1px solid #ccc; padding-bottom: .4em; }}
</style>
</head>
<body>
<nav><a href="{up}index.html">Pellora {version}: all pages</a></nav>
{body}
</body>
</html>
"""


def version():
    return re.search(r"^project\(Pellora VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text("utf-8"), re.MULTILINE)[1]


def title_of(text):
    return re.search(r"^# (.+)$", text, re.MULTILINE)[1].replace("`", "")


def anchor(text, separator):
    """The name of a heading as it is written in links to it."""
    return re.sub(r"[^\w\- ]", "", text.lower()).replace(" ", separator)


def place_of(target):
    """Where a file or folder of the tree lies in the package, or None."""
    path = target.relative_to(ROOT).as_posix()
    if path in PACKAGED:
        return PACKAGED[path]
    for folder, place in FOLDERS.items():
        if path == folder or path.startswith(folder + "/"):
            rest = path[len(folder):]
            return place + rest if place != "include" or rest.endswith((".h", ".hpp")) else None
    return None


def address_of(page, link):
    """What a link of a page becomes; None where it leads nowhere in the package."""
    parts = urlsplit(link)
    if parts.scheme or not parts.path:
        return link
    target = (page.parent / unquote(parts.path)).resolve()
    fragment = "#" + parts.fragment if parts.fragment else ""
    if target.is_relative_to(DOCS):
        return re.sub(r"\.md$", ".html", parts.path) + fragment if target.is_file() else None
    place = place_of(target) if target.is_relative_to(ROOT) else None
    return "../" * (len(page.relative_to(DOCS).parts)) + place if place else None


def convert(page, text):
    body = markdown.markdown(text, extensions=["tables", "fenced_code", "sane_lists", "toc"],
                             extension_configs={"toc": {"slugify": anchor}}, output_format="html")

    def link(match):
        address = address_of(page, html.unescape(match[1]))
        return f'<a href="{html.escape(address)}">{match[2]}</a>' if address else match[2]

    return re.sub(r'<a href="([^"]*)">(.*?)</a>', link, body, flags=re.DOTALL)


def write_page(folder, place, title, body):
    path = folder / place
    path.parent.mkdir(parents=True, exist_ok=True)
    up = "../" * (len(place.parts) - 1)
    path.write_text(PAGE.format(title=html.escape(title), version=version(), up=up, body=body), encoding="utf-8")


def main():
    folder = Path(sys.argv[1]).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    ranks = {name: number for number, name in enumerate(FOR_HOSTS)}
    pages = sorted(DOCS.rglob("*.md"), key=lambda page: (len(page.relative_to(DOCS).parts),
                                                         ranks.get(page.stem, len(FOR_HOSTS)), page.name))
    lists = ["", ""]
    for page in pages:
        text = page.read_text(encoding="utf-8")
        place = page.relative_to(DOCS).with_suffix(".html")
        write_page(folder, place, title_of(text), convert(page, text))
        lists[page.stem not in ranks] += f'<li><a href="{place.as_posix()}">{html.escape(title_of(text))}</a></li>\n'
    body = [f"<h2>{heading}</h2>\n<ul>\n{items}</ul>" for heading, items in zip(HEADINGS, lists)]
    write_page(folder, Path("index.html"), "All pages", "\n".join(["<h1>Pellora</h1>", *body]))
    for picture in sorted(DOCS.rglob("*")):
        if picture.suffix in PICTURES:
            target = folder / picture.relative_to(DOCS)
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(picture, target)
    return 0


if __name__ == "__main__":
    sys.exit(main())

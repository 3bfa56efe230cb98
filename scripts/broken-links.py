#!/usr/bin/env python3
"""Finds links in the Markdown files of the tree that lead to no file or to no heading."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def anchors(document: pathlib.Path) -> set[str]:
    headings = re.findall(r"^#+ +(.+?) *$", document.read_text(), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def broken_links(document: pathlib.Path) -> list[str]:
    text = re.sub(r"^```.*?^```", "", document.read_text(), flags=re.MULTILINE | re.DOTALL)
    faults = []
    for link in re.findall(r"\]\(([^)\s]+)\)", text):
        if re.match(r"[a-z]+:", link):
            continue
        path, _, anchor = link.partition("#")
        target = document.parent / path if path else document
        if not target.exists():
            faults.append(f"{document.relative_to(ROOT)}: no such file: {link}")
        elif anchor and anchor not in anchors(target):
            faults.append(f"{document.relative_to(ROOT)}: no such heading: {link}")
    return faults


folders = [d for d in sorted(ROOT.iterdir()) if d.is_dir() and not d.name.startswith(("build", "."))]
documents = sorted(ROOT.glob("*.md")) + [d for folder in folders for d in sorted(folder.rglob("*.md"))]
faults = [fault for document in documents for fault in broken_links(document)]
print("\n".join(faults))
sys.exit(1 if faults else 0)

#!/usr/bin/env python3
"""Finds code in the Markdown files of the tree that differs from the file that it is quoted from.

A quotation is a fenced block behind a comment with the file's name: <!-- examples/minimal.c -->
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
QUOTATION = re.compile(r"^<!-- (\S+) -->\n```\w*\n(.*?)^```", re.MULTILINE | re.DOTALL)

faults = []
for document in [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")]:
    for file, code in QUOTATION.findall(document.read_text()):
        if not (ROOT / file).is_file() or code not in (ROOT / file).read_text():
            faults.append(f"{document.relative_to(ROOT)}: not in {file}:\n{code}")
print("\n".join(faults))
sys.exit(1 if faults else 0)

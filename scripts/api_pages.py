"""The public headers as pages: Doxygen reads them, and its XML becomes HTML of our own style."""

import html
import pathlib
import re
import subprocess
import tempfile
import xml.etree.ElementTree as ElementTree

HEADERS = ("animation/animation.h", "render/render.h", "player/player.h", "maths/maths.h")

SETTINGS = """
QUIET = YES
WARNINGS = NO
GENERATE_HTML = NO
GENERATE_LATEX = NO
GENERATE_XML = YES
XML_PROGRAMLISTING = NO
EXTRACT_ALL = YES
OPTIMIZE_OUTPUT_FOR_C = YES
TYPEDEF_HIDES_STRUCT = YES
AUTOLINK_SUPPORT = NO
MACRO_EXPANSION = YES
EXPAND_ONLY_PREDEF = YES
PREDEFINED = ANIMATION_32_BIT=
"""

KINDS = {  # the sections of a page, in its order
    "function": "Functions",
    "struct": "Records",
    "enum": "Enumerations",
    "variable": "Variables",
    "define": "Constants and start values",
    "typedef": "Other types",
}


def for_doxygen(text: str) -> str:
    """Our comments as Doxygen's: before what they tell of, or behind it on its line."""
    text = re.sub(r"^/\*\n \* ---- (.*?) -+\n", r"/**\n * @file\n * @par \1\n", text, flags=re.M)
    text = re.sub(r"\A/\*", "/**\n * @file", text)
    text = re.sub(r"^/\*(?!\*| ----)", "/**", text, flags=re.M)
    text = re.sub(r"(?<=[;,}\w])([ \t]+)/\*(?!\*)", r"\1/**<", text)
    # What is set in columns by blanks stays as it is set.
    return re.sub(r"^ \*   (?=\S.*\S {3,}\S|from |of the|after |a second|first,| {8,})", " *       ",
                  text, flags=re.M)


def inner(node) -> str:
    """The text of a description as HTML."""
    text = html.escape(node.text or "")
    for child in node:
        text += element(child) + html.escape(child.tail or "")
    return text


def element(node) -> str:
    tags = {"itemizedlist": "ul", "orderedlist": "ol", "listitem": "li", "computeroutput": "code",
            "bold": "strong", "emphasis": "em", "title": "strong", "simplesect": "div"}
    if node.tag == "para":
        blocks = {"itemizedlist", "orderedlist", "programlisting", "simplesect", "verbatim"}
        if node.find("title") is None and not any(child.tag in blocks for child in node):
            return f"<p>{inner(node)}</p>" if inner(node).strip() else ""
        return f"<div>{inner(node)}</div>"
    if node.tag == "programlisting":
        lines = (line_text(line) for line in node.findall("codeline"))
        return f"<pre><code class='c'>{html.escape(chr(10).join(lines))}</code></pre>"
    if node.tag == "verbatim":
        return f"<pre><code>{html.escape(node.text or '')}</code></pre>"
    if node.tag in tags:
        return f"<{tags[node.tag]}>{inner(node)}</{tags[node.tag]}>"
    if node.tag in ("ndash", "mdash"):
        return "–"
    return inner(node)


def line_text(node) -> str:
    text = " " if node.tag == "sp" else node.text or ""
    return text + "".join(line_text(child) + (child.tail or "") for child in node)


def description(node) -> str:
    parts = [node.find("briefdescription"), node.find("detaileddescription"),
             node.find("inbodydescription")]
    return "".join(inner(part) for part in parts if part is not None).strip()


def plain(node) -> str:
    return " ".join("".join(node.itertext()).split()) if node is not None else ""


def rows(entries) -> str:
    return "<table class='fields'>" + "".join(
        f"<tr><td><code>{html.escape(name)}</code></td><td>{text}</td></tr>"
        for name, text in entries) + "</table>"


def declaration(member) -> str:
    name, kind = plain(member.find("name")), member.get("kind")
    if kind == "function":
        return f"{plain(member.find('type'))} {name}{plain(member.find('argsstring'))};"
    if kind == "define":
        value = plain(member.find("initializer"))
        return f"#define {name}" + (f" {value}" if value and not value.startswith("{") else "")
    if kind == "enum":
        return f"enum {name}"
    if kind == "typedef":
        return plain(member.find("definition")) + ";"
    return f"extern {plain(member.find('definition'))}{plain(member.find('argsstring'))};"


def entry(name: str, code: str, text: str, table: str = "") -> tuple:
    body = f"<pre><code class='c'>{html.escape(code)}</code></pre>{text}{table}"
    return name, f"<section class='entry'><h3 id='{name}'>{html.escape(name)}</h3>{body}</section>"


def member_entry(member) -> tuple:
    values = [(plain(value.find("name")) + " " + plain(value.find("initializer")), description(value))
              for value in member.findall("enumvalue")]
    return entry(plain(member.find("name")), declaration(member), description(member),
                 rows(values) if values else "")


def record_entry(compound) -> tuple:
    name = plain(compound.find("compoundname"))
    fields = [(f"{plain(m.find('type'))} {plain(m.find('name'))}{plain(m.find('argsstring'))}",
               description(m)) for m in compound.iter("memberdef")]
    return entry(name, f"struct {name}", description(compound), rows(fields))


def api_pages(root: pathlib.Path) -> dict:
    """Of each header: (what it says of itself, {section: [(name, HTML)]})."""
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        for header in HEADERS:
            (work / header).parent.mkdir()
            (work / header).write_text(for_doxygen((root / header).read_text()))
        settings = SETTINGS + f"OUTPUT_DIRECTORY = {work}\nSTRIP_FROM_PATH = {work}\n"
        settings += "INPUT = " + " ".join(str(work / header) for header in HEADERS) + "\n"
        subprocess.run(["doxygen", "-"], input=settings, text=True, check=True, cwd=work)
        compounds = {}
        for file in (work / "xml").glob("*.xml"):
            for compound in ElementTree.parse(file).iter("compounddef"):
                compounds[compound.get("id")] = compound
    pages = {}
    for compound in compounds.values():
        if compound.get("kind") != "file":
            continue
        header = compound.find("location").get("file")
        sections = {title: [] for title in KINDS.values()}
        for inside in compound.findall("innerclass"):
            record = compounds.get(inside.get("refid"))
            if record is not None and "::" not in plain(record.find("compoundname")):
                sections["Records"].append(record_entry(record))
        for member in compound.iter("memberdef"):
            if member.get("kind") in KINDS and not plain(member.find("name")).endswith("_H"):
                sections[KINDS[member.get("kind")]].append(member_entry(member))
        pages[header] = description(compound), {t: e for t, e in sections.items() if e}
    return pages

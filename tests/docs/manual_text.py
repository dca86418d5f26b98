"""Parses Markdown: tables, code, headings and links."""
import re


def without_code(text):
    """The text without its code blocks and code spans."""
    text = re.sub(r"^(```|~~~).*?^\1", "", text, flags=re.MULTILINE | re.DOTALL)
    text = re.sub(r"^(?: {4}|\t).*$", "", text, flags=re.MULTILINE)
    return re.sub(r"(`+)(?!`).*?(?<!`)\1(?!`)", "", text, flags=re.DOTALL)


def code_lines(text):
    """The lines of the code blocks, indented or fenced."""
    lines = []
    is_fenced = False
    for line in text.splitlines():
        if line.startswith(("```", "~~~")):
            is_fenced = not is_fenced
        elif is_fenced:
            lines.append(line)
        elif line.startswith("    "):
            lines.append(line[4:])
    return lines


def first_cells(text):
    """The first cell of each row of the tables, without their headers."""
    cells = []
    for line in text.splitlines():
        is_ruler = re.fullmatch(r"\|[-| :]+\|", line) is not None
        if is_ruler:
            cells = cells[:-1]
        elif line.startswith("|"):
            cells.append(line.split("|")[1].strip())
    return cells


def code_spans(text):
    return re.findall(r"`([^`]+)`", text)


def headings(text):
    text = re.sub(r"^(```|~~~).*?^\1", "", text, flags=re.MULTILINE | re.DOTALL)
    return [match.group(1).strip() for match in re.finditer(r"^#{1,6} +(.*?)#*$", text, re.MULTILINE)]


def anchors(text):
    """The names by which links refer to the headings."""
    names = set()
    for heading in headings(text):
        words = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)
        name = re.sub(r"[^\w\- ]", "", words.lower()).replace(" ", "-")
        numbered = name
        number = 0
        while numbered in names:
            number += 1
            numbered = f"{name}-{number}"
        names.add(numbered)
    return names


def links(text):
    """The targets of the links and pictures."""
    text = without_code(text)
    inline = re.findall(r"\]\(\s*<?([^)\s>]*)>?[^)]*\)", text)
    defined = re.findall(r"^ {0,3}\[[^\]]+\]:\s*(\S+)", text, re.MULTILINE)
    html = re.findall(r"<(?:img|a)\b[^>]*?\b(?:src|href)=\"([^\"]*)\"", text)
    return inline + defined + html

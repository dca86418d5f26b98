"""Writes the pages of a meet into its results folder, from the documents that are there.

  index.html             the table of all runs, and runs compared
  page.js, page.css      script and style of all pages
  NAME/STEM.page.html    the page of a run, beside its document NAME/STEM.json
  NAME/STEM.page.js      the document, as the argument of a call: pages from the disk load scripts, but read no files

A run's two files are made again only when its document or the version of Tarvel has changed.
"""
import contextlib
import hashlib
import html
import importlib.machinery
import importlib.util
import json
import os
import secrets
import sys
from pathlib import Path
from urllib.parse import quote

FOLDER = Path(__file__).resolve().parent

# The figures in the table.
SHOWN_FIGURES = ("entry_gate_speed", "carve_time", "exit_gate_speed", "stop_distance", "touchdown_distance", "rotation",
                 "turn_time")

# The beginnings of the files that this module writes.
HTML_MARK = "<!-- Made by tarvel-meet, which replaces it. -->"
SCRIPT_MARK = "// Made by tarvel-meet, which replaces it: "
OTHER_MARK = "/* Made by tarvel-meet, which replaces it. */"

# The name of a file while it is written. The folder of a meet is locked, so that no other call uses the name.
NEW = ".tarvel-meet.new"

# A nonce, since chromium does not accept the digest of a script from the disk. Each page has a new one.
PAGE = """{mark}<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; script-src 'nonce-{nonce}'; \
style-src 'nonce-{nonce}'; media-src blob:; base-uri 'none'; form-action 'none'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="referrer" content="no-referrer">
<title>Tarvel</title>
<link rel="stylesheet" href="{top}page.css" nonce="{nonce}">
</head>
<body>
{before}<div id="tarvel-page"></div>
<noscript>This page is drawn by a script, which this program does not run. Open it in a browser.</noscript>
{data}<script src="{top}page.js" nonce="{nonce}"></script>
{behind}</body>
</html>
"""


def load_page_program():
    """Loads tarvel-page as a module, from beside the page's folder in a build tree or from bin where it is
    installed."""
    places = (FOLDER.parent / "tarvel-page", FOLDER.parents[2] / "bin/tarvel-page")
    path = next((place for place in places if place.is_file()), places[-1])
    loader = importlib.machinery.SourceFileLoader("tarvel_page", str(path))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("tarvel_page", loader))
    writes_bytecode, sys.dont_write_bytecode = sys.dont_write_bytecode, True  # beside a program there is none
    try:
        loader.exec_module(module)
    finally:
        sys.dont_write_bytecode = writes_bytecode
    return module


tarvel_page = load_page_program()


def address(path):
    """The relative address of a file in the results folder."""
    return quote(os.fsencode(path))


def shown_name(name):
    return os.fsencode(name).decode("utf-8", "replace")


def document_head(data):
    """The members before the charts: each member has a line of its own."""
    return json.loads(data[:data.index(b'\n"charts":')].rstrip(b",") + b"}")


def shown_document(data, head):
    """The document with the one chart that the pages show, and without the overview."""
    lines = data[data.index(b'\n"charts":') + 1:].decode().splitlines()
    charts = lines[0].removeprefix('"charts":')
    shown = f'{{"{tarvel_page.SHOWN_CHART}":'
    chart = json.JSONDecoder().raw_decode(charts, len(shown))[0] if charts.startswith(shown) else None
    samples = lines[1].removeprefix('"samples":').removesuffix(",")
    return {**head, "charts": chart and {tarvel_page.SHOWN_CHART: chart}, "samples": json.loads(samples)}


def page_stem(document):
    """The stem of the page's files, which a track with this document cannot have, whatever its extension is."""
    return os.path.splitext(document)[0] + ".page"


def begins_with(path, mark):
    try:
        with open(path, encoding="utf-8", errors="replace") as file:
            return file.read(len(mark)) == mark
    except FileNotFoundError:
        return None


def free_name(path):
    """A free name for a file of the user whose name an output needs."""
    made, number = path.with_name(path.name + ".orig"), 1
    while os.path.lexists(made):
        number += 1
        made = path.with_name(f"{path.name}.orig-{number}")
    return made


def write_file(path, mark, text):
    """Replaces a file as a whole. A file of the user with that name is renamed first."""
    if os.path.lexists(path) and (os.path.islink(path) or os.path.isdir(path) or not begins_with(path, mark)):
        os.rename(path, free_name(path))
    made = os.path.join(os.path.dirname(path), NEW)
    try:
        with open(made, "w", encoding="utf-8", newline="") as file:
            file.write(text)
        os.replace(made, path)
    except BaseException:
        with contextlib.suppress(FileNotFoundError):
            os.remove(made)
        raise


def write_run(folder, document, data, head, state):
    """Writes the page of a run, and its document as a script."""
    stem = page_stem(document)
    script, page = folder / f"{stem}.js", folder / f"{stem}.html"
    first_line = f"{SCRIPT_MARK}{hashlib.sha256(state + data).hexdigest()}\n"
    if begins_with(script, first_line) and begins_with(page, HTML_MARK):
        return
    top = "../" * document.count("/")
    nonce = secrets.token_urlsafe(16)
    name = address(os.path.basename(stem))
    write_file(page, HTML_MARK, PAGE.format(
        mark=HTML_MARK, nonce=nonce, top=top, data="",
        before=f'<nav class="meet-nav"><a href="{top}index.html">All runs of the meet</a></nav>\n',
        behind=f'<script src="{html.escape(name)}.js" nonce="{nonce}"></script>\n'))
    shown = tarvel_page.shown_part(shown_document(data, head))
    # The script is written last: its first line says that both files are complete.
    write_file(script, SCRIPT_MARK, f"{first_line}tarvelRun({tarvel_page.embedded(shown)});\n")


def table_row(name, document, head, message):
    """The row of a run in the table. The head is None for a run without a document."""
    row = {"name": shown_name(name), "page": None, "script": None, "verdict": "failed", "message": shown_name(message),
           "reasons": [], "clock": None, "course": None, "metric": False, "figures": {}, "bounded": []}
    if head is None:
        return row
    stem = address(page_stem(document))
    phases, check, failure = head["phases"] or {}, head.get("check"), head["failure"]
    # A track may begin long before the run, with other jumps.
    clocks = [(phases.get(name) or {}).get("clock") for name in ("entry_gate", "turn")] + [head["track"]["first_clock"]]
    row.update(page=f"{stem}.html", clock=next(filter(None, clocks), None), course=head["course"]["file"],
               metric=head["program"]["options"]["metric"], message=failure["message"] if failure else "",
               verdict="failed" if failure else check["verdict"] if check else None)
    if not failure:
        row.update(script=f"{stem}.js", figures={key: head["figures"][key] for key in SHOWN_FIGURES})
    if check:
        row["reasons"] = [{key: reason[key] for key in ("code", "severity", "value", "unit", "text")}
                          for reason in check["reasons"]]
        row["bounded"] = [key for key in SHOWN_FIGURES if check["intervals"][key]["bounds"] is not None]
    return row


def write_meet_page(results, runs):
    """runs: for each, its name, its document's path in the results folder (None when there is none) and why it failed.

    Raises OSError when a file cannot be read or written.
    """
    results = Path(results)
    # What the files of a run depend on, besides its document.
    state = hashlib.sha256(Path(__file__).read_bytes() + Path(tarvel_page.__file__).read_bytes()).digest()
    rows = []
    for name, document, message in runs:
        row = table_row(name, None, None, message or "its document cannot be read")
        if document is not None:
            try:
                data = (results / document).read_bytes()
                head = document_head(data)
                found = table_row(name, document, head, message)
                write_run(results, document, data, head, state)
                row = found
            except (FileNotFoundError, IndexError, ValueError, KeyError, TypeError):
                pass  # a document that is not as tarvel-json writes it
        rows.append(row)
    for made, part in (("page.js", "meet.js"), ("page.css", "meet.css")):
        write_file(results / made, OTHER_MARK, f"{OTHER_MARK}\n{(FOLDER / part).read_text(encoding='utf-8')}")
    data = f'<script type="application/json" id="tarvel-runs">{tarvel_page.embedded(rows)}</script>\n'
    write_file(results / "index.html", HTML_MARK, PAGE.format(
        mark=HTML_MARK, nonce=secrets.token_urlsafe(16), top="", before="", data=data, behind=""))

#!/usr/bin/env python3
"""make_browser_page.py TARVEL_PAGE APP_FOLDER ENGINE OUTPUT: puts Tarvel for browsers into one HTML file.

TARVEL_PAGE is tarvel-page beside its page/, from which the template of saved pages comes; APP_FOLDER holds app.js,
app.css and worker.js. The worker, the engine and the template are in data blocks, which no browser runs.
"""
import base64
import gzip
import importlib.machinery
import importlib.util
import json
import sys
from pathlib import Path

sys.dont_write_bytecode = True
DOCUMENTS_MARK = "TARVEL DOCUMENTS"  # as in web/app/saved.ts
MOST_BYTES = 1_000_000

PAGE = """<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="{policy}">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="referrer" content="no-referrer">
<title>Tarvel</title>
<style>{style}</style>
</head>
<body>
<div id="tarvel-app"></div>
<noscript>Tarvel is a script, which this program does not run. Open the file in a browser.</noscript>
<script type="text/plain" id="tarvel-worker">{worker}</script>
<script type="text/plain" id="tarvel-engine">{engine}</script>
<script type="application/json" id="tarvel-template">{template}</script>
<script>{script}</script>
</body>
</html>
"""


def load_program(path):
    loader = importlib.machinery.SourceFileLoader("tarvel_page", str(path))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("tarvel_page", loader))
    loader.exec_module(module)
    return module


def main():
    program, app, engine, output = map(Path, sys.argv[1:])
    tarvel_page = load_program(program)
    script, style, worker = ((app / name).read_text(encoding="utf-8") for name in ("app.js", "app.css", "worker.js"))
    if "</script" in script + worker:
        sys.exit("make_browser_page.py: a script would end its element")
    empty = tarvel_page.embedded([])
    before, after = tarvel_page.page_of([]).split(f">{empty}<")
    template = f"{before}>{DOCUMENTS_MARK}<{after}"
    # The page loads and sends nothing. The engine is compiled in a worker, whose script is a part of the page.
    policy = (f"default-src 'none'; script-src {tarvel_page.digest_source(script)} 'wasm-unsafe-eval'; worker-src blob:; "
              f"style-src {tarvel_page.digest_source(style)}; media-src blob:; base-uri 'none'; form-action 'none'")
    packed = base64.b64encode(gzip.compress(engine.read_bytes(), mtime=0)).decode()
    page = PAGE.format(policy=policy, style=style, script=script, worker=worker, engine=packed,
                       template=tarvel_page.embedded(template))
    if len(page.encode()) > MOST_BYTES:
        sys.exit(f"make_browser_page.py: {len(page.encode())} bytes are more than {MOST_BYTES}")
    output.write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main()

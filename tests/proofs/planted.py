"""Programs with a fault that a proof must find: the real one, and what a shell does after it in the same folder."""
from __future__ import annotations

import os
import pathlib
import sys

PROJECT = pathlib.Path(os.environ.get("TARVEL_SOURCE_DIR", pathlib.Path(__file__).parents[2]))
PROGRAM = pathlib.Path(os.environ.get("TARVEL_PROGRAM", PROJECT / "build/dev/tarvel"))
sys.dont_write_bytecode = True
sys.path.insert(0, str(PROJECT))


def plant(path: pathlib.Path, fault: str) -> pathlib.Path:
    """Makes a program at that path. The fault may set `status`."""
    path.unlink(missing_ok=True)
    path.write_text(f'#!/bin/sh\n{PROGRAM} "$@"\nstatus=$?\n{fault}\nexit $status\n')
    path.chmod(0o755)
    return path

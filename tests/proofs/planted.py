"""Makes programs with a planted fault: a shell script that calls the real one and then changes its outputs."""
from __future__ import annotations

import os
import pathlib
import sys

PROJECT = pathlib.Path(os.environ.get("TARVEL_SOURCE_DIR", pathlib.Path(__file__).parents[2]))
PROGRAM = pathlib.Path(os.environ.get("TARVEL_PROGRAM", PROJECT / "build/dev/tarvel"))
sys.dont_write_bytecode = True
sys.path.insert(0, str(PROJECT))


def plant(path: pathlib.Path, fault: str) -> pathlib.Path:
    """Writes the script to this path. The fault is shell commands, which may set `status`."""
    path.unlink(missing_ok=True)
    path.write_text(f'#!/bin/sh\nPATH={PROGRAM.parent}:$PATH {PROGRAM.name} "$@"\nstatus=$?\n{fault}\nexit $status\n')
    path.chmod(0o755)
    return path

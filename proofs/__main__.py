"""scripts/proofs [--write] NAME [...]: repeats a proof of docs/trust.md and prints its result in one line.

--list prints the names of all proofs, and NAME --help the arguments of one. --write writes the result to
docs/releases/next.md, the notes of the next release. Exit status 1 when there is a finding.

The programs that a proof calls are built first. The variable TARVEL names another one in place of build/release/tarvel.
"""
from __future__ import annotations

import datetime
import importlib
import sys

from proofs.harness import ROOT, Outcome

NAMES = ("memory_faults", "io_faults", "kill_anywhere", "hostile_families", "same_bytes", "compare_programs", "mutants",
         "memcheck")
NOTES = ROOT / "docs" / "releases" / "next.md"


def line_of(name: str, outcome: Outcome) -> str:
    return f"{name}: {outcome.done}: {outcome.findings or 'no'} finding{'s' if outcome.findings > 1 else ''}"


def write(name: str, outcome: Outcome, date: datetime.date) -> None:
    """Replaces the proof's row in the notes, or adds one after the last."""
    row = f"| `{name}` | {outcome.done} | {outcome.findings or 'none'} | {date} |"
    lines = NOTES.read_text().splitlines()
    end = next(i for i, line in enumerate(lines) if not line and i > 0 and lines[i - 1].startswith("|"))
    own = next((i for i, line in enumerate(lines) if line.startswith(f"| `{name}` |")), end)
    lines[own:own + (own < end)] = [row]
    NOTES.write_text("\n".join(lines) + "\n")


def main(words: list[str]) -> int:
    is_written = words[:1] == ["--write"]
    name, *rest = words[is_written:] or ["--help"]
    if name == "--list":
        for known in NAMES:
            print(f"{known:17} {(importlib.import_module('proofs.' + known).__doc__ or '').partition(chr(10))[0]}")
        return 0
    if name not in NAMES:
        print(__doc__)
        return 2
    proof = importlib.import_module("proofs." + name)
    if "--help" in rest:
        print(proof.__doc__)
        return 0
    outcome: Outcome = proof.prove(rest)
    print(line_of(name, outcome))
    if is_written:
        write(name, outcome, datetime.date.today())
    return 1 if outcome.findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

"""Finds the lines that a report may have: the words before their colons."""
import re

from source_messages import tokens_of


def report_labels(project):
    """From the source, also what is printed only now and then; and from a report that has every figure."""
    source = (project / "src/swoop/report.cpp").read_text()
    literals = [words for kind, words in tokens_of(source) if kind == "literal"]
    printed = (project / "tests/golden/driver/carve.txt").read_text().splitlines()
    lines = [line for literal in literals for line in literal.split("\n") if re.match(r"\w[^:%]*:", line)]
    labels = [line.partition(":")[0] for line in lines + printed if line]
    return list(dict.fromkeys(labels))

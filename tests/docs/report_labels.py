"""Finds the labels of the report's lines: the words before the colon."""
import re

from source_messages import tokens_of


def report_labels(project):
    """From the source, which has labels that not every report has, and from a report with every figure."""
    source = (project / "src/swoop/report.cpp").read_text()
    literals = [words for kind, words in tokens_of(source) if kind == "literal"]
    printed = (project / "tests/golden/driver/carve.txt").read_text().splitlines()
    lines = [line for literal in literals for line in literal.split("\n") if re.match(r"\w[^:%]*:", line)]
    labels = [line.partition(":")[0] for line in lines + printed if line]
    return list(dict.fromkeys(labels))

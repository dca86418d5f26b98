"""The changes that mutants makes in a source: other comparisons and operators, constants that differ by one in the last
digit, flipped signs, removed negations. Also the list of mutants that behave like the original."""
from __future__ import annotations

import decimal
import functools
import hashlib
import math
import pathlib
import re
import sys
from collections.abc import Callable, Iterator, Sequence
from typing import NamedTuple

from proofs.harness import ROOT

ONE_IN = {".cpp": 1, ".h": 3}  # a third of a header's mutants, since many files must be compiled again
# These have hardly any code, and almost all files include them.
LEFT_OUT = ("src/swoop/swoop.h", "src/chart/chart.h")

# What has no mutants: comments, attributes, the preprocessor, assertions, texts; the N of "char line[N]", since a
# larger array changes nothing; template arguments.
NO_CODE = (re.compile(r"""//[^\n]*|/\*.*?\*/|\[\[.*?\]\]|^[ ]*\#(?:\\\n|[^\n])*|\bstatic_assert\b[^;]*
                          |"(?:\\.|[^"\\])*"|(?<!\d)'(?:\\.|[^'\\])*'""", re.VERBOSE | re.MULTILINE | re.DOTALL),
           re.compile(r"\b(?!return\b)[A-Za-z_]\w*\s+\w+\[\d+"),
           *[re.compile(r"(?:(?<=\w)|(?<=\btemplate ))<[^<>;]*>")] * 3)  # inner ones first
# The initial value of a record's field in a header: many files would be compiled again, and stages set the field.
INITIAL_VALUE = re.compile(r"^(?!.*constexpr)[ ]+[\w:<>\[\]]+ [\w\[\]]+ = [^(\n]*;.*", re.MULTILINE)

BINARY: dict[str, Sequence[str]] = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",),
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",), "&&": ("||",), "||": ("&&",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("/=",), "/=": ("*=",), ">>": ("<<",), "<<": (">>",), "&": ("|",), "|": ("&",),
}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min", "floor": "ceil", "ceil": "floor", "sin": "cos",
         "cos": "sin", "continue": "break", "++": "--", "--": "++"}


def other_numbers(number: str) -> Sequence[str]:
    """One more and one less; of a real number in the last of at most 15 digits, since a change after these may round to
    the same number."""
    digits, rest = re.findall(r"^(0x[0-9a-fA-F]+|[\d.]+)(.*)", number)[0]
    if "." not in digits and rest[:1] not in ("e", "E"):
        form, base = ("{:#x}", 16) if "x" in digits else ("0{:o}", 8) if digits.startswith("0") else ("{}", 10)
        value = int(digits, base)
        return [form.format(other) + rest for other in (value + 1, value - 1)] if value else ["1" + rest]
    real = decimal.Context(prec=15, rounding=decimal.ROUND_DOWN).create_decimal(digits)
    last_place = real.adjusted() - len(real.as_tuple().digits) + 1
    step = decimal.Decimal(1).scaleb(last_place)
    return [f"{other:.{max(-last_place, 1)}f}{rest}" for other in (real + step, real - step) if other >= 0]


# What is replaced, the text of the group, and by what.
RULES: Sequence[tuple[re.Pattern[str], Callable[[str], Sequence[str]]]] = [(re.compile(p), others) for p, others in (
    # Only between spaces. Otherwise the operator is a template's bracket, a pointer or a reference.
    (r"(?<=\s)(\S{1,2})(?=\s)", lambda token: BINARY.get(token, ())),
    (r"(!)(?!=)", lambda token: [""]),
    (r"(?:[(,{[=?:<>*/+\-&|]|\breturn)\s*(?<!-)(-)(?![-=\s])", lambda token: [""]),
    (r"(\+\+|--|\b[a-z]+\b)", lambda token: [WORDS[token]] if token in WORDS else []),
    (r"(?<![\w'])((?:0x[0-9a-fA-F]+|(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)[uUlLfF]*)", other_numbers))]

# The beginning of a declaration outside functions and records, which clang-format never indents, up to its name.
DECLARATION = re.compile(r"^(?:\[\[.*?\]\]\s*)*[A-Za-z_].*?(\w+)\s*(?:[({=;[]|:(?!:))", re.MULTILINE | re.DOTALL)


def flat(text: str) -> str:
    return re.sub(r"\s+", " ", text)


@functools.lru_cache(100)
def declarations(text: str) -> list[tuple[int, str]]:
    """The start and the name of each."""
    return [(match.start(), match[1]) for match in DECLARATION.finditer(text)]


def declared(text: str, name: str) -> str:
    """The text of the declarations of a name, with single blanks."""
    starts = declarations(text)
    ends = [start for start, _ in starts[1:]] + [len(text)]
    return "".join(flat(text[start:end]) for (start, found), end in zip(starts, ends) if found == name)


class Mutant(NamedTuple):
    """A text in which one token is replaced."""
    file: str
    start: int
    token: str
    replacement: str
    text: str  # before the change

    @property
    def mutated_text(self) -> str:
        return self.text[:self.start] + self.replacement + self.text[self.start + len(self.token):]

    @property
    def line(self) -> int:
        return self.text.count("\n", 0, self.start) + 1

    @property
    def change(self) -> tuple[str, str]:
        """The line before and after it."""
        before, after = (text.split("\n")[self.line - 1].strip() for text in (self.text, self.mutated_text))
        return before, after

    @property
    def function(self) -> str:
        """Or the record or the constant."""
        return next(name for start, name in reversed(declarations(self.text)) if start <= self.start)


def mutants_of(name: str, text: str) -> Iterator[Mutant]:
    code = text
    for pattern in (*([INITIAL_VALUE] if name.endswith(".h") else []), *NO_CODE):
        code = pattern.sub(lambda match: re.sub(r"\S", "@", match[0]), code)
    found = [(match.start(1), match[1], new) for pattern, others in RULES for match in pattern.finditer(code)
             for new in others(match[1])]
    return (Mutant(name, start, token, new, text) for start, token, new in sorted(found, key=lambda one: one[0]))


def all_mutants() -> dict[str, list[Mutant]]:
    """All mutants, by file."""
    paths = {str(path.relative_to(ROOT)): path for path in sorted((ROOT / "src").glob("*/*")) if path.suffix in ONE_IN}
    found = {name: list(mutants_of(name, path.read_text())) for name, path in paths.items() if name not in LEFT_OUT}
    return {name: mutants for name, mutants in found.items() if mutants}


def choose(mutants: Sequence[Mutant], most: int) -> list[Mutant]:
    """At most this number of the mutants of a source, in the order of the file. A hash of the line decides, so that the
    choice is always the same and does not depend on other lines."""
    def key(mutant: Mutant) -> str:
        return hashlib.sha256("|".join((mutant.file, *mutant.change)).encode()).hexdigest()

    most_of_file = math.ceil(most / ONE_IN[pathlib.Path(mutants[0].file).suffix])
    return sorted(sorted(mutants, key=key)[:most_of_file], key=lambda mutant: mutant.start)


class Entry(NamedTuple):
    """An entry in the list of mutants that behave like the original for every input."""
    file: str
    function: str
    original: str  # a part of the function, with single blanks, that occurs once in it
    mutated: str

    def names(self, mutant: Mutant) -> bool:
        if (self.file, self.function) != (mutant.file, mutant.function):
            return False
        before, after = (declared(text, self.function) for text in (mutant.text, mutant.mutated_text))
        return before.count(self.original) == 1 and before.replace(self.original, self.mutated) == after


def read_entries(path: pathlib.Path) -> list[Entry]:
    """Reads paragraphs of "file: function", "- original", "+ mutated" and the reason."""
    entries = []
    for paragraph in re.split(r"\n\s*\n", path.read_text())[1:]:
        parts = re.match(r"(.+?): (.+)\n- (.+)\n\+ (.+)\n.", paragraph)
        if not parts:
            sys.exit(f"{path.name}: no file, function, original, change and reason in\n{paragraph}")
        entries.append(Entry(*parts.groups()))
    return entries


def entry_of(mutant: Mutant) -> Entry:
    """The shortest entry that names this mutant and no other."""
    behind = mutant.start + len(mutant.token)
    before, after = (flat(text).split(" ") for text in (mutant.text[:mutant.start], mutant.text[behind:]))
    for words in range(3, 60):
        a, b = " ".join(before[-(words - words // 2):]), " ".join(after[:words // 2])
        entry = Entry(mutant.file, mutant.function, a + mutant.token + b, a + mutant.replacement + b)
        if entry.names(mutant):
            break
    return entry

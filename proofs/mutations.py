"""The changes that mutants makes in a source: other comparisons and operators, constants that differ by one in the last
digit, flipped signs, removed negations. Also the list of mutants that behave like the original."""
from __future__ import annotations

import dataclasses
import decimal
import functools
import hashlib
import math
import pathlib
import re
import sys
from collections.abc import Iterator, Sequence
from typing import NamedTuple

from proofs.harness import ROOT

ONE_IN = {".cpp": 1, ".h": 3}  # a third of a header's mutants, since many files must be compiled again
# These have hardly any code, and almost all files include them.
LEFT_OUT = ("src/swoop/swoop.h", "src/chart/chart.h")
COMPONENTS = tuple(sorted(path.name for path in (ROOT / "src").iterdir() if path.is_dir()))

TOKEN = re.compile(
    r"""(?P<space>\s+)
      | (?P<comment>//[^\n]*|/\*.*?\*/|\[\[.*?\]\])
      | (?P<preprocessor>^[ ]*\#(?:\\\n|[^\n])*)
      | (?P<text>"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*')
      | (?P<number>(?:0x[0-9a-fA-F]+|(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)[uUlLfF]*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<operator><=>|<<=|>>=|\.\.\.|->|\+\+|--|&&|\|\||[-+*/%&|^<>=!]=|<<|>>|::|.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL)

# Only between spaces. Otherwise the token is a template's bracket, a pointer or a reference.
BINARY: dict[str, Sequence[str]] = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",),
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",), "&&": ("||",), "||": ("&&",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("/=",), "/=": ("*=",), ">>": ("<<",), "<<": (">>",), "&": ("|",), "|": ("&",),
}
UNARY = {"!": ("",), "++": ("--",), "--": ("++",)}
WORDS = {"true": "false", "false": "true", "min": "max", "max": "min", "floor": "ceil", "ceil": "floor", "sin": "cos",
         "cos": "sin", "continue": "break"}
BEFORE_A_SIGN = {"(", ",", "{", "[", "=", "?", ":", "return", "<", "<=", ">", ">=", "==", "*", "/", "+", "-", "&&",
                 "||"}


class Token(NamedTuple):
    kind: str
    text: str
    start: int


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


@dataclasses.dataclass(frozen=True, order=True)
class Mutant:
    """A text in which one token is replaced."""
    file: str
    start: int
    end: int
    replacement: str
    text: str  # before the change

    @property
    def token(self) -> str:
        return self.text[self.start:self.end]

    @property
    def mutated_text(self) -> str:
        return self.text[:self.start] + self.replacement + self.text[self.end:]

    @property
    def line(self) -> int:
        return self.text.count("\n", 0, self.start) + 1

    @property
    def original(self) -> str:
        """The line before the change."""
        return self.text.split("\n")[self.line - 1].strip()

    @property
    def mutated(self) -> str:
        return self.mutated_text.split("\n")[self.line - 1].strip()

    @property
    def function(self) -> str:
        """Or the record or the constant."""
        return next(name for start, name in reversed(declarations(self.text)) if start <= self.start)


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
    before, behind = (flat(text).split(" ") for text in (mutant.text[:mutant.start], mutant.text[mutant.end:]))
    for words in range(3, 60):
        a, b = " ".join(before[-(words - words // 2):]), " ".join(behind[:words // 2])
        entry = Entry(mutant.file, mutant.function, a + mutant.token + b, a + mutant.replacement + b)
        if entry.names(mutant):
            break
    return entry


# The mutants of a text


def other_integers(number: str) -> list[str]:
    match = re.match(r"0x[0-9a-fA-F]+|\d+", number)
    assert match
    digits, suffix = match[0], number[match.end():]
    form, base = ("{:#x}", 16) if digits.startswith("0x") else ("0{:o}", 8) if digits.startswith("0") else ("{}", 10)
    value = int(digits, base)
    return ["1" + suffix] if value == 0 else [form.format(v) + suffix for v in (value + 1, value - 1)]


def other_reals(number: str) -> list[str]:
    """One more and one less in the last of at most 15 digits; a change after these may round to the same number."""
    match = re.match(r"([\d.]+)(.*)", number)
    assert match
    value = decimal.Context(prec=15, rounding=decimal.ROUND_DOWN).create_decimal(match[1])
    last_place = value.adjusted() - len(value.as_tuple().digits) + 1
    step = decimal.Decimal(1).scaleb(last_place)
    return [f"{other:.{max(-last_place, 1)}f}{match[2]}" for other in (value + step, value - step) if other >= 0]


def is_array_size(code: Sequence[Token], i: int) -> bool:
    """The N of "char line[N]": a larger array changes nothing."""
    return (i >= 3 and code[i - 1].text == "[" and code[i - 2].kind == "word" and code[i - 3].kind == "word"
            and code[i - 3].text != "return")


def is_initial_value(name: str, line: str) -> bool:
    """The initial value of a record's field in a header. Many files would be compiled again, and stages set the
    field."""
    return (name.endswith(".h") and "constexpr" not in line
            and re.match(r"\s+[\w:<>\[\]]+ [\w\[\]]+ = [^(]*;", line) is not None)


def replacements(text: str, code: Sequence[Token], i: int) -> Sequence[str]:
    kind, token, start = code[i]
    end = start + len(token)
    if kind == "number" and not is_array_size(code, i):
        is_real = not token.startswith("0x") and re.search(r"[.eE]", token)
        return other_reals(token) if is_real else other_integers(token)
    if kind == "word" and token in WORDS:
        return [WORDS[token]]
    if kind != "operator":
        return []
    if token in BINARY:
        if start > 0 and text[start - 1].isspace() and end < len(text) and text[end].isspace():
            return BINARY[token]
        return [""] if token == "-" and i > 0 and code[i - 1].text in BEFORE_A_SIGN else []
    return UNARY.get(token, ())


def mutants_of(name: str, text: str) -> Iterator[Mutant]:
    lines = text.split("\n")
    code = [Token(match.lastgroup or "", match[0], match.start()) for match in TOKEN.finditer(text)
            if match.lastgroup not in ("space", "comment", "preprocessor")]
    brackets, is_asserted = 0, False
    for i, (_, token, start) in enumerate(code):
        is_tight = start > 0 and not text[start - 1].isspace()
        if token == "static_assert":
            is_asserted = True
        elif token == ";":
            is_asserted = False
        elif token == "<" and (is_tight or code[i - 1].text == "template"):
            brackets += 1
        elif token in (">", ">>") and is_tight and brackets > 0:
            brackets = max(0, brackets - len(token))
        elif brackets == 0 and not is_asserted and not is_initial_value(name, lines[text.count("\n", 0, start)]):
            for new in replacements(text, code, i):
                yield Mutant(name, start, start + len(token), new, text)


def choose(mutants: Sequence[Mutant], most: int) -> list[Mutant]:
    """At most this number of the mutants of a source, in the order of the file. A hash of the line decides, so that the
    choice is always the same and does not depend on other lines."""
    def key(mutant: Mutant) -> str:
        return hashlib.sha256(f"{mutant.file}|{mutant.original}|{mutant.mutated}".encode()).hexdigest()

    most_of_file = math.ceil(most / ONE_IN[pathlib.Path(mutants[0].file).suffix])
    return sorted(sorted(mutants, key=key)[:most_of_file], key=lambda mutant: mutant.start)


def all_mutants() -> dict[str, list[Mutant]]:
    """All mutants, by file."""
    found = {}
    for component in COMPONENTS:
        for path in sorted((ROOT / "src" / component).iterdir()):
            name = str(path.relative_to(ROOT))
            if path.suffix in ONE_IN and name not in LEFT_OUT:
                found[name] = list(mutants_of(name, path.read_text()))
    return {name: mutants for name, mutants in found.items() if mutants}

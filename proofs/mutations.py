"""The small faults that mutants puts into a source: turned comparisons and operators, moved constants and thresholds,
flipped signs, indices off by one, negations left out. And the list of those that change nothing."""
from __future__ import annotations

import hashlib
import pathlib
import re
import sys
from collections.abc import Iterator, Sequence
from typing import NamedTuple

from proofs.harness import ROOT

MOST_PER_FILE = {".cpp": 24, ".h": 8}  # much is built anew after a change of a header
# They give names to values, and almost everything is built anew after them.
LEFT_OUT = ("src/swoop/swoop.h", "src/chart/chart.h")
COMPONENTS = tuple(sorted(path.name for path in (ROOT / "src").iterdir() if path.is_dir()))
NEAR = 160  # characters on either side of a change, without repeated blanks, by which an entry of the list may tell it

TOKEN = re.compile(
    r"""(?P<space>\s+)
      | (?P<comment>//[^\n]*|/\*.*?\*/|\[\[.*?\]\])
      | (?P<preprocessor>^[ ]*\#(?:\\\n|[^\n])*)
      | (?P<text>"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*')
      | (?P<number>(?:0x[0-9a-fA-F]+|(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)[uUlLfF]*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<operator><=>|<<=|>>=|\.\.\.|->|\+\+|--|&&|\|\||[-+*/%&|^<>=!]=|<<|>>|::|.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL)

# Between spaces only: anything else is a template's bracket, a pointer or a reference.
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


class Mutant(NamedTuple):
    file: str
    line: int
    start: int
    end: int
    replacement: str
    original: str  # the line
    mutated: str
    function: str  # or the record or the constant
    before: str  # what stands near the token, without repeated blanks
    token: str
    behind: str

    def change(self, width: int) -> tuple[str, str]:
        """The source before and after, with so many words to the left and to the right one, or more beyond two."""
        left, right = self.before.split(" "), self.behind.split(" ")
        a = " ".join(left[-width - (left[-1] == ""):])
        b = " ".join(right[:max(width - 1, 1) + (right[0] == "")])
        return a + self.token + b, a + self.replacement + b


class Entry(NamedTuple):
    """One of the list of changes that no input can tell from the original."""
    file: str
    function: str
    original: str
    mutated: str

    def names(self, mutant: Mutant) -> bool:
        """True when the change, with what the entry has around it, is the mutant's."""
        if (self.file, self.function) != (mutant.file, mutant.function):
            return False
        for found in re.finditer(re.escape(mutant.token), self.original):
            a, b = self.original[:found.start()], self.original[found.end():]
            if self.mutated == a + mutant.replacement + b and mutant.before.endswith(a) and mutant.behind.startswith(b):
                return True
        return False


def read_entries(path: pathlib.Path) -> list[Entry]:
    """Paragraphs: "file: function", "- what it says", "+ what it says instead", then the reason."""
    entries = []
    for paragraph in re.split(r"\n\s*\n", path.read_text()):
        lines = [line for line in paragraph.split("\n") if line and not line.startswith("#")]
        if not lines:
            continue
        file, _, function = lines[0].partition(": ")
        if len(lines) < 4 or not function or not lines[1].startswith("- ") or not lines[2].startswith("+ "):
            sys.exit(f"{path.name}: no file, function, original, change and reason in\n{paragraph}")
        entries.append(Entry(file, function, lines[1][2:], lines[2][2:]))
    return entries


def entry_of(mutant: Mutant, others: Sequence[Mutant]) -> Entry:
    """The shortest that names this mutant and no other of its function."""
    for width in range(2, NEAR):
        entry = Entry(mutant.file, mutant.function, *mutant.change(width))
        if not any(entry.names(other) for other in others if other != mutant):
            break
    return entry


# The functions of a text


def name_of(head: Sequence[Token]) -> str:
    """What a declaration declares, as far as it goes: a function, a record or a value."""
    texts = [token.text for token in head]
    for keyword in ("namespace", "enum", "struct", "class", "union"):
        if keyword in texts and "(" not in texts:
            rest = [t for t in texts[texts.index(keyword) + 1:] if t not in ("class", "final")]
            return rest[0] if keyword != "namespace" and rest else ""
    end = min((texts.index(mark) for mark in ("(", "=", "[") if mark in texts), default=len(texts))
    names = [token.text for token in head[:end] if token.kind == "word"]
    return names[-1] if names else ""


def owners(code: Sequence[Token]) -> list[str]:
    """For each token the outermost function around it, or else the record, or else the value that is declared."""
    found, start = [], 0
    open_names: list[tuple[str, bool]] = []  # of each brace, and whether it is a function's
    for i, token in enumerate(code):
        inside = next((name for name, is_function in open_names if is_function), "")
        record = next((name for name, _ in reversed(open_names) if name), "")
        found.append(inside or record or name_of(code[start:i]))
        if token.text == "{":
            head = code[start:i]
            open_names.append((name_of(head), any(t.text == "(" for t in head)) if not inside else ("", False))
        elif token.text == "}" and open_names:
            open_names.pop()
        if token.text in ("{", "}", ";"):
            start = i + 1
    return found


# The mutants of a text


def tokens_of(text: str) -> list[Token]:
    return [Token(match.lastgroup or "", match[0], match.start()) for match in TOKEN.finditer(text)]


def other_integers(number: str) -> list[str]:
    match = re.match(r"0x[0-9a-fA-F]+|\d+", number)
    assert match
    digits, suffix = match[0], number[match.end():]
    form, base = ("{:#x}", 16) if digits.startswith("0x") else ("0{:o}", 8) if digits.startswith("0") else ("{}", 10)
    value = int(digits, base)
    return ["1" + suffix] if value == 0 else [form.format(v) + suffix for v in (value + 1, value - 1)]


def other_reals(number: str) -> list[str]:
    """One more and one less in the last of at most 15 digits: more of them may round to the same number."""
    match = re.match(r"([\d.]+)([eE][+-]?\d+)?([fFlL]*)", number)
    assert match
    mantissa, exponent, suffix = match.groups(default="")
    kept, seen = "", 0
    for c in mantissa:
        if seen == 15:
            break
        kept += c
        seen += c != "." and (seen > 0 or c != "0")
    decimals = len(kept.partition(".")[2])
    scaled = int(kept.replace(".", ""))
    values = [scaled + 1] + ([scaled - 1] if scaled > 0 else [])
    return [f"{v / 10**decimals:.{max(decimals, 1)}f}{exponent}{suffix}" for v in values]


def is_real(number: str) -> bool:
    return not number.startswith("0x") and re.search(r"[.eE]", number) is not None


def is_array_size(code: Sequence[Token], i: int) -> bool:
    """The N of "char line[N]": more room than needed changes nothing."""
    return (i >= 3 and code[i - 1].text == "[" and code[i - 2].kind == "word" and code[i - 3].kind == "word"
            and code[i - 3].text != "return")


def is_initial_value(name: str, line: str) -> bool:
    """Of a record's field in a header: much to build anew, and the stages fill their records."""
    return (name.endswith(".h") and "constexpr" not in line
            and re.match(r"\s+[\w:<>\[\]]+ [\w\[\]]+ = [^(]*;", line) is not None)


def replacements(text: str, code: Sequence[Token], i: int) -> Sequence[str]:
    kind, token, start = code[i]
    end = start + len(token)
    if kind == "number" and not is_array_size(code, i):
        return other_reals(token) if is_real(token) else other_integers(token)
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
    code = [token for token in tokens_of(text) if token.kind not in ("space", "comment", "preprocessor")]
    functions = owners(code)
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
        elif brackets == 0 and not is_asserted:
            number = text.count("\n", 0, start)
            line, at, end = lines[number], start - text.rfind("\n", 0, start) - 1, start + len(token)
            if is_initial_value(name, line):
                continue
            before = re.sub(r"\s+", " ", text[max(0, start - 2 * NEAR):start])[-NEAR:]
            behind = re.sub(r"\s+", " ", text[end:end + 2 * NEAR])[:NEAR]
            for new in replacements(text, code, i):
                mutated = line[:at] + new + line[at + len(token):]
                yield Mutant(name, number + 1, start, end, new, line.strip(), mutated.strip(), functions[i], before,
                             token, behind)


def choose(mutants: Sequence[Mutant]) -> list[Mutant]:
    """At most so many of a file, fixed by a hash of the line: two runs try the same, and a change elsewhere leaves the
    choice alone. In the order of the file."""
    def key(mutant: Mutant) -> str:
        return hashlib.sha256(f"{mutant.file}|{mutant.original}|{mutant.mutated}".encode()).hexdigest()

    most = MOST_PER_FILE[pathlib.Path(mutants[0].file).suffix]
    return sorted(sorted(mutants, key=key)[:most], key=lambda mutant: mutant.start)


def all_mutants() -> dict[str, list[Mutant]]:
    """By file, without files that have none."""
    found = {}
    for component in COMPONENTS:
        for path in sorted((ROOT / "src" / component).iterdir()):
            name = str(path.relative_to(ROOT))
            if path.suffix in MOST_PER_FILE and name not in LEFT_OUT:
                found[name] = list(mutants_of(name, path.read_text()))
    return {name: mutants for name, mutants in found.items() if mutants}

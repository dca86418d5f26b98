"""The changes that mutants makes in a source: other comparisons and operators, constants that differ by one in the last
digit, flipped signs, removed negations. Also the list of mutants that behave like the original."""
from __future__ import annotations

import hashlib
import pathlib
import re
import sys
from collections.abc import Iterator, Sequence
from typing import NamedTuple

from proofs.harness import ROOT

MOST_PER_FILE = {".cpp": 24, ".h": 8}  # fewer for headers, since many files must be compiled again
# These have hardly any code, and almost all files include them.
LEFT_OUT = ("src/swoop/swoop.h", "src/chart/chart.h")
COMPONENTS = tuple(sorted(path.name for path in (ROOT / "src").iterdir() if path.is_dir()))
NEAR = 160  # how many characters before and after a change an entry of the list may use to identify it

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


class Mutant(NamedTuple):
    file: str
    line: int
    start: int
    end: int
    replacement: str
    original: str  # the line
    mutated: str
    function: str  # or the record or the constant
    before: str  # the text near the token, with single blanks
    token: str
    behind: str

    def change(self, width: int) -> tuple[str, str]:
        """The original and the mutated source text, with this number of words before the token and about as many
        after."""
        left, right = self.before.split(" "), self.behind.split(" ")
        a = " ".join(left[-width - (left[-1] == ""):])
        b = " ".join(right[:max(width - 1, 1) + (right[0] == "")])
        return a + self.token + b, a + self.replacement + b


class Entry(NamedTuple):
    """An entry in the list of mutants that behave like the original for every input."""
    file: str
    function: str
    original: str
    mutated: str

    def names(self, mutant: Mutant) -> bool:
        """True when the mutant makes this change in this context."""
        if (self.file, self.function) != (mutant.file, mutant.function):
            return False
        for found in re.finditer(re.escape(mutant.token), self.original):
            a, b = self.original[:found.start()], self.original[found.end():]
            if self.mutated == a + mutant.replacement + b and mutant.before.endswith(a) and mutant.behind.startswith(b):
                return True
        return False


def read_entries(path: pathlib.Path) -> list[Entry]:
    """Reads paragraphs of "file: function", "- original", "+ mutated" and the reason."""
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
    """The shortest entry that names this mutant and no other."""
    for width in range(2, NEAR):
        entry = Entry(mutant.file, mutant.function, *mutant.change(width))
        if not any(entry.names(other) for other in others if other != mutant):
            break
    return entry


# The function around each token


def name_of(head: Sequence[Token]) -> str:
    """The name that a declaration declares: a function, a record or a value. The declaration may be incomplete."""
    texts = [token.text for token in head]
    for keyword in ("namespace", "enum", "struct", "class", "union"):
        if keyword in texts and "(" not in texts:
            rest = [t for t in texts[texts.index(keyword) + 1:] if t not in ("class", "final")]
            return rest[0] if keyword != "namespace" and rest else ""
    end = min((texts.index(mark) for mark in ("(", "=", "[") if mark in texts), default=len(texts))
    names = [token.text for token in head[:end] if token.kind == "word"]
    return names[-1] if names else ""


def owners(code: Sequence[Token]) -> list[str]:
    """For each token the name of the outermost function around it, otherwise of the record, otherwise of the value."""
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
    """One more and one less in the last of at most 15 digits; a change after these may round to the same number."""
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
    """At most MOST_PER_FILE of the mutants, in the order of the file. A hash of the line decides, so that the choice is
    always the same and does not depend on other lines."""
    def key(mutant: Mutant) -> str:
        return hashlib.sha256(f"{mutant.file}|{mutant.original}|{mutant.mutated}".encode()).hexdigest()

    most = MOST_PER_FILE[pathlib.Path(mutants[0].file).suffix]
    return sorted(sorted(mutants, key=key)[:most], key=lambda mutant: mutant.start)


def all_mutants() -> dict[str, list[Mutant]]:
    """All mutants, by file."""
    found = {}
    for component in COMPONENTS:
        for path in sorted((ROOT / "src" / component).iterdir()):
            name = str(path.relative_to(ROOT))
            if path.suffix in MOST_PER_FILE and name not in LEFT_OUT:
                found[name] = list(mutants_of(name, path.read_text()))
    return {name: mutants for name, mutants in found.items() if mutants}

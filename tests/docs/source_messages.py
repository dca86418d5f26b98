"""Finds the words that the program can say to its user, in the C++ sources.

Every string literal is taken for a message unless it is known to be something else: what a file or chart is made of, or
a lone word. So a message that reaches the user on a way that nobody thought of here is found, too.
"""
import re

# Calls whose literals become part of a report, a chart or a comparison.
NOT_SAID = {"format_text", "make_height_chart", "add_annotation", "print_point", "print_point_with_speed",
            "value_or_hyphens", "std::sscanf", "std::strftime", "static_assert"}
# Calls whose literals go to a stream, which may be the user's screen.
TO_A_STREAM = {"std::fprintf", "std::fputs", "fprintf", "fputs"}
# Calls whose literals are always said, lone words as well.
ALWAYS_SAID = {"format_error", "fatal_error", "exit_with_message", "std::puts", "std::printf", "puts", "printf"}
# Tables and constants whose literals are not said; the program's version is no message.
NOT_SAID_TABLES = re.compile(r"\b(annotation \w+|version) =$")

# What tarvel has no part of.
OTHER_PROGRAMS = {"checker", "document", "json", "verdict"}

TOKEN = re.compile(r'''
    (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#[^\n]*)
  | (?P<literal>"(?:[^"\\\n]|\\.)*")
  | (?P<character>'(?:[^'\\\n]|\\.)+')
  | (?P<name>[A-Za-z_][\w]*(?:::\w+)*)
  | (?P<number>\d[\w.']*)
  | (?P<mark>\S)
''', re.VERBOSE | re.DOTALL | re.MULTILINE)

ESCAPES = {r"\n": "\n", r"\t": "\t", r"\"": '"', r"\\": "\\"}
CONVERSION = re.compile(r"%[-+ #0]*\d*(?:\.\d+)?(?:hh|h|ll|l|z)?[a-zA-Z]")


def tokens_of(text):
    """(kind, text) of each token; comments and directives left out, adjacent literals joined."""
    found = []
    for match in TOKEN.finditer(text):
        kind = match.lastgroup
        if kind in ("comment", "directive"):
            continue
        words = match.group()
        if kind == "literal":
            words = re.sub(r'\\.', lambda m: ESCAPES.get(m.group(), "?"), words[1:-1])
            if found and found[-1][0] == "literal":
                words = found.pop()[1] + words
        found.append((kind, words))
    return found


class Place:
    """Where a literal stands: the call around it with its arguments, or the statement before it."""

    def __init__(self, tokens, index):
        opening = enclosing(tokens, index)
        # A braced list hands its literals to the call that it is an argument of.
        while opening is not None and tokens[opening][1] == "{" and is_list(tokens, opening):
            outer = enclosing(tokens, opening)
            if outer is None or tokens[outer][1] != "(":
                break
            opening = outer
        self.call = None
        self.arguments = []
        if opening is not None and tokens[opening][1] == "(" and opening > 0 and tokens[opening - 1][0] == "name":
            self.call = tokens[opening - 1][1]
            self.arguments = arguments_of(tokens, opening)
        end = opening if opening is not None and is_list(tokens, opening) else index
        self.statement = statement_before(tokens, end)


def enclosing(tokens, index):
    """The nearest bracket that is open at the token, or None."""
    depth = 0
    for i in range(index - 1, -1, -1):
        kind, words = tokens[i]
        if kind != "mark":
            continue
        if words in ")}":
            depth += 1
        elif words in "({":
            if depth == 0:
                return i
            depth -= 1
    return None


def is_list(tokens, opening):
    """True for a brace that opens a list of values, false for one that opens a block or for a parenthesis."""
    if tokens[opening][1] != "{" or opening == 0:
        return False
    return tokens[opening - 1][1] in ("=", ",", "(", "{", "return")


def arguments_of(tokens, opening):
    arguments = [""]
    depth = 0
    for kind, words in tokens[opening + 1:]:
        if kind == "mark" and words in "({[":
            depth += 1
        elif kind == "mark" and words in ")}]":
            depth -= 1
            if depth < 0:
                break
        if kind == "mark" and words == "," and depth == 0:
            arguments.append("")
        else:
            arguments[-1] += words
    return arguments


def statement_before(tokens, end):
    words = []
    for kind, text in reversed(tokens[:end]):
        if kind == "mark" and text in ";{}":
            break
        words.append(text)
    return " ".join(reversed(words))


def is_said(words, place):
    if place.call in NOT_SAID or NOT_SAID_TABLES.search(place.statement):
        return False
    if place.call in TO_A_STREAM and not {"stdout", "stderr"} & set(place.arguments):
        return False
    # What the survey tells is printed from log, what the readers tell from warnings; the other buffers hold files.
    if place.call == "text_buffer_printf" and place.arguments[0] not in ("log", "warnings"):
        return False
    fixed = re.findall(r"[A-Za-z]{2,}", CONVERSION.sub(" ", words))
    if place.call in ALWAYS_SAID or re.search(r"\berror =", place.statement):
        return len(fixed) > 0
    return len(fixed) > 1 and " " in words.strip()


def plain(words):
    """What the manual quotes of a literal: its first line that is not empty, without the word that opens every error."""
    line = next((line for line in words.split("\n") if line.strip()), "")
    return line.removeprefix("ERROR: ")


def source_messages(folder):
    """{message: {files}} of all sources below a folder; a message is a printf format, cut where a value follows. Of all
    of src/ those that tarvel can say."""
    messages = {}
    for path in sorted(folder.rglob("*")):
        if path.relative_to(folder).parts[0] in OTHER_PROGRAMS:
            continue
        if path.suffix not in (".cpp", ".h"):
            continue
        tokens = tokens_of(path.read_text())
        for index, (kind, words) in enumerate(tokens):
            if kind == "literal" and is_said(words, Place(tokens, index)):
                message = plain(words)
                if CONVERSION.sub("", message).strip():
                    messages.setdefault(message, set()).add(str(path.relative_to(folder)))
    return messages


def pattern_of(message):
    """Matches the message with any words in place of its conversions; a message that ends in a space goes on."""
    pieces = [" +".join(re.escape(word) for word in piece.split(" ")) for piece in CONVERSION.split(message.rstrip())]
    ending = ".+" if message.endswith(" ") else ""
    return re.compile(".+".join(pieces) + ending)

"""Finds the messages of the program in the C++ sources.

Every string literal counts as a message unless it is known to be something else: part of a file or a chart, or a single
word. A message that is printed in a new way is therefore found, too.
"""
import re

# Calls whose literals are part of a report, a chart or a comparison.
NOT_SAID = {"format_text", "make_height_chart", "add_annotation", "print_point", "print_point_with_speed",
            "value_or_hyphens", "std::sscanf", "std::strftime", "static_assert"}
# Calls that write to a stream; their literals are messages when it is standard output or standard error.
TO_A_STREAM = {"std::fprintf", "std::fputs", "fprintf", "fputs"}
# Calls whose literals are always messages, even single words.
ALWAYS_SAID = {"format_error", "fatal_error", "exit_with_message", "std::puts", "std::printf", "puts", "printf"}
# Tables and constants whose literals are not messages.
NOT_SAID_TABLES = re.compile(r"\b(annotation \w+|version) =$")

# Folders of which tarvel has no code.
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
    """(kind, text) of each token, without comments and directives. Adjacent literals are joined."""
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
    """The context of a literal: the call around it with its arguments, and the start of its statement."""

    def __init__(self, tokens, index):
        opening = enclosing(tokens, index)
        # A literal in a braced list belongs to the call of which the list is an argument.
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
    """The innermost bracket that is open at the token, or None."""
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
    """True for a brace that opens a list of values; false for a parenthesis and for a brace that opens a block."""
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
    # The program prints the buffers log (of the survey) and warnings (of the readers); other buffers become files.
    if place.call == "text_buffer_printf" and place.arguments[0] not in ("log", "warnings"):
        return False
    fixed = re.findall(r"[A-Za-z]{2,}", CONVERSION.sub(" ", words))
    if place.call in ALWAYS_SAID or re.search(r"\berror =", place.statement):
        return len(fixed) > 0
    return len(fixed) > 1 and " " in words.strip()


def plain(words):
    """The part of a literal that the manual quotes: its first non-empty line, without "ERROR: "."""
    line = next((line for line in words.split("\n") if line.strip()), "")
    return line.removeprefix("ERROR: ")


def source_messages(folder):
    """{message: {files}} of tarvel's sources below a folder. A message is a printf format or the beginning of one."""
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
    """Matches the message with any text in place of its conversions, and after a message that ends in a space."""
    pieces = [" +".join(re.escape(word) for word in piece.split(" ")) for piece in CONVERSION.split(message.rstrip())]
    ending = ".+" if message.endswith(" ") else ""
    return re.compile(".+".join(pieces) + ending)

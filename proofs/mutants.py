#!/usr/bin/env python3
"""scripts/proofs mutants [PATTERN] [--list]: changes one token of the program at a time and asks whether a test fails.

Mutants are made of every folder of src/: turned comparisons and operators, moved constants and thresholds, flipped
signs, indices off by one, negations left out. Of each source file at most 24 are tried, of each header at most 8. Which
ones is fixed by a hash of the line, so that two runs try the same and a change elsewhere leaves the choice alone. With a
PATTERN only the files whose path matches this regular expression are tried; --list shows the mutants and tries none.

Each mutant is written into a copy of the project below build/mutants, one copy per core, built there with shared
libraries and judged by the tests: first those that are named after its file, then the others of its folder, then those
of all other folders and the seeds of the fuzz targets. A test that hangs has caught the mutant, too; one that does not
compile is no mutant. Survivors that nothing can tell from the original are listed with their reasons in
proofs/equivalent_mutants.txt. Those are tried as well: an entry that a test catches is wrong.

Prints the counts and the survivors. Exit status 1 when a mutant survives that is not listed, or an entry is wrong or
matches no mutant.
"""

import collections
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time

root = pathlib.Path(__file__).resolve().parent.parent
work = root / "build" / "mutants"
# They give names to values, and almost everything is built anew after them.
left_out = ("src/swoop/swoop.h", "src/chart/chart.h")
components = tuple(sorted(p.name for p in (root / "src").iterdir() if p.is_dir()))
# Not faults: its allocator tells the program's requests from the libraries' by the program's own addresses.
judges = (*components, "fuzz")
most_per_file = {".cpp": 24, ".h": 8}  # much is built anew after a change of a header
least_patience = 20  # processor seconds for one test program
longest_wait = 600  # seconds, for one that sleeps
# An index out of bounds stops the program, as it would under the sanitizers.
flags = "-O0 -w -D_GLIBCXX_ASSERTIONS -fsanitize=bounds -fsanitize-undefined-trap-on-error"
memory_limit = 4 << 30  # bytes; a mutant may append for ever
file_limit = 1 << 28  # bytes; or write for ever

Mutant = collections.namedtuple("Mutant", "file line start end replacement original mutated")
Test = collections.namedtuple("Test", "name folder target command environment")
Verdict = collections.namedtuple("Verdict", "outcome detail")


# The mutants of a text

token_pattern = re.compile(
    r"""(?P<space>\s+)
      | (?P<comment>//[^\n]*|/\*.*?\*/|\[\[.*?\]\])
      | (?P<preprocessor>^[ ]*\#(?:\\\n|[^\n])*)
      | (?P<text>"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*')
      | (?P<number>(?:0x[0-9a-fA-F]+|(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)[uUlLfF]*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<operator><=>|<<=|>>=|\.\.\.|->|\+\+|--|&&|\|\||[-+*/%&|^<>=!]=|<<|>>|::|.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL,
)

# Between spaces only: anything else is a template's bracket, a pointer or a reference.
binary = {
    "<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",),
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",), "&&": ("||",), "||": ("&&",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("/=",), "/=": ("*=",), ">>": ("<<",), "<<": (">>",), "&": ("|",), "|": ("&",),
}
words = {
    "true": "false", "false": "true", "min": "max", "max": "min", "floor": "ceil", "ceil": "floor", "sin": "cos",
    "cos": "sin", "continue": "break",
}
before_a_sign = {"(", ",", "{", "[", "=", "?", ":", "return", "<", "<=", ">", ">=", "==", "*", "/", "+", "-", "&&", "||"}


def tokens_of(text):
    return [(m.lastgroup, m.group(), m.start()) for m in token_pattern.finditer(text)]


def other_integers(number):
    digits = re.match(r"0x[0-9a-fA-F]+|\d+", number).group()
    suffix = number[len(digits):]
    form, base = ("{:#x}", 16) if digits.startswith("0x") else ("0{:o}", 8) if digits.startswith("0") else ("{}", 10)
    value = int(digits, base)
    if value == 0:
        return ["1" + suffix]
    return [form.format(v) + suffix for v in (value + 1, value - 1) if v >= 0]


def other_reals(number):
    """One more and one less in the last of at most 15 digits: more of them may round to the same number."""
    mantissa, exponent, suffix = re.match(r"([\d.]+)([eE][+-]?\d+)?([fFlL]*)", number).groups(default="")
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


def is_hexadecimal(number):
    return number.startswith("0x")


def is_real(number):
    return not is_hexadecimal(number) and re.search(r"[.eE]", number) is not None


def is_array_size(code, i):
    """The N of "char line[N]": more room than needed changes nothing."""
    return i >= 3 and code[i - 1][1] == "[" and code[i - 2][0] == "word" and (
        code[i - 3][0] == "word" and code[i - 3][1] != "return")


def is_initial_value(name, line):
    """Of a record's field in a header: much to build anew, and the stages fill their records."""
    return name.endswith(".h") and "constexpr" not in line and re.match(r"\s+[\w:<>\[\]]+ [\w\[\]]+ = [^(]*;", line)


def replacements(text, code, i):
    kind, token, start = code[i]
    end = start + len(token)
    is_spaced = start > 0 and text[start - 1].isspace() and end < len(text) and text[end].isspace()
    if kind == "number" and not is_array_size(code, i):
        return other_reals(token) if is_real(token) else other_integers(token)
    if kind == "word" and token in words:
        return [words[token]]
    if kind != "operator":
        return []
    if token in binary:
        if is_spaced:
            return binary[token]
        return [""] if token == "-" and i > 0 and code[i - 1][1] in before_a_sign else []
    return {"!": [""], "++": ["--"], "--": ["++"]}.get(token, [])


def mutants_of(file):
    text = file.read_text()
    lines = text.split("\n")
    code = [t for t in tokens_of(text) if t[0] not in ("space", "comment", "preprocessor")]
    name = str(file.relative_to(root))
    brackets, is_asserted = 0, False
    for i, (kind, token, start) in enumerate(code):
        is_tight = start > 0 and not text[start - 1].isspace()
        if token == "static_assert":
            is_asserted = True
        elif token == ";":
            is_asserted = False
        elif token == "<" and (is_tight or code[i - 1][1] == "template"):
            brackets += 1
        elif token in (">", ">>") and is_tight and brackets > 0:
            brackets = max(0, brackets - len(token))
        elif brackets == 0 and not is_asserted:
            number = text.count("\n", 0, start)
            line_start = text.rfind("\n", 0, start) + 1
            line = lines[number]
            if is_initial_value(name, line):
                continue
            at = start - line_start
            for new in replacements(text, code, i):
                mutated = line[:at] + new + line[at + len(token):]
                yield Mutant(name, number + 1, start, start + len(token), new, line.strip(), mutated.strip())


def choice_key(mutant):
    return hashlib.sha256(f"{mutant.file}|{mutant.original}|{mutant.mutated}".encode()).hexdigest()


def key_of(mutant):
    return (mutant.file, mutant.original, mutant.mutated)


def choose(mutants):
    """At most so many of a file, the same each time, in the order of the file."""
    most = most_per_file[pathlib.Path(mutants[0].file).suffix]
    return sorted(sorted(mutants, key=choice_key)[:most], key=lambda m: m.start)


def source_files():
    for component in components:
        for path in sorted((root / "src" / component).iterdir()):
            if path.suffix in (".cpp", ".h") and str(path.relative_to(root)) not in left_out:
                yield path


# The survivors that are known to be equivalent

def read_equivalents(path):
    """Paragraphs: a line with the file, "- original line", "+ mutated line", then the reason."""
    entries = {}
    for paragraph in re.split(r"\n\s*\n", path.read_text()) if path.exists() else []:
        lines = [line for line in paragraph.split("\n") if line and not line.startswith("#")]
        if not lines:
            continue
        if len(lines) < 4 or not lines[1].startswith("- ") or not lines[2].startswith("+ "):
            sys.exit(f"{path.name}: no file, original line, mutated line and reason in\n{paragraph}")
        entries[(lines[0], lines[1][2:], lines[2][2:])] = " ".join(lines[3:])
    return entries


# A private copy of the project

not_copied = (".git", "build", "demo")

def copy_project(tree):
    """Over an older copy, leaving what has not changed as it is: the build below stays good."""
    files = (p for top in root.iterdir() if top.name not in not_copied for p in (top, *top.rglob("*")) if p.is_file())
    wanted = {p.relative_to(root) for p in files}
    for old in [p for p in tree.rglob("*") if p.is_file()]:
        if old.relative_to(tree) not in wanted:
            old.unlink()
    for name in wanted:
        copy_file(root / name, tree / name)


def copy_file(source, target):
    if target.exists() and target.read_bytes() == source.read_bytes():
        return
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(source, target)


class Copy:
    """Shared libraries, so that a mutant relinks one library and no test."""

    def __init__(self, number):
        self.tree = work / f"tree-{number}"
        self.build_folder = work / f"build-{number}"
        self.temporary = work / f"temporary-{number}"
        copy_project(self.tree)
        self.run_or_stop(["cmake", "-S", self.tree, "-B", self.build_folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=",
                          f"-DCMAKE_CXX_FLAGS={flags}", "-DBUILD_SHARED_LIBS=ON", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"])
        self.tests = list(self.find_tests())
        self.durations = {}  # of those that have been needed so far

    def run_or_stop(self, command):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            raise RuntimeError(f"{done.stdout}\nthe original does not build")

    def prepare(self, tests):
        """Builds and times those of the tests that are needed for the first time, without any mutant."""
        new = [test for test in tests if test not in self.durations]
        if new:
            self.run_or_stop(["ninja", "-j1", "-C", self.build_folder, "tarvel", *sorted({t.target for t in new})])
            self.durations |= {test: self.time(test) for test in new}

    def time(self, test):
        """Processor seconds, since other work on the machine must not look like a mutant that hangs."""
        running = self.start(test, longest_wait)  # the object must live: it would wait for its process when it goes
        _, status, usage = os.wait4(running.pid, 0)
        running.returncode = os.waitstatus_to_exitcode(status)
        if running.returncode != 0:
            raise RuntimeError(f"{test.name} fails without any mutant")
        return usage.ru_utime + usage.ru_stime

    def find_tests(self):
        # ctest itself says nothing of the command of a test that has not been built.
        written = (self.build_folder / "CTestTestfile.cmake").read_text()
        added = re.findall(r"^add_test\(\[=\[(.*?)\]=\] (.*)\)$", written, re.MULTILINE)
        commands = {name: tuple(shlex.split(words)) for name, words in added}
        listed = subprocess.run(["ctest", "--test-dir", self.build_folder, "--show-only=json-v1"],
                                stdout=subprocess.PIPE, check=True)
        for test in json.loads(listed.stdout)["tests"]:
            if test["name"].split("/")[0] not in judges:
                continue
            settings = {p["name"]: p["value"] for p in test["properties"]}
            environment = tuple(tuple(v.split("=", 1)) for v in settings.get("ENVIRONMENT", []))
            command = commands[test["name"]]
            yield Test(test["name"], test["name"].split("/")[0], pathlib.Path(command[0]).name, command, environment)

    def build(self, targets):
        return subprocess.run(["ninja", "-j1", "-C", self.build_folder, *targets],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def start(self, test, patience):
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir()
        options = [] if test.folder == "fuzz" else ["--gtest_fail_fast", "--gtest_brief=1"]
        return subprocess.Popen(
            [*test.command, *options], cwd=self.build_folder, start_new_session=True, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=lambda: limit_resources(patience),
            env={**os.environ, **dict(test.environment), "TMPDIR": str(self.temporary)})

    def passes(self, test):
        """A test that takes too long has failed, and so has whatever it has started."""
        running = self.start(test, round(max(least_patience, 10 * self.durations[test])))
        try:
            return running.wait(longest_wait) == 0
        except subprocess.TimeoutExpired:
            os.killpg(running.pid, signal.SIGKILL)
            running.wait()
            return False

    def judge(self, mutant):
        path = self.tree / mutant.file
        text = (root / mutant.file).read_text()
        try:
            for tests in self.stages(mutant.file):
                path.write_text(text)
                self.prepare(tests)
                path.write_text(text[:mutant.start] + mutant.replacement + text[mutant.end:])
                if not self.build({t.target for t in tests} | {"tarvel"}):
                    return Verdict("not compiled", "")
                for test in self.in_order(mutant.file, tests):
                    if not self.passes(test):
                        return Verdict("caught", test.name)
            return Verdict("survived", "")
        finally:
            path.write_text(text)

    def stages(self, file):
        """The tests of the file's folder, and then all the rest."""
        folder = pathlib.Path(file).parent.name
        return [t for t in self.tests if t.folder == folder], [t for t in self.tests if t.folder != folder]

    def in_order(self, file, tests):
        """Those named after the file before the others, the quickest first."""
        stem = pathlib.Path(file).stem
        return sorted(tests, key=lambda t: (not pathlib.Path(t.name).name.startswith(stem), self.durations[t]))


def limit_resources(seconds):
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
    resource.setrlimit(resource.RLIMIT_AS, (memory_limit, memory_limit))
    resource.setrlimit(resource.RLIMIT_FSIZE, (file_limit, file_limit))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


# The run

def judge_all(groups):
    """Each core builds a copy and then takes the mutants of one file after the other."""
    waiting = collections.deque(sorted(groups, key=len, reverse=True))
    verdicts = {}

    def work_through(number):
        copy = Copy(number)
        for group in iter(lambda: waiting.popleft() if waiting else None, None):
            for mutant in group:
                verdicts[mutant] = copy.judge(mutant)
                record(mutant, verdicts[mutant])

    with concurrent.futures.ThreadPoolExecutor() as pool:
        workers = [pool.submit(work_through, number) for number in range(len(os.sched_getaffinity(0)))]
    for worker in workers:
        worker.result()
    return verdicts


def record(mutant, verdict):
    with open(work / "log", "a") as log:
        log.write(f"{verdict.outcome}\t{mutant.file}:{mutant.line}\t{mutant.mutated}\t{verdict.detail}\n")


def show(heading, mutants):
    if mutants:
        print(f"\n{heading}")
    for m in mutants:
        print(f"{m.file}:{m.line}\n- {m.original}\n+ {m.mutated}")


def report(verdicts, equivalents, unmatched):
    print(f"{'component':<10}{'mutants':>9}{'caught':>9}{'equivalent':>12}{'survived':>10}{'not compiled':>14}")
    survivors, wrong, total = [], [], collections.Counter()
    for component in components:
        counts = collections.Counter()
        for mutant, verdict in verdicts.items():
            if mutant.file.split("/")[1] != component:
                continue
            is_listed = key_of(mutant) in equivalents
            outcome = "equivalent" if is_listed and verdict.outcome == "survived" else verdict.outcome
            counts[outcome] += 1
            if outcome == "survived":
                survivors.append(mutant)
            if is_listed and outcome != "equivalent":
                wrong.append(mutant)
        print_counts(component, counts)
        total += counts
    print_counts("all", total)
    judged = total["caught"] + total["survived"]
    print(f"caught: {100.0 * total['caught'] / max(judged, 1):.1f} % of those that are not equivalent")
    show("Survivors:", sorted(survivors))
    show("Listed as equivalent, but caught:", sorted(wrong))
    for file, original, mutated in unmatched:
        print(f"\nlisted as equivalent, but no mutant:\n{file}\n- {original}\n+ {mutated}")
    return 1 if survivors or wrong or unmatched or judged == 0 else 0


def print_counts(name, counts):
    made = counts["caught"] + counts["equivalent"] + counts["survived"]
    print(f"{name:<10}{made:>9}{counts['caught']:>9}{counts['equivalent']:>12}{counts['survived']:>10}"
          f"{counts['not compiled']:>14}")


def main():
    patterns = [word for word in sys.argv[1:] if word != "--list"]
    pattern = re.compile(patterns[0] if patterns else "")
    equivalents = read_equivalents(root / "proofs" / "equivalent_mutants.txt")
    every = {str(f.relative_to(root)): list(mutants_of(f)) for f in source_files()}
    chosen = [choose(m) for name, m in every.items() if m and pattern.search(name)]
    keys = {key_of(m) for group in chosen for m in group}
    unmatched = [e for e in equivalents if pattern.search(e[0]) and e not in keys]
    print(f"{sum(map(len, chosen))} mutants of {len(chosen)} files", flush=True)
    if "--list" in sys.argv:
        show("Mutants:", [m for group in chosen for m in group])
        return 0
    work.mkdir(parents=True, exist_ok=True)
    (work / "log").write_text("")
    return report(judge_all(chosen), equivalents, unmatched)


if __name__ == "__main__":
    sys.exit(main())

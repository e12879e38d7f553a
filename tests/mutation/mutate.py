"""Draws mutants of the library, builds each and runs the tests that can see it. script/mutate calls this."""

import argparse
import collections
import hashlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

WORK = pathlib.Path("build/mutate")
# Includes point down, so that a test sees the folders in front of its own and no other.
FLOORS = ["platform", "base", "text", "sync", "ids", "time", "files", "logging", "documents", "transfer",
          "lifecycle"]

SWAPS = {
    "<": ["<=", ">"], "<=": ["<", ">"], ">": [">=", "<"], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
    "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "&": ["|"], "|": ["&"], "^": ["&"], "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="],
    "*=": ["/="], "&=": ["|="], "|=": ["&="], "<<=": [">>="], ">>=": ["<<="], "++": ["--"], "--": ["++"],
    "true": ["false"], "false": ["true"],
}

HIDDEN = re.compile(
    r'//[^\n]*|/\*.*?\*/'                              # comments
    r'|R"(?P<end>[^(\s]*)\(.*?\)(?P=end)"|"(?:\\.|[^"\\\n])*"'  # strings
    r"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'"            # characters, but no digit separators
    r'|^[ \t]*\#(?:\\\n|[^\n])*',                      # the preprocessor's lines
    re.S | re.M)
# clang-format sets binary operators between spaces, and nothing else that looks like one.
OPERATOR = re.compile(r"(?<= )(<<=|>>=|[<>=!+\-*&|]=|&&|\|\||<<|>>|[<>+\-*/%&|^])(?=\s)|\+\+|--"
                      r"|\b(?:true|false)\b")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f']+|\d[\d']*)([uUlL]*)(?![\w.'])")
CONDITION = re.compile(r"\b(if|while) \(")
# Left out, these don't compile. A lock may go.
DECLARATION = re.compile(r"(?!.*(?:[Ll]ock|[Gg]uard))[\w:]+(<.*>)?[ *&]+[\w:]+(\[.*\]|\(.*\))?( =\s.*)?;", re.S)
KEPT = re.compile(r"return\s|throw;|(const|using|typedef|static_assert|case|default|for|do|switch|delete|goto"
                  r"|static|constexpr|extern|friend|public|private|protected|struct|class|enum)\b")
NO_BODY = re.compile(r"^(template\s*<[^{]*>\s*)?(inline\s+)?(namespace|class|struct|union|enum|extern)\b")

Mutant = collections.namedtuple("Mutant", "rank file start end text line told")


def closing(text, opening):
    """The offset of the parenthesis that closes the one at `opening`."""
    depth = 0
    for offset in range(opening, len(text)):
        depth += {"(": 1, ")": -1}.get(text[offset], 0)
        if depth == 0:
            return offset
    return len(text) - 1


def statements(text):
    """Ranges of the statements, inside of functions, that have no block and can be left out."""
    inside = [(False, 0)]  # for each block that is open: whether a function's, and the depth of parentheses before it
    depth = begin = 0
    for at in [match.start() for match in re.finditer(r"[;{}]", text)]:
        piece = text[begin:at + 1]
        start = begin + len(piece) - len(piece.lstrip())
        before, depth = depth, depth + piece.count("(") - piece.count(")")
        if text[at] == "{":
            inside.append((not NO_BODY.match(text[start:at]), depth))
            depth = 0
        elif text[at] == "}":
            depth = inside.pop()[1]
        elif inside[-1][0] and before == depth == 0:
            while head := re.match(r"(if|while|for)( constexpr)? \(|else\s+", text[start:at]):
                start += head.end()
                if head.group(1):
                    start = closing(text, start - 1) + 1
                start += len(text[start:at]) - len(text[start:at].lstrip())
            piece = text[start:at + 1]
            if len(piece) > 1 and not KEPT.match(piece) and "reserve(" not in piece \
                    and not DECLARATION.fullmatch(piece):
                yield start, at + 1
        begin = at + 1


def places(text):
    """Each place that can be changed: its range, and the texts that may stand there instead."""
    for match in OPERATOR.finditer(text):
        yield match.start(), match.end(), SWAPS[match.group(0)]
    for match in NUMBER.finditer(text):
        digits = match.group(1).replace("'", "")
        write = hex if digits.startswith("0x") else str
        value = int(digits, 16 if write is hex else 8 if re.match(r"0\d", digits) else 10)
        values = [value + 1, value - 1] if value else [1]
        yield match.start(), match.end(), [write(other) + match.group(2) for other in values]
    for match in CONDITION.finditer(text):
        end = closing(text, match.end() - 1)
        if ";" not in text[match.end():end]:
            yield match.end(), end, [None]
    for start, end in statements(text):
        yield start, end, [";"]


def mutants_of(file, seed):
    """One mutant for each place in `file`. Its rank hangs on the seed and the line, not on the line's number."""
    source = file.read_text()
    text = HIDDEN.sub(lambda match: re.sub(r"[^\n]", " ", match.group(0)), source)
    seen = collections.Counter()
    for start, end, others in sorted(places(text), key=lambda place: place[:2]):
        begin_of_line = source.rfind("\n", 0, start) + 1
        before = source[start:end]
        key = "\0".join([seed, str(file), source[begin_of_line:start].strip(), before,
                         source[end:].split("\n", 1)[0].strip()])
        seen[key] += 1
        digest = hashlib.sha256(f"{key}\0{seen[key]}".encode()).digest()
        after = others[digest[-1] % len(others)]
        if after is None:
            after = f"!({before})"
        whole = " ".join(before.split())
        change = f"left out: {whole}" if after == ";" else f"'{whole}' became '{' '.join(after.split())}'"
        line = source.count("\n", 0, start) + 1
        context = "" if after == ";" else "  in: " + source.split("\n")[line - 1].strip()
        # What is left out keeps its lines, so that those behind it stay where they are.
        if after == ";":
            after += "\n" * before.count("\n")
        yield Mutant(digest, file, start, end, after, line, change + context)


def public_headers():
    """What an application may include: what the two headers of everything reach, and the stream buffer."""
    found = set()
    waiting = [pathlib.Path("morvel") / name for name in ("morvel.h", "companions.h", "files/NFileStreamBuf.h")]
    while waiting:
        header = waiting.pop()
        if header in found or not header.exists():
            continue
        found.add(header)
        waiting += map(pathlib.Path, re.findall(r"#include <(morvel/[^>]*)>", header.read_text()))
    return found


def sources():
    public = public_headers()
    for file in sorted(pathlib.Path("morvel").rglob("*")):
        if file.suffix in (".cpp", ".h") and file not in public and not re.search("windows|dllmain", file.name):
            yield file


def _files(root):
    """The files of the project that stands in `root`, with or without git."""
    for folder, folders, names in os.walk(root):
        relative = pathlib.Path(folder).relative_to(root)
        if folder == str(root):
            folders[:] = [name for name in folders if name not in (".git", "build")]
        for name in names:
            yield str(relative / name)


class Failure(Exception):
    """A sentence for who called, and what to read."""


class Tree:
    """A copy of the project with a build of its own."""

    def __init__(self, number):
        self.root = (WORK / str(number)).absolute()
        self.build_folder = self.root / "build/dev"
        self.environment = dict(os.environ, CCACHE_BASEDIR=str(self.root), CCACHE_NOHASHDIR="1",
                                GTEST_FAIL_FAST="1", TMPDIR=str(self.root / "build/tmp"))
        if shutil.which("ccache"):
            self.environment["CMAKE_CXX_COMPILER_LAUNCHER"] = "ccache"

    def refresh(self):
        """Takes over what has changed, and nothing else, so that little is built anew."""
        files = set(_files(pathlib.Path()))
        for name in files:
            copy = self.root / name
            if not copy.exists() or copy.read_bytes() != pathlib.Path(name).read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(name, copy)
        for name in _files(self.root):
            if name not in files:
                (self.root / name).unlink()

    def prepare(self):
        """Builds the library as it is, and everything that tests it."""
        self.refresh()
        # Without debug information two libraries are the same bytes when they do the same.
        self._run(["cmake", "--preset", "dev", "-DCMAKE_CXX_FLAGS_DEBUG=",
                   "-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"], 600)
        if not self.build(3600):
            raise Failure((self.root / "build/output").read_text(errors="replace")
                          + "The unchanged library can't be built; the lines above say why.")
        self.environment["CCACHE_DISABLE"] = "1"  # a mutant is built once
        self.library = self._digest()
        listed = subprocess.run(["ctest", "--preset", "dev", "--show-only=json-v1"], cwd=self.root, check=True,
                                stdout=subprocess.PIPE).stdout
        self.tests = []
        for test in json.loads(listed)["tests"]:
            properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
            folder = pathlib.Path(properties["WORKING_DIRECTORY"])
            if folder.name not in ("install", "readme"):  # these build programs: others see the same sooner
                environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
                passing = {0, properties.get("SKIP_RETURN_CODE", 0)}
                self.tests.append((test["name"], folder, test["command"], environment, passing))

    def build(self, patience=600):
        return self._run(["cmake", "--build", str(self.build_folder), "-j", "1"], patience) == 0

    def run_test(self, test, patience):
        """Whether the test passes, and its seconds."""
        _, folder, command, environment, passing = test
        shutil.rmtree(self.environment["TMPDIR"], ignore_errors=True)
        os.makedirs(self.environment["TMPDIR"])
        start = time.monotonic()
        code = self._run(command, patience, folder, environment)
        return code in passing, time.monotonic() - start

    def changes_library(self):
        return self._digest() != self.library

    def _digest(self):
        return hashlib.sha256((self.build_folder / "bin/libmorvel.so").read_bytes()).digest()

    def _run(self, command, patience, folder=None, environment={}):
        """The exit code of a command, which has ended with all that it started; none if it took too long."""
        (self.root / "build").mkdir(exist_ok=True)
        with open(self.root / "build/output", "wb") as output:
            process = subprocess.Popen(command, cwd=folder or self.root, env={**self.environment, **environment},
                                       stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                                       start_new_session=True)
            try:
                return process.wait(patience)
            except subprocess.TimeoutExpired:
                return None
            finally:
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                process.wait()


class Judge:
    """Runs the tests on mutants, in several trees side by side."""

    def __init__(self, jobs):
        self.trees = [Tree(number + 1) for number in range(jobs)]
        self.seconds = {}
        self.stopped = False

    def prepare(self):
        for tree in self.trees:  # one after the other: the second finds in the cache what the first made
            tree.prepare()
        # Side by side, as the mutants: so the tests have to bear each other, too.
        self._in_each_tree(self._pass_all_tests)

    def try_all(self, mutants):
        """For each mutant what became of it: None if it doesn't count, True if it survived, else its killer."""
        waiting = sorted(mutants, key=lambda mutant: (mutant.file, mutant.start), reverse=True)
        fates = {}

        def work(tree):
            # A file's mutants come together: each tree then builds a restored file but once.
            while waiting and not self.stopped:
                mutant = waiting.pop()
                fates[mutant] = self._try(tree, mutant)

        self._in_each_tree(work)
        return fates

    def _in_each_tree(self, work):
        failures = []

        def guarded(tree):
            try:
                work(tree)
            except Exception as failure:  # told by the main thread, once the others are through
                self.stopped = True
                failures.append(failure)

        threads = [threading.Thread(target=guarded, args=(tree,)) for tree in self.trees]
        for thread in threads:
            thread.start()
        try:
            for thread in threads:
                thread.join()
        except KeyboardInterrupt:
            self.stopped = True
            print("stopping, with the mutants that are under way", flush=True)
            for thread in threads:
                thread.join()
        if failures:
            raise failures[0]

    def _pass_all_tests(self, tree):
        for test in tree.tests:
            passes, seconds = tree.run_test(test, 900)
            if not passes:
                raise Failure((tree.root / "build/output").read_text(errors="replace") +
                              f"{test[0]} fails on the unchanged library: mend that first.")
            self.seconds[test[0]] = max(seconds, self.seconds.get(test[0], 0))

    def _try(self, tree, mutant):
        path = tree.root / mutant.file
        source = path.read_text()
        path.write_text(source[:mutant.start] + mutant.text + source[mutant.end:])
        fate = None
        try:
            if tree.build() and tree.changes_library():
                fate = self._run_tests(tree, mutant)
        finally:
            path.write_text(source)
        told = {None: "not counted", True: "SURVIVED"}.get(fate, fate)
        print(f"{mutant.file}:{mutant.line}: {told}: {mutant.told}", flush=True)
        return fate

    def _run_tests(self, tree, mutant):
        own = FLOORS.index(mutant.file.parts[1])

        def turn(test):
            folder = test[1].name
            floor = FLOORS.index(folder) if folder in FLOORS else len(FLOORS)
            return floor, self.seconds[test[0]]

        for test in sorted(tree.tests, key=turn):
            if turn(test)[0] >= own:
                patience = 20 + 5 * self.seconds[test[0]]
                passes, seconds = tree.run_test(test, patience)
                if not passes:
                    return f"{'timed out' if seconds >= patience else 'killed'} by {test[0]}"
        return True


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", required=True)
    parser.add_argument("--count", type=int, required=True)
    parser.add_argument("--jobs", type=int, required=True)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("files", nargs="*")
    arguments = parser.parse_args()

    files = list(sources())
    if arguments.files:
        named = [pathlib.Path(os.path.relpath(name)) for name in arguments.files]
        for file in named:
            if file not in files:
                sys.exit(f"script/mutate: {file} is no source of the library that this system builds.")
        files = named
    drawn = sorted(mutant for file in files for mutant in mutants_of(file, arguments.seed))
    if arguments.list:
        for mutant in sorted(drawn[:arguments.count], key=lambda mutant: (mutant.file, mutant.start)):
            print(f"{mutant.file}:{mutant.line}: {mutant.told}")
        return

    for number in (signal.SIGINT, signal.SIGTERM):  # the first ends the run early, with a report
        signal.signal(number, signal.default_int_handler)
    judge = Judge(arguments.jobs)
    print(f"{len(drawn)} places to change in {len(files)} files; building the unchanged library", flush=True)
    try:
        judge.prepare()
        print(f"it survives {len(judge.seconds)} tests", flush=True)
        fates = {}
        while not judge.stopped:
            missing = arguments.count - sum(fate is not None for fate in fates.values())
            # Batches are small, so that what is stopped half-way has seen all of the library alike.
            batch = drawn[len(fates):len(fates) + min(missing, 40)]
            if not batch:
                break
            fates.update(judge.try_all(batch))
    except Failure as failure:
        sys.exit(f"{failure}")

    counted = [mutant for mutant in fates if fates[mutant] is not None]
    survivors = sorted((mutant for mutant in counted if fates[mutant] is True),
                       key=lambda mutant: (mutant.file, mutant.start))
    timed_out = sum(str(fates[mutant]).startswith("timed out") for mutant in counted)
    killed = len(counted) - len(survivors)
    print(f"\n== {len(survivors)} survived")
    for mutant in survivors:
        print(f"{mutant.file}:{mutant.line}: {mutant.told}")
    rate = 100 * killed / len(counted) if counted else 0
    print(f"\n{len(counted)} mutants: {killed} killed ({timed_out} by time), {len(survivors)} survived, rate "
          f"{rate:.1f} %; {len(fates) - len(counted)} that don't compile or change nothing aren't counted")


main()

"""Each system call of each operation on files fails in turn, by strace: the result is the documented
one, files are as promised, and no descriptor stays open. Where a file is replaced, a process that is
killed in front of any call leaves the old one or the new one, and so does a disk that gets full."""

import collections
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from host import Host, finish, skip

ERRORS = ["EIO", "EACCES", "ENOSPC", "EINTR"]
# Those that ask for memory or say how the process is, a file system doesn't answer.
NOT_OF_FILES = {"brk", "mmap", "munmap", "mprotect", "madvise", "mremap", "futex", "getppid", "getrandom",
                "rt_sigaction", "rt_sigprocmask", "clock_gettime", "gettid", "umask"}
# How the exceptions name themselves; the Message has the system's own reason.
ERROR, DENIED, NO_PATH = "!File access error", "!Access to file denied", "!Path not found"
FAILURE = {"EIO": {ERROR}, "EACCES": {DENIED}, "ENOSPC": {ERROR}, "EINTR": {ERROR}}
# Of POCO's exception for an input or output error comes this one. A folder that can't be read to its
# end isn't empty when it is to be removed, whatever the reason.
BY_POCO = {**FAILURE, "EIO": {"!Runtime exception", ERROR}, "EACCES": {DENIED, ERROR}}

OLD, NEW = "old", "n" * 100
XML = '<?xml version="1.0" encoding="UTF-8"?>\n<r>' + NEW + "</r>\n"

# An operation: its words behind the folder's files, the answers of success, those of failure by the error,
# and what a success and a failure leave: the contents of the folder as a test. Of the calls in `bound` the first
# of each name is made, and where that fails, so does the operation: what comes behind them, a folder's fsync
# behind a rename and what closes a file that was read, may fail unseen.
Operation = collections.namedtuple("Operation", "words bound done failed after before")


def either(*tests):
    return lambda files: any(test(files) for test in tests)


def anything(_):
    return True


START = {"file": OLD, "folder/a": "1", "folder/b": "2"}


def with_file(text, **more):
    return lambda files: files == {**START, "file": text, **more}


UNTOUCHED = with_file(OLD)
SAYS_NO = {error: {"0"} for error in ERRORS}
OPERATIONS = [
    Operation("write {}/file 100", "openat fchmod write fsync close rename", {""}, FAILURE, with_file(NEW), UNTOUCHED),
    Operation("save-safely {}/file 100", "openat fchmod write fsync close rename", {""}, FAILURE, with_file(XML), UNTOUCHED),
    # In place: where that fails half-way the old content is lost.
    Operation("save {}/file 100", "openat write", {"1"}, {error: {NO_PATH} for error in ERRORS}, with_file(XML), anything),
    Operation("read {}/file", "openat read", {"3"}, FAILURE, UNTOUCHED, UNTOUCHED),
    Operation("load {}/file", "openat", {"accepted"}, {error: {"refused"} for error in ERRORS}, anything, anything),
    Operation("rename {0}/folder/a {0}/file", "rename", {""}, FAILURE,
              lambda files: files == {"file": "1", "folder/b": "2"}, UNTOUCHED),
    Operation("create {}/new", "openat", {"1"}, SAYS_NO, with_file(OLD, new=""), either(UNTOUCHED, with_file(OLD, new=""))),
    Operation("create-folder {}/new", "mkdir", {"1"}, SAYS_NO, with_file(OLD, **{"new/": ""}), UNTOUCHED),
    Operation("create-folders {}/new/er", "mkdir", {""}, BY_POCO, with_file(OLD, **{"new/er/": ""}),
              either(UNTOUCHED, with_file(OLD, **{"new/": ""}))),
    # What was removed before it failed stays removed.
    Operation("remove {}/folder", "openat unlink rmdir", {""}, BY_POCO, lambda files: files == {"file": OLD}, anything),
    Operation("exists {}/file", "newfstatat", {"1"}, SAYS_NO, UNTOUCHED, UNTOUCHED),
    Operation("created {}/file", "", {"time"}, SAYS_NO, UNTOUCHED, UNTOUCHED),
    Operation("stream-read {}/file", "openat read", {"3"}, {error: {"0", "-1"} for error in ERRORS}, UNTOUCHED, UNTOUCHED),
    Operation("stream-write {}/file", "openat write", {"8"}, {error: {"0", "-1"} for error in ERRORS}, with_file("n" * 8), UNTOUCHED),
    # It tells its position and the size; one that can't be told is 0.
    Operation("stream-seek {}/file", "openat lseek", {"13"}, {error: {"-1", "3", "10"} for error in ERRORS}, UNTOUCHED, UNTOUCHED),
    # What libcurl reads of its configuration and of the source may be cut short unseen; what is written may not.
    Operation("download {0}/file {0}/new", "ftruncate write", {"0"}, {error: {"-4", "23", "37", "43"} for error in ERRORS},
              lambda files: "new" in files, lambda files: files["file"] == OLD),
]
RETRIED = {("read", "EINTR"), ("write", "EINTR")}  # what a signal interrupts goes on


def prepare(folder, operation):
    shutil.rmtree(folder, ignore_errors=True)
    for name, text in START.items():
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / name).write_text("<a>t</a>" if operation.words.startswith("load") else text, "utf-8")
    (folder / "file").chmod(0o640)


def contents(folder):
    """Files by their names in the folder, empty folders with a slash behind theirs."""
    found = {}
    for place, folders, files in os.walk(folder):
        place = pathlib.Path(place)
        found |= {str((place / name).relative_to(folder)): (place / name).read_text("utf-8") for name in files}
        if not folders and not files and place != folder:
            found[str(place.relative_to(folder)) + "/"] = ""
    return found


def run(program, folder, operation, *options):
    """The answer, and how many more descriptors are open behind the operation than before."""
    result = subprocess.run(["strace", *options, program], text=True, check=False, stdout=subprocess.PIPE,
                            input=f"descriptors\n{operation.words.format(folder)}\ndescriptors\n")
    answers = [line.split(" ", 1)[1] for line in result.stdout.splitlines()]
    if len(answers) != 3:
        return f"ended with {result.returncode}", 0
    answer = answers[1]
    if operation.words.startswith("created") and answer != "0":
        answer = "time"
    return answer, int(answers[2]) - int(answers[0])


def calls_of(program, folder, operation):
    """The system calls of the operation, each with how many of its name there have been since the start."""
    prepare(folder, operation)
    trace = folder.with_suffix(".trace")
    answer, _ = run(program, folder, operation, "-o", trace)
    if answer not in operation.done or not operation.after(contents(folder)):
        sys.exit(f"failed: {operation.words} without a fault: {answer}, {contents(folder)}")
    counts, marks, calls = collections.Counter(), 0, []
    for name in re.findall(r"^(\w+)\(", trace.read_text("utf-8", "replace"), re.M):
        counts[name] += 1
        marks += name == "getppid"
        if marks == 3 and name not in NOT_OF_FILES:  # the second command is behind the third mark
            calls.append((name, counts[name]))
    if not calls or (missing := set(operation.bound.split()) - {name for name, _ in calls}):
        sys.exit(f"failed: {operation.words} makes {len(calls)} calls, but none to {missing if calls else 'the system'}")
    return calls


def fault(program, folder, operation, call, number, error, bound):
    """What is wrong where this call fails; None where nothing is. `bound`: so must the operation then."""
    prepare(folder, operation)
    answer, opened = run(program, folder, operation, "-o", "/dev/null", "-e", f"trace={call}",
                         "-e", f"inject={call}:error={error}:when={number}")
    files, failed = contents(folder), answer in operation.failed[error]
    mode = (folder / "file").stat().st_mode & 0o777 if (folder / "file").exists() else 0o640
    wrong = []
    if answer not in operation.done and not failed:
        wrong.append(f"answers {answer!r}")
    if bound and not failed and (call, error) not in RETRIED:
        wrong.append("passes over it")
    if not (operation.before if failed else operation.after)(files):
        wrong.append(f"leaves {files} behind {answer!r}")
    if opened > (call == "close"):  # one that strace answers is never made
        wrong.append(f"leaves {opened} descriptors open")
    if mode != 0o640 and not operation.words.startswith("rename"):
        wrong.append(f"leaves mode {mode:o}")
    return f"{operation.words}, {error} from {call} number {number}: " + ", ".join(wrong) if wrong else None


def replacing(program, folder, operation, calls):
    """What is wrong where the process is killed, and where there is room for a part of the new file."""
    def left():
        return contents(folder).get("file")

    prepare(folder, operation)
    run(program, folder, operation, "-o", "/dev/null")
    old_or_new, found = {OLD, left()}, set()
    for call, number in calls:
        prepare(folder, operation)
        run(program, folder, operation, "-o", "/dev/null", "-e", f"trace={call}",
            "-e", f"inject={call}:signal=KILL:when={number}")
        found.add(left())
    wrong = [] if found == old_or_new else [f"{operation.words}, killed, leaves {found}"]
    for room in range(len(NEW)):
        prepare(folder, operation)
        with Host(program) as host:
            host.ask("room", "-", room)
            answer = host.ask(operation.words.format(folder))
        if answer != ERROR or contents(folder) != START:
            wrong.append(f"{operation.words}, with room for {room}, leaves {contents(folder)} behind {answer!r}")
    return wrong


def main(program):
    if not shutil.which("strace"):
        skip("there is no strace; the package of that name has it.")
    with tempfile.TemporaryDirectory() as work:
        if subprocess.run(["strace", "-o", "/dev/null", "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
            skip("this system lets no process trace another.")

        def every(operation):
            folder = pathlib.Path(work, str(OPERATIONS.index(operation)))
            calls = calls_of(program, folder, operation)
            first = {name: number for name, number in reversed(calls) if name in operation.bound.split()}
            found = [fault(program, folder, operation, call, number, error, first.get(call) == number)
                     for call, number in calls for error in ERRORS]
            if operation.words.startswith(("write", "save-safely")):
                found += replacing(program, folder, operation, calls)
            return len(calls), found

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            results = list(pool.map(every, OPERATIONS))
    findings = [finding for _, found in results for finding in found if finding]
    calls = sum(count for count, _ in results)
    finish(findings, f"{len(OPERATIONS)} operations, {calls} system calls, {calls * len(ERRORS)} faults")


main(*sys.argv[1:])

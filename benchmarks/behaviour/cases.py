"""The cases. Each function has a program of a library, and returns what happened."""

import contextlib
import ctypes
import os
import time
from pathlib import Path

from observe import folder, need, Program, runs, state_of_file

CASES = {}
CONTENTS = "the only copy\n"
MEGABYTE = "head -c 1000000 /dev/zero"
AT_FDCWD, RENAME_EXCHANGE = -100, 2


def case(title):
    def add(function):
        CASES[function.__name__] = title, function
    return add


@case("A file is copied onto itself through a symbolic link")
def copy(program):
    seen = []
    for source, target in ("link", "file"), ("file", "link"):
        with folder() as here:
            (here / "file").write_text(CONTENTS)
            (here / "link").symlink_to("file")
            answer = program.do("copy", here / source, here / target)
            state = state_of_file(here / "file", CONTENTS)
            seen.append(f"{source} to {target}: {answer.short}, the file is {state}")
    return "; ".join(seen)


@case("A file is moved to another volume")
def move(program):
    with folder() as here, folder("/dev/shm") as there:
        source, target, contents = here / "file", there / "file", "x" * 100000
        source.write_text(contents)
        source.chmod(0o640)
        os.utime(source, (981173106, 981173106))
        before = source.stat()
        need(before.st_dev != there.stat().st_dev, ": no two volumes")
        answer = program.do("move", source, target)
        seen = [answer.text, "source " + state_of_file(source, contents), "target " + state_of_file(target, contents)]
        if target.exists():
            after = target.stat()
            seen.append("permissions " + ("kept" if after.st_mode == before.st_mode else "lost"))
            seen.append("time " + ("kept" if after.st_mtime == before.st_mtime else "lost"))
        return ", ".join(seen)


@case("A tree is deleted, and meanwhile a directory in it is swapped for a link")
def tree(program):
    with folder() as here:
        inside, outside, link = here / "tree/directory", here / "outside", here / "link"
        for directory in inside, outside:
            directory.mkdir(parents=True)
            for number in range(5000):
                (directory / f"file {number}").touch()
        link.symlink_to(outside)
        names = os.fsencode(link), os.fsencode(inside)
        exchange = ctypes.CDLL(None).renameat2
        time.sleep(0.05)  # so that the directory's time tells when it changes
        before = os.stat(inside).st_mtime_ns
        program.send("delete tree", here / "tree")
        # As soon as a file in it has gone, the directory is outside and the link is in its place.
        with contextlib.suppress(FileNotFoundError):
            while os.stat(inside).st_mtime_ns == before and not program.has_answered():
                pass
        swapped = exchange(AT_FDCWD, names[0], AT_FDCWD, names[1], RENAME_EXCHANGE) == 0
        answer = program.receive()
        need(swapped)
        whole = len(os.listdir(outside)) == 5000
        return answer.text + (", no file outside is touched" if whole else ", files outside the tree are deleted")


@case("A file is locked, and another object on it is closed")
def lock(program):
    def other():
        with Program(program.path) as another:
            return "gets it too" if another.do("lock", file).done else "is refused"

    with folder() as here:
        file = here / "file"
        file.touch()
        seen = f"{program.do('lock', file).text}, another process {other()}"
        program.do("open and close", file)
        return f"{seen}; after the other object is closed it {other()}"


@case("A file is replaced by a larger one, and the volume is full")
def full(program):
    right = ["--map-root-user"] if os.geteuid() != 0 else []
    mount = 'mount -t tmpfs -o size=64k none "$0" && exec "$1"'
    with folder() as place, Program(program.path, "unshare", "--mount", *right, "sh", "-c", mount, place) as there:
        file = Path(f"/proc/{there.process.pid}/root{place}/file")
        need(there.process.poll() is None and there.do("about"), ": no volume may be mounted")
        file.write_text(CONTENTS)
        answer = there.do("replace", place / "file", "x" * 100000)
        seen = f"{answer.text}, the file is {state_of_file(file, CONTENTS)}"
        more = len(os.listdir(file.parent)) - 1
        return seen + (f", {more} more is left behind" if more else "")


@case("A program that does not exist is started")
def missing(program):
    answer = program.do("start", "", "", "/nowhere/missing")
    program.wait(0.3)
    return f"{answer.text}, {program.zombies()}"


@case("A program is started in a directory that does not exist")
def nowhere(program):
    with folder() as here:
        answer = program.shell(f"echo >{here}/ran", here / "missing")
        ran = program.wait(0.5, (here / "ran").exists)
        return f"{answer.text}, the program " + ("ran elsewhere" if ran else "did not run")


@case("50 children are started and forgotten")
def forget(program):
    with folder() as here:
        for number in range(50):
            need(program.shell(f"sleep 0.2; echo >{here}/{number}").done)
            program.do("forget")
        program.wait(4, lambda: len(os.listdir(here)) == 50)
        program.wait(0.5)
        seen = f"{len(os.listdir(here))} did their work, {program.zombies()}"
        pid = program.do("start", "", "", "/bin/true").value
        program.wait(0.5, lambda: not runs(pid))
        program.do("forget")
        program.wait(0.2)
        return f"{seen}; {program.zombies()} after one more start"


@case("A child has ended and nobody has reaped it: does it run?")
def ended(program):
    pid = program.do("start", "", "", "/bin/true").value
    need(int(pid or 0) > 0 and program.wait(3, lambda: not runs(pid), turn=False))
    time.sleep(0.01)  # in which a library that collects it by itself has done so
    words = {"yes": "that it runs", "no": "that it has ended"}
    seen = "says " + words[program.do("is running").value]
    if program.can("turn"):
        program.wait(0.3)
        later = program.do("is running").value
        seen += f"; {'still ' if later == 'yes' else ''}{words[later]} when its event loop has turned"
    return seen


def written(program, file):
    if program.wait(1.5, file.exists, turn=False):
        return "it writes all"
    if program.can("turn") and program.wait(1.5, file.exists):
        return "it waits until the event loop turns, then writes all"
    return None


@case("A child writes 1 MB that nobody reads")
def megabyte(program):
    seen = []
    for output, way in ("", "as started by default"), ("pipe", "through a pipe"):
        with folder() as here:
            file = here / "written"
            started = program.shell(f"{MEGABYTE} && echo >{file}", output=output)
            happened = written(program, file) if started.done else "cannot be tried"
            program.do("forget")
            if happened is None:
                program.wait(1, lambda: not runs(started.value))
                happened = "it waits, " + ("and writes all when its object goes" if file.exists() else
                                           "also when its object has gone" if runs(started.value) else
                                           "and is killed when its object goes")
            seen.append(f"{way}: {happened}")
    return "; ".join(seen)


@case("A child writes 1 MB to each output, and both are collected")
def flood(program):
    answer = program.do("collect", "/bin/sh", "-c", f"{MEGABYTE} >&2; {MEGABYTE}")
    return answer.text + (", both are whole" if answer.value == "1000000 1000000" else ", some of it is lost")


@case("A program that ignores SIGCHLD waits for a child")
def ignored(program):
    program.do("ignore SIGCHLD")
    child = program.shell("sleep 0.3; exit 7")
    need(child.done)
    answer = program.do("wait")
    code = int(answer.value) if answer.done else -1
    return (f"{answer.text}, the child {'runs on' if runs(child.value) else 'has ended'}, " +
            (f"exit code {code}" if code >= 0 else "its exit code is not known"))


def create(program, name):
    answer = program.do("create", name)
    program.do("release")
    return "refuses" if not answer.done else "gives the old one as new" if answer.value else "gives a new one"


@case("The owner of a shared segment is killed")
def segment(program):
    def kill_owner(name):
        with Program(program.path) as owner:
            made = owner.do("create and write", name).done
            owner.process.kill()
        return made

    def remove(name):
        for folder_of_segments in "/dev/shm", "/tmp":
            Path(folder_of_segments, name).unlink(missing_ok=True)

    first, second = (f"behaviour-{program.process.pid}-{number}" for number in (1, 2))
    try:
        need(kill_owner(first))
        seen = "create " + create(program, first)
        cleared = program.can("clear", first)
        if cleared:
            seen += f", clear {cleared.short}, then create {create(program, first)}"
        found = kill_owner(second) and program.do("attach", second).done
        program.do("release")
        program.can("clear", second)
        return seen + ("; attach finds what it held" if found else "; attach refuses")
    finally:
        remove(first)
        remove(second)


@case("A module that does not exist is loaded: the reason given")
def nomodule(program):
    return program.do("load", "/nowhere/missing.so").text


@case("A text is loaded as a module: the reason given")
def textmodule(program):
    with folder() as here:
        (here / "text.so").write_text("-" * 2000)
        return program.do("load", here / "text.so").text

"""What the cases share: a program that does a library's operations, and what is seen of it from outside."""

import contextlib
import re
import select
import subprocess
import tempfile
import time
from pathlib import Path


class Lacking(Exception):
    """The library has no such operation."""


class CannotBeTried(Exception):
    pass


class Answer:
    def __init__(self, line):
        kind, _, self.value = line.rstrip("\n").partition("\t")
        if kind == "lacks":
            raise Lacking
        self.done = kind == "done"
        self.short = "says done" if self.done else "refuses"
        # Without the name of the case's folder, and without what divides the cells of a table.
        reason = re.sub(r"/behaviour-\w{8}", "", self.value).replace("|", " ")
        self.text = self.short if self.done or not reason else f"refuses (`{reason}`)"


class Program:
    """One of the programs of main.cpp, which runs until the object is closed."""

    started = []

    def __init__(self, path, *before):
        self.path = path
        self.process = subprocess.Popen([*before, path], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, encoding="utf-8")
        self.started.append(self.process)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()

    def send(self, *words):
        print(*words, sep="\t", file=self.process.stdin, flush=True)

    def has_answered(self):
        return bool(select.select([self.process.stdout], [], [], 0)[0])

    def receive(self):
        line = self.process.stdout.readline()
        if not line:
            raise EOFError
        return Answer(line)

    def do(self, *words):
        self.send(*words)
        return self.receive()

    def can(self, *words):
        """Does what the library may lack. Returns the answer, or None."""
        try:
            return self.do(*words)
        except Lacking:
            return None

    def shell(self, script, directory="", output=""):
        return self.do("start", directory, output, "/bin/sh", "-c", script)

    def wait(self, seconds, until=lambda: False, turn=True):
        """Waits, while the library's event loop turns if it has one. Returns the last word of `until`."""
        end = time.monotonic() + seconds
        while not until():
            if time.monotonic() > end:
                return False
            turn = turn and self.can("turn")
            time.sleep(0.002)
        return True

    def zombies(self):
        """The ended children of the program that nobody has collected."""
        dead = ["Z", str(self.process.pid)]
        count = sum(state_of(entry.name) == dead for entry in Path("/proc").glob("[0-9]*"))
        return f"{count} zombie" if count == 1 else f"{count} zombies"


def state_of(pid):
    """The state letter of a process, and its parent."""
    with contextlib.suppress(OSError):
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[:2]
    return ["X", "0"]


def runs(pid):
    return state_of(pid)[0] not in "ZX"


@contextlib.contextmanager
def folder(above="/tmp"):
    with tempfile.TemporaryDirectory(prefix="behaviour-", dir=above) as name:
        yield Path(name)


def state_of_file(path, contents):
    try:
        found = path.read_text()
    except FileNotFoundError:
        return "absent"
    return "whole" if found == contents else "changed" if found else "empty"


def need(condition, why=""):
    if not condition:
        raise CannotBeTried(why)

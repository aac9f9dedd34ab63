"""Runs the cases on the programs of the libraries.

page.py --cases                   the cases, a name and a title on each line
page.py CASE PROGRAM              what happened in one
page.py --write PROGRAM...        docs/behaviour.md, on the standard output
"""

import platform
import sys
import threading

from cases import CASES
from observe import CannotBeTried, Lacking, Program

LIMIT = 20


def observe(case, path):
    """What happened, or how the program ended without a word."""
    hangs = threading.Event()

    def stop():
        hangs.set()
        for process in Program.started:
            process.kill()

    timer = threading.Timer(LIMIT, stop)
    timer.start()
    try:
        with Program(path) as program:
            seen = CASES[case][1](program)
    except Lacking:
        return "no such operation"
    except CannotBeTried as why:
        return f"cannot be tried{why}"
    except (EOFError, BrokenPipeError):
        seen = None
    finally:
        timer.cancel()
    if hangs.is_set():
        return f"hangs ({LIMIT} s)"
    code = program.process.returncode
    return f"ends the program (code {code})" if seen is None or code != 0 else seen


def about(path):
    with Program(path) as program:
        program.send("about")
        return program.process.stdout.readline().rstrip("\n").split("\t")[1:]


def write(paths):
    libraries = {path: about(path) for path in paths}
    kernel = platform.release().split("-")[0]
    print(f"""# What libraries of this kind do where it is known to go wrong

Written by `tools/behaviour`, which builds one small program for each library (`benchmarks/behaviour/`)
and runs each case in a process of its own. What a cell says was observed from outside, in the file
system and in `/proc`, but for "says", which is the library's answer to its caller. Nothing is judged:
another library may mean what it does, and may have another operation for the job.

Measured with {platform.freedesktop_os_release()["PRETTY_NAME"]}, kernel {kernel}, and

| Library | Version | Operations |
|---|---|---|""")
    for library in libraries.values():
        print("|", " | ".join(library), "|")
    for case, (title, _) in CASES.items():
        print(f"\n## {title}\n\n| Library | What happened |\n|---|---|")
        for path, (name, *_) in libraries.items():
            print(f"| {name} | {observe(case, path)} |", flush=True)


if sys.argv[1:] == ["--cases"]:
    for name, (title, _) in CASES.items():
        print(name, title)
elif sys.argv[1] == "--write":
    write(sys.argv[2:])
else:
    print(observe(*sys.argv[1:]))

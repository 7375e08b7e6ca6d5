"""Prints what a reader of minidumps says of the thread that crashed, in the same words for every reader.

usage: read_dump.py breakpad|rust|lldb PROGRAM DUMP HOST SYMBOLS

The first line is the reason, the second the thread's number from 0 on; then a line for each frame of the host's
own that has a source: function, blank, file name, colon, line; innermost first, with the functions that
were put into others.
"""

import json
import os
import re
import subprocess
import sys


def run(command):
    """The standard output of a reader; what it complains of is its own affair."""
    return subprocess.run(command, capture_output=True, check=True, text=True, timeout=60).stdout


def plain(function):
    """A function's name without its parameters and without the name spaces that have no name."""
    name = function.replace("(anonymous namespace)::", "")
    return re.sub(r"\(.*", "", name).replace(" ", "")


def source(path, line):
    return f"{os.path.basename(path)}:{line}"


def breakpad(program, dump, host, symbols):
    """Fields between bars: Crash|reason|address|thread, and thread|frame|module|function|file|line|offset."""
    reason, thread, frames = "", -1, []
    for line in run([program, "-m", dump, symbols]).splitlines():
        fields = line.split("|")
        if fields[0] == "Crash":
            reason, thread = fields[1], int(fields[3])
        elif fields[0] == str(thread) and fields[2] == os.path.basename(host) and fields[4]:
            frames.append((plain(fields[3]), source(fields[4], fields[5])))
    return reason, thread, frames


def rust(program, dump, host, symbols):
    told = json.loads(run([program, "--json", "--symbols-path", symbols, dump]))
    frames = []
    for frame in told["crashing_thread"]["frames"]:
        if frame["module"] == os.path.basename(host) and frame["file"]:
            for part in (frame["inlines"] or []) + [frame]:
                frames.append((plain(part["function"]), source(part["file"], part["line"])))
    return told["crash_info"]["type"], told["crash_info"]["crashing_thread"], frames


def lldb(program, dump, host, _symbols):
    """The symbols come from the host itself."""
    text = run([program, "--batch", "--no-lldbinit", "-o", f"target create '{host}' --core '{dump}'", "-o", "bt"])
    head = re.search(r"^\* thread #(\d+).*stop reason = signal (\w+)", text, re.M)
    frames = []
    for found in re.finditer(r"frame #\d+: \w+ (\S+?)`(.*) at (\S+?):(\d+)(:\d+)?( \[opt\])?$", text, re.M):
        if found[1] == os.path.basename(host):
            function = found[2].split("[inlined] ")[-1]
            frames.append((plain(function), source(found[3], found[4])))
    return head[2], int(head[1]) - 1, frames


def main():
    if len(sys.argv) != 6 or sys.argv[1] not in ("breakpad", "rust", "lldb"):
        sys.exit(__doc__)
    reader = {"breakpad": breakpad, "rust": rust, "lldb": lldb}[sys.argv[1]]
    reason, thread, frames = reader(*sys.argv[2:])
    print(reason.replace(" ", ""))
    print(thread)
    for function, place in frames:
        print(function, place)


main()

"""Looks at a host's pending records from outside, then lets the host output them, and compares.

usage: pending_records_test.py GDB HOST SCRIPT live|core|callback|endless|damaged

Ends with 77, to be skipped, where there is no gdb, it has no Python, or no process may be looked at.
"""

import os
import re
import subprocess
import sys
import tempfile

SKIPPED = 77
gdb, host, script, mode = sys.argv[1:]


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def run_gdb(*arguments):
    command = [gdb, "-nx", "-batch", "-ex", "set debuginfod enabled off", *arguments]
    result = subprocess.run(command, capture_output=True, timeout=100, check=False)
    errors = result.stderr.decode("utf-8", "replace")
    if "ptrace: Operation not permitted" in errors:
        skip("this system lets no process look into another")
    if "Scripting in the" in errors and "not supported" in errors:
        skip(f"{gdb} was built without Python")
    return result.stdout.decode("utf-8"), errors


# What memory that was overwritten does to one context. Each comes on top of those before.
DAMAGES = [
    "mBuffer->mControl->read_offset = 0xffffffff",
    "mBuffer->mControl->num_elem = 0x7fffffff",
    "mBuffer->mControl->elem_size = 0",
    "mBuffer->mControl = (cb_control*)0x10",
    "mBuffer = (CCircularBuffer*)0x10",
    "mName._M_string_length = 0x7fffffffffff",
    "mName._M_dataplus._M_p = (char*)0x10",
    "mRecordCount = -5",
]


def pending(process, folder, damage=()):
    """The lines that the script prints, and its last one."""
    ask = [*damage, "-x", script, "-ex", "fallcatch-pending"]
    if mode == "core":
        core = os.path.join(folder, "core")
        _, errors = run_gdb("-p", str(process.pid), "-ex", f"gcore {core}")
        if not os.path.exists(core):
            sys.exit(f"no core was made: {errors}")
        output, errors = run_gdb(*ask, host, core)
    else:
        output, errors = run_gdb(*ask, "-p", str(process.pid))
    lines = output.split("\n")
    first = [i for i, line in enumerate(lines) if ") :  [" in line]
    last = [i for i, line in enumerate(lines) if line.startswith("-- ")]
    if not first or not last:
        sys.exit(f"gdb printed no records:\n{output}\n{errors}")
    return lines[first[0]:last[0]], lines[last[0]]


def check(condition, text):
    if not condition:
        sys.exit(text)


FOLLOWED = " behind an address"


def compare(shown, output):
    """The same lines, but that no address is followed: such a conversion is shown as it is."""
    marked = re.compile(r"< %s with pointer 0x[0-9a-f]+>")
    check(sum(FOLLOWED in line for line in output) == sum(len(marked.findall(line)) for line in shown) > 0,
          "addresses are followed, or their conversions are not marked")
    shown = [marked.sub(FOLLOWED, line) for line in shown]
    for i, (one, other) in enumerate(zip(shown, output)):
        check(one == other, f"line {i + 1}:\nthe script: {one!r}\nthe pass:   {other!r}")
    check(len(shown) == len(output), f"{len(shown)} lines from the script, {len(output)} from the pass")


def without_delta(line):
    return re.sub(r"  \(.*?\) :", "", line)


def thread_of(line):
    name = re.search(r"\) :  \[(.*?) *\]\t", line)
    return name.group(1) if name else ""


def check_damages(process, folder, before):
    """Damages one context further and further, and looks for all that the others hold."""
    context = "HSL::CLogManager::msThis->mContexts._M_impl._M_start[1]"
    check(len({thread_of(line) for line in before}) > 2, "too few threads have logged")
    for damage in DAMAGES:
        after, _ = pending(process, folder, ["-ex", "set language c++", "-ex", f"set var {context}->{damage}"])
        shown = {without_delta(line) for line in after}
        missing = {thread_of(line) for line in before if without_delta(line) not in shown}
        check(len(missing) <= 1, f"after {damage}: lines of {missing} are missing")
    check(len(missing) == 1, "the damage did nothing")


if not os.path.exists(gdb):
    skip("there is no gdb")
os.environ["LC_ALL"] = "C.UTF-8"
arguments = [host, mode if mode in ("callback", "endless") else "locked"]
with tempfile.TemporaryDirectory() as folder, subprocess.Popen(
        arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
    try:
        before = b""
        while not before.endswith(b"ready\n"):
            line = process.stdout.readline()
            check(line, f"the host ended early: {before!r}")
            before += line
        shown, summary = pending(process, folder)
        if mode == "damaged":
            check_damages(process, folder, shown)
            sys.exit(0)
        output, _ = process.communicate(b"\n", timeout=60)
    finally:
        process.kill()
check(process.returncode == 0, f"the host ended with {process.returncode}")

if mode == "endless":
    endless = [line for line in shown if line.endswith('\t<NEVER RETURNS> 100%% of %s ("all")')]
    check(len(endless) == 1 and endless[0] == shown[-1], f"the endless record is not told: {shown[-1]!r}")
    check(len(shown) == 451 and summary == "-- 451 pending; 0 more that the filter hides", summary)
else:
    lines = output.decode("utf-8").rstrip("\n").split("\n")
    if mode == "callback":
        lines = lines[1:]  # the callback has it in hand
    compare(shown, lines)
    check(len(shown) > 300, f"only {len(shown)} lines")
    check(summary.startswith(f"-- {len(shown)} pending; "), summary)
    check(int(summary.split()[3]) > 20, f"the filter hid too little: {summary}")

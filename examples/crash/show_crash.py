#!/usr/bin/env python3
"""Crashes a host on purpose and shows what becomes of it, from the command line to the collector.

Ends with 0 only when every step was seen to happen.
"""
import argparse
import collections.abc
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading
import time
import typing

STEPS = 8
# What the host logs in front of its fault, on a worker thread and on the main one.
LAST_WORDS = ("the next step is the one that goes wrong", "now doing what the command line asks for")
PATIENCE = 60  # seconds for anything that is waited for


class Failure(Exception):
    pass


class Story:
    def __init__(self, out: typing.TextIO) -> None:
        self.out = out
        self.number = 0

    def step(self, title: str) -> None:
        self.number += 1
        self.say(f"[{self.number}/{STEPS}] {title}")

    def detail(self, text: str) -> None:
        for line in text.rstrip("\n").split("\n"):
            self.say(f"      {line}")

    def say(self, line: str) -> None:
        print(line, file=self.out, flush=True)


class Collector:
    """The collector program; its lines arrive in the background."""

    def __init__(self, program: pathlib.Path, folder: pathlib.Path) -> None:
        self.process = subprocess.Popen(
            [program, "--folder", str(folder), "--reports", "1", "--ask"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.lines: list[str] = []
        self.arrived = threading.Condition()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self) -> None:
        assert self.process.stdout is not None
        for line in self.process.stdout:
            with self.arrived:
                self.lines.append(line.rstrip("\n"))
                self.arrived.notify_all()

    def wait_for(self, pattern: str) -> "re.Match[str]":
        with self.arrived:
            found = self.arrived.wait_for(
                lambda: next((m for m in map(re.compile(pattern).match, self.lines) if m), None), PATIENCE)
        if not found:
            raise Failure("the collector said nothing of: " + pattern)
        return found

    def answer(self) -> None:
        assert self.process.stdin is not None
        self.process.stdin.write("\n")
        self.process.stdin.flush()

    def close(self) -> None:
        if self.process.poll() is None:
            self.process.terminate()
        self.process.wait()


def wait_until(condition: collections.abc.Callable[[], bool], failure: str) -> None:
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise Failure(failure)
        time.sleep(0.02)


def crash_types(program: pathlib.Path) -> dict[str, tuple[int, str, str]]:
    """The list in the performer's code: word -> (signal, reason, function)."""
    text = subprocess.run([program, "--list"], check=True, capture_output=True, text=True).stdout
    rows = (line.split() for line in text.splitlines())
    return {word: (int(signal), reason, function) for word, signal, reason, function in rows}


def own_home(folder: pathlib.Path) -> tuple[pathlib.Path, dict[str, str]]:
    """GNUstep takes the home folder from the password file; only this keeps the user's own out of it."""
    home = folder / "home"
    home.mkdir()
    configuration = folder / "GNUstep.conf"
    configuration.write_text(f"GNUSTEP_USER_CONFIG_FILE=none\nGNUSTEP_USER_DIR={home}\n"
                             f"GNUSTEP_USER_DEFAULTS_DIR={home}/Defaults\nGNUSTEP_USER_DIR_LIBRARY={home}/Library\n")
    environment = {name: value for name, value in os.environ.items()
                   if not name.startswith("GNUSTEP_") and not name.lower().endswith("_proxy")}
    environment["GNUSTEP_CONFIG_FILE"] = str(configuration)
    return home, environment


def only(paths: collections.abc.Iterable[pathlib.Path], what: str) -> pathlib.Path:
    found = list(paths)
    if len(found) != 1:
        raise Failure(f"there should be one {what}, but there are {len(found)}")
    return found[0]


def crashed_stack(walked: str) -> tuple[str, list[str]]:
    lines = walked.splitlines()
    start = next((i for i, line in enumerate(lines) if line.rstrip().endswith("(crashed)")), None)
    if start is None:
        raise Failure("the dump names no thread that crashed")
    frames = []
    for line in lines[start + 1:]:
        if not line.strip():
            break
        if re.match(r"\s*\d+\s", line):
            frames.append(line)
    return lines[start], frames


def show_log(text: str, story: Story) -> None:
    lines = [line for line in text.splitlines() if not line.startswith("-- ")]
    if not lines:
        raise Failure("the log that came is empty:\n" + text)
    story.detail("\n".join(lines[-8:]))
    threads = set(re.findall(r"\) :  \[(.*?) *\]\t", text))
    words = lines[-1].split("\t")[-1]
    if len(threads) < 3 or words not in LAST_WORDS:
        raise Failure("the log does not end with the line before the fault")


def tell(options: argparse.Namespace, folder: pathlib.Path, story: Story) -> None:
    expected_signal, expected_reason, function = crash_types(options.list_from)[options.type]
    home, environment = own_home(folder)

    story.step("A collector starts on the loopback address")
    received = folder / "received"
    received.mkdir()
    collector = Collector(options.collector, received)
    try:
        url = collector.wait_for("listening on (.*)").group(1)
        story.detail(url)

        command = [str(options.host), options.switch, options.type, "-serverName", url]
        logs = options.host.name == "CrashHost"  # another host may have no log to send
        if logs:
            command += ["--scenario", "log"]
        story.step("The host starts its reporter and crashes as it is asked to")
        story.detail(" ".join([options.host.name] + command[1:]))
        host = subprocess.run(command, env=environment, capture_output=True, text=True, timeout=PATIENCE,
                              stdin=subprocess.DEVNULL)
        story.detail(host.stdout + host.stderr if host.stdout + host.stderr else "(it said nothing)")
        if host.returncode != -expected_signal:
            raise Failure(f"the host should have died of signal {expected_signal}; it ended with {host.returncode}")
        story.detail(f"the host died of signal {expected_signal}, {expected_reason}")

        story.step("The dump and the configuration for the sender lie in the product's folder")
        collector.wait_for("report 1 received$")
        dump = only(home.glob("Library/Caches/Breakpad/*/*.dmp"), "dump")
        report = only(home.glob("Library/Caches/Breakpad/*/*.report"), "report")
        story.detail(f"{dump.name}, {dump.stat().st_size} bytes")
        pairs = re.findall(r"^(Breakpad\w*?(?:Product|Version|URL|ServerType|ReportInterval|CrashTime))(.*)$",
                           report.read_text(), re.MULTILINE)
        if not pairs:
            raise Failure("the report holds no configuration")
        story.detail("\n".join(f"{key} = {value}" for key, value in pairs))

        story.step("Symbols are made of the host")
        symbols = folder / "symbols"
        made = subprocess.run([options.make_symbols, options.dump_syms, symbols, options.host],
                              check=True, capture_output=True, text=True).stdout
        story.detail(made)

        story.step("The dump that arrived is read with them")
        arrived = received / "report-1.dmp"
        if arrived.read_bytes() != dump.read_bytes():
            raise Failure("what arrived is not the dump")
        walked = subprocess.run([options.stackwalk, arrived, symbols], check=True, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, text=True, errors="replace").stdout
        reason = next((line for line in walked.splitlines() if line.startswith("Crash reason:")), "")
        thread, frames = crashed_stack(walked)
        story.detail("\n".join([reason, thread] + frames[:12]))
        if expected_reason not in reason:
            raise Failure(f"the crash's reason should be {expected_reason}")
        if not any(function + "(" in frame and re.search(r"\[\S+ : \d+", frame) for frame in frames):
            raise Failure(f"the stack does not name {function} with its file and line")

        story.step("The report's fields have arrived")
        fields = (received / "report-1.txt").read_text()
        story.detail(fields)
        missing = [name for name in ("ProductName", "Version", "StartupTime", "CrashTime", "upload_file_minidump")
                   if not re.search(f"^{name}=.", fields, re.MULTILINE)]
        if missing:
            raise Failure("fields are missing: " + ", ".join(missing))

        story.step("The collector answers, and only now the dump is removed")
        if not dump.exists():
            raise Failure("the dump was removed before the collector had answered")
        collector.answer()
        wait_until(lambda: not dump.exists() and not report.exists(), "the dump was not removed")
        uploads = dump.parent / "uploads.log"
        wait_until(lambda: uploads.exists() and "sent" in uploads.read_text(), "the sender's log does not tell of it")
        story.detail(uploads.read_text())

        story.step("What the host had logged last has arrived, down to the line before the fault")
        log = received / "report-1.log"
        if log.exists():
            show_log(log.read_text(errors="replace"), story)
        elif logs:
            raise Failure("no log came with the report")
        else:
            story.detail("(this host has none)")
    finally:
        collector.close()


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="show-crash", description=__doc__)
    tools = parser.add_argument_group("where things are")
    for name in ("--host", "--list-from", "--collector", "--stackwalk", "--dump-syms", "--make-symbols"):
        tools.add_argument(name, type=pathlib.Path, required=True)
    parser.add_argument("-tcmt", metavar="TYPE", help="crash on the main thread")
    parser.add_argument("-tcwt", metavar="TYPE", help="crash on a worker thread (TC_DER0 when nothing is named)")
    options = parser.parse_args()
    if options.tcmt and options.tcwt:
        parser.error("one crash at a time")
    options.switch = "-tcmt" if options.tcmt else "-tcwt"
    options.type = options.tcmt or options.tcwt or "TC_DER0"
    known = crash_types(options.list_from)
    if options.type not in known:
        parser.error(f"no crash type {options.type}; there are " + " ".join(known))
    return options


def main() -> int:
    options = arguments()
    story = Story(sys.stdout)
    with tempfile.TemporaryDirectory(prefix="fallcatch-crash-") as folder:
        try:
            tell(options, pathlib.Path(folder), story)
        except (Failure, subprocess.SubprocessError, OSError) as failure:
            print(f"show-crash: not seen: {failure}", file=sys.stderr)
            return 1
    story.say("All of it was seen: a crash became a report.")
    return 0


if __name__ == "__main__":
    sys.exit(main())

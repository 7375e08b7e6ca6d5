"""Runs the logging example in an empty folder and looks at what it leaves there."""

import json
import os
import re
import subprocess
import sys
import tempfile


def run(levels):
    with tempfile.TemporaryDirectory() as folder:
        environment = {**os.environ, "MYAPP_LOG": levels}
        result = subprocess.run([sys.argv[1], folder], env=environment, stderr=subprocess.PIPE, text=True, check=True)
        with open(os.path.join(folder, "example.log"), encoding="utf-8") as log:
            plain = log.read().splitlines()
        with open(os.path.join(folder, "example.json"), encoding="utf-8") as log:
            objects = [json.loads(line) for line in log]
        return result.stderr.splitlines(), plain, objects


errors, plain, objects = run("info")
assert len(errors) == len(plain) == 9, (errors, plain)
assert "\033" not in errors[0], errors[0]
assert errors[0].endswith("42 files in 17ms, 93.2% of the disk"), errors[0]
time = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}[+-]\d\d:\d\d"
pattern = time + r" Info     main\.cpp:\d+ 42 files in 17ms, 93\.2% of the disk"
assert re.fullmatch(pattern, plain[0]), plain[0]
assert plain[2].endswith("layout.xml has none pages, the caret is at (3, 4)"), plain[2]
assert [entry["level"] for entry in objects] == ["Warning", "Error", "Warning", "Info"], objects
assert objects[-1]["category"] == "net" and objects[-1]["message"] == "3 connections", objects[-1]
assert objects[0]["message"] == "wide and narrow: \u20ac" and objects[0]["function"] == "logAllKinds", objects[0]

errors, plain, objects = run("off,net=info")
assert len(plain) == 1, plain
errors, plain, objects = run("nonsense")
assert errors[0].startswith('MYAPP_LOG: "nonsense" is no level'), errors

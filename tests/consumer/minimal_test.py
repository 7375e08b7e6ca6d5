"""The README's steps with an installed package: both hosts are built by their own projects, one logs, and the other's
crash arrives at the collector."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

cmake, examples, prefix, settings, work, collector = sys.argv[1:]
work = pathlib.Path(work)
shutil.rmtree(work, ignore_errors=True)
(work / "home").mkdir(parents=True)
# What the user has of an earlier run, such as when a report was sent last, lies elsewhere.
configuration = work / "GNUstep.conf"
configuration.write_text(f"GNUSTEP_USER_CONFIG_FILE={work}/none\nGNUSTEP_USER_DIR={work}/home\n"
                         f"GNUSTEP_USER_DEFAULTS_DIR={work}/home\nGNUSTEP_USER_DIR_LIBRARY={work}/home/Library\n")
configuration.chmod(0o600)
environment = {**os.environ, "GNUSTEP_CONFIG_FILE": str(configuration)}


def run(*command):
    result = subprocess.run(command, capture_output=True, text=True, timeout=120, check=False, env=environment)
    if result.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{result.stdout}{result.stderr}")
    return result


def build(name):
    run(cmake, "-S", f"{examples}/{name}", "-B", work / name, "-C", settings, f"-DCMAKE_PREFIX_PATH={prefix}")
    run(cmake, "--build", work / name)
    return work / name / name


lines = run(build("minimal-cpp")).stderr.splitlines()
if len(lines) != 2 or not lines[0].endswith(":  [Main              ]\t42 files opened"):
    sys.exit(f"minimal-cpp wrote {lines}")
if not collector:
    sys.exit(0)

host = build("minimal-c")
run(host)
receiver = subprocess.Popen([collector, "--folder", work, "--reports", "1"], stdout=subprocess.PIPE, text=True,
                            env=environment)
try:
    url = re.search(r"http://\S+", receiver.stdout.readline())[0]
    # Through a link, as /lib is one to /usr/lib: what belongs to the library is found where the library really lies.
    linked = work / "linked" / "lib"
    linked.parent.mkdir()
    linked.symlink_to(pathlib.Path(prefix) / "lib")
    environment["LD_LIBRARY_PATH"] = str(linked)
    # The user default of the run counts before the URL in the source; that something is there is what crashes it.
    crashed = subprocess.run([host, "-serverName", url], env=environment, timeout=60, check=False)
    if crashed.returncode >= 0:
        sys.exit(f"minimal-c did not crash: {crashed.returncode}")
    receiver.wait(timeout=60)
finally:
    receiver.kill()
fields = (work / "report-1.txt").read_text()
if "ProductName=Example\n" not in fields or (work / "report-1.dmp").read_bytes()[:4] != b"MDMP":
    sys.exit(f"What arrived:\n{fields}")

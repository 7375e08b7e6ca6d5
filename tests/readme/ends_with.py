"""Runs a program that must end with a status, or by a signal, and must have written a line that ends in a text."""

import signal
import subprocess
import sys

ending, text, program = sys.argv[1:]
expected = -signal.Signals[ending] if ending.startswith("SIG") else int(ending)
result = subprocess.run([program], stderr=subprocess.PIPE, text=True, timeout=50, check=False)
if result.returncode != expected or f"\t{text}\n" not in result.stderr:
    sys.exit(f"ended with {result.returncode}, expected {expected}; wrote:\n{result.stderr}")

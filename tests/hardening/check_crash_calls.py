"""What the crash log's writer calls, as the linker sees it: nothing that POSIX does not call async-signal-safe.

usage: check_crash_calls.py NM LIBRARY
"""

import re
import subprocess
import sys

MEMBERS = {"HSLCrashLog.cpp.o", "SafeMemory.cpp.o"}
# POSIX.1-2017, 2.4.3 Signal Actions, and what the compiler puts in by itself.
SAFE = {"pipe", "read", "write", "close", "time", "getpid", "memcpy", "memset", "__errno_location", "__stack_chk_fail",
        "__stack_chk_fail_local",
        "_GLOBAL_OFFSET_TABLE_", "_Unwind_Resume", "__gxx_personality_v0"}  # for exceptions, of which there are none
# The library's own: two that read numbers, and what KeepLines needs, which is for a healthy process.
OWN = {"cb_calc_buffer_size", "HSL::lastRecordTime()", "HSL::CLogManager::msThis", "HSL::CrashLog::gKeptBytes",
       "HSL::CrashLog::gNewestLedger", "HSL::CrashLog::Ledger::KeepLines(unsigned int)", "KxLock::Lock()",
       "KxLock::Unlock()"}

nm, library = sys.argv[1:]
listed = subprocess.run([nm, "-C", "--undefined-only", library], check=True, capture_output=True, text=True).stdout
seen = set()
faults = []
member = None
for line in listed.splitlines():
    if line.endswith(":"):
        member = line[:-1]
        seen.update({member} & MEMBERS)
    elif member in MEMBERS and line.strip():
        name = re.sub(r"^\s*[Uwv]\s+", "", line)
        if name not in SAFE | OWN and not name.startswith("HSL::CrashLog::SafeMemory::"):
            faults.append(f"{member} calls {name}")
if seen != MEMBERS:
    faults.append(f"only {seen} found in {library}")
sys.exit("\n".join(faults) or 0)

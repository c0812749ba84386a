"""Runs the fixed workloads under callgrind: instructions of each, and where they are spent."""

import os
import re
import subprocess
import tempfile
from collections import Counter
from pathlib import Path

from measurements import BUILD, ROOT

WORKLOADS = BUILD / "bench" / "instructionWorkloads"


def profiles():
    """The profile that callgrind writes for each workload, by the workload's name."""
    with tempfile.TemporaryDirectory() as directory:
        # Symbols are bound before the start, so that no first call pays for it.
        subprocess.run(["valgrind", "--tool=callgrind", "--quiet", "--collect-atstart=no",
                        "--compress-strings=no", "--compress-pos=no",
                        f"--callgrind-out-file={directory}/profile", WORKLOADS],
                       env={**os.environ, "LD_BIND_NOW": "1"}, check=True)
        texts = [profile.read_text(encoding="utf-8") for profile in Path(directory).iterdir()]
    named = ((re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE), text) for text in texts)
    return {name[1]: text for name, text in named if name}


def instructions(profile):
    return int(re.search(r"^summary: (\d+)", profile, re.MULTILINE)[1])


def by_source_file(profile):
    """Instructions by the source file whose code they come from, inlined code where it was written."""
    counts = Counter()
    file = ""
    of_a_call = False  # the line behind calls= tells the cost of the function called, which is listed by itself
    for line in profile.splitlines():
        if match := re.match(r"(?:fl|fi|fe)=(.*)", line):
            file = match[1].removeprefix(f"{ROOT}/")
        elif line.startswith("calls="):
            of_a_call = True
        elif match := re.match(r"\d+ (\d+)$", line):
            counts[file] += 0 if of_a_call else int(match[1])
            of_a_call = False
    return counts


def toolchain():
    """What the counts depend on beside our own code."""
    command = [WORKLOADS, "--toolchain"]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()

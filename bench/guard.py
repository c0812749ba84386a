"""Counts the instructions of fixed workloads under callgrind and compares them with the counts that are kept.

Instructions are counted where seconds would be measured, because they are the same in every run: a change that
makes the service slower shows on any machine, however busy."""

import argparse
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from measurements import BUILD, ROOT

KEPT = ROOT / "bench" / "instructions.json"
WORKLOADS = BUILD / "bench" / "instructionWorkloads"
ALLOWED_GROWTH = 0.05


def count():
    """Instructions by workload, each from a profile that callgrind dumped under the workload's name."""
    with tempfile.TemporaryDirectory() as directory:
        # Symbols are bound before the start, so that no first call pays for it.
        subprocess.run(["valgrind", "--tool=callgrind", "--quiet", "--collect-atstart=no",
                        f"--callgrind-out-file={directory}/profile", WORKLOADS],
                       env={**os.environ, "LD_BIND_NOW": "1"}, check=True)
        counts = {}
        for profile in Path(directory).iterdir():
            text = profile.read_text(encoding="utf-8")
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE)
            if name:
                counts[name[1]] = int(re.search(r"^totals: (\d+)", text, re.MULTILINE)[1])
    return dict(sorted(counts.items()))


def toolchain():
    """What the counts depend on beside our own code."""
    command = [WORKLOADS, "--toolchain"]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()


def compare(kept, counted):
    """Prints each workload. Returns the names of those that do not pass."""
    failed = []
    for name in sorted(kept | counted):
        if name not in kept or name not in counted:
            failed.append(name)
            print(f"{name:28} {'is not kept yet' if name in counted else 'is not measured any more'}")
            continue
        change = counted[name] / kept[name] - 1
        if change > ALLOWED_GROWTH:
            failed.append(name)
        print(f"{name:28} {counted[name]:>10,} {change:>+8.1%} {'GREW' if change > ALLOWED_GROWTH else ''}".rstrip())
    return failed


def main():
    parser = argparse.ArgumentParser(prog="bench/run --guard")
    parser.add_argument("--update", action="store_true")
    update = parser.parse_args().update

    used = toolchain()
    counted = count()
    before = json.loads(KEPT.read_text(encoding="utf-8")) if KEPT.exists() else {"instructions": {}}
    failed = compare(before["instructions"], counted)
    if update:
        KEPT.write_text(json.dumps({"toolchain": used, "instructions": counted}, indent=1) + "\n", encoding="utf-8")
        print(f"kept in {KEPT.relative_to(ROOT)}")
        return 0
    if failed and before.get("toolchain") != used:
        print(f"guard: kept with {before.get('toolchain')}, counted with {used}: that may be why", file=sys.stderr)
    if failed:
        print(f"guard: more than {ALLOWED_GROWTH:.0%} more instructions, or not kept: {', '.join(failed)}. "
              "Find out why; if it must be so, bench/run --guard --update keeps the new counts.", file=sys.stderr)
    return 1 if failed else 0


sys.exit(main())

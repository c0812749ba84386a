"""Compares the instructions of fixed workloads with the counts that are kept.

Instructions are counted where seconds would be measured, because they are the same in every run: a change that
makes the service slower shows on any machine, however busy."""

import json
import os
import re
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path

from measurements import BUILD, ROOT, toolchain

WORKLOADS = BUILD / "bench" / "instructionWorkloads"
KEPT = ROOT / "bench" / "instructions.json"
ALLOWED_GROWTH = 0.05


def profiles():
    """The profile that callgrind writes for each workload, by the workload's name."""
    with tempfile.TemporaryDirectory() as directory:
        # Symbols are bound before the start, so that no first call pays for it. The stand-in for libzmq is left out,
        # but for its copies.
        subprocess.run(["valgrind", "--tool=callgrind", "--quiet", "--collect-atstart=no",
                        "--toggle-collect=__wrap_*", "--toggle-collect=*copyOut*",
                        "--compress-strings=no", "--compress-pos=no",
                        f"--callgrind-out-file={directory}/profile", WORKLOADS],
                       env={**os.environ, "LD_BIND_NOW": "1"}, stdout=subprocess.DEVNULL, check=True)
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


def show_profile(name):
    """Where the instructions of one workload are spent; ??? is a library without debugging information."""
    found = profiles()
    if name not in found:
        sys.exit(f"bench/run: there is no workload {name}; there are {', '.join(sorted(found))}")
    total = instructions(found[name])
    for file, count in by_source_file(found[name]).most_common():
        if count > 0:
            print(f"{count:>10,} {count / total:>7.1%}  {file}")
    print(f"{total:>10,} {1:>7.1%}")


def compare_with_kept(update):
    """Compares all counts, and keeps the new ones for an update. Returns the exit status."""
    counted = {name: instructions(profile) for name, profile in sorted(profiles().items())}
    kept = json.loads(KEPT.read_text(encoding="utf-8"))
    failed = compare(kept["instructions"], counted)
    used = toolchain()
    if update:
        KEPT.write_text(json.dumps({"toolchain": used, "instructions": counted}, indent=1) + "\n", encoding="utf-8")
        print(f"kept in {KEPT.relative_to(ROOT)}")
        return 0
    if failed and kept["toolchain"] != used:
        print(f"guard: kept with {kept['toolchain']}, counted with {used}: that may be why", file=sys.stderr)
    if failed:
        print(f"guard: more than {ALLOWED_GROWTH:.0%} more instructions, or not kept: {', '.join(failed)}. "
              "Find out why; if it must be so, bench/run --guard --update keeps the new counts.", file=sys.stderr)
    return 1 if failed else 0

"""Compares the instructions of fixed workloads with the counts that are kept.

Instructions are counted where seconds would be measured, because they are the same in every run: a change that
makes the service slower shows on any machine, however busy."""

import argparse
import json
import sys

from callgrind import by_source_file, instructions, profiles, toolchain
from measurements import ROOT

KEPT = ROOT / "bench" / "instructions.json"
ALLOWED_GROWTH = 0.05


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


def show_profile(name, found):
    """Where the instructions of one workload are spent; ??? is a library without debugging information."""
    if name not in found:
        sys.exit(f"bench/run: there is no workload {name}; there are {', '.join(sorted(found))}")
    total = instructions(found[name])
    for file, count in by_source_file(found[name]).most_common():
        if count > 0:
            print(f"{count:>10,} {count / total:>7.1%}  {file}")
    print(f"{total:>10,} {1:>7.1%}")


def main():
    parser = argparse.ArgumentParser(prog="bench/run --guard")
    parser.add_argument("--guard", action="store_true")
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--profile", metavar="WORKLOAD")
    arguments = parser.parse_args()

    found = profiles()
    if arguments.profile:
        show_profile(arguments.profile, found)
        return 0
    counted = {name: instructions(profile) for name, profile in sorted(found.items())}
    before = json.loads(KEPT.read_text(encoding="utf-8")) if KEPT.exists() else {"instructions": {}}
    failed = compare(before["instructions"], counted)
    used = toolchain()
    if arguments.update:
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

"""Measures the service beside its peers, and reports the ratios. bench/run builds what this runs."""

import argparse
import dataclasses
import datetime
import json
import os
import platform
import subprocess
import sys

from figures import TABLES
from measurements import RESULTS, ROOT, measure

PERFORMANCE = ROOT / "docs" / "performance.md"
BEGIN = "<!-- figures of one run, written by bench/run --publish -->\n"
END = "<!-- end of the figures -->\n"


def machine():
    """What the run depends on, in words."""
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        model = next((line.split(":")[1].strip() for line in lines if line.startswith("model name")), "")
    compiler = subprocess.run(["g++", "--version"], capture_output=True, text=True, check=True).stdout
    return {
        "date": datetime.date.today().isoformat(),
        "machine": f"{model or platform.machine()}, {os.cpu_count()} cores",
        "system": f"{platform.system()}, {' '.join(platform.libc_ver())}",
        "compiler": compiler.splitlines()[0],
        "load": f"{os.getloadavg()[0]:.1f} before the run",
    }


def run_group(group, quick):
    """The group's tables: title, and list of figures."""
    print(f"measuring {group} ...", file=sys.stderr)
    measured = measure(group, quick)
    spread = f"middle half of the repetitions within {measured.spread() / 2:.0%} of their median"
    return [(f"{title} ({spread})", list(make(measured))) for title, make in TABLES[group]]


def keep(run, tables):
    """Writes every figure to a file of its own kind."""
    figures = [{"table": title, **dataclasses.asdict(figure), "met": figure.met()}
               for title, figures in tables for figure in figures]
    with open(RESULTS / "ratios.json", "w", encoding="utf-8") as out:
        json.dump({"run": run, "figures": figures}, out, indent=1)


def publish(run, tables):
    """Replaces the figures in the document for readers."""
    text = PERFORMANCE.read_text(encoding="utf-8")
    before, _, rest = text.partition(BEGIN)
    _, _, after = rest.partition(END)
    facts = [f"{name.capitalize()}: {value}.  " for name, value in run.items()]
    figures = "\n".join([*facts, "", *(markdown_table(*table) for table in tables)])
    PERFORMANCE.write_text(before + BEGIN + "\n" + figures + "\n" + END + after, encoding="utf-8")


def digits_behind_point(value):
    """As many as make three digits, none for a whole number."""
    if value == int(value):
        return 0
    return next(digits for digits, from_size in enumerate((100, 10, 1, 0.1, 0)) if abs(value) >= from_size)


def shown(figure):
    text = f"{figure.value:.{digits_behind_point(figure.value)}f}"
    if figure.unit:
        text += " " + figure.unit
    if figure.sense:
        sign = "≥" if figure.sense == ">=" else "≤"
        text += f" ({sign} {figure.limit:g}: {'met' if figure.met() else 'NOT MET'})"
    return text


def grid(figures):
    """The figures as rows of texts: a row a subject, a column for each thing it is compared with."""
    columns = list(dict.fromkeys(figure.against for figure in figures))
    rows = {}
    for figure in figures:
        rows.setdefault(figure.subject, {})[figure.against] = shown(figure)
    return [["", *columns], *([subject, *(cells.get(column, "") for column in columns)]
                              for subject, cells in rows.items())]


def text_table(title, figures):
    rows = grid(figures)
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = ["  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() for row in rows]
    return "\n".join([title, "-" * len(title), *lines, ""])


def markdown_table(title, figures):
    head, *rows = grid(figures)
    lines = ["| " + " | ".join(row) + " |" for row in [head, ["---"] * len(head), *rows]]
    return "\n".join([f"### {title}", "", *lines, ""])


def main():
    parser = argparse.ArgumentParser(prog="bench/run")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--publish", action="store_true")
    parser.add_argument("groups", nargs="*", metavar="GROUP", help=", ".join(TABLES))
    arguments = parser.parse_args()
    unknown = set(arguments.groups) - set(TABLES)
    if unknown:
        parser.error(f"there is no group {', '.join(sorted(unknown))}; there are {', '.join(TABLES)}")
    if arguments.publish and (arguments.groups or arguments.quick):
        parser.error("only a whole run is published")

    run = machine()
    tables = [table for group in arguments.groups or TABLES for table in run_group(group, arguments.quick)]
    for table in tables:
        print(text_table(*table))
    keep(run, tables)
    if arguments.publish:
        publish(run, tables)


main()

"""Measures the service beside its peers, and reports the ratios."""

import dataclasses
import datetime
import json
import os
import platform
import re
import sys
from pathlib import Path

from figures import TABLES
from measurements import RESULTS, ROOT, measure, toolchain

PERFORMANCE = ROOT / "docs" / "performance.md"
BEGIN = "<!-- figures of one run, written by bench/run --publish -->\n"
END = "<!-- end of the figures -->\n"


def machine():
    """What the run depends on, in words."""
    model = re.search(r"^model name\s*: (.*)", Path("/proc/cpuinfo").read_text(encoding="utf-8"), re.MULTILINE)
    return {
        "date": datetime.date.today().isoformat(),
        "machine": f"{model[1] if model else platform.machine()}, {os.cpu_count()} cores",
        "toolchain": toolchain(),
        "load": f"{os.getloadavg()[0]:.1f} before the run",
    }


def run_group(group, quick):
    """The group's tables: title, and list of figures."""
    print(f"measuring {group} ...", file=sys.stderr)
    measured = measure(group, quick)
    return [(f"{title} ({measured.note()})", list(make(measured))) for title, make in TABLES[group]]


def keep(run, tables):
    """Writes every figure to a file of its own kind."""
    figures = [{"table": title, **dataclasses.asdict(figure), "met": figure.met()}
               for title, figures in tables for figure in figures]
    with open(RESULTS / "ratios.json", "w", encoding="utf-8") as out:
        json.dump({"run": run, "figures": figures}, out, indent=1)


def publish(run, tables):
    """Replaces the figures in the document for readers."""
    facts = [f"{name.capitalize()}: {value}.  " for name, value in run.items()]
    figures = "\n".join(["", *facts, "", *(table_text(*table) for table in tables), ""])
    text = PERFORMANCE.read_text(encoding="utf-8")
    PERFORMANCE.write_text(re.sub(f"(?<={BEGIN}).*(?={END})", lambda _: figures, text, flags=re.DOTALL), encoding="utf-8")


def shown(figure):
    """With three digits at least, a whole number as it is."""
    value = figure.value
    text = f"{value:.0f}" if value == int(value) or abs(value) >= 100 else f"{value:#.3g}".rstrip(".")
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


def table_text(title, figures):
    """In Markdown, its columns aligned."""
    head, *rows = grid(figures)
    widths = [max(len(cell) for cell in column) for column in zip(head, *rows)]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |"
             for row in [head, ["-" * width for width in widths], *rows]]
    return "\n".join([f"### {title}", "", *lines, ""])


def report(groups, quick, to_publish):
    run = machine()
    tables = [table for group in groups for table in run_group(group, quick)]
    for table in tables:
        print(table_text(*table))
    keep(run, tables)
    if to_publish:
        publish(run, tables)

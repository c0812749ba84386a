"""Runs the bench programs and reads what they measured."""

import contextlib
import json
import os
import platform
import re
import statistics
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "bench"
RESULTS = ROOT / "bench" / "results"
SERVICE = BUILD / "src" / "mpegFE"


@contextlib.contextmanager
def pipe():
    """One that somebody reads."""
    with subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL) as reader:
        yield reader.stdin


# Where the service's console can lead while something is timed.
CONSOLES = {"file": tempfile.TemporaryFile, "pipe": pipe, "/dev/null": lambda: open(os.devnull, "wb")}


@dataclass(frozen=True)
class Program:
    """A bench program, how often it repeats, and which figure tells a contestant's cost."""

    name: str
    filter: str  # which of its benchmarks, all without one
    seconds: float  # of each repetition, where the program does not fix the number of iterations
    cost: str  # key of the figure in Google Benchmark's results
    prints: bool = False  # whether it matters where the console leads
    repetitions: int = 15


# The page's server with so many browsers; a program of its own kind.
STREAMS = (100, 200)

PROGRAMS = {
    "documents": Program("documentsBench", "", 0.03, "cpu_time"),
    "collection": Program("collectionBench", "", 0.02, "cpu_time"),
    "reception": Program("receptionBench", "", 0, "mpegFE", True),
    "requests": Program("processBench", "^request", 0, "toDocument"),
    "footprint": Program("processBench", "-^request", 0, "real_time"),
}


class Measured:
    """The repetitions of one bench program: samples by subject and contestant."""

    def __init__(self, entries, cost):
        self._cost = cost
        self._runs = {}
        # Contestants take random turns; their families are numbered in the order of the program's own list.
        for entry in sorted(entries, key=lambda entry: entry["family_index"]):
            subject, _, rest = entry["name"].partition("|")
            contestant = rest.partition("/")[0]  # behind it, how it was run
            self._runs.setdefault((subject, contestant), []).append(entry)

    def subjects(self, prefix=""):
        """In the program's own order."""
        return list(dict.fromkeys(subject for subject, _ in self._runs if subject.startswith(prefix)))

    def samples(self, subject, contestant, key=None):
        return [run[key or self._cost] for run in self._runs[subject, contestant]]

    def median(self, subject, contestant, key=None):
        return statistics.median(self.samples(subject, contestant, key))

    def lowest_tenth(self, subject, contestant):
        """For times that whoever else is at work on the machine only ever adds to."""
        return statistics.quantiles(self.samples(subject, contestant), n=10)[0]

    def counters(self, subject, contestant):
        """Names of the figures that the program itself added."""
        known = {"name", "run_name", "run_type", "family_index", "per_family_instance_index", "repetitions",
                 "repetition_index", "threads", "iterations", "real_time", "cpu_time", "time_unit"}
        return [key for key in self._runs[subject, contestant][0] if key not in known]

    def note(self):
        """How far apart the repetitions are, in words."""
        return f"middle half of the repetitions within {self._spread() / 2:.0%} of their median"

    def _spread(self):
        """The middle half of a contestant's repetitions, relative to their median; the median of all."""
        spreads = []
        for subject, contestant in self._runs:
            samples = self.samples(subject, contestant)
            if len(samples) > 1 and statistics.median(samples) > 0:
                low, middle, high = statistics.quantiles(samples, n=4)
                spreads.append((high - low) / middle)
        return statistics.median(spreads) if spreads else 0.0


def toolchain():
    """What the programs are built with and run on."""
    def said(*command):
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    return (f"compiler {said('g++', '-dumpfullversion')}, C library {platform.libc_ver()[1]}, "
            f"Jansson {said('pkg-config', '--modversion', 'jansson')}")


def run_program(group, command, console):
    """What it measured. Raises when it fails."""
    out = RESULTS / f"{group}.json"
    with CONSOLES[console]() as output, open(RESULTS / f"{group}.log", "wb") as log:
        subprocess.run([*command, f"--benchmark_out={out}"], stdout=output, stderr=log, check=True)
    entries = json.loads(out.read_text(encoding="utf-8"))["benchmarks"]
    return [entry for entry in entries if entry["run_type"] == "iteration"]


class MeasuredStreams:
    """What the page's server took, by the number of streams: a dictionary of figures each."""

    def __init__(self, quick):
        self._seconds = 3 if quick else 30
        self.runs = {count: self._run(count) for count in STREAMS}

    def _run(self, count):
        pids = 256
        said = subprocess.run([BUILD / "bench" / "webStreams", str(count), str(pids), str(self._seconds)],
                              capture_output=True, text=True, check=True).stdout
        return {name: float(value) for name, value in re.findall(r"^(.*): ([0-9.]+)", said, re.MULTILINE)}

    def note(self):
        return f"{self._seconds} s each"


def program_of(group):
    """The name of what measures a group, as it is built."""
    return "webStreams" if group == "page" else PROGRAMS[group].name


def measure(group, quick):
    """Runs the group's program with its contestants in random turns."""
    if group == "page":
        return MeasuredStreams(quick)
    program = PROGRAMS[group]
    command = [BUILD / "bench" / program.name, f"--benchmark_filter={program.filter}",
               f"--benchmark_repetitions={3 if quick else program.repetitions}",
               "--benchmark_enable_random_interleaving=true"]
    if program.seconds:
        command.append(f"--benchmark_min_time={program.seconds / 5 if quick else program.seconds}")
    if not program.prints:
        return Measured(run_program(group, command, "/dev/null"), program.cost)
    return Measured([{**entry, "name": entry["name"].replace("|", f", console to {console}|")}
                     for console in CONSOLES for entry in run_program(group, command, console)], program.cost)

"""Runs the bench programs and reads what they measured."""

import json
import statistics
import subprocess
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "bench"
RESULTS = ROOT / "bench" / "results"
SERVICE = BUILD / "src" / "mpegFE"
BARE_SOCKETS = BUILD / "bench" / "bareSockets"
HEAP_COUNTER = BUILD / "tests" / "support" / "libheapCounter.so"


@dataclass(frozen=True)
class Program:
    """A bench program, how often it repeats, and which figure tells a contestant's cost."""

    name: str
    arguments: tuple
    repetitions: int
    seconds: float  # of each repetition, where the program does not fix the number of iterations
    cost: str  # key of the figure in Google Benchmark's results


PROCESSES = (SERVICE, BARE_SOCKETS, HEAP_COUNTER)
PROGRAMS = {
    "documents": Program("documentsBench", (), 15, 0.03, "cpu_time"),
    "collection": Program("collectionBench", (), 15, 0.02, "cpu_time"),
    "reception": Program("receptionBench", (), 15, 0, "mpegFE"),
    "requests": Program("processBench", (*PROCESSES, "--benchmark_filter=^request"), 15, 0, "toDocument"),
    "footprint": Program("processBench", (*PROCESSES, "--benchmark_filter=-^request"), 15, 0, "real_time"),
}


class Measured:
    """The repetitions of one bench program: samples by subject and contestant."""

    def __init__(self, entries, cost):
        self._cost = cost
        self._runs = {}
        # Contestants take random turns; their families are numbered in the order of the program's own list.
        for entry in sorted(entries, key=lambda entry: entry["family_index"]):
            subject, _, rest = entry["name"].partition("|")
            contestant = rest.split("/iterations:")[0].removesuffix("/real_time").removesuffix("/manual_time")
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

    def spread(self):
        """The middle half of a contestant's repetitions, relative to their median; the median of all."""
        spreads = []
        for subject, contestant in self._runs:
            samples = self.samples(subject, contestant)
            if len(samples) > 1 and statistics.median(samples) > 0:
                low, middle, high = statistics.quantiles(samples, n=4)
                spreads.append((high - low) / middle)
        return statistics.median(spreads) if spreads else 0.0


def measure(group, quick):
    """Runs the group's program with its contestants in random turns. Raises when it fails."""
    program = PROGRAMS[group]
    out = RESULTS / f"{group}.json"
    command = [BUILD / "bench" / program.name, *program.arguments, f"--benchmark_out={out}",
               f"--benchmark_repetitions={3 if quick else program.repetitions}",
               "--benchmark_enable_random_interleaving=true"]
    if program.seconds:
        command.append(f"--benchmark_min_time={program.seconds / 5 if quick else program.seconds}")
    with open(RESULTS / f"{group}.log", "w", encoding="utf-8") as log:
        subprocess.run(command, stderr=log, check=True)
    entries = json.loads(out.read_text(encoding="utf-8"))["benchmarks"]
    return Measured([entry for entry in entries if entry["run_type"] == "iteration"], program.cost)

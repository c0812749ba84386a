"""Measures the service beside its peers and prints the ratios, with the targets and whether they are met. The table is
also written to bench/results/ratios.json."""

import argparse
import subprocess
import sys

import guard
import report
from figures import TABLES
from measurements import BUILD, RESULTS, ROOT, program_of

STATUS = """Exit status: 0 all is well; 1 something failed, or a count grew by more than 5%; 2 the command line is
wrong. A target that is not met is not a failure."""


def options():
    parser = argparse.ArgumentParser(prog="bench/run", description=__doc__, epilog=STATUS)
    parser.add_argument("groups", nargs="*", metavar="GROUP", help=f"{', '.join(TABLES)}; all of them without one")
    parser.add_argument("--quick", action="store_true", help="few repetitions: good enough to see that everything runs")
    parser.add_argument("--publish", action="store_true", help="also puts the table into docs/performance.md")
    parser.add_argument("--guard", action="store_true", help="counts instructions of fixed workloads instead, under "
                        "callgrind, and compares them with bench/instructions.json")
    parser.add_argument("--update", action="store_true", help="of --guard: keeps the new counts there")
    parser.add_argument("--profile", metavar="WORKLOAD", help="shows where the instructions of one of these workloads "
                        "are spent, such as document/PidList/108")
    given = parser.parse_args()
    if unknown := set(given.groups) - set(TABLES):
        parser.error(f"there is no group {', '.join(sorted(unknown))}; there are {', '.join(TABLES)}")
    if given.publish and (given.groups or given.quick):
        parser.error("only a whole run is published")
    if (given.guard or given.update or given.profile) and (given.groups or given.quick or given.publish):
        parser.error("instructions are counted or groups are measured, not both")
    return given


def prepare(programs):
    """Installs what is missing and builds these programs."""
    packaging = ROOT / "packaging"
    subprocess.run([packaging / "install-packages", packaging / "run-packages.txt", packaging / "bench-packages.txt"],
                   check=True)
    subprocess.run(["cmake", "-S", ROOT, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                    "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_CXX_FLAGS=-g", "-DMPEGFE_TESTS=OFF", "-DMPEGFE_COMPANIONS=ON",
                    "-DMPEGFE_BENCH=ON"], stdout=subprocess.DEVNULL, check=True)
    subprocess.run(["cmake", "--build", BUILD, "--target", *programs, "--", "--quiet"], stdout=sys.stderr, check=True)
    RESULTS.mkdir(exist_ok=True)


def main():
    given = options()
    try:
        counts = given.profile or given.guard or given.update
        groups = given.groups or TABLES
        prepare({"instructionWorkloads"} if counts else {program_of(group) for group in groups})
        if given.profile:
            guard.show_profile(given.profile)
        elif given.guard or given.update:
            sys.exit(guard.compare_with_kept(given.update))
        else:
            report.report(groups, given.quick, given.publish)
    except subprocess.CalledProcessError as failure:
        sys.exit(f"bench/run: {failure}")


main()

#!/usr/bin/env python3
"""Runs the benchmark program and reports each figure beside its floor or peer.

Two modes. Instructions: callgrind counts them in the metered part of each case; exact and repeatable. Time: Google
Benchmark, its repetitions interleaved at random, on one core; the median counts. Prints a table and writes report.json.
"""

import argparse
import concurrent.futures
import fnmatch
import json
import os
import re
import subprocess
import sys
import tempfile


def cases(program):
    listed = subprocess.run([program, "--list"], check=True, capture_output=True, text=True).stdout
    return {name: int(operations) for name, operations in (line.split() for line in listed.splitlines())}


def instructions(program, name, operations):
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no", f"--callgrind-out-file={folder}/out",
             program, "--instructions", name], capture_output=True, text=True)
    collected = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode != 0 or not collected:
        sys.exit(f"bench: {name} failed under callgrind:\n{run.stderr}")
    return int(collected.group(1)) / operations


def all_instructions(program, chosen):
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counted = {name: pool.submit(instructions, program, name, operations) for name, operations in chosen.items()}
        return {name: future.result() for name, future in counted.items()}


def all_times(program, chosen, repetitions):
    pattern = "^(" + "|".join(re.escape(name) for name in chosen) + ")/"
    run = subprocess.run(
        ["taskset", "-c", "0", program, f"--benchmark_filter={pattern}", "--benchmark_format=json",
         f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true",
         "--benchmark_min_time=0.05"], stdout=subprocess.PIPE, text=True)
    if run.returncode != 0:
        sys.exit("bench: the time mode failed")
    times = {}
    for one in json.loads(run.stdout)["benchmarks"]:
        if one.get("aggregate_name") == "median":
            name = one["run_name"].removesuffix("/manual_time")
            times[name] = one["real_time"] / chosen[name]
    return times


def rows(targets, figures):
    """One row for each pair of figures that a target speaks of."""
    for target in targets:
        measured = figures.get(target["mode"], {})
        before, after = target["figure"].split("*") if "*" in target["figure"] else (target["figure"], None)
        for name in sorted(measured):
            if not fnmatch.fnmatchcase(name, target["figure"]):
                continue
            other = target["other"]
            if after is not None:
                other = other.replace("*", name[len(before):len(name) - len(after)])
            if other not in measured:
                continue
            ratio = measured[name] / measured[other] if measured[other] else float("inf")
            bound = target.get("atMost", target.get("atLeast"))
            met = ratio <= bound if "atMost" in target else ratio >= bound
            yield {"what": target["what"], "mode": target["mode"], "name": name, "figure": measured[name],
                   "other": other, "otherFigure": measured[other], "ratio": ratio,
                   "target": ("<= " if "atMost" in target else ">= ") + str(bound), "met": met}


def table(report):
    yield f"{'what':26} {'mode':12} {'case':34} {'figure':>12} {'other':>12} {'ratio':>8}  target    met"
    for row in report:
        yield (f"{row['what']:26} {row['mode']:12} {row['name']:34} {row['figure']:12.1f} {row['otherFigure']:12.1f}"
               f" {row['ratio']:8.3f}  {row['target']:9} {'yes' if row['met'] else 'NO'}")
    yield f"{sum(row['met'] for row in report)} of {len(report)} targets met"


def worse_than(baseline, report, tolerance):
    """The rows whose ratio is worse than the baseline's by more than the tolerance."""
    for row in report:
        known = baseline.get(row["what"] + " " + row["name"])
        if known is None:
            continue
        change = row["ratio"] / known if row["target"].startswith("<") else known / row["ratio"]
        if change > 1 + tolerance:
            yield f"{row['name']}: ratio {row['ratio']:.3f}, baseline {known:.3f}"


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", help="the benchmark program")
    parser.add_argument("--filter", default="*", help="cases by name, with * and ? (default: all)")
    parser.add_argument("--mode", choices=["instructions", "time", "both"], default="both")
    parser.add_argument("--repetitions", type=int, default=9, help="of the time mode (default: 9)")
    parser.add_argument("--output", default="report.json", help="the machine-readable report")
    parser.add_argument("--baseline", help="fail when an instruction ratio is more than 10 %% worse than in this file")
    parser.add_argument("--write-baseline", help="write this run's instruction ratios to this file")
    arguments = parser.parse_args()

    chosen = {name: n for name, n in cases(arguments.program).items() if fnmatch.fnmatchcase(name, arguments.filter)}
    if not chosen:
        sys.exit(f"bench: no case matches {arguments.filter}")
    figures = {}
    if arguments.mode != "time":
        print(f"counting the instructions of {len(chosen)} cases", file=sys.stderr)
        figures["instructions"] = all_instructions(arguments.program, chosen)
    if arguments.mode != "instructions":
        print(f"timing {len(chosen)} cases, {arguments.repetitions} repetitions", file=sys.stderr)
        figures["time"] = all_times(arguments.program, chosen, arguments.repetitions)

    with open(os.path.join(here, "targets.json")) as file:
        report = list(rows(json.load(file), figures))
    with open(arguments.output, "w") as file:
        json.dump({"version": 1, "figures": figures, "rows": report}, file, indent=1)
    print("\n".join(table(report)))

    ratios = {row["what"] + " " + row["name"]: round(row["ratio"], 4) for row in report if row["mode"] == "instructions"}
    if arguments.write_baseline:
        with open(arguments.write_baseline, "w") as file:
            json.dump(ratios, file, indent=1)
            file.write("\n")
    if arguments.baseline:
        with open(arguments.baseline) as file:
            worse = list(worse_than(json.load(file), report, 0.10))
        if worse:
            sys.exit("bench: worse than the baseline by more than 10 %:\n" + "\n".join(worse))


if __name__ == "__main__":
    main()

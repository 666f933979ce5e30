"""Runs the cases of a benchmark program.

Instructions: callgrind counts them in the metered part of each case; exact and repeatable. Time: Google Benchmark, its
repetitions interleaved at random, on one core; the median counts, and how much they vary is kept. Counts: what the
program counts itself.
Every figure is per operation.
"""

import concurrent.futures
import json
import os
import re
import subprocess


class Program:
    def __init__(self, path):
        self.path = path
        self.operations = {}
        self.batches = {}  # in a repetition of the time mode, where that is a fixed number
        self.counts = set()
        for line in self._output("--list").splitlines():
            kind, name, operations, batches = line.split()
            if kind == "case":
                self.operations[name] = int(operations)
                if batches != "0":
                    self.batches[name] = int(batches)
            else:
                self.counts.add(name)

    def _output(self, *arguments):
        return subprocess.run([self.path, *arguments], check=True, capture_output=True, text=True).stdout

    def about(self):
        return dict(zip(("compiler", "flags", "peers"), self._output("--about").splitlines()))

    def instructions(self, names):
        def one(name):
            run = subprocess.run(
                ["valgrind", "--tool=callgrind", "--instr-atstart=no", "--collect-atstart=no",
                 "--callgrind-out-file=/dev/null", self.path, "--instructions", name], capture_output=True, text=True)
            collected = re.search(r"Collected : (\d+)", run.stderr)
            if run.returncode != 0 or not collected:
                raise RuntimeError(f"{name} failed under callgrind:\n{run.stderr}")
            return int(collected.group(1)) / self.operations[name]

        with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
            return dict(zip(names, pool.map(one, names)))

    def times(self, names, repetitions):
        """Nanoseconds, and the coefficient of variation of the repetitions; on the last core that this process may use,
        since interrupts tend to go to the first."""
        if not names:
            return {}, {}
        pattern = "^(" + "|".join(name.replace(".", "[.]") for name in names) + ")/"
        run = subprocess.run(
            ["taskset", "-c", str(max(os.sched_getaffinity(0))), self.path, f"--benchmark_filter={pattern}",
             f"--benchmark_repetitions={repetitions}", "--benchmark_enable_random_interleaving=true",
             "--benchmark_report_aggregates_only=true", "--benchmark_min_time=0.05", "--benchmark_format=json"],
            stdout=subprocess.PIPE, text=True)
        if run.returncode != 0 or not run.stdout:
            raise RuntimeError(f"{self.path} failed in the time mode")
        aggregates = {}
        for one in json.loads(run.stdout)["benchmarks"]:
            name = re.sub(r"(/iterations:\d+)?/manual_time$", "", one["run_name"])
            aggregates.setdefault(one["aggregate_name"], {})[name] = one["real_time"]
        return {name: median / self.operations[name] for name, median in aggregates["median"].items()}, aggregates["cv"]

    def counted(self, names):
        return {name: float(self._output("--count", name)) for name in names}

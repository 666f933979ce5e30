"""Measures the programs beside the least that does the same: how soon oru-launcher starts an agent, what oru-agent
spends on the boot of a chassis, and what it keeps in memory.

The folder of the tree lies on a memory file system, as it does on a device.
"""

import contextlib
import json
import os
import pathlib
import select
import shutil
import statistics
import subprocess
import tempfile
import time

SLICES, CHIPS, PORTS = 16, 4, 64
STARTS = 40

SIZE = f"{SLICES}x{CHIPS}x{PORTS}"
SPAWN_FIGURES = ["program.spawn/1/ours", "program.spawn/1/floor"]
BOOT_FIGURES = [f"program.boot/{SIZE}/ours", f"program.boot/{SIZE}/floor", f"program.memory/{SIZE}/ours"]
FIGURES = [*SPAWN_FIGURES, *BOOT_FIGURES]


@contextlib.contextmanager
def memory_folder():
    folder = tempfile.mkdtemp(prefix="oru-bench-", dir="/dev/shm")
    try:
        yield pathlib.Path(folder)
    finally:
        shutil.rmtree(folder)


@contextlib.contextmanager
def running(*command, stdout=subprocess.DEVNULL):
    process = subprocess.Popen(command, stdout=stdout, stderr=subprocess.DEVNULL)
    try:
        yield process
    finally:
        process.terminate()
        process.wait()


def wait_until(condition, what):
    end = time.monotonic() + 60
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError(f"timed out: {what}")
        time.sleep(0.002)


def put(path, value):
    other = path.with_name("." + path.name)
    other.write_text(json.dumps(value))
    other.rename(path)


# ---- from the rename of an entry to the start of the process


@contextlib.contextmanager
def bare_launcher(tools, folder, *command):
    """It only sees what is renamed after it has begun to watch, which it tells."""
    with running(tools / "oru-bench-launcher", folder, *command, stdout=subprocess.PIPE) as process, process.stdout:
        if not select.select([process.stdout], [], [], 10)[0] or process.stdout.readline() != b"ready\n":
            raise RuntimeError("oru-bench-launcher is not ready")
        yield


def start_delay(folder, pipe, name):
    """Nanoseconds from the rename of an entry to the first instructions of the process that it asks for."""
    other = folder / ("." + name)
    other.write_text("{}")
    begin = time.monotonic_ns()
    other.rename(folder / name)
    if not select.select([pipe], [], [], 10)[0]:
        raise RuntimeError(f"nothing was started for {folder / name}")
    return int(os.read(pipe, 100)) - begin


def spawn_times(programs, tools):
    """Both launchers in turn, so that whatever disturbs disturbs both."""
    with memory_folder() as folder:
        tree, bare, pipe_name = folder / "tree", folder / "bare", folder / "pipe"
        os.mkfifo(pipe_name)
        bare.mkdir()
        stamp = [str(tools / "oru-bench-stamp"), str(pipe_name)]
        put(folder / "config.json", {"chip": {"argv": stamp, "backoff": {"initial": 86400, "max": 86400}}})
        entries = tree / "launcher" / "chip"
        entries.mkdir(parents=True)
        pipe = os.open(pipe_name, os.O_RDWR)
        with running(programs / "oru-launcher", "--tree", tree, "--config", folder / "config.json"), \
                bare_launcher(tools, bare, *stamp):
            delays = [(start_delay(entries, pipe, f"Chip{i}.json"), start_delay(bare, pipe, f"Chip{i}.json"))
                      for i in range(STARTS)]
        os.close(pipe)
    ours, floor = zip(*delays[1:])  # the first one of ours waits until oru-launcher is ready
    return dict(zip(SPAWN_FIGURES, [statistics.median(ours), statistics.median(floor)]))


# ---- the boot of a chassis


def slice_names():
    return [f"Slice{number}" for number in range(1, SLICES + 1)]


def chip_names(slice_name):
    return [f"Chip{slice_name.removeprefix('Slice')}.{number}" for number in range(1, CHIPS + 1)]


def interfaces(chip_name):
    place = chip_name.removeprefix("Chip").replace(".", "/")
    return {f"Ethernet{place}/{port}": port for port in range(1, PORTS + 1)}


def insert_boards(tree):
    device = 0
    for name in slice_names():
        chips = {}
        for chip in chip_names(name):
            ports = {str(port): interface for interface, port in interfaces(chip).items()}
            chips[chip] = {"deviceId": device, "ports": ports}
            device += 1
        put(tree / "hw" / "config" / f"{name}.json", {"genTime": time.time(), "chips": chips})


def be_the_slice_agents(tree):
    """Returns the text of the statuses, which are all the same."""
    status = {"genTime": 0, "intfToPortId": {}}
    for name in slice_names():
        wait_until((tree / "launcher" / "slice" / f"{name}.json").exists, f"{name} is wanted")
        folder = tree / "status" / name
        folder.mkdir()
        for chip in chip_names(name):
            put(folder / f"{chip}.json", status)
    return json.dumps(status)


def be_the_chip_agents(tree):
    for name in slice_names():
        for chip in chip_names(name):
            config = tree / "config" / name / f"{chip}.json"
            wait_until(lambda: json.loads(config.read_text())["enabled"], f"{chip} is wanted")
            generation = json.loads(config.read_text())["genTime"]
            put(tree / "status" / name / f"{chip}.json", {"genTime": generation, "intfToPortId": interfaces(chip)})


def processor_time(pid):
    with open(f"/proc/{pid}/schedstat") as file:
        return int(file.read().split()[0])


def resident(pid):
    with open(f"/proc/{pid}/status") as file:
        return next(int(line.split()[1]) / 1024 for line in file if line.startswith("VmRSS:"))


def boot(programs, tools):
    """Processor time of oru-agent from an empty tree to all chips published; its memory then, in MiB."""
    with memory_folder() as folder:
        tree = folder / "tree"
        with running(programs / "oru-agent", "--tree", tree) as agent:
            wait_until((tree / "system" / "chips").exists, "oru-agent is ready")
            insert_boards(tree)
            first_status = be_the_slice_agents(tree)
            be_the_chip_agents(tree)
            published = tree / "system" / "chips"
            wait_until(lambda: len(list(published.glob("*.json"))) == SLICES * CHIPS, "all chips are published")
            spent, memory = processor_time(agent.pid), resident(agent.pid)
            floor = parse_and_write(tree, first_status, folder, tools)
    return dict(zip(BOOT_FIGURES, [spent, floor, memory]))


def parse_and_write(tree, first_status, folder, tools):
    """Processor time of a program that parses what oru-agent read and writes what it wrote: statuses are read once
    without interfaces and once as they stand, configurations and hardware statuses written twice."""
    statuses = list(tree.glob("status/*/*.json"))
    first_statuses = folder / "first-statuses"
    first_statuses.mkdir()
    for number in range(len(statuses)):
        (first_statuses / f"{number}.json").write_text(first_status)
    once = [*tree.glob("system/*/*.json"), *tree.glob("launcher/*/*.json")]
    twice = [*tree.glob("config/*/*.json"), *tree.glob("hw/status/*.json")]
    lines = [f"read {path}" for path in [*tree.glob("hw/config/*.json"), *first_statuses.glob("*.json"), *statuses]]
    lines += [f"write {path}" for path in [*once, *2 * twice]]
    output = folder / "output"
    output.mkdir()
    run = subprocess.run([tools / "oru-bench-parse-write", output], input="\n".join(lines), check=True,
                         capture_output=True, text=True)
    return int(run.stdout)


def boot_medians(programs, tools):
    boots = [boot(programs, tools) for _ in range(5)]
    return {name: statistics.median(one[name] for one in boots) for name in BOOT_FIGURES}


def measure(programs, tools, names):
    """Nanoseconds, and MiB of memory, of those of FIGURES that are named."""
    figures = {}
    for measured, take in (BOOT_FIGURES, boot_medians), (SPAWN_FIGURES, spawn_times):
        if not set(measured).isdisjoint(names):
            figures.update(take(pathlib.Path(programs), pathlib.Path(tools)))
    return {name: figures[name] for name in names}

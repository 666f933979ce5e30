#!/usr/bin/env python3
"""A chip agent that needs nothing but the state tree: chip_agent.py CHIP TREE

Follows config/<slice>/<chip>.json, pretends to initialise the chip for each new generation, and
reports that generation, with the interfaces of the board's description, in status/<slice>/<chip>.json.
It waits for changes (inotify); it never polls. SIGTERM ends it.
"""

import ctypes
import json
import os
import select
import sys
import time

INIT_TIME = 0.1  # seconds that the chip takes to initialise
WRITTEN, MOVED_IN, MADE, REMOVED, MOVED_OUT = 0x8, 0x80, 0x100, 0x200, 0x40
PLAIN = set("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.,+=@:")

libc = ctypes.CDLL(None, use_errno=True)


def file_name(name):
    """The file name of a name, without extension."""
    text = "".join(chr(b) if chr(b) in PLAIN else "%%%02X" % b for b in name.encode())
    if text.startswith("."):
        text = "%2E" + text[1:]
    return text[:-5] + "%2Ejson" if text.endswith(".json") else text


def read(*path):
    """The JSON object of a file; nothing when it is not there, or not right at the moment."""
    try:
        with open(os.path.join(*path), encoding="utf-8") as file:
            return json.load(file)
    except (OSError, ValueError):
        return None


def write(folder, name, value):
    """Writes the file at one moment; never makes the folder, which is the slice agent's."""
    temporary = os.path.join(folder, ".%d.tmp" % os.getpid())
    with open(temporary, "w", encoding="utf-8", opener=lambda p, f: os.open(p, f, 0o640)) as file:
        json.dump(value, file)
    os.rename(temporary, os.path.join(folder, name))


class Watch:
    """Waits until something changes in one of the folders."""

    def __init__(self):
        self.fd = libc.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)

    def wait(self, folders, seconds=None):
        for folder in folders:  # a folder that is watched already stays so
            mask = WRITTEN | MOVED_IN | MOVED_OUT | MADE | REMOVED
            libc.inotify_add_watch(self.fd, os.fsencode(folder), mask)
        ready, _, _ = select.select([self.fd], [], [], seconds)
        if ready:
            os.read(self.fd, 65536)


def configuration(tree, chip):
    """Slice and configuration of the chip: those with the latest generation."""
    folder = os.path.join(tree, "config")
    slices = os.listdir(folder) if os.path.isdir(folder) else []
    found = [(slice_, read(folder, slice_, chip)) for slice_ in slices]
    found = [(slice_, config) for slice_, config in found if config]
    return max(found, key=lambda each: each[1]["genTime"], default=(None, None))


def report(tree, slice_, chip, name, generation):
    board = read(tree, "hw/config", slice_ + ".json") or {"chips": {}}
    ports = board["chips"].get(name, {}).get("ports", {})
    interfaces = {interface: int(port) for port, interface in ports.items() if interface}
    folder = os.path.join(tree, "status", slice_)
    write(folder, chip, {"genTime": generation, "intfToPortId": interfaces})
    print("chip %s: runs generation %r" % (name, generation), file=sys.stderr, flush=True)


def main(name, tree):
    chip = file_name(name) + ".json"
    watch, runs, wanted, ready_at = Watch(), 0, 0, 0.0
    while True:
        # Watch first, then look: what changes in between is not missed.
        slice_, config = configuration(tree, chip)
        folders = [tree, os.path.join(tree, "config"), os.path.join(tree, "status")]
        if slice_:
            folders += [os.path.join(tree, "config", slice_), os.path.join(tree, "status", slice_)]
        watch.wait(folders, 0)
        slice_, config = configuration(tree, chip)

        now, left = time.monotonic(), None
        if config and config["enabled"] and config["genTime"] != runs:
            if config["genTime"] != wanted:
                wanted, ready_at = config["genTime"], now + INIT_TIME
            left = ready_at - now
            if left <= 0:
                try:
                    report(tree, slice_, chip, name, wanted)
                    runs = wanted
                except FileNotFoundError:
                    left = None  # no board: its folder is watched for, or its configuration changes
                else:
                    continue
        elif not config or not config["enabled"]:
            runs = wanted = 0
        watch.wait(folders, left)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: chip_agent.py CHIP TREE")
    main(sys.argv[1], sys.argv[2])

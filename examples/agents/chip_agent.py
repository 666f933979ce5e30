#!/usr/bin/env python3
"""A chip agent that needs nothing but the state tree: chip_agent.py CHIP TREE

Follows config/<slice>/<chip>.json, pretends to initialise the chip for each new generation, and
reports that generation, with the interfaces of the board's description, in status/<slice>/<chip>.json.
It waits for changes (inotify); it never polls. A file that is not as it must be is told on standard
error, and what it said before stays in force. SIGTERM ends it.
"""

import ctypes
import json
import os
import select
import sys
import time

INIT_TIME = 0.1  # seconds that the chip takes to initialise
RETRY_TIME = 1.0  # seconds after which a report is tried again that could not be written
SIZE_LIMIT = 1 << 20
LATEST_TIME = 1e12
WRITTEN, MOVED_IN, MADE, REMOVED, MOVED_OUT = 0x8, 0x80, 0x100, 0x200, 0x40
PLAIN = set("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.,+=@:")

libc = ctypes.CDLL(None, use_errno=True)


def file_name(name):
    """The file name of a name, without extension."""
    text = "".join(chr(b) if chr(b) in PLAIN else "%%%02X" % b for b in name.encode())
    if text.startswith("."):
        text = "%2E" + text[1:]
    return text[:-5] + "%2Ejson" if text.endswith(".json") else text


def say(text):
    print(text, file=sys.stderr, flush=True)


def require(holds, what):
    if not holds:
        raise ValueError(what)


def chip_config(value):
    """Generation and whether the chip is to run, of a file in config/."""
    require(isinstance(value, dict), "is not an object")
    generation, enabled = value.get("genTime"), value.get("enabled")
    is_number = isinstance(generation, (int, float)) and not isinstance(generation, bool)
    require(is_number and 0 <= generation <= LATEST_TIME, "genTime is not a number of seconds")
    require(isinstance(enabled, bool), "enabled is neither true nor false")
    return generation, enabled


def interfaces(value, chip):
    """Port by interface of one chip, of a file in hw/config/."""
    for field in "chips", chip, "ports":
        require(isinstance(value, dict) and field in value, field + " is missing")
        value = value[field]
    require(isinstance(value, dict), "ports is not an object")
    for port, interface in value.items():
        is_number = port.isascii() and port.isdigit() and len(port) <= 5 and int(port) <= 65535
        require(is_number, "ports.%s is no port's number" % port)
        require(isinstance(interface, str), "ports.%s is not a string" % port)
    return {interface: int(port) for port, interface in value.items() if interface}


def load(path):
    """The JSON value of a file; a link, a pipe or too much of it is not read."""
    flags = os.O_NOFOLLOW | os.O_NONBLOCK
    with open(path, "rb", opener=lambda p, f: os.open(p, f | flags)) as file:
        text = file.read(SIZE_LIMIT + 1)
    require(len(text) <= SIZE_LIMIT, "is larger than %d bytes" % SIZE_LIMIT)
    return json.loads(text)


class Reader:
    """Reads files of the tree; what was right last holds while a file is wrong."""

    def __init__(self, tree):
        self.tree, self.good, self.told = tree, {}, {}

    def read(self, place, meaning):
        """What `meaning` makes of the file; nothing when it is not there, or never was right."""
        try:
            self.good[place] = meaning(load(os.path.join(self.tree, place)))
            self.told.pop(place, None)
        except (FileNotFoundError, NotADirectoryError):
            self.good.pop(place, None)
            self.told.pop(place, None)
        except (OSError, ValueError, RecursionError) as error:
            if self.told.get(place) != str(error):
                say("cannot use %s: %s" % (place, error))
            self.told[place] = str(error)
        return self.good.get(place)


def write(folder, name, value):
    """Writes the file at one moment; never makes the folder, which is the slice agent's."""
    temporary = os.path.join(folder, ".%d.tmp" % os.getpid())
    try:
        with open(temporary, "w", opener=lambda p, f: os.open(p, f, 0o640)) as file:
            json.dump(value, file)
        os.rename(temporary, os.path.join(folder, name))
    except OSError:
        if os.path.exists(temporary):
            os.remove(temporary)
        raise


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


def configuration(reader, chip):
    """Slice, generation and enabled of the chip: those with the latest generation."""
    latest = (None, 0, False)
    folder = os.path.join(reader.tree, "config")
    for slice_ in os.listdir(folder) if os.path.isdir(folder) else []:
        found = reader.read(os.path.join("config", slice_, chip), chip_config)
        if found and (latest[0] is None or found[0] > latest[1]):
            latest = (slice_, *found)
    return latest


def report(reader, slice_, chip, name, generation):
    """Writes the chip's status; whether it could, and when not, after how long to try again."""
    board = os.path.join("hw/config", slice_ + ".json")
    ports = reader.read(board, lambda value: interfaces(value, name)) or {}
    status = {"genTime": generation, "intfToPortId": ports}
    try:
        write(os.path.join(reader.tree, "status", slice_), chip, status)
    except OSError as error:
        if not isinstance(error, FileNotFoundError):
            say("cannot report: %s" % error)
            return False, RETRY_TIME
        return False, None  # no board: its folder is watched for, or its configuration changes
    say("chip %s: runs generation %r" % (name, generation))
    return True, None


def main(name, tree):
    chip = file_name(name) + ".json"
    reader, watch, runs, wanted, ready_at = Reader(tree), Watch(), 0, 0, 0.0
    while True:
        # Watch first, then look: what changes in between is not missed.
        slice_, generation, enabled = configuration(reader, chip)
        folders = [tree, os.path.join(tree, "config"), os.path.join(tree, "status")]
        if slice_:
            folders += [os.path.join(tree, "config", slice_), os.path.join(tree, "status", slice_)]
        watch.wait(folders, 0)
        slice_, generation, enabled = configuration(reader, chip)

        now, left = time.monotonic(), None
        if not enabled:
            runs = wanted = 0
        elif generation != runs:
            if generation != wanted:
                wanted, ready_at = generation, now + INIT_TIME
            left = ready_at - now
            if left <= 0:
                done, left = report(reader, slice_, chip, name, wanted)
                if done:
                    runs = wanted
                    continue
        watch.wait(folders, left)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: chip_agent.py CHIP TREE")
    main(sys.argv[1], sys.argv[2])

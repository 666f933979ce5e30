"""Looks whether a file that `oructl watch --json` has written is as it must be: watched.py FILE"""

import json
import sys

EXPECTED = {"slice-inserted", "slice-removed", "slice-taken-over", "chip-started", "chip-published",
            "chip-withdrawn", "reset-requested", "reset-answered", "feature-switched",
            "feature-removed", "agent-state", "problem", "problem-cleared"}

seen = set()
with open(sys.argv[1]) as file:
    for number, text in enumerate(file, 1):
        line = json.loads(text)
        if (line["schema"], line["version"]) != ("oructl.watch", 1) or not line["text"]:
            sys.exit("line %d: %s" % (number, text))
        seen.add(line["event"])
if missing := EXPECTED - seen:
    sys.exit("not seen: " + ", ".join(sorted(missing)))

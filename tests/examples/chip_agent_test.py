"""Runs the chip agent that is a script; the test plays everybody else in the tree."""

import json
import os
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

CONFIG, BOARD = "config/Slice1/Chip1.json", "hw/config/Slice1.json"
GOOD_BOARD = {"genTime": 5, "chips": {"Chip1": {"deviceId": 0, "ports": {"1": "E1", "2": ""}}}}


class ChipAgentTest(unittest.TestCase):
    def setUp(self):
        self.tree = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.tree)
        for folder in "config/Slice1", "status/Slice1", "hw/config":
            os.makedirs(self.path(folder))
        self.put(BOARD, json.dumps(GOOD_BOARD))
        command = [sys.executable, os.environ["CHIP_AGENT"], "Chip1", self.tree]
        self.agent = subprocess.Popen(command, stderr=subprocess.PIPE)
        self.addCleanup(self.end)
        self.said = b""

    def end(self):
        self.agent.kill()
        self.agent.wait()
        self.agent.stderr.close()

    def path(self, place):
        return os.path.join(self.tree, place)

    def put(self, place, content):
        """Puts a text into place at one moment."""
        temporary = self.path(".put")
        with open(temporary, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        os.rename(temporary, self.path(place))

    def configure(self, generation):
        self.put(CONFIG, json.dumps({"genTime": generation, "enabled": True}))

    def await_text(self, text):
        """Waits until the agent has said this, after what was waited for before."""
        while text.encode() not in self.said:
            ready, _, _ = select.select([self.agent.stderr], [], [], 30)
            more = os.read(self.agent.stderr.fileno(), 65536) if ready else b""
            self.assertTrue(more, "%r does not come: %r" % (text, self.said))
            self.said += more
        self.said = self.said.split(text.encode(), 1)[1]

    def await_report(self, generation):
        self.await_text("chip Chip1: runs generation %r\n" % generation)
        with open(self.path("status/Slice1/Chip1.json")) as file:
            return json.load(file)

    def test_reports_the_configured_generation_with_the_interfaces_of_the_board(self):
        self.configure(7.25)
        expected = {"genTime": 7.25, "intfToPortId": {"E1": 1}}
        self.assertEqual(expected, self.await_report(7.25))
        self.configure(8)
        self.assertEqual({**expected, "genTime": 8}, self.await_report(8))

    def test_survives_a_configuration_of_the_wrong_shape(self):
        texts = ["", "nonsense", "[]", "3", "null", '"text"', "{}", '{"genTime": 5}',
                 '{"enabled": true}', '{"genTime": "5", "enabled": true}',
                 '{"genTime": true, "enabled": true}', '{"genTime": NaN, "enabled": true}',
                 '{"genTime": -1, "enabled": true}', '{"genTime": 1e400, "enabled": true}',
                 '{"genTime": 5, "enabled": 1}', "[" * 100000, b"\xff\xfe\xff",
                 " " * ((1 << 20) + 1)]
        for generation, text in enumerate(texts, 10):
            with self.subTest(text=text[:40]):
                self.put(CONFIG, text)
                self.await_text("cannot use %s: " % CONFIG)
                self.configure(generation)
                self.assertEqual(generation, self.await_report(generation)["genTime"])

    def test_survives_a_board_of_the_wrong_shape_and_keeps_what_it_knew(self):
        chip = '{"chips": {"Chip1": %s}}'
        texts = ["nonsense", "[]", "{}", '{"chips": []}', '{"chips": {}}', '{"chips": 3}',
                 chip % "[]", chip % "{}", chip % '{"ports": []}', chip % '{"ports": {"x": "E1"}}',
                 chip % '{"ports": {"70000": "E1"}}', chip % '{"ports": {"1": 1}}']
        self.configure(9)
        self.await_report(9)
        for generation, text in enumerate(texts, 10):
            with self.subTest(text=text):
                self.put(BOARD, text)
                self.configure(generation)
                self.await_text("cannot use %s: " % BOARD)
                self.assertEqual({"E1": 1}, self.await_report(generation)["intfToPortId"])
                # It is read again with the next generation, and what is wrong then is told again.
                self.put(BOARD, json.dumps(GOOD_BOARD))
                self.configure(generation + 0.5)
                self.await_report(generation + 0.5)

    def test_survives_what_is_no_file(self):
        makers = {"link": lambda path: os.symlink(self.path(BOARD), path),
                  "pipe": lambda path: os.mkfifo(path), "directory": lambda path: os.mkdir(path)}
        for generation, (kind, make) in enumerate(makers.items(), 10):
            with self.subTest(kind=kind):
                make(self.path(".made"))
                if os.path.exists(self.path(CONFIG)):
                    os.remove(self.path(CONFIG))
                os.rename(self.path(".made"), self.path(CONFIG))
                self.await_text("cannot use %s: " % CONFIG)
                if kind == "directory":
                    os.rmdir(self.path(CONFIG))
                self.configure(generation)
                self.await_report(generation)

    def test_reports_as_soon_as_it_can(self):
        os.rmdir(self.path("status/Slice1"))
        self.put("status/Slice1", "a file where a directory belongs")
        self.configure(7)
        self.await_text("cannot report: ")
        os.remove(self.path("status/Slice1"))
        os.mkdir(self.path("status/Slice1"))
        self.await_report(7)
        self.assertEqual(["Chip1.json"], os.listdir(self.path("status/Slice1")))

    def test_ends_when_it_is_told_to(self):
        self.configure(7)
        self.await_report(7)
        self.agent.send_signal(signal.SIGTERM)
        self.assertEqual(-signal.SIGTERM, self.agent.wait(30))


if __name__ == "__main__":
    unittest.main()

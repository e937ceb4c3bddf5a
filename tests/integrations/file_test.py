#!/usr/bin/env python3
"""The magic entry in the real file(1), alone and beside the entries that come with the program."""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from messages import CONTAINER, TAG, all_golden, container, elements, golden, message, text

MAGIC = sys.argv.pop(1)
REQUEST = golden("routed_request")


def file(data, *options, user=False):
    """What file says of the data; for a `user` who has the entry in ~/.magic, or else with -m."""
    with tempfile.TemporaryDirectory() as home:
        Path(home, "data").write_bytes(data)
        if user:
            shutil.copy(MAGIC, home + "/.magic")
        else:
            options = ("-m", MAGIC, *options)
        run = subprocess.run(["file", "--brief", *options, home + "/data"], env={"HOME": home, "PATH": "/usr/bin:/bin"},
                             capture_output=True, text=True, check=True)
        return run.stdout.rstrip("\n") + run.stderr


class Magic(unittest.TestCase):
    def test_messages_are_known_by_root_and_size(self):
        for name, data in all_golden().items():
            with self.subTest(name):
                number, kind, *_ = next(elements(data))
                root = "packet" if number == TAG["packet"] else f"root element {number}"
                size = f", {len(data)} bytes" if kind == CONTAINER else ""
                self.assertEqual(file(data), f"TQAgent message, {root}{size}")

    def test_another_root_shows_its_id(self):
        self.assertEqual(file(message(container(TAG["target"], text(TAG["id"], "1")))), "TQAgent message, root element 1401, 40 bytes")

    def test_hostile_lengths_do_no_harm(self):
        self.assertEqual(file(message(container(TAG["packet"], length=-1))), "TQAgent message, packet, damaged: negative length")
        self.assertEqual(file(message(container(TAG["packet"], length=0x7FFFFFFF))), "TQAgent message, packet")

    def test_the_entry_wins_over_that_of_a_public_key(self):
        self.assertEqual(file(REQUEST, user=True), f"TQAgent message, packet, {len(REQUEST)} bytes")
        self.assertEqual(file(REQUEST, "--mime-type", user=True), "application/x-tqamsg")

    def test_other_data_is_left_to_others(self):
        for data in (b"", b"\x98\xba", REQUEST[:4] + b"\1" + REQUEST[5:], b"<packet/>\n\0", REQUEST[8:]):
            with self.subTest(data[:10]):
                self.assertNotIn("TQAgent", file(data, user=True))


if __name__ == "__main__":
    if not shutil.which("file"):
        sys.exit(77)
    unittest.main()

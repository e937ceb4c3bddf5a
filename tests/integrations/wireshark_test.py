#!/usr/bin/env python3
"""The Wireshark dissector in the real tshark: one capture with a TCP connection for each case."""
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from messages import (ATTRIBUTE, BASE64, CONTAINER, DOUBLE, INT, LONGLONG, TAG, UNPARSED, UNTYPED, WORDS, all_golden, container,
                      damaged, element, elements, golden, message, nested, text)

DISSECTOR = sys.argv.pop(1)
PORT = 4646


class Capture:
    """A capture of TCP segments; each connection has a client port of its own."""

    def __init__(self):
        self.packets, self.ports = [], {}

    def connection(self, name, *segments, port=PORT, cut=None):
        """The segments are sent in order; with `cut` only so many bytes of each packet are kept."""
        client = self.ports[name] = 20000 + len(self.ports)
        at = 1
        for data in segments:
            tcp = struct.pack(">HHIIBBHHH", client, port, at, 1, 5 << 4, 0x18, 65535, 0, 0)
            ip = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 40 + len(data), 0, 0, 64, 6, 0, b"\x0a\0\0\1", b"\x0a\0\0\2")
            self.packets.append((ip + tcp + data, cut))
            at += len(data)

    def write(self, path):
        with open(path, "wb") as out:
            out.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 101))  # raw IP
            for number, (packet, cut) in enumerate(self.packets):
                kept = packet[:cut]
                out.write(struct.pack("<IIII", number, 0, len(kept), len(packet)) + kept)


def split(data, *places):
    return [data[a:b] for a, b in zip((0, *places), (*places, len(data)))]


def in_segments(data, size=1400):
    return split(data, *range(size, len(data), size))


REQUEST = golden("routed_request")
SHORT = golden("short_request")
TEXT = b"<packet id=\"t1\">\n<target>vem</target>\n</packet>\n\0"

NEGATIVE = message(struct.pack("<iHHii", TAG["packet"], CONTAINER, 0, -8, 0))
HUGE = message(struct.pack("<iHHii", TAG["packet"], CONTAINER, 0, 0x7FFFFFF0, 0))
CHILD_TOO_LONG = message(container(TAG["packet"], text(TAG["target"], "vem"), element(TAG["data"], UNTYPED, b"abc\0", length=400),
                                   text(TAG["origin"], "filem")))
CHILD_NEGATIVE = message(container(TAG["packet"], element(TAG["data"], UNTYPED, b"abc\0", length=-1)))
SHORT_INT = message(container(TAG["packet"], element(TAG["veid"], INT, b"\1\2")))
WIDE = message(container(TAG["packet"], *[element(TAG["list"], UNTYPED, b"")] * 22000))


def make_capture():
    capture = Capture()
    for name, data in all_golden().items():
        capture.connection("golden " + name, *in_segments(data))
    capture.connection("split", *split(REQUEST, 1, 3, 4, 8, 19, 20, 21, 100, len(REQUEST) - 1))
    capture.connection("joined", REQUEST + SHORT + TEXT + REQUEST)
    capture.connection("joined and split", REQUEST + SHORT[:30], SHORT[30:] + TEXT[:5], TEXT[5:-1], TEXT[-1:] + REQUEST)
    capture.connection("negative", NEGATIVE + SHORT)
    capture.connection("huge", HUGE, SHORT)
    capture.connection("child too long", CHILD_TOO_LONG + SHORT)
    capture.connection("child negative", CHILD_NEGATIVE + SHORT)
    capture.connection("short int", SHORT_INT + SHORT)
    capture.connection("deep", *in_segments(nested(5000), 60000))
    capture.connection("wide", *in_segments(WIDE, 60000), SHORT)
    capture.connection("many", b"<\0" * 24000 + SHORT[:10], SHORT[10:])
    capture.connection("noise", b"\xff\x00noise" + SHORT)
    capture.connection("other port", *split(REQUEST, 40), SHORT, port=9999)
    capture.connection("other protocol", b"GET / HTTP/1.0\r\n\r\n", port=9998)
    capture.connection("cut", REQUEST, cut=40 + 120)
    capture.connection("raw", message(container(TAG["packet"], element(0, UNPARSED, b"<a>1</a>\0"), element(0, UNPARSED, SHORT))))
    capture.connection("unknown", message(container(TAG["packet"], element(4321, 77, b"what"), element(TAG["auth"], BASE64, b"\1"))))
    capture.connection("markup", message(container(TAG["packet"], element(TAG["data"], UNTYPED, b"a\xff\x1b[2J\nb"))))
    for number, data in enumerate(damaged(400)):
        capture.connection(f"damaged {number}", data)
    return capture


class Pairs(list):
    """A JSON object that may hold a key several times, as tshark writes trees."""

    def all(self, wanted):
        """The values of this key anywhere below, in order."""
        for key, value in self:
            if key == wanted:
                yield value
            for each in value if isinstance(value, list) and not isinstance(value, Pairs) else [value]:
                if isinstance(each, Pairs):
                    yield from each.all(wanted)

    def words(self):
        """(word, value) of every element below, in order."""
        for key, value in self:
            found = re.fullmatch(r"tqamsg\.(tag|attr)\.(\w+)|tqamsg\.element", key)
            if found and isinstance(value, str):
                yield ("@" if found[1] == "attr" else "") + (found[2] or ""), value
            elif isinstance(value, Pairs):
                yield from value.words()


def shown(number, kind, payload):
    """How the dissector shows an element: its word, and its value as text."""
    word = ("@" if number in ATTRIBUTE.values() else "") + WORDS.get(number, "")
    if not payload or kind == CONTAINER:
        return word, ""
    if kind == INT:
        return word, str(struct.unpack("<i", payload)[0])
    if kind == LONGLONG:
        return word, str(struct.unpack("<q", payload)[0])
    if kind == DOUBLE:
        return word, f"{struct.unpack('<d', payload)[0]:.17g}"
    if kind == BASE64:
        return word, payload[:-1].hex()
    return word, payload.split(b"\0")[0].decode()


class Dissector(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.pcap = cls.folder.name + "/agent.pcap"
        cls.capture = make_capture()
        cls.capture.write(cls.pcap)
        output = cls.tshark("-T", "json", "-J", "tcp tqamsg _ws.lua _ws.malformed")
        cls.packets = {}
        for packet in json.loads(output, object_pairs_hook=Pairs):
            port = int(next(packet.all("tcp.srcport")))
            cls.packets.setdefault(port, []).append(packet)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    @classmethod
    def tshark(cls, *options):
        environment = {**os.environ, "HOME": cls.folder.name, "LC_ALL": "C.UTF-8"}
        run = subprocess.run(["tshark", "-X", "lua_script:" + DISSECTOR, "-r", cls.pcap, *options], env=environment,
                             capture_output=True, text=True, errors="replace", check=True)
        assert "Lua" not in run.stderr, run.stderr
        return run.stdout

    def of(self, name):
        """What was found in the connection, packet by packet."""
        return self.packets[self.capture.ports[name]]

    def sizes(self, name):
        return [[int(size) for size in packet.all("tqamsg.size")] for packet in self.of(name)]

    def words(self, name):
        return [pair for packet in self.of(name) for pair in packet.words()]

    def marks(self, name):
        """The expert items of the connection."""
        return [text for packet in self.of(name) for text in packet.all("_ws.expert.message")]

    def test_every_element_of_a_message_is_a_field_by_its_word(self):
        for name, data in all_golden().items():
            with self.subTest(name):
                wanted = [shown(number, kind, payload) for number, kind, _, payload in elements(data)]
                self.assertEqual(self.words("golden " + name), wanted)
                self.assertEqual(self.marks("golden " + name), [])

    def test_kinds_and_namespaces_are_fields(self):
        typed = list(elements(golden("typed")))
        fields = self.of("golden typed")[0]
        self.assertEqual([int(kind) for kind in fields.all("tqamsg.kind")], [kind for _, kind, _, _ in typed])
        self.assertEqual([int(ns) for ns in fields.all("tqamsg.namespace")], [ns for _, _, ns, _ in typed if ns])
        self.assertEqual(list(fields.all("tqamsg.int")), [shown(0, *each[1::2])[1] for each in typed if each[1] == INT])

    def test_a_message_split_at_awkward_places_is_put_together(self):
        self.assertEqual(self.sizes("split"), [[]] * 9 + [[len(REQUEST)]])

    def test_messages_of_both_forms_are_found_in_one_segment(self):
        self.assertEqual(self.sizes("joined"), [[len(REQUEST), len(SHORT), len(TEXT), len(REQUEST)]])
        self.assertEqual(list(self.of("joined")[0].all("tqamsg.text")), [TEXT[:-1].decode()])

    def test_segments_may_end_anywhere(self):
        self.assertEqual(self.sizes("joined and split"), [[len(REQUEST)], [len(SHORT)], [], [len(TEXT), len(REQUEST)]])

    def test_a_negative_length_is_reported_and_the_next_message_found(self):
        self.assertEqual(self.sizes("negative"), [[len(SHORT)]])
        self.assertEqual(self.marks("negative"), ["A message of negative length"])

    def test_a_length_beyond_the_limit_is_not_waited_for(self):
        self.assertEqual(self.sizes("huge"), [[], [len(SHORT)]])
        self.assertEqual(self.marks("huge"), ["Longer than the preferences allow"])

    def test_a_child_that_does_not_fit_ends_its_container_only(self):
        for name, data in (("child too long", CHILD_TOO_LONG), ("child negative", CHILD_NEGATIVE), ("short int", SHORT_INT)):
            with self.subTest(name):
                self.assertEqual(self.sizes(name), [[len(data), len(SHORT)]])
                self.assertEqual(len(self.marks(name)), 1)
        self.assertEqual(self.words("child too long")[:2], [("packet", ""), ("target", "vem")])

    def test_deep_nesting_is_shown_flat_below_a_hundred_levels(self):
        deepest = [int(depth) for packet in self.of("deep") for depth in packet.all("tqamsg.depth")]
        self.assertEqual(deepest, list(range(101, 5000)))

    def test_the_elements_shown_are_bounded_and_the_stream_goes_on(self):
        self.assertEqual([sizes for sizes in self.sizes("wide") if sizes], [[len(WIDE)], [len(SHORT)]])
        self.assertLess(len(self.words("wide")), 20100)
        self.assertLess(len(self.sizes("many")[0]), 20100)
        self.assertEqual(self.sizes("many")[1], [len(SHORT)])
        for name in ("wide", "many"):
            self.assertIn("More elements than are shown", self.marks(name))

    def test_bytes_that_are_no_message_are_skipped(self):
        self.assertEqual(self.sizes("noise"), [[len(SHORT)]])
        self.assertEqual(self.marks("noise"), ["No message starts here"])

    def test_a_stream_on_another_port_is_recognised_by_its_magic(self):
        self.assertEqual(self.sizes("other port"), [[], [len(REQUEST)], [len(SHORT)]])
        self.assertEqual(self.sizes("other protocol"), [[]])

    def test_of_a_packet_captured_in_part_the_elements_there_are_shown(self):
        complete = [shown(number, kind, payload) for number, kind, _, payload in elements(REQUEST)]
        found = self.words("cut")
        self.assertEqual(found, complete[:len(found)])
        self.assertGreater(len(found), 3)
        self.assertIn("Not all of the message was captured", self.marks("cut"))

    def test_raw_elements_show_their_text_or_the_message_in_them(self):
        fields = self.of("raw")[0]
        self.assertEqual(list(fields.all("tqamsg.raw")), ["<a>1</a>"])
        inner = [shown(number, kind, payload) for number, kind, _, payload in elements(SHORT)]
        self.assertEqual(self.words("raw"), [("packet", ""), ("", "<a>1</a>"), ("", ""), *inner])

    def test_unknown_ids_and_kinds_show_their_bytes(self):
        fields = self.of("unknown")[0]
        self.assertEqual(self.words("unknown"), [("packet", ""), ("", ""), ("auth", "")])
        self.assertEqual(list(fields.all("tqamsg.payload")), ["77:68:61:74"])

    def test_text_that_is_no_text_does_no_harm(self):
        self.assertEqual(self.marks("markup"), [])
        self.assertEqual(len(self.words("markup")), 2)

    def test_filters_find_words_and_the_info_column_tells_them(self):
        rows = self.tshark("-Y", 'tqamsg.tag.target == "backm" && tcp.srcport == ' + str(self.capture.ports["joined"]),
                           "-T", "fields", "-e", "tqamsg.attr.id", "-e", "_ws.col.Protocol", "-e", "_ws.col.Info").splitlines()
        self.assertEqual(len(rows), 1)
        ids, protocol, info = rows[0].split("\t")
        self.assertEqual((ids, protocol), ("17,m1,17", "TQAMSG"))
        self.assertTrue(info.startswith("packet, from client, to backm, id 17, data/backm/backup; "), info)

    def test_nothing_here_breaks_the_dissector(self):
        for name in self.capture.ports:  # the damaged messages among them
            found = [key for packet in self.of(name) for key in ("_ws.lua.error", "_ws.malformed") for _ in packet.all(key)]
            # Our own remarks on what is malformed show as _ws.malformed, too.
            self.assertEqual([key for key in found if key == "_ws.lua.error" or not self.marks(name)], [], name)


if __name__ == "__main__":
    if not shutil.which("tshark"):
        sys.exit(77)
    unittest.main()

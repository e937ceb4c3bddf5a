#!/usr/bin/env python3
"""The printers in the real gdb: it loads them with the library, and they print good and damaged memory."""
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from messages import CONTAINER, TAG, UNTYPED, container, damaged, element, golden, message, nested

TARGET, LIBRARY, PRINTERS = sys.argv[1:4]
del sys.argv[1:4]

# The library has no debugging symbols, so gdb does not know this member of TQABinary.
RECORD = "(*(TQABinaryInternals**)((char*)message + 88))"
REQUEST = golden("short_request")


def setting(place, data):
    """A command that puts the bytes at an address of the program."""
    return f"python gdb.selected_inferior().write_memory(int(gdb.parse_and_eval('{place}')), bytes.fromhex('{data.hex()}'))"


def content(data):
    """Commands that make these the bytes of the message."""
    return [setting(RECORD + "->buf", data), f"set var {RECORD}->used = {len(data)}"]


class Gdb:
    """One run of gdb on the target, which stands where all objects are in sight."""

    def __init__(self, data=REQUEST):
        self.data, self.commands = data, []

    def run(self, *commands):
        """What gdb prints for the last of the commands."""
        self.commands += [*commands[:-1], r"echo \n>>>\n", commands[-1], r"echo \n<<<\n"]

    def answers(self):
        with tempfile.TemporaryDirectory() as folder:
            place = Path(folder + str(Path(LIBRARY).resolve()) + "-gdb.py")
            place.parent.mkdir(parents=True)
            shutil.copy(PRINTERS, place)
            Path(folder, "message").write_bytes(self.data)
            script = Path(folder, "script.gdb")
            script.write_text("\n".join(["set print elements 100", "set confirm off", "break stopHere",
                                         f"run {folder}/message", "up", *self.commands, "kill"]))
            run = subprocess.run(["gdb", "-batch", "-nx", "-iex", "add-auto-load-scripts-directory " + folder,
                                  "-iex", "add-auto-load-safe-path " + folder, "-x", str(script), TARGET],
                                 capture_output=True, text=True, check=False, env={"LC_ALL": "C.UTF-8", "PATH": "/usr/bin:/bin"})
        if "ptrace: Operation not permitted" in run.stderr:
            raise unittest.SkipTest("processes may not be traced here")
        if run.returncode != 0 or "Error" in run.stderr:
            raise AssertionError(run.stdout[-2000:] + run.stderr[-2000:])
        return [re.sub(r"^\$\d+ = ", "", answer) for answer in re.findall(r"\n>>>\n(.*?)\n+<<<\n", run.stdout, re.DOTALL)]


class Printers(unittest.TestCase):
    maxDiff = None

    def check(self, cases, data=REQUEST):
        """The last command of every case prints as it should, all in one run of gdb."""
        gdb = Gdb(data)
        for commands, _ in cases:
            gdb.run(*([commands] if isinstance(commands, str) else commands))
        for (commands, wanted), answer in zip(cases, gdb.answers(), strict=True):
            with self.subTest(commands):
                self.assertEqual(re.sub("0x[0-9a-f]+", "0x", answer), wanted)

    def test_what_holds_a_message_prints_its_elements(self):
        request = '<packet>, 96 bytes = {@id = "m1", target = "vem", data/vem = ""}'
        self.check([
            ("p *message", request),
            ("p reference", request),
            ("p binary", request),
            ("p owner", request),
            ("p nobody", "no message"),
            ("p copy", request),
            ("p noCopy", "no message"),
            ("p unfilled", "empty"),
            ("p record", "empty of 0, stamp 0"),
            ("p *" + RECORD, request.replace("96 bytes", "96 bytes of 4096, stamp 2")),
        ])

    def test_iterators_and_paths_print_where_they_are(self):
        self.check([
            ("p it", '/packet/target at 40 = {value = "vem"}'),
            ("p nowhere", "nowhere"),
            ("p path", "/packet/data at 64"),
            ("p view", '<target>, 24 bytes = {value = "vem"}'),
            ("p noView", "no element"),
            ("p cursor", '<target>, 24 bytes = {value = "vem"}'),
            ("p noCursor", "no element"),
            ([f"set var {RECORD}->stamp = 7", "p it"], "/packet/target at 40, before the message changed"),
        ])

    def test_kinds_and_namespaces_show(self):
        self.check([("p *message",
                     '<packet>, 416 bytes = {@id = "t<1>", @time = "2005-06-07T08:09:10+0000", @priority = -1, '
                     "types:data/vem:vem/veid = 101, types:data/vem:vem/size = -9000000000, types:data/vem:vem/load_avg = 0.25, "
                     'types:data/vem:vem/key = 00 01 fe ff, types:data/vem:vem/time = "1970-01-01T00:00:00+0000", '
                     r'types:data/vem:vem/message = "a<b & \"c\"", types:data/vem:vem/user = "seven77", '
                     'types:data/vem:vem/status = "&lt;up&gt;", types:data/vem:vem/raw = "<custom>1</custom>", '
                     'types:data/vem:vem/force = "", types:data/vem:vem/list = <empty>}')], golden("typed"))

    def test_text_that_is_no_text_is_escaped(self):
        data = message(element(TAG["data"], UNTYPED, b"\x1b[2J\xff\n\xc3\xa9" + b"x" * 500))
        text = r"\x1b[2J\xff\n" + "\u00e9" + "x" * 192
        shown = f'<data>, 536 bytes = {{value = "{text}"...}}'
        self.check([("p *message", shown),
                    (["set host-charset ASCII", "p *message"], shown.replace("\u00e9", r"\xe9"))], data)

    def test_long_messages_are_cut_where_gdb_cuts_arrays(self):
        many = message(container(TAG["packet"], *[element(TAG["list"], UNTYPED, b"")] * 200))
        self.check([(["set print elements 3", "p *message"], '<packet>, 3224 bytes = {list = "", list = "", list = ""...}')], many)

    def test_deep_messages_show_the_start_of_the_path(self):
        self.check([("p *message", "<data>, 160008 bytes = {" + "data/" * 20 + '.../data = <empty>}')], nested(10000))

    def test_damage_is_named(self):
        good = message(container(TAG["packet"], element(TAG["target"], UNTYPED, b"vem\0"), element(TAG["data"], UNTYPED, b"x\0")))
        self.check([
            ([*content(good[:32] + b"\xff" * 4 + good[36:]), "p *message"],
             "<packet>, 64 bytes = {damaged = <length -1 at 24>}"),
            ([*content(good[:32] + b"\xff\0\0\0" + good[36:]), "p *message"],
             "<packet>, 64 bytes = {damaged = <length 255 at 24>}"),
            ([*content(b"nonsense" + good[8:]), "p *message"], "<damaged: no magic>"),
            ([*content(good[:30]), "p *message"], "<damaged: length 40 at 8>"),
            ([*content(good[:9]), "p *message"], "<damaged: no element at 8>"),
            ([f"set var {RECORD}->used = -1", "p *message"], "<damaged: -1 bytes used of 4096>"),
            ([f"set var {RECORD}->used = 5000", "p it"], "<damaged: 5000 bytes used of 4096>"),
            ([f"set var {RECORD}->capacity = 0x7fffffff", f"set var {RECORD}->used = 0x7ffffff0", "p *message"],
             "<damaged: no 16777216 bytes at 0x>"),
            ([f"set var {RECORD}->used = 64", f"set var {RECORD}->buf = (char*)16", "p *message"], "<damaged: no 64 bytes at 0x>"),
            (["set var path.count = -5", "p path"], "<damaged: -5 levels of 32>"),
            (["set var path.count = 1000000000", "set var path.capacity = 1000000000", "p path"], "<damaged: no 8 bytes at 0x>"),
            (["set var view.at_ = (char*)1", "p view"], "<damaged: no 24 bytes at 0x>"),
            (["set var view.length_ = -1", "p view"], "<damaged: length -1>"),
            ([f"set var *(long*)((char*)message + 88) = 0", "p *message"], "<damaged: no 20 bytes at 0x>"),
            (["set var *(long*)message = 0", "p *message"], "message of another kind"),
            (["set var *(long*)&owner = 4", "p owner"], "<damaged: no 8 bytes at 0x>"),
        ])

    def test_no_damage_breaks_the_printers(self):
        cases = list(damaged(300))
        gdb = Gdb()
        for data in cases:
            gdb.run(*content(data), "p *message")
        answers = gdb.answers()
        self.assertEqual(len(answers), len(cases))
        self.assertEqual([answer for answer in answers if not re.match("<[^>]+>, [0-9]+ bytes|<damaged: .*>$", answer)], [])


if __name__ == "__main__":
    if not shutil.which("gdb"):
        sys.exit(77)
    unittest.main()

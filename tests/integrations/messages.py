"""Messages as bytes for the tests of the integrations, made and read without the library."""
import random
import re
import struct
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
UNTYPED, INT, STRING, LONGLONG, DOUBLE, BASE64, TIME, CONTAINER, UNPARSED = 0, 1, 2, 3, 4, 5, 6, 50, 51


def read_words():
    words, first = {}, {"attribute": 101, "namespace": 201, "tag": 1001}
    for family, number in first.items():
        text = (ROOT / f"tqamsg/vocabulary/{family}_words.inc").read_text()
        for word, own in re.findall(r"^TQA_WORD\((\w+)(?:, (\d+))?\)", text, re.MULTILINE):
            words[int(own or number)] = word
            number += 1
    return words


WORDS = read_words()
TAG = {word: number for number, word in WORDS.items() if number > 1000}
ATTRIBUTE = {word: number for number, word in WORDS.items() if number < 200}


def size_of(length):
    return ((length + 12) // 8 + 1) * 8


def element(number, kind, payload, namespace=0, length=None):
    """An element; with `length` it claims another payload than it has."""
    at = 16 if kind == CONTAINER or len(payload) == 8 else 12
    head = struct.pack("<iHHi", number, kind, namespace, len(payload) if length is None else length)
    return head.ljust(at, b"\0") + payload.ljust(size_of(len(payload)) - at, b"\0")


def text(number, value):
    return element(number, UNTYPED, value.encode() + b"\0")


def container(number, *children, **claims):
    return element(number, CONTAINER, b"".join(children), **claims)


def message(root):
    return b"\x98\xba\xdc\xfe\0\0\0\0" + root


def nested(depth):
    """A message of `depth` levels, in time linear in its size."""
    heads = [struct.pack("<iHHii", TAG["data"], CONTAINER, 0, 16 * (depth - 1 - i), 0) for i in range(depth)]
    return message(b"".join(heads))


def golden(name):
    rows = (ROOT / f"tests/data/messages/{name}.hex").read_text().splitlines()
    return bytes.fromhex("".join(row.split("#")[0] for row in rows))


def all_golden():
    return {path.stem: golden(path.stem) for path in sorted((ROOT / "tests/data/messages").glob("*.hex"))}


def damaged(count):
    """Golden messages with some of their bytes replaced, the same ones each time."""
    chance = random.Random(1)
    originals = list(all_golden().values())
    for _ in range(count):
        data = bytearray(chance.choice(originals)[:2000])
        for _ in range(chance.randint(1, 6)):
            data[chance.randrange(len(data))] = chance.choice((0, 1, 8, 50, 51, 127, 255, chance.randrange(256)))
        yield bytes(data)


def elements(data, at=8, end=None):
    """Every element in the order of the bytes: (id, kind, namespace, payload)."""
    end = len(data) if end is None else end
    while at < end:
        number, kind, namespace, length = struct.unpack_from("<iHHi", data, at)
        payload = at + (16 if kind == CONTAINER or length == 8 else 12)
        yield number, kind, namespace, data[payload:payload + length]
        if kind == CONTAINER and length:
            yield from elements(data, payload, at + size_of(length))
        at += size_of(length)

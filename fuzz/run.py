#!/usr/bin/env python3
"""Runs the fuzzing programs of a build folder, each for so many seconds, and prints a table.

Each program first replays what it once found (fuzz/corpus/), then goes on from the golden files and
from what earlier runs have left in BUILD/corpus/. An input that fails is kept in BUILD/findings/.
"""
import argparse
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# An input of a few kilobytes that takes a second, or 256 MB, costs more than it should.
LIMITS = ["-timeout=1", "-rss_limit_mb=256", "-max_len=4096"]
# What was freed is kept for a while; more of it would count as memory that the input took.
ASAN = "quarantine_size_mb=16:allocator_may_return_null=1:strict_string_checks=1"

# Texts for the targets that take neither messages nor SOAP.
SMALL = {
    "base64": ["", "QQ==", "QUI=", "QUJD", "QU\r\nJD", "QU\nJD", "QUJDQUJD\r\n"],
    "seek": ["", "/", "vem/veid", "/data/list/vem", "//vem", "vem/", "x", "list/veid"],
    "texts": ["12abc", "-5", " +7", "1e5", "0x1p3", "nan", "inf", "99999999999999999999",
              "2005-06-07T08:09:10+0200", "2005-13-01T00:00:00-0530", "4.1.2", "10.0.0.1", "0x7f.1"],
    "log": ["x", "%s%d", "text " * 10, "long " * 900],
    "edit": ["".join(chr(i * k % 127) for i in range(200)) for k in (1, 3, 7, 11, 13, 29)],
}
SOAP = {"soap_request", "soap_envelope"}
TEXT = {"parse", "parse_into", "text_file"}


def messages():
    """Every golden message: (its bytes, its text)."""
    for path in sorted(ROOT.glob("tests/data/messages/*.hex")):
        digits = "".join(row.split("#")[0] for row in path.read_text().splitlines())
        printed = path.with_suffix(".printed.xml")
        text = printed if printed.exists() else path.with_suffix(".xml")
        yield bytes.fromhex(digits), text.read_bytes()


def json_seeds():
    rows = (ROOT / "docs/json.md").read_text().split("```")
    return [row.removeprefix("json\n").encode() for row in rows if row.startswith("json\n")]


def seeds(target):
    files = sorted(ROOT.glob("tests/data/*/*.xml")) + sorted(ROOT.glob("examples/data/*.xml"))
    texts = [path.read_bytes() for path in files]
    if target in SMALL:
        return [text.encode("latin-1") for text in SMALL[target]]
    if target in SOAP:
        return [text for text in texts if b"nvelope" in text]
    if target in TEXT:
        return [text for text in texts if b"nvelope" not in text]
    if target == "tool_json":
        return json_seeds() + [encoded for encoded, _ in messages()]
    packets = [text + b"\0" for text in texts if b"nvelope" not in text]
    return packets + [form for encoded, _ in messages() for form in (encoded, encoded + bytes(range(0, 250, 9)))]


def words(name):
    return re.findall(r"^TQA_WORD\((\w+)", (ROOT / "tqamsg/vocabulary" / name).read_text(), re.MULTILINE)


def dictionary():
    """Words of the vocabulary, the marks of the text form, and the fields of the binary one."""
    entries = ["{", "[", "]}", "\\\"name\\\":", "\\\"kind\\\":\\\"", "\\\"value\\\":\\\"",
               "\\\"children\\\":[", "\\\"bytes\\\":\\\"", "\\\"padding\\\":\\\"", "\\\"length\\\":",
               "<", ">", "</", "/>", "=\\\"", "\\\"", "<!--", "-->", "<?", "&lt;", " xmlns:", ":Envelope ",
               ":Body", ":Header", "<packet_header", "\\x98\\xBA\\xDC\\xFE"]
    for kind in (0, 1, 2, 3, 4, 5, 6, 50, 51):
        entries.append(f"\\x{kind:02X}\\x00\\x00\\x00")
    for name in ("attribute_words.inc", "namespace_words.inc", "tag_words.inc"):
        entries += words(name)
    for position, word in enumerate(words("tag_words.inc")):
        number = 1001 + position
        if word in ("packet", "data", "auth", "ve_list", "ve_range", "veid", "origin", "cookie", "error"):
            entries += [f"</{word}>", f"<{word}>", f"\\x{number & 255:02X}\\x{number >> 8:02X}\\x00\\x00"]
    return "".join(f'"{entry}"\n' for entry in dict.fromkeys(entries))


def run(program, build, seconds):
    """(target, executions, coverage, files, failed)"""
    target = program.name.removeprefix("fuzz_")
    folders = {name: build / name / target for name in ("corpus", "seeds", "findings")}
    for folder in folders.values():
        folder.mkdir(parents=True, exist_ok=True)
    for number, seed in enumerate(seeds(target)):
        (folders["seeds"] / f"{number:03}").write_bytes(seed)
    kept = ROOT / "fuzz/corpus" / target
    inputs = [folders["corpus"], folders["seeds"]] + ([kept] if kept.exists() else [])
    command = [program, *LIMITS, f"-max_total_time={seconds}", f"-dict={build / 'vocabulary.dict'}",
               f"-artifact_prefix={folders['findings']}/", "-print_final_stats=1", *inputs]
    logs = build / "logs"
    logs.mkdir(exist_ok=True)
    for old in logs.glob(f"{target}.report.*"):
        old.unlink()
    # Reports go to files: some targets close the library's mouth, which is also the sanitizers'.
    report = f"log_path={logs.resolve() / target}.report"
    environment = os.environ | {"ASAN_OPTIONS": f"{ASAN}:{report}",
                                "UBSAN_OPTIONS": f"print_stacktrace=1:{report}"}
    done = subprocess.run(command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, errors="replace")
    for each in logs.glob(f"{target}.report.*"):
        done.stdout += each.read_text(errors="replace")
    (logs / f"{target}.log").write_text(done.stdout)

    def last(pattern):
        return int((re.findall(pattern, done.stdout) or ["0"])[-1])

    # A run that ends early has no statistics; its last progress line tells.
    executions = last(r"number_of_executed_units: (\d+)") or last(r"(?m)^#(\d+)\t")
    return (target, executions, last(r"cov: (\d+)"), last(r"\((\d+) PCs\)"),
            len(list(folders["corpus"].iterdir())), done)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("build", type=Path, help="folder with the programs; what they find goes there")
    parser.add_argument("seconds", type=int, nargs="?", default=20, help="for each target")
    parser.add_argument("targets", nargs="*", help="only these")
    parser.add_argument("--jobs", type=int, default=1)
    options = parser.parse_args()

    programs = [path for path in sorted(options.build.glob("fuzz_*")) if os.access(path, os.X_OK)
                and path.is_file() and (not options.targets or path.name.removeprefix("fuzz_") in options.targets)]
    known = {path.name.removeprefix("fuzz_") for path in programs}
    if unknown := set(options.targets) - known:
        parser.error(f"no such target: {', '.join(sorted(unknown))}")
    (options.build / "vocabulary.dict").write_text(dictionary())
    failed = []
    print(f"{'target':14} {'executions':>12} {'edges':>6} {'of':>6} {'inputs':>7}")
    with ThreadPoolExecutor(options.jobs) as pool:
        for name, executions, edges, total, files, done in pool.map(
                lambda program: run(program, options.build, options.seconds), programs):
            print(f"{name:14} {executions:12,} {edges:6} {total:6} {files:7}", flush=True)
            if done.returncode != 0:
                failed.append(name)
                told = [row for row in done.stdout.splitlines() if not re.match(r"#\d|INFO|\t(NEW|LOAD)", row)]
                print(*told[:80], sep="\n")
    for name in failed:
        print(f"{name} failed; its input is in {options.build / 'findings' / name}")
    sys.exit(bool(failed) or not programs)


main()

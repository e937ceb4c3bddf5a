#!/usr/bin/python3
"""Changes the library in many small ways and looks whether the tests notice: mutation.py [--jobs N]

A copy of the sources in build/mutation gets a sample of the mutants that mutants.py finds, all in one
build; each run of the tests activates one. A first run without any notes which mutants each test
reaches, and how long it takes. Then each mutant meets the tests that reach it, quick ones first, until
one fails, crashes or takes ten times its time. Writes build/mutation.md. Debian's package of libclang
needs Debian's interpreter.

Exit status 1 if fewer than 90 % are killed, or if one survives that survivors.txt does not explain.
"""
import argparse
import glob
import hashlib
import json
import os
import re
import resource
import subprocess
import sys
import tempfile
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from dataclasses import asdict
from functools import partial
from pathlib import Path

sys.dont_write_bytecode = True  # this folder is part of the sources
import mutants  # noqa: E402 (behind that)

ROOT = Path(__file__).resolve().parents[2]
HERE = Path(__file__).resolve().parent
WORK = ROOT / "build/mutation"
COPY = WORK / "source"
BUILD = WORK / "build"

SAMPLE = 700        # those that do not compile are left out of it
LEAST_KILLED = 0.9
PROGRAMS = {"tqamsg_tests": BUILD / "tests/tqamsg_tests",
            "tqamsg_nomem_tests": BUILD / "tests/nomem/tqamsg_nomem_tests",
            "tqamsg_nodisk_tests": BUILD / "tests/nodisk/tqamsg_nodisk_tests"}
# No tests of a behaviour of their own, or of another program; and as slow as all others together.
LEFT_OUT = re.compile("tests/(tools|fuzz)/|fuzz/targets/|damaged_seeds_test")
MOST = 1 << 14      # as in mutant.h
QUICK = 500         # milliseconds of tests in the first run of a mutant
SLOWEST = 2000      # milliseconds of a test that is run at all
MEMORY = 8 << 30


CLANG = ["-std=c++20", '-DTQAMSG_NAMESPACE_BASE="/"', '-DTQAMSG_LEGACY_NAMESPACE_BASE="/"',
         *(f"-I{path}" for path in glob.glob("/usr/lib/llvm-14/lib/clang/*/include"))]


# --- the build ------------------------------------------------------------------------------------

def sources():
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT,
                            capture_output=True, text=True, check=True).stdout.split()
    return [name for name in listed if (ROOT / name).is_file() and not LEFT_OUT.search(name)]


def find(file, arguments):
    """The mutants of a file; those of the last time while neither it nor the rules have changed."""
    content = (ROOT / file).read_bytes() + (HERE / "mutants.py").read_bytes()
    kept = WORK / "found" / f"{hashlib.sha256(file.encode() + content).hexdigest()}.json"
    if not kept.is_file():
        kept.parent.mkdir(parents=True, exist_ok=True)
        kept.write_text(json.dumps([asdict(m) for m in mutants.find(ROOT, file, arguments)]))
    return [mutants.Mutant(**fields) for fields in json.loads(kept.read_text())]


def find_all(jobs):
    """The mutants of the whole library."""
    files = sorted(name for name in sources() if re.match(r"tqamsg/.*\.(cpp|h)$", name))
    with ProcessPoolExecutor(jobs) as pool:
        found = pool.map(partial(find, arguments=[*CLANG, f"-I{ROOT}"]), files)
        return [mutant for of_file in found for mutant in of_file]


def number(sample):
    """Numbers that stay when other mutants come and go, so that the next build has little to do."""
    taken = set()
    for mutant in sample:
        mutant.id = int(mutant.rank, 16) % MOST or 1
        while mutant.id in taken:
            mutant.id = mutant.id % (MOST - 1) + 1
        taken.add(mutant.id)


def write(path, data):
    """Leaves a file alone that is the same already, for the sake of the build."""
    if not path.is_file() or path.read_bytes() != data:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)


def write_copy(sample):
    names = sources()
    for old in [path for path in COPY.rglob("*") if path.is_file() and str(path.relative_to(COPY)) not in names]:
        if old.name != "record.cpp":
            old.unlink()
    for name in names:
        own = [m for m in sample if m.file == name]
        text = (ROOT / name).read_bytes()
        if own:
            text = mutants.rewrite(text.decode("latin-1"), own).encode("latin-1")
        write(COPY / name, text)
        (COPY / name).chmod((ROOT / name).stat().st_mode)
    for folder in ("support", "nomem", "nodisk"):
        write(COPY / "tests" / folder / "record.cpp", (HERE / "record.cpp").read_bytes())


def check_headers():
    """The places of the errors in them, which are told without a build of everything."""
    headers = [str(path.relative_to(COPY)) for path in sorted((COPY / "tqamsg").glob("*/*.h"))]
    return set(mutants.errors("".join(f"#include <{name}>\n" for name in headers), COPY,
                              [*CLANG, f"-I{COPY}", "-include", str(COPY / "tests/mutation/mutant.h"), "-ferror-limit=0"]))


def compile_copy(target, jobs):
    """The places of the errors."""
    done = subprocess.run(["cmake", "--build", BUILD, "-j", str(jobs), "--target", target, "--", "-k", "0"],
                          capture_output=True, text=True, check=False)
    if done.returncode == 0:
        return set()
    pattern = rf"^{re.escape(str(COPY))}/(.+?):(\d+):\d+: error"
    places = {(file, int(line)) for file, line in re.findall(pattern, done.stdout, re.MULTILINE)}
    if not any(file.startswith("tqamsg/") for file, _ in places):
        sys.exit(done.stdout[-5000:])
    return places


def build(sample, jobs):
    """Builds the copy, and returns the mutants that compile. Those that do not are remembered."""
    memory = WORK / "do_not_compile.txt"
    known = set(memory.read_text().splitlines()) if memory.is_file() else set()
    sample = [m for m in sample if m.name not in known]
    write_copy(sample)
    subprocess.run(["cmake", "-S", COPY, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                    "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_CXX_FLAGS=-w", "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG",
                    "-DTQAMSG_BUILD_TOOLS=OFF", f"-DCMAKE_PROJECT_tqamsg_INCLUDE={COPY}/tests/mutation/copy.cmake"],
                   stdout=subprocess.DEVNULL, check=True)
    steps = [check_headers, *(partial(compile_copy, target, jobs) for target in ("tqamsg_objects", *PROGRAMS))]
    for step in steps:
        while places := step():
            bad = [m for m in sample if any(m.file == file and m.line <= line <= m.last_line for file, line in places)]
            if not bad:
                sys.exit(f"errors beside the mutants: {sorted(places)}")
            print(f"{len(bad)} mutants do not compile", flush=True)
            known |= {m.name for m in bad}
            memory.write_text("\n".join(sorted(known)) + "\n")
            sample = [m for m in sample if m not in bad]
            write_copy(sample)
    return sample


# --- the runs -------------------------------------------------------------------------------------

def start(program, arguments, seconds, **environment):
    """Runs a test program; whether it passed, and what happened."""
    def limit():
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, resource.RLIM_INFINITY))  # some tests set their own
        resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        os.setpgid(0, 0)

    with tempfile.TemporaryDirectory(dir=WORK) as folder, open(Path(folder) / "output", "w+b") as output:
        child = subprocess.Popen([PROGRAMS[program], "--gtest_brief=1", *arguments], stdout=output, stderr=output,
                                 stdin=subprocess.DEVNULL, cwd=folder, preexec_fn=limit,
                                 env={**os.environ, "TMPDIR": folder, **environment})
        try:
            status = child.wait(120 + 20 * seconds)  # whatever else the machine does
            outcome = {0: "survived", -24: "too slow"}.get(status, "failed" if status > 0 else "crashed")
        except subprocess.TimeoutExpired:
            outcome = "too slow"
        try:
            os.killpg(child.pid, 9)  # and what the tests have started
        except ProcessLookupError:
            pass
        child.wait()
        output.seek(max(0, output.seek(0, 2) - 20000))
        return outcome, output.read().decode(errors="replace")


def record(jobs):
    """Runs all tests on the original: for each program and test its milliseconds and its mutants."""
    def record_part(part):
        program, shard = part
        reached, lines = WORK / f"reached{shard}", WORK / f"record{shard}"
        reached.write_bytes(bytes(MOST))
        lines.write_bytes(b"")
        outcome, output = start(program, [], 3600, GTEST_TOTAL_SHARDS=str(jobs), GTEST_SHARD_INDEX=str(shard),
                                TQA_MUTANTS_REACHED=str(reached), TQA_MUTANTS_RECORD=str(lines))
        if outcome != "survived":
            sys.exit(f"{program} fails without a mutant:\n{output}")
        at_start, *rest = [line.split("\t") for line in lines.read_text().splitlines()]
        return {(program, name): (int(milliseconds), set(map(int, (ids + " " + at_start[2]).split())))
                for name, milliseconds, ids in rest}

    tests = {}
    with ThreadPoolExecutor(jobs) as pool:
        for program in PROGRAMS:
            for part in pool.map(record_part, [(program, shard) for shard in range(jobs)]):
                tests.update(part)
    return tests


def batches(reaching):
    """The tests as lists of (milliseconds, program, name) for one run each, the quickest first."""
    first, later = [], []
    spent = 0
    for test in sorted(reaching):
        spent += test[0]
        (first if spent <= QUICK else later).append(test)
    for part in (first, later):
        for program in PROGRAMS:
            chosen = [test for test in part if test[1] == program]
            if chosen:
                yield program, chosen


def meet(tests, mutant):
    """What became of a mutant, and by which test."""
    reaching = [(ms, *test) for test, (ms, ids) in tests.items() if mutant.id in ids and ms <= SLOWEST]
    if not reaching:
        return "not reached", ""
    for program, chosen in batches(reaching):
        seconds = 5 + sum(ms for ms, *_ in chosen) // 100
        with tempfile.NamedTemporaryFile("w", dir=WORK) as flags:
            flags.write("--gtest_fail_fast\n--gtest_filter=" + ":".join(name for *_, name in chosen) + "\n")
            flags.flush()
            outcome, output = start(program, [f"--gtest_flagfile={flags.name}"], seconds, TQA_MUTANT=str(mutant.id))
        if outcome != "survived":
            failed = re.search(r"\[  FAILED  \] (\S+?),? ", output)
            return outcome, failed[1] if failed else program
    return "survived", ""


# --- the report -----------------------------------------------------------------------------------

def explained():
    """survivors.txt: a reason at the margin, and below it the mutants, indented."""
    reasons, reason = {}, ""
    for line in (HERE / "survivors.txt").read_text().splitlines():
        if line.startswith("    "):
            reasons[line.strip()] = reason
        elif line and not line.startswith("#"):
            reason = line
    return reasons


def report(results, found):
    reasons = explained()
    survivors = [m for m, (outcome, _) in results if outcome in ("survived", "not reached")]
    new = [m for m in survivors if m.name not in reasons]
    killed = len(results) - len(survivors)
    kinds = {kind: sum(outcome == kind for _, (outcome, _) in results) for kind in ("failed", "crashed", "too slow")}
    lines = [f"# {killed} of {len(results)} mutants killed, {killed / len(results):.1%}", "",
             f"{found} mutants were found in all. A test failed: {kinds['failed']}, crashed: {kinds['crashed']}, took too"
             f" long: {kinds['too slow']}. {len(survivors) - len(new)} survivors are explained.", "",
             "| file | mutants | killed |", "|---|---:|---:|"]
    for file in sorted({m.file for m, _ in results}):
        own = sum(m.file == file for m, _ in results)
        lines.append(f"| {file} | {own} | {own - sum(m.file == file for m in survivors)} |")
    for title, chosen in (("Not explained", new), ("Explained", [m for m in survivors if m not in new])):
        lines += ["", f"## {title}", ""]
        lines += [f"- line {m.line}: {m.name}" for m in chosen]
    (ROOT / "build/mutation.md").write_text("\n".join(lines) + "\n")
    print("\n".join(lines[:3] + [f"survives: line {m.line}: {m.name}" for m in new] + ["build/mutation.md"]))
    for name in sorted(set(reasons) & {m.name for m, _ in results} - {m.name for m in survivors}):
        print(f"is killed: {name}")
    return killed >= LEAST_KILLED * len(results) and not new


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="processes at a time")
    parser.add_argument("--again", action="store_true", help="run only those that survived the last time")
    options = parser.parse_args()

    found = find_all(options.jobs)
    sample = sorted(found, key=lambda m: m.rank)[:SAMPLE]
    sample.sort(key=lambda m: (m.file, m.start, m.end, m.mutated))
    number(sample)
    print(f"{len(found)} mutants found, building {len(sample)}", flush=True)
    sample = build(sample, options.jobs)
    print("recording", flush=True)
    tests = record(options.jobs)
    print(f"running {len(sample)}", flush=True)

    last = WORK / "results.json"
    known = json.loads(last.read_text()) if options.again else {}
    def run(mutant):
        if known.get(mutant.name, ["survived"])[0] in ("survived", "not reached"):
            known[mutant.name] = meet(tests, mutant)
            print(*known[mutant.name], mutant.name, flush=True)
        return mutant, known[mutant.name]

    with ThreadPoolExecutor(options.jobs) as pool:
        results = list(pool.map(run, sample))
    last.write_text(json.dumps(known))
    return 0 if report(results, len(found)) else 1


if __name__ == "__main__":
    sys.exit(main())

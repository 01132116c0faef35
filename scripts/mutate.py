#!/usr/bin/env python3
"""Makes faults on purpose, one line each, in protocol/ and streams/ and counts those that the unit
tests of the two notice: mutate.py [--count N] [--seed S] [--only PATH]. The seed chooses the same
faults again as long as the sources stay what they are.

The faults are made in a copy of the working tree in build/mutate, which is built without
optimisation and kept for the next run. Prints a line a fault: the test that killed it, SURVIVED, or
"does not build", which does not count. A failure counts when it comes again: a busy machine makes
tests fail, too. Not for a machine with devices at its serial ports: a fault may reach for them.
"""
import argparse
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
TREE, BUILD, LOGS, TEMPORARY = (WORK / name for name in ("tree", "build", "logs", "tmp"))
SHARDS = 4  # of a whole program: they mostly wait

# Tests of programs that are built and run side by side, stage after stage, and the seconds after
# which they hang: some five times what they take without a fault.
STAGES = {"protocol": [([("protocol-fake-test", "-Link.*"), ("protocol-test", "*")], 40),
                       ([("protocol-fake-test", "Link.*"), ("streams_test", "*")], 150)],
          "streams": [([("streams_test", "*")], 150)]}

SWAPS = [(" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), (" == ", " != "),
         (" != ", " == "), (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "),
         (" & ", " | "), (" += ", " = "), (" |= ", " = "), ("++", "--"), ("true", "false"),
         ("false", "true"), ("break;", ";"), ("continue;", ";"), ("return;", ";")]
STATEMENT = re.compile(r"(\+\+)?(?!return)[\w:.\[\]*>-]+(<\w+>)?(\(.*\)|\+\+| [-+|&]?= .*)?;"
                       r"|const \S*[lL]ock\S* lock\(.*\);")


def masked(line):
    """The line without what stands in texts and comments, in the same places."""
    return re.sub(r"\"(\\.|[^\"\\])*\"|'(\\.|[^'\\])'|//.*",
                  lambda found: (" " if found[0][0] == "/" else '"') * len(found[0]), line)


def faults_of(line, before):
    """((begin, end), what to put there) of each fault in a line behind the code `before`."""
    text = (code := masked(line)).strip()
    if text.startswith(("#", "using ", "namespace ", "template ", "static_assert")):
        return
    for old, new in SWAPS:
        for found in re.finditer(rf"\b{old}" if old[0].isalpha() else re.escape(old), code):
            yield found.span(), new
    for found in re.finditer(r"(?<![\w.])(0x[0-9A-Fa-f]+|\d+)(?![\w.])", code):
        yield found.span(), str(int(found[0], 0) + 1)
    if found := re.search(r"\b(?:if|while) \((.*)\)(?: \{)?$", code.rstrip()):
        yield found.span(1), f"!({line[slice(*found.span(1))]})"
    if STATEMENT.fullmatch(text) and before.endswith((";", "{", "}", ")", ":", "else")):
        yield (code.index(text), len(code.rstrip())), ";"


def choose(only, count, seed):
    """[(path, line number, faulty line)]: lines at random, of each one of its faults."""
    lines = []
    for path in sorted([*TREE.glob("protocol/**/*.cpp"), *TREE.glob("streams/**/*.cpp")]):
        name, before = str(path.relative_to(TREE)), ""
        if "/windows/" in name or not name.startswith(only):
            continue
        for number, line in enumerate(path.read_text().splitlines()):
            if faults := [line[:begin] + new + line[end:]
                          for (begin, end), new in faults_of(line, before)]:
                lines.append((name, number, faults))
            before = masked(line).strip() or before
    chance = random.Random(seed)
    return [(name, number, chance.choice(faults))
            for name, number, faults in chance.sample(lines, min(count, len(lines)))]


def copy_tree():
    """What git knows of the working tree; files that are the same keep their time."""
    listed = subprocess.check_output(["git", "ls-files", "-zco", "--exclude-standard"], cwd=ROOT)
    for name in listed.decode().split("\0")[:-1]:
        source, copy = ROOT / name, TREE / name
        if source.exists() and not (copy.exists() and copy.read_bytes() == source.read_bytes()):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
    for path in list(TREE.rglob("*")):
        if not (ROOT / path.relative_to(TREE)).exists() and path.is_file():
            path.unlink()


def limit():
    for what, most in (("AS", 4 << 30), ("FSIZE", 64 << 20), ("CORE", 0)):
        resource.setrlimit(getattr(resource, "RLIMIT_" + what), (most, most))


def build(programs):
    with open(LOGS / "build", "w") as log:
        builder = subprocess.Popen(["ninja", "-C", BUILD, f"-j{os.cpu_count()}", *programs],
                                   stdout=log, stderr=log)
        try:
            return builder.wait() == 0
        finally:
            builder.terminate()  # with what it has started, when this is interrupted
            builder.wait()


def start(program, tests, started):
    """Adds to {log: process}: several of a whole program."""
    count = SHARDS if tests == "*" else 1
    TEMPORARY.mkdir(exist_ok=True)
    for index in range(count):
        log = LOGS / f"{program}-{index}-of-{count}"
        environment = dict(os.environ, TMPDIR=str(TEMPORARY), GTEST_TOTAL_SHARDS=str(count),
                           GTEST_SHARD_INDEX=str(index))
        command = [BUILD / "bin" / program, "--gtest_fail_fast", f"--gtest_filter={tests}"]
        with open(log, "w") as output:
            started[log] = subprocess.Popen(
                command, env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                start_new_session=True, preexec_fn=limit)


def failing_test(runs, guard):
    """(program, test) of what fails first, crashes or hangs; None if nothing does."""
    started, end = {}, time.monotonic() + guard
    try:
        for program, tests in runs:
            start(program, tests, started)
        while time.monotonic() < end:
            states = {log: process.poll() for log, process in started.items()}
            if any(states.values()) or None not in states.values():
                break
            time.sleep(0.05)
    finally:
        for process in started.values():
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()
        shutil.rmtree(TEMPORARY, ignore_errors=True)
    guilty = sorted((state is None, log) for log, state in states.items() if state != 0)
    if not guilty:
        return None
    text = (log := guilty[0][1]).read_text(errors="replace")
    tests = (re.findall(r"\[  FAILED  \] ([\w./]+)", text)
             or re.findall(r"\[ RUN      \] ([\w./]+)", text) or ["*"])
    return log.name.rsplit("-", 3)[0], tests[-1]


def verdict_of(stages):
    for runs, guard in stages:
        if not build([program for program, _ in runs]):
            return "does not build"
        failed = failing_test(runs, guard)
        if failed and (failing_test([failed], guard) or failing_test(runs, guard)):
            return " ".join(failed)
    return "SURVIVED"


def try_fault(name, number, fault):
    path = TREE / name
    content = path.read_text()
    lines = content.splitlines(keepends=True)
    original, lines[number] = lines[number].strip(), fault + "\n"
    path.write_text("".join(lines))
    try:
        verdict = verdict_of(STAGES[name.split("/")[0]])
    finally:
        path.write_text(content)
    print(f"{verdict}: {name}:{number + 1}: {original}  ->  {fault.strip()}", flush=True)
    return verdict


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--count", type=int, default=100, help="how many faults")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", default="", metavar="PATH", help="a folder or file of the two")
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # what was started ends on the way out
    LOGS.mkdir(parents=True, exist_ok=True)
    copy_tree()
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    subprocess.run(["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=",
                    "-DCMAKE_CXX_FLAGS=-O0", "-DMORVALIN_WARNINGS_AS_ERRORS=ON", *launcher],
                   check=True, stdout=subprocess.DEVNULL)
    if (verdict := verdict_of(STAGES["protocol"])) != "SURVIVED":
        sys.exit(f"without any fault: {verdict}")
    verdicts = [try_fault(*fault) for fault in choose(**vars(options))]
    counted = [verdict for verdict in verdicts if verdict != "does not build"]
    killed = len(counted) - counted.count("SURVIVED")
    print(f"{killed} of {len(counted)} faults killed ({100 * killed // max(1, len(counted))} %), "
          f"{len(verdicts) - len(counted)} did not build")


if __name__ == "__main__":
    main()

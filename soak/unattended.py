#!/usr/bin/env python3
"""Streams from all three device families as a service would, for as many minutes as given, while the
simulated devices are killed, frozen, unplugged and restarted at random.

In the end every stream must deliver, every pose have been where its tool was in its own measurement,
the log be below a megabyte, and memory, threads and descriptors be what they were after the first
minute. Exit status 0 then, else 1. The path of the tools is that of scripts/demo_poses.py.
"""
import argparse
import json
import pathlib
import random
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "scripts"))
from demo_poses import Checker  # noqa: E402

ALGORITHMS = {
    "vega": "NDITracking.PolarisVegaTrackingStream",
    "vicra": "NDITracking.PolarisVicraTrackingStream",
    "aurora": "NDITracking.AuroraTrackingStream",
}
PARTS = ["610059", "610060"]
FAMILY_OF = {  # by the name of the stream; of two with one name the second gets a number
    "NDI Polaris Tracking Stream": "vega",
    "NDI Polaris Tracking Stream 2": "vicra",
    "NDI Aurora Tracking Stream": "aurora",
}
LONGEST_LOG = 1_000_000  # bytes
RECOVERY = 120  # s: the longest pause between tries, an opening that times out, and some more
MEMORY_GROWTH = 1.15


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Device:
    """A simulated device that mishaps happen to."""

    def __init__(self, family, folder, program):
        self.family = family
        self.place = str(free_port()) if family == "vega" else str(folder / family)
        self.command = [program, "--family", family]
        self.command += ["--listen" if family == "vega" else "--pty", self.place]
        if family == "aurora":
            self.command += ["--tool", "1:reference", "--tool", "2:probe"]
        self.process = None
        self.next = 0.0
        self.repair = None
        self.start()

    def start(self):
        self.process = subprocess.Popen(self.command, stdout=subprocess.PIPE, text=True)
        if not self.process.stdout.readline().startswith("ready"):
            raise RuntimeError(f"the {self.family} simulator does not start")

    def end(self, how):
        if self.family != "vega":
            # First, as an adapter's name goes with it: it may soon be another device's terminal.
            pathlib.Path(self.place).unlink(missing_ok=True)
        self.process.send_signal(how)
        self.process.send_signal(signal.SIGCONT)
        self.process.wait()
        self.process.stdout.close()

    def thaw(self):
        self.process.send_signal(signal.SIGCONT)

    def mishap(self, chance):
        """One of four, and how long it lasts."""
        kind = chance.choice(["killed", "frozen", "unplugged", "restarted"])
        self.repair = self.thaw if kind == "frozen" else self.start
        if kind == "frozen":
            self.process.send_signal(signal.SIGSTOP)
        else:
            self.end(signal.SIGKILL if kind == "killed" else signal.SIGTERM)
        return 0 if kind == "restarted" else chance.uniform(1, 12)

    def step(self, now, chance):
        if now < self.next:
            return
        if self.repair:
            self.repair()
            self.repair = None
            self.next = now + chance.uniform(10, 50)
        else:
            self.next = now + self.mishap(chance)

    def mend(self):
        if self.repair:
            self.repair()
            self.repair = None


class Reader(threading.Thread):
    """Reads the host's lines and compares each pose with the path."""

    def __init__(self, lines):
        super().__init__()
        self.lines = lines
        self.checkers = {family: Checker(family) for family in ALGORITHMS}
        self.last_frame = dict.fromkeys(ALGORITHMS, 0.0)
        self.events = {}
        self.tools = {family: set() for family in ALGORITHMS}

    def run(self):
        for line in self.lines:
            item = json.loads(line)
            family = FAMILY_OF[item["stream"]]
            checker = self.checkers[family]
            if "event" in item:
                self.events[item["event"]] = self.events.get(item["event"], 0) + 1
                if item["event"] == "opened":
                    checker.place_of.clear()  # handles are given out anew, not always from the first
                continue
            now = time.monotonic()
            if now - self.last_frame[family] > 1:
                checker.last_step = None  # a device that was restarted counts its frames anew
            self.last_frame[family] = now
            checker.take(item)
            self.check_order(family)

    def check_order(self, family):
        """Handles are given out in the order of the tools, and places in that of the handles."""
        place_of = self.checkers[family].place_of
        self.tools[family] |= set(place_of)
        places = [place_of[tool] for tool in sorted(place_of)]
        if places != sorted(set(places)):
            self.checkers[family].complain(f"tools at the places of others: {place_of}")

    def all_deliver(self):
        return all(time.monotonic() - last < 1 for last in self.last_frame.values())

    def wait_for_all(self):
        deadline = time.monotonic() + RECOVERY
        while not self.all_deliver():
            if time.monotonic() > deadline:
                return False
            time.sleep(0.1)
        time.sleep(1)  # until the line of the log that says so is written
        return True


def footprint(pid):
    """Memory in kB, threads, descriptors."""
    status = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="ascii").splitlines()
    values = dict(line.split(":", 1) for line in status)
    descriptors = sum(1 for _ in pathlib.Path(f"/proc/{pid}/fd").iterdir())
    return int(values["VmRSS"].split()[0]), int(values["Threads"]), descriptors


def workspace(folder, devices):
    tools = ""
    for part in PARTS:
        target = folder / f"{part}.rom"
        maker = ROOT / "resources" / "tools" / "make_tool.py"
        subprocess.run([sys.executable, maker, "--part-number", part, target], check=True)
        tools += (
            f'<block name="{part}.rom"><parameter name="Path" value="{target}"/>'
            '<parameter name="Port" value="1"/></block>'
        )
    blocks = ""
    for number, (family, device) in enumerate(devices.items()):
        settings = {"hardwareDevice": f"COM{number + 1}"}
        if family == "vega":
            settings = {"hardwareDevice": "127.0.0.1", "hardwarePort": device.place}
        blocks += f'<block name="{ALGORITHMS[family]}">'
        for key, value in settings.items():
            blocks += f'<parameter name="{key}" value="{value}"/>'
        if family != "aurora":
            blocks += f'<block name="TrackingTargets">{tools}</block>'
        blocks += "</block>"
    path = folder / "lab.xml"
    path.write_text(
        f'<block name="Workspace"><block name="Algorithms">{blocks}</block></block>',
        encoding="utf-8",
    )
    return path


def trouble(seconds, devices, chance):
    """Mishaps for so long; in the end every device is well."""
    end = time.monotonic() + seconds
    for device in devices.values():
        device.next = time.monotonic() + chance.uniform(1, 10)
    while time.monotonic() < end:
        for device in devices.values():
            device.step(time.monotonic(), chance)
        time.sleep(0.05)
    for device in devices.values():
        device.mend()


def faults_of(reader, log, first, last):
    """What is wrong after a run."""
    faults = []
    for family, checker in reader.checkers.items():
        faults += [f"{family}: {text}" for text in checker.complaints[:5]]
        if len(reader.tools[family]) != len(PARTS):
            faults.append(f"{family}: of {len(PARTS)} tools had a pose: {reader.tools[family]}")
    if log.stat().st_size >= LONGEST_LOG:
        faults.append(f"the log has {log.stat().st_size} bytes")
    if last[0] > first[0] * MEMORY_GROWTH:
        faults.append(f"memory grew from {first[0]} to {last[0]} kB")
    if last[1:] != first[1:]:
        faults.append(f"threads and descriptors were {first[1:]}, are {last[1:]}")
    return faults


def soak(host, reader, devices, minutes, chance):
    """Footprints after the first minute, or at the beginning of a shorter run, and in the end."""
    footprints = []
    for seconds in [min(60, minutes * 20), max(minutes * 60 - 60, minutes * 40)]:
        trouble(seconds, devices, chance)
        if not reader.wait_for_all() or host.poll() is not None:
            raise RuntimeError(f"not every stream delivers: {reader.last_frame}")
        footprints.append(footprint(host.pid))
    return footprints


def run(arguments, folder):
    chance = random.Random(arguments.seed)
    programs = pathlib.Path(arguments.bin).resolve()
    devices = {}
    log = folder / "log"
    host = None
    try:
        for family in ALGORITHMS:
            devices[family] = Device(family, folder, str(programs / "ndi-simulator"))
        command = [programs / "morvalin-host", "run", workspace(folder, devices)]
        command += ["--json", "--events", "--log-time", "--reconnect", "2"]
        for number, device in enumerate(devices.values()):
            if device.family != "vega":
                command += ["--serial-port", f"COM{number + 1}={device.place}"]
        with open(log, "wb") as errors:
            host = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=errors, text=True)
        reader = Reader(host.stdout)
        reader.start()
        if not reader.wait_for_all():
            raise RuntimeError("the streams do not begin")
        first, last = soak(host, reader, devices, arguments.minutes, chance)
        host.send_signal(signal.SIGINT)
        status = host.wait(60)
        reader.join(60)
        faults = faults_of(reader, log, first, last)
        if status != 0:
            faults.append(f"exit status {status}")
        frames = {family: checker.frames for family, checker in reader.checkers.items()}
        print(f"frames {frames}, events {reader.events}, log {log.stat().st_size} bytes")
        print(f"memory, threads, descriptors: first {first}, last {last}")
        return faults
    except (RuntimeError, subprocess.TimeoutExpired) as error:
        return [str(error), *log.read_text(errors="replace").splitlines()[-10:]]
    finally:
        for process in [host, *(device.process for device in devices.values())]:
            if process and process.poll() is None:
                process.kill()
                process.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("minutes", type=float)
    parser.add_argument("--bin", required=True, help="folder of the programs")
    parser.add_argument("--seed", type=int, default=int(time.time()))
    arguments = parser.parse_args()
    print(f"unattended: {arguments.minutes:g} minutes, seed {arguments.seed}", flush=True)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # through what ends the programs
    folder = pathlib.Path(tempfile.mkdtemp(prefix="unattended-"))
    try:
        faults = run(arguments, folder)
    finally:
        shutil.rmtree(folder)
    for fault in faults:
        print("FAILED:", fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

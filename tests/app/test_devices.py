"""The plug-in in the real host, against simulated measurement systems."""

import json
import os
import pathlib
import re
import signal
import subprocess
import sys

from hosttest import HostTest

PLUGIN = os.environ["NDI_PLUGIN"]
SIMULATOR = os.environ["NDI_SIMULATOR"]
ROOT = pathlib.Path(__file__).parents[2]
FAMILIES = ("vicra", "vega", "aurora")
ALGORITHMS = {
    "vicra": "NDITracking.PolarisVicraTrackingStream",
    "vega": "NDITracking.PolarisVegaTrackingStream",
    "aurora": "NDITracking.AuroraTrackingStream",
}


class DeviceTest(HostTest):
    def simulate(self, family, *arguments):
        """Starts a simulator; returns the arguments with which the host reaches it."""
        place = ["--listen", "0"] if family == "vega" else ["--pty", self.path(family)]
        plugged = ["--tool", "1:reference", "--tool", "2:probe"] if family == "aurora" else []
        process = subprocess.Popen(
            [SIMULATOR, "--family", family, *place, *plugged, *arguments],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        self.addCleanup(self.end, process)
        address = process.stdout.readline().decode().removeprefix("ready ").strip()
        if family == "vega":
            host, port = address.split(":")
            return ["--set", "hardwareDevice=" + host, "--set", "hardwarePort=" + port]
        return ["--serial-port", "COM3=" + address, "--set", "hardwareDevice=COM3"]

    def tool(self, part_number):
        target = self.path(part_number + ".rom")
        script = ROOT / "resources" / "tools" / "make_tool.py"
        subprocess.run(
            [sys.executable, script, "--part-number", part_number, target], check=True
        )
        return target

    def tools(self, family):
        if family == "aurora":
            return []
        return ["--tool", self.tool("610059"), "--tool", self.tool("610060")]

    def host(self, *arguments, **options):
        return self.start(*arguments, plugin=PLUGIN, **options)

    def device_frames(self, *arguments):
        status, out, err = self.finish(self.host(*arguments, "--json"))
        self.assertEqual(status, 0, err)
        return [json.loads(line) for line in out.splitlines()], err

    def commands(self, trace):
        """What a --trace file says was sent, without CRC and carriage return."""
        columns = [line.split("\t") for line in self.read(trace).splitlines()]
        sent = [text.removesuffix("\\r") for _, _, sign, text in columns if sign == ">"]
        return [text[:-4] if ":" in text else text for text in sent]


class Streaming(DeviceTest):
    def test_poses_agree_with_the_known_path_in_both_modes(self):
        for family in FAMILIES:
            reach = self.simulate(family, *(() if family == "aurora" else ("--strays", "3")))
            for binary in ("true", "false"):
                with self.subTest(family=family, binary=binary):
                    arguments = ["stream", ALGORITHMS[family], *reach, *self.tools(family)]
                    frames, _ = self.device_frames(
                        *arguments, "--set", "binaryQueryMode=" + binary, "--frames", "8"
                    )
                    self.assertEqual(len(frames), 8)
                    checker = subprocess.run(
                        [sys.executable, "-B", ROOT / "scripts" / "demo_poses.py"]
                        + ["--family", family, "--tools", "2"],
                        input="\n".join(map(json.dumps, frames)).encode(),
                        capture_output=True,
                        check=False,
                    )
                    self.assertEqual(checker.returncode, 0, checker.stdout.decode())

    def test_interrupt_stops_and_closes_the_device(self):
        for family in FAMILIES:
            with self.subTest(family=family):
                trace = self.path(family + ".traffic")
                reach = self.simulate(family)
                process = self.host(
                    *("stream", ALGORITHMS[family], *reach, *self.tools(family)),
                    *("--json", "--trace", trace),
                )
                self.assertTrue(process.stdout.readline())
                os.kill(process.pid, signal.SIGINT)
                status, _, err = self.finish(process)
                self.assertEqual(status, 0, err)
                closing = ["TSTOP:"] if family == "vega" else ["TSTOP:", "COMM:00000"]
                self.assertEqual(self.commands(trace)[-len(closing) :], closing)

    def test_device_that_goes_away_leaves_a_program_that_can_be_ended(self):
        for family, fault in (("vega", "close@BX#5-"), ("vicra", "unplug@BX#5")):
            with self.subTest(family=family):
                reach = self.simulate(family, "--fault", fault)
                process = self.host("stream", ALGORITHMS[family], *reach, *self.tools(family))
                self.wait_for_line(process.stderr, b"NDI Tracking System Error: ")
                os.kill(process.pid, signal.SIGTERM)
                self.assertEqual(self.finish(process)[0], 0)

    def wait_for_line(self, stream, beginning):
        for line in stream:
            if beginning in line:
                return
        self.fail(f"no line with {beginning!r}")


class Diagnosis(DeviceTest):
    def test_trace_tells_the_whole_session_in_order(self):
        trace = self.path("traffic")
        reach = self.simulate("vicra")
        self.device_frames(
            *("stream", ALGORITHMS["vicra"], *reach, "--tool", self.tool("610059")),
            *("--set", "maxRange=1", "--frames", "2", "--trace", trace),
        )
        commands = self.commands(trace)
        self.assertEqual(
            [text for text in commands if not text.startswith(("PVWR", "BX"))],
            ["COMM:50001", "INIT:", "SFLIST:03", "VSEL:2", "PHSR:01", "PHRQ:*********1****"]
            + ["PINIT:0A", "PENA:0AD", "TSTART:", "TSTOP:", "COMM:00000"],
        )
        self.assertEqual(len([text for text in commands if text.startswith("PVWR")]), 16)
        lines = self.read(trace).splitlines()
        self.assertTrue(any("\t<\thex C4A5" in line for line in lines))
        self.assertTrue(any("\t-\tprobed COM3: code 0" in line for line in lines))
        times = [float(line.split("\t")[0]) for line in lines]
        self.assertEqual(times, sorted(times))

    def test_dump_holds_the_last_answers_also_when_opening_failed(self):
        dump = self.path("state")
        reach = self.simulate("vega")
        self.device_frames(
            "stream", ALGORITHMS["vega"], *reach, *self.tools("vega"), "--frames", "1", "--dump", dump
        )
        with open(dump, "rb") as file:
            state = file.read()
        self.assertIn(b"BxHandles[NDI_MAX_HANDLES]: \x0a\x0b\n", state)
        self.assertIn(b"PhrqReply[2]: 0B", state)

        # An Aurora without tools does not open, but stays connected.
        reach = self.simulate("aurora", "--fault", "reply=00@PHSR:00")
        status, _, err = self.finish(
            self.host("stream", ALGORITHMS["aurora"], *reach, "--dump", dump)
        )
        self.assertEqual(status, 1, err)
        with open(dump, "rb") as file:
            self.assertIn(b"PhsrReply[1284]: 00\n", file.read())

    def test_without_a_device(self):
        dump = self.path("state")
        status, _, err = self.finish(
            self.host(
                *("stream", ALGORITHMS["aurora"], "--serial-port", "COM3=" + self.path("none")),
                *("--set", "hardwareDevice=COM3", "--dump", dump, "--trace", "/dev/full"),
            )
        )
        self.assertEqual(status, 1)
        self.assertIn("trace /dev/full: not complete", err)
        self.assertIn("[4] NDI: Failed to probe device!", err)
        self.assertEqual(self.read(dump), "No device is connected.\n")
        for option in ("--dump", "--trace"):
            status, _, err = self.finish(
                self.host("stream", ALGORITHMS["aurora"], option, self.path("none/file"))
            )
            self.assertEqual(status, 3)
            self.assert_one_line(err, self.path("none/file"))


class Workspaces(DeviceTest):
    def test_round_trip_of_every_family_keeps_every_byte(self):
        odd = self.path('t "<&>\' ä \\ .rom')
        os.rename(self.tool("610059"), odd)
        for family in FAMILIES:
            with self.subTest(family=family):
                reach = self.simulate(family)
                first, again = self.path(family + ".xml"), self.path(family + "2.xml")
                port = "7" if family == "aurora" else "1"  # where no tool of the Aurora is
                self.device_frames(
                    *("stream", ALGORITHMS[family], *reach, "--tool", odd + "@" + port),
                    *("--set", "maxRange=1", "--frames", "1", "--save", first),
                )
                serial = reach[:2] if family != "vega" else []
                self.device_frames("run", first, *serial, "--frames", "1", "--save", again)
                with open(first, "rb") as one, open(again, "rb") as two:
                    text = one.read()
                    self.assertEqual(text, two.read())
                self.assertIn(b'name="selectedInstrument" value="', text)
                self.assertNotIn(b'name="selectedInstrument" value=""', text)

    def test_saving_beside_a_tracker_that_is_off_loses_nothing(self):
        reach = self.simulate("vicra")
        saved = self.path("saved.xml")
        arguments = ["stream", ALGORITHMS["vicra"], *reach, *self.tools("vicra"), "--frames", "1"]
        self.device_frames(*arguments, "--set", "maxRange=1", "--save", saved)
        with open(saved, encoding="utf-8") as file:
            before = file.read()
        device = re.search('name="hardwareDevice" value="([^"]+)"', before)[1]
        off = ["--serial-port", device + "=/dev/null"]
        self.assertEqual(self.finish(self.host("run", saved, *off, "--save", saved))[0], 1)
        with open(saved, encoding="utf-8") as file:
            after = file.read()
        for key in ("maxRange", "selectedInstrument"):
            with self.subTest(key=key):
                value = re.search(f'name="{key}" value="[^"]+"', before)[0]
                self.assertIn(value, after)

    def test_workspaces_of_older_versions_open_and_stream(self):
        self.tools("vega")
        for family in FAMILIES:
            with self.subTest(family=family):
                reach = self.simulate(family)
                saved = self.path("new.xml")
                frames, err = self.device_frames(
                    *("run", ROOT / "tests" / "app" / "legacy" / (family + ".xml"), *reach),
                    *("--frames", "2", "--save", saved),
                )
                second = "2-SIM-PROBE-02" if family == "aurora" else "610060"
                self.assertEqual(frames[0]["main"], second)
                for name in ("startAfterInit", "blockingInit"):
                    warning = f"[3] NDI: Parameter '{name}' was removed as it was not used anymore"
                    self.assertEqual(err.count(warning), 1, err)
                self.assertIn(f'<block name="{ALGORITHMS[family]}">', self.read(saved))

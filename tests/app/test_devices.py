"""Poses, and what the program tells of a device."""

import json
import signal
import subprocess
import sys

from hosttest import ALGORITHMS, AURORA, ROOT, VEGA, VICRA, HostTest


class Streaming(HostTest):
    def test_poses_agree_with_the_known_path_in_both_modes(self):
        for family, algorithm in ALGORITHMS.items():
            reach = self.simulate(family, *(() if family == "aurora" else ("--strays", "3")))
            for binary in ("true", "false"):
                with self.subTest(family=family, binary=binary):
                    arguments = ["stream", algorithm, *reach, *self.tools(family)]
                    binary_mode = ["--set", "binaryQueryMode=" + binary]
                    frames, _ = self.frames(*arguments, *binary_mode, "--frames", "8")
                    self.assertEqual(len(frames), 8)
                    checker = subprocess.run(
                        [sys.executable, "-B", ROOT / "scripts" / "demo_poses.py"]
                        + ["--family", family, "--tools", "2"],
                        input="\n".join(map(json.dumps, frames)).encode(),
                        capture_output=True,
                        check=False,
                    )
                    self.assertEqual(checker.returncode, 0, checker.stdout.decode())

    def test_device_that_goes_away_leaves_a_program_that_can_be_ended(self):
        for family, fault in (("vega", "close@BX#5-"), ("vicra", "unplug@BX#5")):
            with self.subTest(family=family):
                reach = self.simulate(family, "--fault", fault)
                process = self.start("stream", ALGORITHMS[family], *reach, *self.tools(family))
                wanted = b"NDI Tracking System Error: "
                self.assertTrue(any(wanted in line for line in process.stderr))
                process.send_signal(signal.SIGTERM)
                self.assertEqual(self.finish(process)[0], 0)


class Diagnosis(HostTest):
    def test_trace_tells_the_whole_session_in_order(self):
        reach = self.simulate("vicra")
        self.frames(
            *("stream", VICRA, *reach, "--tool", self.tool("610059"), "--set", "maxRange=1"),
            *("--frames", "2", "--trace", self.traffic),
        )
        commands = self.commands()
        self.assertEqual(
            [text for text in commands if not text.startswith(("PVWR", "BX"))],
            ["COMM:50001", "INIT:", "SFLIST:03", "VSEL:2", "PHSR:01", "PHRQ:*********1****"]
            + ["PINIT:0A", "PENA:0AD", "TSTART:", "TSTOP:", "COMM:00000"],
        )
        self.assertEqual(len([text for text in commands if text.startswith("PVWR")]), 16)
        lines = self.read("traffic").splitlines()
        self.assertTrue(any("\t<\thex C4A5" in line for line in lines))
        self.assertTrue(any("\t-\tprobed COM3: code 0" in line for line in lines))
        times = [float(line.split("\t")[0]) for line in lines]
        self.assertEqual(times, sorted(times))

    def test_dump_holds_the_last_answers_also_when_opening_failed(self):
        dump = ["--dump", self.path("state")]
        reach = self.simulate("vega")
        self.frames("stream", VEGA, *reach, *self.tools("vega"), "--frames", "1", *dump)
        with open(self.path("state"), "rb") as file:
            state = file.read()
        self.assertIn(b"BxHandles[NDI_MAX_HANDLES]: \x0a\x0b\n", state)
        self.assertIn(b"PhrqReply[2]: 0B", state)

        # An Aurora without tools does not open, but stays connected.
        reach = self.simulate("aurora", "--fault", "reply=00@PHSR:00")
        status, _, err = self.run_host("stream", AURORA, *reach, *dump)
        self.assertEqual(status, 1, err)
        with open(self.path("state"), "rb") as file:
            self.assertIn(b"PhsrReply[1284]: 00\n", file.read())

        nowhere = ["--serial-port", "COM3=" + self.path("none"), "--set", "hardwareDevice=COM3"]
        status, _, err = self.run_host("stream", AURORA, *nowhere, *dump)
        self.assertEqual(status, 1)
        self.assertIn("[4] NDI: Failed to probe device!", err)
        self.assertIn("did not open", err)
        self.assertEqual(self.read("state"), "No device is connected.\n")

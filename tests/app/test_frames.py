import json
import os
import re

from hosttest import TRACKER, HostTest


class Frames(HostTest):
    def test_json_form(self):
        status, out, err = self.stream("--json", "--frames", "3")
        self.assertEqual(status, 0, err)
        lines = out.splitlines()
        self.assertEqual(len(lines), 3)
        frames = [json.loads(line) for line in lines]
        self.assertEqual([frame["frame"] for frame in frames], [0, 1, 2])
        frame = frames[0]
        self.assertEqual(
            list(frame), ["stream", "frame", "timestamp", "main", "instruments", "fiducials"]
        )
        self.assertEqual(frame["stream"], "Scripted")
        self.assertEqual(frame["main"], "probe")
        self.assertEqual(frame["timestamp"], 1700000000123)

        probe, broken = frame["instruments"]
        keys = ["id", "name", "model", "type", "active", "quality", "timestamp", "matrix"]
        self.assertEqual(list(probe), keys)
        self.assertEqual(probe["name"], 'Sonde "ä" \\')
        self.assertEqual((probe["type"], probe["active"]), ("Probe", True))
        # Column by column, and exactly the doubles that were measured.
        self.assertEqual(
            [value.hex() for value in probe["matrix"]],
            [
                value.hex()
                for value in [0.0, 1.0, 0.0, 0.0, -1.0, -0.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0]
                + [1.0 / 3.0, 5e-324, -1.7976931348623157e308, 1.0]
            ],
        )
        self.assertEqual(probe["quality"], 0.1 + 0.2)
        self.assertEqual((broken["active"], broken["quality"]), (False, None))
        self.assertEqual(broken["matrix"][:2], [None, 0.0])
        self.assertEqual((broken["id"], broken["name"]), ("broken\ufffd", "tab\there"))

        self.assertEqual(
            frame["fiducials"],
            [
                {"id": 0xCBF29CE484222325, "position": [1.5, -2.25, 1e-7]},
                {"id": 1, "position": [0.0, 100.0, 1e22]},
            ],
        )
        self.assertIn('"id":14695981039346656037,', lines[0])
        self.assertNotIn(" ", re.sub(r'"[^"]*"', "", lines[0].replace('\\"', "")))

    def test_readable_form(self):
        status, out, err = self.stream("--frames", "1")
        self.assertEqual(status, 0, err)
        header, probe, broken = out.splitlines()
        self.assertRegex(header, r"^Scripted  frame 0  22:13:20\.123 UTC .*strays 2$")
        self.assertRegex(probe, r"^  \* probe .*x +0\.333 .* q +0\.7071 .*0\.7071 +quality +0\.300$")
        self.assertRegex(broken, r"^    broken.*tab\?here.*inactive$")

    def test_every_frame_is_flushed(self):
        process = self.start("stream", TRACKER, "--json")
        for index in range(3):
            self.assertEqual(json.loads(process.stdout.readline())["frame"], index)
        self.assertIsNone(process.poll())
        self.interrupt(process)
        self.assertEqual(self.finish(process)[0], 0)

    def test_settings_tools_and_ports_reach_the_plugin(self):
        tools = [self.write("probe@home.rom", "x"), self.write("ä b.rom", ""), self.path("c.rom@")]
        open(tools[2], "w").close()
        status, _, err = self.stream(
            *("--frames", "1", "--set", "hardwareDevice=a=b", "--set", "maxRange=7"),
            *("--set", "mistery=1", "--set", "mystery=1", "--set=measurementRate=2"),
            *("--set", "canOpen=1", "--serial-port", r"\\.\COM12=/dev/x", "--tool", tools[0]),
            *("--tool", "ä b.rom@12", "--tool", tools[2], "--serial-port", "COM3=/dev/a=b"),
        )
        self.assertEqual(status, 0, err)
        warnings = [line for line in err.splitlines() if line.startswith("[3] Host: ")]
        self.assertEqual(len(warnings), 2, err)
        self.assertIn('"mistery"', warnings[0])
        self.assertEqual(
            self.trace(),
            [
                r"port \\.\COM12 /dev/x",
                "port COM3 /dev/a=b",
                "a=b mystery",
                "a=b open",
                f"a=b tool probe@home.rom {os.path.realpath(tools[0])} 1",
                f"a=b tool ä b.rom {os.path.realpath(tools[1])} 12",
                f"a=b tool c.rom@ {os.path.realpath(tools[2])} 1",
                "a=b start",
                "a=b stop",
                "a=b close",
                "a=b destroyed",
                "factory destroyed",
                "plugin destroyed",
            ],
        )

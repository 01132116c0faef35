import csv
import json
import os
import signal
import time

from hosttest import VEGA, HostTest, limit_files

POSE = ["x_mm", "y_mm", "z_mm", "qw", "qx", "qy", "qz"]


def matrix_of(row):
    """Column by column, from position and quaternion."""
    w, x, y, z = (float(row[key]) for key in POSE[3:])
    columns = [
        [1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)],
        [2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)],
        [2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)],
        [float(row[key]) for key in POSE[:3]],
    ]
    return [number for column in columns for number in column]


class Files(HostTest):
    def record(self, *arguments, simulator=(), **options):
        """Status, frames as they were printed, and errors of a run with both files."""
        run = ["stream", VEGA, *self.simulate("vega", *simulator), *self.tools("vega"), *arguments]
        return self.run_host(*run, "--json", *self.both(), **options)

    def both(self):
        return ["--csv", self.path("f.csv"), "--record", self.path("f.jsonl")]

    def rows(self, name):
        with open(self.path(name), encoding="utf-8", newline="") as file:
            return list(csv.DictReader(file, strict=True))

    def assert_table(self, rows, frames):
        """The rows say what the JSON frames say."""
        tools = [(frame, tool) for frame in frames for tool in frame["instruments"]]
        self.assertEqual(len(rows), len(tools))
        for row, (frame, tool) in zip(rows, tools):
            texts = [str(frame["timestamp"]), frame["stream"], str(frame["frame"]), tool["id"]]
            self.assertEqual([*row.values()][:4], texts)
            self.assertEqual(row["name"], tool["name"])
            self.assertEqual(row["active"], str(tool["active"]).lower())
            is_visible = tool["active"] and tool["quality"] != 0
            self.assertEqual(row["visible"], str(is_visible).lower())
            self.assertEqual(float(row["quality"]), tool["quality"])
            if not is_visible:
                self.assertEqual({row[key] for key in [*POSE, "rms_mm"]}, {""})
                continue
            self.assertEqual(float(row["rms_mm"]), (1 - tool["quality"]) * 10)
            self.assertEqual([float(row[key]) for key in POSE[:3]], tool["matrix"][12:15])
            measured = [tool["matrix"][4 * i + j] for i in range(4) for j in range(3)]
            for number, expected in zip(matrix_of(row), measured):
                self.assertAlmostEqual(number, expected, 6)  # a device rounds

    def test_files_hold_what_is_printed(self):
        hidden = ["--tool-state", "1:missing:3-6", "--strays", "3"]
        status, out, err = self.record("--frames", "12", simulator=hidden)
        self.assertEqual(status, 0, err)
        lines = self.read("f.jsonl").splitlines(keepends=True)
        events = [json.loads(line)["event"] for line in lines if line.startswith('{"event"')]
        self.assertEqual((events[0], events[-1]), ("opened", "closed"))
        self.assertEqual("".join(line for line in lines if line.startswith('{"stream"')), out)
        rows = self.rows("f.csv")
        self.assert_table(rows, [json.loads(line) for line in out.splitlines()])
        self.assertEqual({row["visible"] for row in rows}, {"true", "false"})

    def test_files_of_earlier_runs_are_kept(self):
        for name in ("f.csv", "f.jsonl"):
            old = self.write(name, "x" * 100000)
            status, out, err = self.record("--frames", "1", "--trace", self.traffic)
            self.assertEqual((status, out, self.commands()), (3, "", []))
            self.assert_one_line(err, old, "--force")
            other = {"f.csv", "f.jsonl"} - {name}
            self.assertFalse(other & set(os.listdir(self.folder)))
            self.assertEqual(self.read(name), "x" * 100000)
            os.remove(old)
        self.write("f.csv", "x" * 100000)
        status, out, err = self.record("--frames", "1", "--force")
        self.assertEqual(status, 0, err)
        self.assert_table(self.rows("f.csv"), [json.loads(out)])
        recording = self.path("f.jsonl")
        reach = ["stream", VEGA, *self.simulate(), "--frames", "1", "--force"]
        status, _, err = self.run_host(*reach, "--csv", recording, "--record", recording)
        self.assertEqual(status, 2)
        self.assert_one_line(err, "--record", "--csv")
        status, _, err = self.run_host(*reach, "--record", self.path("none/f"), "--trace", self.traffic)
        self.assertEqual((status, self.commands()), (3, []))
        self.assert_one_line(err, "--record", "none/f")

    def test_full_disk_costs_the_files_only(self):
        status, out, err = self.record("--frames", "40", preexec_fn=limit_files)
        self.assertEqual((status, len(out.splitlines())), (1, 40), err)
        for option, name in zip(("--csv", "--record"), ("f.csv", "f.jsonl")):
            lines = [line for line in err.splitlines() if name in line]
            self.assert_one_line("\n".join(lines), f"{option} {self.path(name)}: stopped", "too large")
            self.assertEqual(self.read(name), "")

    def test_slow_file_holds_nothing_up(self):
        os.mkfifo(self.path("f.jsonl"))
        reader = os.open(self.path("f.jsonl"), os.O_RDONLY | os.O_NONBLOCK)
        run = ["stream", VEGA, *self.simulate("vega", "--strays", "100"), "--frames", "50"]
        process = self.start(*run, "--json", *self.both())
        printed = [process.stdout.readline().decode() for _ in range(50)]
        os.set_blocking(reader, True)
        with open(reader, encoding="utf-8") as file:
            self.assertEqual([line for line in file if line.startswith('{"stream"')], printed)
        self.assertEqual(self.finish(process)[0], 0)

    def test_killed_run_leaves_whole_lines(self):
        run = ["stream", VEGA, *self.simulate(), *self.tools("vega"), "--json"]
        process = self.start(*run, *self.both())
        printed = [process.stdout.readline().decode() for _ in range(20)]
        self.wait_until(lambda: printed[-1] in self.read("f.jsonl"), "not on disk in time")
        process.kill()
        self.finish(process)
        self.assertIn("".join(printed), self.read("f.jsonl"))
        whole = self.read("f.csv").rpartition("\n")[0].splitlines()
        self.assertEqual({line.count(",") for line in whole}, {15})

    def play(self, *arguments, **options):
        return self.run_host("play", *arguments, plugin=None, **options)

    def frame(self, **members):
        """A line of a recording, with odd texts and numbers."""
        tool = {"id": 'a,"b"', "name": "ä\n\u0000c", "model": "=1", "type": "", "active": True}
        matrix = [1e-300, -0.0, 0.1, None, 1e22, 5e-324, 1.7976931348623157e308, *map(float, range(9))]
        tool.update({"quality": -0.3, "timestamp": 1, "matrix": matrix})
        stray = {"id": 2**64 - 1, "position": [None, 0.0, -1.5]}
        frame = {"stream": "S,\u001b[1m", "frame": 7, "timestamp": 10, "main": "m"}
        frame |= {"instruments": [tool], "fiducials": [stray], **members}
        return json.dumps(frame, ensure_ascii=False, separators=(",", ":")) + "\n"

    def test_played_recording_is_what_was_recorded(self):
        status, out, err = self.record("--frames", "9", simulator=["--tool-state", "1:missing:3-6"])
        self.assertEqual(status, 0, err)
        recording, table = self.path("f.jsonl"), self.path("again.csv")
        played = self.play(recording, "--json", "--events", "--csv", table)
        self.assertEqual(played, (0, self.read("f.jsonl"), ""))
        self.assertEqual(self.read("again.csv"), self.read("f.csv"))
        self.assertEqual(self.play(recording, "--json"), (0, out, ""))
        self.assertIn("  frame 8  ", self.play(recording)[1])
        reasons = [
            {"event": "stalled", "stream": "S", "timestamp": 1, "gap": 3.5, "reason": "x"},
            {"event": "reconnecting", "stream": "S", "timestamp": 1, "try": 2, "pause": 1.0, "reason": ""},
            {"event": "tool", "stream": "S", "timestamp": 1, "id": "a", "name": "b", "active": False},
        ]
        text = "".join(json.dumps(event, separators=(",", ":")) + "\n" for event in reasons)
        odd = self.write("odd", text + self.frame() + self.frame(instruments=[], fiducials=[]))
        self.assertEqual(self.play(odd, "--json", "--events"), (0, self.read("odd"), ""))
        self.assertEqual(self.play(odd, "--csv", table, "--force")[0], 0)
        (row,) = self.rows("again.csv")
        self.assertEqual((row["id"], row["name"], row["stream"]), ('a,"b"', "ä  c", "S, [1m"))
        self.assertEqual([float(row[key]) for key in POSE[:3]], [5.0, 6.0, 7.0])

    def test_play_keeps_the_time_and_ends_when_asked(self):
        file = self.write("f", self.frame() + self.frame(timestamp=1510) + self.frame(timestamp=10**15))
        process = self.start("play", file, "--json", "--speed", "3", plugin=None)
        process.stdout.readline()
        begin = time.monotonic()
        process.stdout.readline()
        self.assertGreater(time.monotonic() - begin, 0.4)
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.finish(process), (0, "", ""))

    def test_broken_and_foreign_recordings(self):
        line, first = self.frame(), self.frame(frame=1)
        for cut in (1, 9, 60, len(line) - 2):
            status, out, err = self.play(self.write("f", first + line[:cut]), "--json")
            self.assertEqual((status, out), (0, first), err)
            self.assert_one_line(err, f"[3] Host: {self.path('f')}:2: ", "broke off")
        self.assertEqual(self.play(self.write("f", first + line[:-1]), "--json")[:2], (0, first + line))
        hostile = [
            "\n",
            "{}\n",
            "hello",
            "[" * 500000 + "\n",
            "x" * (1 << 21) + "\n",
            '{"event":"won","stream":"S","timestamp":1}\n',
            line.replace("1e+22", "1e999"),
            line.replace("null,", "", 1),
            line.replace("0.1", '"0.1"'),
            line.replace('"S,', '"\\ud800S,'),
            *(self.frame(frame=number) for number in (-1, 1.5, 2**64, None)),
            *(self.frame(timestamp=number) for number in (-1, 2**63, 1e30)),
            *(self.frame(instruments=value) for value in ({}, [1], [{}], "x")),
            self.frame(fiducials=[{"id": 1, "position": [1, 2]}]),
        ]
        for text in hostile:
            with self.subTest(line=text[:80]):
                status, out, err = self.play(self.write("f", first + text + line), "--json")
                self.assertEqual((status, out), (3, first), err)
                self.assert_one_line(err, f"recording {self.path('f')}:2: ")
        kept = self.write("kept", "x")
        cases = [(self.path("none"), "none"), (self.folder, "plain file"), (kept, "kept:1: ")]
        for file, words in cases:
            status, out, err = self.play(file, "--csv", self.path("new"))
            self.assertEqual((status, out, os.path.exists(self.path("new"))), (3, "", False))
            self.assert_one_line(err, words)
        status, _, err = self.play(kept, "--csv", kept, "--force")
        self.assertEqual((status, self.read("kept")), (2, "x"))
        self.assert_one_line(err, "written over the recording")

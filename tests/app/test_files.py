import csv
import json
import os

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

import os
import xml.etree.ElementTree

from hosttest import TRACKER, HostTest, workspace


class Workspace(HostTest):
    def save(self, *arguments):
        """A workspace of one tracker, as --save writes it."""
        status, _, err = self.stream("--frames", "1", "--save", self.path("saved.xml"), *arguments)
        self.assertEqual(status, 0, err)
        os.remove(self.trace_file)
        return self.read("saved.xml")

    def two_trackers(self, algorithm=TRACKER, **parameters):
        """A workspace of the trackers "one", which may be another algorithm, and "two"."""
        first = (algorithm, {"hardwareDevice": "one", **parameters})
        return self.write("two.xml", workspace(first, (TRACKER, {"hardwareDevice": "two"})))

    def test_round_trip_keeps_every_byte(self):
        tool = self.write('t "<&>\' ä.rom', "")
        first = self.save(
            *("--set", r"hardwareDevice=\\.\COM12 <&> \"ä\" ", "--set", "measurementRate=2"),
            *("--set", "maxRange=3", "--tool", tool + "@2", "--tool", tool),
        )
        # What the running device has set up is in the file: it was written before the stop.
        self.assertIn("selectedInstrument", first)
        self.assertIn("maxRange", first)
        again = self.path("again.xml")
        status, _, err = self.run_host(
            *("run", self.path("saved.xml"), "--frames", "1", "--save", again)
        )
        self.assertEqual((status, err), (0, ""))
        self.assertEqual(self.read(again), first)
        self.assertEqual(sorted(os.listdir(self.folder))[:2], ["again.xml", "saved.xml"])

    def test_run_labels_the_streams_and_counts_each(self):
        frames = self.frames("run", self.two_trackers(), "--frames", "3")
        for label in ("Scripted", "Scripted 2"):
            indices = [frame["frame"] for frame in frames if frame["stream"] == label]
            self.assertEqual(indices, [0, 1, 2])
        self.assertEqual(len(frames), 6)
        trace = self.trace()
        for device in ("one", "two"):
            hooks = [line for line in trace if line.startswith(device)]
            self.assertEqual(
                [hook.split()[1] for hook in hooks], "open start stop close destroyed".split()
            )

    def test_one_failing_stream_leaves_the_others(self):
        file = self.two_trackers(canOpen="false")
        frames = self.frames("run", file, "--frames", "2", status=1)
        self.assertEqual([frame["stream"] for frame in frames], ["Scripted 2"] * 2)
        frames = self.frames("run", file, "--seconds", "0.1", status=1)
        self.assertNotEqual(frames, [])

    def test_blocks_that_are_not_understood_are_kept(self):
        for unknown in ("Elsewhere.Stream", "Scripted.Report", "Scripted.Unbuildable"):
            with self.subTest(unknown=unknown):
                saved = self.path("out.xml")
                arguments = ["run", self.two_trackers(unknown), "--frames", "1", "--save", saved]
                status, _, err = self.run_host(*arguments)
                self.assertEqual(status, 1)
                lines = [line for line in err.splitlines() if line.startswith("morvalin-host")]
                self.assert_one_line("\n".join(lines), unknown)
                text = self.read(saved)
                self.assertIn(unknown, text)
                self.assertIn('"one"', text)

    def test_older_names_are_converted(self):
        old = self.write("old.xml", workspace(("Scripted.OldTracker", {})))
        self.assertEqual(len(self.frames("run", old, "--frames", "1")), 1)

    def test_open_and_start_flags_survive(self):
        flags = {"open": "false", "autoStart": "1"}
        file = self.write("flags.xml", workspace((TRACKER, flags)))
        self.assertEqual(len(self.frames("run", file, "--frames", "1", "--save", file)), 1)
        self.assertEqual(self.trace().count("auto open"), 1)
        saved = self.read(file)
        self.assertIn('name="open" value="false"', saved)
        self.assertIn('name="autoStart" value="1"', saved)

    def test_command_line_adds_to_the_workspace(self):
        tools = [self.write("a.rom", ""), self.write("b.rom", "")]
        self.save("--tool", tools[0])
        self.frames(
            *("run", self.path("saved.xml"), "--frames", "1", "--tool", tools[1]),
            *("--set", "hardwareDevice=other"),
        )
        names = [line.split()[2] for line in self.trace() if line.startswith("other tool")]
        self.assertEqual(names, ["a.rom", "b.rom"])
        status, _, err = self.run_host("run", self.path("saved.xml"), "--set", "canOpen=perhaps")
        self.assertEqual(status, 2)
        self.assert_one_line(err, "canOpen=perhaps")

    def test_hostile_files(self):
        text = self.save()
        cases = [
            ("empty", ""),
            ("cut", text[: len(text) // 2]),
            ("binary", "\x00\x01\x02"),
            ("no algorithms", text.replace("Algorithms", "Other")),
            ("huge", text + " " * (17 << 20)),
        ]
        for name, content in cases:
            with self.subTest(name=name):
                status, out, err = self.run_host("run", self.write("hostile.xml", content))
                self.assertEqual((status, out), (3, ""))
                self.assert_one_line(err, "hostile.xml", "not a workspace")

    def test_save_that_fails_late_keeps_the_old_file(self):
        """The folder goes away while the stream runs."""
        os.makedirs(self.path("gone"))
        process = self.start("stream", TRACKER, "--json", "--save", self.path("gone/w.xml"))
        process.stdout.readline()
        os.rmdir(self.path("gone"))
        self.interrupt(process)
        status, _, err = self.finish(process)
        self.assertEqual(status, 1)
        self.assert_one_line(err.splitlines()[-1], "w.xml", "could not be saved")
        self.assertEqual(self.trace()[-5:-3], ["auto stop", "auto close"])

    def test_link_and_permissions(self):
        real = self.write("real.xml", "old")
        os.chmod(real, 0o640)
        os.symlink("real.xml", self.path("link.xml"))
        status, _, err = self.stream("--frames", "1", "--save", self.path("link.xml"))
        self.assertEqual(status, 0, err)
        self.assertTrue(os.path.islink(self.path("link.xml")))
        self.assertEqual(os.stat(real).st_mode & 0o777, 0o640)
        xml.etree.ElementTree.parse(real)

import os
import re
import xml.etree.ElementTree

from hosttest import ALGORITHMS, TEST_PLUGIN, VEGA, HostTest


class Workspace(HostTest):
    def test_round_trip_of_every_family_keeps_every_byte(self):
        odd = self.path('t "<&>\' ä \\ @.rom')
        os.rename(self.tool("610059"), odd)
        for family, algorithm in ALGORITHMS.items():
            with self.subTest(family=family):
                reach = self.simulate(family)
                if family == "vicra":  # a name of another kind
                    reach = [text.replace("COM3", r"\\.\COM12") for text in reach]
                first, again = self.path(family + ".xml"), self.path(family + "2.xml")
                # The Aurora's port 7 is where none of its tools is.
                tools = ["--tool", odd + ("@7" if family == "aurora" else "@1"), "--tool", odd]
                self.frames(
                    *("stream", algorithm, *reach, *tools[: 2 if family == "aurora" else 4]),
                    *("--set", "maxRange=1", "--frames", "1", "--save", first),
                )
                serial = reach[:2] if family != "vega" else []
                _, err = self.frames("run", first, *serial, "--frames", "1", "--save", again)
                text = self.read(first)
                self.assertEqual(text, self.read(again))
                # What the running device has set up is in the file; the tools lie beside it.
                self.assertRegex(text, 'name="selectedInstrument" value="[^"]')
                self.assertIn('name="maxRange" value="1"', text)
                self.assertIn('name="Path" value="t ', text)
                self.assertNotIn("] Host: ", err)
        self.assertEqual([name for name in os.listdir(self.folder) if ".tmp" in name], [])

    def test_run_labels_the_streams_and_counts_each(self):
        trackers = [self.block(), self.block(), self.block(hardwarePort=70000)]
        both = self.workspace("both.xml", *trackers[:2])
        frames, _ = self.frames("run", both, "--frames", "3")
        self.assertEqual(len(frames), 6)
        for label in ("NDI Polaris Tracking Stream", "NDI Polaris Tracking Stream 2"):
            numbers = [frame["frame"] for frame in frames if frame["stream"] == label]
            self.assertEqual(numbers, [0, 1, 2])
        # One that fails leaves the others.
        failing = self.workspace("failing.xml", trackers[2], trackers[0])
        for limit, count in (("--frames", "2"), ("--seconds", "0.1")):
            frames, _ = self.frames("run", failing, limit, count, status=1)
            self.assertEqual({frame["stream"] for frame in frames}, {label})

    def test_blocks_that_are_not_understood_are_kept(self):
        saved = self.path("out.xml")
        for unknown in ("Elsewhere.Stream", "Tests.first.Report", "Tests.first.Nothing"):
            with self.subTest(unknown=unknown):
                file = self.workspace("w.xml", (unknown, {"key": "one"}), self.block())
                limited = ["--frames", "1", "--save", saved, "--plugin", TEST_PLUGIN]
                status, _, err = self.run_host("run", file, *limited)
                self.assertEqual(status, 1)
                lines = [line for line in err.splitlines() if line.startswith("morvalin-host")]
                self.assert_one_line("\n".join(lines), unknown)
                text = self.read(saved)
                self.assertIn(unknown, text)
                self.assertIn('"one"', text)

    def test_saving_beside_a_tracker_that_is_off_loses_nothing(self):
        saved = self.path("saved.xml")
        arguments = ["stream", ALGORITHMS["vicra"], *self.simulate("vicra"), *self.tools("vicra")]
        self.frames(*arguments, "--frames", "1", "--set", "maxRange=1", "--save", saved)
        before = self.read(saved)
        off = ["--serial-port", "COM3=" + self.path("none")]
        self.assertEqual(self.run_host("run", saved, *off, "--save", saved)[0], 1)
        for key in ("maxRange", "selectedInstrument"):
            self.assertIn(re.search(f'name="{key}" value="[^"]+"', before)[0], self.read(saved))

    def test_workspaces_of_older_versions_open_and_stream(self):
        self.tools("vega")
        removed = ("startAfterInit", "blockingInit")
        for system_type, (family, algorithm) in enumerate(ALGORITHMS.items()):
            with self.subTest(family=family):
                old = self.workspace("old.xml", (
                    "NDITracking.PolarisAuroraTrackingStream",
                    {"systemType": system_type, **dict.fromkeys(removed, "true")},
                ))  # fmt: skip
                saved = self.path("new.xml")
                reach = self.simulate(family)
                files = [] if family == "aurora" else ["--tool", self.path("610059.rom")]
                frames, err = self.frames("run", old, *reach, *files, "--frames", "2", "--save", saved)
                self.assertEqual(len(frames), 2)
                for name in removed:
                    warning = f"[3] NDI: Parameter '{name}' was removed as it was not used anymore"
                    self.assertEqual(err.count(warning), 1, err)
                self.assertNotIn("] Host: ", err)
                self.assertIn(f'<block name="{algorithm}">', self.read(saved))

    def test_command_line_adds_to_the_workspace(self):
        tools = ["a.rom", "b.rom"]
        _, parameters = self.block()
        file = self.workspace("w.xml", (VEGA, {"open": "false", "autoStart": "1", **parameters}))
        limited = ["--frames", "1", "--save", file]
        for tool in tools:
            self.write(tool, "x")
            self.frames("run", file, "--tool", tool + "@3", *limited)
        text = self.read(file)
        self.assertEqual(re.findall(r'name="Path" value="([^"]+)"', text), tools)
        self.assertEqual(text.count('name="Port" value="3"'), 2)
        # Flags for the window stay.
        self.assertIn('name="open" value="false"', text)
        self.assertIn('name="autoStart" value="1"', text)
        status, _, err = self.run_host("run", file, "--set", "binaryQueryMode=perhaps")
        self.assertEqual(status, 2)
        self.assert_one_line(err, "binaryQueryMode=perhaps")

    def test_save_that_fails_late(self):
        """The folder goes away while the stream runs."""
        os.makedirs(self.path("gone"))
        gone = ["--save", self.path("gone/w.xml")]
        process = self.start_traced(*self.simulate(), *gone)
        process.stdout.readline()
        os.rmdir(self.path("gone"))
        process.terminate()
        status, _, err = self.finish(process)
        self.assertEqual(status, 1)
        self.assert_one_line(err.splitlines()[-1], "w.xml", "could not be saved")
        self.assertEqual(self.commands()[-1], "TSTOP:")

    def test_link_and_permissions(self):
        real = self.write("real.xml", "old")
        os.chmod(real, 0o640)
        os.symlink("real.xml", self.path("link.xml"))
        link = ["--save", self.path("link.xml")]
        self.frames("stream", VEGA, *self.simulate(), "--frames", "1", *link)
        self.assertTrue(os.path.islink(link[1]))
        self.assertEqual(os.stat(real).st_mode & 0o777, 0o640)
        xml.etree.ElementTree.parse(real)

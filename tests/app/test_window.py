import os
import unittest.mock

from hosttest import HostTest


class Window(HostTest):
    """The program's window on a display of Qt's own that nobody sees."""

    def setUp(self):
        super().setUp()
        self.use(QT_QPA_PLATFORM="offscreen")

    def use(self, **variables):
        patch = unittest.mock.patch.dict(os.environ, variables)
        patch.start()
        self.addCleanup(patch.stop)

    def test_refusals(self):
        w = self.workspace("w.xml", self.block())
        cases = [
            (2, ["--frames", "3"], ['"--frames"']),
            (2, ["--tool", w], ["--tool", "workspace"]),
            (2, [w, "--set", "hardwarePort=fast"], ["hardwarePort=fast", "whole number"]),
            (3, ["none.xml"], ["none.xml", "no such file"]),
        ]
        for expected, arguments, words in cases:
            with self.subTest(arguments=arguments):
                status, out, err = self.run_host("gui", *arguments)
                self.assertEqual((status, out), (expected, ""), err)
                self.assert_one_line(err, "morvalin-host: ", *words)

    def test_no_display(self):
        self.use(QT_QPA_PLATFORM="xcb", DISPLAY=":9999", WAYLAND_DISPLAY="")
        status, out, err = self.run_host("gui")
        self.assertEqual((status, out), (3, ""), err)
        self.assert_one_line(err, "morvalin-host: the window cannot be shown: ", ":9999")

    def test_a_signal_closes_the_streams_and_the_window(self):
        seen = self.path("seen")
        w = self.workspace("w.xml", self.block("--trace", seen, open=1, start=1, maxRange=0))
        process = self.start("gui", w, "--set", "maxRange=2", "--save", "out.xml")
        self.wait_until(lambda: os.path.exists(seen) and "BX" in self.read("seen"), "no frame")
        process.terminate()
        status, _, err = self.finish(process)
        self.assertEqual(status, 0, err)
        self.assertIn("[2] Host: stopping; waiting for NDI Polaris Tracking Stream (tracking, ", err)
        self.assertIn("TSTOP", self.read("seen"))
        self.assertIn('name="maxRange" value="2"', self.read("out.xml"))

    def test_a_stream_that_stands_still_is_told_with_its_devices_error(self):
        silent = self.block("--fault", "no-answer@BX#5-", open=1, start=1)
        process = self.start("gui", self.workspace("w.xml", silent))
        told = next(line for line in process.stderr if b"[3] Host: " in line)
        self.assertRegex(told, rb"Stream: no data for \d s: NDI Tracking System Error: 1024 ")
        process.terminate()
        self.finish(process)

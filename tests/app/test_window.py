import os
import signal
import unittest.mock

from hosttest import TRACKER, HostTest, workspace


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
        w = self.write("w.xml", workspace((TRACKER, {})))
        cases = [
            (2, ["--frames", "3"], ['"--frames"']),
            (2, ["--jsno"], ['"--jsno"']),
            (2, [w, "extra"], ["extra"]),
            (2, ["--set", "padding=3"], ["--set", "workspace"]),
            (2, ["--tool", w], ["--tool", "workspace"]),
            (2, [w, "--set", "measurementRate=fast"], ["measurementRate=fast", "whole number"]),
            (2, ["--log-level", "9"], ["--log-level"]),
            (3, [w, "--tool", "none.rom"], ["none.rom"]),
            (3, ["none.xml"], ["none.xml", "no such file"]),
            (3, ["--save", "no/such/w.xml"], ["w.xml", "folder does not exist"]),
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

    def test_signals_close_the_streams_and_the_window(self):
        w = self.write("w.xml", workspace((TRACKER, {"open": 1, "start": 1})))
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=number):
                process = self.start("gui", w, "--set", "hardwareDevice=seen", "--save", "out.xml")
                self.wait_for_trace("seen start")
                self.interrupt(process, number)
                self.assertEqual(self.finish(process)[0], 0)
                self.assertEqual(self.trace()[-5:-3], ["seen stop", "seen close"])
                self.assertIn('"seen"', self.read("out.xml"))
                os.remove(self.trace_file)

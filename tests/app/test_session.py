import os
import signal
import subprocess

from hosttest import TRACKER, HostTest

SHUTDOWN = ["auto stop", "auto close", "auto destroyed", "factory destroyed", "plugin destroyed"]


class Session(HostTest):
    def test_seconds_and_signals_end_a_run(self):
        for number in (None, signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(signal=number):
                limit = ["--seconds", "0.05"] if number is None else []
                process = self.start("stream", TRACKER, *limit, "--set", "silent=true")
                if number is not None:
                    self.wait_for_trace("auto start")
                    self.interrupt(process, number)
                status, out, err = self.finish(process)
                self.assertEqual((status, out), (0, ""), err)
                self.assertEqual(self.trace(), ["auto open", "auto start", *SHUTDOWN])
                os.remove(self.trace_file)

    def test_interrupt_while_opening_waits_for_the_hook_and_closes(self):
        process = self.start("stream", TRACKER, "--set", "gate=" + self.path("gate"))
        self.wait_for_trace("auto open")
        for _ in range(3):
            self.interrupt(process)
        self.assertIn(b"Asked to end", process.stderr.readline())
        self.interrupt(process)
        self.assertIsNone(process.poll())
        self.write("gate", "")
        status, _, err = self.finish(process)
        self.assertEqual(status, 0, err)
        self.assertEqual(self.trace(), ["auto open", *SHUTDOWN[1:]])

    def test_stream_that_fails(self):
        cases = [
            ("canOpen=false", "did not open", ["auto open"]),
            ("canStart=false", "did not start", ["auto open", "auto start", "auto close"]),
        ]
        for setting, words, hooks in cases:
            with self.subTest(setting=setting):
                status, out, err = self.stream("--set", setting, "--seconds", "100")
                self.assertEqual((status, out), (1, ""))
                self.assert_one_line(err, "morvalin-host: Scripted", words)
                self.assertEqual(self.trace(), [*hooks, *SHUTDOWN[2:]])
                os.remove(self.trace_file)
        status, _, err = self.run_host("stream", "Scripted.Unbuildable")
        self.assertEqual(status, 1)
        self.assertIn("out of trackers", err.splitlines()[0])
        self.assertIn("could not be created", err.splitlines()[-1])

    def test_reader_that_goes_away(self):
        """As with `| head`; afterwards the device is stopped and closed."""
        process = self.start("stream", TRACKER)
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertEqual(process.stderr.read(), b"")
        self.assertEqual(self.trace()[-5:], SHUTDOWN)

    def test_output_closed_from_the_beginning(self):
        """No file opened later may take the place of standard output or standard error."""
        process = self.start("stream", TRACKER, preexec_fn=lambda: (os.close(1), os.close(2)))
        status, _, _ = self.finish(process)
        self.assertEqual(status, 0)
        self.assertEqual(self.trace()[-5:], SHUTDOWN)

    def test_reader_that_stalls_does_not_hold_the_device(self):
        """The pipe fills up, then the user interrupts: the stream is closed all the same."""
        process = self.start("stream", TRACKER, "--json", "--set", "padding=200000")
        self.wait_for_trace("auto start")
        process.stdout.read(1)
        self.interrupt(process)
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertEqual(self.trace()[-5:], SHUTDOWN)

    def test_full_disk(self):
        with open("/dev/full", "wb") as full:
            process = self.start("stream", TRACKER, "--frames", "3", stdout=full)
            status, _, err = self.finish(process)
            self.assertEqual(status, 1)
            self.assert_one_line(err, "frames could not be written", "No space left")
            self.assertEqual(self.trace()[-5:], SHUTDOWN)

            status, _, err = self.run_host("list", stdout=full)
            self.assertEqual(status, 1)
            self.assert_one_line(err, "No space left")

    def test_log_level(self):
        for level, expected in (("3", True), ("4", False)):
            _, _, err = self.stream("--frames", "1", "--set", "odd=1", "--log-level", level)
            self.assertEqual("[3] Host: " in err, expected, err)

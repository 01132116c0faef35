import os
import signal
import time

from hosttest import TEST_PLUGIN, VEGA, HostTest, limit_files


class Session(HostTest):
    def test_seconds_and_signals_end_a_run(self):
        for number in (None, signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(signal=number):
                limit = ["--seconds", "0.3"] if number is None else []
                process = self.start_traced(*self.simulate(), *limit)
                if number is not None:
                    self.wait_for_command("TSTART")
                    process.send_signal(number)
                status, _, err = self.finish(process)
                self.assertEqual(status, 0, err)
                self.assertEqual(self.commands()[-1], "TSTOP:")
                os.remove(self.traffic)

    def test_interrupt_while_opening_waits_for_the_device_and_closes(self):
        process = self.start_traced(*self.simulate("vega", "--fault", "late=1500@INIT"))
        self.wait_for_command("INIT")
        process.send_signal(signal.SIGINT)
        self.assertTrue(any(b"] Host: stopping; waiting for NDI" in line for line in process.stderr))
        status, _, err = self.finish(process)
        self.assertEqual(status, 0, err)
        self.assertNotIn("TSTART:", self.commands())

    def test_stream_that_does_not_start(self):
        status, out, err = self.run_host("stream", "Tests.first.Stubborn", plugin=TEST_PLUGIN)
        self.assertEqual((status, out), (1, ""))
        self.assert_one_line(err, "morvalin-host: Stubborn: the stream did not start")

    def test_readable_frames_are_flushed(self):
        process = self.start_traced(*self.simulate(), "--tool", self.tool("610059"))
        for index in range(3):
            header = process.stdout.readline().decode()
            self.assertRegex(header, rf"^NDI Polaris Tracking Stream  frame {index}  .*strays 0$")
            self.assertRegex(process.stdout.readline().decode(), r"^  \* 610059 .* quality +0\.9")
        self.assertIsNone(process.poll())

    def test_reader_that_goes_away_or_was_never_there(self):
        """As with `| head`; afterwards the device is stopped and closed."""
        process = self.start_traced(*self.simulate())
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertEqual(self.commands()[-1], "TSTOP:")
        # No file opened later may take the place of standard output or standard error.
        closed = {"preexec_fn": lambda: (os.close(1), os.close(2))}
        self.assertEqual(self.finish(self.start_traced(*self.simulate(), **closed))[0], 0)
        self.assertEqual(self.commands()[-1], "TSTOP:")

    def test_reader_that_stalls_does_not_hold_the_device(self):
        """The pipe fills up, then the user interrupts: the stream is closed all the same."""
        process = self.start_traced(*self.simulate("vega", "--strays", "100"), "--json")
        self.wait_for_command("BX", 5)
        count = 0
        while count < len(self.commands()):  # until nothing more is asked of the device
            count = len(self.commands())
            time.sleep(0.5)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertEqual(self.commands()[-1], "TSTOP:")

    def test_full_disk(self):
        limited = {"preexec_fn": limit_files}
        with open(self.path("frames"), "wb") as full:
            process = self.start("stream", VEGA, *self.simulate(), stdout=full, **limited)
            status, _, err = self.finish(process)
            self.assertEqual(status, 1)
            self.assert_one_line(err.splitlines()[-1], "frames could not be written", "too large")
        with open(self.path("list"), "wb") as full:
            status, _, err = self.run_host("list", stdout=full, **limited)
            self.assertEqual(status, 1)
            self.assert_one_line(err, "too large")
        saved = self.write("w.xml", "old")
        end = ["--frames", "1", "--save", saved]
        status, _, err = self.finish(self.start_traced(*self.simulate(), *end, **limited))
        self.assertEqual(status, 1)
        self.assertIn(f"trace {self.traffic}: not complete", err)
        self.assertIn(f"could not be saved: {saved}: ", err)
        self.assertEqual(self.read("w.xml"), "old")
        self.assertEqual(sorted(os.listdir(self.folder)), ["frames", "list", "traffic", "w.xml"])

    def test_unknown_settings_are_passed_on_with_a_warning_that_is_logged_as_wanted(self):
        for level, expected in (("3", True), ("4", False)):
            odd = ["--set", "maxRnge=1", "--log-level", level, "--frames", "1"]
            status, _, err = self.finish(self.start_traced(*self.simulate(), *odd))
            self.assertEqual(status, 0, err)
            self.assertEqual("[3] Host: " in err and '"maxRange"' in err, expected, err)

"""Devices that fall silent, go away and come back; what the program says, and how it ends."""

import json
import os
import signal
import time

from hosttest import ALGORITHMS, PATIENCE, VEGA, VICRA, HostTest


class Outages(HostTest):
    def stream(self, family, *arguments, faults=()):
        """A run with one tool against a simulator that stays to be stopped or killed."""
        rules = [argument for fault in faults for argument in ("--fault", fault)]
        reach = self.simulate(family, *rules)
        tools = self.tools(family)[:2]
        return self.start("stream", ALGORITHMS[family], *reach, *tools, *arguments)

    def results(self, process, status):
        """Events and frames, each as a list of JSON objects, and standard error."""
        actual, out, err = self.finish(process)
        self.assertEqual(actual, status, err)
        objects = [json.loads(line) for line in out.splitlines()]
        events = [object for object in objects if next(iter(object)) == "event"]
        return events, [object for object in objects if "frame" in object], err

    def test_a_run_that_got_nothing_or_lost_its_device_is_not_done(self):
        cases = [
            ("vega", ["close@BX#20-"], "no data for the last "),
            ("vega", ["half-open@BX#20-"], "no data for the last "),
            ("vega", ["no-answer@BX"], "there was no data: NDI Tracking System Error: "),
            ("vega", ["half-open@PINIT"], "there was no data: NDI Tracking System Error: "),
            ("vicra", ["unplug@BX#5"], "no data for the last "),
            ("aurora", ["half-open@BX#5"], "no data for the last "),
            ("vega", ["close@CONNECT"], "there was no data"),
        ]
        limit = ["--seconds", "1.5"]
        processes = [(case, self.stream(case[0], *limit, faults=case[1])) for case in cases]
        for (family, faults, words), process in processes:
            with self.subTest(family=family, faults=faults):
                status, _, err = self.finish(process)
                self.assertEqual(status, 1, err)
                self.assertIn(words, err)
        self.assertEqual(self.finish(self.stream("vega", *limit, faults=["late=900@BX#9"]))[0], 0)

    def test_a_stall_is_told_once_and_ends_the_run_if_wanted(self):
        events = ["--json", "--events"]
        back = self.stream("vega", "--seconds", "8", *events, faults=["no-answer@BX#20-21"])
        ended = self.stream("vega", "--stall", "4", *events, faults=["half-open@BX#20"])
        asked = self.stream("vega", faults=["half-open@BX#20"])
        told, frames, err = self.results(back, 0)
        self.assertEqual([event["event"] for event in told][:3], ["opened", "stalled", "resumed"])
        self.assertEqual(told[3]["event"], "closed")
        self.assertGreaterEqual(told[1]["gap"], 3)
        self.assertGreater(told[2]["gap"], told[1]["gap"])
        self.assertIn("NDI Tracking System Error: 1024", told[1]["reason"])
        self.assertEqual([frame["frame"] for frame in frames], list(range(len(frames))))
        self.assertEqual(err.count("[3] Host: NDI Polaris Tracking Stream: no data for 3 s: "), 1)
        self.assertEqual(err.count("[2] Host: NDI Polaris Tracking Stream: data again after "), 1)

        told, _, err = self.results(ended, 4)
        self.assertEqual([event["event"] for event in told], ["opened", "stalled", "closed"])
        self.assertIn("Stream: ends the run, no data for 4 s", err)

        self.assertTrue(any(b": no data for 3 s" in line for line in asked.stderr))
        asked.send_signal(signal.SIGINT)
        status, _, err = self.finish(asked)
        self.assertEqual(status, 1)
        self.assertIn(": no data for the last ", err)

    def test_reconnect_brings_every_family_back(self):
        for family in ALGORITHMS:
            with self.subTest(family=family):
                main = "1-" if family == "aurora" else "610060"
                process = self.start_with_restarts(family)
                before = self.objects_until(process, "opened")
                self.restart(family, after=3)
                back = self.objects_until(process, "resumed")
                process.send_signal(signal.SIGINT)
                self.results(process, 0)
                names = [event["event"] for event in back if "event" in event]
                self.assertEqual(names[:3], ["stalled", "reconnecting", "closed"])
                self.assertEqual(names[-2:], ["opened", "resumed"])
                told = next(event for event in back if event.get("event") == "reconnecting")
                self.assertEqual(told["try"], 1)
                self.assertIn("no data for ", told["reason"])
                frames = [frame for frame in before + back if "frame" in frame]
                numbers = [frame["frame"] for frame in frames]
                self.assertEqual(numbers, list(range(len(frames))))
                self.assertTrue(frames[-1]["main"].startswith(main), frames[-1])

    @staticmethod
    def objects_until(process, event):
        """What the program prints up to that event and three objects more."""
        objects = []
        while not any(object.get("event") == event for object in objects[:-3]):
            objects.append(json.loads(process.stdout.readline()))
        return objects

    def start_with_restarts(self, family):
        reach = self.simulate(family)
        self.place = reach[-1].split("=")[1] if family == "vega" else self.path(family)
        chosen = [] if family == "aurora" else ["--set", "selectedInstrument=610060"]
        events = ["--json", "--events", "--reconnect", "1"]
        tools = self.tools(family)
        # Nothing that was printed may stay behind in this process when the rest is read.
        arguments = [*reach, *tools, *chosen, *events]
        return self.start("stream", ALGORITHMS[family], *arguments, bufsize=0)

    def restart(self, family, after):
        """The power of the device goes away, and comes back at the same place."""
        if family != "vega":
            os.remove(self.place)  # first: what it names may soon be another device's terminal
        self.simulators[-1].kill()
        self.simulators[-1].wait()
        time.sleep(after)
        self.simulate(family, place=self.place)

    def test_reconnect_keeps_to_limits_and_ends_at_once(self):
        nowhere = ["--set", "hardwareDevice=127.0.0.1", "--set", "hardwarePort=1"]
        never = ["stream", VEGA, *nowhere, "--json", "--events", "--reconnect"]
        limited = self.start(*never, "--seconds", "2")
        stalled = self.start(*never, "1", "--stall", "2")
        asked = self.start(*never)
        for process, status in ((limited, 1), (stalled, 4)):
            told, _, err = self.results(process, status)
            self.assertEqual([event["event"] for event in told[:2]], ["closed", "reconnecting"])
            self.assertIn("did not open: Connection could not be est", told[1]["reason"])
            self.assertIn("opening again in 1 s, try 1: did not open: ", err)
        self.assertTrue(any(b"again in 2 s, try 2" in line for line in asked.stderr))
        begin = time.monotonic()
        asked.send_signal(signal.SIGINT)
        self.assertEqual(self.finish(asked)[0], 1)
        self.assertLess(time.monotonic() - begin, PATIENCE)

    def test_a_tool_that_is_disabled_is_told(self):
        rule = ["--tool-state", "2:disabled:20-1000"]
        reach = self.simulate("vega", *rule)
        more = ["--json", "--events", "--frames", "60"]
        process = self.start("stream", VEGA, *reach, *self.tools("vega"), *more)
        events, frames, err = self.results(process, 0)
        tool = next(event for event in events if event["event"] == "tool")
        self.assertEqual([tool["id"], tool["name"], tool["active"]], ["610060", "610060.rom", False])
        self.assertEqual(err.count("[3] Host: NDI Polaris Tracking Stream: tool 610060 (610060"), 1)
        self.assertIn("disabled by the device", err)


class Endings(HostTest):
    def test_a_request_says_what_it_waits_for_and_a_second_one_ends_at_once(self):
        cases = [
            ("vega", VEGA, "half-open@INIT", r"\(opening, 127.0.0.1:\d+\), up to 2\d s"),
            ("vicra", VICRA, "half-open@INIT#2", r"\(opening, COM3\), up to 100 s"),
            ("vicra", VICRA, "half-open@BX#5-", r"\(tracking, COM3\), up to 15 s"),
        ]
        for family, algorithm, fault, words in cases:
            with self.subTest(fault=fault, family=family):
                reach = self.simulate(family, "--fault", fault)
                process = self.start("stream", algorithm, *reach, "--json", "--trace", self.traffic)
                self.wait_for_command("BX" if "BX" in fault else "INIT", 5 if "BX" in fault else 1)
                for _ in "12":  # together, as from programs that signal a process and its group
                    process.send_signal(signal.SIGINT)
                line = next(line for line in process.stderr if b"stopping" in line).decode()
                self.assertRegex(line, words)
                self.assertIn("press Ctrl-C again", line)
                process.send_signal(signal.SIGTERM)
                status, out, err = self.finish(process)
                self.assertEqual(status, 130)
                self.assertIn("morvalin-host: ended at once", err)
                self.assertTrue(all(json.loads(text) for text in out.splitlines()))
                os.remove(self.traffic)
                self.simulators[-1].terminate()
                self.simulators[-1].wait()

    def test_a_second_request_does_not_wait_for_readers(self):
        """Both pipes are full: nobody reads frames, nor the log."""
        reach = self.simulate("vega", "--strays", "100", "--fault", "half-open@BX#300-")
        process = self.start("stream", VEGA, *reach, "--json", "--log-level", "1")
        time.sleep(2)
        process.send_signal(signal.SIGINT)
        time.sleep(0.2)
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=PATIENCE), 130)

    def test_opening_says_what_it_waits_for(self):
        reach = self.simulate("vicra", "--fault", "half-open@INIT")
        process = self.start("stream", VICRA, *reach)
        wanted = b"[2] Host: opening NDI Polaris Tracking Stream: 5 s, waiting for COM3\n"
        self.assertTrue(any(line == wanted for line in process.stderr))

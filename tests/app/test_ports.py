"""What the program tells of serial ports. Every name stands for something in the test's folder, so
that no port of this machine is touched."""

import ctypes
import os

from hosttest import VICRA, HostTest

NAMES = [f"COM{n}" for n in range(1, 10)] + [rf"\\.\COM{n}" for n in range(10, 21)]


def keep_to_permissions():
    """For preexec_fn: modes of files count for the superuser, too."""
    drop_from_bounding_set = 24
    for capability in (1, 2):
        ctypes.CDLL(None).prctl(drop_from_bounding_set, capability, 0, 0, 0)


class Ports(HostTest):
    def places(self, **paths):
        """Options by which the names given stand for these paths, all others for none."""
        pairs = [f"{name}={paths.get(name, self.path('none'))}" for name in NAMES]
        return [part for pair in pairs for part in ("--serial-port", pair)]

    def serve(self, name, *arguments):
        """A simulator at a link of that name."""
        self.simulate("vicra", *arguments)
        os.rename(self.path("vicra"), self.path(name))
        return self.path(name)

    def ports(self, *arguments, **options):
        status, out, err = self.run_host("ports", *arguments, **options)
        self.assertEqual((status, err), (0, ""))
        rows = [line.split("\t") for line in out.splitlines()]
        self.assertEqual([row[0] for row in rows], NAMES)
        return {name: columns for name, *columns in rows}

    def test_every_condition_has_its_word(self):
        paths = {
            "COM2": self.write("text", "no terminal"),
            "COM3": self.folder,
            "COM4": self.serve("free"),
            "COM5": self.serve("silent", "--fault", "reply=NO@INIT", "--fault", "reply=NO@BREAK"),
            "COM6": self.serve("used"),
        }
        places = self.places(**paths)
        busy = self.start("stream", VICRA, *places, "--set", "hardwareDevice=COM6")
        self.assertIn(b"Connecting to COM6", busy.stderr.readline())
        busy.stdout.readline()
        for probe, free, silent in (
            ([], ["free", "free"], ["free", "free"]),
            (["--probe"], ["answers", "free, a measurement"], ["silent", "free, nothing answers"]),
        ):
            rows = self.ports(*places, *probe)
            expected = dict.fromkeys(NAMES, ["missing", "not there"])
            expected |= dict.fromkeys(["COM2", "COM3"], ["not-serial", "not a serial port"])
            used = f"in use by morvalin-host (process {busy.pid})"
            expected |= {"COM4": free, "COM5": silent, "COM6": ["in-use", used]}
            for name, (path, condition, words) in rows.items():
                self.assertEqual(path, paths.get(name, self.path("none")))
                self.assertEqual(condition, expected[name][0], words)
                self.assertTrue(words.startswith(expected[name][1]), words)
        self.assertIsNone(busy.poll())

        os.chmod(self.path("free"), 0o060)
        rows = self.ports(*places, preexec_fn=keep_to_permissions)
        self.assertEqual(rows["COM4"][1], "forbidden", rows)
        self.assertIn("no permission", rows["COM4"][2])

    def test_the_log_tells_why_a_port_cannot_be_opened(self):
        text = self.write("text", "no terminal")
        places = self.places(COM2=text)
        for device, line in (
            ("COM2", f"COM2 ({text}): not a serial port"),
            ("auto", f"COM2 ({text}): not a serial port"),
            ("COM7", f"COM7 ({self.path('none')}): not there"),
        ):
            found = ["--set", "hardwareDevice=" + device]
            status, _, err = self.run_host("stream", VICRA, *places, *found)
            self.assertEqual(status, 1)
            error, explanation, *rest = err.splitlines()
            self.assertTrue(error.startswith("[4] NDI: "), err)
            self.assertTrue(explanation.startswith("[2] NDI: " + line), err)
            self.assertFalse([more for more in rest if "NDI: " in more], err)

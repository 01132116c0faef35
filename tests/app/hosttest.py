"""Drives the real morvalin-host with the real plug-in and simulated measurement systems."""

import json
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

HOST = os.environ["MORVALIN_HOST"]
PLUGIN = os.environ["NDI_PLUGIN"]
TEST_PLUGIN = os.environ["TEST_PLUGIN"]
SIMULATOR = os.environ["NDI_SIMULATOR"]
ROOT = pathlib.Path(__file__).parents[2]

VICRA = "NDITracking.PolarisVicraTrackingStream"
VEGA = "NDITracking.PolarisVegaTrackingStream"
AURORA = "NDITracking.AuroraTrackingStream"
ALGORITHMS = {"vicra": VICRA, "vega": VEGA, "aurora": AURORA}

# Only guards against a hang.
PATIENCE = 60


def limit_files():
    """For preexec_fn: no file of the process may grow, as on a full disk."""
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (10, 10))


class HostTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="host app ä")
        self.addCleanup(shutil.rmtree, self.folder)
        self.traffic = self.path("traffic")
        self.simulators = []

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
        return self.path(name)

    def read(self, name):
        with open(self.path(name), encoding="utf-8") as file:
            return file.read()

    def workspace(self, name, *blocks):
        """A workspace file of algorithms, each given as its id and its parameters."""
        text = ""
        for algorithm, parameters in blocks:
            lines = [f'<parameter name="{key}" value="{parameters[key]}"/>' for key in parameters]
            text += f'<block name="{algorithm}">{"".join(lines)}</block>'
        text = f'<block name="Workspace"><block name="Algorithms">{text}</block></block>'
        return self.write(name, text)

    def simulate(self, family="vega", *arguments, place=None):
        """Starts a simulator, at that port or link; returns the settings with which the host reaches
        it."""
        default, option = ("0", "--listen") if family == "vega" else (self.path(family), "--pty")
        place = [option, place or default]
        plugged = ["--tool", "1:reference", "--tool", "2:probe"] if family == "aurora" else []
        process = subprocess.Popen(
            [SIMULATOR, "--family", family, *place, *plugged, *arguments],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        self.addCleanup(self.end, process)
        self.simulators.append(process)
        address = process.stdout.readline().decode().removeprefix("ready ").strip()
        if family == "vega":
            host, port = address.split(":")
            return ["--set", "hardwareDevice=" + host, "--set", "hardwarePort=" + port]
        return ["--serial-port", "COM3=" + address, "--set", "hardwareDevice=COM3"]

    def block(self, *simulator, **parameters):
        """A vega of its own for workspace()."""
        _, device, _, port = self.simulate("vega", *simulator)
        return VEGA, dict([device.split("="), port.split("=")], **parameters)

    def tool(self, part_number):
        target = self.path(part_number + ".rom")
        script = ROOT / "resources" / "tools" / "make_tool.py"
        subprocess.run([sys.executable, script, "--part-number", part_number, target], check=True)
        return target

    def tools(self, family):
        if family == "aurora":
            return []
        return ["--tool", self.tool("610059"), "--tool", self.tool("610060")]

    def start(self, *arguments, plugin=PLUGIN, stdout=subprocess.PIPE, **options):
        """Starts the program; --plugin comes behind the command, `plugin` None leaves it out."""
        chosen = ["--plugin", plugin] if plugin else []
        process = subprocess.Popen(
            [HOST, *arguments[:1], *chosen, *arguments[1:]],
            stdin=subprocess.DEVNULL,
            stdout=stdout,
            stderr=subprocess.PIPE,
            cwd=self.folder,
            **options,
        )
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.wait()
        for stream in (process.stdout, process.stderr):
            if stream:
                stream.close()

    def finish(self, process):
        """Exit status, standard output and standard error of a program that ends by itself."""
        out, err = process.communicate(timeout=PATIENCE)
        texts = [text.decode(errors="replace") for text in (out or b"", err)]
        return process.returncode, *texts

    def run_host(self, *arguments, **options):
        return self.finish(self.start(*arguments, **options))

    def frames(self, *arguments, status=0):
        """The JSON frames of a run that must end with that status, and its standard error."""
        actual, out, err = self.run_host(*arguments, "--json")
        self.assertEqual(actual, status, err)
        return [json.loads(line) for line in out.splitlines()], err

    def start_traced(self, *arguments, **options):
        """A vega that streams until it is told to end; what it is sent stands in commands()."""
        traced = ["stream", VEGA, *arguments, "--trace", self.traffic]
        return self.start(*traced, **options)

    def commands(self, trace=None):
        """What a --trace file says was sent, without CRC and carriage return."""
        trace = trace or self.traffic
        lines = self.read(trace).splitlines() if os.path.exists(trace) else []
        columns = [line.split("\t") for line in lines if line.count("\t") == 3]
        sent = [text.removesuffix("\\r") for _, _, sign, text in columns if sign == ">"]
        return [text[:-4] if ":" in text else text for text in sent]

    def wait_until(self, condition, what):
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, what)
            time.sleep(0.005)

    def wait_for_command(self, name, times=1):
        def is_sent():
            return sum(text.startswith(name) for text in self.commands()) >= times

        self.wait_until(is_sent, f"no {name} was sent")

    def assert_one_line(self, err, *words):
        """Standard error is one line that holds all the words."""
        self.assertEqual(len(err.splitlines()), 1, err)
        for word in words:
            self.assertIn(word, err)

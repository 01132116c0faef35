"""Drives the real morvalin-host with the scripted plug-in."""

import json
import os
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

HOST = os.environ["MORVALIN_HOST"]
PLUGIN = os.environ["SCRIPTED_PLUGIN"]
TRACKER = "Scripted.TrackerStream"

# Only guards against a hang.
PATIENCE = 60


def workspace(*blocks):
    """A workspace file of algorithms, each given as its id and its parameters."""
    text = ""
    for algorithm, parameters in blocks:
        lines = [f'<parameter name="{name}" value="{value}"/>' for name, value in parameters.items()]
        text += f'<block name="{algorithm}">{"".join(lines)}</block>'
    return f'<block name="Workspace"><block name="Algorithms">{text}</block></block>'


class HostTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="host app ä")
        self.addCleanup(shutil.rmtree, self.folder)
        self.trace_file = self.path("trace")

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
        return self.path(name)

    def read(self, name):
        with open(self.path(name), encoding="utf-8") as file:
            return file.read()

    def trace(self):
        """The lines that the hooks have left so far."""
        if not os.path.exists(self.trace_file):
            return []
        return self.read(self.trace_file).splitlines()

    def start(self, *arguments, plugin=PLUGIN, stdout=subprocess.PIPE, **options):
        """Starts the program; --plugin comes behind the command, `plugin` None leaves it out."""
        chosen = ["--plugin", plugin] if plugin else []
        process = subprocess.Popen(
            [HOST, *arguments[:1], *chosen, *arguments[1:]],
            stdin=subprocess.DEVNULL,
            stdout=stdout,
            stderr=subprocess.PIPE,
            env={**os.environ, "SCRIPTED_TRACE": self.trace_file},
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

    def stream(self, *arguments, **options):
        return self.run_host("stream", TRACKER, *arguments, **options)

    def frames(self, *arguments, status=0):
        """The JSON frames of a run that must end with that status."""
        actual, out, err = self.run_host(*arguments, "--json")
        self.assertEqual(actual, status, err)
        return [json.loads(line) for line in out.splitlines()]

    def wait_for(self, condition, what):
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, what)
            time.sleep(0.005)

    def wait_for_trace(self, line):
        self.wait_for(lambda: line in self.trace(), f"no {line!r} in the trace")

    def interrupt(self, process, signal_number=signal.SIGINT):
        os.kill(process.pid, signal_number)

    def assert_one_line(self, err, *words):
        """Standard error is one line that holds all the words."""
        self.assertEqual(len(err.splitlines()), 1, err)
        for word in words:
            self.assertIn(word, err)

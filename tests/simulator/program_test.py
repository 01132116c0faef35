"""Runs the built ndi-simulator as a user does: wrong usage, both connections, the trace, the end."""

import contextlib
import os
import re
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import termios
import unittest

PROGRAM = os.environ["NDI_SIMULATOR"]
GUARD = 30  # seconds, only against a hang
signal.signal(signal.SIGHUP, signal.SIG_DFL)  # whoever started the tests may ignore it


def crc(data):
    value = 0
    for byte in data:
        value ^= byte
        for _ in range(8):
            value = (value >> 1) ^ 0xA001 if value & 1 else value >> 1
    return value


def framed(text):
    return b"%s%04X\r" % (text, crc(text))


def limit_files():
    """For preexec_fn: no file of the process may grow, as on a full disk."""
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (10, 10))


def run(*arguments):
    return subprocess.run(
        [PROGRAM, *arguments], capture_output=True, text=True, timeout=GUARD, check=False
    )


@contextlib.contextmanager
def simulator(*arguments):
    """The program after its ready line, which becomes the attribute "ready"."""
    with subprocess.Popen([PROGRAM, *arguments], stdout=subprocess.PIPE, text=True) as process:
        process.ready = process.stdout.readline()
        try:
            yield process
        finally:
            process.kill()


def end(process, how=signal.SIGTERM):
    process.send_signal(how)
    rest, _ = process.communicate(timeout=GUARD)
    return process.returncode, rest


def connect(process):
    host, port = process.ready.split()[1].split(":")
    with socket.create_connection((host, int(port)), GUARD) as connection:
        return connection.makefile("rwb", buffering=0)


def ask(line, text, count=9):
    """A command and so many bytes of its reply."""
    line.write(framed(text))
    data = b""
    while len(data) < count and (got := line.read(count - len(data))):
        data += got
    return data


class Usage(unittest.TestCase):
    def check(self, arguments, status, expected):
        with self.subTest(arguments):
            result = run(*arguments.split())
            self.assertEqual((result.returncode, result.stdout), (status, ""))
            self.assertRegex(result.stderr, r"\Andi-simulator: [^\n]+\n\Z")
            self.assertIn(expected, result.stderr)

    def test_wrong_usage_is_one_line_and_status_2(self):
        for arguments, expected in (
            ("", "--family is required"),
            ("--family polar --listen 0", "polar"),
            ("--family vega --listen 0 --pty /tmp/x", "excludes"),
            ("--family vega --listen 0 --strays 256", "255"),
            ("--family aurora --listen 0 --strays 1", "vicra and vega only"),
            ("--family aurora --listen 0 --tool 1 --tool 1", "two tools"),
            ("--family vega --listen 0 --fault explode", "'explode'"),
            ("--family vega --listen 0 --fault-kinds late,x", "'x'"),
            ("--family vega --listen 0 --stale-link 5", "--pty"),
            ("--famly vega --listen 0", '"--famly"; did you mean "--family"'),
            ("--family vega --listen 0 --rate 0", "--rate 0"),
        ):
            self.check(arguments, 2, expected)

    def test_what_cannot_be_had_is_one_line_and_status_3(self):
        with socket.create_server(("127.0.0.1", 0)) as taken, tempfile.NamedTemporaryFile() as file:
            port = str(taken.getsockname()[1])
            self.check(f"--family vega --listen {port}", 3, port)
            self.check(f"--family vega --pty {file.name}", 3, file.name)
            os.symlink(file.name, link := file.name + ".link")  # a link, but to no terminal
            self.addCleanup(os.unlink, link)
            self.check(f"--family vega --pty {link}", 3, link)
            for place in ("--pty /nonexistent/port", "--listen 0 --trace /nonexistent/t"):
                self.check(f"--family vega {place}", 3, place.split()[-1])

    def test_help_is_in_the_documentation(self):
        result = run("--help")
        self.assertEqual(result.returncode, 0)
        with open(os.environ["SIMULATOR_DOCUMENT"], encoding="utf-8") as file:
            documented = set(re.findall(r"`(--[a-z-]+)", file.read()))
        self.assertEqual(set(re.findall(r"^  (?:-h,)?(--[a-z-]+)", result.stdout, re.M)), documented)


class Network(unittest.TestCase):
    def test_trace_and_end(self):
        with tempfile.NamedTemporaryFile() as trace:
            arguments = f"--family vega --listen 0 --trace {trace.name} --fault crc@TSTART"
            with simulator(*arguments.split()) as device, connect(device) as host:
                self.assertRegex(device.ready, r"\Aready 127\.0\.0\.1:\d+\n\Z")
                ask(host, b"INIT:")
                self.assertEqual(ask(host, b"TSTART:"), b"OKAYA897\r")
                ask(host, b"BX:0800", 11)
                status, rest = end(device, signal.SIGINT)
            self.assertEqual(status, 0)
            self.assertRegex(rest, r"\Adone 3 commands, 1 faults, frame \d+\n\Z")
            lines = trace.read().decode().splitlines()
        for line in lines:
            self.assertRegex(line, r"\A\d+\.\d{6} [<>!] .+\Z")
        self.assertEqual(
            [line.split(" ", 1)[1] for line in lines],
            [
                "! connected",
                r"> INIT:E3A5\r",
                r"< OKAYA896\r",
                "> TSTART:%04X\\r" % crc(b"TSTART:"),
                "! fault crc",
                r"< OKAYA897\r",
                "> BX:0800%04X\\r" % crc(b"BX:0800"),
                "< hex C4A503002DE30000000000",
            ],
        )

    def test_trace_that_is_cut_off_is_told_at_the_end(self):
        with tempfile.NamedTemporaryFile() as trace:
            process = subprocess.Popen(
                [PROGRAM, "--family", "vega", "--listen", "0", "--trace", trace.name],
                stdout=subprocess.PIPE,
                stderr=subprocess.PIPE,
                text=True,
                preexec_fn=limit_files,
            )
            with process:
                process.ready = process.stdout.readline()
                with connect(process) as host:
                    self.assertEqual(ask(host, b"INIT:"), b"OKAYA896\r")
                process.terminate()
                _, errors = process.communicate(timeout=GUARD)
            self.assertEqual(process.returncode, 1)
            self.assertRegex(errors, rf"\Andi-simulator: [^\n]*{trace.name}[^\n]*\n\Z")

    def test_a_client_that_does_not_read_is_disconnected(self):
        arguments = "--family vega --listen 0 --strays 200 --start-state tracking"
        with simulator(*arguments.split()) as device:
            with connect(device) as host, self.assertRaises(ConnectionError):
                while True:
                    host.write(framed(b"BX:1000") * 100)
            with connect(device) as host:  # the next one is served
                self.assertEqual(ask(host, b"TSTOP:"), b"OKAYA896\r")

    def test_same_seed_same_faults(self):
        def answers(seed):
            arguments = f"--family vega --listen 0 --fault-rate 0.5 --fault-kinds crc --seed {seed}"
            with simulator(*arguments.split()) as device, connect(device) as host:
                return [ask(host, b"INIT:") for _ in range(64)]

        self.assertEqual(answers(1), answers(1))
        self.assertNotEqual(answers(1), answers(2))


class Terminal(unittest.TestCase):
    def test_link_comes_and_goes(self):
        with tempfile.TemporaryDirectory() as folder:
            link = os.path.join(folder, "port")
            place = ["--family", "vicra", "--pty", link]
            with simulator(*place) as device:
                self.assertEqual(run(*place).returncode, 3)  # in use
                end(device, signal.SIGKILL)
            self.assertTrue(os.path.islink(link))  # left behind
            with simulator(*place, "--old-firmware") as device:
                self.assertEqual(device.ready, f"ready {link}\n")
                with open(link, "r+b", buffering=0) as port:
                    self.assertEqual(termios.tcgetattr(port)[4], termios.B9600)
                    self.assertEqual(ask(port, b"INIT:"), b"OKAYA896\r")
                    refusal = framed(b"ERROR01")
                    self.assertEqual(ask(port, b"GETINFO:Features.Firmware.Version", 12), refusal)
                    self.assertEqual(end(device, signal.SIGHUP)[0], 0)
                self.assertFalse(os.path.lexists(link))


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))

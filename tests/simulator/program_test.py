"""Runs the built ndi-simulator as a user does: wrong usage, both connections, the trace, the end."""

import math
import os
import re
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import unittest

PROGRAM = os.environ["NDI_SIMULATOR"]
GUARD = 30  # seconds, only against a hang


def crc(data):
    value = 0
    for byte in data:
        value ^= byte
        for _ in range(8):
            value = (value >> 1) ^ 0xA001 if value & 1 else value >> 1
    return value


def framed(text):
    return b"%s%04X\r" % (text, crc(text))


def run(*arguments):
    return subprocess.run(
        [PROGRAM, *arguments], capture_output=True, text=True, timeout=GUARD, check=False
    )


class Simulator:
    """The program, from its ready line to its end."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([PROGRAM, *arguments], stdout=subprocess.PIPE, text=True)
        self.ready = self.process.stdout.readline()

    @property
    def address(self):
        return self.ready.split()[1]

    def connect(self):
        host, port = self.address.split(":")
        return socket.create_connection((host, int(port)), GUARD)

    def end(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        rest, _ = self.process.communicate(timeout=GUARD)
        return self.process.returncode, rest

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.communicate()


def read_reply(connection):
    data = b""
    while not data.endswith(b"\r"):
        got = connection.recv(1)
        if not got:
            break
        data += got
    return data


def ask(connection, text):
    connection.sendall(framed(text))
    return read_reply(connection)


def read_port(port, count):
    data = b""
    while len(data) < count:
        data += port.read(count - len(data))
    return data


def read_binary(connection):
    data = b""
    while len(data) < 4 or len(data) < 8 + struct.unpack_from("<H", data, 2)[0]:
        got = connection.recv(4096)
        if not got:
            break
        data += got
    return data


class Usage(unittest.TestCase):
    def test_wrong_usage_is_one_line_and_status_2(self):
        for arguments, expected in (
            ("", "--family is required"),
            ("--family polar --listen 0", "polar"),
            ("--family vega", "one of --listen and --pty"),
            ("--family vega --listen 65536", "65536"),
            ("--family vega --listen x", "x"),
            ("--family vega --listen 0 --pty /tmp/x", "excludes"),
            ("--family vega --listen 0 --bogus", "--bogus"),
            ("--family vega --listen 0 --strays -1", "-1"),
            ("--family vega --listen 0 --strays 256", "255"),
            ("--family aurora --listen 0 --strays 1", "vicra and vega only"),
            ("--family vega --listen 0 --tool 1", "aurora only"),
            ("--family aurora --listen 0 --tool 1 --tool 1", "two tools"),
            ("--family aurora --listen 0 --tool 1:x", "'x'"),
            ("--family vega --listen 0 --rate 251", "250"),
            ("--family vega --listen 0 --volume cube:1", "'cube:1'"),
            ("--family vega --listen 0 --tool-state 1:gone", "'gone'"),
            ("--family vega --listen 0 --fault explode", "'explode'"),
            ("--family vega --listen 0 --fault-rate 2", "2"),
            ("--family vega --listen 0 --fault-kinds late,x", "'x'"),
            ("--family vega --listen 0 --stale-link 5", "--pty"),
            ("--family vega --pty /tmp/x --stale-link 9", "'9'"),
            ("--family vega --listen 0 --start-state off", "off"),
        ):
            with self.subTest(arguments):
                result = run(*arguments.split())
                self.assertEqual(result.returncode, 2, result)
                self.assertEqual(result.stdout, "")
                self.assertRegex(result.stderr, r"\Andi-simulator: [^\n]+\n\Z")
                self.assertIn(expected, result.stderr)

    def test_what_cannot_be_had_is_one_line_and_status_3(self):
        with socket.create_server(("127.0.0.1", 0)) as taken, tempfile.NamedTemporaryFile() as file:
            port = str(taken.getsockname()[1])
            for arguments, expected in (
                (("--listen", port), port),
                (("--pty", "/nonexistent/port"), "/nonexistent/port"),
                (("--pty", file.name), file.name),
                (("--listen", "0", "--trace", "/nonexistent/t"), "/nonexistent/t"),
            ):
                with self.subTest(arguments):
                    result = run("--family", "vega", *arguments)
                    self.assertEqual(result.returncode, 3, result)
                    self.assertEqual(result.stdout, "")
                    self.assertRegex(result.stderr, r"\Andi-simulator: [^\n]+\n\Z")
                    self.assertIn(expected, result.stderr)

    def test_help_is_in_the_documentation(self):
        result = run("--help")
        self.assertEqual(result.returncode, 0)
        with open(os.environ["SIMULATOR_DOCUMENT"], encoding="utf-8") as file:
            documented = set(re.findall(r"`(--[a-z-]+)", file.read()))
        self.assertEqual(set(re.findall(r"^  (?:-h,)?(--[a-z-]+)", result.stdout, re.M)), documented)


class Network(unittest.TestCase):
    def test_poses_follow_the_documented_path(self):
        with Simulator(*"--family aurora --listen 0 --tool 2 --tool 7 --rate 250".split()) as device:
            with device.connect() as host:
                for text in (b"INIT:", b"PINIT:0B", b"PENA:0BD", b"PINIT:10", b"PENA:10D", b"TSTART:"):
                    self.assertEqual(ask(host, text), b"OKAYA896\r")
                for _ in range(20):
                    host.sendall(framed(b"BX:0801"))
                    reply = read_binary(host)
                    self.assertEqual(reply[6], 2)
                    for section, place in ((0, 2), (1, 7)):
                        self.check_tool(reply[7 + 42 * section :], place)

    def check_tool(self, section, place):
        handle, status = section[:2]
        values = struct.unpack_from("<8fII", section, 2)
        frame = values[9]
        self.assertEqual((handle, status, values[8]), (9 + place, 1, 0x31))
        a = 2 * math.pi * ((frame + 37 * place) % 1000) / 1000
        rotation = (1, 0.5 * math.cos(a), 0.5 * math.sin(a), 0.04 * place - 0.5)
        length = math.sqrt(sum(part * part for part in rotation))
        expected = [part / length for part in rotation] + [
            100 * math.cos(a),
            100 * math.sin(a),
            -100 - 15 * place + 4 * math.sin(2 * a),
            0.25 + 0.15 * math.sin(3 * a),
        ]
        for value, wanted in zip(values, expected):
            self.assertAlmostEqual(value, wanted, delta=1e-4)

    def test_trace_and_end(self):
        with tempfile.TemporaryDirectory() as folder:
            trace = os.path.join(folder, "trace.txt")
            arguments = f"--family vega --listen 0 --trace {trace} --fault crc@TSTART --seed 7"
            with Simulator(*arguments.split()) as device:
                self.assertRegex(device.ready, r"\Aready 127\.0\.0\.1:\d+\n\Z")
                with device.connect() as host:
                    ask(host, b"INIT:")
                    self.assertEqual(ask(host, b"TSTART:"), b"OKAYA897\r")
                    host.sendall(b"BX 0800\r")
                    read_binary(host)
                    status, rest = device.end(signal.SIGINT)
            self.assertEqual(status, 0)
            self.assertRegex(rest, r"\Adone 3 commands, 1 faults, frame \d+\n\Z")
            with open(trace, encoding="utf-8") as file:
                lines = file.read().splitlines()
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
                r"> BX 0800\r",
                "< hex C4A503002DE30000000000",
            ],
        )

    def test_same_seed_same_faults(self):
        def answers(seed):
            arguments = f"--family vega --listen 0 --fault-rate 0.5 --fault-kinds crc --seed {seed}"
            with Simulator(*arguments.split()) as device, device.connect() as host:
                return [ask(host, b"INIT:") for _ in range(64)]

        self.assertEqual(answers(1), answers(1))
        self.assertNotEqual(answers(1), answers(2))


class Terminal(unittest.TestCase):
    def test_link_comes_and_goes(self):
        with tempfile.TemporaryDirectory() as folder:
            link = os.path.join(folder, "port")
            with Simulator("--family", "vicra", "--pty", link, "--old-firmware") as device:
                self.assertEqual(device.ready, f"ready {link}\n")
                with open(link, "r+b", buffering=0) as port:
                    settings = termios.tcgetattr(port)
                    self.assertEqual(settings[4], termios.B9600)
                    port.write(framed(b"INIT:"))
                    self.assertEqual(read_port(port, 9), b"OKAYA896\r")
                    port.write(framed(b"GETINFO:Features.Firmware.Version"))
                    self.assertEqual(read_port(port, 12), framed(b"ERROR01"))
                    self.assertEqual(device.end()[0], 0)
                self.assertFalse(os.path.lexists(link))


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))

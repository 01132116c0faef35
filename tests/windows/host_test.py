"""Drives the Windows host under Wine: the plug-in, loaded as a user's host loads it, streams from the
simulator, and every pose is compared with the path on which the simulator moves its tools."""

import os
import re
import subprocess
import sys
import tempfile
import unittest

from with_device import com_name, ports_folder, windows_path

HOST = os.environ["MORVALIN_HOST"]
NATIVE_SIMULATOR = os.environ["MORVALIN_NATIVE_SIMULATOR"]
RUN_IN_WINE = os.environ["MORVALIN_RUN_IN_WINE"]
SOURCES = os.environ["MORVALIN_SOURCES"]

VEGA = "NDITracking.PolarisVegaTrackingStream"
AURORA = "NDITracking.AuroraTrackingStream"
PATIENCE = 120  # only guards against a hang


class WindowsHost(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="windows host ä ")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def tool(self, part_number):
        file = self.path(f"目标 {part_number}.rom")
        script = os.path.join(SOURCES, "resources", "tools", "make_tool.py")
        subprocess.run([sys.executable, script, "--part-number", part_number, file], check=True)
        return windows_path(file)

    def start_device(self, *arguments):
        """Starts a simulator and gives its address."""
        device = subprocess.Popen([NATIVE_SIMULATOR, *arguments], stdout=subprocess.PIPE, text=True)
        self.addCleanup(device.stdout.close)
        self.addCleanup(device.wait)
        self.addCleanup(device.terminate)
        ready = device.stdout.readline().split()
        self.assertEqual(ready[:1], ["ready"])
        return ready[1]

    def run_host(self, *arguments):
        done = subprocess.run(
            [RUN_IN_WINE, HOST, *arguments],
            stdin=subprocess.DEVNULL,
            capture_output=True,
            timeout=PATIENCE,
        )
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def assert_on_path(self, frames, tools):
        script = os.path.join(SOURCES, "scripts", "demo_poses.py")
        checked = subprocess.run(
            [sys.executable, script, "--family", "vega", "--tools", str(tools), "--every", "1000"],
            input=frames,
            capture_output=True,
            text=True,
        )
        self.assertEqual(checked.returncode, 0, checked.stdout + checked.stderr)

    def stream_vega(self, address, *arguments):
        device, port = address.split(":")
        status, frames, errors = self.run_host(
            "stream", VEGA, "--json", "--frames", "50",
            "--set", "hardwareDevice=" + device, "--set", "hardwarePort=" + port,
            "--tool", self.tool("610059"), "--tool", self.tool("610060"), *arguments,
        )  # fmt: skip
        self.assertEqual(status, 0, errors)
        self.assertEqual(len(frames.splitlines()), 50)
        self.assert_on_path(frames, 2)

    def test_streams_and_streams_again_from_the_saved_workspace(self):
        trace = self.path("trace")
        address = self.start_device(
            "--family", "vega", "--listen", "0", "--strays", "3", "--trace", trace
        )
        workspace = self.path("saved.xml")
        self.stream_vega(address, "--save", windows_path(workspace))
        for algorithm in (VEGA, AURORA, "NDITracking.PolarisVicraTrackingStream"):
            self.assertIn(algorithm + "\t", self.run_host("list")[1])
        status, frames, errors = self.run_host(
            "run", windows_path(workspace), "--json", "--frames", "50"
        )
        self.assertEqual(status, 0, errors)
        self.assert_on_path(frames, 2)
        with open(trace, encoding="utf-8", errors="replace") as file:
            text = file.read()
        self.assertEqual(len(re.findall("TSTART", text)), 2)
        self.assertEqual(len(re.findall("TSTOP", text)), 2)

    def test_refuses_what_is_no_device_and_no_plugin(self):
        link = os.path.join(ports_folder(), "COM8")
        if os.path.islink(link):
            os.remove(link)
        self.start_device("--family", "aurora", "--pty", link, "--tool", "1:probe")
        for name in (com_name(8), "COM9", com_name(19)):
            status, frames, errors = self.run_host(
                "stream", AURORA, "--json", "--frames", "1", "--set", "hardwareDevice=" + name
            )
            self.assertEqual((status, frames), (1, ""), name)
            self.assertNotEqual(errors, "")

        no_plugin = self.path("no plugin.dll")
        with open(no_plugin, "w", encoding="utf-8") as file:
            file.write("text")
        for file in (windows_path(no_plugin), "Z:\\missing.dll", "C:\\windows\\system32\\ntdll.dll"):
            status, _, errors = self.run_host("list", "--plugin", file)
            self.assertEqual(status, 3, errors)
            self.assertEqual(len(errors.splitlines()), 1, errors)


if __name__ == "__main__":
    unittest.main()

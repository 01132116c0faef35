import os
import shutil
import socket
import subprocess

from hosttest import AURORA, HOST, PLUGIN, TEST_PLUGIN, VEGA, VICRA, HostTest


class CommandLine(HostTest):
    def nowhere(self):
        """A stream that finds no device even if it is opened by mistake."""
        reach = ["--serial-port", "COM3=" + self.path("none"), "--set", "hardwareDevice=COM3"]
        return ["stream", VICRA, *reach]

    def test_list_and_help(self):
        status, out, err = self.run_host("list")
        self.assertEqual((status, err), (0, ""))
        expected = [
            f"{VEGA}\tPolaris Vega/Lyra\tIO;NDI Tracking;Polaris Vega/Lyra",
            f"{VICRA}\tPolaris Vicra/Spectra\tIO;NDI Tracking;Polaris Vicra/Spectra",
            f"{AURORA}\tAurora\tIO;NDI Tracking;Aurora",
        ]
        self.assertEqual(out.splitlines(), expected)
        for arguments in (["--help"], ["run", "--help"]):
            status, out, err = self.run_host(*arguments, plugin=None)
            self.assertEqual((status, err), (0, ""), arguments)
            self.assertIn("Exit status", out)

    def test_wrong_usage(self):
        stream = self.nowhere()
        cases = [
            ([], ["command", "list"]),
            (["strem", VEGA], ["strem", '"stream"']),
            (["run"], ["WORKSPACE"]),
            ([*stream, "--frmaes", "3"], ['"--frmaes"', '"--frames"']),
            ([*stream, "extra"], ["extra"]),
            ([*stream, "--frames", "--json"], ["--frames"]),
            ([*stream, "--frames", "0"], ["--frames", "above 0"]),
            ([*stream, "--frames=1.5"], ["--frames", "1.5"]),
            ([*stream, "--seconds=nan"], ["--seconds", "above 0"]),
            ([*stream, "--reconnect", "0"], ["--reconnect", "above 0"]),
            ([*stream, "--reconnect", "extra"], ['"extra"']),
            ([*stream, "--events"], ["--events needs --json"]),
            ([*stream, "--log-level", "5"], ["--log-level", "5"]),
            ([*stream, "--set", "=3"], ["=3", "KEY=VALUE"]),
            ([*stream, "--serial-port", "COM3"], ["COM3", "NAME=PATH"]),
            ([*stream, "--serial-port", "com3=x"], ['"com3"', 'mean "COM3"']),
            ([*stream, "--serial-port", "COM12=x"], [r'mean "\\.\COM12"']),
            ([*stream, "--serial-port", "/tmp/x=COM3"], [r"they are COM1 to \\.\COM20"]),
            ([*stream, "--tool", "a.rom@99999999999"], ["a.rom", "port"]),
            (["stream", "ndiTracking.auroratrackingstream"], [f'"{AURORA}"']),
            (["stream", "Nothing.Alike.AtAll"], [f"{VEGA}, {VICRA}"]),
            (["stream", "Tests.first.Report", "--plugin", TEST_PLUGIN], ["no stream"]),
            ([*stream, "--set", "measurementRate=fast"], ["measurementRate=fast", "whole number"]),
            ([*stream, "--set", "measurementRate=8"], ["from 0 to 7", "9600, 14400, "]),
            ([*stream, "--set", "binaryQueryMode=yes"], ["Mode=yes", "true or false"]),
            ([*stream, "--set", "maxRange=-1"], ["maxRange=-1"]),
        ]
        for arguments, words in cases:
            with self.subTest(arguments=arguments):
                plugin = PLUGIN if len(arguments) > 1 else None
                status, out, err = self.run_host(*arguments, plugin=plugin)
                self.assertEqual((status, out), (2, ""))
                self.assert_one_line(err, "morvalin-host: ", *words)

    def test_files_that_cannot_be_used(self):
        text = self.write("text.so", "not a library")
        node = self.path("node")  # must not be replaced by a file
        with socket.socket(socket.AF_UNIX) as listener:
            os.chdir(self.folder)  # the names of sockets are short
            listener.bind("node")
        stream = self.nowhere()
        cases = [
            ([*stream, "--tool", self.path("none.rom")], ["none.rom", "No such file"]),
            ([*stream, "--tool", self.folder + "@3"], [self.folder, "folder"]),
            ([*stream, "--save", self.path("no/such/w.xml")], ["w.xml", "folder does not exist"]),
            ([*stream, "--save", "w" * 300], ["w" * 300 + ": "]),
            ([*stream, "--save", self.folder], ["is a folder"]),
            ([*stream, "--save", node], [node, "not a plain file"]),
            ([*stream, "--plugin", self.path("none.so")], ["none.so", "no such file"]),
            ([*stream, "--dump", self.path("none/file")], ["none/file"]),
            ([*stream, "--trace", self.path("none/file")], ["none/file"]),
            (["list", "--plugin", PLUGIN], ["Morvalin.NDI", "already loaded"]),
            (["run", self.path("none.xml")], ["none.xml", "no such file"]),
            (["run", self.folder], [self.folder, "is a folder"]),
            (["run", text], ["text.so", "not a workspace"]),
            (["run", self.write("a.xml", "<block name=''/>")], ["a.xml", "not a workspace"]),
            (
                ["run", self.write("c.xml", '<block name="W"><block name="Algorithms"/></block>')],
                ["c.xml", "not a workspace", '"W"'],
            ),
            (["run", self.write("b.xml", " " * (17 << 20))], ["b.xml", "not a workspace"]),
        ]
        for arguments, words in cases:
            with self.subTest(arguments=arguments):
                status, out, err = self.run_host(*arguments)
                self.assertEqual((status, out), (3, ""), err)
                self.assert_one_line(err, "morvalin-host: ", *words)
        self.assertFalse(os.path.isfile(node))

    def test_default_plugins_and_version(self):
        """Without --plugin the program looks beside the folder it stands in."""
        alone = self.path("bin/morvalin-host")

        def version():
            done = subprocess.run([alone, "--version"], capture_output=True, text=True, timeout=60)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            first, *rest = done.stdout.splitlines()
            self.assertRegex(first, r"^morvalin-host \d+\.\d+\.\d+( \(.+\))?, build type \w+, Qt 5")
            return rest

        os.makedirs(self.path("bin"))
        shutil.copy(HOST, alone)
        done = subprocess.run([alone, "list"], capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stdout), (3, ""))
        self.assert_one_line(done.stderr, os.path.join(self.folder, "plugins"), "--plugin")
        self.assert_one_line("\n".join(version()), "there is no plug-in")

        os.makedirs(self.path("plugins"))
        os.symlink(PLUGIN, self.path("plugins/b.so"))
        self.write("plugins/readme.txt", "not a plug-in")
        done = subprocess.run([alone, "list"], capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn(VEGA, done.stdout)
        cut = self.path("plugins/a.so")
        with open(PLUGIN, "rb") as whole, open(cut, "wb") as part:
            part.write(whole.read()[:100000])
        refused, loaded = version()
        self.assertIn(f"not loaded: {cut}: not a loadable library: the file ends too early", refused)
        self.assertEqual(loaded, "plug-in Morvalin.NDI: " + self.path("plugins/b.so"))

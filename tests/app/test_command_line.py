import os
import shutil
import subprocess

from hosttest import HOST, PLUGIN, TRACKER, HostTest


class CommandLine(HostTest):
    def test_list(self):
        status, out, err = self.run_host("list")
        self.assertEqual((status, err), (0, ""))
        self.assertEqual(
            out.splitlines(),
            [
                "Scripted.TrackerStream\tTracker\tIO;Scripted;Tracker",
                "Scripted.Unbuildable\tUnbuildable\tIO;Scripted;Unbuildable",
                "Scripted.Report\tReport\tReports;Report",
            ],
        )

    def test_help_names_every_option(self):
        for arguments in (["--help"], ["stream", "--help"], ["run", "--help"]):
            status, out, err = self.run_host(*arguments, plugin=None)
            self.assertEqual((status, err), (0, ""), arguments)
        for option in (
            "--plugin --set --tool --serial-port --frames --seconds --json --save --log-level"
        ).split():
            self.assertIn(option, out)
        self.assertIn("Exit status", out)

    def test_wrong_usage(self):
        stream = ["stream", TRACKER]
        cases = [
            ([], ["command", "list"]),
            (["strem", TRACKER], ["strem", '"stream"']),
            (["stream"], ["ALGORITHM-ID"]),
            (["run"], ["WORKSPACE"]),
            ([*stream, "--frmaes", "3"], ['"--frmaes"', '"--frames"']),
            ([*stream, "--jsno"], ['"--json"']),
            ([*stream, "extra"], ["extra"]),
            ([*stream, "--frames"], ["--frames"]),
            ([*stream, "--frames", "0"], ["--frames", "above 0"]),
            ([*stream, "--frames", "-1"], ["--frames"]),
            ([*stream, "--frames=1.5"], ["--frames", "1.5"]),
            ([*stream, "--frames="], ["--frames"]),
            ([*stream, "--frames=99999999999999999999"], ["--frames"]),
            ([*stream, "--seconds=nan"], ["--seconds", "above 0"]),
            ([*stream, "--seconds=inf"], ["--seconds"]),
            ([*stream, "--seconds=-2"], ["--seconds"]),
            ([*stream, "--seconds=1s"], ["--seconds", "1s"]),
            ([*stream, "--log-level", "5"], ["--log-level", "5"]),
            ([*stream, "--save="], ["--save"]),
            ([*stream, "--set", "rate"], ["rate", "KEY=VALUE"]),
            ([*stream, "--set", "=3"], ["=3", "KEY=VALUE"]),
            ([*stream, "--serial-port", "COM3"], ["COM3", "NAME=PATH"]),
            ([*stream, "--serial-port", "COM3="], ["COM3", "empty"]),
            ([*stream, "--tool", "a.rom@99999999999"], ["a.rom", "port"]),
            ([*stream, "--tool", "@2"], ["@2", "empty"]),
            (["stream", "Scripted.Trackerstream"], ['"Scripted.TrackerStream"']),
            (["stream", "tracker"], ['"Scripted.TrackerStream"']),
            (["stream", "Nothing.Alike.AtAll"], ["Scripted.TrackerStream, Scripted.Unbuildable"]),
            (["stream", "Scripted.Report"], ["Scripted.Report", "no stream"]),
            ([*stream, "--set", "measurementRate=fast"], ["measurementRate=fast", "whole number"]),
            ([*stream, "--set", "measurementRate=3"], ["from 0 to 2", "slow, medium, fast"]),
            ([*stream, "--set", "measurementRate=-1"], ["from 0 to 2"]),
            ([*stream, "--set", "measurementRate="], ["whole number"]),
            ([*stream, "--set", "padding=4294967296"], ["padding", "whole number"]),
            ([*stream, "--set", "canOpen=yes"], ["canOpen=yes", "true or false"]),
            ([*stream, "--set", "maxRange=far"], ["maxRange=far", "whole number"]),
            ([*stream, "--set", "maxRange=-1"], ["maxRange=-1"]),
        ]
        for arguments, words in cases:
            with self.subTest(arguments=arguments):
                plugin = PLUGIN if len(arguments) > 1 else None
                status, out, err = self.run_host(*arguments, plugin=plugin)
                self.assertEqual((status, out), (2, ""))
                self.assert_one_line(err, "morvalin-host: ", *words)
        self.assertNotIn("auto open", self.trace())

    def test_files_that_cannot_be_used(self):
        text = self.write("text.so", "not a library")
        stream = ["stream", TRACKER]
        cases = [
            ([*stream, "--tool", self.path("none.rom")], ["none.rom", "No such file"]),
            ([*stream, "--tool", self.folder + "@3"], [self.folder, "folder"]),
            ([*stream, "--save", self.path("no/such/w.xml")], ["w.xml", "folder does not exist"]),
            ([*stream, "--save", os.path.join(text, "w.xml")], ["w.xml", "folder does not exist"]),
            ([*stream, "--save", "/proc/w.xml"], ["/proc/w.xml"]),
            ([*stream, "--save", self.folder], ["is a folder"]),
            ([*stream, "--save", "/dev/null"], ["/dev/null", "not a plain file"]),
            ([*stream, "--plugin", self.path("none.so")], ["none.so", "no such file"]),
            (["list", "--plugin", text], ["text.so", "not a loadable library"]),
            (["list", "--plugin", PLUGIN], ["Tests.Scripted", "already loaded"]),
            (["run", self.path("none.xml")], ["none.xml", "no such file"]),
            (["run", self.folder], [self.folder, "is a folder"]),
            (["run", text], ["text.so", "not a workspace"]),
        ]
        for arguments, words in cases:
            with self.subTest(arguments=arguments):
                status, out, err = self.run_host(*arguments)
                self.assertEqual((status, out), (3, ""), err)
                self.assert_one_line(err, "morvalin-host: ", *words)
        self.assertNotIn("auto open", self.trace())
        self.assertTrue(os.path.exists("/dev/null"))

    def test_no_default_plugin(self):
        """Without --plugin the program looks beside the folder it stands in."""
        alone = self.path("bin/morvalin-host")
        os.makedirs(self.path("bin"))
        shutil.copy(HOST, alone)
        done = subprocess.run([alone, "list"], capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stdout), (3, ""))
        self.assert_one_line(done.stderr, os.path.join(self.folder, "plugins"), "--plugin")

        os.makedirs(self.path("plugins"))
        os.symlink(PLUGIN, self.path("plugins/b.so"))
        self.write("plugins/readme.txt", "not a plug-in")
        done = subprocess.run([alone, "list"], capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn(TRACKER, done.stdout)

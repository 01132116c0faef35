"""What a workspace says is checked like what the command line says, and explained."""

import json
import os
import re
import shutil
import socket

from hosttest import ALGORITHMS, AURORA, PLUGIN, ROOT, VEGA, VICRA, HostTest


def setting(key, value):
    return f'<parameter name="{key}" value="{value}"/>'


def tools(*paths, extra=""):
    blocks = [f'<block name="t">{setting("Path", path)}{extra}</block>' for path in paths]
    return f'<block name="TrackingTargets">{"".join(blocks)}</block>'


def own_lines(err):
    """What the program itself says on standard error, without its name."""
    name = "morvalin-host: "
    return [line.removeprefix(name) for line in err.splitlines() if line.startswith(name)]


class Settings(HostTest):
    def lines(self, name, *blocks):
        """A workspace with a block a line, from line 2 on, each given as its id and its content."""
        text = "".join(f'\n<block name="{algorithm}">{content}</block>' for algorithm, content in blocks)
        return self.write(
            name, f'<block name="Workspace"><block name="Algorithms">{text}</block></block>'
        )

    def reach(self):
        """The settings with which a vega of its own is reached."""
        return "".join(setting(key, value) for key, value in self.block()[1].items())

    def test_what_does_not_fit_costs_its_block_only(self):
        good = self.tool("610059")
        self.write("empty.rom", "")
        self.write("zeros.rom", "\0" * 5000)
        self.write("large.rom", "x" * ((1 << 20) + 1))
        os.mkfifo(self.path("pipe.rom"))
        with socket.socket(socket.AF_UNIX) as listener:
            os.chdir(self.folder)  # the names of sockets are short
            listener.bind("socket.rom")
        cases = [
            (VEGA, setting("hardwarePort", "18x65"), ["hardwarePort=18x65", "a whole number"]),
            (VICRA, setting("measurementRate", "abc"), ["measurementRate=abc", "whole number"]),
            (AURORA, setting("measurementRate", "8"), ["from 0 to 7", "9600, 14400"]),
            (VEGA, setting("maxRange", "-1"), ["maxRange=-1", "0 or above"]),
            (VEGA, setting("binaryQueryMode", "yes"), ["true or false"]),
            (VEGA, setting("autoStart", "perhaps"), ["autoStart=perhaps", "true or false"]),
            (VEGA, tools(good, extra=setting("Port", "one")), ["Port=one", "a whole number"]),
            (VEGA, tools(good, "no/../none.rom"), [
                "tool file no/../none.rom (" + self.path("none.rom") + "): No such file"
            ]),
            (VEGA, tools(self.folder), [self.folder + ": is a folder"]),
            *((VEGA, tools(name), [f"{name} ({self.path(name)}): {fault}"]) for name, fault in (
                ("pipe.rom", "is not a plain file"),
                ("socket.rom", "is not a plain file"),
                ("empty.rom", "is empty"),
                ("zeros.rom", "holds nothing but zeros"),
                ("large.rom", "is larger than 1 MiB"),
            )),
            ("NDITracking.PolarisVegaTrackingStrem", "", [f'did you mean "{VEGA}"']),
        ]  # fmt: skip
        healthy = (VEGA, self.reach() + tools("610059.rom"))
        file = self.lines("w.xml", *(case[:2] for case in cases), healthy)
        frames, err = self.frames("run", file, "--frames", "2", "--save", "kept.xml", status=1)
        self.assertEqual(len(frames), 2)
        self.assertIn('value="18x65"', self.read("kept.xml"))
        self.assertEqual(frames[0]["instruments"][0]["id"], "610059")
        lines = own_lines(err)
        self.assertEqual(len(lines), len(cases), err)
        for number, (line, (*_, words)) in enumerate(zip(lines, cases), 2):
            self.assertTrue(line.startswith(f"{file}:{number}: "), line)
            for word in words:
                self.assertIn(word, line)

        # The same of --tool, and then nothing runs.
        for *_, words in cases[8:14]:
            path, fault = words[0].split(": ")
            path = path.split(" (")[0]
            status, _, err = self.run_host("stream", VEGA, "--tool", path)
            self.assertEqual(status, 3)
            self.assert_one_line(err, path, fault)

    def test_unknown_keys_are_told_and_nothing_else_is(self):
        good = self.tool("610059")
        older = setting("systemType", 1) + setting("measurementRate", 5) + setting("open", "false")
        other = f'<block name="Theatre">{setting("hardwarDevice", "x")}</block>'
        nothing = tools(":/tools/dummy_tool.rom", "")
        mistyped = setting("hardwarDevice", "1.2.3.4") + tools(good, extra=setting("Prt", 1))
        file = self.lines("w.xml", (VEGA, self.reach() + older + nothing), (VEGA, self.reach() + mistyped + other))
        _, err = self.frames("run", file, "--frames", "1")
        warnings = [line for line in err.splitlines() if "] Host: " in line]
        self.assertEqual(len(warnings), 2, err)
        for line, (key, meant) in zip(warnings, (("hardwarDevice", "hardwareDevice"), ("Prt", "Port"))):
            self.assertIn(f"[3] Host: {file}:3: ", line)
            self.assertTrue(f'"{key}"' in line and line.endswith(f'; did you mean "{meant}"?'), line)
        # A setting of every stream beside one that is refused.
        bad = self.lines("bad.xml", (VEGA, setting("hardwarePort", "x")), (VEGA, ""))
        status, _, err = self.run_host("run", bad, "--set", "hardwarePort=y")
        self.assertEqual(status, 2)
        self.assert_one_line(err, "--set hardwarePort=y", "whole number")

    def test_tools_are_found_from_the_workspace_and_named_from_there(self):
        os.makedirs(self.path("lab/tools"))
        os.rename(self.tool("610059"), self.path("lab/tools/a.rom"))
        os.rename(self.tool("610060"), self.path("lab/b.rom"))
        os.symlink(self.path("lab"), self.path("link"))
        file = self.lines("lab/w.xml", (VEGA, self.reach() + tools("tools/../tools/a.rom")),
                          ("Elsewhere.Stream", tools("tools/a.rom", self.path("lab/b.rom"))))  # fmt: skip
        there, away = ["tools/a.rom", "b.rom"], [self.path("lab/tools/a.rom"), self.path("lab/b.rom")]
        foreign = ["tools/a.rom", self.path("lab/b.rom")]
        added = ["--tool", "lab/b.rom"]
        for source, target, more, expected in (
            ("link/w.xml", "lab/w.xml", added, there),
            ("lab/w.xml", "link/w.xml", [], there),
            ("lab/w.xml", "w2.xml", [], ["lab/" + name for name in there]),
            ("w2.xml", "lab/tools/w3.xml", [], ["a.rom", away[1]]),
        ):
            with self.subTest(source=source, target=target):
                frames, _ = self.frames("run", source, *more, "--frames", "1", "--save", target, status=1)
                ids = [tool["id"] for tool in frames[0]["instruments"]]
                self.assertEqual(ids, ["610059", "610060"])
                paths = re.findall('name="Path" value="([^"]*)"', self.read(target))
                self.assertEqual(paths, expected + foreign)

    def test_no_file_is_written_over_another(self):
        tool, device = self.tool("610059"), self.simulate()
        w = self.lines("w.xml", (VEGA, self.reach() + tools(tool)))
        plugin = shutil.copy(PLUGIN, self.path("p.so"))
        os.link(tool, self.path("same.rom"))
        os.symlink("w.xml", self.path("same.xml"))
        stream = ["stream", VEGA, *device, "--tool", tool]
        cases = [
            [*stream, "--save", "new", "--trace", "new"],
            [*stream, "--dump", "new", "--trace", "./" + os.path.basename(self.folder) + "/../new"],
            [*stream, "--trace", "610059.rom"],
            [*stream, "--save", "same.rom"],
            ["run", w, "--trace", "same.xml"],
            ["run", w, "--trace", "same.rom"],
            ["run", w, "--save", plugin],
        ]
        os.mkdir(self.path(os.path.basename(self.folder)))
        before = {name: os.stat(self.path(name)).st_size for name in os.listdir(self.folder)}
        for arguments in cases:
            with self.subTest(arguments=arguments):
                status, out, err = self.run_host(*arguments, plugin=plugin)
                self.assertEqual((status, out), (2, ""), err)
                self.assert_one_line(err, "would be written over", arguments[-2])
        after = {name: os.stat(self.path(name)).st_size for name in os.listdir(self.folder)}
        self.assertEqual(after, before)
        twice = ["--trace", "/dev/null", "--dump", "/dev/null"]
        self.frames(*stream, "--frames", "1", *twice)
        self.frames("run", w, "--frames", "1", "--save", "same.xml")


class Description(HostTest):
    def described(self, algorithm):
        status, out, err = self.run_host("describe", algorithm, "--json")
        self.assertEqual((status, err), (0, ""))
        return json.loads(out)

    def test_settings_as_the_manual_has_them(self):
        chapters = (ROOT / "docs" / "settings.md").read_text(encoding="utf-8").split("\n## ")
        for algorithm in ALGORITHMS.values():
            with self.subTest(algorithm=algorithm):
                (chapter,) = [text for text in chapters if f"`{algorithm}`" in text.splitlines()[0]]
                rows = [line.strip("| ").split(" | ") for line in chapter.splitlines() if line[:1] == "|"]
                documented = [[cell.replace("`", "").strip() for cell in row] for row in rows[2:]]
                expected = [
                    [
                        (each["list"] and each["list"] + ": ") + each["key"],
                        each["type"],
                        each["default"],
                        ", ".join(each["choices"]),
                        each["meaning"],
                    ]
                    for each in self.described(algorithm)
                ]
                self.assertEqual(documented, expected)
                _, readable, _ = self.run_host("describe", algorithm)
                for each in self.described(algorithm):
                    self.assertIn(f'{each["key"]}  {each["type"]}', readable)
        status, _, err = self.run_host("describe", VEGA.lower())
        self.assertEqual(status, 2)
        self.assert_one_line(err, f'did you mean "{VEGA}"?')

    def test_the_manuals_workspace_runs(self):
        text = (ROOT / "docs" / "settings.md").read_text(encoding="utf-8")
        (example,) = re.findall("```xml\n(.*?)```", text, re.DOTALL)
        os.mkdir(self.path("tools"))
        for number, name in (("610060", "probe"), ("610059", "reference")):
            os.rename(self.tool(number), self.path(f"tools/{name}.rom"))
        for key, value in self.block()[1].items():
            example, count = re.subn(f'(name="{key}" value=")[^"]*', rf"\g<1>{value}", example)
            self.assertEqual(count, 1, key)
        frames, err = self.frames("run", self.write("w.xml", example), "--frames", "1")
        self.assertNotIn("[3] Host", err)
        self.assertEqual([tool["name"] for tool in frames[0]["instruments"]], ["reference", "probe"])

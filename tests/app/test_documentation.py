"""What the documentation tells people to type is understood, and its readers read."""

import json
import re
import shlex
import subprocess
import sys

import hosttest
from hosttest import HOST, ROOT, SIMULATOR, VEGA

PROGRAMS = {"morvalin-host": HOST, "ndi-simulator": SIMULATOR}


def code_lines(path):
    """Lines of code blocks, those that go on joined, without prompts of block quotes."""
    text = path.read_text(encoding="utf-8").replace("\\\n", " ")
    is_fenced = False
    for line in text.splitlines():
        if line.startswith("```"):
            is_fenced = not is_fenced
        elif is_fenced or line.startswith("    "):
            yield line


def commands(path):
    """The programs of this project that the code blocks call, with their arguments."""
    for line in code_lines(path):
        for name in PROGRAMS:
            found = re.match(rf"\s*(?:ExecStart=)?(?:\S*/)?{name}(\s[^|>#]*|)", line)
            if found:
                yield line.strip(), name, shlex.split(found[1])


def help_of(program, *command):
    done = subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True)
    return done.stdout


class Documentation(hosttest.HostTest):
    def test_commands_and_options_exist(self):
        checked = 0
        pages = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
        for page in [*pages, *(ROOT / "packaging").glob("*.service")]:
            for line, name, arguments in commands(page):
                with self.subTest(page=page.name, line=line):
                    chosen = arguments[:1] if name == "morvalin-host" else []
                    if chosen and chosen[0].startswith("-"):
                        chosen = []
                    known = help_of(PROGRAMS[name], *chosen)
                    for option in arguments[len(chosen) :]:
                        if option.startswith("--"):
                            self.assertIn(option.split("=")[0], known.split() + known.split(","))
                    checked += 1
        self.assertGreater(checked, 15)

    def test_readers_of_json_print_what_is_seen(self):
        page = (ROOT / "docs" / "morvalin-host.md").read_text(encoding="utf-8")
        reach = self.simulate("vega", "--tool-state", "1:missing:3-4")
        run = self.run_host("stream", VEGA, *reach, *self.tools("vega"), "--frames", "5", "--json")
        self.assertEqual(run[0], 0, run[2])
        frames = self.write("frames.jsonl", run[1])
        query = re.search(r"jq -c '([^']*)'", page)[1]
        shown = subprocess.run(
            ["jq", "-c", query, frames], capture_output=True, text=True, check=True
        ).stdout
        read = [json.loads(line) for line in run[1].splitlines()]
        seen = [(f["main"], tool["id"]) for f in read for tool in f["instruments"] if tool["quality"]]
        self.assertLess(len(seen), 10, "one of the tools was hidden for a while")
        self.assertEqual(len(shown.splitlines()), sum(main == tool for main, tool in seen))
        script = re.search(r"```python\n(.*?)```", page, re.S)[1]
        script = re.sub(r"command = .*", f"command = ['cat', {frames!r}]", script)
        printed = subprocess.run(
            [sys.executable, "-c", script], capture_output=True, text=True, check=True
        ).stdout
        self.assertEqual(len(printed.splitlines()), len(seen))


if __name__ == "__main__":
    hosttest.unittest.main()

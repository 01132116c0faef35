#!/usr/bin/env python3
"""Runs a Windows program under Wine with one simulated measurement system at the other end.

    with_device.py --simulator BINARY --run-in-wine SCRIPT (--tcp | --com NUMBER)
                   [--device OPTION]... -- PROGRAM [ARGUMENT]...

The program finds the TCP port in MORVALIN_TEST_PORT, or the port name in MORVALIN_TEST_COM and what
the device was sent in the file MORVALIN_TEST_TRACE. The exit status is the program's own.
"""

import argparse
import os
import signal
import subprocess
import sys
import tempfile


def read_arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("--simulator", required=True)
    parser.add_argument("--run-in-wine", required=True)
    line = parser.add_mutually_exclusive_group(required=True)
    line.add_argument("--tcp", action="store_true")
    line.add_argument("--com", type=int)
    parser.add_argument("--device", action="append", default=[])
    parser.add_argument("program", nargs="+")
    return parser.parse_args()


def ports_folder():
    cache = os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache")
    return os.path.join(cache, "morvalin-windows", "ports")


def com_name(number):
    return f"COM{number}" if number < 10 else rf"\\.\COM{number}"


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def start_device(arguments, trace):
    if arguments.tcp:
        line = ["--listen", "0"]
    else:
        link = os.path.join(ports_folder(), f"COM{arguments.com}")
        if os.path.islink(link):
            os.remove(link)
        line = ["--pty", link]
    command = [arguments.simulator, *line, "--trace", trace, *arguments.device]
    device = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    ready = device.stdout.readline().split()
    if not ready or ready[0] != "ready":
        device.wait()
        sys.exit("the simulator did not start: " + " ".join(command))
    return device, ready[1]


def main():
    arguments = read_arguments()
    with tempfile.TemporaryDirectory() as folder:
        trace = os.path.join(folder, "trace")
        device, address = start_device(arguments, trace)
        environment = dict(os.environ, MORVALIN_TEST_TRACE=windows_path(trace))
        if arguments.tcp:
            environment["MORVALIN_TEST_PORT"] = address.rpartition(":")[2]
        else:
            environment["MORVALIN_TEST_COM"] = com_name(arguments.com)
        try:
            program = [arguments.run_in_wine, *arguments.program]
            return subprocess.run(program, env=environment, stdin=subprocess.DEVNULL).returncode
        finally:
            device.send_signal(signal.SIGTERM)
            device.wait()


if __name__ == "__main__":
    sys.exit(main())

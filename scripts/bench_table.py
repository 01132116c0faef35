#!/usr/bin/env python3
"""Prints the table of docs/benchmarks.md from the JSON that ndi-bench has written."""
import json
import sys


def load(path):
    with open(path, encoding="utf-8") as file:
        content = json.load(file)
    runs = {}
    for run in content["benchmarks"]:
        name = run["name"].split("/iterations:")[0]
        if run.get("error_occurred"):
            sys.exit(f"{name}: {run['error_message']}")
        runs[name] = run
    return content["context"], runs


def spread(run, name, digits=2):
    return "{:.{d}f} ({:.{d}f} to {:.{d}f})".format(
        run[name], run[name + "_q1"], run[name + "_q3"], d=digits)


def counted(count, what):
    return f"{float(count):.0f} {what}" + ("" if float(count) == 1 else "s")


def slope(points):
    """Least squares, of [(count, value)]."""
    mean_x = sum(x for x, _ in points) / len(points)
    mean_y = sum(y for _, y in points) / len(points)
    return (sum((x - mean_x) * (y - mean_y) for x, y in points)
            / sum((x - mean_x) ** 2 for x, _ in points))


RATIOS = [
    ("command/tcp", "deviceCommand, TCP", "1.10, 3 receives"),
    ("command/tcp/libmodbus", "libmodbus, 60 registers, TCP", ""),
    ("work/tcp", "doWork to the consumer, TCP", "1.25, 6 receives"),
    ("command/pty", "deviceCommand, pseudo-terminal", ""),
    ("work/pty", "doWork to the consumer, pseudo-terminal", ""),
    ("command/tcp/text", "deviceCommand as text, TCP", ""),
    ("work/tcp/text", "doWork as text, TCP", ""),
    ("modes/tcp", "doWork, text against binary, TCP", ""),
    ("modes/pty", "doWork, text against binary, pseudo-terminal", ""),
    ("decode/binary", "decode of a binary reply against a copy", ""),
    ("decode/text", "decode of a text reply against a copy", ""),
    ("crc", "CRC against a copy", ""),
]


def receives(run):
    """What is added, in receives that find nothing."""
    return "adds " + spread(run, "added_units", 1) + " receives, " if "added_units" in run else ""


def ratio_rows(runs):
    for name, title, bound in RATIOS:
        if name in runs:
            run = runs[name]
            digits = 0 if run["base_ns"] < 100 else 2
            yield (title, spread(run, "ratio", digits), bound,
                   f"{receives(run)}{run['base_ns']:.0f} ns -> {run['ours_ns']:.0f} ns, "
                   f"processor time {run['cpu_ratio']:.{digits}f}")


def slope_rows(runs):
    for what, bound in (("tools", 60), ("strays", 6)):
        prefix = f"slope/{what}/"
        points = sorted((run[what], run["added_ns"]) for name, run in runs.items()
                        if name.startswith(prefix))
        if len(points) < 3:
            continue
        half = len(points) // 2 + 1
        parts = f"{slope(points[:half]):.0f} up to {points[half - 1][0]:.0f}, " \
                f"{slope(points[-half:]):.0f} up to {points[-1][0]:.0f}"
        yield (f"each further {what[:-1]}, above the bare bytes",
               f"{slope(points):.0f} ns", f"flat, {bound}", parts)


def other_rows(context, runs):
    for name, run in runs.items():
        kind, _, rest = name.partition("/")
        if name == "crc":
            cycles = context["mhz_per_cpu"] / 1000
            yield ("CRC, bytes a cycle", f"{run['bytes'] / run['ours_ns'] / cycles:.2f}", "",
                   f"{run['bytes']:.0f} bytes, {context['mhz_per_cpu']} MHz")
        elif kind == "allocations":
            tools, strays = rest.split("/")
            yield (f"allocations a frame, {counted(tools, 'tool')}, {counted(strays, 'stray')}",
                   f"{run['allocations']:.0f}", "",
                   f"{run['copies']:.0f} the list of instruments, {run['besides']:.0f} besides")
        elif name.startswith("pacing/streams"):
            yield (f"interval of polls, {counted(run['streams'], 'stream')} (50, 99, 99.9 %)",
                   "{p50_ms:.2f}, {p99_ms:.2f}, {p999_ms:.2f} ms".format(**run), "5.00",
                   f"{run['core_percent']:.2f} % of a core each, {run['polls']:.0f} polls")
        elif name.startswith("pacing/frames"):
            yield (f"frames at {run['rate_hz']:.0f} Hz",
                   "{delivered:.0f} of {measured:.0f}".format(**run),
                   "all" if run["rate_hz"] < 200 else "",
                   "{missed:.0f} missed, {doubled:.0f} doubled".format(**run))
        elif kind == "bringup":
            line, tools = rest.split("/")
            title = {"tcp": "TCP", "pty": "line of 115,200 baud"}[line]
            yield (f"open to first frame, {counted(tools, 'tool')}, {title}", f"{run['total_ms']:.0f} ms", "",
                   f"{run['wire_ms']:.0f} on the line, {run['pauses_ms']:.0f} pauses of the device, "
                   f"{run['rest_ms']:.1f} the rest, {run['commands']:.0f} commands")


def main():
    context, runs = load(sys.argv[1])
    rows = [("what", "median (quartiles)", "bound", "remarks")]
    rows += [*ratio_rows(runs), *slope_rows(runs), *other_rows(context, runs)]
    widths = [max(len(row[i]) for row in rows) for i in range(4)]
    for number, row in enumerate(rows):
        print("| " + " | ".join(text.ljust(width) for text, width in zip(row, widths)) + " |")
        if number == 0:
            print("|" + "|".join("-" * (width + 2) for width in widths) + "|")
    load_average = ", ".join(f"{value:.2f}" for value in context.get("load_avg", []))
    print(f"\n{context['num_cpus']} cores, load average before {load_average or 'unknown'}")


main()

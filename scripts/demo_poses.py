#!/usr/bin/env python3
"""Reads the frames of one stream (JSON, a line each) from standard input, shows some of them, and
compares every pose with the path on which the simulator moves its tools.

The path is computed here anew, from the formula in docs/simulator.md. Exit status: 0 when frames came
and every pose of every tool was where it had to be, else 1.
"""
import argparse
import json
import math
import sys

PERIOD = 1000  # frames in one turn
PHASE = 37  # frames by which a tool is ahead of its neighbour
BASE_Z = {"vicra": -700.0, "vega": -1200.0, "aurora": -100.0}  # mm
TOLERANCE_MM = 0.01
TOLERANCE_ROTATION = 2e-4
TOLERANCE_QUALITY = 2e-5
MARKER_ID = 0xCBF29CE484222325


def path_pose(family, place, frame):
    """Position in mm, rotation matrix by rows, quality."""
    a = 2 * math.pi * ((frame + PHASE * place) % PERIOD) / PERIOD
    position = (
        100 * math.cos(a),
        100 * math.sin(a),
        BASE_Z[family] - 15 * place + 4 * math.sin(2 * a),
    )
    q = (1.0, 0.5 * math.cos(a), 0.5 * math.sin(a), 0.04 * place - 0.5)
    length = math.sqrt(sum(c * c for c in q))
    w, x, y, z = (c / length for c in q)
    rotation = (
        (1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)),
        (2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)),
        (2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)),
    )
    return position, rotation, 1 - (0.25 + 0.15 * math.sin(3 * a)) / 10


def locate(family, position):
    """Place and frame modulo the period that a position belongs to."""
    a = math.atan2(position[1], position[0])
    place = round((BASE_Z[family] + 4 * math.sin(2 * a) - position[2]) / 15)
    step = round(a / (2 * math.pi) * PERIOD)
    return place, (step - PHASE * place) % PERIOD


def check_instrument(family, instrument):
    """Place, frame and complaint (or None) for one instrument with a pose."""
    m = instrument["matrix"]
    position = m[12:15]
    place, frame = locate(family, position)
    expected_position, expected_rotation, expected_quality = path_pose(family, place, frame)
    off = math.dist(position, expected_position)
    if off > TOLERANCE_MM:
        return place, frame, f"{off:.4f} mm off the path"
    turned = max(
        abs(m[4 * column + row] - expected_rotation[row][column])
        for row in range(3)
        for column in range(3)
    )
    if turned > TOLERANCE_ROTATION:
        return place, frame, f"rotation differs by {turned:.6f}"
    if abs(instrument["quality"] - expected_quality) > TOLERANCE_QUALITY:
        return place, frame, f"quality {instrument['quality']} instead of {expected_quality:.4f}"
    return place, frame, None


class Checker:
    def __init__(self, family):
        self.family = family
        self.frames = 0
        self.poses = 0
        self.complaints = []
        self.place_of = {}
        self.last_step = None
        self.first_timestamp = self.last_timestamp = None

    def complain(self, text):
        self.complaints.append(f"frame {self.frames}: {text}")

    def take(self, frame):
        self.check_time(frame)
        steps = set()
        for instrument in frame["instruments"]:
            if instrument["quality"] == 0:
                continue
            place, step, complaint = check_instrument(self.family, instrument)
            self.poses += 1
            steps.add(step)
            if complaint:
                self.complain(f"{instrument['id']}: {complaint}")
            if self.place_of.setdefault(instrument["id"], place) != place:
                self.complain(f"{instrument['id']} jumped to another tool's path")
        if len(steps) > 1:
            self.complain("the tools were measured at different times")
        if steps and self.last_step in steps:
            self.complain("the same measurement twice")
        self.last_step = min(steps) if steps else None
        if any(marker["id"] != MARKER_ID for marker in frame["fiducials"]):
            self.complain("a stray marker with an unknown identifier")
        self.frames += 1

    def check_time(self, frame):
        timestamp = frame["timestamp"]
        if self.last_timestamp is not None and timestamp < self.last_timestamp:
            self.complain("time runs backwards")
        if self.first_timestamp is None:
            self.first_timestamp = timestamp
        self.last_timestamp = timestamp

    def rate(self):
        if self.frames < 2 or self.last_timestamp == self.first_timestamp:
            return 0.0
        return 1000 * (self.frames - 1) / (self.last_timestamp - self.first_timestamp)

    def is_good(self, tools):
        return (
            self.frames > 0
            and self.poses > 0
            and not self.complaints
            and len(set(self.place_of.values())) == tools
        )


def show(frame):
    strays = len(frame["fiducials"])
    print(f"  frame {frame['frame']:5d}" + (f"   {strays} stray markers" if strays else ""))
    for instrument in frame["instruments"]:
        x, y, z = instrument["matrix"][12:15]
        main = "*" if instrument["id"] == frame["main"] else " "
        state = f"quality {instrument['quality']:.3f}" if instrument["quality"] else "not seen"
        print(
            f"   {main}{instrument['id']:<14.14} {instrument['type']:<9.9}"
            f" x {x:8.2f}  y {y:8.2f}  z {z:9.2f} mm   {state}"
        )
    sys.stdout.flush()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--family", choices=sorted(BASE_Z), required=True)
    parser.add_argument("--tools", type=int, required=True, help="tools that must be there")
    parser.add_argument("--every", type=int, default=1, help="show one frame of so many")
    arguments = parser.parse_args()

    checker = Checker(arguments.family)
    for line in sys.stdin:
        frame = json.loads(line)
        if checker.frames % arguments.every == 0:
            show(frame)
        checker.take(frame)
    for complaint in checker.complaints[:5]:
        print("  WRONG:", complaint)
    good = checker.is_good(arguments.tools)
    print(
        f"  {'OK' if good else 'FAILED'}: {checker.frames} frames, {checker.rate():.1f} a second,"
        f" {len(checker.place_of)} of {arguments.tools} tools,"
        f" {checker.poses} poses compared with the known path, {len(checker.complaints)} wrong"
    )
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())

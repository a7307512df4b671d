#!/usr/bin/env python3
"""Bakes 10,000 curves x 240 frames from Python and the same curves in C++
(keel_bake_timing), and prints both times and their ratio.

    PYTHONPATH=build-release/python /usr/bin/python3 python/bench/bake_bench.py \\
        --cpp build-release/bench/keel_bake_timing

The curves are made here, written to a curve file, and read by the C++ side,
so both bake the very same keys. Each side keeps its fastest of --runs runs.
"""

import argparse
import pathlib
import subprocess
import sys
import tempfile
import time

import keelanim
import numpy as np

CURVES = 10_000
FRAMES = 240
FPS = 24.0
KEYS_PER_CURVE = 8
# The Python bake may take this many times the C++ bake's time.
RATIO_TARGET = 1.5
TYPES = [keelanim.TangentType.AUTO, keelanim.TangentType.SPLINE, keelanim.TangentType.CLAMPED,
         keelanim.TangentType.LINEAR, keelanim.TangentType.FLAT]


def make_curves(count):
    """Curves of eight keys over ten seconds with assorted tangent types (seeded)."""
    random = np.random.default_rng(7)
    curves = keelanim.CurveSet()
    for index in range(count):
        curve = keelanim.Curve(f"curve{index}")
        times = np.sort(random.choice(np.arange(0, 240), KEYS_PER_CURVE, replace=False)) / FPS
        tangent = TYPES[index % len(TYPES)]
        for key_time, value in zip(times, random.uniform(-10.0, 10.0, KEYS_PER_CURVE)):
            curve.add(float(key_time), float(value), tangent, tangent)
        curves.add(curve)
    return curves


def fastest(runs, bake):
    best = float("inf")
    for _ in range(runs):
        started = time.perf_counter()
        checksum = bake()
        best = min(best, time.perf_counter() - started)
    return best, checksum


def bake_each(curves):
    """One Curve.bake per curve, as a script loops over its curves."""
    end = (FRAMES - 1) / FPS
    checksum = 0.0
    for curve in curves:
        _, values = curve.bake(0.0, end, FPS)
        checksum += values[-1] + values[0]
    return checksum


def bake_set(curves):
    """One CurveSet.bake for all curves."""
    _, values = curves.bake(0.0, (FRAMES - 1) / FPS, FPS)
    return float(np.sum(values[:, 0] + values[:, -1]))


def cpp_bake(binary, path, runs):
    output = subprocess.run([binary, str(path), str(FPS), str(FRAMES), str(runs)], check=True, capture_output=True,
                            text=True).stdout
    fields = dict(line.split() for line in output.splitlines())
    return float(fields["seconds"]), float(fields["checksum"])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--cpp", required=True, help="the keel_bake_timing binary")
    parser.add_argument("--runs", type=int, default=5)
    args = parser.parse_args()

    curves = make_curves(CURVES)
    curve_list = list(curves)
    with tempfile.TemporaryDirectory() as scratch:
        path = pathlib.Path(scratch) / "curves.json"
        curves.save_json(path)
        cpp_seconds, cpp_checksum = cpp_bake(args.cpp, path, args.runs)
    each_seconds, each_checksum = fastest(args.runs, lambda: bake_each(curve_list))
    set_seconds, _ = fastest(args.runs, lambda: bake_set(curves))
    if each_checksum != cpp_checksum:
        sys.exit(f"the two sides baked different values ({each_checksum!r} against {cpp_checksum!r})")

    print(f"bake of {CURVES} curves x {FRAMES} frames")
    print("| side | ms | ratio to C++ |")
    print("|---|---:|---:|")
    print(f"| C++ (keel_bake_timing) | {cpp_seconds * 1e3:.2f} | 1.00 |")
    print(f"| Python, Curve.bake per curve | {each_seconds * 1e3:.2f} | {each_seconds / cpp_seconds:.2f} |")
    print(f"| Python, one CurveSet.bake | {set_seconds * 1e3:.2f} | {set_seconds / cpp_seconds:.2f} |")
    within = each_seconds / cpp_seconds <= RATIO_TARGET
    print(f"Curve.bake per curve within {RATIO_TARGET}x of C++: {'yes' if within else 'no'}")


if __name__ == "__main__":
    main()

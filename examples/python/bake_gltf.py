#!/usr/bin/env python3
"""Imports the animation of a glTF file, bakes every curve, eases the
keys of the curve that moves most in one undoable step, and plots a curve with
the keelcurve tool.

    PYTHONPATH=build/python /usr/bin/python3 examples/python/bake_gltf.py \\
        tests/tools/data/cubicspline.gltf --keelcurve build/tools/keelcurve/keelcurve -o plot.svg

Without --keelcurve the plot is drawn through the module (the same drawing
code the tool runs).
"""

import argparse
import pathlib
import subprocess
import tempfile

import keelanim
import numpy as np


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("gltf", type=pathlib.Path, help="a glTF 2.0 file with animation")
    parser.add_argument("--fps", type=float, default=30.0)
    parser.add_argument("--keelcurve", help="the keelcurve binary, to plot with the tool itself")
    parser.add_argument("-o", "--output", type=pathlib.Path, default=pathlib.Path("plot.svg"))
    args = parser.parse_args()

    curves = keelanim.import_gltf(args.gltf)
    times, values = curves.bake(fps=args.fps)
    print(f"{len(curves)} curves, {len(times)} samples from {times[0]:g} s to {times[-1]:g} s at {args.fps:g} fps")
    for curve, row in zip(curves, values):
        print(f"  {curve.name:32} {len(curve.keys):3} keys  range {row.min():9.4f} .. {row.max():9.4f}")

    # The curve that moves most, with every key made a flat ease, as one step
    # (rotation channels interpolate on the sphere, whatever their types).
    movement = [np.ptp(row) if curve.rotation_axis is None else -1.0 for curve, row in zip(curves, values)]
    busiest = curves[int(np.argmax(movement))]
    with curves.modification() as step:
        for key in busiest.keys:
            key.in_type = key.out_type = keelanim.TangentType.FLAT
    print(f"eased {busiest.name} ({len(step)} undo records)")

    if args.keelcurve:
        with tempfile.TemporaryDirectory() as scratch:
            saved = pathlib.Path(scratch) / "curves.json"
            curves.save_json(saved)
            subprocess.run([args.keelcurve, "plot", str(saved), "--curve", busiest.name, "--handles",
                            "-o", str(args.output)], check=True)
    else:
        curves.plot(args.output, names=[busiest.name], handles=True)
    print(f"plot: {args.output}")


if __name__ == "__main__":
    main()

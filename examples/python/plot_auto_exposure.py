# SPDX-License-Identifier: Apache-2.0
"""Plots how automatic exposure finds its target: plot_auto_exposure.py [FILE]"""
import sys

import kxcam
import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

FRAMES = 60


def main(file: str = "exposure.png") -> None:
    levels, exposures = [], []
    with kxcam.Camera() as camera:
        camera.exposure_ms = 0.1
        camera.clear()
        camera.auto_exposure = True
        for _ in camera.frames(kxcam.Format.GREY, limit=FRAMES):
            levels.append(camera.mean_level)
            exposures.append(camera.exposure_ms)
        target = camera.target

    figure, (top, bottom) = plt.subplots(2, sharex=True)
    top.plot(levels)
    top.axhline(target, linestyle="--", color="grey")
    top.set_ylabel("mean level")
    bottom.plot(exposures)
    bottom.set_ylabel("exposure (ms)")
    bottom.set_xlabel("frame")
    figure.savefig(file)
    print(f"{file}: level {levels[0]} to {levels[-1]}, target {target}")


if __name__ == "__main__":
    main(*sys.argv[1:])

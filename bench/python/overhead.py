# SPDX-License-Identifier: Apache-2.0
"""What a frame costs in Python beyond the same loop in C: overhead.py LOOP_LIBRARY [ROUNDS]

C and Python take turns on one simulated camera, as fast as it sends, so that what else the machine does meets
both. Figures are CPU times of the calling thread; the median of the rounds counts.
"""
from __future__ import annotations

import ctypes
import itertools
import statistics
import sys
import time
from collections.abc import Callable

import kxcam
from kxcam import Camera, Format
from kxcam._frames import address

SIZES = [("64 x 64", (64, 64), 300), ("full sensor", None, 15)]


def cpu_us(work: Callable[[], object], frames: int) -> float:
    begin = time.thread_time_ns()
    work()
    return (time.thread_time_ns() - begin) / 1000 / frames


def in_c(loop: ctypes.CDLL, camera: Camera, format: Format, out: kxcam.Image, frames: int) -> float:
    with camera.handle as index:
        us: float = loop.frame_us(index, address(out), out.nbytes, int(format), frames)
    if us < 0:
        sys.exit("the loop in C failed")
    return us


def measure(loop: ctypes.CDLL, camera: Camera, format: Format, frames: int, rounds: int) -> dict[str, float]:
    out = camera.empty(format)

    def query_out() -> None:
        for _ in range(frames):
            camera.query(format, out=out)

    def query() -> None:
        for _ in range(frames):
            camera.query(format)

    def iterate() -> None:
        for _ in itertools.islice(camera.frames(format), frames):
            pass

    ways: dict[str, Callable[[], float]] = {
        "C": lambda: in_c(loop, camera, format, out, frames),
        "query(out=)": lambda: cpu_us(query_out, frames),
        "frames()": lambda: cpu_us(iterate, frames),
        "query()": lambda: cpu_us(query, frames),
    }
    took: dict[str, list[float]] = {name: [] for name in ways}
    for _ in range(rounds):
        for name, way in ways.items():
            took[name].append(way())
    return {name: statistics.median(values) for name, values in took.items()}


def main(library: str, rounds: str = "9") -> None:
    loop = ctypes.CDLL(library)
    loop.frame_us.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int, ctypes.c_int]
    loop.frame_us.restype = ctypes.c_double
    print(f"{'':24}{'C':>12}{'query(out=)':>14}{'frames()':>14}{'query()':>14}   us of CPU a frame; beyond C")
    with Camera() as camera:
        for title, size, frames in SIZES:
            if size is not None:
                camera.set_region(0, 0, *size)
            else:
                camera.set_preset(0)
            for format in (Format.RAW, Format.RGB):
                took = measure(loop, camera, format, frames, int(rounds))
                beyond = "  ".join(f"{us - took['C']:+.1f}" for name, us in took.items() if name != "C")
                figures = "".join(f"{us:>{12 if name == 'C' else 14}.1f}" for name, us in took.items())
                print(f"{title + ', ' + format.name:24}{figures}   {beyond}", flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])

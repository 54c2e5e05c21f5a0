# SPDX-License-Identifier: Apache-2.0
"""Saves a picture every few seconds and outlasts a pulled cable: time_lapse.py FOLDER SECONDS PICTURES"""
import sys
import time
from pathlib import Path

import kxcam
from PIL import Image


def take(camera: kxcam.Camera) -> kxcam.Image:
    while True:
        try:
            camera.clear()  # what waits was taken before
            return camera.query(timeout=30)
        except kxcam.DisconnectedError as error:
            print(error, file=sys.stderr)
            camera.reconnect(timeout=None)


def main(folder: str, seconds: str, pictures: str) -> None:
    Path(folder).mkdir(parents=True, exist_ok=True)
    with kxcam.Camera() as camera:
        begin = time.monotonic()
        for number in range(int(pictures)):
            # From the beginning, or the time that each picture takes would add up.
            time.sleep(max(0.0, begin + number * float(seconds) - time.monotonic()))
            file = Path(folder, f"{number:05}.png")
            Image.fromarray(take(camera)).save(file)
            print(file, flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])

# SPDX-License-Identifier: Apache-2.0
"""Takes a picture with automatic exposure and saves it with Pillow: save_picture.py [FILE]"""
import sys

import kxcam
from PIL import Image

SETTLING_FRAMES = 40  # it adjusts on every fourth


def main(file: str = "picture.png") -> None:
    with kxcam.Camera() as camera:
        camera.auto_exposure = True
        for frame in camera.frames(limit=SETTLING_FRAMES):
            pass
        Image.fromarray(frame.image).save(file)
        print(f"{file}: {camera.info.model}, {camera.exposure_ms:.2f} ms")


if __name__ == "__main__":
    main(*sys.argv[1:])

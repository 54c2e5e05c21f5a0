# SPDX-License-Identifier: Apache-2.0
"""Takes pictures with all cameras at a time, on a software trigger: triggered_cameras.py [SHOTS]"""
import contextlib
import sys
from concurrent.futures import ThreadPoolExecutor

import kxcam


def shoot(camera: kxcam.Camera) -> kxcam.Image:
    camera.trigger_shot()
    return camera.query(timeout=10)


def main(shots: str = "3") -> None:
    with contextlib.ExitStack() as stack:
        cameras = [stack.enter_context(kxcam.Camera(serial=info.serial)) for info in kxcam.cameras()]
        for camera in cameras:
            stack.enter_context(camera.triggered())
        # The library lets other threads run while one waits, and makes pictures on as many processors.
        pool = stack.enter_context(ThreadPoolExecutor(max_workers=max(len(cameras), 1)))
        for shot in range(int(shots)):
            for camera, picture in zip(cameras, pool.map(shoot, cameras)):
                print(f"shot {shot}, camera {camera.info.serial}: mean level {picture.mean():.0f}")


if __name__ == "__main__":
    main(*sys.argv[1:])

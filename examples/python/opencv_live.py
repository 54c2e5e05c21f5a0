# SPDX-License-Identifier: Apache-2.0
"""Shows a camera live with OpenCV and helps to focus it; q ends it. opencv_live.py [FRAMES]

With a number of frames it opens no window, and prints how sharp each is.
"""
from __future__ import annotations

import sys

import cv2
import kxcam


def sharpness(picture: kxcam.Image) -> float:
    grey = cv2.cvtColor(picture, cv2.COLOR_BGR2GRAY)
    return float(cv2.Laplacian(grey, cv2.CV_64F).var())


def main(frames: str | None = None) -> None:
    limit = None if frames is None else int(frames)
    with kxcam.Camera() as camera:
        # The newest frame each time: a window that is slower than the camera shows no old pictures.
        for frame in camera.frames(kxcam.Format.BGR, newest=True, reconnect=None, limit=limit):
            text = f"sharpness {sharpness(frame.image):.0f}"
            if limit is not None:
                print(text)
                continue
            cv2.putText(frame.image, text, (20, 60), cv2.FONT_HERSHEY_SIMPLEX, 2, (0, 255, 0), 3)
            cv2.imshow("kxcam", frame.image)
            if cv2.waitKey(1) == ord("q"):
                break


if __name__ == "__main__":
    main(*sys.argv[1:])

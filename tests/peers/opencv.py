"""Takes a picture whose rows are no multiple of four bytes with OpenCV, and compares it with one of the tool's."""

import sys

import cv2

picture = cv2.imread(sys.argv[1])
height, width = picture.shape[:2]
capture = cv2.VideoCapture(
    f"kxcamsrc roi=1000,700,{width},{height} ! video/x-raw,format=BGR ! appsink", cv2.CAP_GSTREAMER
)
ok, taken = capture.read()
assert ok and taken.shape == picture.shape, taken
assert (taken == picture).all(), "the pictures differ"
print("OpenCV", cv2.__version__, "takes", taken.shape)

# SPDX-License-Identifier: Apache-2.0
"""Pictures as arrays: formats, shapes, and memory that is used again."""
from __future__ import annotations

import sys
from enum import IntEnum
from typing import Any, Callable

import numpy as np
import numpy.typing as npt

from ._errors import expected
from ._native import kxcam_frame

Image = npt.NDArray[Any]


class Format(IntEnum):
    """What a picture consists of. Height and width are those of `Camera.size`."""

    RAW = 0x1  #: the sensor's samples, (height, width) of the sensor, never rotated; uint8, or uint16 at 12 bits
    GREY = 0x2  #: (height, width) uint8
    RGB = 0x4  #: (height, width, 3) uint8: red, green, blue
    BGR = 0x104  #: (height, width, 3) uint8: blue, green, red, as OpenCV has it
    RGBA = 0x204  #: (height, width, 4) uint8; the fourth is 255 in a new array, and left alone in one given
    BGRA = 0x304  #: likewise: blue, green, red


UNCORRECTED = 0x40000


def format_word(format: Format, corrected: bool) -> int:
    if not isinstance(format, Format):
        raise TypeError(f"format is one of kxcam.Format.{', '.join(Format.__members__)}, not {format!r}")
    return int(format) if corrected else int(format) | UNCORRECTED


def picture_shape(format: Format, width: int, height: int) -> tuple[int, ...]:
    if format in (Format.RAW, Format.GREY):
        return (height, width)
    return (height, width, 4 if format in (Format.RGBA, Format.BGRA) else 3)


def new_image(format: Format, shape: tuple[int, ...], dtype: np.dtype[Any]) -> Image:
    # Of four bytes the library leaves the fourth alone, and a picture must not be transparent.
    if len(shape) == 3 and shape[2] == 4:
        return np.full(shape, 255, dtype)
    return np.empty(shape, dtype)


def check_out(out: object, shape: tuple[int, ...], dtype: np.dtype[Any]) -> Image:
    """The array that a picture is to be written to. Raises TypeError or ArgumentError."""
    if not isinstance(out, np.ndarray):
        raise TypeError(f"out is a numpy array of {dtype} {shape}, not {type(out).__name__}")
    flags = out.flags
    if out.shape != shape or out.dtype != dtype or not flags.c_contiguous or not flags.writeable:
        state = "" if flags.c_contiguous else "non-contiguous "
        state += "" if flags.writeable else "read-only "
        raise expected(
            "writing into out",
            f"expected a contiguous, writeable array of {dtype} {shape}, and got {state}"
            f"{out.dtype} {out.shape}",
            "Camera.empty() makes a fitting one.",
        )
    return out


def address(image: Image) -> int:
    """Of the first sample. The array must be held for as long as it is used."""
    return int(image.__array_interface__["data"][0])


class Frame:
    """A picture with what is known of it."""

    __slots__ = (
        "image",
        "format",
        "sequence",
        "lost",
        "time_ns",
        "exposure_ns",
        "gain",
        "waiting",
    )

    image: Image  #: the picture; shape and dtype as of its Format
    format: Format
    sequence: int  #: number of the frame since the camera was opened, lost ones included
    lost: int  #: frames lost or passed over since the one before; see `Camera.statistics` for the causes
    time_ns: int  #: when its last byte arrived, on the clock of time.monotonic_ns()
    exposure_ns: int  #: exposure time set when it arrived; 0 where the timing is not known
    gain: int  #: gain set when it arrived
    waiting: int  #: frames that wait behind it, 0..4

    def __init__(self, image: Image, format: Format, lost: int, told: kxcam_frame) -> None:
        self.image = image
        self.format = format
        self.sequence = told.sequence
        self.lost = lost
        self.time_ns = told.arrived_ns
        self.exposure_ns = told.exposure_ns
        self.gain = told.gain
        self.waiting = told.waiting

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> Image:
        """For numpy.asarray(frame): the picture itself."""
        if dtype is not None and dtype != self.image.dtype:
            if copy is False:
                raise ValueError("another dtype needs a copy")
            return self.image.astype(dtype)
        return self.image.copy() if copy else self.image

    def __repr__(self) -> str:
        shape = " x ".join(map(str, self.image.shape))
        return f"<Frame {self.sequence}: {self.format.name} {shape} {self.image.dtype}, {self.lost} lost>"


class ImagePool:
    """Arrays that are used again once nobody but the pool holds them, nor any view of them.

    A new array of a large picture costs page faults for all of it.
    """

    _MOST = 8

    def __init__(self) -> None:
        self._images: list[Image] = []
        # Without a global lock another thread may take a reference between count and use.
        self._counts = getattr(sys, "_is_gil_enabled", lambda: True)()

    def take(self, format: Format, shape: tuple[int, ...], dtype: np.dtype[Any]) -> Image:
        if not self._counts:
            return new_image(format, shape, dtype)
        for i in range(len(self._images)):
            # The list and the argument of getrefcount() hold it.
            if sys.getrefcount(self._images[i]) <= 2:
                image = self._images[i]
                if image.shape == shape and image.dtype == dtype:
                    if shape[-1] == 4:
                        image[..., 3] = 255
                    return image
        image = new_image(format, shape, dtype)
        self._images = [*self._images[1 - self._MOST :], image]
        return image


MakeImage = Callable[[Format, "tuple[int, ...]", "np.dtype[Any]"], Image]

# SPDX-License-Identifier: Apache-2.0
"""Recorded raw frames, made into pictures as a camera's own are."""
from __future__ import annotations

from typing import Union

import numpy as np

from ._controls import ControlValue
from ._errors import BusyError, Cause, camera_error, expected
from ._frames import Format, Image, address, check_out, format_word, new_image
from ._native import library
from ._process import Handle
from ._session import Session

Model = Union[int, str]

_INDICES = range(255, -1, -1)  # from the far end: cameras with a device begin at 0


def _product_id(model: Model) -> int:
    try:
        return int(model, 16) if isinstance(model, str) else int(model)
    except (TypeError, ValueError):
        raise expected(
            f"model {model!r}",
            'expected a product id, such as 0x3500 or "3500"',
            "`kxsim models` lists them.",
        ) from None


def _open(model: Model) -> int:
    product_id = _product_id(model)
    for index in _INDICES:
        if library.CameraInitVirtual(index, product_id, None) == 0:
            return index
        code = library.kxcam_thread_error()
        if code != Cause.IN_USE:
            raise camera_error("opening a virtual camera", code)
    raise BusyError("opening a virtual camera", Cause.IN_USE)


class VirtualCamera(Session):
    """A camera without a device, for frames that were recorded with `Format.RAW`.

    Controls and properties that act on the picture work as on a real camera; those that need the device
    raise DisconnectedError. Needs no configuration file.
    """

    __slots__ = ()

    def __init__(self, model: Model) -> None:
        """`model` is the USB product id of the model that recorded the frames, as `camera.info.product_id`
        has it: 0x3500 or "3500". Raises ArgumentError for one that is not known, BusyError if every index of
        the library is taken."""
        super().__init__(Handle(_open(model)))
        if self.info.product_id != _product_id(model):
            self.close()
            raise expected(f"model {model!r}", "there is no such model", "`kxsim models` lists them.")
        # As in a camera that was opened with neutral settings stored.
        self.controls.update({"black-level": 0, "denoise": True})

    def develop(
        self, raw: Image, format: Format = Format.RGB, *, out: Image | None = None, corrected: bool = True
    ) -> Image:
        """Makes the picture of a raw frame of the full sensor, which is left as it is.

        `raw` is (sensor height, sensor width) uint8, or uint16 on models of 12 bits. The result, `out` and
        exceptions are those of `Camera.query()`. Thread-safe.
        """
        word = format_word(format, corrected)
        if format is Format.RAW:
            raise expected("developing a frame", "expected a format other than RAW")
        info = self.info
        shape = (info.sensor_height, info.sensor_width)
        dtype = np.dtype(np.uint16 if info.bits > 8 else np.uint8)
        if not isinstance(raw, np.ndarray):
            raise TypeError(f"raw is a numpy array of {dtype} {shape}, not {type(raw).__name__}")
        if raw.shape != shape or raw.dtype != dtype:
            raise expected(
                "developing a frame",
                f"expected {dtype} {shape}, the full sensor, and got {raw.dtype} {raw.shape}",
            )
        frame = np.array(raw, order="C")  # a copy: it is corrected in place
        shape_out, dtype_out = self.picture(format)
        picture = (
            new_image(format, shape_out, dtype_out) if out is None else check_out(out, shape_out, dtype_out)
        )
        width, height = shape_out[1], shape_out[0]
        arguments = (address(frame), address(picture), width, height, word)
        self.call("developing a frame", "CameraISP", *arguments)
        return picture


def develop(raw: Image, model: Model, format: Format = Format.RGB, **settings: ControlValue) -> Image:
    """Makes the picture of one raw frame: `kxcam.develop(raw, model=0x3500, gamma=1.8)`.

    Settings are those of `Camera`, by the names of its properties; without them all are neutral. Takes 0.1 s
    longer than the picture does: for several frames use `VirtualCamera`. Raises as that does.
    """
    with VirtualCamera(model) as camera:
        camera.controls.update({name.replace("_", "-"): value for name, value in settings.items()})
        return camera.develop(raw, format)

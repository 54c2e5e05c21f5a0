# SPDX-License-Identifier: Apache-2.0
"""What cameras and virtual cameras have in common: settings, identity, an end."""
from __future__ import annotations

import sys
import warnings
import weakref
from ctypes import byref, c_double, c_int, sizeof
from dataclasses import dataclass
from enum import IntEnum, IntFlag
from pathlib import Path
from types import TracebackType
from typing import TYPE_CHECKING, Any, TypeVar

import numpy as np

from . import _settings
from ._control_properties import ControlProperties
from ._controls import Controls, ControlValue, control_table, nearest
from ._errors import CameraError, Cause, DisconnectedError, camera_error, expected
from ._frames import Format, Image, address, picture_shape
from ._native import kxcam_description, kxcam_statistics, library
from ._process import Handle

LUT_ENTRIES = 4096


class Feature(IntFlag):
    """What a camera can do."""

    TRIGGER = 0x1  #: one picture per trigger
    TRIGGER_UNIT = 0x2  #: times of trigger and strobe
    STROBE = 0x4  #: a strobe output
    LINE_SCAN = 0x8  #: line settings reach the sensor
    AUTO_EXPOSURE = 0x10  #: it can expose by itself, without queries


class Bayer(IntEnum):
    """Order of the colours in the first two rows of a raw frame of the full sensor."""

    NONE = 0  #: monochrome
    RGGB = 1
    GRBG = 2
    GBRG = 3
    BGGR = 4


class State(IntEnum):
    """What a camera is doing."""

    STREAMING = 0  #: frames are read, whether or not the camera sends any
    IDLE = 1  #: there are no frames: a virtual camera
    GONE = 2  #: the device is not there any more; `Camera.reconnect()` brings it back


@dataclass(frozen=True)
class Description:
    """What an open camera is and can do."""

    serial: str  #: serial number as it was at open
    model: str  #: model name
    port: str  #: "1-2.3" as in /sys/bus/usb/devices; "" without a device
    product_id: int  #: USB product id of the model, such as 0x3500
    firmware: int  #: firmware version word; 0 when it is not known
    usb_speed: int  #: Mbit/s; 0 without a device
    sensor_width: int  #: full size in pixels, not rotated
    sensor_height: int  #: likewise
    bits: int  #: significant bits of a raw sample
    bayer: Bayer
    features: Feature
    region_step_x: int  #: of a region's first column and width on the sensor, in pixels
    region_step_y: int  #: of its first row and height
    longest_exposure: int  #: in lines; a longer one has the same effect. 0: no limit is known


T = TypeVar("T", bound="Session")


def describe(index: int) -> kxcam_description:
    told = kxcam_description()
    code = library.kxcam_describe(index, byref(told), sizeof(told))
    if code != 0:
        raise camera_error("reading the description", code)
    return told


def _description(told: kxcam_description) -> Description:
    def value(name: str) -> Any:
        raw = getattr(told, name)
        return raw.decode("latin-1").rstrip() if isinstance(raw, bytes) else raw

    fields = {name: value(name) for name in Description.__dataclass_fields__}
    fields["bayer"], fields["features"] = Bayer(told.bayer), Feature(told.features)
    return Description(**fields)


class Session(ControlProperties):
    """An open camera, with or without a device.

    Every control is a property (`camera.gain = 32`); `controls` has them by name with unit and range.
    Reading and setting controls is thread-safe.
    """

    __slots__ = ("handle", "info", "offered_controls", "_finalizer", "__weakref__")

    def __init__(self, handle: Handle) -> None:
        self.handle = handle
        self._finalizer = weakref.finalize(self, _close_forgotten, handle)
        with handle as index:
            told = describe(index)
        self.info: Description = _description(told)
        self.offered_controls: int = told.controls

    # An unknown attribute is a mistyped control more often than not.
    if not TYPE_CHECKING:

        def __getattr__(self, name):
            raise AttributeError(self._no_attribute(name))

        def __setattr__(self, name, value):
            try:
                object.__setattr__(self, name, value)
            except AttributeError:
                if hasattr(type(self), name):
                    raise
                raise AttributeError(self._no_attribute(name)) from None

    def _no_attribute(self, name: str) -> str:
        names = [info.attribute for info in control_table().values()]
        hint = nearest(name, names) if not name.startswith("_") else ""
        return f"{type(self).__name__} has no attribute {name!r}. {hint}".rstrip()

    def close(self) -> None:
        """Closes the camera; safe to call again. Takes up to 0.7 s.

        Ends the queries of other threads with ClosedError and waits for their calls. Thread-safe.
        """
        self._finalizer.detach()
        with self.handle.exclusive:
            self.handle.close()

    @property
    def closed(self) -> bool:
        """Whether it was closed."""
        return self.handle.closed

    def __enter__(self: T) -> T:
        if self.handle.closed:
            raise self.handle.refusal()
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        value: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        state = " closed" if self.closed else ""
        return f"<kxcam.{type(self).__name__} {self.info.model} {self.info.serial!r}{state}>"

    def error(self, operation: str, code: int) -> CameraError:
        """The exception for a cause, which is a missing camera where a request got no answer from one."""
        if code in (Cause.READ_REQUEST, Cause.WRITE_REQUEST):
            told = kxcam_statistics()
            library.kxcam_get_statistics(self.handle.index, byref(told), sizeof(told))
            if told.state == State.GONE:
                return DisconnectedError(operation, Cause.NO_DEVICE)
        return camera_error(operation, code)

    def call(self, operation: str, function: str, *arguments: Any) -> None:
        """Calls a function of kxcam.h with this camera's index. Raises what it fails with."""
        with self.handle as index:
            if getattr(library, function)(index, *arguments) == 0:
                return
            code = library.kxcam_thread_error()
            if code == Cause.NOT_OPEN and self.handle.closed:
                raise self.handle.refusal()
            raise self.error(operation, code)

    @property
    def controls(self) -> Controls:
        """The controls that this camera offers, by name: `camera.controls["gamma"].range`."""
        return Controls(self)

    @property
    def size(self) -> tuple[int, int]:
        """Width and height of the picture in pixels, as it is delivered."""
        width, height = c_int(), c_int()
        self.call("reading the picture size", "CameraGetImageSize", byref(width), byref(height))
        return width.value, height.value

    def picture(self, format: Format) -> tuple[tuple[int, ...], np.dtype[Any]]:
        """Shape and dtype of a picture in that format, as it is delivered now."""
        width, height = self.size
        if format is Format.RAW:
            if self.rotate_90:
                width, height = height, width
            return (height, width), np.dtype(np.uint16 if self.info.bits > 8 else np.uint8)
        return picture_shape(format, width, height), np.dtype(np.uint8)

    @property
    def white_balance(self) -> tuple[float, float, float]:
        """Gains of red, green and blue, 0.0 to 3.0, set at once; a measured one may be larger."""
        gains = [c_double() for _ in range(3)]
        self.call("reading the white balance", "CameraGetWBGain", *map(byref, gains))
        return gains[0].value, gains[1].value, gains[2].value

    @white_balance.setter
    def white_balance(self, gains: tuple[float, float, float]) -> None:
        red, green, blue = (float(gain) for gain in gains)
        self.call(f"setting the white balance to {red}, {green}, {blue}", "CameraSetWBGain", red, green, blue)

    def measure_white_balance(self) -> None:
        """Lets the next grey or colour picture set the gains that make its centre grey."""
        self.call("measuring the white balance", "CameraOnePushWB")

    @property
    def mean_level(self) -> int:
        """Mean level of the last processed frame, 0..255: of its green pixels, or of all monochrome ones."""
        level = c_int()
        self.call("reading the mean level", "CameraGetAvg", byref(level))
        return level.value

    @property
    def lut(self) -> Image:
        """The table that maps samples of 12 bits to 8, (4096,) uint8, as a copy; a table that is assigned
        has that shape and dtype. Models of 8 bits do not use it."""
        table = np.empty(LUT_ENTRIES, np.uint8)
        length = c_int(LUT_ENTRIES)
        self.call("reading the lookup table", "CameraGetLUT", address(table), byref(length))
        return table

    @lut.setter
    def lut(self, table: Image) -> None:
        if not isinstance(table, np.ndarray) or table.shape != (LUT_ENTRIES,) or table.dtype != np.uint8:
            raise expected("setting the lookup table", f"expected an array of uint8 ({LUT_ENTRIES},)")
        table = np.ascontiguousarray(table)
        self.call("setting the lookup table", "CameraSetLUT", address(table), LUT_ENTRIES)

    def settings(self) -> dict[str, ControlValue]:
        """Values of all controls that can be stored, by name, for `controls.update()` of this camera or
        another one."""
        return {
            name: control.value for name, control in self.controls.items() if control.info.neutral is not None
        }

    def save_settings(self, path: str | Path) -> None:
        """Writes all settings to a text file, as `kxcam params save` does. Raises OSError.

        An existing file is replaced when the new one is complete.
        """
        _settings.write_file(Path(path), _settings.text(self))

    def load_settings(self, path: str | Path) -> list[str]:
        """Sets what is in such a file, and returns the names of controls that this camera does not offer.

        The whole file is checked before the first setting is sent. Raises OSError, ArgumentError that
        names the line, and what setting a control raises.
        """
        return _settings.apply(self, _settings.read_file(Path(path)))

    def reset_settings(self) -> None:
        """Sets every control to its neutral value."""
        _settings.reset(self)


def _close_forgotten(handle: Handle) -> None:
    forgotten = not handle.closed
    handle.close()
    if forgotten and not sys.is_finalizing():
        warnings.warn("a camera was not closed: use it in a `with` block", ResourceWarning, stacklevel=2)

# SPDX-License-Identifier: Apache-2.0
"""Cameras with a device: opening, pictures, geometry, triggers, stored settings."""
from __future__ import annotations

import asyncio
import contextlib
import operator
import os
import time
from collections.abc import AsyncIterator, Iterator
from ctypes import byref, c_int, create_string_buffer, sizeof
from dataclasses import dataclass

from . import _settings
from ._bus import cameras
from ._errors import Cause, DisconnectedError, FrameTimeout, NotFoundError
from ._errors import camera_error, expected, require
from ._frames import Format, Frame, Image, ImagePool, MakeImage, address, check_out, format_word, new_image
from ._native import kxcam_frame, kxcam_statistics, library
from ._process import Handle, enter
from ._session import Session, State
from ._waiting import end_of, wait, wait_async

USER_DATA_BYTES = 63
_LARGEST_INT = 2**31 - 1
_NEWEST = 0x1
_RECONNECT_PAUSE_S = 0.1


@dataclass(frozen=True)
class Statistics:
    """What became of the frames of a camera since it was opened, all of one moment.

    ended = delivered + too_short + too_long + timed_out + old_geometry + flushed + passed_over + failed
    + waiting.
    """

    ended: int  #: frames whose end arrived
    delivered: int  #: of these, handed to the program
    too_short: int  #: with fewer bytes than the geometry has
    too_long: int  #: with more
    timed_out: int  #: stopped for longer than a transfer waits (500 ms)
    old_geometry: int  #: from before a change of the geometry
    flushed: int  #: dropped by `clear()`, a trigger shot, a change of mode or a reconnect
    passed_over: int  #: dropped for a newer one
    failed: int  #: taken by a query that failed then
    bytes: int  #: read from the image stream
    transfer_errors: int  #: reads of the image stream that failed, time-outs not counted
    resets: int  #: times the library reset the camera after such a failure
    reconnects: int  #: times `reconnect()` brought the camera back
    ring_full_ns: int  #: ns for which five frames waited and nothing was read
    waiting: int  #: frames that wait or are being delivered, 0..5
    state: State


def _open_serial(serial: str) -> int:
    if not isinstance(serial, str):
        raise TypeError(f"serial is a str, not {serial!r}")
    index = c_int()
    code = library.kxcam_open(serial.encode(), byref(index))
    if code == Cause.NO_DEVICE:
        there = ", ".join(repr(camera.serial) for camera in cameras())
        raise NotFoundError(
            f"opening camera {serial!r}",
            code,
            cause="it is not there",
            remedy=f"There are: {there or 'none'}.",
        )
    if code != 0:
        raise camera_error(f"opening camera {serial!r}", code)
    return index.value


def _open_index(index: int) -> int:
    """Opens the camera at that place on the bus. By its serial number where it has one of its own: indices
    of the library are not places once a camera came or went."""
    attached = cameras()
    if not 0 <= index < len(attached):
        places = f"There are {len(attached)}, counted from 0." if attached else "No camera is attached."
        raise NotFoundError(f"opening camera {index}", Cause.INDEX, cause="it is not there", remedy=places)
    serial = attached[index].serial
    if serial and [camera.serial for camera in attached].count(serial) == 1:
        return _open_serial(serial)
    require(f"opening camera {index}", library.CameraInit(index))
    return index


class Camera(Session):
    """An open, streaming camera; closed at the end of its `with` block.

    Every control is a property: `camera.exposure_ms = 8`. Methods are thread-safe unless they say otherwise;
    several threads may query, each frame goes to one of them. All raise CameraError of the kind that the
    cause has: ClosedError after `close()`, DisconnectedError while the camera is unplugged, ForkedError in a
    child process that was forked.
    """

    __slots__ = ("_descriptor",)

    def __init__(self, index: int = 0, *, serial: str | None = None) -> None:
        """Opens the camera with that serial number, or that place on the bus.

        It comes up with the settings stored in its slot 0 and the full sensor. Takes about a second.
        Raises NotFoundError, BusyError, AccessError, ConfigurationError, SystemLimitError.
        """
        if isinstance(index, str):
            raise TypeError(f"index is an int, not {index!r}; for a serial number: Camera(serial={index!r})")
        enter("opening a camera")
        opened = _open_index(int(index)) if serial is None else _open_serial(serial)
        super().__init__(Handle(opened))
        descriptor = c_int()
        code = library.kxcam_frame_fd(opened, byref(descriptor))
        if code != 0:
            self.close()
            raise camera_error("opening a camera", code)
        self._descriptor: int = descriptor.value

    # Pictures

    def empty(self, format: Format = Format.RGB) -> Image:
        """A new array for `out`, of the shape and dtype of a picture in that format as it is delivered now."""
        format_word(format, True)
        return new_image(format, *self.picture(format))

    def _look(self, image: Image, word: int, flags: int, told: kxcam_frame) -> int:
        return int(
            library.kxcam_query(
                self.handle.index, address(image), image.nbytes, word, 0, flags, byref(told), sizeof(told)
            )
        )

    def _checked(self, code: int, image: Image, format: Format, told: kxcam_frame) -> Image:
        """The picture that a query gave, in the shape that it has. Raises what the query failed with."""
        if self.handle.closed:
            raise self.handle.refusal()
        if code != 0:
            raise self.error("taking a picture", code)
        if format is Format.RAW or image.shape[:2] == (told.height, told.width):
            return image
        # Rotated by another thread since the array was made. The pixels are those of the rotated picture.
        return image.reshape(told.height, told.width, *image.shape[2:])

    def _take(
        self,
        format: Format,
        out: Image | None,
        end: float,
        flags: int,
        word: int,
        make: MakeImage,
        told: kxcam_frame,
    ) -> Image:
        with self.handle:
            while True:
                shape, dtype = self.picture(format)
                image = make(format, shape, dtype) if out is None else check_out(out, shape, dtype)
                wait(self._descriptor, end)
                if self.handle.closed:  # by a signal handler, which this thread does not wait for
                    raise self.handle.refusal()
                code = self._look(image, word, flags, told)
                if code == Cause.ARGUMENT and out is None and self.picture(format) != (shape, dtype):
                    continue  # another thread changed the geometry
                if code != Cause.NO_FRAME or time.monotonic() >= end or self.handle.closed:
                    return self._checked(code, image, format, told)

    async def _take_async(
        self,
        format: Format,
        out: Image | None,
        end: float,
        flags: int,
        word: int,
        make: MakeImage,
        told: kxcam_frame,
    ) -> Image:
        with self.handle:
            descriptor = os.dup(self._descriptor)
        try:
            while True:
                await wait_async(descriptor, end)
                try:
                    # In a thread, as making a large picture takes milliseconds.
                    return await asyncio.to_thread(self._take, format, out, 0.0, flags, word, make, told)
                except FrameTimeout:
                    if time.monotonic() >= end:
                        raise
        finally:
            os.close(descriptor)

    def query(
        self,
        format: Format = Format.RGB,
        *,
        out: Image | None = None,
        timeout: float | None = 5.0,
        newest: bool = False,
        corrected: bool = True,
    ) -> Image:
        """Waits for the next picture and returns it.

        Without `out` it is a new array that nothing else refers to; shape and dtype are those of `Format`.
        `out` is filled and returned: it must have that shape and dtype, be contiguous and writeable
        (`empty()` makes it), or ArgumentError says what was expected and nothing is written.

        `timeout` is in seconds: 0 looks once, None waits without an end. Ctrl-C ends the wait at once.
        `newest` passes over the frames that wait before the newest; `corrected=False` skips the corrections
        of the raw frame. Frames wait in a ring of five, oldest first.

        Raises FrameTimeout, DisconnectedError, InterruptedWait, ArgumentError, TypeError.
        """
        word = format_word(format, corrected)
        flags = _NEWEST if newest else 0
        return self._take(format, out, end_of(timeout), flags, word, new_image, kxcam_frame())

    async def query_async(
        self,
        format: Format = Format.RGB,
        *,
        out: Image | None = None,
        timeout: float | None = 5.0,
        newest: bool = False,
        corrected: bool = True,
    ) -> Image:
        """`query()` for asyncio: waits in the event loop, and makes the picture in a thread of its executor."""
        word = format_word(format, corrected)
        if out is not None:
            check_out(out, *self.picture(format))
        flags = _NEWEST if newest else 0
        return await self._take_async(format, out, end_of(timeout), flags, word, new_image, kxcam_frame())

    def frames(
        self,
        format: Format = Format.RGB,
        *,
        limit: int | None = None,
        timeout: float | None = 5.0,
        newest: bool = False,
        corrected: bool = True,
        reconnect: float | None = 0.0,
    ) -> Iterator[Frame]:
        """Pictures one after the other, with sequence number, time and losses.

        Ends after `limit` frames, or never. An array is used again when nobody holds it or a view of it any
        more: keep what you need, by whatever reference. `reconnect` is for how many seconds to try to bring
        a camera back that went away (None: for ever); 0 raises DisconnectedError at once. The other arguments
        and exceptions are those of `query()`. One thread at a time may take from one iterator.
        """
        word, flags, pool = format_word(format, corrected), _NEWEST if newest else 0, ImagePool()
        end_of(timeout)

        def generate() -> Iterator[Frame]:
            count = _Losses(self)
            while limit is None or count.taken < limit:
                told = kxcam_frame()
                try:
                    image = self._take(format, None, end_of(timeout), flags, word, pool.take, told)
                except (DisconnectedError, FrameTimeout):
                    if reconnect == 0 or not count.camera_went_away():
                        raise
                    self.reconnect(timeout=reconnect)
                    continue
                frame = count.frame(image, format, told)
                del image  # the frame holds it, and the pool counts who does
                yield frame

        return generate()

    async def frames_async(
        self,
        format: Format = Format.RGB,
        *,
        limit: int | None = None,
        timeout: float | None = 5.0,
        newest: bool = False,
        corrected: bool = True,
    ) -> AsyncIterator[Frame]:
        """`frames()` for asyncio: `async for frame in camera.frames_async(): ...`"""
        word, flags, pool = format_word(format, corrected), _NEWEST if newest else 0, ImagePool()
        count = _Losses(self)
        while limit is None or count.taken < limit:
            told = kxcam_frame()
            image = await self._take_async(format, None, end_of(timeout), flags, word, pool.take, told)
            frame = count.frame(image, format, told)
            del image
            yield frame

    def fileno(self) -> int:
        """A descriptor that is readable while `query(timeout=0)` would not fail for want of a frame: for
        select, poll and event loops. Take it out of them before `close()`; read nothing from it."""
        with self.handle:
            return self._descriptor

    def interrupt(self, on: bool = True) -> None:
        """Ends the waits of all threads with InterruptedWait, and keeps new ones from beginning, until it is
        switched off."""
        with self.handle as index:
            code = library.kxcam_interrupt(index, bool(on))
        if code != 0:
            raise self.error("interrupting", code)

    def clear(self) -> None:
        """Drops the frames that wait, and those that arrive within 200 ms."""
        self.call("dropping frames", "CameraClearHostBuffer")

    @property
    def statistics(self) -> Statistics:
        """Counters of the frames since the camera was opened."""
        told = kxcam_statistics()
        with self.handle as index:
            code = library.kxcam_get_statistics(index, byref(told), sizeof(told))
        if code != 0:
            raise self.error("reading the statistics", code)
        values = {name: getattr(told, name) for name in Statistics.__dataclass_fields__}
        values["state"] = State(values["state"])
        return Statistics(**values)

    # Geometry

    @property
    def presets(self) -> list[tuple[int, int]]:
        """Width and height of each resolution preset, for `set_preset()`."""
        count, width, height = c_int(), c_int(), c_int()
        self.call("reading the presets", "CameraGetResolutionCount", byref(count))
        sizes = []
        for preset in range(count.value):
            self.call("reading a preset", "CameraGetResolution", preset, byref(width), byref(height))
            sizes.append((width.value, height.value))
        return sizes

    def set_preset(self, preset: int) -> tuple[int, int]:
        """Selects a resolution preset, 0 for the full sensor; ends a region. Returns width and height."""
        width, height = c_int(), c_int()
        operation = f"selecting preset {preset}"
        if not 0 <= preset < len(self.presets):
            raise expected(operation, f"expected 0..{len(self.presets) - 1}", "Camera.presets lists them.")
        self.call(operation, "CameraSetResolution", preset, byref(width), byref(height))
        return width.value, height.value

    def set_region(self, x: int, y: int, width: int, height: int) -> None:
        """Reads out a region, in pixels of the full picture as it is delivered: mirrored and rotated.

        On the sensor, `x` and `width` are multiples of `info.region_step_x`, `y` and `height` of
        `info.region_step_y`; while the picture is rotated it is the other way round. Raises ArgumentError.
        """
        numbers = [operator.index(number) for number in (x, y, width, height)]
        code = int(Cause.ARGUMENT)
        if all(0 <= number <= _LARGEST_INT for number in numbers):
            with self.handle as index:
                code = library.kxcam_set_region(index, *numbers)
        if code == Cause.ARGUMENT:
            info, steps = self.info, (self.info.region_step_x, self.info.region_step_y)
            steps = steps[::-1] if self.rotate_90 else steps
            raise expected(
                f"selecting the region {width} x {height} at {x}, {y}",
                f"expected one inside the sensor ({info.sensor_width} x {info.sensor_height}), x and width in "
                f"multiples of {steps[0]}, y and height of {steps[1]}",
            )
        if code != 0:
            raise self.error("selecting a region", code)

    # Trigger and lines

    @contextlib.contextmanager
    def triggered(self) -> Iterator[Camera]:
        """For the time of a `with` block the camera takes one picture per trigger (control `trigger`).

        Frames taken before are dropped, which takes up to 200 ms. Raises UnsupportedError.
        """
        before = self.trigger
        self.trigger = True
        try:
            yield self
        finally:
            if not self.closed:
                with contextlib.suppress(DisconnectedError):
                    self.trigger = before

    def trigger_shot(self) -> None:
        """Fires one software trigger, after dropping the frames that wait. Needs the trigger mode."""
        self.call("firing a trigger", "CameraTriggerShot")

    @property
    def gpio(self) -> int:
        """States of the input and output lines, a bit each, 0..255."""
        lines = c_int()
        self.call("reading the lines", "CameraGetGPIO", byref(lines))
        return lines.value

    def set_gpio(self, mask: int, value: int) -> None:
        """Drives the lines in `mask` to those of `value`, 0..255. Raises ArgumentError for a reserved line."""
        mask, value = operator.index(mask), operator.index(value)
        if not 0 <= mask <= 255 or not 0 <= value <= 255:
            raise expected(f"driving lines {mask:#x} to {value:#x}", "expected bits in 0..255")
        self.call(f"driving lines {mask:#x} to {value:#x}", "CameraSetGPIO", mask, value)

    # The camera's own memory

    def store(self, slot: int = 0) -> None:
        """Stores all settings in the camera, in slot 0, which is loaded at open, or 1.

        They are read back: RequestError names what the camera did not keep. Takes about a second; do not cut
        the power. Frames go on meanwhile. One thread at a time is let through.
        """
        with self.handle.exclusive:
            _settings.store(self, _slot(slot))

    def load(self, slot: int = 0) -> None:
        """Loads the settings stored in slot 0 or 1. Raises RequestError, ArgumentError if one was refused;
        all others are set nevertheless."""
        with self.handle.exclusive:
            _settings.load(self, _slot(slot))

    @property
    def user_data(self) -> bytes:
        """The 63 bytes in the camera that are the application's. Fewer that are assigned leave the rest."""
        data = create_string_buffer(USER_DATA_BYTES)
        with self.handle.exclusive:
            self.call("reading the user data", "CameraReadUserData", data, USER_DATA_BYTES)
        return data.raw

    @user_data.setter
    def user_data(self, data: bytes) -> None:
        if not isinstance(data, (bytes, bytearray, memoryview)):
            raise TypeError(f"user data are bytes, not {data!r}")
        data = bytes(data)
        if len(data) > USER_DATA_BYTES:
            raise expected(
                "writing the user data", f"expected {USER_DATA_BYTES} bytes at most, not {len(data)}"
            )
        with self.handle.exclusive:
            self.call("writing the user data", "CameraWriteUserData", data, len(data))

    # Connection

    def reconnect(self, timeout: float | None = 0.0) -> None:
        """Brings a camera back that was unplugged or reset, with all its settings.

        It is found by its serial number, at whatever port. Tries again for `timeout` seconds (None: for ever)
        while it is not there, then raises DisconnectedError; Ctrl-C ends the pauses between. Queries that
        wait meanwhile go on waiting.
        """
        end = end_of(timeout)
        while True:
            try:
                with self.handle.exclusive:
                    self.call("reconnecting", "CameraReconnect")
                return
            except DisconnectedError:
                if time.monotonic() >= end:
                    raise
            time.sleep(_RECONNECT_PAUSE_S)


def _slot(slot: int) -> int:
    if slot not in (0, 1):
        raise expected(f"slot {slot!r}", "expected 0 or 1")
    return int(slot)


class _Losses:
    """Counts what one iterator took, and notices when the camera needs to be brought back."""

    def __init__(self, camera: Camera) -> None:
        self._camera = camera
        self._resets = camera.statistics.resets
        self._last: int | None = None
        self.taken = 0

    def frame(self, image: Image, format: Format, told: kxcam_frame) -> Frame:
        lost = 0 if self._last is None else told.sequence - self._last - 1
        self._last = told.sequence
        self.taken += 1
        return Frame(image, format, lost, told)

    def camera_went_away(self) -> bool:
        statistics = self._camera.statistics
        # A camera that the library reset sends nothing more either.
        went = statistics.state is State.GONE or statistics.resets != self._resets
        self._resets = statistics.resets
        return went

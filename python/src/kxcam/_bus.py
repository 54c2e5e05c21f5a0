# SPDX-License-Identifier: Apache-2.0
"""Cameras on the bus, and those that come and go."""
from __future__ import annotations

import math
import os
import threading
import time
from collections.abc import AsyncIterator, Iterator
from ctypes import byref, c_int, create_string_buffer, sizeof
from dataclasses import dataclass
from types import TracebackType

from ._errors import BusyError, Cause, ClosedError, camera_error
from ._native import kxcam_bus_event, library
from ._process import enter
from ._waiting import end_of, wait, wait_async

_NO_SERIAL = b"no serial number is as long as this"


@dataclass(frozen=True)
class CameraInfo:
    """A camera on the bus, open or not."""

    index: int  #: its place on the bus, which changes as cameras come and go
    serial: str  #: serial number
    name: str  #: given by the user, or else the model's
    product_id: int  #: USB product id of the model


def _text(raw: bytes) -> str:
    return raw.decode("latin-1").rstrip()


def cameras() -> list[CameraInfo]:
    """The cameras that are attached, open or not. Takes some milliseconds for each. Thread-safe.

    Raises ConfigurationError, AccessError or SystemLimitError if that is why there are none.
    """
    enter("looking for cameras")
    count = c_int()
    library.CameraGetCount(byref(count))
    if count.value == 0:
        code = library.kxcam_open(_NO_SERIAL, byref(c_int()))
        if code in (Cause.CONFIGURATION, Cause.PERMISSION, Cause.SYSTEM):
            raise camera_error("looking for cameras", code)
    found = []
    for index in range(count.value):
        serial, name = create_string_buffer(16), create_string_buffer(64)
        row, product = c_int(), c_int()
        if library.CameraGetName(index, serial, name) != 0:
            continue  # unplugged meanwhile
        if library.CameraGetID(index, byref(row), byref(product)) != 0:
            continue
        shown = name.value.decode("utf-8", "replace").removesuffix(f"({index})")
        found.append(CameraInfo(index, _text(serial.value), shown, product.value))
    return found


@dataclass(frozen=True)
class BusEvent:
    """A camera came to the bus or left it."""

    arrived: bool
    serial: str  #: "" when it could not be read, as while another program holds the camera
    product_id: int
    port: str  #: "1-2.3" as in /sys/bus/usb/devices
    model: str  #: model name; "" where `product_id` is that of no model
    usb_speed: int  #: Mbit/s


class BusWatch:
    """Tells of cameras that come and go: `with kxcam.watch() as bus: for event in bus: ...`

    The first events are the cameras that are there. One watch at a time in a process. Thread-safe: each
    event goes to one of those that wait.
    """

    _one = threading.Lock()

    def __init__(self) -> None:
        enter("watching the bus")
        if not self._one.acquire(blocking=False):
            raise BusyError(
                "watching the bus",
                Cause.IN_USE,
                cause="it is watched already",
                remedy="Use one watch at a time.",
            )
        descriptor = c_int(-1)
        code = library.kxcam_watch(True, byref(descriptor))
        if code != 0:
            self._one.release()
            raise camera_error("watching the bus", code)
        # Ours, so that those that wait for it may outlive the library's.
        self._descriptor = os.dup(descriptor.value)
        self._closed = False
        self._process = os.getpid()

    def _next(self) -> BusEvent | None:
        if os.getpid() != self._process:
            enter("watching the bus")  # raises, after a fork
        if self._closed:
            raise ClosedError("watching the bus", Cause.NOT_OPEN, cause="the watch was ended", remedy="")
        event = kxcam_bus_event()
        if library.kxcam_next_event(byref(event), sizeof(event)) != 0:
            return None
        return BusEvent(
            arrived=bool(event.arrived),
            serial=_text(event.serial),
            product_id=event.product_id,
            port=_text(event.port),
            model=_text(event.model),
            usb_speed=event.usb_speed,
        )

    def next(self, timeout: float | None = None) -> BusEvent | None:
        """Waits for an event: for `timeout` seconds, or without an end. None if there was none in time.
        Ctrl-C ends the wait at once."""
        end = end_of(timeout)
        while True:
            event = self._next()
            if event is not None or time.monotonic() >= end:
                return event
            wait(self._descriptor, end)

    def __iter__(self) -> Iterator[BusEvent]:
        """Events without an end."""
        while True:
            event = self.next()
            if event is not None:
                yield event

    async def __aiter__(self) -> AsyncIterator[BusEvent]:
        """Events without an end, for asyncio: `async for event in bus`."""
        while True:
            event = self._next()
            if event is not None:
                yield event
                continue
            descriptor = os.dup(self._descriptor)
            try:
                await wait_async(descriptor, math.inf)
            finally:
                os.close(descriptor)

    def fileno(self) -> int:
        """A descriptor that is readable while an event waits, for select, poll and event loops."""
        return self._descriptor

    def close(self) -> None:
        """Ends watching and drops the events that wait; safe to call again. Not while another thread waits
        for an event."""
        if not self._closed:
            self._closed = True
            os.close(self._descriptor)
            if os.getpid() == self._process:  # a forked child has not the thread that watches
                library.kxcam_watch(False, None)
                self._one.release()

    def __enter__(self) -> BusWatch:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        value: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()


def watch() -> BusWatch:
    """Watches the bus. Raises BusyError if this process does so already, ConfigurationError,
    UnsupportedError where the system's libusb cannot watch, SystemLimitError."""
    return BusWatch()

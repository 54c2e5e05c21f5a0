# SPDX-License-Identifier: Apache-2.0
"""What can go wrong: one exception for each cause, with what a user may do about it."""
from __future__ import annotations

from enum import IntEnum
from typing import Any

from ._native import library


class Cause(IntEnum):
    """Causes of failure, as the library numbers them."""

    NONE_YET = -1
    INDEX = 1
    ARGUMENT = 2
    NOT_OPEN = 3
    NO_DEVICE = 4
    EMPTY_BUS = 5
    IN_USE = 6
    NOT_SUPPORTED = 8
    READ_REQUEST = 10
    WRITE_REQUEST = 11
    FRAME_SIZE = 12
    NO_FRAME = 17
    INTERRUPTED = 18
    CONFIGURATION = 19
    HELD = 20
    PERMISSION = 21
    SYSTEM = 22


class CameraError(Exception):
    """Something failed. All exceptions of this package are of this kind; wrong types raise TypeError.

    `operation` is what was being done, `code` the library's cause (a `Cause`, or -1 without one) and
    `remedy` what may help, "" where there is nothing to advise. The text has all three.
    """

    operation: str
    code: int
    remedy: str

    def __init__(
        self, operation: str, code: int = -1, *, cause: str | None = None, remedy: str | None = None
    ) -> None:
        if cause is None:
            cause = library.kxcam_error_text(code).decode()
        if remedy is None:
            remedy = library.kxcam_error_remedy(code).decode()
        self.operation, self.code, self.remedy = operation, int(code), remedy
        super().__init__(f"{operation}: {cause}." + (f" {remedy}" if remedy else ""))

    def __str__(self) -> str:
        return str(self.args[0])

    def __reduce__(self) -> Any:
        # The text is made already; what makes it again must not be asked for it.
        return _restored, (type(self), self.args, self.__dict__)


def _restored(kind: type[CameraError], args: tuple[Any, ...], attributes: dict[str, Any]) -> CameraError:
    error = kind.__new__(kind)
    Exception.__init__(error, *args)
    error.args = args
    error.__dict__.update(attributes)
    return error


class NotFoundError(CameraError):
    """The camera is not there: no such index, serial number or device."""


class BusyError(CameraError):
    """This or another program has the camera open."""


class AccessError(CameraError, PermissionError):
    """The system does not let this user open the camera."""


class ConfigurationError(CameraError):
    """The configuration file is missing or malformed."""


class DisconnectedError(CameraError, ConnectionError):
    """The open camera is not there any more; `Camera.reconnect()` brings it back."""


class RequestError(CameraError):
    """The camera did not answer, or refused what was asked."""


class UnsupportedError(CameraError):
    """The model cannot do it."""


class ArgumentError(CameraError, ValueError):
    """An argument is out of range or of the wrong shape. Nothing was changed."""


class UnknownControlError(ArgumentError, KeyError):
    """There is no control of that name; the text suggests the nearest."""


class FrameTimeout(CameraError, TimeoutError):
    """No frame came in time."""


class InterruptedWait(CameraError):
    """`Camera.interrupt()` ended the wait."""


class ClosedError(CameraError):
    """The camera was closed."""


class ForkedError(CameraError):
    """The camera belongs to the parent process."""


class SystemLimitError(CameraError):
    """The system has no memory, thread or descriptor to spare."""


_KINDS: dict[int, type[CameraError]] = {
    Cause.INDEX: NotFoundError,
    Cause.ARGUMENT: ArgumentError,
    Cause.NOT_OPEN: ClosedError,
    Cause.NO_DEVICE: DisconnectedError,
    Cause.EMPTY_BUS: NotFoundError,
    Cause.IN_USE: BusyError,
    Cause.NOT_SUPPORTED: UnsupportedError,
    Cause.READ_REQUEST: RequestError,
    Cause.WRITE_REQUEST: RequestError,
    Cause.NO_FRAME: FrameTimeout,
    Cause.INTERRUPTED: InterruptedWait,
    Cause.CONFIGURATION: ConfigurationError,
    Cause.HELD: BusyError,
    Cause.PERMISSION: AccessError,
    Cause.SYSTEM: SystemLimitError,
}


def camera_error(operation: str, code: int) -> CameraError:
    """The exception for a cause."""
    return _KINDS.get(code, CameraError)(operation, code)


def expected(operation: str, cause: str, remedy: str = "") -> ArgumentError:
    """The exception for an argument that was refused before the library saw it."""
    return ArgumentError(operation, Cause.ARGUMENT, cause=cause, remedy=remedy)


def require(operation: str, status: int) -> None:
    """Raises for the status of a function of kxcam.h."""
    if status != 0:
        raise camera_error(operation, library.kxcam_thread_error())

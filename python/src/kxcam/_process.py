# SPDX-License-Identifier: Apache-2.0
"""What belongs to the process: its open cameras, forks, the library's messages."""
from __future__ import annotations

import atexit
import logging
import os
import threading
import weakref

from ._errors import ClosedError, ForkedError, Cause
from ._native import MessageHandler, library

_LONGEST_CALL_S = 10.0  # far beyond any call but a query, and that is interrupted
_REMEDY = 'Open cameras in the process that uses them; start processes with the method "spawn".'


class Handle:
    """An index of the library for as long as it is open: `with handle as index` keeps it so.

    Closing waits for the calls of other threads: the library gives an index to the next camera that is
    opened, which must not get what was meant for this one.
    """

    __slots__ = ("index", "exclusive", "_lock", "_idle", "_users", "_closed", "__weakref__")

    def __init__(self, index: int) -> None:
        self.index = index
        self._closed: type[ClosedError] | type[ForkedError] | None = None
        self._make_locks()
        _handles.add(self)

    def _make_locks(self) -> None:
        # A signal handler may close a camera in the middle of a call of its own thread.
        self._lock = threading.RLock()
        self._idle = threading.Condition(self._lock)
        self._users: dict[int, int] = {}
        self.exclusive = threading.RLock()  # for calls of which one at a time may run for a camera

    def __enter__(self) -> int:
        user = threading.get_ident()
        with self._lock:
            if self._closed is not None:
                raise self.refusal()
            self._users[user] = self._users.get(user, 0) + 1
        return self.index

    def __exit__(self, *_: object) -> None:
        user = threading.get_ident()
        with self._lock:
            if self._users.get(user, 0) > 1:
                self._users[user] -= 1
            else:
                self._users.pop(user, None)
                if self._closed is not None:
                    self._idle.notify_all()

    @property
    def closed(self) -> bool:
        return self._closed is not None

    def refusal(self) -> ClosedError | ForkedError:
        if self._closed is ForkedError:
            return ForkedError(
                "using a camera", Cause.NOT_OPEN, cause="it belongs to the parent process", remedy=_REMEDY
            )
        return ClosedError(
            "using a camera", Cause.NOT_OPEN, cause="it was closed", remedy="Use it inside its `with` block."
        )

    def close(self) -> None:
        with self._lock:
            if self._closed is not None:
                return
            self._closed = ClosedError
        try:
            library.kxcam_interrupt(self.index, True)
            me = threading.get_ident()
            with self._lock:
                self._idle.wait_for(lambda: not self._users.keys() - {me}, timeout=_LONGEST_CALL_S)
        finally:
            library.CameraFree(self.index)  # after Ctrl-C too: nobody else can

    def disown(self) -> None:
        """Leaves the camera to the parent process; the locks may be held by threads that are not here."""
        if self._closed is None:
            self._closed = ForkedError
        self._make_locks()


_handles: weakref.WeakSet[Handle] = weakref.WeakSet()
_used = False
_forked = False


def enter(operation: str) -> None:
    """Begins to use devices in this process. Raises ForkedError if the library did so before a fork: its
    threads and descriptors are the parent's."""
    global _used
    if _forked:
        raise ForkedError(
            operation,
            Cause.SYSTEM,
            cause="the parent process was using cameras when it forked",
            remedy=_REMEDY,
        )
    _used = True


def _after_fork() -> None:
    global _forked
    _forked = _forked or _used
    for handle in list(_handles):
        handle.disown()


def _log(text: bytes, _: object) -> None:
    logging.getLogger("kxcam").warning("%s", text.decode(errors="replace"))


_handler = MessageHandler(_log)
library.kxcam_set_message_handler(_handler, None)
# Registered first, so that it runs when every camera is closed.
atexit.register(library.kxcam_set_message_handler, MessageHandler(0), None)
os.register_at_fork(after_in_child=_after_fork)

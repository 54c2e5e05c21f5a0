# SPDX-License-Identifier: Apache-2.0
"""Waiting for the library's descriptors. Every wait sleeps in poll(), which a signal ends at once."""
from __future__ import annotations

import asyncio
import math
import select
import time

from ._errors import expected

_LONGEST_POLL_MS = 2**31 - 1


def end_of(timeout: float | None) -> float:
    """The moment until which to wait, on time.monotonic(); None waits without an end."""
    if timeout is None:
        return math.inf
    if isinstance(timeout, str) or not timeout >= 0:
        raise expected("waiting", f"expected a timeout of 0 seconds or more, or None, not {timeout!r}")
    return time.monotonic() + timeout


def left_until(end: float) -> float:
    return max(end - time.monotonic(), 0.0)


def wait(descriptor: int, end: float) -> None:
    """Sleeps until the descriptor is readable or that moment has come."""
    poll = select.poll()
    poll.register(descriptor, select.POLLIN)
    poll.poll(None if end == math.inf else min(math.ceil(left_until(end) * 1000), _LONGEST_POLL_MS))


async def wait_async(descriptor: int, end: float) -> None:
    """wait() in an event loop. The descriptor is the caller's own: a loop has one reader for each."""
    loop = asyncio.get_running_loop()
    readable: asyncio.Future[None] = loop.create_future()

    def wake() -> None:
        if not readable.done():
            readable.set_result(None)

    timer = None if end == math.inf else loop.call_later(left_until(end), wake)
    loop.add_reader(descriptor, wake)
    try:
        await readable
    finally:
        loop.remove_reader(descriptor)
        if timer is not None:
            timer.cancel()

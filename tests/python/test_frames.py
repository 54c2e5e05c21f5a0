# SPDX-License-Identifier: Apache-2.0
"""Pictures in order, losses, and every end that a wait can have."""
import asyncio
import contextlib
import multiprocessing
import os
import pickle
import select
import signal
import threading
import time

import numpy as np
import pytest

import kxcam
from kxcam import Camera, Format

PATIENCE = 60  # seconds; for a machine that is busy with all else


def eventually(condition):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.001)


@pytest.fixture(scope="module")
def camera():
    """One that runs freely."""
    with Camera(serial="ONE") as camera:
        yield camera


@pytest.fixture(scope="module")
def silent():
    """One that sends nothing until it is triggered."""
    with Camera(serial="TWO") as camera, camera.triggered():
        yield camera


@pytest.fixture
def other():
    """One that the test may close."""
    with Camera(serial="THREE") as camera:
        yield camera


def number_of(raw):
    """The number that the scene gives a frame, if each of its bytes is in place."""
    words = raw.view(np.uint32).ravel()
    number = int(words[0])
    wanted = (np.arange(words.size, dtype=np.uint64) + number * 0x9E3779B1 % 2**32) * 0x85EBCA6B % 2**32
    np.testing.assert_array_equal(words[1:], wanted[1:].astype(np.uint32))
    return number


def test_every_byte_is_in_place_and_every_loss_is_counted(camera, kxsim):
    kxsim.fault("camera 1 frame 4-6 short 512")
    before = camera.statistics
    frames, lost = [], 0
    for frame in camera.frames(Format.RAW, timeout=PATIENCE):
        frames.append((frame.sequence, number_of(np.asarray(frame)), frame.time_ns))
        lost += frame.lost
        assert frame.image.shape == (540, 720) and frame.gain == camera.gain
        if len(frames) >= 12 and lost:
            break
    sequences, numbers, times = zip(*frames)
    assert [b - a for a, b in zip(sequences, sequences[1:])] == [b - a for a, b in zip(numbers, numbers[1:])]
    assert sequences[-1] - sequences[0] == len(frames) - 1 + lost
    assert list(times) == sorted(times) and abs(times[-1] - time.monotonic_ns()) < PATIENCE * 1e9
    after = camera.statistics
    assert after.too_short - before.too_short == 3 == lost
    assert after.ended == sum(
        getattr(after, cause)
        for cause in (
            "delivered too_short too_long timed_out old_geometry flushed passed_over failed waiting"
        ).split()
    )


def test_newest_passes_over_those_before(camera):
    eventually(lambda: camera.statistics.waiting == 5)
    picture = camera.query(Format.RAW, newest=True)
    assert camera.statistics.passed_over >= 4
    following = next(camera.frames(Format.RAW, newest=True))
    assert number_of(following.image) > number_of(picture)


def test_arrays_are_used_again_only_when_nobody_holds_them(camera):
    kept, seen = [], set()
    for i, frame in enumerate(camera.frames(Format.RAW, limit=30, timeout=PATIENCE)):
        seen.add(frame.image.__array_interface__["data"][0])
        if i % 10 == 0:
            kept.append((frame.image[100:, ::2], frame.image[100:, ::2].copy()))
        if i % 10 == 5:
            kept.append((memoryview(frame.image), frame.image.copy()))
    assert len(seen) <= len(kept) + 2
    for view, content in kept:
        np.testing.assert_array_equal(np.asarray(view), content)
    assert isinstance(camera.query(), np.ndarray) and camera.query() is not camera.query()


def wait_in_thread(wait):
    """Calls wait() in a thread; the returned function joins it and gives what it raised."""
    raised = []

    def run():
        try:
            raised.append(wait())
        except Exception as error:
            raised.append(error)

    thread = threading.Thread(target=run)
    thread.start()

    def join():
        thread.join(PATIENCE)
        assert not thread.is_alive()
        return raised[0]

    return join


@pytest.mark.parametrize("timeout", [0, 0.01])
def test_a_wait_ends_in_time(silent, timeout):
    with pytest.raises(kxcam.FrameTimeout, match="waiting for a trigger") as raised:
        silent.query(timeout=timeout)
    assert isinstance(raised.value, TimeoutError) and raised.value.code == kxcam.Cause.NO_FRAME


def test_ctrl_c_ends_a_wait_at_once(silent):
    threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT)).start()
    with pytest.raises(KeyboardInterrupt):
        silent.query(timeout=None)
    silent.trigger_shot()
    assert silent.query(timeout=PATIENCE).any()


def test_interrupt_and_close_end_the_waits_of_other_threads(silent, other):
    waits = [wait_in_thread(lambda: silent.query(timeout=None)) for _ in range(3)]
    silent.interrupt()
    assert {type(join()) for join in waits} == {kxcam.InterruptedWait}
    silent.interrupt(False)
    other.trigger = True
    waits = [wait_in_thread(lambda: other.query(timeout=None)) for _ in range(2)]
    waits.append(wait_in_thread(lambda: next(other.frames(timeout=None))))
    other.close()
    assert {type(join()) for join in waits} == {kxcam.ClosedError}


def test_a_signal_handler_may_close_the_camera(other):
    other.trigger = True
    previous = signal.signal(signal.SIGUSR1, lambda *_: other.close())
    try:
        threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGUSR1)).start()
        with pytest.raises(kxcam.ClosedError):
            other.query(timeout=None)
    finally:
        signal.signal(signal.SIGUSR1, previous)


def test_other_threads_run_while_one_waits(silent):
    """Each trigger comes from a thread that runs only if the wait lets it."""
    for _ in range(3):
        joined = wait_in_thread(silent.trigger_shot)
        assert silent.query(timeout=PATIENCE).any()
        assert joined() is None


def test_threads_use_query_and_close_at_once():
    def use(camera, n):
        with contextlib.suppress(kxcam.ClosedError, kxcam.FrameTimeout):
            while True:
                camera.query(Format.RAW, timeout=1)
                camera.gain = 16 + n
                camera.statistics

    for _ in range(2):
        camera = Camera(serial="THREE")
        joins = [wait_in_thread(lambda n=n: use(camera, n)) for n in range(4)]
        camera.query(timeout=PATIENCE)
        camera.close()
        assert [join() for join in joins] == [None] * 4


def test_an_unplugged_camera_says_so_and_comes_back(camera, kxsim):
    camera.gain = 77
    kxsim.unplug(1)
    with pytest.raises(kxcam.DisconnectedError, match="reconnect"):
        for _ in camera.frames(timeout=PATIENCE):
            pass
    assert camera.statistics.state is kxcam.State.GONE
    with pytest.raises(kxcam.DisconnectedError):
        camera.gpio
    with pytest.raises(kxcam.DisconnectedError):
        camera.reconnect()
    threading.Timer(0.2, kxsim.plug, (1,)).start()
    camera.reconnect(timeout=PATIENCE)
    assert camera.query(timeout=PATIENCE).any() and camera.statistics.reconnects == 1

    frames = camera.frames(timeout=PATIENCE, reconnect=None)
    first = next(frames)
    kxsim.unplug(1)
    threading.Timer(0.2, kxsim.plug, (1,)).start()
    while camera.statistics.reconnects == 1:
        following = next(frames)
    assert following.sequence > first.sequence


@pytest.mark.parametrize("fault, kind", [("open denied", kxcam.AccessError), ("claim busy", kxcam.BusyError)])
def test_a_camera_that_cannot_be_opened(kxsim, fault, kind):
    kxsim.fault(f"camera 3 {fault}")
    with pytest.raises(kind, match="permission|another program"):
        Camera(serial="THREE")
    kxsim.clear_faults()


def test_a_closed_camera_is_not_the_next_one_at_its_index(camera):
    """The library gives the index of a closed camera to the next one."""
    with Camera(serial="THREE") as first:
        index = first.handle.index
    with Camera(serial="THREE") as second:
        assert second.handle.index == index
        with pytest.raises(kxcam.ClosedError):
            first.query()


def test_cameras_that_come_and_go(kxsim):
    with kxcam.watch() as bus:
        assert {bus.next(PATIENCE).serial for _ in range(3)} == {"ONE", "TWO", "THREE"}
        with pytest.raises(kxcam.BusyError, match="one watch"):
            kxcam.watch()
        kxsim.unplug(3)
        left = bus.next(PATIENCE)
        kxsim.plug(3)
        came = next(iter(bus))
        assert (left.arrived, came.arrived, came.serial, came.model) == (
            False,
            True,
            "THREE",
            "Model 0.3MP-C",
        )

        async def one_more():
            kxsim.unplug(3)
            async for event in bus:
                return event

        assert asyncio.run(asyncio.wait_for(one_more(), PATIENCE)).arrived is False
        kxsim.plug(3)
        assert select.select([bus], [], [], PATIENCE)[0] == [bus]
    with pytest.raises(kxcam.ClosedError):
        bus.next(0)


def test_asyncio_waits_for_several_cameras_in_one_thread(camera, other):
    async def take(one):
        return [
            number_of(frame.image) async for frame in one.frames_async(Format.RAW, limit=5, timeout=PATIENCE)
        ]

    async def take_all():
        return await asyncio.gather(take(camera), take(other), take(camera))

    first, second, third = asyncio.run(take_all())
    assert len(second) == 5 and len({*first, *third}) == 10, "each frame goes to one task"
    other.trigger = True

    async def wait_in_vain():
        with pytest.raises(kxcam.FrameTimeout):
            await other.query_async(timeout=0.01)
        task = asyncio.ensure_future(other.query_async(timeout=None))
        await asyncio.sleep(0.01)
        task.cancel()
        with pytest.raises(asyncio.CancelledError):
            await task
        pending = asyncio.ensure_future(other.query_async(timeout=None))
        await asyncio.sleep(0.01)
        await asyncio.to_thread(other.close)
        with pytest.raises(kxcam.ClosedError):
            await pending

    asyncio.run(asyncio.wait_for(wait_in_vain(), PATIENCE))


def use_after_fork(camera, answers):
    for use in (camera.query, lambda: camera.gain, lambda: Camera(serial="THREE"), kxcam.cameras):
        try:
            use()
            answers.send("nothing was raised")
        except kxcam.CameraError as error:
            answers.send(type(error).__name__)
    camera.close()


def test_a_forked_child_is_refused_and_leaves_the_parent_alone(camera):
    camera.query(timeout=PATIENCE)
    ours, theirs = multiprocessing.get_context("fork").Pipe()
    child = multiprocessing.get_context("fork").Process(target=use_after_fork, args=(camera, theirs))
    child.start()
    answers = [ours.recv() for _ in range(4) if ours.poll(PATIENCE)]
    child.join(PATIENCE)
    assert answers == ["ForkedError"] * 4 and child.exitcode == 0
    assert camera.query(timeout=PATIENCE).any()


def test_nothing_leaks(camera):
    def descriptors():
        return len(os.listdir("/proc/self/fd"))

    raw = camera.query(Format.RAW, timeout=PATIENCE)
    before = descriptors()
    for _ in range(2):
        kxcam.develop(raw, 0x3600, Format.GREY)
        with Camera(serial="THREE") as other:
            other.query(timeout=PATIENCE)
    assert descriptors() == before


def test_errors_survive_a_process_boundary():
    error = pickle.loads(pickle.dumps(kxcam.FrameTimeout("waiting", kxcam.Cause.NO_FRAME)))
    assert (error.operation, error.code) == ("waiting", 17) and error.remedy in str(error)

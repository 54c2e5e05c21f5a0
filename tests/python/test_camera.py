# SPDX-License-Identifier: Apache-2.0
"""Cameras, their controls, geometry, settings and refusals. COLOUR has 8 bits, TWELVE is monochrome."""
import os
import pickle
import subprocess

import numpy as np
import pytest

import kxcam
from kxcam import Camera, Format


@pytest.fixture(scope="module")
def colour():
    with Camera(serial="COLOUR") as camera:
        yield camera


@pytest.fixture
def camera(colour):
    before = colour.settings()
    yield colour
    colour.query()  # makes the measurement of white balance that was asked for
    colour.controls.update(before)
    colour.set_preset(0)


def test_cameras_are_found_by_serial_number_and_place(colour):
    assert [(c.index, c.serial, c.product_id) for c in kxcam.cameras()] == [
        (0, "COLOUR", 0x3600),
        (1, "TWELVE", 0x369B),
    ]
    assert (colour.info.serial, colour.info.product_id, colour.info.bits) == ("COLOUR", 0x3600, 8)
    with Camera(1) as twelve:
        assert (twelve.info.serial, twelve.info.bits, twelve.info.bayer) == ("TWELVE", 12, kxcam.Bayer.NONE)
        raw = twelve.query(Format.RAW)
        assert (raw.dtype, raw.shape) == (np.uint16, twelve.size[::-1])
        assert 255 < raw.max() < 4096
        twelve.lut = (np.arange(4096) >> 5).astype(np.uint8)
        assert twelve.lut[4095] == 127 and twelve.query(Format.GREY).max() < 128
        grey = kxcam.develop(raw, 0x369B, Format.GREY)
        assert abs(grey.mean() - raw.mean() / 16) < 8
    for wanted, refusal in [
        (dict(serial="NOBODY"), (kxcam.NotFoundError, "'COLOUR', 'TWELVE'")),
        (dict(index=2), (kxcam.NotFoundError, "There are 2, counted from 0")),
        (dict(index=-1), (kxcam.NotFoundError, "There are 2")),
        (dict(index=0), (kxcam.BusyError, "in use")),
        (dict(serial="COLOUR"), (kxcam.BusyError, "Close it")),
        (dict(serial=7), (TypeError, "serial is a str")),
    ]:
        with pytest.raises(refusal[0], match=refusal[1]):
            Camera(**wanted)


def test_every_control_is_set_read_back_and_refused_out_of_range(camera):
    assert len(camera.controls) > 30
    for name, control in camera.controls.items():
        info, before = control.info, control.value
        assert getattr(camera, info.attribute) == before and type(before) is info.kind
        if info.neutral is None:
            continue
        lowest = 1 if name == "trigger-frames" else info.minimum  # 0 counts as 1
        for number in (lowest + info.step, lowest):
            setattr(camera, info.attribute, info.decode(number))
            assert control.value == pytest.approx(info.decode(number))
        for bad in (info.minimum - 1, info.maximum + 1, float("nan"), "nonsense"):
            with pytest.raises((kxcam.ArgumentError, TypeError), match="expected|takes"):
                control.value = bad
        assert control.value == pytest.approx(info.decode(lowest))
        control.reset()
        assert control.value == pytest.approx(info.neutral)


def test_values_of_numpy_are_values(camera):
    camera.mirror_x, camera.gain, camera.gamma = np.float32(2) > 1, np.uint8(20), np.float32(1.5)
    assert (camera.mirror_x, camera.gain, camera.gamma) == (True, 20, 1.5)


@pytest.mark.parametrize(
    "attempt, kind, text",
    [
        (lambda c: c.controls["gian"], kxcam.UnknownControlError, 'Did you mean "gain"'),
        (lambda c: c.controls["gian"], KeyError, ""),
        (lambda c: c.gian, AttributeError, 'Did you mean "gain"'),
        (lambda c: setattr(c, "exposure_mss", 3), AttributeError, '"exposure_ms"'),
        (lambda c: setattr(c, "gain", 2.5), kxcam.ArgumentError, "whole number 1..255"),
        (lambda c: setattr(c, "gain", None), TypeError, "int 1..255"),
        (lambda c: setattr(c, "anti_flicker", 1), TypeError, "off|50hz|60hz"),
        (lambda c: c.trigger_delay, kxcam.UnsupportedError, "not supported"),
        (lambda c: c.controls.update({"gain": 20, "gamma": 9}), kxcam.ArgumentError, "0.3..2"),
        (lambda c: c.controls.update({"gain": 20, "gama": 1}), kxcam.UnknownControlError, "gamma"),
        (lambda c: setattr(c, "white_balance", (1, 2, 4)), kxcam.ArgumentError, "1.0, 2.0, 4.0"),
        (lambda c: setattr(c, "lut", np.zeros(4095, np.uint8)), kxcam.ArgumentError, "4096"),
        (lambda c: setattr(c, "user_data", bytes(64)), kxcam.ArgumentError, "63 bytes at most"),
        (lambda c: setattr(c, "user_data", 5), TypeError, "bytes"),
        (lambda c: c.set_gpio(256, 0), kxcam.ArgumentError, "0..255"),
        (lambda c: c.set_preset(9), kxcam.ArgumentError, "expected 0..2"),
        (lambda c: c.set_region(1, 0, 64, 64), kxcam.ArgumentError, "multiples of"),
        (lambda c: c.set_region(0, 0, 10_000, 64), kxcam.ArgumentError, "inside the sensor"),
        (lambda c: c.set_region(2**32, 0, 64, 64), kxcam.ArgumentError, "inside the sensor"),
        (lambda c: Camera("COLOUR"), TypeError, "serial='COLOUR'"),
        (lambda c: c.store(2), kxcam.ArgumentError, "0 or 1"),
        (lambda c: c.query("rgb"), TypeError, "RAW, GREY, RGB"),
        (lambda c: c.query(timeout=-1), kxcam.ArgumentError, "0 seconds or more"),
        (lambda c: c.query(timeout=float("nan")), kxcam.ArgumentError, "0 seconds or more"),
        (lambda c: c.query(out=[1]), TypeError, r"uint8 \(540, 720, 3\), not list"),
        (lambda c: c.query(out=np.empty((540, 720, 4), np.uint8)), kxcam.ArgumentError, "540, 720, 4"),
        (lambda c: c.query(out=np.empty((540, 720, 3), np.int8)), kxcam.ArgumentError, "got int8"),
        (lambda c: c.query(out=np.empty((540, 720, 6), np.uint8)[..., ::2]), kxcam.ArgumentError, "non-contig"),
        (lambda c: c.query(out=np.frombuffer(bytes(540 * 720 * 3), np.uint8).reshape(540, 720, 3)),
         kxcam.ArgumentError, "read-only"),
        (lambda c: c.trigger_shot(), kxcam.ArgumentError, "firing a trigger"),
        (lambda c: kxcam.develop(c.query(), 0x3600), kxcam.ArgumentError, r"expected uint8 \(540, 720\)"),
        (lambda c: kxcam.develop(c.query(Format.RAW), 0x1234), kxcam.ArgumentError, "no such model"),
        (lambda c: kxcam.develop(c.query(Format.RAW), "5MP"), kxcam.ArgumentError, "product id"),
        (lambda c: kxcam.develop(c.query(Format.RAW), 0x3600, gama=1), kxcam.UnknownControlError, "gamma"),
    ],
)  # fmt: skip
def test_bad_input_is_refused_and_changes_nothing(camera, attempt, kind, text):
    before, size = camera.settings(), camera.size
    with pytest.raises(kind, match=text) as refused:
        attempt(camera)
    assert (camera.settings(), camera.size) == (before, size)
    again = pickle.loads(pickle.dumps(refused.value))
    assert (type(again), str(again)) == (type(refused.value), str(refused.value))


def test_formats_differ_by_their_order_only(camera):
    rgb, before = camera.query(), camera.empty()
    raw = camera.query(Format.RAW)
    pictures = {
        format: kxcam.develop(raw, camera.info.product_id, format) for format in Format if format != 1
    }
    assert {format.name: picture.shape for format, picture in pictures.items()} == {
        "GREY": (540, 720), "RGB": rgb.shape, "BGR": rgb.shape, "RGBA": (540, 720, 4), "BGRA": (540, 720, 4),
    }  # fmt: skip
    np.testing.assert_array_equal(pictures[Format.BGR], pictures[Format.RGB][..., ::-1])
    np.testing.assert_array_equal(pictures[Format.RGBA][..., :3], pictures[Format.RGB])
    np.testing.assert_array_equal(pictures[Format.BGRA][..., :3], pictures[Format.BGR])
    assert (pictures[Format.RGBA][..., 3] == 255).all()
    for format in Format:
        out = camera.empty(format)
        assert camera.query(format, out=out) is out
    assert camera.query(out=before) is before and before.std() > 10


def test_virtual_camera_makes_the_cameras_own_picture(camera):
    camera.controls.update({"gamma": 1.8, "wb-red": 1.3, "mirror-x": True, "rotate-90": True})
    raw = camera.query(Format.RAW)
    kept = raw.copy()
    with kxcam.VirtualCamera("3600") as virtual:
        virtual.controls.update({"gamma": 1.8, "wb-red": 1.3, "mirror-x": True, "rotate-90": True})
        picture = virtual.develop(raw)
        with pytest.raises(kxcam.DisconnectedError):
            virtual.delay = 3
    assert (raw == kept).all() and raw.shape == (540, 720) and picture.shape == (720, 540, 3)
    own = camera.query()
    # Noise apart: another frame of the same scene.
    assert np.abs(own.astype(int) - picture).mean() < 6 < np.abs(own.astype(int) - picture[::-1]).mean()


def test_region_and_presets(camera):
    full = camera.query(Format.GREY).astype(int)
    camera.set_region(64, 32, 128, 96)
    assert camera.size == (128, 96) and camera.query().shape == (96, 128, 3)
    assert np.abs(camera.query(Format.GREY).astype(int) - full[32:128, 64:192]).mean() < 10
    camera.rotate_90 = True
    assert camera.size == (96, 128) and camera.query(Format.RAW).shape == (96, 128)
    camera.rotate_90 = False
    for preset, (width, height) in enumerate(camera.presets):
        assert camera.set_preset(preset) == (width, height)
        assert camera.query(Format.GREY).shape == (height, width)


def test_settings_files_are_those_of_the_tool(camera, tmp_path):
    kxcam_program = os.environ["KXCAM_PROGRAM"]
    camera.controls.update(
        {"gain": 33, "gamma": 1.25, "anti-flicker": "60hz", "mirror-y": True, "exposure": 77}
    )
    ours, theirs = tmp_path / "ours.txt", tmp_path / "theirs.txt"
    camera.save_settings(ours)
    # A process of its own has cameras of its own.
    subprocess.run([kxcam_program, "params", "load", ours, "-c", "0"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(
        [kxcam_program, "params", "save", theirs, "-c", "0"], check=True, stdout=subprocess.DEVNULL
    )
    lines = lambda file: {line.split()[0] for line in file.read_text().splitlines() if "=" in line}
    assert lines(ours) == lines(theirs)
    wanted = camera.settings()
    camera.reset_settings()
    assert camera.gain == 16
    assert camera.load_settings(ours) == [] and camera.settings() == wanted
    camera.load_settings(theirs)
    with camera.triggered():
        ours.write_text("gain = 20  # and nothing else\n")
        camera.load_settings(ours)
        assert camera.trigger and camera.gain == 20
    for text, complaint in [
        ("gain = 300\n", ":1: .*300.*1..255"),
        ("\ngain 3\n", ":2: .*assignment"),
        ("gain = 3\ngian = 3\n", ":2: .*Did you mean"),
        ("gain = 3\ngain = 3\n", ":2: .*twice"),
        ("exposure-ms = 3\n", "another view"),
        ("# nothing\n", "no settings"),
        ("x" * 70_000, "too long"),
    ]:
        ours.write_text(text)
        before = camera.settings()
        with pytest.raises(kxcam.ArgumentError, match=complaint):
            camera.load_settings(ours)
        assert camera.settings() == before


def test_stored_settings_come_back(camera):
    camera.controls.update({"gain": 40, "target": 100, "black-level": 9, "gamma": 1.14, "exposure": 88})
    wanted = camera.settings()
    camera.store(1)
    assert camera.settings() == pytest.approx(wanted)
    camera.reset_settings()
    camera.load(1)
    assert camera.settings() == pytest.approx(wanted, abs=0.01)
    camera.black_level = 200
    with pytest.raises(kxcam.ArgumentError, match="more than 255"):
        camera.store(1)
    camera.user_data = b"line 3"
    assert camera.user_data[:6] == b"line 3" and len(camera.user_data) == 63


def test_closed_camera_refuses_everything():
    camera = Camera(1)
    camera.close()
    camera.close()
    assert camera.closed and "closed" in repr(camera)
    for use in (lambda: camera.gain, lambda: setattr(camera, "gain", 3), camera.query, camera.empty, camera.reconnect,
                lambda: next(camera.frames()), lambda: camera.statistics, camera.__enter__, camera.fileno):  # fmt: skip
        with pytest.raises(kxcam.ClosedError, match="with"):
            use()


def test_forgotten_camera_is_closed_and_named():
    with pytest.warns(ResourceWarning, match="not closed"):
        Camera(1)
    Camera(1).close()

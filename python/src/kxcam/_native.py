# SPDX-License-Identifier: Apache-2.0
"""The C interface: the library, its functions and structs. Nothing here interprets a result."""
from __future__ import annotations

import ctypes
import os
from ctypes import CFUNCTYPE, POINTER, Structure, c_bool, c_char, c_char_p, c_double, c_int
from ctypes import c_int32, c_int64, c_size_t, c_uint, c_uint32, c_uint64, c_void_p
from pathlib import Path
from typing import Any

CARRIED = Path(__file__).parent / "_lib"
SYSTEM_CONFIGURATION = Path("/etc/kxusb.conf")
_SONAME = "libkxcam.so.1"


def _use_carried_configuration() -> None:
    """Lets a library that came with the package find its cameras where nothing is installed."""
    if "KXUSB_CONF" not in os.environ and not SYSTEM_CONFIGURATION.exists():
        os.environ["KXUSB_CONF"] = str(CARRIED / "kxusb.conf")


def _load() -> tuple[ctypes.CDLL, str]:
    name = os.environ.get("KXCAM_LIBRARY") or _SONAME
    if name == _SONAME and (CARRIED / _SONAME).exists():
        name = str(CARRIED / _SONAME)
        _use_carried_configuration()
    try:
        return ctypes.CDLL(name), name
    except OSError as error:
        raise ImportError(
            f"cannot load {name}: {error}\n"
            "Install the Debian package libkxcam1, or the wheel of kxcam that carries the library, or name "
            "the library in the environment variable KXCAM_LIBRARY."
        ) from error


library, library_name = _load()


class kxcam_frame(Structure):
    _fields_ = [
        ("sequence", c_uint64),
        ("arrived_ns", c_int64),
        ("exposure_ns", c_int64),
        ("width", c_int32),
        ("height", c_int32),
        ("format", c_int32),
        ("gain", c_int32),
        ("waiting", c_int32),
        ("reserved", c_uint32),
    ]


class kxcam_statistics(Structure):
    _fields_ = [
        ("ended", c_uint64),
        ("delivered", c_uint64),
        ("too_short", c_uint64),
        ("too_long", c_uint64),
        ("timed_out", c_uint64),
        ("old_geometry", c_uint64),
        ("flushed", c_uint64),
        ("passed_over", c_uint64),
        ("failed", c_uint64),
        ("bytes", c_uint64),
        ("transfer_errors", c_uint64),
        ("resets", c_uint64),
        ("reconnects", c_uint64),
        ("ring_full_ns", c_uint64),
        ("waiting", c_int32),
        ("state", c_int32),
    ]


class kxcam_description(Structure):
    _fields_ = [
        ("serial", c_char * 16),
        ("model", c_char * 32),
        ("port", c_char * 32),
        ("product_id", c_int32),
        ("firmware", c_int32),
        ("usb_speed", c_int32),
        ("sensor_width", c_int32),
        ("sensor_height", c_int32),
        ("bits", c_int32),
        ("bayer", c_int32),
        ("features", c_uint32),
        ("region_step_x", c_int32),
        ("region_step_y", c_int32),
        ("longest_exposure", c_int32),
        ("reserved", c_int32),
        ("controls", c_uint64),
    ]


class kxcam_bus_event(Structure):
    _fields_ = [
        ("arrived", c_int32),
        ("product_id", c_int32),
        ("serial", c_char * 16),
        ("port", c_char * 32),
        ("model", c_char * 32),
        ("usb_speed", c_int32),
        ("reserved", c_int32),
    ]


class kxcam_control(Structure):
    _fields_ = [
        ("name", c_char_p),
        ("unit", c_char_p),
        ("group", c_char_p),
        ("description", c_char_p),
        ("minimum", c_double),
        ("maximum", c_double),
        ("step", c_double),
        ("neutral", c_double),
        ("choices", POINTER(c_char_p)),
        ("flags", c_uint32),
        ("reserved", c_uint32),
    ]


MessageHandler = CFUNCTYPE(None, c_char_p, c_void_p)

_int_p = POINTER(c_int)
_double_p = POINTER(c_double)

# Arguments of the functions that are used here. Those of kxcam.h return uint32_t, those of extra.h int.
SIGNATURES: dict[str, list[Any]] = {
    "CameraGetCount": [_int_p],
    "CameraGetName": [c_int, c_char_p, c_char_p],
    "CameraGetID": [c_int, _int_p, _int_p],
    "CameraInit": [c_int],
    "CameraInitVirtual": [c_int, c_int, c_void_p],
    "CameraFree": [c_int],
    "CameraReconnect": [c_int],
    "CameraGetResolutionCount": [c_int, _int_p],
    "CameraGetResolution": [c_int, c_int, _int_p, _int_p],
    "CameraSetResolution": [c_int, c_int, _int_p, _int_p],
    "CameraGetImageSize": [c_int, _int_p, _int_p],
    "CameraSetRotate": [c_int, c_int],
    "CameraISP": [c_int, c_void_p, c_void_p, c_int, c_int, c_int],
    "CameraClearHostBuffer": [c_int],
    "CameraSetLUT": [c_int, c_void_p, c_int],
    "CameraGetLUT": [c_int, c_void_p, _int_p],
    "CameraGetAvg": [c_int, _int_p],
    "CameraGetExposureUnit": [c_int, _double_p],
    "CameraTriggerShot": [c_int],
    "CameraSetWBGain": [c_int, c_double, c_double, c_double],
    "CameraGetWBGain": [c_int, _double_p, _double_p, _double_p],
    "CameraOnePushWB": [c_int],
    "CameraSetGPIO": [c_int, c_int, c_int],
    "CameraGetGPIO": [c_int, _int_p],
    "CameraSaveParameter": [c_int, c_int],
    "CameraLoadParameter": [c_int, c_int],
    "CameraReadUserData": [c_int, c_char_p, c_int],
    "CameraWriteUserData": [c_int, c_char_p, c_int],
    "kxcam_query": [
        c_int,
        c_void_p,
        c_size_t,
        c_int,
        c_int,
        c_uint,
        POINTER(kxcam_frame),
        c_size_t,
    ],
    "kxcam_interrupt": [c_int, c_bool],
    "kxcam_frame_fd": [c_int, _int_p],
    "kxcam_get_statistics": [c_int, POINTER(kxcam_statistics), c_size_t],
    "kxcam_open": [c_char_p, _int_p],
    "kxcam_describe": [c_int, POINTER(kxcam_description), c_size_t],
    "kxcam_watch": [c_bool, _int_p],
    "kxcam_next_event": [POINTER(kxcam_bus_event), c_size_t],
    "kxcam_set_region": [c_int, c_int, c_int, c_int, c_int],
    "kxcam_get_control": [c_int, POINTER(kxcam_control), c_size_t],
    "kxcam_get": [c_int, c_char_p, _double_p],
    "kxcam_set": [c_int, c_char_p, c_double],
    "kxcam_thread_error": [],
    "kxcam_error_text": [c_int],
    "kxcam_error_remedy": [c_int],
    "kxcam_set_message_handler": [MessageHandler, c_void_p],
}
RESULTS: dict[str, Any] = {
    "kxcam_error_text": c_char_p,
    "kxcam_error_remedy": c_char_p,
    "kxcam_set_message_handler": None,
}

for _name, _arguments in SIGNATURES.items():
    _function = getattr(library, _name)
    _function.argtypes = _arguments
    _function.restype = RESULTS.get(_name, c_uint32 if _name.startswith("Camera") else c_int)

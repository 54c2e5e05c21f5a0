# SPDX-License-Identifier: Apache-2.0
"""Industrial USB cameras: find, open, configure, read. Pictures are numpy arrays.

    import kxcam

    with kxcam.Camera(serial="LEFT") as camera:
        camera.exposure_ms = 8
        picture = camera.query()

`kxcam.cameras()` lists what is attached, `Camera` opens one, `watch()` tells of those that come and go, and
`develop()` makes pictures of recorded raw frames. Messages of the library go to the logger "kxcam".
"""
from ._bus import BusEvent, BusWatch, CameraInfo, cameras, watch
from ._camera import Camera, Statistics
from ._controls import Control, ControlInfo, Controls, ControlValue, Setting
from ._controls import control_table as controls
from ._errors import (
    AccessError,
    ArgumentError,
    BusyError,
    CameraError,
    Cause,
    ClosedError,
    ConfigurationError,
)
from ._errors import (
    DisconnectedError,
    ForkedError,
    FrameTimeout,
    InterruptedWait,
    NotFoundError,
    RequestError,
)
from ._errors import SystemLimitError, UnknownControlError, UnsupportedError
from ._frames import Format, Frame, Image
from ._native import library_name
from ._session import Bayer, Description, Feature, State
from ._virtual import VirtualCamera, develop

__version__ = "1.0.0"

__all__ = [
    "AccessError",
    "ArgumentError",
    "Bayer",
    "BusEvent",
    "BusWatch",
    "BusyError",
    "Camera",
    "CameraError",
    "CameraInfo",
    "Cause",
    "ClosedError",
    "ConfigurationError",
    "Control",
    "ControlInfo",
    "ControlValue",
    "Controls",
    "Description",
    "DisconnectedError",
    "Feature",
    "ForkedError",
    "Format",
    "Frame",
    "FrameTimeout",
    "Image",
    "InterruptedWait",
    "NotFoundError",
    "RequestError",
    "Setting",
    "State",
    "Statistics",
    "SystemLimitError",
    "UnknownControlError",
    "UnsupportedError",
    "VirtualCamera",
    "cameras",
    "controls",
    "develop",
    "library_name",
    "watch",
]

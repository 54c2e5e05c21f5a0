# SPDX-License-Identifier: Apache-2.0
"""Every control as a property. Made by make_control_properties from the library's table."""
from __future__ import annotations

from ._controls import Setting


class ControlProperties:
    """Properties of every control. A value out of range raises ArgumentError and changes nothing; a control
    that the camera does not offer raises UnsupportedError."""

    __slots__ = ()

    exposure_ms = Setting("exposure-ms", float)
    """Exposure time; the camera takes the nearest whole number of lines: 0..3600000, in ms."""
    exposure = Setting("exposure", int)
    """Exposure time in sensor lines: 1..1000000000, in lines."""
    gain = Setting("gain", int)
    """Gain of the sensor; the meaning of a step depends on the model: 1..255."""
    advanced_gain = Setting("advanced-gain", int)
    """Coarse gain range of the sensor, on models that have one: 0..255."""
    auto_exposure = Setting("auto-exposure", bool)
    """Adjust the exposure until the picture has the target brightness: off|on."""
    auto_gain = Setting("auto-gain", bool)
    """Adjust the gain until the picture has the target brightness: off|on."""
    target = Setting("target", int)
    """Mean brightness that automatic exposure and gain aim at: 0..255, in levels."""
    anti_flicker = Setting("anti-flicker", str)
    """Automatic exposures in whole half-periods of the mains: off|50hz|60hz."""
    frame_rate = Setting("frame-rate", float)
    """Frame rate while it is fixed; setting it fixes it: 0.1..6553.5, in fps."""
    fixed_rate = Setting("fixed-rate", bool)
    """Keep to the frame rate instead of running as fast as possible: off|on."""
    high_speed = Setting("high-speed", bool)
    """Faster sensor clock, on models that have one: off|on."""
    global_reset = Setting("global-reset", bool)
    """Let all rows start exposing together: off|on."""
    delay = Setting("delay", int)
    """Extra vertical blanking, which lengthens every frame: 0..1000000000, in lines."""
    trigger = Setting("trigger", bool)
    """One picture per trigger instead of free run: off|on."""
    trigger_frames = Setting("trigger-frames", int)
    """Pictures per trigger (lines on line-scan models): 0..65535, in frames."""
    trigger_polarity = Setting("trigger-polarity", str)
    """Active level of the trigger input: low|high."""
    trigger_delay = Setting("trigger-delay", int)
    """Delay from trigger to exposure, in units of the camera: 0..1000000000."""
    debouncer = Setting("debouncer", int)
    """Time for which the trigger input must be steady: 0..1000000000."""
    strobe = Setting("strobe", bool)
    """Strobe output: off|on."""
    strobe_polarity = Setting("strobe-polarity", str)
    """Active level of the strobe output: low|high."""
    strobe_delay = Setting("strobe-delay", int)
    """Delay from exposure to strobe, in units of the camera: 0..1000000000."""
    strobe_duration = Setting("strobe-duration", int)
    """Duration of the strobe, in units of the camera: 0..1000000000."""
    timeout = Setting("timeout", int)
    """Least time a program waits for a frame: 500..50000, in ms."""
    line_height = Setting("line-height", int)
    """Lines per frame of a line-scan camera: 1..65535, in lines."""
    line_trigger = Setting("line-trigger", bool)
    """Trigger for each line of a line-scan camera: off|on."""
    readout_mode = Setting("readout-mode", int)
    """Readout mode of the sensor, on models that have several: 0..255."""
    denoise = Setting("denoise", bool)
    """Remove single bright pixels: off|on."""
    fixed_pattern = Setting("fixed-pattern", bool)
    """Even out the fixed pattern of rows and columns: off|on."""
    auto_white_balance = Setting("auto-white-balance", bool)
    """Measure the white balance again whenever the scene changes: off|on."""
    wb_red = Setting("wb-red", float)
    """White-balance gain of red: 0..3."""
    wb_green = Setting("wb-green", float)
    """White-balance gain of green: 0..3."""
    wb_blue = Setting("wb-blue", float)
    """White-balance gain of blue: 0..3."""
    black_level = Setting("black-level", int)
    """Level that becomes black: 0..255, in levels."""
    gamma = Setting("gamma", float)
    """Gamma; more than 1 brightens the shadows: 0.3..2."""
    contrast = Setting("contrast", float)
    """Contrast around the middle of the range: 0.3..2."""
    saturation = Setting("saturation", float)
    """Colour saturation; 0 is grey: 0..2."""
    enhancement = Setting("enhancement", bool)
    """Use the camera's own colour matrix: off|on."""
    interpolation = Setting("interpolation", int)
    """Stored for other programs; colours are always interpolated bilinearly: 0..255."""
    mirror_x = Setting("mirror-x", bool)
    """Mirror left to right: off|on."""
    mirror_y = Setting("mirror-y", bool)
    """Mirror top to bottom: off|on."""
    rotate_90 = Setting("rotate-90", bool)
    """Rotate 90 degrees clockwise: off|on."""

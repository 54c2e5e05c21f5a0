# SPDX-License-Identifier: Apache-2.0
"""What the package declares of the C interface is what the public headers say."""
import ctypes
import re
import subprocess
import sys
from enum import IntEnum
from pathlib import Path

import pytest

import kxcam
from kxcam import _camera, _controls, _frames, _native

ROOT = Path(__file__).parents[2]
TEXT = "".join((ROOT / "include/kxcam" / name).read_text() for name in ("kxcam.h", "extra.h"))
CODE = re.sub(r"/\*.*?\*/", "", TEXT, flags=re.S)

SCALARS = {
    "int": ctypes.c_int,
    "unsigned": ctypes.c_uint,
    "bool": ctypes.c_bool,
    "double": ctypes.c_double,
    "size_t": ctypes.c_size_t,
    "uint32_t": ctypes.c_uint32,
    "uint64_t": ctypes.c_uint64,
    "int32_t": ctypes.c_int32,
    "int64_t": ctypes.c_int64,
    "void": None,
}


def ctype(declared):
    """The ctypes type of "const char* name"."""
    words = declared.replace("*", " * ").replace("const", "").replace("struct ", "").split()
    stars = words.count("*")
    base = words[0]
    if stars == 0:
        return SCALARS[base]
    if base in ("void", "uint8_t", "ISPParam"):
        return ctypes.c_void_p  # arrays go by their address
    pointed = (
        ctypes.c_char_p if base == "char" else ctypes.POINTER(SCALARS.get(base) or getattr(_native, base))
    )
    return ctypes.POINTER(pointed) if stars > 1 else pointed


def prototypes():
    for result, name, arguments in re.findall(r"KXCAM_API ([^;(]+?)(\w+)\(([^;]*)\);", CODE):
        arguments = re.sub(r"void \(\*\w+\)\([^)]*\)", "HANDLER", arguments)
        listed = [] if arguments.strip() == "void" else arguments.split(",")
        yield name, ctype(result), [_native.MessageHandler if "HANDLER" in a else ctype(a) for a in listed]


def test_functions():
    declared = {name: (result, arguments) for name, result, arguments in prototypes()}
    assert len(declared) > 100
    for name, arguments in _native.SIGNATURES.items():
        function = getattr(_native.library, name)
        assert (function.restype, function.argtypes) == (declared[name][0], arguments), name
        assert declared[name][1] == arguments, name


@pytest.mark.parametrize("name", [name for name in vars(_native) if name.startswith("kxcam_")])
def test_structs(name):
    body = re.search(rf"struct {name} {{(.*?)}};", CODE, re.S).group(1)
    members = []
    for declared in body.split(";"):
        if not declared.strip():
            continue
        member, size = re.search(r"(\w+)(?:\[(\d+)\])?$", declared.strip()).groups()
        members.append((member, ctypes.c_char * int(size) if size else ctype(declared)))
    assert getattr(_native, name)._fields_ == members


@pytest.mark.parametrize(
    "enum, prefix, ours",
    [
        ("kxcam_error", "KXCAM_ERROR_", kxcam.Cause),
        ("kxcam_extra_error", "KXCAM_ERROR_", kxcam.Cause),
        ("kxcam_state", "KXCAM_", kxcam.State),
        ("kxcam_bayer", "KXCAM_BAYER_", kxcam.Bayer),
        ("kxcam_feature", "KXCAM_FEATURE_", kxcam.Feature),
        ("kxcam_format", "KXCAM_FORMAT_", {"RAW": kxcam.Format.RAW, "GREY": kxcam.Format.GREY,
                                           "COLOR": kxcam.Format.RGB, "BGR": kxcam.Format.BGR ^ kxcam.Format.RGB,
                                           "32BIT": kxcam.Format.RGBA ^ kxcam.Format.RGB,
                                           "UNCORRECTED": _frames.UNCORRECTED}),
        ("kxcam_query_flag", "KXCAM_QUERY_", {"NEWEST": _camera._NEWEST}),
        ("kxcam_control_flag", "KXCAM_CONTROL_", {"WHOLE": _controls._WHOLE, "VIEW": _controls._VIEW}),
    ],
)  # fmt: skip
def test_enums(enum, prefix, ours):
    body = re.search(rf"enum {enum} {{(.*?)}};", CODE, re.S).group(1)
    following, seen = 0, []
    for entry in filter(None, map(str.strip, body.split(","))):
        name, _, value = entry.partition("=")
        following = int(value, 0) if value else following
        seen.append(name.strip()[len(prefix) :])
        assert int(ours[seen[-1]]) == following, entry
        following += 1
    if isinstance(ours, dict) or ours is not kxcam.Cause:
        assert set(seen) == set(ours if isinstance(ours, dict) else ours.__members__)


def test_every_cause_has_an_exception():
    from kxcam._errors import camera_error

    plain = {cause for cause in kxcam.Cause if type(camera_error("x", cause)) is kxcam.CameraError}
    assert plain == {kxcam.Cause.NONE_YET, kxcam.Cause.FRAME_SIZE}


def test_dataclasses_hold_what_the_structs_hold():
    fields = lambda struct: {name for name, _ in struct._fields_}
    assert set(kxcam.Statistics.__dataclass_fields__) == fields(_native.kxcam_statistics)
    assert set(kxcam.Description.__dataclass_fields__) == fields(_native.kxcam_description) - {
        "reserved",
        "controls",
    }


def test_control_properties_are_those_of_the_library():
    made = subprocess.run(
        [sys.executable, ROOT / "python/make_control_properties"], capture_output=True, text=True, check=True
    ).stdout
    assert made == (ROOT / "python/src/kxcam/_control_properties.py").read_text()


def test_version_is_that_of_the_project():
    version = re.search(r"project\(kxcam VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
    assert kxcam.__version__ == version


def test_everything_public_is_described():
    for name in kxcam.__all__:
        thing = getattr(kxcam, name)
        if not isinstance(thing, type) or issubclass(thing, IntEnum):
            continue
        assert thing.__doc__, name
        for member, value in vars(thing).items():
            if not member.startswith("_") and (callable(value) or isinstance(value, property)):
                assert value.__doc__, f"{name}.{member}"

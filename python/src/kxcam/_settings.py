# SPDX-License-Identifier: Apache-2.0
"""Settings as text files, and in the camera's own memory. Files are those of `kxcam params`."""
from __future__ import annotations

import math
import os
import tempfile
from pathlib import Path
from typing import TYPE_CHECKING

from ._controls import ControlInfo, ControlValue, control_table, find_control, read_number, write_number
from ._errors import ArgumentError, CameraError, Cause, RequestError, UnsupportedError, expected

if TYPE_CHECKING:
    from ._session import Session

_LONGEST_FILE = 65536  # far more than all settings take; a device file may have no end
_STORED_STEP = 0.01  # of real values in the camera's memory


def text(session: Session) -> str:
    info = session.info
    lines = [
        f"# Settings of {info.model}, product {info.product_id:04x}, serial {info.serial}.",
        "# `kxcam params load` puts them into this camera or another one.",
        "",
    ]
    offered = session.settings()
    for control in control_table().values():
        if control.neutral is None:
            continue
        if control.name in offered:
            unit = f"{control.unit}, " if control.unit else ""
            value = control.text(offered[control.name])
            lines.append(f"{control.name:<18} = {value:<10}  # {unit}{control.range}")
        else:
            lines.append(f"# {control.name:<18} not offered by this camera")
    return "\n".join(lines) + "\n"


def write_file(path: Path, content: str) -> None:
    descriptor, name = tempfile.mkstemp(dir=path.parent, prefix=f".{path.name}.")
    try:
        with os.fdopen(descriptor, "w", encoding="utf-8") as file:
            file.write(content)
            file.flush()
            os.fsync(file.fileno())
        umask = os.umask(0)
        os.umask(umask)
        os.chmod(name, 0o666 & ~umask)
        os.replace(name, path)
    except BaseException:
        os.unlink(name)
        raise


def read_file(path: Path) -> dict[str, ControlValue]:
    with open(path, encoding="utf-8-sig", errors="replace") as file:
        content = file.read(_LONGEST_FILE + 1)
    if len(content) > _LONGEST_FILE:
        raise expected(f"reading {path}", "it is too long for a settings file")
    return parse(content, str(path))


def parse(content: str, source: str) -> dict[str, ControlValue]:
    """The settings in a text. Raises ArgumentError that names the line."""
    found: dict[str, ControlValue] = {}
    for number, line in enumerate(content.split("\n"), 1):
        line = line.partition("#")[0].strip()
        if not line:
            continue
        where = f"{source}:{number}"
        name, equals, value = (part.strip() for part in line.partition("="))
        if not equals:
            raise expected(where, f"{line!r} is not an assignment", "Write NAME = VALUE.")
        try:
            info = find_control(name)
            if info.neutral is None:
                raise expected(f"control {name}", "it is another view of a control, and is not stored")
            if name in found:
                raise expected(f"control {name}", "it is set twice")
            found[name] = info.parse(value)
        except ArgumentError as error:
            raise type(error)(where, error.code, cause=str(error).rstrip("."), remedy="") from None
    if not found:
        raise expected(
            f"reading {source}", "it holds no settings", "Camera.save_settings() writes such a file."
        )
    return found


def _change(session: Session, info: ControlInfo, number: float) -> bool:
    """False when the camera has no such setting. What it need not change it is not asked to: some refuse
    even to be told that they are not triggered."""
    try:
        if read_number(session, info) != number:
            write_number(session, info, number)
        return True
    except UnsupportedError:
        return False


def apply(session: Session, settings: dict[str, ControlValue]) -> list[str]:
    numbers = {name: find_control(name).encode(value) for name, value in settings.items()}
    # Some settings can only be changed while the camera is not triggered.
    trigger = find_control("trigger")
    triggered = "trigger" in session.controls and read_number(session, trigger) == 1
    if triggered:
        write_number(session, trigger, 0)
    try:
        return [
            name
            for name, info in control_table().items()
            if name in numbers and not _change(session, info, numbers[name])
        ]
    finally:
        if triggered and "trigger" not in numbers:
            write_number(session, trigger, 1)


def reset(session: Session) -> None:
    neutral = {name: info.neutral for name, info in control_table().items() if info.neutral is not None}
    apply(session, neutral)


def _numbers(session: Session) -> dict[ControlInfo, float]:
    numbers = {}
    for info in control_table().values():
        try:
            numbers[info] = read_number(session, info)
        except UnsupportedError:
            pass
    return numbers


def _raise_target(session: Session) -> None:
    """A camera takes the black level from the target when it loads them, so a target that is to come back
    as it is has to be stored higher."""
    target, black = find_control("target"), find_control("black-level")
    level = read_number(session, target)
    raised = level + read_number(session, black)
    if raised == level:
        return
    if raised > target.maximum:
        raise expected(
            "storing the settings",
            "the camera cannot keep target and black-level that add up to more than 255",
            "Choose a lower target or black-level.",
        )
    write_number(session, target, raised)


def _round_reals(session: Session) -> None:
    """A camera cuts off what is below its hundredths, and 1.14 is a little less than 114 of them."""
    for info, number in _numbers(session).items():
        if info.step == _STORED_STEP:
            write_number(session, info, min(number + _STORED_STEP / 2, info.maximum))


def store(session: Session, slot: int) -> None:
    before = _numbers(session)
    try:
        _raise_target(session)
        _round_reals(session)
        session.call("storing the settings", "CameraSaveParameter", slot)
    except CameraError:
        # What was prepared for the memory is not what the program had set.
        for info, number in before.items():
            if info.neutral is not None:
                _change(session, info, number)
        raise
    try:
        load(session, slot)
    except CameraError:
        pass  # a value that is refused is found below
    after = _numbers(session)
    lost = [
        info.name
        for info, number in before.items()
        if info.neutral is not None
        and not abs(after.get(info, math.nan) - number) < info.step + (1e-6 if info.kind is float else 0)
    ]
    if lost:
        raise RequestError(
            "storing the settings",
            Cause.WRITE_REQUEST,
            cause=f"the camera did not keep {', '.join(lost)}",
            remedy="Its memory may be write-protected or worn out, or a value larger than it has room for.",
        )


def load(session: Session, slot: int) -> None:
    session.call(f"loading the settings in slot {slot}", "CameraLoadParameter", slot)

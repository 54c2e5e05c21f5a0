# SPDX-License-Identifier: Apache-2.0
"""python -m kxcam list | doctor | install-rule [--root DIR]"""
from __future__ import annotations

import argparse
import os
import platform
import shutil
import subprocess
import sys
from collections.abc import Iterator
from pathlib import Path

import numpy as np

import kxcam

from ._native import CARRIED, SYSTEM_CONFIGURATION

_RULE = "70-kxcam.rules"
_RULE_FOLDERS = ("/etc/udev/rules.d", "/run/udev/rules.d", "/usr/lib/udev/rules.d", "/lib/udev/rules.d")
_VENDOR = "a7b7"
_RELOAD = (["udevadm", "control", "--reload"], ["udevadm", "trigger", "--subsystem-match=usb"])


def list_cameras() -> int:
    """Prints the cameras that are attached, one a line; 1 if there are none."""
    attached = kxcam.cameras()
    for camera in attached:
        print(
            f"{camera.index}  {camera.serial or '(no serial number)'}  {camera.product_id:04x}  {camera.name}"
        )
    if not attached:
        print("no camera is attached", file=sys.stderr)
    return 0 if attached else 1


def _nodes_without_access() -> Iterator[str]:
    """Device nodes of cameras that this user may not open."""
    for device in Path("/sys/bus/usb/devices").glob("*/idVendor"):
        if device.read_text().strip() == _VENDOR:
            bus, number = (int((device.parent / name).read_text()) for name in ("busnum", "devnum"))
            node = f"/dev/bus/usb/{bus:03}/{number:03}"
            if not os.access(node, os.R_OK | os.W_OK):
                yield node


def _find_rule() -> Path | None:
    return next((path for path in (Path(folder, _RULE) for folder in _RULE_FOLDERS) if path.exists()), None)


def _problems(configuration: Path, rule: Path | None) -> Iterator[str]:
    if not configuration.exists():
        yield (
            f"there is no configuration file {configuration}. Install the package libkxcam1, or name another file in "
            "the environment variable KXUSB_CONF."
        )
    if rule is None:
        yield (
            f"the udev rule is not installed. Type `sudo {sys.executable} -m kxcam install-rule`, or install "
            "the package libkxcam1."
        )
    for node in _nodes_without_access():
        yield f"{node} may not be opened. Install the udev rule, and plug the camera in again."
    try:
        if not kxcam.cameras():
            yield "no camera is attached, or none that the configuration file lists. Check cable and power."
    except kxcam.CameraError as error:
        yield str(error)


def doctor() -> int:
    """Prints what the package works with and what keeps cameras from working; 1 if anything does."""
    configuration = Path(os.environ.get("KXUSB_CONF") or SYSTEM_CONFIGURATION)
    rule = _find_rule()
    print(f"kxcam {kxcam.__version__}, Python {platform.python_version()}, numpy {np.__version__}")
    print(f"library: {kxcam.library_name}")
    print(f"configuration file: {configuration}")
    print(f"udev rule: {rule or 'not installed'}")
    problems = list(_problems(configuration, rule))
    for problem in problems:
        print(f"problem: {problem}")
    if not problems:
        list_cameras()
    if shutil.which("kxcam"):
        print("`kxcam doctor` checks more: drivers, other programs, USB speed, power saving.")
    return 1 if problems else 0


def install_rule(root: Path) -> int:
    """Installs the udev rule and the configuration file that came with the package, or prints how."""
    if not (CARRIED / _RULE).exists():
        print(f"this package came without the rule. The Debian package libkxcam1 installs it: {_find_rule()}")
        return 0 if _find_rule() else 1
    targets = {_RULE: root / "etc/udev/rules.d" / _RULE, "kxusb.conf": root / "etc/kxusb.conf"}
    if targets["kxusb.conf"].exists():
        del targets["kxusb.conf"]  # it may have been edited
    try:
        for name, target in targets.items():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(CARRIED / name, target)
            print(f"installed {target}")
    except PermissionError:
        print("This needs root. Type")
        for name, target in targets.items():
            print(f"  sudo cp {CARRIED / name} {target}")
        print("  " + " && ".join("sudo " + " ".join(command) for command in _RELOAD))
        return 1
    if root == Path("/"):
        for command in _RELOAD:
            subprocess.run(command, check=False)
    print("Plug in the cameras again.")
    return 0


def main() -> int:
    parser = argparse.ArgumentParser(prog="python -m kxcam", description="Industrial USB cameras.")
    commands = parser.add_subparsers(dest="command", required=True)
    commands.add_parser("list", help="print the cameras that are attached")
    commands.add_parser("doctor", help="find what keeps cameras from working")
    rule = commands.add_parser("install-rule", help="let the users of this computer open the cameras")
    rule.add_argument("--root", type=Path, default=Path("/"), help="install below this folder")
    arguments = parser.parse_args()
    try:
        if arguments.command == "list":
            return list_cameras()
        return doctor() if arguments.command == "doctor" else install_rule(arguments.root)
    except kxcam.CameraError as error:
        print(error, file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())

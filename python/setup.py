# SPDX-License-Identifier: Apache-2.0
"""One wheel for every Python 3: without compiled code, or with the libraries for the platform that is named in
KXCAM_WHEEL_PLATFORM."""
import os

from setuptools import Distribution, setup

try:
    from setuptools.command.bdist_wheel import bdist_wheel
except ImportError:  # before setuptools 70
    from wheel.bdist_wheel import bdist_wheel

PLATFORM = os.environ.get("KXCAM_WHEEL_PLATFORM")


class Carrying(Distribution):
    """What it carries belongs where libraries of a platform go."""

    def has_ext_modules(self):
        return PLATFORM is not None


class Wheel(bdist_wheel):
    """The libraries are those of a platform, and of no version of Python."""

    def get_tag(self):
        return "py3", "none", PLATFORM or "any"


setup(distclass=Carrying, cmdclass={"bdist_wheel": Wheel})

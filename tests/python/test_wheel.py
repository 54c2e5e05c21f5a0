# SPDX-License-Identifier: Apache-2.0
"""The wheels, installed into empty virtual environments by pip, without a network."""
import os
import subprocess
import sys
import zipfile
from pathlib import Path

import pytest

WHEELS = Path(os.environ["KXCAM_WHEELS"])
KXSIM = os.environ["KXSIM"]
LIBRARY = os.environ["KXCAM_LIBRARY"]

PICTURE = """
import kxcam
with kxcam.Camera() as camera:
    print(camera.query().shape)
with open("/proc/self/maps") as maps:
    print(*sorted({line.split()[-1] for line in maps if "libkxcam" in line or "libusb" in line}))
"""


@pytest.fixture(scope="module", params=["manylinux", "any"])
def installed(request, tmp_path_factory):
    """Kind of the wheel, and the Python of an environment that has it."""
    folder = tmp_path_factory.mktemp(request.param)
    # numpy comes from the system, as there is no network.
    subprocess.run(
        [sys.executable, "-m", "venv", "--system-site-packages", "--without-pip", folder], check=True
    )
    python = folder / "bin/python"
    (wheel,) = WHEELS.glob(f"kxcam-*-py3-none-{request.param}*.whl")
    subprocess.run(
        [sys.executable, "-m", "pip", "--python", python, "install", "-q", "--no-index", wheel], check=True
    )
    return request.param, python


def clean(**added):
    """An environment that names neither library nor sources."""
    names = ("KXCAM_LIBRARY", "PYTHONPATH", "KXUSB_CONF")
    return {**{name: value for name, value in os.environ.items() if name not in names}, **added}


def output(*command, **added):
    return subprocess.run(
        [str(word) for word in command], env=clean(**added), check=True, capture_output=True, text=True
    ).stdout


def test_one_file_gives_a_picture(installed, tmp_path):
    kind, python = installed
    system = {} if kind == "manylinux" else {"LD_LIBRARY_PATH": str(Path(LIBRARY).parent)}
    told = output(KXSIM, "run", "--camera", "3600", "--", python, "-c", PICTURE, **system)
    shape, mapped = told.splitlines()
    assert shape == "(540, 720, 3)"
    names = {Path(path).name for path in mapped.split()}
    if kind == "any":
        assert len(names) == 2 and "libusb-kxcam.so.0" not in names
        return
    assert names == {"libkxcam.so.1", "libusb-kxcam.so.0"}
    folder = Path(mapped.split()[0]).parent
    assert all(Path(path).parent == folder for path in mapped.split()) and python.parents[1] in folder.parents
    assert (folder / "LGPL-2.1").stat().st_size > 20_000 and "libusb" in (
        folder / "libusb.copyright"
    ).read_text()

    # Where nothing else is installed its own configuration file is read, and the rule is there to install.
    listed = output(python, "-c", "import kxcam, os; print(os.environ.get('KXUSB_CONF'), kxcam.cameras())")
    assert os.path.exists("/etc/kxusb.conf") or listed == f"{folder / 'kxusb.conf'} []\n"
    assert listed.endswith("[]\n")
    told = output(python, "-m", "kxcam", "install-rule", "--root", tmp_path)
    assert (tmp_path / "etc/udev/rules.d/70-kxcam.rules").read_text() == (
        folder / "70-kxcam.rules"
    ).read_text()
    (tmp_path / "etc/kxusb.conf").write_text("# ours")
    output(python, "-m", "kxcam", "install-rule", "--root", tmp_path)
    assert (tmp_path / "etc/kxusb.conf").read_text() == "# ours"


def test_programs_and_plugin_are_found(installed):
    kind, python = installed
    system = {} if kind == "manylinux" else {"LD_LIBRARY_PATH": str(Path(LIBRARY).parent)}
    simulated = [KXSIM, "run", "--camera", "3600,serial=LEFT", "--"]
    assert "LEFT  3600" in output(*simulated, python, "-m", "kxcam", "list", **system)
    assert "--kxsim" in output(python, "-m", "pytest", "--help", **system)
    told = subprocess.run(
        [python, "-m", "kxcam", "doctor"],
        env=clean(**system, KXUSB_CONF="/nonexistent/kxusb.conf"),
        capture_output=True,
        text=True,
    )
    assert told.returncode == 1 and "problem: there is no configuration file" in told.stdout, told


def test_wheels_differ_by_what_is_carried_only():
    contents = {}
    for wheel in WHEELS.glob("*.whl"):
        with zipfile.ZipFile(wheel) as archive:
            contents["manylinux" in wheel.name] = {
                name: archive.read(name) for name in archive.namelist() if ".dist-info" not in name
            }
    carried = {name for name in contents[True] if "/_lib/" in name}
    assert len(carried) == 7 and {name for name in contents[True]} - carried == set(contents[False])
    assert all(contents[True][name] == content for name, content in contents[False].items())


def test_without_a_library_the_import_says_what_to_install():
    done = subprocess.run(
        [sys.executable, "-c", "import kxcam"],
        env=clean(PYTHONPATH=os.environ["PYTHONPATH"], KXCAM_LIBRARY="/nonexistent/libkxcam.so.1"),
        capture_output=True,
        text=True,
    )
    assert done.returncode == 1 and "Install the Debian package libkxcam1" in done.stderr

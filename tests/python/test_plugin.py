# SPDX-License-Identifier: Apache-2.0
"""The plugin as an application's own tests use it."""
pytest_plugins = "pytester"

APPLICATION = """
import os, time
import pytest
import kxcam

PATIENCE = 60

@pytest.fixture(scope="module")
def shared():
    return os.environ.get("KXSIM_SOCKET")

def test_without_cameras(shared):
    assert shared is None

@pytest.mark.kxsim("3600,noise=0,light=1", "3600,serial=RIGHT", fault="camera 2 unplug after 3 frames")
def test_with_two_and_a_fault_and_commands(shared, kxsim):
    assert shared is not None and len(kxsim.status()) == 2
    with pytest.raises(ValueError, match="fault nonsense"):
        kxsim.fault("nonsense")
    with kxcam.Camera() as camera, kxcam.Camera(serial="RIGHT") as right:
        with pytest.raises(kxcam.DisconnectedError):
            for frame in right.frames(timeout=PATIENCE):
                pass
        bright = camera.query(timeout=PATIENCE).mean()
        kxsim.light(0.25, camera=1)
        camera.clear()
        assert camera.query(timeout=PATIENCE).mean() < bright / 2
        kxsim.unplug()
        with pytest.raises(kxcam.DisconnectedError):
            for frame in camera.frames(timeout=PATIENCE):
                pass
        kxsim.plug()
        camera.reconnect(timeout=PATIENCE)

@pytest.mark.kxsim
def test_fails():
    print("what it wrote")
    assert len(kxcam.cameras()) == 7

@pytest.mark.kxsim
def test_skips():
    pytest.skip("not today")

@pytest.mark.kxsim
@pytest.mark.xfail(reason="known")
def test_is_known_to_fail():
    assert False

@pytest.mark.kxsim(timeout=1)
def test_hangs():
    time.sleep(1000)

@pytest.mark.kxsim
def test_dies():
    os._exit(5)

def test_command_without_cameras(kxsim):
    pass
"""

OTHER_MODULE = """
def test_of_another_module():
    pass
"""

WHOLE_RUN = """
import kxcam, pytest

def test_all_have_cameras():
    assert [camera.serial for camera in kxcam.cameras()] == ["LEFT", "RIGHT"]

@pytest.mark.kxsim("3600,serial=OWN")
def test_one_has_its_own():
    assert [camera.serial for camera in kxcam.cameras()] == ["OWN"]
"""


def run(pytester, *arguments):
    return pytester.runpytest("-p", "kxcam.pytest_plugin", "-p", "no:cacheprovider", *arguments)


def test_each_marked_test_has_its_own_cameras_and_its_own_end(pytester):
    pytester.makepyfile(test_application=APPLICATION, test_other=OTHER_MODULE)
    result = run(pytester, "test_application.py", "test_other.py", "-rs")
    result.assert_outcomes(passed=3, failed=3, skipped=1, xfailed=1, errors=1)
    result.stdout.fnmatch_lines_random(
        [
            "*assert 1 == 7*",
            "*what it wrote*",
            "*not today*",
            "*process was ended: it took longer than 1 s*",
            "*process ended with status 5*",
            "*no simulated cameras: mark the test*",
        ]
    )


def test_one_set_of_cameras_for_all(pytester):
    pytester.makepyfile(WHOLE_RUN)
    cameras = ("--kxsim", "3600,serial=LEFT", "--kxsim", "3600,serial=RIGHT")
    result = pytester.runpytest_subprocess("-p", "kxcam.pytest_plugin", *cameras)
    result.assert_outcomes(passed=2)


def test_without_the_simulator(pytester, monkeypatch):
    monkeypatch.delenv("KXSIM")
    monkeypatch.setenv("PATH", "")
    pytester.makepyfile(WHOLE_RUN)
    result = run(pytester, "-k", "own", "-rs")
    result.assert_outcomes(skipped=1, deselected=1)
    result.stdout.fnmatch_lines(["*no command kxsim*"])
    result = run(pytester, "--kxsim", "3600")
    assert result.ret == 4
    result.stderr.fnmatch_lines(["*no command kxsim*"])

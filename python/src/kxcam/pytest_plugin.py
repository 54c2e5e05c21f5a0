# SPDX-License-Identifier: Apache-2.0
"""Simulated cameras for the tests of an application.

`@pytest.mark.kxsim("3500", "350B,serial=LEFT", fault="unplug after 30 frames")` runs a test with cameras of
its own, and the fixture `kxsim` pulls their cables and changes their light at a line of the test:

    @pytest.mark.kxsim("3500")
    def test_line_goes_on(kxsim):
        with Line() as line:
            kxsim.unplug()
            kxsim.plug()
            assert line.inspects()

`pytest --kxsim 3500` runs all tests with one set of cameras. Needs the command kxsim (Debian package
kxcam-sim), on PATH or named in the environment variable KXSIM.

Simulated cameras stand below the libusb of a process from its start, so that a marked test runs in a process
of its own; its fixtures, those of a module or session too, are made there.
"""
from __future__ import annotations

import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any

import pytest

_RUN = "KXCAM_PYTEST_RUN"  # set in a run that --kxsim started
_REPORTS = "KXCAM_PYTEST_REPORTS"  # set for a marked test: where its reports go
_DEFAULT_CAMERA = "3500"
_DEFAULT_TIMEOUT_S = 120.0
_MODULE = "libkxsim-usbfs.so"


class Simulator:
    """Commands for the simulated cameras of this process, which are counted from 1."""

    def command(self, line: str) -> str:
        """Sends one of the commands that `man kxsim` lists, and returns the answer. Raises ValueError for
        one that is refused."""
        with self._connect() as connection, connection.makefile("rw") as stream:
            stream.write(line + "\n")
            stream.flush()
            connection.shutdown(socket.SHUT_WR)
            answer = stream.read()
        if answer.startswith("error: "):
            raise ValueError(f"{line}: {answer[len('error: '):].strip()}")
        return answer

    def _connect(self) -> socket.socket:
        name = os.environ["KXSIM_SOCKET"]
        address = "\0" + name[1:] if name.startswith("@") else name
        connection = socket.socket(socket.AF_UNIX)
        try:
            connection.connect(address)
        except OSError:
            # The cameras listen once the process has looked for them.
            import kxcam

            kxcam.cameras()
            connection.connect(address)
        return connection

    def unplug(self, camera: int = 1) -> None:
        """Pulls the cable of a camera."""
        self.command(f"unplug {camera}")

    def plug(self, camera: int = 1) -> None:
        """Puts it in again."""
        self.command(f"plug {camera}")

    def fault(self, script: str) -> None:
        """Adds faults, which count from now: "frame 2-5 missing"."""
        self.command(f"fault {script}")

    def clear_faults(self) -> None:
        """Nothing goes wrong any more."""
        self.command("clear-faults")

    def light(self, level: float, camera: int | None = None) -> None:
        """Changes the light, of all cameras without a number. At level 1 an exposure of 10 ms suits most."""
        self.command(f"light {'' if camera is None else camera} {level}")

    def trigger(self, camera: int = 1) -> None:
        """Gives a pulse on the external trigger line."""
        self.command(f"trigger {camera}")

    def status(self) -> list[str]:
        """A line about each camera."""
        return self.command("status").splitlines()


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("kxsim", "simulated cameras")
    group.addoption(
        "--kxsim", action="append", metavar="CAMERA", help="run with this camera, as kxsim run --camera"
    )
    group.addoption("--kxsim-fault", metavar="SCRIPT", help="what goes wrong, as kxsim run --fault")
    group.addoption("--kxsim-scene", metavar="SCENE", help="what the cameras see, as kxsim run --scene")


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line(
        "markers",
        "kxsim(*cameras, fault=None, scene=None, timeout=120): run the test with these simulated cameras, in a "
        "process of its own that may take so many seconds",
    )


def _find_kxsim() -> str | None:
    return os.environ.get("KXSIM") or shutil.which("kxsim")


def _command(
    kxsim: str, cameras: Sequence[str], fault: str | None, scene: str | None, arguments: Sequence[str]
) -> list[str]:
    command = [kxsim, "run"]
    for camera in cameras or [_DEFAULT_CAMERA]:
        command += ["--camera", camera]
    if fault:
        command += ["--fault", fault]
    if scene:
        command += ["--scene", scene]
    return [*command, "--", sys.executable, "-m", "pytest", *arguments]


def _environment(**added: str) -> dict[str, str]:
    """That of this process without the simulated cameras that it may have."""
    kept = {name: value for name, value in os.environ.items() if not name.startswith("KXSIM_")}
    preloaded = [
        path for path in kept.get("LD_PRELOAD", "").split(":") if path and Path(path).name != _MODULE
    ]
    kept["LD_PRELOAD"] = ":".join(preloaded)
    return {**kept, **added}


@pytest.fixture
def kxsim() -> Simulator:
    """Commands for the simulated cameras that the test runs with."""
    if "KXSIM_SOCKET" not in os.environ:
        pytest.fail(
            'there are no simulated cameras: mark the test with @pytest.mark.kxsim("3500")', pytrace=False
        )
    return Simulator()


@pytest.hookimpl(tryfirst=True)  # type: ignore[misc]
def pytest_cmdline_main(config: pytest.Config) -> int | None:
    """Runs everything again with simulated cameras, if --kxsim asks for them."""
    cameras = config.getoption("--kxsim")
    if not cameras or _RUN in os.environ or _REPORTS in os.environ:
        return None
    kxsim = _find_kxsim()
    if kxsim is None:
        raise pytest.UsageError("--kxsim: there is no command kxsim (Debian package kxcam-sim)")
    fault, scene = config.getoption("--kxsim-fault"), config.getoption("--kxsim-scene")
    command = _command(kxsim, cameras, fault, scene, config.invocation_params.args)
    capture = config.pluginmanager.getplugin("capturemanager")
    if capture is not None:
        capture.suspend_global_capture(in_=True)
    return subprocess.call(command, env=_environment(**{_RUN: "1"}), cwd=config.invocation_params.dir)


def pytest_runtest_logreport(report: pytest.TestReport) -> None:
    path = os.environ.get(_REPORTS)
    if path is not None and _config is not None:
        data = _config.hook.pytest_report_to_serializable(config=_config, report=report)
        with open(path, "a", encoding="utf-8") as file:
            file.write(json.dumps(data) + "\n")


_config: pytest.Config | None = None


def pytest_sessionstart(session: pytest.Session) -> None:
    global _config
    _config = session.config


@pytest.hookimpl(tryfirst=True)  # type: ignore[misc]
def pytest_runtest_protocol(item: pytest.Item, nextitem: pytest.Item | None) -> bool | None:
    """Runs a marked test in a process with simulated cameras, and reports what that one reports."""
    mark = item.get_closest_marker("kxsim")
    if mark is None or _REPORTS in os.environ:
        return None
    item.ihook.pytest_runtest_logstart(nodeid=item.nodeid, location=item.location)
    for report in _run_apart(item, mark):
        item.ihook.pytest_runtest_logreport(report=report)
    item.ihook.pytest_runtest_logfinish(nodeid=item.nodeid, location=item.location)
    # What earlier tests of this process set up may not be what the next one needs.
    item.session._setupstate.teardown_exact(nextitem)
    return True


def _report(item: pytest.Item, outcome: Any, text: Any) -> pytest.TestReport:
    return pytest.TestReport(
        nodeid=item.nodeid,
        location=item.location,
        keywords={name: 1 for name in item.keywords},
        outcome=outcome,
        longrepr=text,
        when="call",
    )


def _arguments(item: pytest.Item) -> list[str]:
    """Those that this run was started with, for the one test."""
    config = item.config
    places = config.option.file_or_dir or []
    arguments = [argument for argument in config.invocation_params.args if argument not in places]
    if config.pluginmanager.get_name(sys.modules[__name__]) == __name__:
        arguments += ["-p", __name__]  # else it was found as a plugin that is installed
    if config.pluginmanager.hasplugin("xdist"):
        arguments += ["-n0"]
    inside_file = item.nodeid.partition("::")[2]
    return [
        *arguments,
        "--rootdir",
        str(config.rootpath),
        "-p",
        "no:cacheprovider",
        f"{item.path}::{inside_file}",
    ]


def _run_apart(item: pytest.Item, mark: pytest.Mark) -> Iterator[pytest.TestReport]:
    kxsim = _find_kxsim()
    if kxsim is None:
        path, line, _ = item.location
        yield _report(
            item, "skipped", (path, line or 0, "Skipped: there is no command kxsim (package kxcam-sim)")
        )
        return
    options: dict[str, Any] = {"fault": None, "scene": None, "timeout": _DEFAULT_TIMEOUT_S, **mark.kwargs}
    command = _command(kxsim, mark.args, options["fault"], options["scene"], _arguments(item))
    with tempfile.TemporaryDirectory(prefix="kxsim-") as folder:
        reports = Path(folder, "reports")
        reports.touch()
        status, output = _run(command, str(reports), item, options["timeout"])
        lines = reports.read_text(encoding="utf-8").splitlines()
    last: dict[str, Any] = {}
    for last in map(json.loads, lines):
        report = item.config.hook.pytest_report_from_serializable(config=item.config, data=last)
        report.nodeid, report.location = item.nodeid, item.location
        if isinstance(report.longrepr, list):
            report.longrepr = tuple(report.longrepr)  # where a test was skipped: JSON has no tuples
        yield report
    if last.get("when") != "teardown":
        yield _report(item, "failed", f"the test's process {status}\n{output}")


def _run(command: list[str], reports: str, item: pytest.Item, timeout: float) -> tuple[str, str]:
    """What became of the process, and what it wrote."""
    child = subprocess.Popen(
        command,
        env=_environment(**{_REPORTS: reports}),
        cwd=item.config.invocation_params.dir,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        stdin=subprocess.DEVNULL,
        encoding="utf-8",
        errors="replace",
        start_new_session=True,
    )
    try:
        output, _ = child.communicate(timeout=timeout)
        return f"ended with status {child.returncode}", output
    except subprocess.TimeoutExpired:
        os.killpg(child.pid, signal.SIGKILL)
        output, _ = child.communicate()
        return f"was ended: it took longer than {timeout:g} s", output
    except BaseException:
        os.killpg(child.pid, signal.SIGKILL)
        child.communicate()
        raise

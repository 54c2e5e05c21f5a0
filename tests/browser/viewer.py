# SPDX-License-Identifier: Apache-2.0
"""`kxcam view` with simulated cameras."""
import os
import pathlib
import signal
import socket
import subprocess
import tempfile

from webdriver import wait_for

BUILD = pathlib.Path(os.environ.get("KXCAM_BUILD", pathlib.Path(__file__).parents[2] / "build/release"))


class Viewer:
    def __init__(self, *cameras, scene="chart"):
        self.folder = tempfile.TemporaryDirectory(prefix="kxcam-viewer-")
        self.recordings = pathlib.Path(self.folder.name, "recordings")
        self.socket = os.path.join(self.folder.name, "socket")
        line = [BUILD / "bin/kxsim", "run", "--scene", scene]
        for camera in cameras:
            line += ["--camera", camera]
        line += ["--", BUILD / "tools/kxcam/kxcam", "view", "--no-open", "--directory", self.recordings]
        self.process = subprocess.Popen(
            line,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
            env=dict(os.environ, KXSIM_SOCKET=self.socket),
        )
        self.address = self.process.stdout.readline().strip()

    def tell_simulator(self, words):
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
            connection.connect(self.socket)
            connection.sendall(f"{words}\n".encode())
            assert connection.recv(100).startswith(b"ok"), words

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        self.process.wait()
        self.process.stdout.close()
        self.folder.cleanup()


def watch(browser, viewer, frames=3):
    """Opens the page and waits until it shows pictures."""
    browser.open("about:blank")  # the same address with another # would load nothing
    browser.open(viewer.address)
    wait_for("pictures", lambda: browser.run("return window.kxcam?.frames >= arguments[0]", frames))
    wait_for("the controls", lambda: browser.run("return window.kxcam.settings() !== null"))

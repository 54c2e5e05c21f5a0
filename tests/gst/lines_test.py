#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Runs what README and guide say about GStreamer as it is written, on two simulated cameras.

lines_test.py SOURCE KXSIM PLUGINS [all]

What needs elements or modules that are not installed is passed by, unless `all` is asked for.
"""

import os
import re
import signal
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

PATIENCE = 120  # seconds, for a machine that is busy with all else
SOURCE, KXSIM, PLUGINS = (Path(argument).resolve() for argument in sys.argv[1:4])
ALL = sys.argv[4:] == ["all"]
# decodebin looks for it by itself.
ALSO_NEEDED = {"decodebin": "avdec_h264"}


def chapter(file):
    text = (SOURCE / file).read_text()
    found = re.search(r"^## In GStreamer$(.*?)^## ", text, re.M | re.S)
    assert found, f"{file} has no chapter about GStreamer"
    return found[1]


def shell_lines(text):
    lines = re.findall(r"^    (gst-.*)$", text, re.M)
    assert lines
    return lines


def python_blocks(text):
    return [
        block if "import" in block else f"import cv2\n{block}assert ok\n"
        for block in re.findall(r"^```python\n(.*?)^```$", text, re.M | re.S)
    ]


def has_elements(line):
    names = re.findall(r"(?:^gst-launch-1.0(?: -e)?|!|  )\s*([a-z0-9_]+)(?=[ ]|$)", line.split("#")[0])
    names += [ALSO_NEEDED[name] for name in names if name in ALSO_NEEDED]
    inspect = lambda name: subprocess.run(
        ["gst-inspect-1.0", "--exists", "--atleast-version=0.0", name], env=environment()
    )
    return all(inspect(name).returncode == 0 for name in names)


def has_modules(block):
    modules = re.findall(r"^import (\w+)", block, re.M)
    return all(
        subprocess.run([sys.executable, "-c", f"import {name}"], stderr=subprocess.DEVNULL).returncode == 0
        for name in modules
    ) and ("pngenc" not in block or has_elements("! pngenc "))


def environment(**more):
    # There is no screen here: what looks for one finds a sink that shows nothing.
    return {
        **os.environ,
        "GST_PLUGIN_PATH": str(PLUGINS),
        "GST_REGISTRY": f"{WORK}/registry",
        "GST_PLUGIN_FEATURE_RANK": "fakevideosink:MAX",
        **more,
    }


def simulated(command, folder, **more):
    cameras = ["--camera", "3600,serial=LEFT,fps=100", "--camera", "3600,serial=RIGHT,fps=100"]
    output = open(folder / "output", "w")
    return subprocess.Popen(
        [KXSIM, "run", *cameras, "--", *command],
        cwd=folder,
        stdout=output,
        stderr=output,
        env=environment(**more),
    )


def wait_for(condition, what):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < deadline, f"nothing comes of {what}"
        time.sleep(0.05)


def run_line(line, folder, meanwhile=None):
    """Until every sink has rendered a few buffers; then as by Ctrl-C."""
    log = folder / "log"
    process = simulated(
        ["sh", "-c", f"exec {line}"],
        folder,
        GST_DEBUG="basesink:5",
        GST_DEBUG_NO_COLOR="1",
        GST_DEBUG_FILE=str(log),
    )
    sinks = len(re.findall(r"sink\b", line.split("#")[0]))

    def rendered():
        text = log.read_text(errors="replace") if log.exists() else ""
        # By thread, as sinks may have the same name.
        counts = re.findall(r"^\S+ +\d+ +(0x\S+) .*> rendering object", text, re.M)
        return len(set(counts)) >= sinks and min(map(counts.count, set(counts))) >= 5

    if line.startswith("gst-launch"):
        wait_for(lambda: process.poll() is not None or rendered(), line)
        if meanwhile:
            meanwhile()
        process.send_signal(signal.SIGINT)
    status = process.wait(PATIENCE)
    output = (folder / "output").read_text()
    assert status == 0 and "ERROR" not in output, f"{line}\n{status}: {output}"
    if line.startswith("gst-device-monitor"):
        assert "serial=LEFT" in output and "serial=RIGHT" in output, output
    for name in re.findall(r"location=(\S+)", line):
        shown = subprocess.run(
            ["gst-discoverer-1.0", folder / name], capture_output=True, text=True, env=environment()
        )
        seconds = re.search(r"Duration: 0:00:(\S+)", shown.stdout)
        told = f"{line}\n{shown.stdout}{shown.stderr}"
        if not seconds and "decoder" in shown.stdout:
            # Made without what plays it; the index of an MP4 file is written last.
            assert b"moov" in (folder / name).read_bytes(), told
        else:
            assert seconds and float(seconds[1]) > 0, told


def run_block(block, folder):
    process = simulated([sys.executable, "-c", block], folder)
    status = process.wait(PATIENCE)
    assert status == 0, f"{block}\n{(folder / 'output').read_text()}"
    for name in ["part-0.png", "part-2.png"] if "part-" in block else re.findall(r'"(\S+\.png)"', block):
        assert (folder / name).stat().st_size > 1000, name


def main():
    text = [chapter("README.md"), chapter("docs/guide.md")]
    subprocess.run(["gst-inspect-1.0", "kxcamsrc"], stdout=subprocess.DEVNULL, env=environment(), check=True)
    lines = [line for part in text for line in shell_lines(part)]
    jobs = [(run_line, line) for line in dict.fromkeys(lines) if "udp" not in line]
    jobs += [(run_block, block) for part in text for block in python_blocks(part)]
    # One sends what the other shows.
    sender, receiver = (line for line in lines if "udp" in line)
    jobs.append(
        (
            lambda line, folder: run_line(line, folder, lambda: run_line(receiver, folder.with_suffix(".r")))
            if has_elements(receiver) or ALL
            else run_line(line, folder),
            sender,
        )
    )
    there = lambda job: has_elements(job[1]) if job[0] is not run_block else has_modules(job[1])
    runs = [job for job in jobs if ALL or there(job)]
    assert len(runs) > 1, "nothing can be run"

    def run(number):
        folder = Path(WORK) / str(number)
        folder.mkdir()
        folder.with_suffix(".r").mkdir()
        runs[number][0](runs[number][1], folder)

    with ThreadPoolExecutor(len(runs)) as threads:
        list(threads.map(run, range(len(runs))))
    for job in jobs:
        print("run:" if job in runs else "passed by:", job[1].strip().splitlines()[-1])


with tempfile.TemporaryDirectory() as WORK:
    main()

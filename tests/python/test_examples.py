# SPDX-License-Identifier: Apache-2.0
"""Every example, run as a user would. LEFT and RIGHT send 100 frames a second."""
import json
import re
import runpy
import sys
from pathlib import Path

import numpy as np
import pytest

EXAMPLES = Path(__file__).parents[2] / "examples"


@pytest.fixture
def example(monkeypatch, capfd):
    def run(name, *arguments):
        """What the example writes."""
        monkeypatch.setattr(sys, "argv", [name, *map(str, arguments)])
        runpy.run_path(str(EXAMPLES / "python" / name), run_name="__main__")
        return capfd.readouterr().out.splitlines()

    return run


def is_a_picture(file, size):
    image = pytest.importorskip("PIL.Image").open(file)
    return image.size == size and np.asarray(image).std() > 20


def test_save_picture(example, tmp_path):
    (line,) = example("save_picture.py", tmp_path / "a.png")
    assert "Model 0.3MP-C" in line and is_a_picture(tmp_path / "a.png", (720, 540))


def test_opencv_live(example):
    pytest.importorskip("cv2")
    lines = example("opencv_live.py", 5)
    assert len(lines) == 5 and all(int(line.split()[1]) > 100 for line in lines)


def test_time_lapse(example, kxsim, tmp_path):
    assert len(example("time_lapse.py", tmp_path, 0.01, 3)) == 3
    assert all(is_a_picture(tmp_path / f"0000{n}.png", (720, 540)) for n in range(3))
    kxsim.fault("camera 1 unplug after 1 frames back after 100ms")
    assert len(example("time_lapse.py", tmp_path, 0.01, 2)) == 2


def test_triggered_cameras(example):
    lines = example("triggered_cameras.py", 2)
    assert [line.rpartition(" ")[0] for line in lines] == [
        f"shot {shot}, camera {serial}: mean level" for shot in (0, 1) for serial in ("LEFT", "RIGHT")
    ]
    assert all(int(line.rpartition(" ")[2]) > 20 for line in lines)


def test_plot_auto_exposure(example, tmp_path):
    pytest.importorskip("matplotlib")
    (line,) = example("plot_auto_exposure.py", tmp_path / "a.png")
    first, last = [int(word) for word in line.replace(",", "").split() if word.isdigit()][:2]
    assert first < 20 < last and (tmp_path / "a.png").stat().st_size > 5000


@pytest.mark.parametrize("file", ["README.md", "docs/guide.md"])
def test_programs_in_the_documentation(file, monkeypatch, tmp_path):
    monkeypatch.chdir(tmp_path)
    text = (EXAMPLES.parent / file).read_text()
    programs = [p for p in re.findall(r"^```python\n(.*?)^```", text, re.S | re.M) if "import kxcam" in p]
    assert programs
    for program in programs:
        exec(compile(program, file, "exec"), {"__name__": "__main__"})


def test_notebook():
    """Its cells run, and show as much as is committed for them."""
    pytest.importorskip("matplotlib")
    execute = runpy.run_path(str(EXAMPLES.parent / "python/execute_notebook"))["execute"]
    notebook = json.loads((EXAMPLES / "first_steps.ipynb").read_text())

    def shown():
        cells = [cell for cell in notebook["cells"] if cell["cell_type"] == "code"]
        return [
            [(output["output_type"], sorted(output.get("data", []))) for output in cell["outputs"]]
            for cell in cells
        ]

    committed = shown()
    assert sum("image/png" in data for cell in committed for _, data in cell) == 5
    execute(notebook)
    assert shown() == committed

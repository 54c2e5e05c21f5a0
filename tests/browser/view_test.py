#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The page of `kxcam view` in a browser, with simulated cameras.

Needs Debian's chromium and chromium-driver, and a finished build in build/release or in $KXCAM_BUILD.
"""
import os
import pathlib
import unittest

from viewer import Viewer, watch
from webdriver import Browser, wait_for

COUNT_STRIPES = """
const c = document.getElementById("picture"), p = c.getContext("2d").getImageData(0, 0, c.width, c.height).data;
let stripes = 0;
for (let i = 0; i < p.length; i += 4) stripes += p[i] > 200 && p[i + 1] < 90 && p[i + 2] > 30 && p[i + 2] < 160;
return 100 * stripes / (p.length / 4);
"""


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.__exit__)

    def view(self, *cameras):
        """The page of a viewer, which ends with the test; no error is in the browser's console by then."""
        viewer = Viewer(*cameras)
        self.addCleanup(viewer.__exit__)
        self.addCleanup(self.leave)
        watch(self.browser, viewer)
        return viewer

    def leave(self):
        errors = [entry for entry in self.browser.log() if entry["level"] == "SEVERE"]
        self.browser.open("about:blank")
        self.assertEqual(errors, [])

    def text(self, selector):
        return self.browser.run("return document.querySelector(arguments[0])?.innerText ?? ''", selector)

    def control(self, name):
        return self.browser.run("return window.kxcam.settings()?.values[arguments[0]]", name)

    def size(self):
        return self.browser.run("const p = window.kxcam.picture(); return p && [p.width, p.height]")

    def test_streams_and_survives_a_reload(self):
        viewer = self.view("3600,fps=30")
        token = viewer.address.split("#")[1]
        self.assertNotIn(token, self.browser.run("return location.href"))
        numbers = [self.browser.run("return window.kxcam.picture().number")]
        wait_for(
            "newer pictures",
            lambda: self.browser.run("return window.kxcam.picture().number") > numbers[0] + 5,
        )
        self.browser.call("POST", "/refresh", {})
        wait_for("pictures", lambda: self.browser.run("return window.kxcam?.frames > 3"))
        self.assertEqual(self.text("#state"), "live")

        # Without the token the page asks for the address.
        self.browser.run("sessionStorage.clear(); location.reload()")
        wait_for("the question", lambda: self.browser.run("return document.getElementById('login')?.open"))
        self.browser.type("#address", viewer.address)
        self.browser.click("#enter")
        wait_for("pictures", lambda: self.browser.run("return window.kxcam?.frames > 3"))
        self.assertTrue(all(" 403 " in entry["message"] for entry in self.browser.log()))

        self.browser.press(" ")
        wait_for(
            "a pause",
            lambda: self.browser.run("return document.getElementById('pause').innerText") == "Go on",
        )
        self.browser.press(" ")

    def test_slider_and_field_change_the_camera(self):
        self.view("3600,fps=30,light=1")
        self.browser.run(
            "const s = document.querySelector('[data-name=gain] [type=range]');"
            "for (let v = 100; v <= 900; v += 50) { s.value = v; s.dispatchEvent(new Event('input')); }"
        )
        wait_for("the gain", lambda: self.control("gain") and abs(self.control("gain") - 230) < 3)
        exposure = self.control("exposure")
        self.browser.run(
            "const n = document.getElementById('control-exposure-ms');"
            "n.value = '33'; n.dispatchEvent(new Event('change'));"
        )
        wait_for("the exposure in lines", lambda: self.control("exposure") != exposure)
        field = "return document.getElementById('control-exposure').value"
        wait_for("its field", lambda: self.browser.run(field) == str(round(self.control("exposure"))))
        self.browser.run(
            "const n = document.getElementById('control-gain');"
            "n.value = '900'; n.dispatchEvent(new Event('change'));"
        )
        wait_for("a refusal", lambda: "gain: 900 is not in 1..255" in self.text("#message"))
        self.browser.log()  # a refusal is an error to the browser's console

    def test_dragging_chooses_the_region(self):
        self.view("3600,fps=30")
        self.assertEqual(self.size(), [720, 540])
        self.browser.click("#drag-region")
        self.browser.drag("#picture", (0.25, 0.25), (0.75, 0.75))
        wait_for("a region", lambda: self.size() != [720, 540])
        width, height = self.size()
        self.assertTrue(360 <= width <= 400 and 270 <= height <= 290, (width, height))
        wait_for("the button", lambda: self.browser.run("return !document.getElementById('full').disabled"))
        self.browser.click("#full")
        wait_for("the full frame", lambda: self.size() == [720, 540])

    def test_zebra_marks_what_is_overexposed(self):
        viewer = self.view("3600,fps=30,light=1")
        self.browser.click("#zebra")
        shown = self.browser.run("return window.kxcam.frames")
        wait_for("pictures", lambda: self.browser.run("return window.kxcam.frames") > shown + 3)
        self.assertLess(self.browser.run(COUNT_STRIPES), 0.5)
        viewer.tell_simulator("light 6")
        wait_for("stripes", lambda: self.browser.run(COUNT_STRIPES) > 5)
        self.browser.press("z")
        wait_for("none", lambda: self.browser.run(COUNT_STRIPES) < 0.5)

    def test_tells_of_a_pulled_cable(self):
        viewer = self.view("3600,fps=30")
        viewer.tell_simulator("unplug")
        wait_for("the banner", lambda: "is gone" in self.text("#banner"))
        viewer.tell_simulator("plug")
        wait_for("its return", lambda: "is back" in self.text("#banner"))
        wait_for("pictures", lambda: self.text("#state") == "live")

    def test_recording_counts_its_files(self):
        viewer = self.view("3600,fps=30")
        self.browser.run("document.getElementById('type').value = 'raw'")
        self.browser.click("#record")
        wait_for("files", lambda: int((self.text("#recording").split() + ["", "0"])[1]) >= 5)
        self.browser.press("r")
        wait_for("the end", lambda: self.text("#recording").startswith("Recorded"))
        files = list(viewer.recordings.glob("*/*.raw"))
        self.assertEqual(len(files), int(self.text("#recording").split()[1]))
        self.browser.click("#snapshot")
        saved = pathlib.Path(self.browser.downloads)
        png = wait_for("a snapshot", lambda: list(saved.glob("*.png")))
        self.assertTrue(png[0].read_bytes().startswith(b"\x89PNG"))

    def test_what_a_camera_calls_itself_is_text(self):
        name = "<img src=x onerror=alert(1)>"
        self.view(f"3600,fps=30,name={name}", "369B,fps=30,serial=OTHER")
        self.assertIn(name, self.browser.run("return document.getElementById('cameras').innerText"))
        self.assertEqual(self.browser.run("return document.images.length"), 0)
        self.browser.run(
            "const c = document.getElementById('cameras'); c.selectedIndex = 1;"
            "c.dispatchEvent(new Event('change'));"
        )
        wait_for("the other camera", lambda: "M12" in self.browser.run("return document.title"))
        wait_for("its picture", lambda: "Grey" in self.text("#levels"))

    def test_fits_a_telephone_and_has_names_for_everything(self):
        self.view("3600,fps=30")
        self.browser.call("POST", "/window/rect", {"width": 500, "height": 800})
        try:
            wide = self.browser.run("return document.documentElement.scrollWidth - innerWidth")
            self.assertLessEqual(wide, 0)
        finally:
            self.browser.call("POST", "/window/rect", {"width": 1280, "height": 860})
        nameless = self.browser.run(
            """
            return [...document.querySelectorAll("button, input, select, canvas, dialog")].filter((e) =>
              !(e.innerText || e.title || e.ariaLabel || e.getAttribute("aria-labelledby") || e.labels?.length ||
                e.ariaHidden || e.hidden)).map((e) => e.outerHTML)"""
        )
        self.assertEqual(nameless, [])


if __name__ == "__main__":
    os.chdir(pathlib.Path(__file__).parent)
    unittest.main()

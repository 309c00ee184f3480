#!/usr/bin/env python3
"""The shell's page in a real Chromium, without the library: where it wants the video, and what it asks for.

    page_test.py

The add-on is one that notes what it is asked for (recording_video). Needs what shell_page.py needs.
"""

import json
import shutil
import tempfile
import unittest
from pathlib import Path

from shell_page import ROOT, Shell

CAMERAS = [{"kind": "camera", "name": f"Camera {n}", "address": f"rtsp://192.0.2.{n}/live", "user": "", "password": "",
            "channel": 1, "stream": "main"} for n in range(1, 10)]
NOTICE = "document.getElementById('notice').textContent"
RECORDER = "require(process.env.PELLORA_NODE)"
# An edge that lies between two pixels.
ROUND = 1


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.package = Path(tempfile.mkdtemp(prefix="pellora-recording-"))
        shutil.copy(ROOT / "tests" / "shell" / "recording_video" / "index.js", cls.package)
        # One list says what passes between page and video.
        shutil.copy(ROOT / "hosts" / "shell" / "electron-calls.cjs", cls.package / "calls.js")
        cls.shell = Shell(cls.package, {"cameras": CAMERAS, "play": True}, frame=False)
        cls.shell.__enter__()

    @classmethod
    def tearDownClass(cls):
        cls.shell.__exit__()
        shutil.rmtree(cls.package)

    def setUp(self):
        self.shell.ask("(document.getElementById('stage').scrollTop = 0, nw.Window.get().zoomLevel = 0, 0)")

    def calls(self, name):
        return self.shell.ask(f"{RECORDER}.calls.filter((call) => call.name === {json.dumps(name)}).map((call) => call.parameters)")

    def last(self, name):
        calls = self.calls(name)
        return calls[-1] if calls else None

    def wall(self):
        left, top, right, bottom = (round(value) for value in self.shell.rect("#wall"))
        return [left, top, right - left, bottom - top]

    def wait_for_place(self):
        self.shell.wait_for(lambda: self.place() == self.wall(), "the video where the element is")

    def place(self):
        asked = self.last("setGeometry")
        return asked and [asked[0][name] for name in ("x", "y", "width", "height")]

    def holes(self):
        return self.last("setClipAreas")[0]

    def wait_for_hole(self, selector):
        """A hole where an element is, to a pixel."""
        def there():
            wall = self.wall()
            left, top, right, bottom = self.shell.rect(selector)
            wanted = (left - wall[0], top - wall[1], right - wall[0], bottom - wall[1])
            edges = [(h["x"], h["y"], h["x"] + h["width"], h["y"] + h["height"]) for h in self.holes()]
            return any(all(abs(a - b) <= ROUND for a, b in zip(wanted, hole)) for hole in edges)
        self.shell.wait_for(there, f"a hole for {selector}")

    def click_into_pane(self, pane):
        """As the library tells it."""
        self.shell.ask(f"({RECORDER}.tell('status', {{pane: {pane}, playing: true, login: 0, channel: 1}}), 0)")

    def test_nine_cameras_are_asked_for_one_in_each_pane(self):
        self.assertEqual(sorted(call[1]["pane"] for call in self.calls("preview")[:9]), list(range(9)))
        self.assertEqual(len({call[0] for call in self.calls("preview")[:9]}), 9, "a log-in each")
        self.assertEqual(self.last("split"), [9])

    def test_the_video_is_where_its_element_is_at_each_zoom(self):
        for factor in (1, 1.25, 1.5):
            self.shell.ask(f"(nw.Window.get().zoomLevel = Math.log({factor}) / Math.log(1.2), 0)")
            self.shell.wait_for(lambda: abs(self.shell.ratio() - factor) < 0.01, f"zoom {factor}")
            self.wait_for_place()
            self.assertGreater(self.wall()[2], 200)

    def test_the_video_follows_scrolling_and_is_cut_where_its_element_is_scrolled_out(self):
        before = self.wall()
        self.shell.ask("(document.getElementById('stage').scrollTop = 90, 0)")
        self.wait_for_place()
        self.assertLess(self.wall()[1], before[1])
        stage = self.shell.rect("#stage")
        cut = round(stage[1]) - self.wall()[1]
        self.assertGreater(cut, 0)
        self.assertIn({"x": 0, "y": 0, "width": before[2], "height": cut, "radius": 0}, self.holes())

    def test_the_video_follows_the_window(self):
        self.wait_for_place()
        before = self.wall()
        for size in ((1000, 640), (1280, 800)):
            self.shell.ask(f"(nw.Window.get().resizeTo({size[0]}, {size[1]}), 0)")
            self.shell.wait_for(lambda: self.shell.ask("innerWidth") == size[0], f"a window of {size}")
            self.wait_for_place()
        self.assertEqual(self.wall(), before)

    def test_a_menu_and_a_dialog_and_a_tip_are_holes_while_they_are_open(self):
        self.shell.click("#menu-button")
        self.wait_for_hole("#menu")
        self.shell.key("Escape")
        self.shell.wait_for(lambda: self.holes() == [], "no hole after the menu")
        self.shell.click("[data-do=add]")
        self.wait_for_hole("#add-dialog")
        # Away from the button, whose tip would hang over the video.
        left, top, right, bottom = self.shell.rect("#notice")
        self.shell.move((left + right) / 2, (top + bottom) / 2)
        self.shell.key("Escape")
        self.shell.wait_for(lambda: self.holes() == [], "no hole after the dialog")
        left, top, right, bottom = self.shell.rect("[data-do=pause]")
        self.shell.move((left + right) / 2, (top + bottom) / 2)
        self.shell.wait_for(lambda: not self.shell.ask("document.getElementById('tip').hidden"), "the tip")

    def test_what_is_not_over_the_video_is_no_hole(self):
        self.shell.ask("(document.body.insertAdjacentHTML('beforeend', '<div id=beside></div>'),"
                       "Object.assign(document.getElementById('beside').style, {position: 'fixed', left: 0, top: 0,"
                       "width: '50px', height: '50px'}), 0)")
        self.wait_for_place()
        self.assertEqual(self.holes(), [])
        # Behind the wall, found by place and not by the mouse.
        self.shell.ask("(Object.assign(document.getElementById('beside').style, {left: '400px', top: '300px', zIndex: -1}), 0)")
        self.shell.ask("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() => done(0))))")
        self.assertEqual(self.holes(), [])
        self.shell.ask("(document.getElementById('beside').style.zIndex = 5, 0)")
        self.wait_for_hole("#beside")
        self.shell.ask("(document.getElementById('beside').remove(), 0)")
        self.shell.wait_for(lambda: self.holes() == [], "no hole any more")

    def test_news_of_the_video_are_seen_in_the_list_of_cameras(self):
        dots = "[...document.querySelectorAll('#cameras .dot')].map((dot) => dot.className)"
        self.assertEqual(self.shell.ask(dots), ["dot playing"] * 9)
        login = self.calls("preview")[1][0]
        self.shell.ask(f"({RECORDER}.tell('camera', {{login: {login}, channel: 1, stream: 'main', state: 'lost', reason: 'no route'}}), 0)")
        self.assertEqual(self.shell.ask(dots).count("dot lost"), 1)
        self.click_into_pane(1)
        self.assertIn("no route", self.shell.ask(NOTICE))
        self.shell.ask(f"({RECORDER}.tell('camera', {{login: {login}, channel: 1, stream: 'main', state: 'playing', reason: ''}}), 0)")
        self.assertEqual(self.shell.ask(dots), ["dot playing"] * 9)

    def test_a_start_that_fails_says_why(self):
        self.click_into_pane(0)
        self.shell.ask(f"({RECORDER}.refuse('preview', 'wrong password'), 0)")
        self.shell.ask("(document.querySelector('#cameras button').click(), 0)")
        self.shell.wait_for(lambda: "cannot be shown: wrong password" in self.shell.ask(NOTICE), "the reason")
        self.shell.ask(f"({RECORDER}.refuse('preview', ''), 0)")
        self.shell.ask("(document.querySelector('#cameras button').click(), 0)")
        self.shell.wait_for(lambda: "live" in self.shell.ask(NOTICE), "the camera")

    def test_a_refused_call_is_told_in_words(self):
        self.shell.ask(f"({RECORDER}.refuse('capture', 'No picture yet.'), 0)")
        self.shell.click("[data-do=capture]")
        self.shell.wait_for(lambda: self.shell.ask(NOTICE) == "No picture yet.", "the reason")
        self.shell.ask(f"({RECORDER}.refuse('capture', ''), 0)")

    def test_a_rule_that_is_drawn_is_json_beside_the_video_and_goes_back_changed(self):
        self.click_into_pane(4)
        self.shell.click("[data-do=draw]")
        rule, = self.shell.wait_for(lambda: self.last("createRule"), "a rule")
        self.assertEqual((rule["pane"], rule["type"]), (4, "captionedRect"))
        shape = {"left": 1, "top": 2, "right": 30, "bottom": 40}
        self.shell.ask(f"({RECORDER}.tell('rule', {{pane: 4, rule: 0, shape: {json.dumps(shape)}}}), 0)")
        shown = json.loads(self.shell.ask("document.getElementById('rule-json').value"))
        self.assertEqual(shown["shape"], shape)
        shown["shape"]["right"] = 500
        self.shell.ask(f"(document.getElementById('rule-json').value = {json.dumps(json.dumps(shown))}, 0)")
        self.shell.click("[data-do=apply]")
        self.shell.wait_for(lambda: self.last("setRule") and self.last("setRule")[1]["right"] == 500, "the change")


if __name__ == "__main__":
    unittest.main(verbosity=2)

#!/usr/bin/env python3
"""Draws and edits every type of rule with a real mouse over playing video:

    rules_mouse_test.py PelloraDemo.exe resize_window.exe

The demo host prints each report of the library; the reports are compared in full. Needs what demo_screen_test.py needs,
and xdotool.
"""

import os
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

import demo_screen_test as demo

# The picture has 1000 by 500 pixels: a pixel is a thousandth across and two down. The selection frame takes one pixel
# on each side.
WIDTH, HEIGHT = 1000, 500
FRAME = 1
SIZE = (WIDTH + 2 * FRAME, HEIGHT + 2 * FRAME + demo.BELOW_VIDEO)
# After each step; where Wine merges moves that follow each other too closely, the test waits for what is told of them.
PAUSE = 0.06
PATIENCE = 30

# Thousandths that forty resizes may move a rule by: up to a pixel each, mostly none.
DRIFT = 80
RESIZER = None

# The demo host's colour of rectangles; the first one's left side lies at 430, from 100 to 260.
RECT_COLOUR = (255, 255, 0)

RECORD_SIZES = {1: 8, 2: 16, 3: 16, 4: 84, 5: 1040, 6: 16, 7: 16, 8: 84, 9: 16, 10: 8}


def xdotool(*arguments):
    subprocess.run(["xdotool", *(str(argument) for argument in arguments)], check=True, stdout=subprocess.DEVNULL)


def report(rule, kind, state, coordinates):
    return f"rule {rule} type {kind} state {state} window 0 pane 0 size {RECORD_SIZES[kind]}: {coordinates}"


def without_repeats(lines):
    """Releases and repeated moves report the same place again."""
    return [line for i, line in enumerate(lines) if i == 0 or line != lines[i - 1]]


def shows_picture_with_rules(screen):
    """The corners have the colours of the clip's quarters, and the rectangle's left side is drawn."""
    pane = demo.pane_in_ring(screen)
    if pane is None or pane[2] < 100 or pane[3] < 100:
        return False
    left, top, width, height = pane
    corners = [(left + 20, top + 20), (left + width - 20, top + 20), (left + 20, top + height - 20),
               (left + width - 20, top + height - 20)]
    colours = [demo.near(screen.at(*corner), demo.rgb_of(quarter)) for corner, quarter in zip(corners, demo.QUARTERS)]
    return all(colours) and RECT_COLOUR in [screen.at(left + width * 430 // 1000 + i, top + height * 180 // 1000)
                                            for i in (-1, 0, 1)]


class RulesHost(demo.Host):
    """The demo host with a rule of each type; the first ten have the numbers 0 to 9."""

    def __init__(self, clip):
        super().__init__(SIZE, "--rules", "Z:" + str(clip))
        self.taken = 0

    def __enter__(self):
        super().__enter__()
        try:
            screen = self.screen_when(shows_picture_with_rules)
            self.left, self.top = screen.left + FRAME, screen.top + FRAME
            self.window = subprocess.run(["xdotool", "search", "--name", demo.TITLE], capture_output=True, text=True,
                                         check=True).stdout.split()[-1]
            xdotool("windowfocus", self.window)
        except BaseException:
            self.__exit__()
            raise
        return self

    def key(self, name):
        xdotool("key", name)
        time.sleep(PAUSE)

    def until_told(self, lines, what):
        """Two moves that wait for the program are one to it: a step that is told has been taken before the next."""
        deadline = time.monotonic() + PATIENCE
        while len(self.lines()) <= lines:
            if time.monotonic() > deadline:
                raise AssertionError(f"nothing is told of {what}")
            time.sleep(0.01)

    def move(self, x, y, told=False):
        """To a pixel of the picture."""
        lines = len(self.lines())
        xdotool("mousemove", self.left + x, self.top + y)
        if told:
            self.until_told(lines, f"a move to {x}, {y}")
        time.sleep(PAUSE)

    def down(self, x, y, button=1, told=False):
        self.move(x, y)
        lines = len(self.lines())
        xdotool("mousedown", button)
        if told:
            self.until_told(lines, f"a press at {x}, {y}")
        time.sleep(PAUSE)

    def up(self, x, y, button=1):
        self.move(x, y)
        xdotool("mouseup", button)
        time.sleep(PAUSE)

    def click(self, x, y, button=1):
        self.down(x, y, button)
        self.up(x, y, button)

    def drag(self, *places, told=True):
        self.down(*places[0], told=told)
        for before, place in zip(places, places[1:]):
            self.move(*place, told=told and place != before)
        self.up(*places[-1])

    def lines(self):
        # The program shares the file's position: read without moving it.
        text = os.pread(self.log.fileno(), 1 << 20, 0).decode(errors="replace")
        return [line for line in text.splitlines() if line.startswith("rule ")]

    def reports(self, expected, seconds=PATIENCE):
        """The new reports without repeats, as soon as there are as many as expected, and none follows."""
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if len(without_repeats(self.lines()[self.taken:])) >= expected:
                break
            time.sleep(PAUSE)
        time.sleep(4 * PAUSE)
        lines = self.lines()
        new = without_repeats(lines[self.taken:])
        self.taken = len(lines)
        return new


class RulesByMouse(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.clip = Path(cls.folder.name) / "known pictures.mp4"
        demo.make_clip(cls.clip)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def expect(self, host, expected):
        self.assertEqual(host.reports(len(expected)), expected)

    def test_every_type_is_drawn(self):
        with RulesHost(self.clip) as host:
            # Not at one place: two clicks there may count as a double click.
            for rule, kind, key, x, y in ((10, 1, "ctrl+1", 200, 100), (11, 10, "ctrl+0", 250, 120)):
                with self.subTest(kind):
                    host.key(key)
                    host.click(x, y)
                    self.expect(host, [report(rule, kind, 0, f"{x},{2 * y}")])
            for rule, kind, key in ((12, 2, "ctrl+2"), (13, 9, "ctrl+9")):
                with self.subTest(kind):
                    host.key(key)
                    host.click(100, 50)
                    host.move(400, 300, told=True)
                    host.click(500, 100)
                    self.expect(host, [report(rule, kind, 2, "100,100 100,100"), report(rule, kind, 2, "100,100 400,600"),
                                       report(rule, kind, 2, "100,100 500,200"),
                                       report(rule, kind, 0, "100,100 500,200")])
            for rule, kind, key in ((14, 3, "ctrl+3"), (15, 7, "ctrl+7")):
                with self.subTest(kind):
                    host.key(key)
                    host.drag((600, 300), (500, 200), (400, 350))
                    self.expect(host, [report(rule, kind, 2, "600,600 600,600"), report(rule, kind, 2, "500,400 600,600"),
                                       report(rule, kind, 2, "400,600 600,700"),
                                       report(rule, kind, 0, "400,600 600,700")])
            for rule, kind, key in ((16, 4, "ctrl+4"), (17, 8, "ctrl+8")):
                with self.subTest(kind):
                    host.key(key)
                    # Up to six points; with four the right button may end it, and takes the one at the mouse away.
                    for place in ((100, 100), (300, 100), (300, 200), (100, 200)):
                        host.click(*place)
                    host.click(50, 250, button=3)
                    self.expect(host, [
                        report(rule, kind, 2, "100,200 100,200"), report(rule, kind, 2, "100,200 300,200"),
                        report(rule, kind, 2, "100,200 300,200 300,200"),
                        report(rule, kind, 2, "100,200 300,200 300,400"),
                        report(rule, kind, 2, "100,200 300,200 300,400 300,400"),
                        report(rule, kind, 2, "100,200 300,200 300,400 100,400"),
                        report(rule, kind, 2, "100,200 300,200 300,400 100,400 100,400"),
                        report(rule, kind, 2, "100,200 300,200 300,400 100,400 50,500"),
                        report(rule, kind, 0, "100,200 300,200 300,400 100,400")])
            with self.subTest(6):
                # Lines with arrows stand in the middle from the start: 500,125 to 500,375. Its end is free of others.
                host.key("ctrl+6")
                host.drag((500, 375), (520, 400), (540, 410))
                self.expect(host, [report(18, 6, 4, "500,250 500,750"), report(18, 6, 4, "500,250 520,800"),
                                   report(18, 6, 4, "500,250 540,820")])
            with self.subTest(5):
                # The host gives a text its place.
                host.key("ctrl+5")
                host.drag((453, 178), (463, 188), (853, 413))
                self.expect(host, [report(19, 5, 4, '"new text" 450,350'), report(19, 5, 4, '"new text" 460,370'),
                                   report(19, 5, 4, '"new text" 850,820')])

    def test_every_type_is_edited(self):
        # Places as the demo host puts them, in pixels: the first ten rules.
        rows = [
            (0, 1, [(100, 90), (110, 95)], ["100,180", "110,190"]),
            (1, 2, [(340, 130), (345, 140)], ["200,100 340,260", "200,100 345,280"]),
            (2, 3, [(500, 90), (510, 100)], ["430,100 570,260", "440,120 580,280"]),
            (3, 4, [(650, 90), (640, 95)], ["650,180 700,90 790,120 780,240 690,270",
                                            "640,190 700,90 790,120 780,240 690,270"]),
            (4, 6, [(60, 225), (50, 235)], ["60,450 160,750", "50,470 160,750"]),
            (5, 7, [(280, 225), (270, 230)], ["280,450 440,700", "270,460 440,700"]),
            (6, 8, [(600, 300), (605, 295)], ["520,560 600,430 700,520 640,720", "525,550 605,420 705,510 645,710"]),
            (7, 9, [(840, 300), (850, 310)], ["760,720 920,480", "770,740 930,500"]),
            (8, 10, [(500, 430), (480, 420)], ["500,860", "480,840"]),
            (9, 5, [(862, 83), (872, 88)], ['"text" 860,160', '"text" 870,170']),
        ]
        with RulesHost(self.clip) as host:
            # The overlay knows the size of a text once it has drawn it, which it has: a picture with rules was shown.
            for rule, kind, places, coordinates in rows:
                with self.subTest(kind):
                    host.drag(*places)
                    self.expect(host, [report(rule, kind, 4, text) for text in coordinates])

    def test_clicks_beside_rules_and_outside_the_picture_leave_nothing_in_hand(self):
        with RulesHost(self.clip) as host:
            with self.subTest("the right button edits nothing"):
                host.down(100, 90, button=3)
                host.move(150, 95)
                host.up(150, 95, button=3)
                self.expect(host, [])
            with self.subTest("a press in the status bar reaches no rule"):
                host.drag((500, HEIGHT + demo.BELOW_VIDEO - 10), (500, 430), (480, 400), told=False)
                self.expect(host, [])
            with self.subTest("neither does a drag that begins in the controls"):
                host.drag((500, HEIGHT + 16), (500, 430), (480, 400), told=False)
                self.expect(host, [])
            with self.subTest("a release outside the window ends the drag where it happens"):
                host.down(100, 90, told=True)
                host.move(120, 100, told=True)
                host.move(WIDTH + 200, 100, told=True)
                host.up(WIDTH + 200, 100)
                self.expect(host, [report(0, 1, 4, "100,180"), report(0, 1, 4, "120,200"),
                                   report(0, 1, 4, f"{WIDTH + 200},200")])
                host.move(300, 300)
                self.expect(host, [])
            with self.subTest("a new rule waits while the mouse is used elsewhere"):
                host.key("ctrl+3")
                host.click(500, HEIGHT + demo.BELOW_VIDEO - 10)
                host.click(300, 300, button=3)
                self.expect(host, [])
                host.drag((100, 300), (200, 400))
                self.expect(host, [report(10, 3, 2, "100,600 100,600"), report(10, 3, 2, "100,600 200,800"),
                                   report(10, 3, 0, "100,600 200,800")])

    def resizing(self, pictures):
        """Starts to give the window sizes such that its picture has these ones."""
        sizes = [f"{width + 2 * FRAME}x{height + 2 * FRAME + demo.BELOW_VIDEO}" for width, height in pictures]
        return subprocess.Popen([demo.ROOT / "tools" / "wine-run.sh", RESIZER, demo.TITLE, "100", *sizes])

    def test_rules_are_edited_while_the_window_is_resized(self):
        with RulesHost(self.clip) as host:
            host.down(100, 90, told=True)
            resizer = self.resizing([(1000 - 20 * i, 500 - 10 * i) for i in range(1, 20)]
                                    + [(600 + 20 * i, 300 + 10 * i) for i in range(1, 21)])
            step = 0
            while resizer.poll() is None:
                step += 1
                host.move(200 + step % 20, 100 + step % 10)
            self.assertEqual(resizer.returncode, 0)
            host.screen_when(lambda s: demo.pane_in_ring(s) == (FRAME, FRAME, WIDTH, HEIGHT))
            host.move(300, 200, told=True)
            host.up(300, 200)
            lines = host.reports(21)
            self.assertEqual(lines[0], report(0, 1, 4, "100,180"))
            self.assertTrue(all(line.startswith(report(0, 1, 4, "")) for line in lines), lines)
            # The same pixels were other places of smaller pictures, hence there are more than of one size.
            self.assertGreater(len({line for line in lines}), 20)
            # A point in hand is where the mouse is; the picture's own edges may have drifted.
            self.check_place(lines[-1], [(300, 400)])
            # The other rules stay on their spots as far as they drift.
            host.drag((200, 50), (200, 50))
            self.check_place(host.reports(1)[-1], [(200, 100), (340, 260)])

    def test_rules_are_drawn_while_the_window_is_resized(self):
        with RulesHost(self.clip) as host:
            host.key("ctrl+3")
            host.down(400, 150, told=True)
            host.move(410, 160, told=True)
            resizer = self.resizing([(1000 - 20 * i, 500 - 10 * i) for i in range(1, 11)])
            self.assertEqual(resizer.wait(30), 0)
            # 1000 by 500 became 800 by 400: the corner at 400,150 lies at 320,120 now.
            host.move(480, 320, told=True)
            host.up(480, 320)
            lines = host.reports(4)
            self.assertEqual(lines[:2], [report(10, 3, 2, "400,300 400,300"), report(10, 3, 2, "400,300 410,320")])
            self.assertTrue(lines[-1].startswith(report(10, 3, 0, "")), lines)
            self.assertEqual(lines[-1].replace("state 0", "state 2"), lines[-2])
            # The corner under the mouse is at 480 of 800 and 320 of 400.
            self.check_place(" " + lines[-1].rsplit(" ", 1)[1], [(600, 800)])

    def check_place(self, line, points):
        """The points at the line's end are within the drift that many resizes bring."""
        seen = [tuple(int(number) for number in point.split(",")) for point in line.split()[-len(points):]]
        for (x, y), (wanted_x, wanted_y) in zip(seen, points):
            self.assertLessEqual(abs(x - wanted_x), DRIFT, line)
            self.assertLessEqual(abs(y - wanted_y), DRIFT, line)


if __name__ == "__main__":
    demo.PROGRAM = sys.argv.pop(1)
    RESIZER = sys.argv.pop(1)
    os.environ.setdefault("PELLORA_BIN", str(Path(demo.PROGRAM).parent))
    unittest.main(verbosity=2)

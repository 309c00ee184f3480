#!/usr/bin/env python3
"""Plays clips of known pictures in the demo host and reads the screen: demo_screen_test.py PelloraDemo.exe

Needs a display (DISPLAY), Wine, ImageMagick, xwininfo and ffmpeg.
"""

import os
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
PROGRAM = None
TITLE = "Pellora demo host"
# The controls and the status bar.
BELOW_VIDEO = 32 + 28
RING = (56, 109, 250)
# What a decoder and a scaler may be off by in an even area of one colour.
TOLERANCE = 4

# The clip: quarters of one colour each, in limited-range BT.601, which players assume below 720 rows; a grey band in
# the middle, in which a black bar moves eight pixels a picture.
WIDTH, HEIGHT, RATE, PICTURES = 320, 180, 25, 200
BAND_TOP, BAND_BOTTOM, BAR = 80, 100, 16
QUARTERS = [(235, 128, 128), (81, 90, 240), (145, 54, 34), (41, 240, 110)]
GREY, BLACK = (126, 128, 128), (16, 128, 128)


def rgb_of(yuv):
    """ITU-R BT.601, limited range."""
    y, u, v = yuv
    c, d, e = (y - 16) * 255 / 219, (u - 128) * 255 / 112, (v - 128) * 255 / 112
    red, green, blue = c + 0.701 * e, c - 0.299 * 0.701 / 0.587 * e - 0.114 * 0.886 / 0.587 * d, c + 0.886 * d
    return tuple(min(255, max(0, round(value))) for value in (red, green, blue))


def picture_of(number, quarters):
    planes = []
    for plane, scale in ((0, 1), (1, 2), (2, 2)):
        width, height = WIDTH // scale, HEIGHT // scale
        rows = []
        for row in range(height):
            if BAND_TOP <= row * scale < BAND_BOTTOM:
                line = bytearray([GREY[plane]]) * width
                start = number * 8 % (WIDTH - BAR) // scale
                line[start:start + BAR // scale] = bytes([BLACK[plane]]) * (BAR // scale)
            else:
                quarter = 0 if row < height // 2 else 2
                line = bytes([quarters[quarter][plane]]) * (width // 2)
                line += bytes([quarters[quarter + 1][plane]]) * (width // 2)
            rows.append(bytes(line))
        planes.append(b"".join(rows))
    return b"".join(planes)


def make_clip(path, quarters=QUARTERS):
    pictures = b"".join(picture_of(number, quarters) for number in range(PICTURES))
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", f"{WIDTH}x{HEIGHT}",
                    "-r", str(RATE), "-i", "-", "-c:v", "libx264", "-qp", "4", "-preset", "veryfast", str(path)],
                   input=pictures, check=True)


class Screen:
    """One screenshot, cut to the host's client area."""

    def __init__(self, size):
        run = subprocess.run(["xwininfo", "-name", TITLE], capture_output=True, text=True, check=True).stdout
        values = {}
        for line in run.splitlines():
            name, _, value = line.partition(":")
            values[name.strip()] = value.strip()
        # No window manager: the X window is the whole Windows one, with a caption and equal borders elsewhere.
        self.width, self.height = size
        border = (int(values["Width"]) - self.width) // 2
        left = self.left = int(values["Absolute upper-left X"]) + border
        top = self.top = int(values["Absolute upper-left Y"]) + int(values["Height"]) - border - self.height
        self.pixels = subprocess.run(
            ["import", "-window", "root", "-crop", f"{self.width}x{self.height}+{left}+{top}", "-depth", "8", "rgb:-"],
            capture_output=True, check=True).stdout
        assert len(self.pixels) == self.width * self.height * 3, "the window is not wholly on the screen"

    def at(self, x, y):
        start = (y * self.width + x) * 3
        return tuple(self.pixels[start:start + 3])

    def ring(self):
        """Bounds of the ring's pixels: left, top, right, bottom, the last two inclusive; None without a ring."""
        colour = bytes(RING)
        columns, rows = [], []
        for y in range(self.height):
            line = self.pixels[y * self.width * 3:(y + 1) * self.width * 3]
            start = line.find(colour)
            while start >= 0 and start % 3 != 0:
                start = line.find(colour, start + 1)
            if start < 0:
                continue
            end = line.rfind(colour)
            while end % 3 != 0:
                end = line.rfind(colour, 0, end + 2)
            rows.append(y)
            columns += [start // 3, end // 3]
        return (min(columns), min(rows), max(columns), max(rows)) if rows else None


class Host:
    """The demo host, running for the length of a with block."""

    def __init__(self, size, *arguments):
        self.size = size
        self.arguments = ["--size", f"{size[0]}x{size[1]}", *(str(a) for a in arguments)]

    def __enter__(self):
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen([ROOT / "tools" / "wine-run.sh", PROGRAM, "--seconds", "600", *self.arguments],
                                        stdout=self.log, stderr=subprocess.STDOUT)
        return self

    def __exit__(self, *_):
        subprocess.run(["xdotool", "search", "--name", TITLE, "windowkill"], capture_output=True)
        self.process.terminate()
        self.process.wait()
        self.log.close()

    def screen_when(self, condition, seconds=40):
        """The first screenshot that meets the condition."""
        deadline = time.monotonic() + seconds
        screen = None
        while time.monotonic() < deadline:
            if self.process.poll() is not None:
                self.log.seek(0)
                raise AssertionError("the host ended: " + self.log.read().decode(errors="replace"))
            try:
                screen = Screen(self.size)
                if condition(screen):
                    return screen
            except subprocess.CalledProcessError:
                pass  # no window yet
            time.sleep(0.2)
        keep = ROOT / "build" / "demo_screen_test.rgb"
        if screen is not None:
            keep.write_bytes(screen.pixels)
            raise AssertionError(f"not reached in {seconds} s; the last screen, {screen.width} x {screen.height}: {keep}")
        raise AssertionError(f"no window {TITLE} in {seconds} s")


def near(colour, expected):
    return all(abs(a - b) <= TOLERANCE for a, b in zip(colour, expected))


def quarter_points(left, top, width, height):
    """Where each quarter's middle is on the screen."""
    return [(left + width * (1 + 2 * (i % 2)) // 4, top + height * (1 + 2 * (i // 2)) // 4) for i in range(4)]


def shows_picture(screen, left, top, width, height):
    points = quarter_points(left, top, width, height)
    return all(near(screen.at(*points[i]), rgb_of(QUARTERS[i])) for i in range(4))


def pane_in_ring(screen):
    """The selected pane's left, top, width and height."""
    ring = screen.ring()
    return None if ring is None else (ring[0] + 1, ring[1] + 1, ring[2] - ring[0] - 1, ring[3] - ring[1] - 1)


def selected_pane_plays(screen):
    pane = pane_in_ring(screen)
    return pane is not None and pane[2] > 16 and pane[3] > 16 and shows_picture(screen, *pane)


def bar_position(screen, pane):
    """The left edge of the black bar in the band, in screen pixels of the pane."""
    left, top, width, height = pane
    row = top + height // 2
    dark = [x for x in range(width) if sum(screen.at(left + x, row)) < 120]
    return dark[0] if dark else None


class DemoOnScreen(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.clip = Path(cls.folder.name) / "known pictures.mp4"
        make_clip(cls.clip)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def host(self, split, width=642, height=362 + BELOW_VIDEO):
        return Host((width, height), "--split", split, "Z:" + str(self.clip))

    def check_ring(self, screen):
        left, top, right, bottom = screen.ring()
        for x in range(left, right + 1):
            self.assertEqual(screen.at(x, top), RING, "upper side")
            self.assertEqual(screen.at(x, bottom), RING, "lower side")
        for y in range(top, bottom + 1):
            self.assertEqual(screen.at(left, y), RING, "left side")
            self.assertEqual(screen.at(right, y), RING, "right side")
        # It is one pixel thick: the picture begins behind it.
        self.assertNotEqual(screen.at(left + 1, top + 5), RING)
        self.assertNotEqual(screen.at(left + 5, top + 1), RING)

    def test_one_pane_fills_the_video_area_and_shows_the_right_colours_at_the_right_place(self):
        with self.host(1) as host:
            screen = host.screen_when(selected_pane_plays)
            self.check_ring(screen)
            left, top, width, height = pane_in_ring(screen)
            video_height = screen.height - BELOW_VIDEO
            self.assertLessEqual(left, 3)
            self.assertLessEqual(top, 3)
            self.assertGreaterEqual(left + width, screen.width - 3)
            self.assertGreaterEqual(top + height, video_height - 3)
            # Quarters meet in the middle of the pane: two pixels on either side, each has its own colour.
            for fraction in (8, 4):
                y = top + height // fraction
                self.assertTrue(near(screen.at(left + width // 2 - 4, y), rgb_of(QUARTERS[0])))
                self.assertTrue(near(screen.at(left + width // 2 + 4, y), rgb_of(QUARTERS[1])))
            # And they reach the pane's corners.
            corners = [(left + 2, top + 2), (left + width - 3, top + 2), (left + 2, top + height - 3),
                       (left + width - 3, top + height - 3)]
            for corner, quarter in zip(corners, QUARTERS):
                self.assertTrue(near(screen.at(*corner), rgb_of(quarter)), f"corner {corner}: {screen.at(*corner)}")
            # The band lies where it belongs.
            band_middle = top + height * (BAND_TOP + BAND_BOTTOM) // 2 // HEIGHT
            greys = sum(near(screen.at(left + x, band_middle), rgb_of(GREY)) for x in range(width))
            self.assertGreater(greys, width * 3 // 4)

    def test_the_picture_moves(self):
        with self.host(1) as host:
            first = host.screen_when(lambda s: selected_pane_plays(s) and bar_position(s, pane_in_ring(s)) is not None)
            pane = pane_in_ring(first)
            began = bar_position(first, pane)
            moved = host.screen_when(lambda s: bar_position(s, pane) not in (None, began), 10)
            self.assertTrue(selected_pane_plays(moved))

    def check_grid(self, split, side):
        with self.host(split) as host:
            def every_pane_plays(screen):
                pane = pane_in_ring(screen)
                if pane is None:
                    return False
                left, top, width, height = pane
                # Cells differ by a pixel at most, and lie a few pixels apart.
                step_x = (screen.width - left * 2 - width) / (side - 1)
                step_y = (screen.height - BELOW_VIDEO - top * 2 - height) / (side - 1)
                return all(shows_picture(screen, round(left + step_x * (i % side)), round(top + step_y * (i // side)),
                                         width, height) for i in range(split))

            screen = host.screen_when(every_pane_plays)
            self.check_ring(screen)
            left, top, width, height = pane_in_ring(screen)
            # The first pane is the selected one; all are as large as the grid allows.
            self.assertLessEqual(left, 3)
            self.assertLessEqual(top, 3)
            self.assertGreater(width * side, screen.width - 6 * (side + 1))
            self.assertGreater(height * side, screen.height - BELOW_VIDEO - 6 * (side + 1))

    def test_four_panes_lie_two_by_two(self):
        self.check_grid(4, 2)

    def test_nine_panes_lie_three_by_three(self):
        self.check_grid(9, 3)

    def test_a_click_moves_the_frame_to_the_pane(self):
        with self.host(4) as host:
            screen = host.screen_when(selected_pane_plays)
            before = screen.ring()
            subprocess.run(["xdotool", "mousemove", str(screen.left + screen.width * 3 // 4),
                            str(screen.top + (screen.height - BELOW_VIDEO) * 3 // 4), "click", "1"], check=True)
            after = host.screen_when(lambda s: s.ring() not in (None, before), 10)
            self.check_ring(after)
            self.assertGreater(after.ring()[0], screen.width // 2 - 4)
            self.assertGreater(after.ring()[1], (screen.height - BELOW_VIDEO) // 2 - 4)


if __name__ == "__main__":
    PROGRAM = sys.argv.pop(1)
    os.environ.setdefault("PELLORA_BIN", str(Path(PROGRAM).parent))
    unittest.main(verbosity=2)

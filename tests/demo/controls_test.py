#!/usr/bin/env python3
"""Handles the demo host as a player, with a real mouse over numbered pictures:

    controls_test.py PelloraDemo.exe resize_window.exe

Needs what demo_screen_test.py needs, and xdotool.
"""

import os
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

import demo_screen_test as demo
from live_wall_test import pane_of, read_log

sys.dont_write_bytecode = True  # the checkout holds sources only
sys.path.append(str(demo.ROOT / "tests" / "media"))
import make_media  # noqa: E402

SIZE = (642, 362 + demo.BELOW_VIDEO)
RESIZER = None
# Wine merges moves that follow each other too closely.
PAUSE = 0.03

# The clip: a minute, each picture with its number in the top quarter, the rest grey. A key picture is rare.
WIDTH, HEIGHT, RATE, SECONDS = 160, 96, 25, 60
GREY = (126, 126, 126)

# The host's colours.
TRACK, ELAPSED, THUMB = (96, 102, 112), (238, 140, 40), (250, 250, 250)
THUMB_REACH = 2
MIDDLE_OF_CONTROLS = 16
# Of the buttons, from the left.
PLAY, BACK, ON = 20, 52, 84


def make_numbered_clip(path):
    cell = WIDTH // make_media.CELLS
    rows = HEIGHT // 4
    rest = bytes([126]) * (WIDTH * (HEIGHT - rows)) + bytes([128]) * (WIDTH * HEIGHT // 2)
    pictures = []
    for number in range(SECONDS * RATE):
        row = b"".join(bytes([235 if bit else 16]) * cell for bit in make_media.bar_code(number))
        pictures.append(row * rows + rest)
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", f"{WIDTH}x{HEIGHT}",
                    "-r", str(RATE), "-i", "-", "-c:v", "libx264", "-qp", "12", "-preset", "veryfast", "-g", "250",
                    "-bf", "2", str(path)], input=b"".join(pictures), check=True)


def number_in(screen, pane):
    """The number of the picture that is shown in a pane; None where there is none."""
    left, top, width, height = pane
    bits = []
    for cell in range(make_media.CELLS):
        colour = screen.at(left + (2 * cell + 1) * width // (2 * make_media.CELLS), top + height // 8)
        if sum(colour) > 3 * 192:
            bits.append(1)
        elif sum(colour) < 3 * 64:
            bits.append(0)
        else:
            return None
    number = int("".join(map(str, bits[2:18])), 2)
    return number if make_media.bar_code(number) == bytes(255 * bit for bit in bits) else None


def number_on(screen):
    pane = demo.pane_in_ring(screen)
    return number_in(screen, pane) if pane is not None and pane[2] > 160 and pane[3] > 64 else None


def sliders(screen):
    """Left and right end of each slider, inclusive, from the left: the position bar, the volume."""
    row = screen.height - demo.BELOW_VIDEO + MIDDLE_OF_CONTROLS
    found = []
    inside = False
    for x in range(screen.width):
        is_slider = screen.at(x, row) in (TRACK, ELAPSED, THUMB)
        if is_slider and not inside:
            found.append([x, x])
        elif is_slider:
            found[-1][1] = x
        inside = is_slider
    # At an end the thumb reaches beyond the slider.
    return [(left + THUMB_REACH * (screen.at(left, row) == THUMB), right - THUMB_REACH * (screen.at(right, row) == THUMB))
            for left, right in found]


def thumb_on(screen, slider):
    """Where the slider's thumb is, from 0 to 1; None without one."""
    row = screen.height - demo.BELOW_VIDEO + MIDDLE_OF_CONTROLS
    left, right = slider
    thumb = [x for x in range(left - THUMB_REACH, right + THUMB_REACH + 1) if screen.at(x, row) == THUMB]
    return ((thumb[0] + thumb[-1]) / 2 - left) / (right - left) if thumb else None


def calls(name):
    """How often the library's log says that a function was called."""
    return read_log().count(f"{name}: lHandle: ")


def xdotool(*arguments):
    subprocess.run(["xdotool", *(str(argument) for argument in arguments)], check=True, stdout=subprocess.DEVNULL)


class Player(demo.Host):
    """The demo host, once the first picture is there and the length is known."""

    def __init__(self, *arguments, live=False):
        super().__init__(SIZE, *arguments)
        self.live = live

    def __enter__(self):
        super().__enter__()
        try:
            self.screen = self.screen_when(self.is_ready)
            window = subprocess.run(["xdotool", "search", "--name", demo.TITLE], capture_output=True, text=True,
                                    check=True).stdout.split()[-1]
            xdotool("windowfocus", window)
        except BaseException:
            self.__exit__()
            raise
        return self

    def is_ready(self, screen):
        if self.live:
            return number_on(screen) is not None
        # At the very beginning the thumb hides where the bar begins.
        return number_on(screen) is not None and sliders(screen) and (thumb_on(screen, sliders(screen)[0]) or 0) > 0

    def key(self, name):
        xdotool("key", name)

    def move(self, x, row=None):
        """To a column and a row of the host's client area; without a row to the controls."""
        row = self.size[1] - demo.BELOW_VIDEO + MIDDLE_OF_CONTROLS if row is None else row
        xdotool("mousemove", self.screen.left + x, self.screen.top + row)
        time.sleep(PAUSE)

    def down(self, x):
        self.move(x)
        xdotool("mousedown", 1)
        time.sleep(PAUSE)

    def up(self):
        xdotool("mouseup", 1)
        time.sleep(PAUSE)

    def click(self, x):
        self.down(x)
        self.up()

    def column_of(self, second):
        left, right = sliders(self.screen)[0]
        return left + round(second * (right - left) / SECONDS)

    def shows(self, number):
        """Waits for the picture, and looks whether it stays."""
        self.screen_when(lambda s: number_on(s) == number, 20)
        for _ in range(3):
            time.sleep(0.1)
            seen = number_on(demo.Screen(self.size))
            if seen != number:
                raise AssertionError(f"{number} became {seen}")

    def pauses_after(self, action):
        """What is shown once the player has taken an action for a pause."""
        before = calls("PELLORA_Pause")
        action()
        self.screen_when(lambda _: calls("PELLORA_Pause") > before, 20)
        last = [None]

        def stands(screen):
            before, last[0] = last[0], number_on(screen)
            return last[0] is not None and before == last[0]

        self.screen_when(stands, 20)
        return last[0]

    def pause(self):
        return self.pauses_after(lambda: self.key("space"))


class Controls(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.clip = Path(cls.folder.name) / "numbered pictures.mp4"
        make_numbered_clip(cls.clip)
        cls.text = Path(cls.folder.name) / "notes.txt"
        cls.text.write_text("These are notes, and no pictures.\n" * 100)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def player(self):
        return Player("Z:" + str(self.clip))

    def test_dragging_shows_the_picture_of_that_time_both_ways_and_lets_it_play_on(self):
        with self.player() as player:
            player.down(player.column_of(20))
            player.shows(20 * RATE)
            for second in (45, 46, 5, 59, 31):
                player.move(player.column_of(second))
                player.shows(second * RATE)
            player.up()
            self.assertLess(31 * RATE, number_on(player.screen_when(lambda s: (number_on(s) or 0) > 31 * RATE, 20)))
            later = number_on(player.screen_when(lambda s: (number_on(s) or 0) > 32 * RATE, 20))
            self.assertLess(later, 45 * RATE)

    def test_dragging_while_paused_leaves_it_paused_and_steps_go_on_from_there(self):
        with self.player() as player:
            player.pause()
            for second in (40, 12):
                player.down(player.column_of(30))
                player.move(player.column_of(second))
                player.up()
                player.shows(second * RATE)
            player.key("Up")
            player.shows(12 * RATE - 1)
            player.click(BACK)
            player.shows(12 * RATE - 2)
            player.click(ON)
            player.shows(12 * RATE - 1)
            player.key("Down")
            player.shows(12 * RATE)

    def test_the_mouse_pauses_and_the_arrows_leap_by_ten_seconds(self):
        with self.player() as player:
            player.click(player.column_of(20))
            stands_at = player.pauses_after(lambda: player.click(PLAY))
            self.assertGreaterEqual(stands_at, 20 * RATE)
            second = stands_at // RATE
            player.key("Right")
            player.shows((second + 10) * RATE)
            player.key("Left")
            player.shows(second * RATE)
            player.click(PLAY)
            player.screen_when(lambda s: (number_on(s) or 0) > second * RATE + 5, 20)

    def test_a_drag_past_both_ends_shows_the_first_and_the_last_picture(self):
        with self.player() as player:
            player.down(player.column_of(30))
            player.move(player.size[0] + 200, 100)
            player.shows(SECONDS * RATE - 1)
            player.move(2, 5)
            player.shows(0)
            player.up()

    def test_a_fast_hand_costs_ten_seeks_a_second_and_its_last_place_counts_and_the_video_is_left_alone(self):
        with self.player() as player:
            player.pause()
            before = calls("PELLORA_SetPlayPos")
            left, top, width, height = demo.pane_in_ring(player.screen)
            began = time.monotonic()
            player.down(player.column_of(10))
            for i in range(150):
                # A second of the clip is more than a pixel: nearly each move is to another one.
                player.move(player.column_of(10 + i * 7 % 40))
                if i % 10 == 0:
                    screen = demo.Screen(player.size)
                    for x, y in ((width // 2, height // 2), (3, height - 3), (width - 3, height - 3)):
                        self.assertTrue(demo.near(screen.at(left + x, top + y), GREY), f"{x}, {y}")
            player.move(player.column_of(33))
            player.up()
            took = time.monotonic() - began
            player.shows(33 * RATE)
            seeks = calls("PELLORA_SetPlayPos") - before
            self.assertGreater(seeks, 10)
            self.assertLessEqual(seeks, took * 10 + 2)

    def test_the_bar_is_that_of_the_pane_that_was_clicked(self):
        with Player("--split", 4, "Z:" + str(self.clip)) as player:
            before = player.screen.ring()
            player.move(SIZE[0] * 3 // 4, (SIZE[1] - demo.BELOW_VIDEO) * 3 // 4)
            xdotool("click", 1)
            player.screen_when(lambda s: s.ring() not in (None, before), 20)
            player.down(player.column_of(40))
            screen = player.screen_when(lambda s: number_on(s) == 40 * RATE, 20)
            # The others play on.
            others = [number_in(screen, pane_of(screen, index)) for index in range(3)]

            def others_go_on(seen):
                now = [number_in(seen, pane_of(seen, index)) for index in range(3)]
                return None not in now + others and all(a > b for a, b in zip(now, others))

            screen = player.screen_when(others_go_on, 20)
            self.assertLess(max(others), 30 * RATE)
            self.assertEqual(number_on(screen), 40 * RATE)
            player.up()
            player.screen_when(lambda s: (number_on(s) or 0) > 41 * RATE, 20)

    def test_a_camera_is_live_and_cannot_be_sought(self):
        with Player("--cameras", 1, "Z:" + str(self.clip), live=True) as player:
            screen = player.screen_when(lambda s: len(sliders(s)) == 1, 20)
            # The one that is left is the volume.
            self.assertGreater(sliders(screen)[0][0], SIZE[0] - 100)
            before = {name: calls(name) for name in ("PELLORA_SetPlayPos", "PELLORA_Pause")}
            player.down(SIZE[0] // 2)
            player.move(SIZE[0] // 3)
            player.up()
            first = number_on(player.screen_when(lambda s: number_on(s) is not None, 20))
            player.screen_when(lambda s: number_on(s) not in (None, first), 20)
            for name, count in before.items():
                self.assertEqual(calls(name), count, name)

    def test_mute_and_volume_are_at_hand(self):
        with self.player() as player:
            before = {name: calls(name) for name in ("PELLORA_OpenSound", "PELLORA_SetVolume")}
            volume = sliders(player.screen)[1]
            self.assertAlmostEqual(thumb_on(player.screen, volume), 1, delta=0.02)
            player.click(volume[0] - 20)
            player.down(volume[0] + (volume[1] - volume[0]) // 2)
            screen = player.screen_when(lambda s: abs(thumb_on(s, volume) - 0.5) < 0.02, 20)
            player.move(volume[0] - 50)
            screen = player.screen_when(lambda s: abs(thumb_on(s, volume)) < 0.02, 20)
            player.up()
            # What was let go does not follow any more.
            player.move(volume[1])
            player.key("Prior")
            player.screen_when(lambda s: abs(thumb_on(s, volume) - 0.1) < 0.02, 20)
            self.assertEqual(calls("PELLORA_OpenSound") - before["PELLORA_OpenSound"], 1)
            self.assertEqual(calls("PELLORA_SetVolume") - before["PELLORA_SetVolume"], 3)
            self.assertGreater(number_on(screen), 0)

    def test_the_controls_hold_in_a_small_window_and_while_it_is_resized(self):
        with self.player() as player:
            for width, height in ((400, 260), (200, 200), (642, 422)):
                with self.subTest(width=width):
                    subprocess.run([demo.ROOT / "tools" / "wine-run.sh", RESIZER, demo.TITLE, "1",
                                    f"{width}x{height}"], check=True)
                    player.size = (width, height)
                    player.screen = player.screen_when(player.is_ready)
                    self.assertLess(demo.pane_in_ring(player.screen)[3], height - demo.BELOW_VIDEO)
                    player.down(player.column_of(30))
                    # A pixel of a short bar is more than a second.
                    place = thumb_on(player.screen_when(lambda s: abs(thumb_on(s, sliders(s)[0]) - 0.5) < 0.02, 20),
                                     sliders(player.screen)[0])
                    number = number_on(player.screen_when(lambda s: (number_on(s) or 1) % RATE == 0, 20))
                    self.assertAlmostEqual(number, place * SECONDS * RATE, delta=2 * RATE)
                    player.up()

    def run_until(self, status, *sources):
        """What it says; it ends with 1 when nothing was shown in its time, which a busy machine may need more of."""
        for seconds in ("4", "15", "60"):
            with tempfile.TemporaryFile() as errors:
                code = subprocess.run([demo.ROOT / "tools" / "wine-run.sh", demo.PROGRAM, "--seconds", seconds,
                                       *("Z:" + str(source) for source in sources)], stdout=subprocess.DEVNULL,
                                      stderr=errors, timeout=150).returncode
                errors.seek(0)
                said = errors.read().decode(errors="replace")
            if code == status:
                break
        self.assertEqual(code, status, said)
        return said

    def test_what_cannot_be_played_is_told_with_its_reason_and_showing_nothing_is_a_failure(self):
        errors = self.run_until(1, self.text)
        self.assertRegex(errors, r"notes\.txt cannot be played: [a-z ,]+ \([56]\)\.")
        self.assertIn("Nothing has been shown.", errors)

    def test_one_file_that_cannot_be_played_spoils_nothing(self):
        errors = self.run_until(0, self.text, self.clip)
        self.assertIn("notes.txt cannot be played: ", errors)
        self.assertNotIn("Nothing has been shown.", errors)
        errors = self.run_until(0, self.clip)
        self.assertNotIn("cannot be played", errors)


if __name__ == "__main__":
    demo.PROGRAM = sys.argv.pop(1)
    RESIZER = sys.argv.pop(1)
    os.environ.setdefault("PELLORA_BIN", str(Path(demo.PROGRAM).parent))
    unittest.main(verbosity=2)

#!/usr/bin/env python3
"""A file in the shell's page: position bar, steps, sound, captures and rules, by the mouse: player_test.py PACKAGE-FOLDER

Needs what video_test.py needs. Without a sound device (tools/with-sound.sh makes one) the test of sound is left out.
"""

import json
import os
import subprocess
import unittest
from pathlib import Path

import shell_video
from shell_page import Shell, demo, windows_path, xdotool
from shell_video import VideoCase, file, pane_of

# Pictures a second, and how far the bar of the clip moves with each.
RATE, STEP = demo.RATE, 8
SECONDS = demo.PICTURES // RATE
COLOUR = (255, 210, 63)
# Of a line that is one pixel wide, after scaling and rounding of thousandths.
NEAR = 3
# What a JPEG may be off by in an even area.
JPEG = 12


class Player(VideoCase):
    split = 1

    @staticmethod
    def settings(clip):
        # With a tone, for the sound.
        whole = clip.with_name("with a tone.mp4")
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", clip, "-f", "lavfi", "-i", "sine=440", "-shortest", "-c:v", "copy",
                        "-c:a", "aac", whole], check=True)
        return {"cameras": [file(whole)], "play": True}

    def setUp(self):
        # From its beginning, standing.
        self.shell.key("Escape")
        self.shell.ask("(document.querySelector('#cameras button').click(), 0)")
        self.shell.wait_for(lambda: self.notice().endswith("playing"), "the file")
        self.pane = pane_of(self.shell.rect("#wall"))
        self.click("pause")
        self.wait_for_icon("pause", "#i-play")

    def click(self, action):
        self.shell.click(f"[data-do={action}]")

    def wait_for_icon(self, button, icon):
        icon_of = f"document.querySelector('#{button} use').getAttribute('href')"
        self.shell.wait_for(lambda: self.shell.ask(icon_of) == icon, f"{icon} on the button")

    def wait_for_picture(self, number):
        """By where the clip's bar is."""
        width = self.pane[2]
        wanted = number * STEP % (demo.WIDTH - demo.BAR) * width / demo.WIDTH

        def there():
            place = demo.bar_position(self.shell.screen(), self.pane)
            return place is not None and abs(place - wanted) <= NEAR
        self.shell.wait_for(there, f"picture {number}")

    def drag_slider(self, selector, part):
        left, top, right, bottom = self.shell.rect(selector)
        # The thumb's middle goes from half its width to as much before the end.
        thumb = 14 * self.shell.ratio()
        x = left + thumb / 2 + part * (right - left - thumb)
        self.shell.move(left + thumb / 2, (top + bottom) / 2)
        xdotool("mousedown", 1)
        self.shell.move(x, (top + bottom) / 2)
        xdotool("mouseup", 1)

    def value(self, selector):
        return float(self.shell.ask(f"document.querySelector('{selector}').value"))

    def video(self, call):
        return self.shell.ask(f"testVideo.{call}")

    def test_the_position_bar_seeks_and_tells_where_the_file_is(self):
        self.shell.wait_for(lambda: self.shell.ask("document.getElementById('position').max") == str(SECONDS), "the length")
        for second in (4, 6, 2):
            self.drag_slider("#position", second / SECONDS)
            self.wait_for_picture(second * RATE)
            self.assertEqual(self.video("position({ pane: 0 })"), second)
            self.shell.wait_for(lambda: self.text("#time") == f"0:0{second} / 0:0{SECONDS}", "the time")

    def test_steps_go_one_picture_on_and_one_back(self):
        self.drag_slider("#position", 4 / SECONDS)
        self.wait_for_picture(4 * RATE)
        for step, picture in (("on", 101), ("on", 102), ("back", 101), ("back", 100), ("back", 99)):
            self.click(step)
            self.wait_for_picture(picture)

    def test_a_file_goes_on_to_its_end_and_says_so(self):
        self.drag_slider("#position", 6 / SECONDS)
        self.click("pause")
        self.wait_for_icon("pause", "#i-pause")
        self.shell.wait_for(lambda: self.notice().endswith("at its end"), "the end")

    def test_the_volume_is_the_librarys(self):
        for part in (0.25, 0.75):
            self.drag_slider("#volume", part)
            self.shell.wait_for(lambda: abs(self.video("volume({ pane: 0 })") - part) < 0.02, "the volume")
            self.assertAlmostEqual(self.value("#volume") / 100, part, delta=0.02)

    @unittest.skipUnless("PELLORA_HEARD" in os.environ, "no sound device of its own")
    def test_the_sound_goes_on_and_off(self):
        self.click("pause")
        self.wait_for_icon("pause", "#i-pause")
        heard = Path(os.environ["PELLORA_HEARD"])
        for pressed in ("true", "false"):
            self.click("sound")
            self.shell.wait_for(lambda: self.shell.ask("document.getElementById('sound').getAttribute('aria-pressed')") == pressed,
                                "the button")
            self.assertFalse(self.shell.ask("document.getElementById('notice').classList.contains('bad')"), self.notice())
            if pressed == "true":
                self.shell.wait_for(lambda: any(heard.read_bytes()[-9600:]), "the tone")
            else:
                self.shell.wait_for(lambda: not any(heard.read_bytes()[-9600:]), "silence")

    def test_captures_are_images_of_the_page(self):
        self.drag_slider("#position", 4 / SECONDS)
        self.wait_for_picture(4 * RATE)
        before = self.shell.ask("document.querySelectorAll('#captures img').length")
        self.click("capture")
        self.shell.wait_for(lambda: self.shell.ask("document.querySelectorAll('#captures img').length") == before + 1, "the image")
        size, pixels = self.shell.ask(
            "(async () => { const image = document.querySelector('#captures img'); await image.decode();"
            "const canvas = document.createElement('canvas'); const { naturalWidth: width, naturalHeight: height } = image;"
            "Object.assign(canvas, { width, height }); const context = canvas.getContext('2d'); context.drawImage(image, 0, 0);"
            "const at = (x, y) => [...context.getImageData(x, y, 1, 1).data].slice(0, 3);"
            "return [[width, height], [[1, 1], [3, 1], [1, 3], [3, 3]].map(([x, y]) => at(width * x / 4, height * y / 4))]; })()")
        self.assertEqual(size, [demo.WIDTH, demo.HEIGHT])
        for pixel, colour in zip(pixels, demo.QUARTERS):
            for a, b in zip(pixel, demo.rgb_of(colour)):
                self.assertAlmostEqual(a, b, delta=JPEG)

    # ---- rules ----

    def at(self, x, y):
        """A place in thousandths of the picture, in pixels of the page."""
        left, top, width, height = self.pane
        return left + x * width / 1000, top + y * height / 1000

    def json_of_rule(self):
        text = self.shell.ask("document.getElementById('rule-json').value")
        return json.loads(text) if text else None

    def has_edge(self, screen, x, top, bottom):
        """Whether the rule's colour is in a column near x, between two heights."""
        middle = self.at(x, (top + bottom) / 2)
        return any(demo.near(screen.at(round(middle[0]) + off, round(middle[1])), COLOUR) for off in range(-NEAR, NEAR + 1))

    def test_a_rule_is_drawn_by_the_mouse_shown_as_json_changed_and_removed(self):
        self.shell.click("#rule-text")
        self.shell.key("ctrl+a")
        self.shell.type("Gate")
        self.click("draw")
        self.shell.wait_for(lambda: self.text("#rules") == "Gate0", "the rule in the list")
        wanted = {"left": 150, "top": 200, "right": 400, "bottom": 420}
        for place, button in (((150, 200), "mousedown"), ((300, 300), None), ((400, 420), "mouseup")):
            self.shell.move(*self.at(*place))
            if button:
                xdotool(button, 1)

        def drawn():
            shape = (self.json_of_rule() or {}).get("shape")
            return shape and all(abs(shape[edge] - wanted[edge]) <= 6 for edge in wanted)
        self.shell.wait_for(drawn, "the rectangle as JSON")
        rule = self.json_of_rule()
        self.assertEqual((rule["type"], rule["colour"], rule["caption"]), ("captionedRect", "#ffd23f", "Gate"))
        self.shell.wait_for(lambda: self.has_edge(self.shell.screen(), 400, 200, 420), "its right edge in the video")

        rule["shape"] = {"left": 600, "top": 550, "right": 900, "bottom": 900}
        self.shell.ask(f"(document.getElementById('rule-json').value = {json.dumps(json.dumps(rule))}, 0)")
        self.click("apply")
        self.shell.wait_for(lambda: self.has_edge(self.shell.screen(), 900, 550, 900), "its right edge elsewhere")
        self.assertFalse(self.has_edge(self.shell.screen(), 400, 200, 420))
        self.click("remove")
        self.shell.wait_for(lambda: not self.has_edge(self.shell.screen(), 900, 550, 900), "no rule in the video")
        self.assertEqual(self.shell.ask("document.querySelectorAll('#rules li').length"), 0)

    def test_json_that_is_no_rule_is_refused_in_words_and_the_rule_stays(self):
        self.click("draw")
        self.shell.wait_for(self.json_of_rule, "the rule")
        self.shell.ask("(document.getElementById('rule-json').value = '{', 0)")
        self.click("apply")
        self.shell.wait_for(lambda: self.shell.ask("document.getElementById('notice').classList.contains('bad')"), "the refusal")
        self.assertIn("JSON", self.notice())
        self.assertEqual(self.shell.ask("document.querySelectorAll('#rules li').length"), 1)
        self.click("remove")


class ChosenFile(VideoCase):
    shared = False

    def test_a_file_that_is_chosen_plays_in_the_selected_pane(self):
        with Shell(shell_video.PACKAGE, {}) as shell:
            shell.wait_for(lambda: not shell.ask("document.getElementById('pane-note').hidden"), "a page without video")
            # As the dialog of the shell leaves it.
            shell.ask(f"(() => {{ const list = new FileList(); list.append(new File({json.dumps(windows_path(self.clip))}, 'clip'));"
                      "const input = document.getElementById('file'); input.files = list;"
                      "input.dispatchEvent(new Event('change', { bubbles: true })); return 0; })()")
            self.wait_for_wall(shell, 1)


if __name__ == "__main__":
    shell_video.main()

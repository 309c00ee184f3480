#!/usr/bin/env python3
"""Where the video is in the shell's page, in a real Chromium by mouse, keyboard and pixels: video_test.py PACKAGE-FOLDER

PACKAGE-FOLDER  the add-on's package with the library beside it

Needs what shell_page.py needs, and ffmpeg. The cameras are simulated ones that send a clip of four colours.
"""

import threading
import time

import shell_video
from shell_page import demo, xdotool
from shell_video import HEADER, RAISED, VideoCase, WholeScreen, cameras, pane_of, shows

MENU_ITEMS = {1: "[data-value='1']", 1.25: "[data-value='1.25']", 1.5: "[data-value='1.5']"}


class Wall(VideoCase):
    """Nine cameras in one page."""

    def page_size(self):
        return self.shell.ask("[visualViewport.width, visualViewport.height].map((css) => Math.round(css * devicePixelRatio))")

    def resize(self, width, height):
        self.shell.ask(f"(nw.Window.get().resizeTo({width}, {height}), 0)")
        self.shell.wait_for(lambda: self.page_size() == [width, height], f"{width} x {height}")

    def wheel(self, button):
        left, top, right, bottom = self.shell.rect("#controls")
        self.shell.move((left + right) / 2, (top + bottom) / 2)
        xdotool("click", button)

    def click_zoom(self, factor):
        """The menu hangs over the video: its item is clicked there, through the hole."""
        self.open_menu()
        left, top, _, bottom = self.shell.rect(f"#menu {MENU_ITEMS[factor]}")
        wall = self.shell.rect("#wall")
        self.assertLess(left + 12, wall[2])
        self.assertGreater((top + bottom) / 2, wall[1])
        self.shell.click_at(left + 12, (top + bottom) / 2)
        self.shell.wait_for(lambda: abs(self.shell.ratio() - factor) < 0.01, f"zoom {factor}")

    def check_place_under_zoom(self, factor):
        size = self.page_size()
        self.click_zoom(factor)
        self.wait_for_wall()
        top = self.shell.rect("#wall")[1]
        self.wheel(5)
        self.shell.wait_for(lambda: self.shell.rect("#wall")[1] < top, "scrolling")
        self.wait_for_wall()
        self.resize(1100, 700)
        self.wait_for_wall()
        self.resize(*size)
        self.wait_for_wall()

    def test_the_video_is_where_its_element_is_through_scrolling_and_resizing_at_100_percent(self):
        self.check_place_under_zoom(1)

    def test_the_video_is_where_its_element_is_through_scrolling_and_resizing_at_125_percent(self):
        self.check_place_under_zoom(1.25)

    def test_the_video_is_where_its_element_is_through_scrolling_and_resizing_at_150_percent(self):
        self.check_place_under_zoom(1.5)

    def test_a_menu_over_the_video_is_seen_and_goes_again(self):
        self.open_menu()
        left, top, right, bottom = self.shell.rect("#menu")
        wall = self.shell.rect("#wall")
        self.assertGreater(bottom, wall[1] + 40, "the menu has to hang over the video")
        # Where the menu is over the video: left of its letters, and below the item that has the keyboard.
        self.assertLess(left + 8, wall[2], "the menu has to hang over the video")
        points = [(round(left) + 8, round(y)) for y in ((top + bottom) / 2, bottom - 14)]
        self.shell.wait_for(lambda: all(demo.near(self.shell.screen().at(*point), RAISED) for point in points), "the menu's colour")
        self.shell.key("Escape")
        self.wait_for_wall()

    def test_the_video_never_covers_the_header(self):
        before = self.shell.rect("#wall")
        self.wheel(5)
        self.shell.wait_for(lambda: self.shell.rect("#wall")[1] < before[1], "scrolling")

        def cut():
            screen, wall, stage = self.shell.screen(), self.shell.rect("#wall"), self.shell.rect("#stage")
            return shows(screen, wall, 9, stage) and demo.near(screen.at(round(wall[0]) + 30, round(stage[1]) - 6), HEADER)
        self.shell.wait_for(cut, "the video under the header")

    def test_the_video_follows_a_window_that_is_maximised_and_restored(self):
        size = self.page_size()
        self.shell.ask("(nw.Window.get().maximize(), 0)")
        self.shell.wait_for(lambda: self.page_size()[0] > size[0], "the large window")
        try:
            self.shell.wait_for(lambda: shows(*self.maximised(), 9), "the video in the large window")
        finally:
            self.shell.ask("(nw.Window.get().restore(), 0)")
        self.shell.wait_for(lambda: self.page_size() == size, "the window as it was")
        self.wait_for_wall()

    def maximised(self):
        """Its borders lie outside of the screen; the page begins where the caption ends."""
        screen = WholeScreen()
        above = next((y for y in range(screen.height) if demo.near(screen.at(2, y), HEADER)), 0)
        left, top, right, bottom = self.shell.rect("#wall")
        return screen, (left, top + above, right, bottom + above)

    def test_the_page_keeps_the_keyboard_until_the_video_is_clicked(self):
        value = "document.getElementById('rule-text').value"
        self.shell.ask("(document.getElementById('rule-text').value = '', 0)")
        self.shell.click("#rule-text")
        self.shell.type("gate")
        self.shell.wait_for(lambda: self.shell.ask(value) == "gate", "the page's keyboard")
        self.shell.click("#wall")
        # The library tells the page of the click; the document itself does not notice that the keyboard has gone.
        self.shell.wait_for(lambda: self.notice().startswith("Pane 5"), "the click into the middle pane")
        self.shell.type("xyz")
        self.shell.click("#rule-text")
        self.shell.type("s")
        self.shell.wait_for(lambda: self.shell.ask(value).endswith("s"), "the page's keyboard again")
        self.assertEqual(sorted(self.shell.ask(value)), sorted("gates"))

    def test_full_screen_covers_the_screen_and_escape_brings_the_page_back(self):
        self.shell.click("[data-do=full]")

        def covered():
            screen = WholeScreen()
            return shows(screen, (0, 0, screen.width, screen.height), 9)
        self.shell.wait_for(covered, "nine panes on the whole screen")
        self.shell.key("Escape")
        self.wait_for_wall()
        # The page has the keyboard again.
        self.shell.click("#rule-text")
        self.shell.ask("(document.getElementById('rule-text').value = '', 0)")
        self.shell.type("b")
        self.shell.wait_for(lambda: self.shell.ask("document.getElementById('rule-text').value") == "b", "the page's keyboard")

    def test_a_pane_that_is_stopped_says_what_to_do_and_the_camera_comes_back(self):
        self.shell.click("#wall")
        self.shell.wait_for(lambda: self.notice().startswith("Pane 5"), "the middle pane")
        self.shell.click("[data-do=stop]")
        self.shell.wait_for(lambda: self.notice() == "Pane 5: free", "the stop")
        left, top, right, bottom = self.shell.rect("#pane-note")
        point = round(left) + 4, round((top + bottom) / 2)
        self.shell.wait_for(lambda: demo.near(self.shell.screen().at(*point), RAISED), "the page's note in the video")
        self.shell.click("#cameras li:nth-child(5) button")
        self.wait_for_wall()

    def test_a_page_that_hangs_for_three_seconds_does_not_stop_the_video(self):
        wall = self.shell.rect("#wall")
        pane = pane_of(wall, 9, 4)
        size = self.shell.screen()
        hang = threading.Thread(target=lambda: self.shell.ask(
            "(() => { const end = performance.now() + 3000; while (performance.now() < end); return 0; })()"))
        hang.start()
        places = set()
        deadline = time.monotonic() + 20
        while len(places) < 4 and hang.is_alive() and time.monotonic() < deadline:
            screen = demo.Screen((size.width, size.height))
            place = demo.bar_position(screen, pane)
            if hang.is_alive() and place is not None:
                places.add(place)
        hang.join()
        self.assertGreaterEqual(len(places), 2, "the bar has to move while the page hangs")

    def test_a_page_that_is_loaded_anew_shows_its_video_again_and_leaves_none_behind(self):
        for _ in range(3):
            port = self.shell.port()
            self.open_menu()
            self.shell.click("#menu [data-do=reload]")
            self.shell.wait_for(lambda: self.shell.port() != port, "the new page")
            # Until then the page before may still be seen to play.
            self.shell.wait_for(lambda: self.shell.ask("document.querySelectorAll('#cameras .playing').length") == 9, "its cameras")
            self.wait_for_wall()
        # Nine windows are all there are: pages that left theirs behind would have used them up.
        opened = self.shell.ask(
            "(async () => { const { VideoWindow, findWindow } = require(process.env.PELLORA_NODE); const all = [];"
            "for (let i = 0; i < 8; i++) all.push(await VideoWindow.open({ host: findWindow(document.title), embed: 'renderWidget' }));"
            "for (const one of all) await one.close(); return all.length; })()")
        self.assertEqual(opened, 8)


class TwoWindows(VideoCase):
    shared = False

    def test_each_new_window_has_a_title_of_its_own_by_which_its_video_finds_it(self):
        with self.start({}) as shell:
            for number in (2, 3):
                # Windows that are opened lie over it.
                shell.ask("(document.querySelector('[data-do=window]').click(), 0)")
                shell.wait_for(lambda: shell.ask("document.title", number) == f"Pellora shell {number}", f"page {number}", 60)
                shell.wait_for(lambda: shell.ask("Boolean(window.testVideo)", number), f"the video of page {number}")

    def test_each_has_its_video_and_the_first_keeps_its_own_when_the_other_goes(self):
        settings = {"cameras": cameras(self.clip, 4), "play": True}
        with self.start(settings, size=(780, 560), frame=False) as shell:
            self.wait_for_wall(shell, 4)
            shell.ask("(nw.Window.open('index.html?window=2', { width: 780, height: 560, x: 800, y: 0, frame: false }), 0)")
            shell.wait_for(lambda: shell.ask("document.title", 2) == "Pellora shell 2", "the second page", 60)

            def both():
                wall = shell.rect("#wall")
                return shows(shell.screen(), wall, 4) and shows(shell.screen("Pellora shell 2"), wall, 4)
            shell.wait_for(both, "two videos")
            shell.ask("(setTimeout(() => nw.Window.get().close(true), 0), 0)", 2)
            shell.wait_for(lambda: not shell.windows("Pellora shell 2"), "one window")
            shell.click("[data-split='9']")
            shell.wait_for(lambda: shell.ask("document.querySelector('[data-split=\"9\"]').getAttribute('aria-checked')") == "true",
                           "nine panes")
            shell.click("[data-split='4']")
            self.wait_for_wall(shell, 4)


if __name__ == "__main__":
    shell_video.main()

#!/usr/bin/env python3
"""The shell's page for long, and windows opened and closed in it many times: endurance_test.py PACKAGE-FOLDER

PELLORA_ROUNDS  how often a window is opened and closed (default: 30)
PELLORA_MINUTES how long memory is watched (default: 1)

Needs what video_test.py needs.
"""

import json
import os
import time

import shell_video
from shell_video import VideoCase, cameras

ROUNDS = int(os.environ.get("PELLORA_ROUNDS", "30"))
MINUTES = float(os.environ.get("PELLORA_MINUTES", "1"))
# Chromium and the pools of nine panes grow until about then.
SETTLING = 30
# What the process may have more at the end than after that, in bytes.
GROWTH = 24 << 20


class Endurance(VideoCase):
    def test_rounds_of_opening_and_closing_leave_the_first_window_playing(self):
        address = json.dumps(cameras(self.clip, 1)[0]["address"])
        for _ in range(ROUNDS):
            self.shell.ask(
                "(async () => { const { Camera, VideoWindow, findWindow } = require(process.env.PELLORA_NODE);"
                "const video = await VideoWindow.open({ host: findWindow(document.title), embed: 'renderWidget' });"
                f"const camera = new Camera({address}); await video.setGeometry({{ x: 0, y: 0, width: 40, height: 30 }});"
                "await video.preview(camera); await video.close(); await camera.logout(); return 0; })()")
        self.wait_for_wall()

    def test_memory_stays_flat(self):
        begin = time.monotonic()
        settled = None
        most = 0
        while time.monotonic() - begin < SETTLING + 60 * MINUTES:
            now = self.shell.ask("process.memoryUsage().rss")
            if time.monotonic() - begin >= SETTLING:
                settled = settled or now
                most = max(most, now)
            time.sleep(1)
        print(f"{settled >> 20} MB after {SETTLING} s, {most >> 20} MB at most in {MINUTES:g} minutes after that", flush=True)
        self.wait_for_wall()
        self.assertLess(most - settled, GROWTH)


if __name__ == "__main__":
    shell_video.main()

#!/usr/bin/env python3
"""What the video costs the page and the bridge between them: measure.py PACKAGE-FOLDER

Prints two tables: frames of the page a second, without and with nine panes playing over it, with what a call costs; and the
time from a click in the page to what is seen of it, in the page and in a pane. Needs what video_test.py needs; run it on a
machine that does nothing else.
"""

import ctypes
import statistics
import sys
import tempfile
import time
from pathlib import Path

import shell_video
from shell_page import Shell, demo
from shell_video import pane_of, shows

SECONDS = 10
CALLS = 1000
CLICKS = 40
# A pixel that has not changed by then does not change any more, in seconds.
PATIENCE = 10

# Something has to change in each frame, or Chromium draws none.
FRAMES = f"""new Promise((done) => {{
  const mark = document.createElement('div');
  document.querySelector('.bar').append(mark);
  const begin = performance.now();
  let frames = 0;
  const next = () => {{
    frames += 1;
    mark.style.cssText = `width:8px;height:8px;background:rgb(${{frames % 256}},0,0)`;
    if (performance.now() - begin < {SECONDS} * 1000) requestAnimationFrame(next);
    else {{ mark.remove(); done(frames * 1000 / (performance.now() - begin)); }}
  }};
  requestAnimationFrame(next);
}})"""

# A window of its own, so that nothing waits behind the page's calls. Milliseconds in the middle and at worst.
TIMES = f"""(async () => {{
  const {{ VideoWindow, findWindow }} = require(process.env.PELLORA_NODE);
  const video = await VideoWindow.open({{ host: findWindow(document.title), embed: 'renderWidget' }});
  await video.setGeometry({{ x: 0, y: 0, width: 40, height: 30 }});
  const took = [];
  for (let i = 0; i < {CALLS}; i++) {{
    const begin = performance.now();
    await video.selectPane(i % 9);
    took.push(performance.now() - begin);
  }}
  await video.close();
  took.sort((a, b) => a - b);
  return [took[{CALLS} / 2], took[{CALLS} - 1]];
}})()"""

# A square in the header that is white or black after each click.
SQUARE = """(() => {
  const square = document.createElement('div');
  square.id = 'square';
  square.style.cssText = 'width:20px;height:20px;background:#000';
  square.addEventListener('click', () => { square.style.background = square.style.background === 'rgb(0, 0, 0)' ? '#fff' : '#000'; });
  document.querySelector('.bar').append(square);
  return 0;
})()"""


class Display:
    """Its mouse button and single pixels of it, without a program and a screenshot for each."""

    def __init__(self):
        self.x11 = ctypes.CDLL("libX11.so.6")
        self.xtest = ctypes.CDLL("libXtst.so.6")
        for name, result in (("XOpenDisplay", ctypes.c_void_p), ("XDefaultRootWindow", ctypes.c_ulong),
                             ("XGetImage", ctypes.c_void_p), ("XGetPixel", ctypes.c_ulong)):
            getattr(self.x11, name).restype = result
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(None))
        self.root = ctypes.c_ulong(self.x11.XDefaultRootWindow(self.display))

    def brightness(self, x, y):
        every_plane, as_z_pixmap = ctypes.c_ulong(0xFFFFFFFF), 2
        image = ctypes.c_void_p(self.x11.XGetImage(self.display, self.root, x, y, 1, 1, every_plane, as_z_pixmap))
        value = self.x11.XGetPixel(image, 0, 0)
        self.x11.XDestroyImage(image)
        return sum(value >> shift & 255 for shift in (0, 8, 16)) / 3

    def button(self, is_down):
        self.xtest.XTestFakeButtonEvent(self.display, 1, is_down, ctypes.c_ulong(0))
        self.x11.XFlush(self.display)

    def click_until(self, is_there, x, y):
        """Milliseconds from the button's release, which makes it a click, to the pixel."""
        self.button(True)
        time.sleep(0.02)
        begin = time.monotonic()
        self.button(False)
        while not is_there(self.brightness(x, y)):
            assert time.monotonic() - begin < PATIENCE, f"nothing happens at {x}, {y}"
        return 1000 * (time.monotonic() - begin)


def page_clicks(shell, display):
    """From a click on an element to its other colour."""
    shell.ask(SQUARE)
    left, top, right, bottom = shell.rect("#square")
    shell.move((left + right) / 2, (top + bottom) / 2)
    screen = shell.screen()
    # Beside the pointer.
    x, y = screen.left + round(left) + 2, screen.top + round(top) + 2
    took = []
    for i in range(CLICKS):
        took.append(display.click_until((lambda b: b > 200) if i % 2 == 0 else (lambda b: b < 50), x, y))
        time.sleep(0.1)
    return took


def pane_clicks(shell, display):
    """From a click on "One picture on" to the clip's bar in its next place."""
    shell.wait_for(lambda: shell.ask("document.getElementById('notice').textContent").endswith("playing"), "the file")
    shell.ask("(async () => { document.querySelector('[data-do=pause]').click(); await testVideo.seek(0, { pane: 0 }); return 0; })()")
    left, top, width, height = pane_of(shell.rect("#wall"))
    time.sleep(1)
    screen = shell.screen()
    assert demo.bar_position(screen, (left, top, width, height)) is not None
    a, b, c, d = shell.rect("[data-do=on]")
    shell.move((a + c) / 2, (b + d) / 2)
    took = []
    for number in range(1, 1 + min(CLICKS, (demo.WIDTH - demo.BAR) // 8 - 1)):
        # The middle of what the bar covers in this picture and not in the one before.
        x = screen.left + left + round((number * 8 + demo.BAR - 4) * width / demo.WIDTH)
        y = screen.top + top + height // 2
        assert display.brightness(x, y) > 80, "the bar is there already"
        took.append(display.click_until(lambda b: b < 40, x, y))
        time.sleep(0.1)
    return took


def main():
    package = sys.argv[1]
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        clip = Path(folder) / "known pictures.mp4"
        demo.make_clip(clip)
        for count in (0, 9):
            with Shell(package, {"cameras": shell_video.cameras(clip, count), "play": True}) as shell:
                if count:
                    shell.wait_for(lambda: shows(shell.screen(), shell.rect("#wall"), 9), "nine panes")
                rows.append((count, shell.ask(FRAMES), *shell.ask(TIMES, seconds=300), page_clicks(shell, Display())))
        with Shell(package, {"cameras": [shell_video.file(clip)], "play": True}) as shell:
            in_pane = pane_clicks(shell, Display())
    print("| panes playing | frames of the page a second | call and outcome, middle | worst |")
    print("| --- | --- | --- | --- |")
    for count, frames, middle, worst, _ in rows:
        print(f"| {count} | {frames:.1f} | {middle:.2f} ms | {worst:.1f} ms |")
    print("\n| from a click in the page | middle | worst |\n| --- | --- | --- |")
    for what, took in (("to a change of the page", rows[0][4]), ("to a change of the page, nine panes playing", rows[1][4]),
                       ("to the next picture in a pane", in_pane)):
        print(f"| {what} | {statistics.median(took):.0f} ms | {max(took):.0f} ms |")


if __name__ == "__main__":
    main()

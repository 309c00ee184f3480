"""What the tests of the shell's page with the library share: cameras that send known pictures, and what is seen of them.

PACKAGE is the add-on's package with the library beside it; main() takes it from the command line.
"""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from urllib.parse import quote

from shell_page import Shell, demo, windows_path

PACKAGE = None
# Of the page: what its menu and its notes in the video are painted with, and its header.
RAISED = (0x28, 0x2E, 0x38)
HEADER = (0x1C, 0x20, 0x27)
# How near to its edges the video is looked for, in pixels.
EDGE = 3


def cameras(clip, count):
    address = "file:///Z:" + quote(str(clip))
    return [{"kind": "camera", "name": f"Camera {n + 1}", "address": address, "user": "", "password": "", "channel": 1,
             "stream": "main"} for n in range(count)]


def file(clip):
    return {"kind": "file", "name": clip.name, "path": windows_path(clip)}


def places_of(wall, split):
    """Places in and around a grid of panes, each with the clip's colour there: x, y, colour, whether the colour is to be there."""
    side = {1: 1, 4: 2, 9: 3}[split]
    left, top, right, bottom = wall
    width, height = (right - left) / side, (bottom - top) / side
    for pane in range(split):
        points = demo.quarter_points(round(left + pane % side * width), round(top + pane // side * height), round(width),
                                     round(height))
        for (x, y), colour in zip(points, demo.QUARTERS):
            yield x, y, colour, True
    # At the corners: to a few pixels there, and no further.
    for i, colour in enumerate(demo.QUARTERS):
        x, outwards_x = ((left, -1), (right, 1))[i % 2]
        y, outwards_y = ((top, -1), (bottom, 1))[i // 2]
        yield round(x - EDGE * outwards_x), round(y - EDGE * outwards_y), colour, True
        yield round(x + EDGE * outwards_x), round(y - EDGE * outwards_y), colour, False
        yield round(x - EDGE * outwards_x), round(y + EDGE * outwards_y), colour, False


def shows(screen, wall, split, part=None):
    """Whether the grid shows the clip in each pane and ends where it should; with a part of the screen, what lies in that."""
    seen = 0
    for x, y, colour, is_there in places_of(wall, split):
        if part and not (part[0] <= x < part[2] and part[1] <= y < part[3]):
            continue
        on_screen = 0 <= x < screen.width and 0 <= y < screen.height
        if (on_screen and demo.near(screen.at(x, y), demo.rgb_of(colour))) != is_there:
            return False
        seen += is_there
    # A third of the middles is a row of the grid.
    return seen >= 4 * split / 3


class WholeScreen(demo.Screen):
    """The display with everything on it, as large as it is."""

    left = top = 0

    def __init__(self):
        size = subprocess.run(["xdotool", "getdisplaygeometry"], capture_output=True, text=True, check=True).stdout.split()
        self.width, self.height = (int(value) for value in size)
        self.pixels = subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], capture_output=True, check=True).stdout


def pane_of(wall, split=1, pane=0):
    """Left, top, width and height of a pane, without the frame around it."""
    side = {1: 1, 4: 2, 9: 3}[split]
    width, height = (wall[2] - wall[0]) / side, (wall[3] - wall[1]) / side
    left, top = wall[0] + pane % side * width, wall[1] + pane // side * height
    return round(left) + 1, round(top) + 1, round(left + width) - round(left) - 2, round(top + height) - round(top) - 2


class VideoCase(unittest.TestCase):
    """Tests that share a page, which is as it was before after each of them; without shared each starts its own."""

    split = 9
    shared = True
    shell = None

    @staticmethod
    def settings(clip):
        """What the shared page is started with."""
        return {"cameras": cameras(clip, 9), "play": True}

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.clip = Path(cls.folder.name) / "known pictures.mp4"
        demo.make_clip(cls.clip)
        if cls.shared:
            cls.shell = cls.start(cls.settings(cls.clip))
            cls.shell.__enter__()
            cls.addClassCleanup(cls.shell.__exit__)

    @staticmethod
    def start(settings, **options):
        return Shell(PACKAGE, settings, **options)

    def setUp(self):
        if self.shared:
            # As the test before has found it.
            self.shell.key("Escape")
            self.shell.ask("(nw.Window.get().zoomLevel = 0, document.getElementById('stage').scrollTop = 0, 0)")
            self.wait_for_wall()

    def wait_for_wall(self, shell=None, split=None):
        """The video where the element is and as large, where it is not scrolled out."""
        shell = shell or self.shell

        def there():
            screen = shell.screen()
            return screen if shows(screen, shell.rect("#wall"), split or self.split, shell.rect("#stage")) else None
        return shell.wait_for(there, f"{split or self.split} panes where the element is")

    def open_menu(self, shell=None):
        shell = shell or self.shell
        shell.click("#menu-button")
        shell.wait_for(lambda: not shell.ask("document.getElementById('menu').hidden"), "the menu")

    def notice(self):
        return self.shell.ask("document.getElementById('notice').textContent")

    def text(self, selector):
        return self.shell.ask(f"document.querySelector({json.dumps(selector)}).textContent")


def main():
    global PACKAGE
    PACKAGE = sys.argv.pop(1)
    unittest.main(module="__main__", verbosity=2)

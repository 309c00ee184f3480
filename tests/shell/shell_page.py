"""The shell's page in a real Chromium, for tests: started, asked, and handled by mouse and keyboard.

Needs a display (DISPLAY), Wine, NW.js (tools/nwjs.sh), xdotool, ImageMagick and xwininfo.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True  # the checkout holds sources only
sys.path.append(str(ROOT / "tests" / "demo"))
import demo_screen_test as demo  # noqa: E402

TITLE = "Pellora shell"
SIZE = (1280, 800)
# The first start of a prefix takes up to 20 s; a busy machine needs more.
START = 180
# Wine merges moves that follow each other too closely.
PAUSE = 0.03


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def xdotool(*arguments):
    subprocess.run(["xdotool", *(str(argument) for argument in arguments)], check=True, stdout=subprocess.DEVNULL)


class Shell:
    """NW.js with the page, for the length of a with block.

    package   the add-on's package, or the one that stands for it
    settings  what the page is started with: cameras, play
    frame     whether the window has a caption, which the shell paints itself, and borders
    """

    def __init__(self, package, settings=None, size=SIZE, frame=True, **environment):
        self.package = Path(package)
        self.settings = settings or {}
        self.size = size
        self.frame = frame
        self.environment = environment

    def __enter__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="pellora-shell-"))
        self.log = open(self.folder / "log", "wb")
        self.lay_out()
        environment = {**os.environ, "PELLORA_NODE": str(self.package), "PELLORA_PROBE": windows_path(self.folder / "port"),
                       "PELLORA_SHELL_SETTINGS": str(self.folder / "settings.json"), **self.environment}
        self.process = subprocess.Popen([ROOT / "tools" / "shell-run.sh", self.folder / "app"], env=environment,
                                        stdout=self.log, stderr=subprocess.STDOUT)
        try:
            self.wait_for(lambda: self.ask("document.readyState") == "complete", "the page", START)
            text = "document.getElementById('wall-text').textContent"
            self.wait_for(lambda: self.ask(text) != "Starting …", "the video", 60)
            # Without a video its place says why.
            assert self.ask(text) == "", self.ask(text)
            # No window manager gives the keyboard to a window.
            xdotool("windowfocus", self.window())
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        # By its own way out; what is left of it goes with its Wine server.
        try:
            self.ask("setTimeout(() => nw.App.quit(), 0) && 0")
            self.process.wait(20)
        except (OSError, AssertionError, subprocess.TimeoutExpired):
            self.process.terminate()
            self.process.wait()
        self.log.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def lay_out(self):
        """The page as it is, but for the size of its window, and a way in for the test."""
        app = self.folder / "app"
        shutil.copytree(ROOT / "hosts" / "shell", app)
        shutil.copy(ROOT / "tests" / "shell" / "probe.js", app)
        manifest = json.loads((app / "package.json").read_text())
        manifest["window"] = {"title": TITLE, "width": self.size[0], "height": self.size[1], "frame": self.frame}
        manifest["inject_js_start"] = "probe.js"
        (app / "package.json").write_text(json.dumps(manifest))
        page = (app / "index.html").read_text(encoding="utf-8")
        assert "default-src 'self'" in page
        # The test's questions are evaluated in the page.
        (app / "index.html").write_text(page.replace("default-src 'self'", "default-src 'self' 'unsafe-eval'"), encoding="utf-8")
        (self.folder / "settings.json").write_text(json.dumps(self.settings))

    def console(self):
        """Its last lines; not those in which Chromium and Wine complain of each other."""
        lines = (self.folder / "log").read_text(errors="replace").splitlines()
        return "\n".join([line for line in lines if "CONSOLE" in line or "pellora" in line.lower()][-20:])

    def port(self, window=1):
        return int((self.folder / f"port-{window}").read_text())

    def ask(self, expression, window=1, seconds=60):
        """What an expression of JavaScript is in the page; promises are waited for."""
        request = urllib.request.Request(f"http://127.0.0.1:{self.port(window)}/", data=expression.encode())
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        with opener.open(request, timeout=seconds) as answer:
            result = json.loads(answer.read())
        if "error" in result:
            raise AssertionError(f"{expression}: {result['error']}")
        return result.get("value")

    def wait_for(self, condition, what, seconds=40):
        """The first answer that is true."""
        deadline = time.monotonic() + seconds
        while True:
            if self.process.poll() is not None:
                raise AssertionError("the shell ended: " + self.console())
            try:
                answer = condition()
                if answer:
                    return answer
            except (OSError, ValueError):
                pass  # no page yet, or one that is loaded anew
            if time.monotonic() > deadline:
                raise AssertionError(f"not within {seconds} s: {what}; {self.console()}")
            time.sleep(0.1)

    def windows(self, title=TITLE):
        # It ends with 1 where there is none.
        return subprocess.run(["xdotool", "search", "--name", f"^{title}$"], capture_output=True, text=True).stdout.split()

    def window(self, title=TITLE):
        return self.windows(title)[-1]

    # ---- places, in device pixels of the page ----

    def ratio(self):
        return self.ask("devicePixelRatio")

    def rect(self, selector):
        """Left, top, right and bottom of an element, not rounded."""
        left, top, right, bottom, ratio = self.ask(
            f"(({{left, top, right, bottom}}) => [left, top, right, bottom, devicePixelRatio])"
            f"(document.querySelector({json.dumps(selector)}).getBoundingClientRect())")
        return tuple(value * ratio for value in (left, top, right, bottom))

    def screen(self, title=TITLE):
        """What is on the screen where the page is."""
        demo.TITLE = title
        width, height = self.ask("[innerWidth * devicePixelRatio, innerHeight * devicePixelRatio]")
        return demo.Screen((round(width), round(height)))

    # ---- mouse and keyboard ----

    def move(self, x, y):
        screen = self.screen()
        xdotool("mousemove", screen.left + round(x), screen.top + round(y))
        time.sleep(PAUSE)

    def click(self, selector):
        left, top, right, bottom = self.rect(selector)
        self.click_at((left + right) / 2, (top + bottom) / 2)

    def click_at(self, x, y):
        self.move(x, y)
        xdotool("click", 1)
        time.sleep(PAUSE)

    def type(self, text):
        xdotool("type", "--delay", 40, text)

    def key(self, name):
        xdotool("key", name)

#!/usr/bin/python3
"""The cameras of the test bed: what each shows, and the clips that their server sends round and round.

Each picture carries a number as two equal bar codes (tests/support/BarCode.h), one over its top quarter and one over
its bottom quarter, so that a picture which is not whole gives itself away. The number is 1024 times the camera's
identity plus the picture's place in the clip, from 0.
"""

import fcntl
import sys
from dataclasses import dataclass
from datetime import datetime, timezone
from pathlib import Path

sys.dont_write_bytecode = True  # the checkout holds sources only
sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "media"))
from make_media import FULL_420, MJPEG, SOUNDS, Clip, bar_code, make_missing  # noqa: E402

PICTURES_PER_IDENTITY = 1024
SOUNDS["camera-aac"] = "-c:a aac -b:a 64k -ac 1 -ar 16000"


@dataclass
class CameraClip(Clip):
    """A clip whose numbers begin at the camera's and stand at the top and at the bottom."""

    width: int = 640
    height: int = 360
    identity: int = 0

    def graph(self):
        quarter = self.height // 4
        noise = f",noise=alls={self.noise}:allf=t" if self.noise else ""
        return (f"[0:v]scale={self.width}:{quarter}:flags=neighbor,format=gray,format=yuv444p,split[top][bottom];"
                f"testsrc2=size={self.width}x{self.height}:rate={self.fps}{noise},format=yuv444p[back];"
                f"[back][top]overlay=format=yuv444[half];[half][bottom]overlay=0:{3 * quarter}:shortest=1:format=yuv444"
                "[out]")

    def pictures(self):
        first = self.identity * PICTURES_PER_IDENTITY
        return b"".join(bar_code(first + number) for number in range(self.frames))


@dataclass
class Camera:
    """One mount of the server."""

    path: str
    clip: CameraClip
    analysis: bool = False  # a metadata track with a document for each picture

    @property
    def identity(self):
        return self.clip.identity


# As cameras code: no picture waits for a later one, and a key picture every second.
LIVE_264 = "-c:v libx264 -preset veryfast -tune zerolatency -crf 28 -g 25 -bf 0 "
LIVE_265 = "-c:v libx265 -preset ultrafast -crf 30 -x265-params log-level=none:keyint=25:bframes=0:pools=none "
WITH_B = "-c:v libx264 -preset veryfast -crf 28 -g 50 -bf 2 "


def all_cameras():
    for channel in range(1, 10):
        yield Camera(f"ch{channel}/0", CameraClip(f"ch{channel}.mkv", "h264", LIVE_264, identity=channel))
    kinds = [
        ("h264", "h264", LIVE_264, {}),
        ("h265", "hevc", LIVE_265, {}),
        # RTP carries no Huffman tables.
        ("mjpeg", "mjpeg", MJPEG + "-huffman default ", {"pixel_format": FULL_420, "frames": 50}),
        ("alaw", "h264", LIVE_264, {"sound": "alaw"}),
        ("mulaw", "h264", LIVE_264, {"sound": "mulaw"}),
        ("aac", "h264", LIVE_264, {"sound": "camera-aac"}),
        ("bframes", "h264", WITH_B, {}),
        ("slow", "h264", "-c:v libx264 -preset veryfast -tune zerolatency -crf 28 -g 2 ", {"fps": "1", "frames": 60}),
        ("hd", "h264", LIVE_264 + "-b:v 3M ", {"width": 1920, "height": 1080, "noise": 4}),
        ("fast", "h264", LIVE_264.replace("-g 25", "-g 50"), {"fps": "50", "frames": 200}),
        ("analysis", "h264", LIVE_264, {}),
    ]
    for identity, (name, codec, options, more) in enumerate(kinds, 10):
        yield Camera(name, CameraClip(f"{name}.mkv", codec, options, identity=identity, **more), name == "analysis")


def analysis_document(number, seconds):
    """What the camera with analysis has found in a picture: a box in its middle half, at one of twenty places."""
    left = -0.9 + number % 20 * 0.09
    moment = datetime.fromtimestamp(seconds, timezone.utc).strftime("%Y-%m-%dT%H:%M:%S.%fZ")
    return (f'<?xml version="1.0" encoding="UTF-8"?><tt:MetadataStream xmlns:tt="http://www.onvif.org/ver10/schema">'
            f'<tt:VideoAnalytics><tt:Frame UtcTime="{moment}"><tt:Object ObjectId="1"><tt:Appearance><tt:Shape>'
            f'<tt:BoundingBox left="{left:.2f}" top="0.4" right="{left + 0.08:.2f}" bottom="-0.4"/><tt:CenterOfGravity '
            f'x="{left + 0.04:.2f}" y="0"/></tt:Shape></tt:Appearance></tt:Object></tt:Frame></tt:VideoAnalytics>'
            "</tt:MetadataStream>").encode()


def make_clips(folder):
    """Makes what is missing; safe when several programs do so at once."""
    folder.mkdir(parents=True, exist_ok=True)
    with open(folder / "lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        _, failures = make_missing(folder, [camera.clip for camera in all_cameras()])
    if failures:
        raise RuntimeError("\n".join(failures))


if __name__ == "__main__":
    make_clips(Path(sys.argv[1]))

#!/usr/bin/python3
"""Makes the test clips into a folder, with manifest.tsv and broken.tsv that describe them.

Each picture carries its number as a bar code over its top quarter, which tests/support/BarCode.h reads: 20 cells of
equal width, white, black, 16 bits (most significant first, white = 1), the parity that makes the number of ones even,
and the opposite of the parity. Below it FFmpeg's moving test picture gives the coders work.

A clip is made anew only when its recipe (the command and the pictures that feed it) has changed.
"""

import hashlib
import json
import os
import random
import struct
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from fractions import Fraction
from pathlib import Path

CELLS = 20
BAR_HIGH, BAR_LOW = 180, 60


def bar_code(number):
    """The 20 cells of a number, one grey byte each."""
    bits = [number >> place & 1 for place in range(15, -1, -1)]
    parity = sum(bits) & 1
    return bytes(255 * bit for bit in [1, 0, *bits, parity, 1 - parity])


def colour_bars(width, height, matrix, full_range):
    """One I420 picture of eight vertical bars.

    From the left: white, yellow, cyan, green, magenta, red, blue, black with 180 for the high components and 60 for
    the low ones. Such colours stay away from both ends, where clipping would hide a wrong matrix or range.
    """
    red_share, blue_share = {"601": (0.299, 0.114), "709": (0.2126, 0.0722)}[matrix]
    luma_scale, chroma_scale, luma_zero = (255, 255, 0) if full_range else (219, 224, 16)
    planes = [b"", b"", b""]
    for bar in range(8):
        red, green, blue = ((BAR_LOW if bar & bit else BAR_HIGH) / 255 for bit in (2, 4, 1))
        luma = red_share * red + (1 - red_share - blue_share) * green + blue_share * blue
        planes[0] += bytes([round(luma_zero + luma_scale * luma)]) * (width // 8)
        for plane, difference, share in ((1, blue - luma, blue_share), (2, red - luma, red_share)):
            planes[plane] += bytes([round(128 + chroma_scale * difference / (2 - 2 * share))]) * (width // 16)
    return planes[0] * height + planes[1] * (height // 2) + planes[2] * (height // 2)


def with_display_matrix(mp4, degrees, width, height):
    """The MP4 file with another matrix in its first track's header: turned clockwise, back at the origin."""
    a, b, x, y = {90: (0, 1, height, 0), 180: (-1, 0, width, height), 270: (0, -1, 0, width)}[degrees]
    matrix = struct.pack(">9i", a << 16, b << 16, 0, -b << 16, a << 16, 0, x << 16, y << 16, 1 << 30)
    place = mp4.index(b"tkhd") + 44  # past version, times, number, length, layer, group and volume
    return mp4[:place] + matrix + mp4[place + len(matrix):]


@dataclass
class Clip:
    """One file: what it is, for the manifest, and how it is made."""

    file: str
    codec: str
    options: str  # ffmpeg's, for the pictures and the container
    sound: str = ""
    sound_source: str = ""  # FFmpeg's, instead of the sine
    frames: int = 100  # 0: no pictures
    fps: str = "25"
    width: int = 320  # as displayed
    height: int = 240
    pixel_format: str = "yuv420p"
    composed: tuple = ()  # size in which the pictures are composed, where filters or pixel aspect make another of it
    filters: str = ""
    bars: tuple = ()  # matrix, full range: colour bars instead of the numbered pictures
    flat: bool = False  # nothing but grey
    noise: int = 0
    rotation: int = 0  # clockwise, by the file's display matrix
    traits: str = ""
    notes: str = ""

    @property
    def size(self):
        return self.composed or (self.width, self.height)

    def command(self, target):
        width, height = self.size
        command = ["ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-y"]
        if self.flat:
            command += ["-f", "lavfi", "-i", f"color=gray:size={width}x{height}:rate={self.fps}"]
        elif self.bars:
            command += ["-f", "rawvideo", "-pixel_format", "yuv420p", "-video_size", f"{width}x{height}",
                        "-framerate", self.fps, "-i", "pipe:0"]
        elif self.frames:
            command += ["-f", "rawvideo", "-pixel_format", "gray", "-video_size", f"{CELLS}x1",
                        "-framerate", self.fps, "-i", "pipe:0"]
        if self.sound:
            seconds = self.frames / Fraction(self.fps) if self.frames else 3
            source = self.sound_source or "sine=frequency=440:sample_rate=48000"
            command += ["-f", "lavfi", "-i", f"{source}:duration={float(seconds)}"]
        if self.flat:
            command += ["-map", "0:v", "-frames:v", str(self.frames), "-pix_fmt", self.pixel_format]
        elif self.bars:
            command += ["-map", "0:v"]
        elif self.frames:
            command += ["-filter_complex", self.graph(), "-map", "[out]", "-pix_fmt", self.pixel_format]
        if self.sound:
            command += ["-map", "1:a" if self.frames else "0:a", *SOUNDS[self.sound].split()]
        # One thread a clip: the result is always the same, and the cores have other clips.
        command += ["-threads", "1", "-map_metadata", "-1", *self.options.split()]
        return command + [str(target)]

    def graph(self):
        width, height = self.size
        band = max(1, height // 4)
        graph = f"[0:v]scale={width}:{band}:flags=neighbor,format=gray,format=yuv444p[code];"
        if height == 1:
            graph += "[code]null"
        else:
            noise = f",noise=alls={self.noise}:allf=t" if self.noise else ""
            graph += (f"testsrc2=size={width}x{height}:rate={self.fps}{noise},format=yuv444p[back];"
                      "[back][code]overlay=shortest=1:format=yuv444")
        return graph + (f",{self.filters}" if self.filters else "") + "[out]"

    def pictures(self):
        if self.flat:
            return b""
        if self.bars:
            return colour_bars(*self.size, *self.bars) * self.frames
        return b"".join(bar_code(number) for number in range(self.frames))

    def recipe(self):
        pictures = hashlib.sha256(self.pictures()).hexdigest()
        return hashlib.sha256(json.dumps([self.command("TARGET"), pictures, self.rotation]).encode()).hexdigest()

    def make(self, target):
        partial = target.with_name("partial-" + target.name)
        result = subprocess.run(self.command(partial), input=self.pictures(), stderr=subprocess.PIPE, check=False)
        if result.returncode:
            partial.unlink(missing_ok=True)
            raise RuntimeError(f"{self.file}: {result.stderr.decode(errors='replace').strip()}")
        if self.rotation:
            partial.write_bytes(with_display_matrix(partial.read_bytes(), self.rotation, *self.size))
        os.replace(partial, target)

    def manifest_row(self):
        traits = self.traits or ("bars" if self.bars else "barcode" if self.frames else "")
        container = Path(self.file).suffix[1:]
        return [self.file, container, self.codec or "-", str(self.width), str(self.height), str(self.frames),
                self.fps, self.sound or "-", self.pixel_format if self.codec else "-", traits or "-",
                self.notes or "-"]


SOUNDS = {
    "aac": "-c:a aac -b:a 64k -ac 2",
    "mp2": "-c:a mp2 -b:a 96k -ac 2",
    "mp3": "-c:a libmp3lame -b:a 64k -ac 2",
    "opus": "-c:a libopus -b:a 32k -ac 1",
    "vorbis": "-c:a libvorbis -ac 2",
    "alaw": "-c:a pcm_alaw -ar 8000 -ac 1",
    "mulaw": "-c:a pcm_mulaw -ar 8000 -ac 1",
    "pcm": "-c:a pcm_s16le -ar 16000 -ac 1",
    "pcm-short": "-c:a pcm_s16le -ar 16000 -ac 1 -af aresample=16000,asetnsamples=n=320",
    "pcm-be": "-c:a pcm_s16be -ar 16000 -ac 1",
    "g722": "-c:a g722 -ar 16000 -ac 1",
    "g726": "-c:a g726 -ar 8000 -ac 1 -b:a 32k",
}

X264 = "-c:v libx264 -preset veryfast -crf 26 "
H264 = X264 + "-g 25 -bf 2 "
X265 = "-c:v libx265 -preset ultrafast -crf 28 -x265-params log-level=none:pools=none:scenecut=0:"
H265 = "-c:v libx265 -preset ultrafast -crf 28 -x265-params log-level=none:keyint=25:bframes=2:pools=none "
AV1 = "-c:v libsvtav1 -preset 10 -crf 40 -g 25 -svtav1-params lp=1 "
VP8 = "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 400k -g 25 -auto-alt-ref 1 -lag-in-frames 8 "
VP9 = "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -crf 36 -b:v 0 -g 25 "
MPEG1 = "-c:v mpeg1video -q:v 5 -g 12 -bf 2 "
MPEG2 = "-c:v mpeg2video -q:v 5 -g 12 -bf 2 "
MPEG4 = "-c:v mpeg4 -q:v 5 -g 25 -bf 2 "
MSMPEG4V2 = "-c:v msmpeg4v2 -q:v 5 -g 25 "
MSMPEG4V3 = "-c:v msmpeg4 -q:v 5 -g 25 "
MJPEG = "-c:v mjpeg -q:v 4 "
FASTSTART = "-movflags +faststart "
FULL_420 = "yuvj420p"


def ordinary_clips():
    """Every container with the codecs that it takes."""
    yield Clip("h264.mp4", "h264", H264 + FASTSTART, "aac")
    yield Clip("h265.mp4", "hevc", H265 + "-tag:v hvc1 " + FASTSTART, "aac")
    yield Clip("av1.mp4", "av1", AV1 + FASTSTART, "opus")
    yield Clip("vp9.mp4", "vp9", VP9 + FASTSTART, "opus")
    yield Clip("mpeg2.mp4", "mpeg2video", MPEG2 + FASTSTART, "mp2")
    yield Clip("mpeg4.mp4", "mpeg4", MPEG4 + FASTSTART, "mp3")
    yield Clip("h264.mov", "h264", H264, "pcm-be")
    yield Clip("mpeg4.mov", "mpeg4", MPEG4, "mulaw")
    yield Clip("mjpeg.mov", "mjpeg", MJPEG, "alaw", pixel_format=FULL_420)
    yield Clip("h264-alaw.mkv", "h264", H264, "alaw")
    yield Clip("h264-g726.mkv", "h264", H264, "g726")
    yield Clip("h265-mulaw.mkv", "hevc", H265, "mulaw")
    yield Clip("av1.mkv", "av1", AV1, "opus")
    yield Clip("vp8.mkv", "vp8", VP8, "vorbis")
    yield Clip("vp9.mkv", "vp9", VP9, "opus")
    yield Clip("mpeg1.mkv", "mpeg1video", MPEG1, "mp2")
    yield Clip("mpeg2.mkv", "mpeg2video", MPEG2, "pcm")
    yield Clip("mpeg4.mkv", "mpeg4", MPEG4, "mp3")
    yield Clip("msmpeg4v2.mkv", "msmpeg4v2", MSMPEG4V2, "mp3")
    yield Clip("msmpeg4v3.mkv", "msmpeg4v3", MSMPEG4V3, "aac")
    yield Clip("mjpeg-g722.mkv", "mjpeg", MJPEG, "g722", pixel_format=FULL_420)
    yield Clip("vp8.webm", "vp8", VP8, "opus")
    yield Clip("vp9.webm", "vp9", VP9, "opus")
    yield Clip("av1.webm", "av1", AV1, "opus")
    yield Clip("h264.avi", "h264", X264 + "-g 25 -bf 0 ", "mp3")
    yield Clip("mpeg1.avi", "mpeg1video", "-c:v mpeg1video -q:v 5 -g 12 -bf 0 ", "mp2")
    yield Clip("mpeg4.avi", "mpeg4", "-c:v mpeg4 -q:v 5 -g 25 -bf 0 -vtag XVID ", "mp3")
    yield Clip("msmpeg4v2.avi", "msmpeg4v2", MSMPEG4V2, "pcm")
    yield Clip("msmpeg4v3.avi", "msmpeg4v3", MSMPEG4V3, "mp3")
    yield Clip("mjpeg.avi", "mjpeg", MJPEG, "g726", pixel_format=FULL_420)
    yield Clip("h264.ts", "h264", H264 + "-f mpegts ", "aac")
    yield Clip("h265.ts", "hevc", H265 + "-f mpegts ", "mp2")
    yield Clip("mpeg2.ts", "mpeg2video", MPEG2 + "-f mpegts ", "mp2")
    yield Clip("mpeg4.ts", "mpeg4", MPEG4 + "-f mpegts ", "mp3")
    yield Clip("mpeg1.mpg", "mpeg1video", MPEG1 + "-muxrate 4000000 -f mpeg ", "mp2")
    yield Clip("mpeg2.mpg", "mpeg2video", MPEG2 + "-f vob ", "mp2")
    yield Clip("h264.mpg", "h264", H264 + "-f vob ", "mp2")
    yield Clip("h264.flv", "h264", H264, "aac")
    yield Clip("h264-alaw.flv", "h264", H264, "alaw")
    yield Clip("h264-mulaw.flv", "h264", H264, "mulaw")
    yield Clip("raw.h264", "h264", H264)
    yield Clip("raw.h265", "hevc", H265 + "-f hevc ")


def container_clips():
    """What a container can do besides: order of its parts, times, rates."""
    yield Clip("moov-at-end.mp4", "h264", H264, "aac", notes="index after the data")
    yield Clip("fragmented.mp4", "h264", H264 + "-movflags +frag_keyframe+empty_moov+default_base_moof ", "aac",
               notes="no length in its head")
    yield Clip("live.mkv", "h264", H264 + "-f matroska -live 1 ", "aac", notes="no length, no cues")
    yield Clip("open-gop.mkv", "h264", X264 + "-g 25 -bf 3 -x264-params open-gop=1:b-pyramid=normal ",
               notes="pictures before a key picture need the group before it")
    yield Clip("intra-refresh.mkv", "h264", X264 + "-bf 0 -x264-params intra-refresh=1:keyint=25 ",
               notes="one key picture, then a wave that renews a picture every 25")
    # 24 is a multiple of four, so that three pictures of which others are made last lie before each key picture.
    for file, options in (("h265-open-gop.mkv", ""), ("h265-open-gop.ts", "-f mpegts ")):
        yield Clip(file, "hevc", X265 + "open-gop=1:keyint=24:min-keyint=24:bframes=3:b-pyramid=1 " + options,
                   notes="clean random access (CRA) every 24, with skipped leading pictures (RASL)")
    # x265 lets what is old leak over the wave's edge by filters, motion and prediction, if it may.
    yield Clip("h265-intra-refresh.mkv", "hevc", X265 + "intra-refresh=1:keyint=25:min-keyint=25:bframes=0:ref=1:"
               "no-deblock=1:no-sao=1:no-weightp=1:no-temporal-mvp=1:constrained-intra=1:subme=0:me=0:merange=4 ",
               notes="one key picture, then a wave every 25 that renews a picture within 9; nothing tells of it")
    yield Clip("h265-intra.mkv", "hevc", X265 + "keyint=1000:min-keyint=1000:bframes=0 "
               "-force_key_frames expr:gte(n,n_forced*25) -forced-idr 0 ",
               notes="one key picture, then a picture of nothing but itself every 25")
    yield Clip("one-gop.mp4", "h264", X264 + "-g 1000 -bf 2 " + FASTSTART, frames=300, notes="a single key picture")
    yield Clip("long.mp4", "h264", X264 + "-g 50 -bf 2 " + FASTSTART, "aac", frames=3000, width=160, height=120)
    yield Clip("ntsc.mp4", "h264", H264 + FASTSTART, fps="30000/1001", frames=90)
    yield Clip("slow.mkv", "h264", X264 + "-g 5 -bf 0 ", fps="1", frames=6, notes="one picture a second")
    yield Clip("fast.mkv", "h264", X264 + "-g 60 -bf 2 ", fps="120", frames=240)
    yield Clip("variable-rate.mkv", "h264", H264 + "-fps_mode passthrough -enc_time_base 1:1000 ", frames=60,
               filters="settb=1/1000,setpts=40*N+80*floor(N/5)", traits="barcode,variable-rate",
               notes="picture n at 40 n + 80 floor(n / 5) ms")
    yield Clip("start-5s.mkv", "h264", H264 + "-output_ts_offset 5 ", "aac", traits="barcode,late-start",
               notes="first picture at 5 s")
    yield Clip("start-1h.ts", "h264", H264 + "-output_ts_offset 3600 -f mpegts ", "aac", traits="barcode,late-start",
               notes="first picture past one hour")
    for file, options in (("recorded.mp4", FASTSTART), ("recorded.mkv", "")):
        yield Clip(file, "h264", H264 + options + "-metadata creation_time=2024-02-29T23:59:58.500000Z ",
                   traits="barcode,recording-time", notes="recorded at 2024-02-29T23:59:58 UTC"
                   + (".500" if file.endswith("mkv") else ""))
    # A white flash and a click of 20 ms at each full second, on black and over a quiet hum.
    yield Clip("flash-click.mkv", "h264", X264 + "-g 25 -bf 0 ", "pcm-short", frames=500, width=160, height=120,
               filters="drawbox=y=ih/2:h=ih/2:color=black:t=fill,"
                       "drawbox=y=ih/2:h=ih/2:color=white:t=fill:enable='lt(mod(n,25),1)'",
               sound_source="aevalsrc=exprs='0.05*sin(2*PI*440*t)+0.7*lt(mod(t,1),0.02)*sin(2*PI*1000*t)'"
                            ":sample_rate=48000",
               notes="flash and click at each full second, sound in packets of 20 ms")
    yield Clip("sound-only.mp4", "", "", "aac", frames=0, notes="no pictures, 3 s")
    yield Clip("sound-only.ts", "", "-f mpegts ", "mp2", frames=0, notes="no pictures, 3 s")


def picture_clips():
    """Forms of pictures: colours, sizes, turns, depths."""
    for matrix, name in (("601", "smpte170m"), ("709", "bt709")):
        for full_range in (False, True):
            range_name = "full" if full_range else "limited"
            tags = f"-colorspace {name} -color_range {'pc' if full_range else 'tv'} "
            yield Clip(f"bars-{matrix}-{range_name}.mp4", "h264", X264 + "-qp 4 -g 10 " + tags, frames=25,
                       bars=(matrix, full_range), notes="eight bars, 180 and 60")
    yield Clip("bars-untold-small.mkv", "h264", X264 + "-qp 4 -g 10 ", frames=25, bars=("601", False),
               notes="matrix and range not told: BT.601 limited")
    yield Clip("bars-untold-large.mkv", "h264", X264 + "-qp 4 -g 10 ", frames=10, width=1280, height=720,
               bars=("709", False), notes="matrix and range not told: BT.709 limited")
    # The coded pictures lie on their side or their head; the file's matrix turns them upright.
    for degrees, turn in ((90, "transpose=cclock"), (180, "hflip,vflip"), (270, "transpose=clock")):
        width, height = (320, 240) if degrees == 180 else (240, 320)
        yield Clip(f"rotated-{degrees}.mp4", "h264", H264 + FASTSTART, "aac", frames=50, width=width, height=height,
                   filters=turn, rotation=degrees, traits=f"barcode,rotation-{degrees}",
                   notes=f"coded pictures are to be turned clockwise by {degrees} degrees")
    yield Clip("anamorphic.mp4", "h264", H264 + FASTSTART, frames=50, width=512, height=288, composed=(352, 288),
               filters="setsar=16/11", notes="coded 352 x 288, pixel aspect 16 : 11")
    yield Clip("narrow-pixels.mkv", "mpeg2video", MPEG2, frames=50, width=352, height=315, composed=(352, 288),
               filters="setsar=128/140", notes="coded 352 x 288, pixel aspect 32 : 35")
    yield Clip("odd-321x243.mp4", "mpeg4", MPEG4 + FASTSTART, frames=50, width=321, height=243)
    yield Clip("odd-321x243.webm", "vp9", VP9, frames=50, width=321, height=243)
    yield Clip("odd-321x243.avi", "mjpeg", MJPEG, frames=25, width=321, height=243, pixel_format=FULL_420)
    yield Clip("h265-10bit.mp4", "hevc", H265 + "-tag:v hvc1 ", frames=50, pixel_format="yuv420p10le")
    yield Clip("h264-10bit.mp4", "h264", H264, frames=50, pixel_format="yuv420p10le")
    yield Clip("vp9-10bit.webm", "vp9", VP9 + "-profile:v 2 ", frames=50, pixel_format="yuv420p10le")
    yield Clip("h264-422.mkv", "h264", H264, frames=50, pixel_format="yuv422p")
    yield Clip("h264-444.mkv", "h264", H264, frames=50, pixel_format="yuv444p")
    yield Clip("h264-422-10bit.mkv", "h264", H264, frames=50, pixel_format="yuv422p10le")
    yield Clip("h264-gray.mkv", "h264", H264, frames=50, pixel_format="gray")
    yield Clip("h264-rgb.mkv", "h264", "-c:v libx264rgb -preset veryfast -crf 26 -g 25 ", frames=50,
               pixel_format="gbrp")
    yield Clip("mjpeg-444.avi", "mjpeg", MJPEG, frames=25, pixel_format="yuvj444p")
    yield Clip("pixel-1x1.avi", "mjpeg", MJPEG, frames=10, width=1, height=1, pixel_format=FULL_420, traits="tiny")
    yield Clip("wide-16384x16.avi", "mjpeg", MJPEG, frames=5, width=16384, height=16, pixel_format=FULL_420)
    yield Clip("tall-16x16384.avi", "mjpeg", MJPEG, frames=5, width=16, height=16384, pixel_format=FULL_420,
               traits="tiny", notes="too narrow for the bar code")
    # Each picture is a key picture, and flat, so that it is small and quickly made.
    for file, options in (("too-large.mp4", FASTSTART), ("too-large.ts", "-f mpegts ")):
        yield Clip(file, "h264", "-c:v libx264 -preset ultrafast -g 1 " + options, frames=6, width=8400, height=8400,
                   flat=True, traits="too-large", notes="more than 64 megapixels")
    yield Clip("too-wide.avi", "mjpeg", MJPEG, frames=6, width=16400, height=16, pixel_format=FULL_420, flat=True,
               traits="too-large", notes="wider than 16,384 pixels")
    full = dict(frames=250, width=1920, height=1080, noise=4)
    rate = "-b:v 4M -maxrate 5M -bufsize 8M "
    yield Clip("bench-1080p.mp4", "h264", "-c:v libx264 -preset veryfast -g 50 -bf 2 " + rate + FASTSTART, **full,
               notes="benchmark: 10 s of 4 Mb/s")
    yield Clip("bench-1080p-one-group.mp4", "h264", "-c:v libx264 -preset veryfast -g 250 -bf 2 " + rate + FASTSTART,
               **full, traits="benchmark", notes="a single key picture")
    yield Clip("bench-1080p-h265.mp4", "hevc", "-c:v libx265 -preset ultrafast " + rate + "-tag:v hvc1 "
               "-x265-params log-level=none:keyint=50:bframes=2:open-gop=0 " + FASTSTART, **full,
               traits="benchmark", notes="10 s of 4 Mb/s")


def small_clips():
    """A few kilobytes of each container, for damage at one place after the other."""
    h264 = "-c:v libx264 -preset veryfast -crf 40 -g 4 -bf 1 "
    h265 = "-c:v libx265 -preset ultrafast -crf 40 -x265-params log-level=none:keyint=4:bframes=1:pools=none:info=0 "
    for file, codec, options, sound in (
            ("small.mp4", "h264", h264, "aac"), ("small.mov", "mjpeg", MJPEG, "alaw"),
            ("small-fragmented.mp4", "h264", h264 + "-movflags +frag_keyframe+empty_moov+default_base_moof ", "aac"),
            ("small.mkv", "h264", h264, "alaw"), ("small.webm", "vp8", VP8, "opus"),
            ("small.avi", "mpeg4", "-c:v mpeg4 -q:v 12 -g 4 -bf 0 -vtag XVID ", "pcm"),
            ("small.ts", "h264", h264 + "-f mpegts ", "mp2"), ("small.mpg", "mpeg2video", MPEG2 + "-f vob ", "mp2"),
            ("small.flv", "h264", h264, "mulaw"), ("small.h264", "h264", h264, ""),
            ("small.h265", "hevc", h265 + "-f hevc ", "")):
        yield Clip(file, codec, options, sound, frames=8, width=64, height=48,
                   pixel_format=FULL_420 if codec == "mjpeg" else "yuv420p", traits="small")


def all_clips():
    return [*picture_clips(), *ordinary_clips(), *container_clips(), *small_clips()]


MANIFEST_HEAD = ["file", "container", "codec", "width", "height", "frames", "fps", "sound", "pixel_format", "traits",
                 "notes"]


def write_if_changed(path, content):
    if not path.exists() or path.read_bytes() != content:
        path.write_bytes(content)


def write_table(path, rows):
    write_if_changed(path, "".join("\t".join(row) + "\n" for row in rows).encode())


def write_broken(folder):
    """Files that no player can play whole, under broken/, each with what is wrong with it."""
    broken = folder / "broken"
    broken.mkdir(exist_ok=True)
    rows = [["file", "notes"]]

    def add(name, content, notes):
        write_if_changed(broken / name, content)
        rows.append([f"broken/{name}", notes])

    add("empty.mp4", b"", "no bytes")
    garbage = random.Random(1).randbytes(100_000)
    for extension in ("bin", "mp4", "mkv", "ts", "h264"):
        add(f"garbage.{extension}", garbage, "garbage")
    whole = (folder / "moov-at-end.mp4").read_bytes()
    add("no-index.mp4", whole[:whole.rindex(b"moov") - 4], "its index is missing")
    for source in ("h264.mp4", "h264.mov", "h264-alaw.mkv", "vp9.webm", "h264.avi", "h264.ts", "mpeg2.mpg", "h264.flv",
                   "raw.h264", "raw.h265", "fragmented.mp4"):
        whole = (folder / source).read_bytes()
        add(f"cut-{source}", whole[:len(whole) * 6 // 10], f"the first 60 % of {source}")
    for source in ("h264-alaw.mkv", "h264.ts", "h264.avi", "raw.h264"):
        damaged = bytearray((folder / source).read_bytes())
        places = random.Random(2)
        for _ in range(40):
            damaged[places.randrange(len(damaged) // 10, len(damaged))] ^= 0x5A
        add(f"damaged-{source}", bytes(damaged), f"40 wrong bytes in {source}")
    write_table(folder / "broken.tsv", rows)


def make_missing(folder, clips):
    """Makes the clips whose recipe is not the one that the folder remembers, two at a time."""
    recipes_file = folder / "recipes.json"
    known = json.loads(recipes_file.read_text()) if recipes_file.exists() else {}
    wanted = {clip.file: clip.recipe() for clip in clips}
    due = [clip for clip in clips
           if known.get(clip.file) != wanted[clip.file] or not (folder / clip.file).exists()]
    failures = []

    def make(clip):
        try:
            clip.make(folder / clip.file)
            known[clip.file] = wanted[clip.file]
        except RuntimeError as error:
            failures.append(str(error))

    with ThreadPoolExecutor(os.cpu_count() or 1) as pool:
        list(pool.map(make, due))
    recipes_file.write_text(json.dumps({name: known[name] for name in sorted(known)}, indent=1))
    return len(due), failures


def main():
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    clips = all_clips()
    made, failures = make_missing(folder, clips)
    for failure in failures:
        print(failure, file=sys.stderr)
    if failures:
        return 1
    write_broken(folder)
    write_table(folder / "manifest.tsv", [MANIFEST_HEAD, *(clip.manifest_row() for clip in clips)])
    print(f"{len(clips)} clips in {folder.resolve()}, {made} made anew")
    return 0


if __name__ == "__main__":
    sys.exit(main())

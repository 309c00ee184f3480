#!/usr/bin/python3
"""The cameras themselves: GStreamer's RTSP server on loopback, sending clips round and round at their own pace.

    camera_server.py CLIPS OPEN_PORT DIGEST_PORT BASIC_PORT UDP_PORT

Each camera of camera_clips.py is served at the same path on four ports: to anybody, to "viewer" with digest and with
basic credentials, and by UDP only. A clip starts at the key picture that the wall clock says, as with a camera that
has been on all the time; further viewers of the same camera join in the middle of a group of pictures. When the
process was stopped, the pictures go on where they were, as with a camera that hung.

It is its own process so that it can be killed and frozen. Prints "ready" when it listens.
"""

import ctypes
import signal
import struct
import sys
import threading
import time
from fractions import Fraction
from pathlib import Path

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtsp", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtsp, GstRtspServer  # noqa: E402

sys.dont_write_bytecode = True  # the checkout holds sources only
from camera_clips import all_cameras, analysis_document  # noqa: E402

USER, PASSWORD = "viewer", "s3cret/w@rd"
PAYLOADERS = {
    "video/x-h264": ("h264parse config-interval=-1", "rtph264pay pt=96 config-interval=-1"),
    "video/x-h265": ("h265parse config-interval=-1", "rtph265pay pt=96 config-interval=-1"),
    "image/jpeg": ("jpegparse", "rtpjpegpay pt=26"),
    "audio/x-alaw": ("identity", "rtppcmapay pt=8"),
    "audio/x-mulaw": ("identity", "rtppcmupay pt=0"),
    "audio/mpeg": ("aacparse", "rtpmp4gpay pt=97"),
    # Packets as they are: GStreamer has no payloader of documents.
    "application/x-rtp": ("identity", "identity"),
}
ANALYSIS_TYPE, ANALYSIS_RATE, ANALYSIS_SOURCE = 107, 90000, 0x0A4A1735
# So little that every document takes several packets.
ANALYSIS_PAYLOAD = 200
# How late a track may be before it goes on from where it is instead of catching up.
LATEST = 0.5


class Track:
    """One coded track of a clip in memory: its packets, in the order of decoding, and when each is due."""

    lead = 0  # nanoseconds by which they are sent ahead of that

    def __init__(self, caps, packets, length):
        self.caps = caps
        self.kind = caps.get_structure(0).get_name()
        self.packets = packets  # bytes, time of presentation, whether it is a key picture; nanoseconds
        self.length = length
        # A camera sends its pictures at even distances, whatever the order of presentation.
        self.due = [length * number // len(packets) for number in range(len(packets))]

    def index_at(self, moment):
        """The last packet up to a moment of the round that a decoder can begin with."""
        start = 0
        for index, (_, _, is_key) in enumerate(self.packets):
            if is_key and self.due[index] <= moment:
                start = index
        return start

    def buffers(self, index, begin, _sent):
        """What a packet is as it is pushed, in a round that began at a running time, behind so many buffers."""
        data, pts, is_key = self.packets[index]
        buffer = Gst.Buffer.new_wrapped(data)
        buffer.pts = max(0, begin + pts)
        if not is_key:
            buffer.set_flags(Gst.BufferFlags.DELTA_UNIT)
        return [buffer]


class AnalysisTrack(Track):
    """A document for each picture, at its time, as ONVIF's cameras stream them: whole documents, of
    which each ends with a marker bit, and RTP time stamps that sender reports tie to the time of day. It is sent a
    little ahead of its picture, so that the first look at that already shows it."""

    lead = 15 * Gst.MSECOND

    def __init__(self, pictures):
        caps = Gst.Caps.from_string(f"application/x-rtp, media=application, payload={ANALYSIS_TYPE}, clock-rate="
                                    f"{ANALYSIS_RATE}, encoding-name=VND.ONVIF.METADATA, ssrc=(uint){ANALYSIS_SOURCE}")
        # No picture of this camera waits for a later one, so that the order of sending numbers them. It begins where
        # they begin.
        super().__init__(caps, [(number, pts, is_key) for number, (_, pts, is_key) in enumerate(pictures.packets)],
                         pictures.length)

    def buffers(self, index, begin, sent):
        number, pts, _ = self.packets[index]
        moment = max(0, begin + pts)
        document = analysis_document(number, time.time())
        pieces = [document[at:at + ANALYSIS_PAYLOAD] for at in range(0, len(document), ANALYSIS_PAYLOAD)]
        buffers = []
        for place, piece in enumerate(pieces):
            marker = 0x80 if place == len(pieces) - 1 else 0
            head = struct.pack(">BBHII", 0x80, marker | ANALYSIS_TYPE, (sent + place) % 2**16,
                               moment * ANALYSIS_RATE // Gst.SECOND % 2**32, ANALYSIS_SOURCE)
            buffers.append(Gst.Buffer.new_wrapped(head + piece))
            buffers[-1].pts = moment
        return buffers


def read_tracks(path, frames, rate, analysis):
    """The tracks of a Matroska file, pictures first, and one that tells what is in them where that is wanted."""
    tracks = []
    for pad in ("video_0", "audio_0"):
        pipeline = Gst.parse_launch(f'filesrc location="{path}" ! matroskademux name=demux '
                                    f"demux.{pad} ! queue max-size-bytes=0 max-size-buffers=0 max-size-time=0 "
                                    "! appsink name=sink sync=false")
        sink = pipeline.get_by_name("sink")
        pipeline.set_state(Gst.State.PLAYING)
        bus = pipeline.get_bus()
        caps, packets = None, []
        while True:
            sample = sink.emit("try-pull-sample", 100 * Gst.MSECOND)
            if sample is None:
                # A missing track is an error on the bus.
                if sink.get_property("eos") or bus.pop_filtered(Gst.MessageType.ERROR):
                    break
                continue
            caps = sample.get_caps()
            buffer = sample.get_buffer()
            is_key = not buffer.has_flags(Gst.BufferFlags.DELTA_UNIT)
            packets.append((buffer.extract_dup(0, buffer.get_size()), buffer.pts, is_key))
        pipeline.set_state(Gst.State.NULL)
        if caps is not None:
            if pad == "video_0":
                assert len(packets) == frames, f"{path}: {len(packets)} pictures"
                length = int(frames * Gst.SECOND / Fraction(rate))
            else:
                length = (packets[-1][1] - packets[0][1]) * len(packets) // (len(packets) - 1)
            tracks.append(Track(caps, packets, length))
    if analysis:
        tracks.append(AnalysisTrack(tracks[0]))
    return tracks


class Feeder(threading.Thread):
    """Pushes the tracks of one clip into one running medium, as a camera would: when each picture is there."""

    def __init__(self, tracks, sources, element):
        super().__init__(daemon=True)
        self.tracks = tracks
        self.sources = sources
        self.element = element
        self.sent = [0] * len(tracks)
        self.end = threading.Event()

    def run(self):
        # Before that the running time is counted from anywhere.
        while self.element.get_state(0).state != Gst.State.PLAYING:
            if self.end.wait(0.005):
                return
        now = self.running_time()
        video = self.tracks[0]
        moment = int(time.time() * Gst.SECOND) % video.length
        # Per track: the next packet, and the running time at which the packet 0 of its round was due.
        positions = []
        for track in self.tracks:
            index = track.index_at(moment % track.length)
            positions.append([index, now - track.due[index]])
        while not self.end.is_set():
            which = min(range(len(positions)), key=lambda i: self.due_time(i, positions[i]))
            late = self.running_time() - self.due_time(which, positions[which])
            if late < 0:
                if self.end.wait(-late / Gst.SECOND):
                    return
            elif late > LATEST * Gst.SECOND:
                for position in positions:
                    position[1] += late
            if not self.push(which, positions[which]):
                # The pipeline is being rearranged for another viewer, or is about to end.
                if self.end.wait(0.005):
                    return
            positions[which][0] += 1
            if positions[which][0] == len(self.tracks[which].packets):
                positions[which] = [0, positions[which][1] + self.tracks[which].length]

    def running_time(self):
        return self.element.get_current_running_time()

    def due_time(self, which, position):
        track = self.tracks[which]
        return position[1] + track.due[position[0]] - track.lead

    def push(self, which, position):
        for buffer in self.tracks[which].buffers(position[0], position[1], self.sent[which]):
            if self.sources[which].emit("push-buffer", buffer) != Gst.FlowReturn.OK:
                return False
            self.sent[which] += 1
        return True


class CameraFactory(GstRtspServer.RTSPMediaFactory):
    """Makes the medium of one camera; all viewers of it share one."""

    def __init__(self, tracks):
        super().__init__()
        self.tracks = tracks
        self.set_shared(True)
        chains = []
        for number, track in enumerate(tracks):
            parser, payloader = PAYLOADERS[track.kind]
            chains.append(f"appsrc name=src{number} is-live=true format=time max-bytes=0 ! {parser} "
                          f"! {payloader} name=pay{number}")
        self.set_launch("( " + " ".join(chains) + " )")
        self.connect("media-configure", self.on_configure)

    def on_configure(self, _factory, media):
        element = media.get_element()
        sources = [element.get_by_name(f"src{number}") for number in range(len(self.tracks))]
        for source, track in zip(sources, self.tracks):
            source.set_property("caps", track.caps)
        feeder = Feeder(self.tracks, sources, element)
        media.connect("unprepared", lambda _media: feeder.end.set())
        feeder.start()


def make_server(port, cameras, authentication=None, udp_only=False):
    server = GstRtspServer.RTSPServer()
    server.set_address("127.0.0.1")
    server.set_service(str(port))
    if authentication is not None:
        token = GstRtspServer.RTSPToken()
        token.set_string("media.factory.role", "viewer")
        auth = GstRtspServer.RTSPAuth()
        auth.set_supported_methods(authentication)
        if authentication == GstRtsp.RTSPAuthMethod.DIGEST:
            auth.add_digest(USER, PASSWORD, token)
        else:
            auth.add_basic(GstRtspServer.RTSPAuth.make_basic(USER, PASSWORD), token)
        server.set_auth(auth)
    mounts = server.get_mount_points()
    for camera, tracks in cameras:
        factory = CameraFactory(tracks)
        if udp_only:
            factory.set_protocols(GstRtsp.RTSPLowerTrans.UDP)
        if authentication is not None:
            permissions = GstRtspServer.RTSPPermissions()
            for right in ("media.factory.access", "media.factory.construct"):
                permissions.add_permission_for_role("viewer", right, True)
            factory.set_permissions(permissions)
        mounts.add_factory("/" + camera.path, factory)
    # After a kill the port may be busy for a moment.
    deadline = time.monotonic() + 10
    while server.attach(None) == 0:
        if time.monotonic() > deadline:
            raise RuntimeError(f"port {port} stays busy")
        time.sleep(0.05)
    GLib.timeout_add_seconds(2, lambda: server.get_session_pool().cleanup() >= 0)
    return server


def main():
    clips, *ports = sys.argv[1:]
    # Ends with the test bed, however that ends.
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)
    Gst.init(None)
    cameras = [(camera, read_tracks(Path(clips) / camera.clip.file, camera.clip.frames, camera.clip.fps, camera.analysis))
               for camera in all_cameras()]
    anybody, digest, basic, udp = (int(port) for port in ports)
    servers = [make_server(anybody, cameras), make_server(digest, cameras, GstRtsp.RTSPAuthMethod.DIGEST),
               make_server(basic, cameras, GstRtsp.RTSPAuthMethod.BASIC), make_server(udp, cameras, udp_only=True)]
    print("ready", flush=True)
    GLib.MainLoop().run()
    return len(servers)


if __name__ == "__main__":
    main()

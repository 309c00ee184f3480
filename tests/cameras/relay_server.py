#!/usr/bin/python3
"""A relay: fetches each camera once, however many viewers it has, and sends it on under the same path.

    relay_server.py CAMERAS_PORT OWN_PORT

A camera is asked for when its first viewer comes, and let go after the last one. Pictures are sent on as they were coded.
Prints "ready" when it listens.
"""

import ctypes
import signal
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer  # noqa: E402

sys.dont_write_bytecode = True  # the checkout holds sources only
from camera_clips import all_cameras  # noqa: E402

HOST = "127.0.0.1"


def relayed(cameras_port, path):
    """One camera of the wall, all of which send H.264; its viewers share it."""
    factory = GstRtspServer.RTSPMediaFactory()
    factory.set_shared(True)
    factory.set_launch(f"( rtspsrc location=rtsp://{HOST}:{cameras_port}/{path} protocols=tcp latency=0 "
                       "! rtph264depay ! h264parse config-interval=-1 ! rtph264pay name=pay0 pt=96 config-interval=-1 )")
    return factory


def main():
    cameras_port, own_port = sys.argv[1:]
    # Ends with the test bed, however that ends.
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)
    Gst.init(None)
    server = GstRtspServer.RTSPServer()
    server.set_address(HOST)
    server.set_service(own_port)
    mounts = server.get_mount_points()
    for camera in all_cameras():
        if "/" in camera.path:
            mounts.add_factory("/" + camera.path, relayed(cameras_port, camera.path))
    if server.attach(None) == 0:
        sys.exit(f"port {own_port} is busy")
    GLib.timeout_add_seconds(2, lambda: server.get_session_pool().cleanup() >= 0)
    print("ready", flush=True)
    GLib.MainLoop().run()


if __name__ == "__main__":
    main()

#!/usr/bin/python3
"""The test bed of cameras: runs their server on loopback, puts proxies in front of it, and makes trouble when told.

    camera_bed.py CLIPS           prints its control port; ends when the first control connection is closed
    camera_bed.py --stay CLIPS    prints the cameras' addresses and serves them until it is interrupted

Commands on the control connection are lines; each is answered by one line, "ok VALUE…" or "error REASON":

    ports                  open, digest, basic and UDP-only port of the server, and that of the ONVIF device over it
    kill | start           the server dies at once; it is back, on the same ports, when "start" is answered
    freeze | thaw          the server's process is stopped and goes on
    connections PORT       clients' ends of TCP connections to the port that are open or being opened
    proxy PORT             a new proxy before the server's port; answers its own port
    accepted PROXY         connections that it has had so far
    pass PROXY             the proxy forwards, also for new connections (as at first)
    delay PROXY MS JITTER  everything arrives that late, packets of UDP out of order
    loss PROXY PERCENT     so many packets of UDP are lost, from a fixed seed
    lost PROXY             how many of them were
    mute PROXY             new connections are accepted and hear nothing; the others go on
    cut PROXY BYTES        each new connection hears so many bytes and then nothing more
    stall PROXY            nothing is forwarded any more, on no connection
    refuse PROXY           the port refuses; connections are reset
    reset PROXY            each connection is reset in the middle of what the camera sends next
    relay PORT             a new relay (relay_server.py) that fetches the wall's cameras from the port; its own port
    clean                  the server runs, and no proxy and no relay is left

A proxy rewrites the ports that RTSP agrees on for UDP, so that media and reports go through it too.
"""

import asyncio
import ctypes
import fcntl
import random
import re
import signal
import socket
import struct
import subprocess
import sys
import termios
from pathlib import Path

sys.dont_write_bytecode = True  # the checkout holds sources only
import onvif_device  # noqa: E402
from camera_clips import all_cameras, make_clips  # noqa: E402

HOST = "127.0.0.1"
LINGER_NOT = struct.pack("ii", 1, 0)
ESTABLISHED, SYN_SENT = "01", "02"


def free_ports(count):
    sockets = [socket.create_server((HOST, 0)) for _ in range(count)]
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def open_connections(port):
    """Counted at the clients' ends, which are gone when the client has closed, whatever the server does."""
    count = 0
    for line in Path("/proc/net/tcp").read_text(encoding="ascii").splitlines()[1:]:
        _, _, remote, state = line.split()[:4]
        count += int(remote.split(":")[1], 16) == port and state in (ESTABLISHED, SYN_SENT)
    return count


async def arrival(writer):
    """Waits until the other side's system has everything that was written; it may not have been read there."""
    await writer.drain()
    one = writer.get_extra_info("socket")
    while struct.unpack("i", fcntl.ioctl(one, termios.TIOCOUTQ, b"\0" * 4))[0] > 0:
        await asyncio.sleep(0.001)


async def start_program(name, *arguments):
    """A program beside this one, which says that it is ready."""
    process = await asyncio.create_subprocess_exec(
        "/usr/bin/python3", str(Path(__file__).resolve().parent / name), *(str(one) for one in arguments),
        stdout=subprocess.PIPE)
    if await asyncio.wait_for(process.stdout.readline(), 60) != b"ready\n":
        raise RuntimeError(f"{name} ended")
    return process


async def kill_program(process):
    process.kill()
    await process.wait()


class Server:
    """The process of the cameras."""

    def __init__(self, clips):
        self.clips = clips
        self.ports = free_ports(4)
        self.process = None

    async def start(self):
        if self.process is None:
            self.process = await start_program("camera_server.py", self.clips, *self.ports)

    async def kill(self):
        if self.process is not None:
            await kill_program(self.process)
            self.process = None

    def send_signal(self, number):
        if self.process is not None:
            self.process.send_signal(number)


class Relay(asyncio.DatagramProtocol):
    """One UDP port of a proxy: what the camera sends goes to the viewer and the other way round."""

    def __init__(self, proxy, viewer_port):
        self.proxy = proxy
        self.viewer_port = viewer_port
        self.camera_port = None
        self.transport = None

    def connection_made(self, transport):
        self.transport = transport

    def datagram_received(self, data, addr):
        target = self.camera_port if addr[1] == self.viewer_port else self.viewer_port
        if target is None or self.proxy.stalled:
            return
        if addr[1] != self.viewer_port and self.proxy.chance.random() * 100 < self.proxy.loss:
            self.proxy.lost += 1
            return
        asyncio.get_running_loop().call_later(self.proxy.some_delay(), self.send, data, target)

    def send(self, data, port):
        if not self.transport.is_closing():
            self.transport.sendto(data, (HOST, port))


class Link:
    """One viewer's connection through a proxy."""

    def __init__(self, proxy, reader, writer):
        self.proxy = proxy
        self.viewer = reader, writer
        self.camera = None
        self.left = proxy.cut
        self.relays = []
        self.reset_asked = False

    async def run(self):
        try:
            if self.proxy.muted:
                await self.viewer[0].read()
                return
            self.camera = await asyncio.open_connection(HOST, self.proxy.target)
            done = {asyncio.create_task(self.forward(self.viewer[0], self.camera[1], self.to_camera)),
                    asyncio.create_task(self.forward(self.camera[0], self.viewer[1], self.to_viewer))}
            _, pending = await asyncio.wait(done, return_when=asyncio.FIRST_COMPLETED)
            for task in pending:
                task.cancel()
        except OSError:
            pass
        finally:
            self.close()

    async def forward(self, reader, writer, change):
        loop = asyncio.get_running_loop()
        queue = asyncio.Queue()

        async def write():
            while (item := await queue.get()) is not None:
                due, data = item
                await asyncio.sleep(max(0, due - loop.time()))
                while self.proxy.stalled:
                    await asyncio.sleep(0.02)
                writer.write(data)
                await writer.drain()

        task = asyncio.create_task(write())
        try:
            while data := await reader.read(65536):
                data = await change(data)
                if data:
                    queue.put_nowait((loop.time() + self.proxy.delay, data))
            queue.put_nowait(None)
            await task
        except OSError:
            pass
        finally:
            task.cancel()

    async def to_camera(self, data):
        match = re.search(rb"client_port=(\d+)-(\d+)", data)
        if match is None:
            return data
        relays = [await self.make_relay(int(port)) for port in match.groups()]
        ports = b"-".join(str(relay.transport.get_extra_info("sockname")[1]).encode() for relay in relays)
        return data[:match.start()] + b"client_port=" + ports + data[match.end():]

    async def make_relay(self, viewer_port):
        loop = asyncio.get_running_loop()
        _, relay = await loop.create_datagram_endpoint(lambda: Relay(self.proxy, viewer_port), (HOST, 0))
        self.relays.append(relay)
        return relay

    async def to_viewer(self, data):
        match = re.search(rb"client_port=[\d-]+", data)
        pair = self.relays[-2:]
        if match is not None and pair:
            data = (data[:match.start()] + b"client_port=%d-%d" % tuple(relay.viewer_port for relay in pair)
                    + data[match.end():])
            match = re.search(rb"server_port=(\d+)-(\d+)", data)
            for relay, port in zip(pair, match.groups()):
                relay.camera_port = int(port)
            own = tuple(relay.transport.get_extra_info("sockname")[1] for relay in pair)
            data = data[:match.start()] + b"server_port=%d-%d" % own + data[match.end():]
        if self.reset_asked:
            self.viewer[1].write(data[:len(data) // 2])
            await arrival(self.viewer[1])  # a reset drops what has not arrived
            self.reset()
            return b""
        if self.left is not None:
            data = data[:self.left]
            self.left -= len(data)
        return data

    def reset(self):
        one = self.viewer[1].get_extra_info("socket")
        one.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, LINGER_NOT)
        self.viewer[1].transport.abort()

    def close(self):
        for _, writer in filter(None, (self.viewer, self.camera)):
            writer.close()
        for relay in self.relays:
            relay.transport.close()


class Proxy:
    """One port before a camera's, with the troubles that a network can make."""

    def __init__(self, target):
        self.target = target
        self.port = free_ports(1)[0]
        self.listener = None
        self.links = set()
        # The same in every run, whatever port the camera has got; of 3 in 100, no two losses are far apart.
        self.chance = random.Random(3)
        self.loss = 0
        self.lost = 0
        self.accepted = 0
        self.delay = 0
        self.jitter = 0
        self.behave()

    def behave(self, muted=False, cut=None, stalled=False):
        self.muted, self.cut, self.stalled = muted, cut, stalled

    def some_delay(self):
        return self.delay + self.chance.random() * self.jitter

    async def listen(self):
        if self.listener is None:
            self.listener = await asyncio.start_server(self.accept, HOST, self.port, reuse_address=True)

    async def accept(self, reader, writer):
        link = Link(self, reader, writer)
        self.accepted += 1
        self.links.add(link)
        try:
            await link.run()
        finally:
            self.links.discard(link)

    async def refuse(self):
        if self.listener is not None:
            self.listener.close()
            self.listener = None
        for link in list(self.links):
            link.reset()


class Bed:
    """Carries out the commands."""

    def __init__(self, clips):
        self.server = Server(clips)
        self.proxies = {}
        self.relays = []
        # Its streams are those of the digest port; the first channel has a smaller one, too, which is another camera.
        channels = [camera.path for camera in all_cameras() if "/" in camera.path]
        self.onvif = onvif_device.Device(self.server.ports[1], channels, ["fast"])
        self.onvif.start()

    async def command(self, words):
        name, values = words[0], [int(word) for word in words[1:]]
        if name in ("start", "kill"):
            await getattr(self.server, name)()
        elif name == "ports":
            return [*self.server.ports, self.onvif.port]
        elif name == "freeze":
            self.server.send_signal(signal.SIGSTOP)
        elif name == "thaw":
            self.server.send_signal(signal.SIGCONT)
        elif name == "connections":
            return [open_connections(values[0])]
        elif name == "proxy":
            proxy = Proxy(values[0])
            await proxy.listen()
            self.proxies[proxy.port] = proxy
            return [proxy.port]
        elif name == "clean":
            for proxy in self.proxies.values():
                await proxy.refuse()
            self.proxies.clear()
            await self.end_relays()
            self.server.send_signal(signal.SIGCONT)
            await self.server.start()
        elif name == "relay":
            port = free_ports(1)[0]
            self.relays.append(await start_program("relay_server.py", values[0], port))
            return [port]
        else:
            return await self.trouble(name, self.proxies[values[0]], *values[1:])
        return []

    async def end_relays(self):
        for relay in self.relays:
            await kill_program(relay)
        self.relays.clear()

    async def trouble(self, name, proxy, *values):
        if name == "delay":
            proxy.delay, proxy.jitter = (value / 1000 for value in values)
        elif name == "loss":
            (proxy.loss,) = values
        elif name == "lost":
            return [proxy.lost]
        elif name == "accepted":
            return [proxy.accepted]
        elif name == "reset":
            for link in proxy.links:
                link.reset_asked = True
            return [len(proxy.links)]
        elif name == "refuse":
            await proxy.refuse()
        elif name in ("pass", "mute", "cut", "stall"):
            proxy.behave(muted=name == "mute", cut=values[0] if name == "cut" else None, stalled=name == "stall")
            await proxy.listen()
        else:
            raise ValueError("no such command")
        return []

    async def control(self, reader, writer):
        while line := await reader.readline():
            try:
                values = await self.command(line.decode().split())
                answer = " ".join(["ok", *(str(value) for value in values)])
            except Exception as error:  # whatever it is, whoever asked is to know
                answer = f"error {type(error).__name__} {error}"
            writer.write(answer.encode() + b"\n")
            await writer.drain()


async def run(clips, stay):
    bed = Bed(clips)
    await bed.server.start()
    try:
        if stay:
            for name, port in zip(("anybody", "digest", "basic", "UDP only"), bed.server.ports):
                print(f"rtsp://{HOST}:{port}/PATH  {name}")
            print(f"onvif://{HOST}:{bed.onvif.port}  digest; searches are answered at {HOST}:{bed.onvif.search_port}")
            print("PATH:", " ".join(camera.path for camera in all_cameras()), flush=True)
            await bed.server.process.wait()
            return
        over = asyncio.Event()

        async def serve(reader, writer):
            try:
                await bed.control(reader, writer)
            finally:
                over.set()

        control = await asyncio.start_server(serve, HOST, 0)
        print(control.sockets[0].getsockname()[1], flush=True)
        await over.wait()
    finally:
        await bed.end_relays()
        await bed.server.kill()


def main():
    words = sys.argv[1:]
    stay = words[:1] == ["--stay"]
    clips = Path(words[-1])
    # Ends with the program that started it, however that ends.
    ctypes.CDLL(None).prctl(1, signal.SIGTERM)
    make_clips(clips)
    try:
        asyncio.run(run(clips, stay))
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()

#!/usr/bin/python3
"""Runs a Windows program beside a server that speaks TLS on loopback, with a certificate that it has signed itself:

    tls_server.py PROGRAM [ARGUMENT…]

What the server receives it hands on, decrypted, to a port on which the program's own camera listens. The program finds
the two ports in PELLORA_TLS_PORT and PELLORA_TLS_CAMERA. The exit code is the program's.
"""

import contextlib
import os
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def certificate(folder):
    """Certificate and key in one file."""
    path = Path(folder) / "camera.pem"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", path, "-out",
                    f"{path}.crt", "-days", "2", "-subj", "/CN=camera.test"], check=True, capture_output=True)
    with open(path, "a", encoding="ascii") as key:
        key.write(Path(f"{path}.crt").read_text(encoding="ascii"))
    return path


def forward(encrypted, plain):
    """Both ways until one side ends. One thread: a TLS connection is not for two at a time."""
    encrypted.settimeout(0.005)
    plain.settimeout(0.005)
    pairs = [(encrypted, plain), (plain, encrypted)]
    while True:
        for source, target in pairs:
            with contextlib.suppress(TimeoutError, ssl.SSLWantReadError):
                data = source.recv(65536)
                if not data:
                    return
                target.settimeout(None)
                target.sendall(data)
                target.settimeout(0.005)


def serve(listener, context, port):
    def connection(client):
        # What goes wrong on one connection is for the program to notice.
        with contextlib.suppress(OSError), client, context.wrap_socket(client, server_side=True) as encrypted:
            with socket.create_connection(("127.0.0.1", port)) as plain:
                plain.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                forward(encrypted, plain)

    while True:
        client, _ = listener.accept()
        threading.Thread(target=connection, args=(client,), daemon=True).start()


def main():
    camera = free_port()
    with tempfile.TemporaryDirectory() as folder, socket.create_server(("127.0.0.1", 0)) as listener:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate(folder))
        threading.Thread(target=serve, args=(listener, context, camera), daemon=True).start()
        environment = dict(os.environ, PELLORA_TLS_PORT=str(listener.getsockname()[1]), PELLORA_TLS_CAMERA=str(camera))
        return subprocess.run([ROOT / "tools" / "wine-run.sh", *sys.argv[1:]], env=environment, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())

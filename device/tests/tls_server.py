#!/usr/bin/python3
"""Runs a Windows program beside servers that speak TLS on loopback, each with another certificate:

    tls_server.py PROGRAM [ARGUMENT…]

What the servers receive they hand on, decrypted, to a port on which the program's own camera listens. The program runs
twice, the second time in a folder with a Pellora.ini that has certificates checked: the tests of CheckedCamera. It finds in

    PELLORA_TLS_PORTS      the servers, "NAME=PORT …"; see CERTIFICATES
    PELLORA_TLS_CAMERA     the port of its camera
    PELLORA_TLS_AUTHORITY  the certificate (DER) of the authority that it may put into its system's store

The exit code is the program's.
"""

import contextlib
import os
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent

SERVER = "extendedKeyUsage=serverAuth"
LOCALHOST = "subjectAltName=DNS:localhost"
# Name: who signs it, its extensions, for how many days. What is not wrong with one is as with the first.
CERTIFICATES = {
    "good": ("authority", [LOCALHOST, SERVER], 2),
    "self": ("itself", [LOCALHOST, SERVER], 2),
    "number": ("authority", ["subjectAltName=IP:127.0.0.1", SERVER], 2),
    "other-name": ("authority", ["subjectAltName=DNS:camera.test", SERVER], 2),
    "other-number": ("authority", ["subjectAltName=IP:127.0.0.2,DNS:127.0.0.1,DNS:*.0.0.1", SERVER], 2),
    "expired": ("authority", [LOCALHOST, SERVER], -1),
    "stranger": ("stranger", [LOCALHOST, SERVER], 2),
    "client": ("authority", [LOCALHOST, "extendedKeyUsage=clientAuth"], 2),
    "chain": ("between", [LOCALHOST, SERVER], 2),
}


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Certificates:
    """Made anew for each run, so that nobody has the keys of an authority that was trusted once."""

    def __init__(self, folder):
        self._folder = Path(folder)
        self._serial = 0
        self._openssl("req", "-newkey", "rsa:2048", "-nodes", "-keyout", "key", "-out", "request", "-subj", "/CN=camera")
        for name in ("authority", "stranger"):
            self._openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", f"{name}.key", "-out", name,
                          "-days", "2", "-subj", f"/CN=Pellora test {name}",
                          "-addext", "keyUsage=critical,keyCertSign,cRLSign")
        self._openssl("x509", "-in", "authority", "-outform", "DER", "-out", "authority.der")
        self._openssl("req", "-newkey", "rsa:2048", "-nodes", "-keyout", "between.key", "-out", "between.request",
                      "-subj", "/CN=Pellora test between")
        self._sign("between.request", "between", "authority",
                   ["basicConstraints=critical,CA:TRUE", "keyUsage=critical,keyCertSign,cRLSign"], 2)

    def authority(self):
        return self._folder / "authority.der"

    def context(self, name):
        """A server with that certificate."""
        signer, extensions, days = CERTIFICATES[name]
        self._sign("request", name, signer, extensions, days)
        chain = [name] + (["between"] if signer == "between" else [])
        (self._folder / "chain.pem").write_text("".join((self._folder / part).read_text("ascii") for part in chain))
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self._folder / "chain.pem", self._folder / "key")
        return context

    def _sign(self, request, name, signer, extensions, days):
        self._serial += 1
        (self._folder / "extensions").write_text("\n".join(extensions))
        by = ["-signkey", "key"] if signer == "itself" else ["-CA", signer, "-CAkey", f"{signer}.key"]
        self._openssl("x509", "-req", "-in", request, "-out", name, *by, "-days", str(days), "-sha256",
                      "-set_serial", str(self._serial), "-extfile", "extensions")

    def _openssl(self, *arguments):
        subprocess.run(["openssl", *arguments], cwd=self._folder, check=True, capture_output=True)


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


def run(program, arguments, environment):
    command = [ROOT / "tools" / "wine-run.sh", program, *arguments]
    return subprocess.run(command, env=environment, check=False).returncode


def main():
    camera = free_port()
    program = Path(sys.argv[1])
    with tempfile.TemporaryDirectory() as folder, contextlib.ExitStack() as stack:
        certificates = Certificates(folder)
        ports = []
        for name in CERTIFICATES:
            listener = stack.enter_context(socket.create_server(("127.0.0.1", 0)))
            ports.append(f"{name}={listener.getsockname()[1]}")
            threading.Thread(target=serve, args=(listener, certificates.context(name), camera), daemon=True).start()
        environment = dict(os.environ, PELLORA_TLS_PORTS=" ".join(ports), PELLORA_TLS_CAMERA=str(camera),
                           PELLORA_TLS_AUTHORITY=str(certificates.authority()))
        first = run(program, ["--gtest_filter=-CheckedCamera.*", *sys.argv[2:]], environment)
        checked = Path(folder) / "checked"
        checked.mkdir()
        shutil.copy(program, checked)
        (checked / "Pellora.ini").write_text("[device]\nverify_certificates = yes\n")
        second = run(checked / program.name, ["--gtest_filter=CheckedCamera.*", *sys.argv[2:]], environment)
        return first or second


if __name__ == "__main__":
    sys.exit(main())

# SPDX-License-Identifier: MIT
"""The market server in a process of its own, for tests that are scripts."""
import collections
import os
import pathlib
import socket
import subprocess
import tempfile
import time

BIN = pathlib.Path(os.environ.get("KESTRUNE_BIN_DIR", "build/dev/bin")).resolve()
PROGRAM = BIN / "kestrune-replay"

Reply = collections.namedtuple("Reply", "status headers body")


def request(target, more=""):
    return f"GET {target} HTTP/1.1\r\nHost: x\r\n{more}\r\n".encode()


def certificate(folder, name, days):
    """A certificate for 127.0.0.1 that nobody signed, and its key; with 0 days it is out of date at once."""
    file, key = str(folder / f"{name}.pem"), str(folder / f"{name}-key.pem")
    asked = subprocess.run(["openssl", "req", "-new", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                            "-nodes", "-keyout", key, "-subj", "/CN=127.0.0.1"],
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    subprocess.run(["openssl", "x509", "-req", "-signkey", key, "-days", str(days), "-out", file],
                   input=asked.stdout, stderr=subprocess.DEVNULL, check=True)
    return file, key


class ReplayServer:
    """Lives from entering to leaving a `with`, and must end well."""

    def __init__(self, *arguments):
        self.arguments = [str(each) for each in arguments]

    def __enter__(self):
        self.errors = tempfile.TemporaryFile()
        self.process = subprocess.Popen([PROGRAM, *self.arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=self.errors)
        self.address = self.process.stdout.readline().decode().strip()
        if not self.address:
            self.__exit__()
        self.port = int(self.address.rpartition(":")[2])
        return self

    def __exit__(self, *_):
        self.process.terminate()
        status = self.process.wait(20)
        complaints = self.complaints()
        for stream in (self.process.stdin, self.process.stdout, self.errors):
            stream.close()
        if status != 0 or not self.address:  # a sanitizer's findings show here
            raise AssertionError(f"{self.arguments}: {status}: {complaints}")

    def complaints(self):
        self.errors.seek(0)
        return self.errors.read().decode()

    def reply(self, target):
        with Wire(self) as wire:
            wire.ask(target)
            return wire.reply()

    def get(self, target):
        reply = self.reply(target)
        assert reply.status == 200, f"{target}: {reply.status}"
        return reply.body


class Wire:
    """One connection, byte by byte."""

    def __init__(self, server):
        self.socket = socket.create_connection(("127.0.0.1", server.port), 10)
        self.pending = bytearray()
        self.end = "open"  # or "closed", or "reset"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def ask(self, target):
        self.socket.sendall(request(target))

    def more(self, seconds):
        self.socket.settimeout(max(seconds, 0.001))
        try:
            piece = self.socket.recv(65536)
        except TimeoutError:
            return False
        except ConnectionResetError:
            self.end = "reset"
            return False
        self.pending += piece
        if not piece:
            self.end = "closed"
        return bool(piece)

    def read_for(self, seconds):
        """Everything that comes until the other side ends or the time has passed."""
        end = time.monotonic() + seconds
        while time.monotonic() < end and self.more(end - time.monotonic()):
            pass
        read, self.pending = self.pending, bytearray()
        return bytes(read)

    def reply(self):
        """The next whole reply; its status is 0 when it does not come."""
        while (end := self.pending.find(b"\r\n\r\n")) < 0:
            if not self.more(20):
                return Reply(0, {}, b"")
        start, *lines = self.pending[:end].decode().split("\r\n")
        headers = {name.lower(): value.strip() for name, _, value in (line.partition(":") for line in lines)}
        size = end + 4 + int(headers.get("content-length", 0))
        while len(self.pending) < size and self.more(20):
            pass
        body = bytes(self.pending[end + 4:size])
        del self.pending[:size]
        return Reply(int(start.split()[1]), headers, body)

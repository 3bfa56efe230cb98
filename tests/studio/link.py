"""A studio's address, and its socket without a browser."""

import base64
import json
import os
import socket
import struct
import urllib.parse


def request(address: str, path: str, **headers: str) -> int:
    """The status of one request; an empty header leaves it out."""
    url = urllib.parse.urlsplit(address)
    lines = [f"GET {path} HTTP/1.1"]
    lines += [f"{name}: {value}" for name, value in {"Host": url.netloc, **headers}.items() if value]
    with socket.create_connection((url.hostname, url.port), timeout=10) as connection:
        connection.sendall("\r\n".join([*lines, "", ""]).encode())
        return int(connection.recv(64).split()[1])


class Link:
    """One page's side of the conversation: orders out, messages and pictures in."""

    def __init__(self, address: str, timeout: float = 20):
        url = urllib.parse.urlsplit(address)
        self.socket = socket.create_connection((url.hostname, url.port), timeout=timeout)
        key = base64.b64encode(os.urandom(16)).decode()
        self.socket.sendall(
            f"GET {url.path}socket HTTP/1.1\r\nHost: {url.netloc}\r\nUpgrade: websocket\r\n"
            f"Connection: Upgrade\r\nSec-WebSocket-Version: 13\r\nSec-WebSocket-Key: {key}\r\n\r\n".encode())
        self.input = self.socket.makefile("rb")
        while self.input.readline().strip():
            pass

    def send(self, command: str, **values) -> None:
        text = json.dumps({"command": command, **values}).encode()
        size = len(text)
        length = bytes([0x80 | size]) if size < 126 else struct.pack("!BH", 0xFE, size)
        self.socket.sendall(b"\x81" + length + bytes(4) + text)  # masked by zeros

    def receive(self):
        """A message as a dictionary, or a picture as bytes."""
        kind, length = self.input.read(2)
        if length > 125:
            length = int.from_bytes(self.input.read(2 if length == 126 else 8), "big")
        data = self.input.read(length)
        return json.loads(data) if kind & 15 == 1 else data

    def until(self, test):
        """Asks for more until a message passes the test."""
        while True:
            got = self.receive()
            if isinstance(got, dict) and got["type"] == "fed":
                self.send("more")
            elif test(got):
                return got

    def exact_picture(self, frame: int) -> bytes:
        """The PNG file of a frame that stands."""
        head = b"P" + frame.to_bytes(4, "little")
        return self.until(lambda got: isinstance(got, bytes) and got[:5] == head)[5:]

    def state(self, **wanted) -> dict:
        return self.until(lambda got: isinstance(got, dict) and got["type"] == "state"
                          and all(got.get(name) == value for name, value in wanted.items()))

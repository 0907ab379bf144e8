# SPDX-License-Identifier: MIT
"""The connection to a running host."""

import json
import os
import socket
import time
from collections.abc import Iterator

VERSION = 1  # of the protocol


class Failure(Exception):
    """The text says what is wrong and what to do; code is the exit code."""

    def __init__(self, text: str, code: int = 1) -> None:
        super().__init__(text)
        self.code = code


def default_path() -> str:
    """The place where a host of this user creates its socket by default."""
    directory = os.environ.get("RUNTIME_DIRECTORY", "").split(":")[0]
    directory = directory or os.environ.get("XDG_RUNTIME_DIR", "")
    if not directory:
        directory = "/run" if os.geteuid() == 0 else f"/run/user/{os.geteuid()}"
    return f"{directory}/ixlal-control"


class Client:
    """Sends requests and reads lines. With a timeout in seconds, every line must arrive in time."""

    def __init__(self, path: str, timeout: float) -> None:
        self.path = path
        self.timeout: float | None = timeout
        self.pending = b""
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.socket.settimeout(timeout)
        try:
            self._connect()
        except OSError as error:
            raise Failure(f"{path}: no host answers: {error.strerror or error}; start the host "
                          "with the control plugin, or name its socket with --socket", 3) from error

    def _connect(self) -> None:
        """Tries again while the queue of the host is full."""
        end = time.monotonic() + (self.timeout or 0)
        while True:
            try:
                self.socket.connect(self.path)
                return
            except BlockingIOError as error:
                if time.monotonic() >= end:
                    raise self._late() from error
                time.sleep(0.02)

    def _late(self) -> Failure:
        return Failure(f"{self.path}: no answer within {self.timeout:g} seconds; is the host busy "
                       "or stopped?", 4)

    def ask(self, operation: str, **members: object) -> dict:
        """The result of a request."""
        request = {"v": VERSION, "op": operation, **members}
        try:
            self.socket.sendall(json.dumps(request).encode() + b"\n")
        except TimeoutError as error:
            raise self._late() from error
        except OSError:
            pass  # a host that refuses has sent the reason before
        reply = self._line()
        if reply is None:
            raise Failure(f"{self.path}: the host closed the connection without an answer", 3)
        if not reply.get("ok"):
            raise Failure(reply.get("text", json.dumps(reply)))
        return reply["result"]

    def notices(self) -> Iterator[dict]:
        """Lines without a request, until the host ends. Waits without a limit."""
        self.socket.settimeout(None)
        self.timeout = None
        while True:
            line = self._line()
            if line is None:
                raise Failure(f"{self.path}: the host closed the connection", 3)
            if "error" in line:
                raise Failure(line["text"])
            yield line
            if line.get("notice") == "stopping":
                return

    def _line(self) -> dict | None:
        """The next line; None at the end of the connection."""
        end = None if self.timeout is None else time.monotonic() + self.timeout
        while b"\n" not in self.pending:
            block = self._receive(end)
            if not block:
                return None
            self.pending += block
        line, _, self.pending = self.pending.partition(b"\n")
        try:
            found = json.loads(line)
        except ValueError as error:
            raise Failure(f"{self.path}: the answer is no JSON: {line[:80]!r}", 3) from error
        if not isinstance(found, dict) or found.get("v") != VERSION:
            raise Failure(f"{self.path}: the host has another version of the protocol; use the "
                          "ixla-ctl of its release", 3)
        return found

    def _receive(self, end: float | None) -> bytes:
        try:
            if end is not None:
                self.socket.settimeout(max(end - time.monotonic(), 0.001))
            return self.socket.recv(65536)
        except TimeoutError as error:
            raise self._late() from error
        except ConnectionResetError:
            return b""

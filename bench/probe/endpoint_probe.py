"""What a hostile local process can make the real worker spend, over 127.0.0.1 only.

Starts a pexi-worker of its own (as tests/e2e does), then:
  1. opens as many sockets as the worker takes, each sending a binary message one byte short of
     the size limit and holding back its last byte, and reports the worker's resident memory;
  2. holds every handshake slot with idle connections and reports how long a new extension
     waits for its first lock-state answer.
Everything it opens it closes, and it ends the worker by its process id.

    PEXI_BIN_DIR=build/bin /usr/bin/python3 bench/probe/endpoint_probe.py
"""

import json
import os
import socket
import struct
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests",
                                "e2e"))
from test_worker import Worker, lock_check  # noqa: E402

MAX_MESSAGE = 1024 * 1024  # ExtensionServer::MaxMessageBytes
SOCKETS = 256  # ExtensionServer::MaxOpenSockets and WebSocketServer::MaxHandshakes
REQUEST = (b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
           b"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n")


def masked_frame(opcode, payload):
    header = bytes([0x80 | opcode])
    if len(payload) < 126:
        header += bytes([0x80 | len(payload)])
    elif len(payload) <= 0xFFFF:
        header += bytes([0x80 | 126]) + struct.pack(">H", len(payload))
    else:
        header += bytes([0x80 | 127]) + struct.pack(">Q", len(payload))
    return header + b"\0\0\0\0" + payload  # a zero mask leaves the payload as it is


def rss_kib(pid):
    with open("/proc/%d/status" % pid) as status:
        for line in status:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    return 0


def opened(port):
    s = socket.create_connection(("127.0.0.1", port), timeout=10)
    s.sendall(REQUEST)
    answer = b""
    while b"\r\n\r\n" not in answer:
        chunk = s.recv(4096)
        if not chunk:
            break
        answer += chunk
    return s, answer.startswith(b"HTTP/1.1 101 ")


def push_just_under_the_limit(worker):
    frame = masked_frame(0x2, b"m" * (MAX_MESSAGE - 1))[:-1]
    sockets, refused = [], 0
    try:
        for _ in range(SOCKETS):
            s, ok = opened(worker.port)
            sockets.append(s)
            if not ok:
                refused += 1
                continue
            try:
                s.sendall(frame)
            except OSError:
                refused += 1
        time.sleep(1.0)  # let the worker read what is in flight
        return rss_kib(worker.process.pid), refused
    finally:
        for s in sockets:
            s.close()


def served_while_slots_are_held(worker):
    idle = []
    try:
        for _ in range(SOCKETS):
            idle.append(socket.create_connection(("127.0.0.1", worker.port), timeout=10))
        time.sleep(0.5)  # all of them accepted and waiting
        start = time.monotonic()
        s, ok = opened(worker.port)
        with s:
            if not ok:
                return None
            s.sendall(masked_frame(0x1, lock_check("probe").encode()))
            s.settimeout(10)
            s.recv(4096)
            return time.monotonic() - start
    finally:
        for s in idle:
            s.close()


def main():
    worker = Worker()
    try:
        worker.make_vault()
        worker.start()
        idle_rss = rss_kib(worker.process.pid)
        rss, refused = push_just_under_the_limit(worker)
        print("worker RSS idle: %.1f MiB" % (idle_rss / 1024))
        print("worker RSS with %d sockets each pushing %d bytes of a %d-byte message: %.1f MiB "
              "(%d sockets closed or refused)" % (SOCKETS, MAX_MESSAGE - 2, MAX_MESSAGE - 1,
                                                  rss / 1024, refused))
        time.sleep(1.0)
        waited = served_while_slots_are_held(worker)
        print("new extension served while %d idle sockets hold the handshake slots: %s"
              % (SOCKETS, "never" if waited is None else "%.3f s" % waited))
        print("worker still running: %s" % (worker.process.poll() is None))
        lines = worker.output()
        print("worker log lines: %d" % len(lines))
    finally:
        worker.cleanup()


if __name__ == "__main__":
    main()

"""The real pexi-worker, driven over loopback by an independent WebSocket client.

Each test class starts its own worker on a free port with a fresh vault made by pexi-vault, reads
its standard output line by line, and ends it by its process id. Every wait is bounded.
"""

import asyncio
import json
import os
import random
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time
import unittest

import websockets

HERE = os.path.dirname(os.path.abspath(__file__))
BIN_DIR = os.environ.get("PEXI_BIN_DIR") or os.path.join(HERE, "..", "..", "build", "bin")
WAIT = 10.0
# Both answers to a lock check leave the worker in one write: the second is not waited for long,
# so a check answered once fails at once.
SECOND_ANSWER = 1.0


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def frame(data, sender="chrome", build="3.2.1"):
    return json.dumps({"data": data, "sender": sender, "build": build})


def lock_check(session):
    return frame({"command": "pexi_lock_check", "session": session})


def run(coroutine):
    return asyncio.run(asyncio.wait_for(coroutine, 60))


async def lock_state_answers(ws, timeout=WAIT):
    """The two answers to a lock check, as text."""
    first = await asyncio.wait_for(ws.recv(), timeout)
    return [first, await asyncio.wait_for(ws.recv(), SECOND_ANSWER)]


class Worker:
    """One pexi-worker process with its own data, settings, runtime directory and port."""

    def __init__(self):
        self.root = tempfile.mkdtemp(prefix="pexi-e2e-")
        self.data_dir = os.path.join(self.root, "data")
        self.port = free_port()
        # Nothing listens at the analytics address: they fail fast and stay on this machine.
        self.env = dict(os.environ, QT_QPA_PLATFORM="offscreen", PEXI_NO_KEYRING="1",
                        PEXI_EXTENSION_PORT=str(self.port), PEXI_DATA_DIR=self.data_dir,
                        XDG_CONFIG_HOME=os.path.join(self.root, "config"),
                        XDG_RUNTIME_DIR=self.root,
                        PEXI_ANALYTICS_BASE="http://127.0.0.1:%d/" % free_port())
        self.lines = []
        self.process = None
        self.uri = "ws://127.0.0.1:%d/" % self.port

    def vault_tool(self, *arguments, stdin=None, recall=None):
        env = dict(self.env, PEXI_RECALL=recall) if recall else self.env
        return subprocess.run([os.path.join(BIN_DIR, "pexi-vault"), *arguments], env=env,
                              input=stdin, capture_output=True, text=True, timeout=60,
                              check=True).stdout

    def make_vault(self, first_picture=0):
        """The letters that unlock it."""
        names = self.vault_tool("pictures").split()
        made = self.vault_tool("init", "--pictures",
                               ",".join(names[first_picture:first_picture + 9]))
        return made.split("Unlock with: ")[1].split("\n")[0]

    def start(self):
        self.process = subprocess.Popen([os.path.join(BIN_DIR, "pexi-worker")], env=self.env,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                        stdin=subprocess.DEVNULL)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        deadline = time.monotonic() + WAIT
        while time.monotonic() < deadline and self.process.poll() is None:
            try:
                socket.create_connection(("127.0.0.1", self.port), timeout=0.2).close()
                return
            except OSError:
                time.sleep(0.02)
        raise AssertionError("pexi-worker (exit status %s) did not listen within %ss; output: %r"
                             % (self.process.poll(), WAIT, self.output()))

    def _read(self):
        for raw in self.process.stdout:
            self.lines.append(raw.decode("utf-8", "replace").rstrip("\n"))

    def output(self):
        return list(self.lines)

    def mark(self):
        return len(self.lines)

    def logged(self, text, since):
        """Whether a line after `since` ends with `text`, waiting for it a bounded time."""
        deadline = time.monotonic() + WAIT
        while not any(line.endswith(text) for line in self.output()[since:]):
            if time.monotonic() >= deadline:
                return False
            time.sleep(0.02)
        return True

    def cleanup(self):
        """SIGTERM, then SIGKILL after a grace period."""
        if self.process is not None:
            if self.process.poll() is None:
                os.kill(self.process.pid, signal.SIGTERM)
                try:
                    self.process.wait(timeout=5)
                except subprocess.TimeoutExpired:
                    os.kill(self.process.pid, signal.SIGKILL)
                    self.process.wait(timeout=5)
            self._reader.join(timeout=5)
            self.process.stdout.close()
        shutil.rmtree(self.root, ignore_errors=True)


class WorkerTest(unittest.TestCase):
    """A worker of the test's own, on a locked vault."""

    def setUp(self):
        self.worker = Worker()
        self.addCleanup(self.worker.cleanup)
        self.worker.make_vault()
        self.worker.start()

    def assertLogged(self, text, since):
        self.assertTrue(self.worker.logged(text, since), self.worker.output()[since:])

    # The in-process suites carry the variations; this shows that the real worker has its
    # handlers registered, the locker wired in and its log on standard output.
    def test_a_search_reaches_its_handler_and_lock_checks_are_answered_twice(self):
        async def scenario():
            async with websockets.connect(self.worker.uri) as ws:
                await ws.send(frame({"command": "credentials_search",
                                     "site": "https://www.example.com/login", "session": "s2"},
                                    sender="opera"))
                await ws.send(lock_check("after"))
                first, second = await lock_state_answers(ws)
                self.assertEqual(first, second)
                self.assertEqual(json.loads(first),
                                 {"command": "pexi_lock_state", "session": "after", "locked": True})
                with self.assertRaises(asyncio.TimeoutError):
                    await asyncio.wait_for(ws.recv(), 0.3)

        since = self.worker.mark()
        run(scenario())
        self.assertLogged("got a search event, but inventory was locked", since)

    def test_another_users_process_is_refused(self):
        """A process of another user gets not a byte, however it asks."""
        if os.geteuid() != 0:
            self.skipTest("switching to another user needs root")
        nobody = 65534
        since = self.worker.mark()
        readable, writable = os.pipe()
        child = os.fork()
        if child == 0:
            received = b""  # a reset receives nothing either
            try:
                os.setgid(nobody)
                os.setuid(nobody)
                with socket.create_connection(("127.0.0.1", self.worker.port), timeout=5) as s:
                    s.sendall(b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\n"
                              b"Connection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                              b"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n")
                    received = s.recv(4096)
            except OSError:
                pass
            finally:
                os.write(writable, received[:100] or b"nothing")
                os._exit(0)
        os.close(writable)
        with os.fdopen(readable, "rb") as pipe:
            received = pipe.read()
        os.waitpid(child, 0)
        self.assertEqual(received, b"nothing")
        self.assertLogged("refused connection from another user (uid %d)" % nobody, since)

    def test_still_answers_after_random_frames(self):
        rng = random.Random(20240501)
        tokens = ['{', '}', '[', ']', ',', ':', '"data"', '"command"', '"session"', '"site"',
                  '"pexi_lock_check"', '"credentials_search"', '"request_credential"', 'null',
                  'true', '-0', '1e999', '"\\u0000"', '"\\ud800"', '"' + 'a' * 300 + '"', '"x"']
        commands = ["pexi_lock_check", "credentials_search", "request_credential",
                    "credentials_store", "ext_icon_clicked", "navigate", "", "\u2603"]
        values = [None, True, 0, -1.5, "", "https://a.b/c", [], {"x": 1}, "\u00e9\u4e2d"]

        def garbage():
            kind = rng.randrange(4)
            if kind == 0:
                return bytes(rng.randrange(256) for _ in range(rng.randrange(64)))
            if kind == 1:
                return "".join(rng.choice(tokens) for _ in range(rng.randrange(1, 40)))
            if kind == 2:
                data = {"command": rng.choice(commands)}
                for key in rng.sample(["session", "site", "uuid", "coordinates", "credential"],
                                      rng.randrange(6)):
                    data[key] = rng.choice(values)
                return frame(data, sender=rng.choice(["chrome", "safari", None, 7]))
            return "".join(chr(rng.randrange(1, 0xD7FF)) for _ in range(rng.randrange(32)))

        async def scenario():
            async with websockets.connect(self.worker.uri, max_queue=None) as noisy:
                for _ in range(2000):
                    await noisy.send(garbage())
                # A fresh socket is answered, and so is the one that sent the noise.
                async with websockets.connect(self.worker.uri) as ws:
                    await ws.send(lock_check("calm"))
                    for answer in await lock_state_answers(ws, timeout=30):
                        self.assertEqual(json.loads(answer), {"command": "pexi_lock_state",
                                                              "session": "calm", "locked": True})
                await noisy.send(lock_check("noisy"))
                sessions = []
                while sessions.count("noisy") < 2:
                    sessions.append(json.loads(await asyncio.wait_for(noisy.recv(), 30))
                                    .get("session"))

        run(scenario())
        self.assertIsNone(self.worker.process.poll(), "the worker exited")

    def test_vault_made_anew_underneath_forces_a_lock(self):
        since = self.worker.mark()
        for name in os.listdir(self.worker.data_dir):
            os.remove(os.path.join(self.worker.data_dir, name))
        self.worker.make_vault(first_picture=9)
        self.assertLogged(" Remote store changed, forcing lock", since)


if __name__ == "__main__":
    unittest.main(verbosity=2)

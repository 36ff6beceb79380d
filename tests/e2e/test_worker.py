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
QUIET = 0.3
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


class Worker:
    """One pexi-worker process with its own data, settings and port."""

    def __init__(self):
        self.root = tempfile.mkdtemp(prefix="pexi-e2e-")
        self.data_dir = os.path.join(self.root, "data")
        self.port = free_port()
        self.env = dict(os.environ)
        self.env.update({
            "QT_QPA_PLATFORM": "offscreen",
            "PEXI_EXTENSION_PORT": str(self.port),
            "PEXI_DATA_DIR": self.data_dir,
            "XDG_CONFIG_HOME": os.path.join(self.root, "config"),
            # One worker per user: each of these is the only one of its own runtime directory.
            "XDG_RUNTIME_DIR": self.root,
            "PEXI_NO_KEYRING": "1",
            # Nothing listens there: analytics fail fast and stay on this machine.
            "PEXI_ANALYTICS_BASE": "http://127.0.0.1:%d/" % free_port(),
        })
        self.lines = []
        self._lines_lock = threading.Lock()
        self.process = None

    def vault_tool(self, *arguments):
        return subprocess.run([os.path.join(BIN_DIR, "pexi-vault"), *arguments], env=self.env,
                              capture_output=True, text=True, timeout=60, check=True).stdout

    def make_vault(self, first_picture=0):
        names = self.vault_tool("pictures").split()
        self.vault_tool("init", "--pictures", ",".join(names[first_picture:first_picture + 9]))

    def start(self):
        self.process = subprocess.Popen([os.path.join(BIN_DIR, "pexi-worker")], env=self.env,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                        stdin=subprocess.DEVNULL)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        deadline = time.monotonic() + WAIT
        while time.monotonic() < deadline:
            if self.process.poll() is not None:
                raise AssertionError("pexi-worker exited with %s before listening; output: %r"
                                     % (self.process.returncode, self.output()))
            try:
                socket.create_connection(("127.0.0.1", self.port), timeout=0.2).close()
                return
            except OSError:
                time.sleep(0.02)
        raise AssertionError("pexi-worker did not listen on port %d within %ss" % (self.port, WAIT))

    def _read(self):
        for raw in self.process.stdout:
            with self._lines_lock:
                self.lines.append(raw.decode("utf-8", "replace").rstrip("\n"))

    def output(self):
        with self._lines_lock:
            return list(self.lines)

    def mark(self):
        return len(self.output())

    def wait_for_line(self, predicate, since=0, timeout=WAIT):
        """The first line after `since` for which predicate holds, or None after `timeout`."""
        deadline = time.monotonic() + timeout
        while True:
            for line in self.output()[since:]:
                if predicate(line):
                    return line
            if time.monotonic() >= deadline:
                return None
            time.sleep(0.02)

    def stop(self):
        """SIGTERM, then SIGKILL after a grace period; returns the exit status."""
        if self.process is None or self.process.poll() is not None:
            return self.process.returncode if self.process else None
        os.kill(self.process.pid, signal.SIGTERM)
        try:
            return self.process.wait(timeout=5)
        except subprocess.TimeoutExpired:
            os.kill(self.process.pid, signal.SIGKILL)
            self.process.wait(timeout=5)
            return None

    def cleanup(self):
        self.stop()
        if self.process is not None:
            self._reader.join(timeout=5)
            self.process.stdout.close()
        shutil.rmtree(self.root, ignore_errors=True)

    @property
    def uri(self):
        return "ws://127.0.0.1:%d/" % self.port


def run(coroutine):
    return asyncio.run(asyncio.wait_for(coroutine, 60))


async def lock_state_answers(ws, timeout=WAIT):
    """The two answers to a lock check, as text."""
    first = await asyncio.wait_for(ws.recv(), timeout)
    return [first, await asyncio.wait_for(ws.recv(), SECOND_ANSWER)]


async def nothing_more(ws, wait=QUIET):
    """True when nothing arrives within `wait` seconds."""
    try:
        extra = await asyncio.wait_for(ws.recv(), wait)
    except asyncio.TimeoutError:
        return True
    raise AssertionError("unexpected frame: %r" % (extra,))


class WorkerProtocolTest(unittest.TestCase):
    """One worker with a locked vault, shared by the protocol tests."""

    @classmethod
    def setUpClass(cls):
        cls.worker = Worker()
        try:
            cls.worker.make_vault()
            cls.worker.start()
        except Exception:
            cls.worker.cleanup()
            raise

    @classmethod
    def tearDownClass(cls):
        cls.worker.cleanup()

    def assertLogged(self, line, since):
        found = self.worker.wait_for_line(lambda l: l == line, since)
        self.assertEqual(found, line, "not logged; output since: %r" % self.worker.output()[since:])

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
                self.assertTrue(await nothing_more(ws))

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
            received = b"!"
            try:
                os.close(readable)
                os.setgid(nobody)
                os.setuid(nobody)
                with socket.create_connection(("127.0.0.1", self.worker.port), timeout=5) as s:
                    s.sendall(b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\n"
                              b"Connection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                              b"Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n")
                    received = s.recv(4096)
            except OSError:
                received = b""  # reset: nothing was received either
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
                  '"uuid"', '"credential"', '"coordinates"', '"pexi_lock_check"',
                  '"credentials_search"', '"request_credential"', '"credentials_store"',
                  '"ext_icon_clicked"', '"navigate"', 'null', 'true', '-0', '1e999', '"\\u0000"',
                  '"\\ud800"', '"' + 'a' * 300 + '"', '0.5', '"x"']
        commands = ["pexi_lock_check", "credentials_search", "request_credential",
                    "credentials_abort", "ext_icon_clicked", "pexi_lock_state", "navigate", "",
                    "\u2603"]
        values = [None, True, 0, -1.5, "", "example.com", "https://a.b/c", [], {}, {"x": 1},
                  {"x": 1, "y": "2"}, "\u00e9\u4e2d"]

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

        frames = [garbage() for _ in range(2000)]

        async def scenario():
            async with websockets.connect(self.worker.uri, max_queue=None) as noisy:
                for text in frames:
                    await noisy.send(text)
                # A fresh socket is answered, and so is the one that sent the noise.
                async with websockets.connect(self.worker.uri) as ws:
                    await ws.send(lock_check("calm"))
                    for answer in await lock_state_answers(ws, timeout=30):
                        self.assertEqual(json.loads(answer), {"command": "pexi_lock_state",
                                                              "session": "calm", "locked": True})
                await noisy.send(lock_check("noisy"))
                sessions = []
                deadline = time.monotonic() + 30
                while sessions.count("noisy") < 2 and time.monotonic() < deadline:
                    message = json.loads(await asyncio.wait_for(noisy.recv(), 30))
                    sessions.append(message.get("session"))
                self.assertEqual(sessions.count("noisy"), 2)

        run(scenario())
        self.assertIsNone(self.worker.process.poll(), "the worker exited")


class WorkerLifecycleTest(unittest.TestCase):
    """Workers of their own: these tests change the vault under them or end them."""

    def setUp(self):
        self.worker = Worker()
        self.worker.make_vault()
        self.worker.start()

    def tearDown(self):
        self.worker.cleanup()

    def test_vault_made_anew_underneath_forces_a_lock(self):
        since = self.worker.mark()
        for name in os.listdir(self.worker.data_dir):
            os.remove(os.path.join(self.worker.data_dir, name))
        self.worker.make_vault(first_picture=9)
        found = self.worker.wait_for_line(
            lambda l: l.endswith(" Remote store changed, forcing lock"), since)
        self.assertIsNotNone(found, "output since: %r" % self.worker.output()[since:])

    def test_sigterm_ends_the_worker_cleanly(self):
        self.assertEqual(self.worker.stop(), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)

"""The real pexi-worker's floating window on an X server of its own (Xvfb), typed into with
xdotool. Xvfb and the worker are ended by their process ids; every wait is bounded."""

import asyncio
import json
import os
import shutil
import signal
import subprocess
import time
import unittest

import websockets

from test_worker import BIN_DIR, WAIT, Worker, frame, lock_check, run

LETTERS = "ABCDEFGHIJKLMNO"


def start_xvfb():
    """An X server on a free display: (process, display)."""
    read_end, write_end = os.pipe()
    process = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x800x24",
                                "-nolisten", "tcp"], pass_fds=(write_end,),
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write_end)
    with os.fdopen(read_end) as pipe:
        number = pipe.readline().strip()  # written once the server accepts clients
    if not number:
        process.kill()
        process.wait(timeout=5)
        raise AssertionError("Xvfb did not start")
    return process, ":" + number


def wrong_letters(right):
    """For each grid, three places that are not the user's."""
    return " ".join("".join([c for c in LETTERS if c not in grid][:3]) for grid in right.split())


class FloatingWindowTest(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        if not (shutil.which("Xvfb") and shutil.which("xdotool")):
            raise unittest.SkipTest("Xvfb and xdotool come with scripts/setup")
        cls.xvfb, display = start_xvfb()
        cls.worker = Worker()
        try:
            cls.worker.env.update({"QT_QPA_PLATFORM": "xcb", "DISPLAY": display})
            names = cls.worker.vault_tool("pictures").split()
            made = cls.worker.vault_tool("init", "--pictures", ",".join(names[:9]))
            cls.letters = made.split("Unlock with: ")[1].split("\n")[0]
            env = dict(cls.worker.env, PEXI_RECALL=cls.letters)
            subprocess.run([os.path.join(BIN_DIR, "pexi-vault"), "add", "--title", "Mail",
                            "--site", "mail.example.com", "--username", "ada"], env=env,
                           input="s3cret\n", text=True, capture_output=True, timeout=60, check=True)
            cls.worker.start()
        except Exception:
            cls.tearDownClass()
            raise

    @classmethod
    def tearDownClass(cls):
        cls.worker.cleanup()
        os.kill(cls.xvfb.pid, signal.SIGTERM)
        cls.xvfb.wait(timeout=10)

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.worker.env, capture_output=True,
                              text=True, timeout=WAIT).stdout.split()

    def shown_windows(self):
        return self.xdotool("search", "--onlyvisible", "--name", "^Pexi$")  # the window's title

    def wait_until(self, predicate, what):
        deadline = time.monotonic() + WAIT
        while not predicate():
            if time.monotonic() >= deadline:
                self.fail("%s within %ss; output: %r" % (what, WAIT, self.worker.output()))
            time.sleep(0.05)

    def type(self, letters):
        self.xdotool("type", "--delay", "30", letters.replace(" ", "").lower())

    def lock_state(self):
        async def ask():
            async with websockets.connect(self.worker.uri) as ws:
                await ws.send(lock_check("state"))
                return json.loads(await asyncio.wait_for(ws.recv(), WAIT))["locked"]
        return run(ask())

    def test_unlock_from_the_window(self):
        second = subprocess.run([os.path.join(BIN_DIR, "pexi-worker"), "open_window"],
                                env=self.worker.env, capture_output=True, timeout=WAIT)
        self.assertEqual(second.returncode, 0, second.stdout)
        self.wait_until(self.shown_windows, "no window titled Pexi")
        self.xdotool("windowfocus", "--sync", self.shown_windows()[0])
        self.xdotool("key", "Return")  # the welcome

        since = self.worker.mark()
        self.type(wrong_letters(self.letters))
        self.assertIsNotNone(self.worker.wait_for_line(
            lambda l: l == "unlock failed: the pictures did not open the vault", since),
            self.worker.output()[since:])
        self.assertTrue(self.lock_state())

        async def unlock_and_search():
            async with websockets.connect(self.worker.uri) as ws:
                self.xdotool("key", "Return")  # Retry
                self.type(self.letters)
                pushed = json.loads(await asyncio.wait_for(ws.recv(), 30))
                self.assertEqual(pushed["locked"], False, pushed)
                await ws.send(frame({"command": "credentials_search",
                                     "site": "https://mail.example.com/login", "session": "s"}))
                return json.loads(await asyncio.wait_for(ws.recv(), WAIT))

        answer = run(unlock_and_search())
        self.assertEqual(answer["command"], "credentials_suggest")
        self.assertEqual([(c["title"], c["username"]) for c in answer["credentials"]],
                         [("Mail", "ada")], answer)

        self.xdotool("key", "Escape")
        self.wait_until(lambda: not self.shown_windows(), "the window still shown after Escape")
        self.assertIsNone(self.worker.process.poll(), "the worker exited")


if __name__ == "__main__":
    unittest.main(verbosity=2)

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


class FloatingWindowTest(unittest.TestCase):

    def setUp(self):
        if not (shutil.which("Xvfb") and shutil.which("xdotool")):
            self.skipTest("Xvfb and xdotool come with scripts/setup")
        xvfb, display = start_xvfb()
        self.addCleanup(lambda: (os.kill(xvfb.pid, signal.SIGTERM), xvfb.wait(timeout=10)))
        self.worker = Worker()
        self.addCleanup(self.worker.cleanup)
        self.worker.env.update({"QT_QPA_PLATFORM": "xcb", "DISPLAY": display})
        self.letters = self.worker.make_vault()
        self.worker.vault_tool("add", "--title", "Mail", "--site", "mail.example.com",
                               "--username", "ada", stdin="s3cret\n", recall=self.letters)
        self.worker.start()

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

    def test_unlock_from_the_window(self):
        second = subprocess.run([os.path.join(BIN_DIR, "pexi-worker"), "open_window"],
                                env=self.worker.env, capture_output=True, timeout=WAIT)
        self.assertEqual(second.returncode, 0, second.stdout)
        self.wait_until(self.shown_windows, "no window titled Pexi")
        self.xdotool("windowfocus", "--sync", self.shown_windows()[0])
        self.xdotool("key", "Return")  # the welcome

        since = self.worker.mark()
        # For each grid, three places that are not the user's.
        self.type(" ".join("".join([c for c in "ABCDEFGHIJKLMNO" if c not in grid][:3])
                           for grid in self.letters.split()))
        self.assertTrue(self.worker.logged(
            "unlock failed: the pictures did not open the vault", since),
            self.worker.output()[since:])

        async def unlock_and_search():
            async with websockets.connect(self.worker.uri) as ws:
                await ws.send(lock_check("state"))
                self.assertTrue(json.loads(await asyncio.wait_for(ws.recv(), WAIT))["locked"])
                await asyncio.wait_for(ws.recv(), WAIT)  # the lock check's second answer
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

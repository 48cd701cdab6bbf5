"""A program on a terminal of its own, and the screens that it draws from the top each time."""

import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import termios

TOP, END = b"\x1b[H", b"\x1b[J"
NEUTRAL = "\0"  # a key that means nothing: the screen is drawn once more


class Terminal:
    def __init__(self, words, columns=120, **how):
        self.side, other = pty.openpty()
        self.resize(60, columns)
        self.process = subprocess.Popen(words, stdin=other, stdout=other, stderr=other, start_new_session=True,
                                        preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0), **how)
        os.close(other)
        self.output = b""

    def resize(self, rows, columns):
        fcntl.ioctl(self.side, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def read(self, seconds):
        """False where the terminal is gone, or nothing has come."""
        if not select.select([self.side], [], [], seconds)[0]:
            return False
        try:
            more = os.read(self.side, 65536)
        except OSError:  # its last process has ended
            return False
        self.output += more
        return bool(more)

    def screen(self, keys=""):
        """What stands there after these keys, when it is drawn twice the same."""
        while self.read(0):
            pass
        self.output = b""
        for key in (*keys, NEUTRAL, NEUTRAL):
            os.write(self.side, key.encode())
        least = len(keys) + 2  # it may have been drawn once in between, before the keys
        while True:
            drawn = [one.split(END)[0] for one in self.output.split(TOP)[1:] if END in one]
            if len(drawn) >= least and drawn[-1] == drawn[-2]:
                return drawn[-1].decode().replace("\x1b[K", "").replace("\r\n", "\n").replace("\x1b", "ESC")
            if not self.read(20):
                raise RuntimeError(f"no screen after {keys!r}: {self.output!r}")

    def end(self, keys=""):
        """What comes behind the last screen after these keys, and the exit code."""
        os.write(self.side, keys.encode())
        while self.read(20):
            pass
        os.close(self.side)
        rest = re.split(re.escape(END), self.output)[-1].decode().replace("\x1b", "ESC")
        return f"{rest}\nexit code {self.process.wait(timeout=20)}"

"""Runs a program in a terminal of a given size and shows what a person would see there."""

import fcntl
import os
import pty
import select
import signal
import struct
import termios
import time

import pyte

PATIENCE = 30  # seconds until a condition must hold, generous for sanitizers and busy machines


class Terminal:
    """Runs a program until it ends or close() is called; screen is what it has drawn so far."""

    def __init__(self, arguments, columns=80, lines=24, environment=None):
        self.screen = pyte.Screen(columns, lines)
        self.stream = pyte.ByteStream(self.screen)
        self.status = None
        variables = dict(os.environ, TERM="linux", LC_ALL="C.UTF-8", **(environment or {}))
        self.pid, self.descriptor = pty.fork()
        if self.pid == 0:
            self._set_size(0, columns, lines)
            os.execve(arguments[0], arguments, variables)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    @staticmethod
    def _set_size(descriptor, columns, lines):
        fcntl.ioctl(descriptor, termios.TIOCSWINSZ, struct.pack("HHHH", lines, columns, 0, 0))

    def resize(self, columns, lines):
        self.screen.resize(lines, columns)
        self._set_size(self.descriptor, columns, lines)

    def send(self, keys):
        os.write(self.descriptor, keys.encode())

    def lines(self):
        """The lines of the screen without trailing blanks."""
        return [line.rstrip() for line in self.screen.display]

    def text(self):
        return "\n".join(self.lines())

    def pump(self, seconds):
        """Draws what the program writes within that time. Returns early; False when the program has ended."""
        readable, _, _ = select.select([self.descriptor], [], [], seconds)
        if not readable:
            return True
        try:
            data = os.read(self.descriptor, 65536)
        except OSError:  # on Linux: the program has closed its terminal
            data = b""
        self.stream.feed(data)
        return bool(data)

    def wait_until(self, condition, what):
        """Waits until condition(self) is true and returns its result."""
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            result = condition(self)
            if result:
                return result
            if not self.pump(0.05):
                time.sleep(0.05)
        raise AssertionError(f"waited in vain for {what}; the screen is:\n{self.text()}")

    def wait_for(self, text):
        return self.wait_until(lambda terminal: text in terminal.text(), f'"{text}"')

    def wait_end(self):
        """The exit status of the program, once it has ended."""
        end = time.monotonic() + PATIENCE
        while self.pump(0.2):
            if time.monotonic() > end:
                raise AssertionError(f"the program does not end; the screen is:\n{self.text()}")
        if self.status is None:
            self.status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        return self.status

    def close(self):
        if self.status is None:
            os.kill(self.pid, signal.SIGKILL)
            self.status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        os.close(self.descriptor)

"""A running slavesim on a port that was free."""

import re
import signal
import subprocess


class Slave:
    """Runs until stop(), or the end of its with block."""

    def __init__(self, program, *options):
        self.program = program
        self.options = options
        self.port = 0
        self.start()

    def start(self):
        """Starts it (on the same port if it ran before) and waits until it accepts connections."""
        self.process = subprocess.Popen(
            [self.program, "--port", str(self.port), *self.options], stdout=subprocess.PIPE, text=True)
        self.port = int(re.fullmatch(r"slavesim: listening on .*:(\d+)\n", self.process.stdout.readline())[1])
        self.device = f"127.0.0.1:{self.port}"

    def stop(self):
        """Ends it and returns what it wrote since it was ready."""
        self.process.send_signal(signal.SIGTERM)
        return self.process.communicate()[0]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.stop()

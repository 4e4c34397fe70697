"""What tests that run driverhost have in common."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../../scripts"))
from slave import Slave  # noqa: E402


class HostCase(unittest.TestCase):
    """A driverhost and its driver in a folder of their own, so that they have a project of their own, and a slavesim with
    SLAVE_OPTIONS. The programs come from the environment: DRIVERHOST, PLUGIN and SLAVESIM."""

    SLAVE_OPTIONS = ()

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.host = cls.path("driverhost")
        os.mkdir(cls.path("drivers"))
        shutil.copy(os.environ["DRIVERHOST"], cls.host)
        shutil.copy(os.environ["PLUGIN"], cls.path("drivers"))
        cls.slave = Slave(os.environ["SLAVESIM"], *cls.SLAVE_OPTIONS)

    @classmethod
    def tearDownClass(cls):
        cls.slave.stop()
        cls.folder.cleanup()

    @classmethod
    def path(cls, name):
        return os.path.join(cls.folder.name, name)

    @classmethod
    def run_host(cls, *arguments, environment=None):
        return subprocess.run([cls.host, *arguments], capture_output=True, text=True, timeout=60,
                              stdin=subprocess.DEVNULL, env=environment, cwd=cls.folder.name)

#!/usr/bin/python3
"""The example driver in driverhost, against a device whose frames come from pymodbus.

The programs come from the environment: DRIVERHOST and PLUGIN."""

import itertools
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../../examples/driver"))
from device import Device  # noqa: E402


def framed(message):
    """The frame of a message in hexadecimal digits, with a valid check byte."""
    check = -sum(bytes.fromhex(message)) % 256
    return b":" + message.upper().encode() + b"%02X\r\n" % check


# Replies in place of the good one to a read of HR1 and HR2, ":01030400010002F5\r\n", and what the driver says to them.
SHORT = "only {} of {} bytes came from"
NO_FRAME = "invalid response"
OTHER_REPLY = "the response is not one to the request"
FAULTS = {
    "late": (lambda frame: time.sleep(0.5) or framed("01030400090009"), "no answer from"),
    "hang-up": (lambda frame: None, "closed the connection"),
    "cut in the head": (lambda frame: frame[:10], SHORT.format(10, 11)),
    "cut at the end": (lambda frame: frame[:-1], SHORT.format(18, 19)),
    "start character": (lambda frame: b";" + frame[1:], NO_FRAME),
    "end": (lambda frame: frame[:-2] + b"\n\r", NO_FRAME),
    "no digit": (lambda frame: frame.replace(b"0001", b"000G"), NO_FRAME),
    "prefix for a digit": (lambda frame: frame.replace(b"0001", b"0X01"), NO_FRAME),
    "zero byte for a digit": (lambda frame: frame.replace(b"0001", b"00\0001"), NO_FRAME),
    "check byte": (lambda frame: frame.replace(b"F5", b"F6"), NO_FRAME),
    "station": (lambda frame: framed("02030400010002"), "invalid station id"),
    "function": (lambda frame: framed("01040400010002"), OTHER_REPLY),
    "byte count": (lambda frame: framed("01030500010002"), OTHER_REPLY),
    "less data": (lambda frame: framed("0103020001"), SHORT.format(15, 19)),
    "no data": (lambda frame: framed("010304"), OTHER_REPLY),
    "exception to a write": (lambda frame: framed("019002"), OTHER_REPLY),
    "exception with data": (lambda frame: framed("01830400010002"), OTHER_REPLY),
    "exception": (lambda frame: framed("01830b"), "exception code:0B"),
}
WAITED = ("no answer", "only")  # what the driver says when it has waited for more
WRITE_FAULTS = {
    "echoed address": (lambda frame: framed("011000010002"), OTHER_REPLY),
    "echoed quantity": (lambda frame: framed("011000000003"), OTHER_REPLY),
    "reply to a read": (lambda frame: framed("010304"), OTHER_REPLY),
    "exception": (lambda frame: framed("019004"), "exception code:04"),
}


class ModbusAscii(unittest.TestCase):
    def setUp(self):
        self.device = Device()
        threading.Thread(target=self.device.serve_forever, args=(0.01,), daemon=True).start()
        self.addCleanup(self.device.server_close)
        self.addCleanup(self.device.shutdown)

    def run_host(self, arguments, program=os.environ["DRIVERHOST"]):
        command = [program, "--driver", os.environ["PLUGIN"], "--device", self.device.address]
        return subprocess.run([*command, *arguments.split()], text=True, timeout=60, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)

    def host(self, arguments):
        """The objects that driverhost prints and its exit status."""
        run = self.run_host("--format json " + arguments)
        return [json.loads(line) for line in run.stdout.splitlines() if line.startswith("{")], run.returncode

    def one(self, arguments):
        objects, status = self.host(arguments)
        self.assertEqual((len(objects), status), (1, 1 if "error" in objects[0] else 0))
        return objects[0]

    def test_reads(self):
        for arguments, values in {
            "HR1": [1],
            "hr876 --count 125": list(range(876, 1001)),
            "HR300 --type byte --count 3": [300 % 256, 1, 301 % 256],
            "HR1 --type dword --count 62": [n + 65536 * (n + 1) for n in range(1, 124, 2)],
            "HR1 --type qword": [0x0004000300020001],
        }.items():
            with self.subTest(arguments):
                self.assertEqual(self.one("read " + arguments).get("values"), values)

    def test_writes(self):
        for arguments, address, registers in [
            ("HR10 0x1234 65535 0", 10, [0x1234, 65535, 0, 13]),
            ("HR20 --type dword 0x12345678", 20, [0x5678, 0x1234, 22]),
            ("HR30 --type block --as text abc", 30, [0x6261, 0x63, 32]),
            ("HR40 " + "7 " * 123, 40, [7] * 123 + [163]),
        ]:
            with self.subTest(arguments):
                self.assertNotIn("error", self.one("write " + arguments))
                self.assertEqual(self.device.registers(address, len(registers)), registers)

    def test_refusals(self):
        """What no request can carry is not sent; what the device refuses gives its exception code."""
        refusal = "a command takes 1 to 125 registers (123 to write) of HR1 to HR65536"
        for text, requests, commands in [
            (refusal, 0, ["write HR1 " + "7 " * 124, *("read " + read for read in [
                "HR1 --count 0", "HR1 --count 126", "HR1 --count 2147483647 --type qword", "HR1 --type bit",
                "HR65536 --count 2", "HR0", "HR65537", "HR4294967297", "HR-1", "HR1.3", "HR1SW", "HR", "IR1", "%1HR1"])]),
            ("exception code:02", 4, ["read HR65536", "write HR1000 1 2"]),
        ]:
            for command in commands:
                with self.subTest(command):
                    self.device.requests = 0
                    self.assertEqual(self.one(command)["error"].partition("> ")[2], text)
                    self.assertEqual(self.device.requests, requests)
        self.assertIn("no answer from", self.one("--station 2 --retry 0 --timeout 300 read HR1")["error"])

    def check_fault(self, command, fault, text):
        """The driver reports it. The next attempt is not affected: it gets a new connection, unless the reply was
        valid."""
        self.device.fault = fault
        command = f"--timeout {300 if text.startswith(WAITED) else 5000} {command}"
        self.assertIn(text, self.one("--retry 0 " + command).get("error", "").partition("> ")[2])

        faults = itertools.chain([fault], itertools.repeat(lambda frame: frame))
        self.device.fault = lambda frame: next(faults)(frame)
        self.device.connections = 0
        outcome = self.one("--retry 3 --delay 1 " + command)
        self.assertEqual(outcome.get("values"), [1, 2])
        self.assertGreater(outcome["attempts"], 1)
        self.assertEqual(self.device.connections, 1 if "exception code" in text else outcome["attempts"])

    def test_faults(self):
        for command, faults in {"read HR1 --count 2": FAULTS, "write HR1 1 2": WRITE_FAULTS}.items():
            for name, (fault, text) in faults.items():
                with self.subTest(name, command=command):
                    self.check_fault(command, fault, text)

    def test_watch(self):
        samples, status = self.host("watch HR1:word:2 HR3:dword --samples 3 --interval 20")
        self.assertEqual((len(samples), status), (3, 0))
        self.assertEqual([item["values"] for item in samples[2]["readings"]], [[1, 2], [3 + 65536 * 4]])
        self.assertEqual(self.device.connections, 1)

    def test_project(self):
        """The tags are polled; no reads of bits are planned for a driver without bits."""
        with tempfile.TemporaryDirectory() as folder:
            host = shutil.copy(os.environ["DRIVERHOST"], folder)
            self.assertEqual(self.run_host("project create --tag HR1 --tag HR2 --tag 1-HR9", host).returncode, 0)
            self.assertNotIn("note:", self.run_host("project show", host).stdout)
            self.assertRegex(self.run_host("watch --tags --samples 1", host).stdout, "Z  HR1=1  HR2=2  HR9=9\n$")

    def test_odd_frames(self):
        """Small letters are digits too; a trace shows the bytes of what is no frame."""
        self.device.fault = bytes.lower
        self.assertEqual(self.one("read HR171")["values"], [171])
        self.device.fault = lambda frame: b"\0" + frame
        self.assertRegex(self.run_host("--retry 0 --trace read HR1").stdout, "<- 00 3a 30 31 30 33 ")

    def test_page(self):
        """The page on the toolkit shows what is printed, except for the time of day and the port."""
        def same(text):
            return re.sub(r"(\d{4}-\d\d-\d\dT)?\d\d:\d\d:\d\d\.\d{3}|127\.0\.0\.1:\d+", "", text)
        page = os.path.join(os.path.dirname(__file__), "../../docs/toolkit.md")
        with open(page, encoding="utf-8") as file:
            shown = re.findall(r"^\$ try (.*\n)((?:(?!```|\$).*\n)*)", file.read(), re.M)
        self.assertTrue(shown)
        for arguments, output in shown:
            with self.subTest(arguments):
                self.assertEqual(same(self.run_host(arguments).stdout), same(output))


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/python3
"""Types, byte orders and the names of signals, through driverhost to slavesim. What is in the registers is read and
written by a client of its own."""

import json
import socket
import struct
import unittest

from host_case import HostCase

# What is written and read as what, and the registers that hold it, in hexadecimal.
VALUES = [
    ("HR1:int16", "-2", [-2], "fffe"),
    ("HR1:uint16", "65534", [65534], "fffe"),
    ("HR1:hex", "0x12ab", [0x12AB], "12ab"),
    ("HR1.3:bool", "1", [1], "0008"),
    ("HR1:int32", "-2", [-2], "fffeffff"),
    ("HR1:uint32", "0x12345678", [0x12345678], "56781234"),
    ("HR1SW:uint32", "0x12345678", [0x12345678], "12345678"),
    ("HR1:uint32:ABCD", "0x12345678", [0x12345678], "12345678"),
    ("HR1:uint32:CDAB", "0x12345678", [0x12345678], "56781234"),
    ("HR1:uint32:BADC", "0x12345678", [0x12345678], "34127856"),
    ("HR1:uint32:DCBA", "0x12345678", [0x12345678], "78563412"),
    ("HR1:float32", "-1.5", [-1.5], "0000bfc0"),
    ("HR1:float32:ABCD", "-1.5", [-1.5], "bfc00000"),
    ("HR1:float32:BADC", "-1.5", [-1.5], "c0bf0000"),
    ("HR1:float32:DCBA", "-1.5", [-1.5], "0000c0bf"),
    ("HR1:int64:ABCD", "-2", [-2], "fffffffffffffffe"),
    ("HR1:uint64", "0x0123456789ab", [0x0123456789AB], "89ab456701230000"),
    ("HR1:uint64:ABCD", "0x0123456789ab", [0x0123456789AB], "00000123456789ab"),
    ("HR1:uint64:BADC", "0x0123456789ab", [0x0123456789AB], "000023016745ab89"),
    ("HR1:uint64:DCBA", "0x0123456789ab", [0x0123456789AB], "ab89674523010000"),
    ("HR1SW:float64", "0.1", [0.1], "3fb999999999999a"),
    ("HR1:float64", "0.1", [0.1], "999a999999993fb9"),
    ("HR1:float64:DCBA", "0.1", [0.1], "9a9999999999b93f"),
    ("HR1:string(6):ABCD", "Hello", ["Hello"], "48656c6c6f00"),
    ("HR1:string(6):DCBA", "Hello", ["Hello"], "65486c6c006f"),
    ("HR1:word:2", "1 2", [1, 2], "00010002"),
    ("HR1:dword", "0x12345678", [0x12345678], "56781234"),
    ("HR1SW:dword", "0x12345678", [0x12345678], "12345678"),
]

# A list as a German Excel saves it.
TAGS = """sep=;
Name;Address;Type;Scale;Offset;Unit;Decimals;Order
Oven 3 temp;HR6;int16;0,1;-40;°C;1;
Setpoint oven;HR20;uint16;0,5;;°C;1;
Weight;3-HR30;float32;;;kg;2;BADC
Recipe;HR40;string(6);;;;;ABCD
Pump 1 on;DO5;bool;;;;;
""".replace("\n", "\r\n").encode("cp1252")


class Signals(HostCase):
    SLAVE_OPTIONS = ("--stations", "1,3")

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        with open(cls.path("tags.csv"), "wb") as file:
            file.write(TAGS)
        cls.run_host("project", "create", "--tags", "tags.csv")

    @classmethod
    def run_host(cls, *arguments):
        return super().run_host("--device", cls.slave.device, *arguments)

    def text(self, *arguments):
        done = self.run_host(*arguments)
        self.assertEqual((done.stderr, done.returncode), ("", 0), arguments)
        return done.stdout

    def refused(self, *arguments):
        done = self.run_host(*arguments)
        self.assertEqual((done.stdout, done.returncode), ("", 2), done.stderr)
        return done.stderr

    def registers(self, number, count, written=b"", station=1):
        """Registers of the slave in hexadecimal; they are written first if there is something to write."""
        reply = b""
        for function, data in [(16, bytes([len(written)]) + written), (3, b"")][0 if written else 1:]:
            body = struct.pack(">BBHH", station, function, number - 1, count) + data
            with socket.create_connection(("127.0.0.1", self.slave.port), 20) as client:
                client.sendall(struct.pack(">HHH", 1, 0, len(body)) + body)
                reply = client.recv(260)
        return reply[9:].hex()

    def test_types_and_orders(self):
        for item, text, values, registers in VALUES:
            with self.subTest(item=item, value=text):
                count = len(registers) // 4
                self.registers(1, count, bytes(2 * count))
                self.text("write", item, *text.split(), "--verify")
                self.assertEqual(self.registers(1, count), registers)
                self.registers(1, count, bytes(2 * count))
                self.registers(1, count, bytes.fromhex(registers))
                self.assertEqual(json.loads(self.text("--format", "json", "read", item))["values"], values)

    def test_values_with_units(self):
        self.registers(6, 1, b"\x01\x15")
        self.assertEqual(self.text("read", "oven\u00a03 TEMP", "Oven 3 temp:hex", "HR6"),
                         "Oven 3 temp  -12.3 °C\nOven 3 temp    0x0115\nHR6               277\n")
        found = json.loads(self.text("--format", "json", "read", "Oven 3 temp"))
        self.assertEqual([found[key] for key in ("address", "name", "type", "unit", "values")],
                         ["HR6", "Oven 3 temp", "int16", "°C", [-12.3]])
        self.registers(30, 2, b"\x20\x41\x00\x00", station=3)
        self.assertEqual([line.split("  ")[0] for line in self.text("read", "*e*").splitlines()],
                         ["Oven 3 temp", "Setpoint oven", "Weight", "Recipe"])
        self.assertIn("10.00 kg", self.text("read", "Weight"))

    def test_station_of_the_project(self):
        self.addCleanup(self.run_host, "project", "create", "--replace", "--tags", "tags.csv")
        self.run_host("--station", "3", "project", "create", "--replace", "--tags", "tags.csv")
        note = "note: HR9 goes to station 1, but signals go to the project's default station 3; --station chooses\n"
        for arguments, said in [(("read", "Recipe", "HR9", "HR8"), note), (("write", "HR9", "7"), note),
                                (("read", "3-HR9", "Recipe"), ""), (("--station", "1", "read", "HR9"), "")]:
            self.assertEqual((arguments, self.run_host(*arguments).stderr), (arguments, said))

    def test_writing_by_name(self):
        self.assertEqual(self.text("write", "Setpoint\u00a0oven", "180.5", "--verify"), "Setpoint oven  180.5 °C\n")
        self.assertEqual(self.registers(20, 1), f"{361:04x}")
        self.text("write", "recipe", "Hello")
        self.assertEqual(self.registers(40, 3), b"Hello\0".hex())
        for arguments, error in [
                (("Setpoint oven", "32768"), "it must be a number from 0 to 32767.5 °C in steps of 0.5\n"),
                (("Setpoint oven", "180.3"), "in steps of 0.5; the nearest are 180 and 180.5\n"),
                (("Recipe", "a", "b"), "is a signal, which has one value"),
                (("Recip?", "Hello"), "write takes one address or the whole name of one signal"),
                (("Recipe*", "Hello"), "write takes one address or the whole name of one signal"),
                (("*oven*", "1"), "can mean more than one command"),
                (("HR1..HR200", "1"), "name its first element only"),
                (("Setpoint", "1"), '"Setpoint" is in no area of the driver (DI, DO, FN5DO, HR, FN6HR, IR); no signal')]:
            with self.subTest(arguments):
                self.assertIn(error, self.refused("write", *arguments))
        self.assertEqual(self.registers(20, 1), f"{361:04x}")

    def test_watch_and_chart(self):
        record, picture = self.path("record.csv"), self.path("chart.svg")
        self.text("watch", "Oven*", "Pump*", "--samples", "2", "--interval", "20", "--csv", record)
        with open(record, encoding="utf-8") as file:
            self.assertEqual(file.readline(), "time,Oven 3 temp [°C],Pump 1 on,milliseconds,error\n")
        self.text("chart", record, "--signals", "oven*", "--output", picture)
        with open(picture, encoding="utf-8") as file:
            drawn = file.read()
        self.assertIn("°C", drawn)
        self.assertNotIn("Pump", drawn)
        self.assertEqual(self.text("watch", "--tags", "--samples", "1").split("  ")[1].split("=")[0], "Oven 3 temp")

    def test_list_comes_back(self):
        exported = self.text("project", "export", "-")
        self.assertIn("3-HR30,Weight,float32,BADC,,,kg,2,\n", exported)
        with open(self.path("out.csv"), "w", encoding="utf-8") as file:
            file.write(exported)
        self.text("project", "import", "out.csv")
        self.assertEqual(self.text("project", "export"), exported)


if __name__ == "__main__":
    unittest.main(verbosity=2)

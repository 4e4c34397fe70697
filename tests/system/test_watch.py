#!/usr/bin/python3
"""watch and chart as people use them: in a terminal, in a pipe, with a slave that comes and goes.

The tests compare what is on the screen, not how it got there.
"""

import csv
import functools
import json
import os
import re
import resource
import signal
import statistics
import subprocess
import sys
import termios
import unittest
import xml.etree.ElementTree
from datetime import datetime

from host_case import HostCase
from slave import Slave
from terminal import Terminal

CONSTANT = ["HR100", "IR100:word:2", "DO3:bit:2"]  # cells of slavesim whose values follow from their numbers


class Watch(HostCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        tags = ["HR7", "HR5", "HR6", "DO3", "1-DO4", "2-DO5", "HR9.3", "HR5"]
        cls.run_host("project", "create", *(word for tag in tags for word in ("--tag", tag)))

    def watch(self, *arguments, slave=None):
        return self.run_host("--device", (slave or self.slave).device, "watch", *arguments)

    def screen(self, *arguments, slave=None, columns=100, lines=24, environment=None):
        terminal = Terminal([self.host, "--device", (slave or self.slave).device, "watch", *arguments],
                            columns, lines, environment)
        self.addCleanup(terminal.close)
        return terminal

    def rows(self, name):
        with open(self.path(name), newline="", encoding="utf-8") as file:
            return list(csv.DictReader(file))

    @staticmethod
    def bytes_of(name):
        with open(name, "rb") as file:
            return file.read()

    @staticmethod
    def number(terminal, what):
        """The number in front of a word of the status lines."""
        found = re.search(rf"(\d+) {re.escape(what)}", terminal.text())
        return int(found[1]) if found else -1

    def wait_samples(self, terminal, count):
        terminal.wait_until(lambda t: self.number(t, "sample(s)") >= count, f"{count} samples")

    def row(self, terminal, address):
        """The cells of a line of the table, by its address."""
        return next((line.split() for line in terminal.lines() if line.split()[:1] == [address]), [])

    @staticmethod
    def selected(terminal):
        """The name that stands out below the title."""
        lines = [terminal.screen.buffer[y] for y in range(1, terminal.screen.lines)]
        return "".join(line[x].data for line in lines for x in range(terminal.screen.columns) if line[x].reverse).strip()

    # The screen

    def test_table(self):
        terminal = self.screen(*CONSTANT, "HR65536:word:2", "--interval", "20")
        self.wait_samples(terminal, 30)
        self.assertRegex(terminal.lines()[0], rf"driverhost watch +{self.slave.device} +station 1 +every 20 ms")
        self.assertEqual(terminal.lines()[1].split(),
                         "ADDRESS VALUE MIN MAX TREND AGE READS FAILED LAST ERROR".split())
        for address, value, trend in [("HR100", "100", "▅"), ("IR101", "65434", "▅"), ("DO3", "1", "█"),
                                      ("DO4", "0", "▁")]:
            cells = self.row(terminal, address)
            self.assertEqual(cells[:4], [address, value, value, value])
            self.assertEqual(set(cells[4]), {trend})
        failing = next(line for line in terminal.lines() if line.startswith("HR65536"))
        self.assertRegex(failing, r"HR65536 +- +- +(\d+) +\1 +can't read any word")
        self.assertRegex(terminal.text(), r"link +connected  0 reconnection\(s\)")
        self.assertRegex(terminal.text(), r"round trip  median \d+\.\d\d ms  95 % within \d+\.\d\d ms")
        self.assertRegex(terminal.text(), r"last error  \d\d:\d\d:\d\d UTC  read 2 word\(s\) from 1-HR65536> can't")
        terminal.send("q")
        self.assertEqual(terminal.wait_end(), 0)
        self.assertRegex(terminal.text(), r"\d+ sample\(s\), \d+ command\(s\), \d+ failed, \d+ slot\(s\) missed")

    def test_moving_values(self):
        with Slave(os.environ["SLAVESIM"], "--moving") as slave:
            terminal = self.screen("IR3", "DI1", "HR4:dword", "--as", "float", "--interval", "50", slave=slave)
            terminal.wait_until(lambda t: len(set(self.row(t, "IR3")[4:5] and self.row(t, "IR3")[4])) >= 5,
                                "a trend of five heights")
            self.assertLess(int(self.row(terminal, "IR3")[2]), int(self.row(terminal, "IR3")[3]))
            terminal.wait_until(lambda t: set(self.row(t, "DI1")[4]) == {"▁", "█"}, "a bit that blinks")
            self.assertTrue(-1 <= float(self.row(terminal, "HR4")[1]) <= 1)

    def test_pause(self):
        terminal = self.screen("HR1", "--interval", "20", "--csv", self.path("pause.csv"))
        self.wait_samples(terminal, 3)
        terminal.send("p")
        terminal.wait_for("PAUSED")
        terminal.wait_until(lambda t: float(self.row(t, "HR1")[5]) > 0.5, "the age to grow")
        held = self.number(terminal, "sample(s)")
        terminal.wait_until(lambda t: float(self.row(t, "HR1")[5]) > 1.0, "the age to grow further")
        self.assertEqual(self.number(terminal, "sample(s)"), held)
        missed = self.number(terminal, "missed")
        terminal.send("p")
        self.wait_samples(terminal, held + 3)
        self.assertNotIn("PAUSED", terminal.text())
        self.assertLess(self.number(terminal, "missed") - missed, 20)  # a second of pause is 50 slots
        gaps = [row["error"] for row in self.rows("pause.csv") if not row["HR1"]]
        self.assertRegex(" ".join(gaps), r"nothing was read for [1-9]\d*\.\d s")

    def test_resize_and_scroll(self):
        terminal = self.screen("HR1:word:40", "HR65536:word:2", "--interval", "20", columns=100, lines=24)
        terminal.wait_for("of 42")
        for columns, lines, gone in [(60, 12, "READS"), (30, 8, "TREND"), (130, 30, None), (12, 3, "VALUE")]:
            terminal.resize(columns, lines)
            terminal.wait_until(lambda t: t.lines()[1].startswith("ADDRESS") and self.row(t, "HR1"), "the table")
            terminal.wait_until(lambda t: gone is None or gone not in t.text(), f"{gone} to go")
        terminal.resize(80, 24)
        terminal.send("\x1b[B\x1b[B")
        terminal.wait_until(lambda t: self.selected(t) == "HR3", "two lines down")
        terminal.send("\x1b[4~")
        terminal.wait_until(lambda t: self.selected(t) == "HR65537", "the last line")
        terminal.wait_for(" 26-42 of 42")
        terminal.send("\x1b[5~")
        terminal.wait_until(lambda t: self.selected(t) == "HR25", "a page up")

    def test_write(self):
        with Slave(os.environ["SLAVESIM"], "--stations", "1") as slave:
            terminal = self.screen("HR5", "HR6:int16:2", "9-HR5", "IR7", "--interval", "20", "--timeout", "100",
                                   "--retry", "0", slave=slave)
            self.wait_samples(terminal, 3)
            for keys, said in [("\x1b[B\x1b[Bw", "new value for HR7 (Enter takes it, Esc ends): _"),
                               ("-40000\r", 'value 1, "-40000", does not fit an int16'),
                               ("\x7f\r", "write -4000 to HR7? y writes, any other key does not"),
                               ("\r", "nothing was written"), ("w-4\r", "write -4 to HR7?"),
                               ("y", "-4 is written to HR7 and read back"),
                               ("\x1b[Bw1\ry", "write 1 word(s) to 9-HR5> no answer from"), ("\x1b[Bw1\ry", "can't write any word to IR7"),
                               ("xw", "new value for IR7 in decimal (Enter takes it, Esc ends): _")]:
                terminal.send(keys)
                terminal.wait_for(said)
            terminal.wait_until(lambda t: self.row(t, "HR7")[1] == "-4", "the new value")
            done = self.run_host("--device", slave.device, "read", "HR5..HR8:int16")
            self.assertEqual(done.stdout.split(), ["HR5", "5", "HR6", "6", "HR7", "-4", "HR8", "8"])

    def test_what_changes_stands_out(self):
        with Slave(os.environ["SLAVESIM"]) as slave:
            terminal = self.screen("HR5", "HR6", "--interval", "20", slave=slave)
            self.wait_samples(terminal, 3)
            self.run_host("--device", slave.device, "write", "HR6", "42")
            def changed(line):
                cells = terminal.screen.buffer[line]
                return "".join(cells[x].data for x in range(100) if cells[x].fg == "magenta" and cells[x].bold).strip()

            terminal.wait_until(lambda t: changed(3) == "42", "the new value to stand out")
            self.assertEqual(changed(2), "")
            terminal.wait_until(lambda t: changed(3) == "", "its end")

    def test_filter_notation_extremes_and_help(self):
        terminal = self.screen("HR5:word:30", "DO3", "--interval", "20")
        self.wait_samples(terminal, 3)
        terminal.send("/R1")
        terminal.wait_for("show rows with (Enter keeps it, Esc shows all): R1_")
        terminal.wait_until(lambda t: [line.split()[0] for line in t.lines()[2:12]] == [f"HR1{i}" for i in range(10)],
                            "ten rows")
        terminal.send("\rxr")
        terminal.wait_until(lambda t: self.row(t, "HR10")[1:4] == ["0x000a"] * 3, "hexadecimal")
        self.assertIn('"R1"  10 of 31', terminal.lines()[0])
        terminal.send("?")
        terminal.wait_for("w       write the selected value")
        terminal.send("?/\x1b")
        terminal.wait_until(lambda t: self.row(t, "HR5") and "of 31" in t.lines()[0], "all rows")

    def test_bad_tag_among_a_hundred(self):
        with Slave(os.environ["SLAVESIM"], "--serve", "HR=1-60", "--serve", "HR=62-100", "--stats") as slave:
            done = self.watch(*(f"HR{number}" for number in range(1, 101)), "--interval", "20", "--samples", "9",
                              "--retry", "0", "--format", "json", slave=slave)
            line = self.watch("HR1..HR100", "--interval", "20", "--samples", "1", slave=slave).stdout
            requests = int(re.search(r"(\d+) requests", slave.stop())[1])
        for sample in map(json.loads, done.stdout.splitlines()):
            bad = [reading for reading in sample["readings"] if "error" in reading]
            self.assertEqual([(reading["address"], reading["error"]) for reading in bad],
                             [("HR61", "read 1 word(s) from 1-HR61> exception code:02")])
        self.assertLess(requests, 10 * 10 + 2 * 20)
        self.assertRegex(line, r"HR60=60  HR61 error: read 1 word\(s\) from 1-HR61> exception code:02  HR62=62  .*=100$")

    def test_silent_station(self):
        with Slave(os.environ["SLAVESIM"], "--stations", "1") as slave:
            terminal = self.screen("9-HR5:word:2", "HR5", "9-DO3", "--interval", "50", "--timeout", "400", columns=60,
                                   slave=slave)
            silent = r"9-HR5 +- .*no answer, attempt 2 of 4\n9-HR6(.*\n)+9-DO3 +- .*no answer, attempt 2 of 4"
            terminal.wait_until(lambda t: re.search(silent, t.text()), "the silence")
            terminal.wait_for("station 9: no answer, attempt 2 of 4")
            self.wait_samples(terminal, 10)
            self.assertEqual(self.row(terminal, "HR5")[1], "5")
            self.assertRegex(terminal.text(), "9-HR5 .*no answer (just before|from)")
            missed = self.number(terminal, "missed")
            self.wait_samples(terminal, 30)
            self.assertLess(self.number(terminal, "missed") - missed, 20)  # a quarter of the time is for the silent one

    def test_terminal_is_left_as_it_was(self):
        before = termios.tcgetattr(os.openpty()[1])
        kill, interrupt = signal.SIGTERM, signal.SIGINT
        both = [signal.SIGSTOP, kill, interrupt, signal.SIGCONT]  # so that they come at once
        for end, statuses in [("q", [0]), ("\x03", [130]), ([kill], [130]), (both, [-kill, -interrupt]),
                              *(([end], [-end]) for end in [signal.SIGHUP, signal.SIGPIPE, signal.SIGSEGV])]:
            with self.subTest(end):
                terminal = self.screen("HR5", "--interval", "20")
                self.wait_samples(terminal, 3)
                self.assertNotEqual(termios.tcgetattr(terminal.descriptor), before)
                self.assertTrue(terminal.screen.cursor.hidden)
                if isinstance(end, str):
                    terminal.send(end)
                else:
                    for number in end:
                        os.kill(terminal.pid, number)
                self.assertIn(terminal.wait_end(), statuses)
                self.assertEqual(termios.tcgetattr(terminal.descriptor), before)
                self.assertFalse(terminal.screen.cursor.hidden)

    def test_waits_without_work(self):
        def seconds():
            with open(f"/proc/{terminal.pid}/stat", encoding="ascii") as file:
                return sum(map(int, file.read().rpartition(")")[2].split()[11:13])) / os.sysconf("SC_CLK_TCK")

        terminal = self.screen("HR1:word:100", "--interval", "250")
        self.wait_samples(terminal, 2)
        before, count = seconds(), self.number(terminal, "sample(s)")
        self.wait_samples(terminal, count + 8)
        self.assertLess(seconds() - before, 0.5)  # of two seconds

    def test_slave_goes_and_comes_back(self):
        with Slave(os.environ["SLAVESIM"]) as slave:
            terminal = self.screen("HR5", "DO3", "--interval", "50", "--timeout", "500", "--retry", "0", slave=slave)
            terminal.wait_for("connected")
            slave.stop()
            terminal.wait_for("no connection")
            terminal.wait_for(f"connection refused by {slave.device}")
            self.assertEqual(self.row(terminal, "HR5")[:2], ["HR5", "5"])  # the last value stays
            slave.start()
            terminal.wait_for("1 reconnection(s)")
            terminal.wait_for(" connected")
            good = self.number(terminal, "sample(s)")
            self.wait_samples(terminal, good + 5)
            terminal.send("\x03")
            self.assertEqual(terminal.wait_end(), 130)

    def test_keys_work_while_the_device_is_silent(self):
        with Slave(os.environ["SLAVESIM"], "--fault", "drop", "--fault-every", "1") as slave:
            terminal = self.screen("HR5", "--timeout", "600000", slave=slave)
            terminal.wait_for("connecting")
            terminal.send("q")
            self.assertEqual(terminal.wait_end(), 0)

    def test_colours_and_characters(self):
        for environment, colours, trend in [({}, {"default", "cyan", "green"}, "▅"),
                                            ({"NO_COLOR": "1"}, {"default"}, "▅"),
                                            ({"NO_COLOR": "", "LC_ALL": "C"}, {"default", "cyan", "green"}, "~")]:
            with self.subTest(environment):
                variables = {name: value for name, value in environment.items() if name != "LC_ALL"}
                terminal = self.screen_in_locale(environment.get("LC_ALL", "C.UTF-8"), variables)
                self.wait_samples(terminal, 5)
                cells = [cell for line in terminal.screen.buffer.values() for cell in line.values()]
                self.assertEqual({cell.fg for cell in cells}, colours)
                self.assertIn(trend, self.row(terminal, "HR5")[4])

    def screen_in_locale(self, locale, environment):
        """env(1) overrides what Terminal has set for its program."""
        terminal = Terminal(["/usr/bin/env", f"LC_ALL={locale}", self.host, "--device", self.slave.device, "watch",
                             "HR5", "--interval", "20"], 80, 24, environment)
        self.addCleanup(terminal.close)
        return terminal

    # Records

    def test_record(self):
        done = self.watch(*CONSTANT, "HR4:dword", "HR65536:word:2", "--interval", "300", "--samples", "3", "--csv",
                          self.path("record.csv"))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(done.stdout.splitlines()), 3)
        rows = self.rows("record.csv")
        self.assertEqual(",".join(rows[0]),
                         "time,HR100,IR100,IR101,DO3,DO4,HR4:dword,HR65536,HR65537,milliseconds,error")
        self.assertEqual(len(rows), 3)
        for row, line in zip(rows, done.stdout.splitlines()):
            self.assertRegex(row["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
            self.assertTrue(line.startswith(row["time"] + "  HR100=100  IR100=65435  "), line)
            self.assertEqual(list(row.values())[1:9], ["100", "65435", "65434", "1", "0", str(5 * 65536 + 4), "", ""])
            self.assertGreater(float(row["milliseconds"]), 0)
            self.assertEqual(row["error"],
                             "HR65536: read 2 word(s) from 1-HR65536> can't read any word from HR65536")

    def test_record_is_continued_or_left_alone(self):
        file = self.path("continued.csv")
        self.watch("HR5", "--samples", "2", "--interval", "10", "--csv", file)
        with open(file, "a", encoding="utf-8") as record:
            record.write("2026-11-2")  # the power failed here
        self.watch("HR5", "--samples", "1", "--csv", file)
        self.assertEqual([(row["HR5"], row["error"]) for row in self.rows("continued.csv")],
                         [("5", ""), ("5", ""), ("", "watch was started again"), ("5", "")])
        before = self.bytes_of(file)
        for other in [["HR6"], ["HR5", "HR6"], ["HR5:int16"], ["HR5", "--as", "int"], ["HR5", "--station", "3"]]:
            done = self.watch(*other, "--samples", "1", "--csv", file)
            self.assertEqual(done.returncode, 2, other)
            self.assertIn("does not have the columns of this record", done.stderr)
        self.assertEqual(self.bytes_of(file), before)

    def test_values_stand_at_their_times(self):
        with Slave(os.environ["SLAVESIM"], "--fault", "late", "--fault-every", "1", "--late-ms", "150") as slave:
            self.watch("HR5", "DO3", "--interval", "100", "--samples", "2", "--csv", self.path("slow.csv"), slave=slave)
        rows = self.rows("slow.csv")
        self.assertEqual([(row["HR5"], row["DO3"], bool(row["milliseconds"])) for row in rows],
                         [("5", "", False), ("", "1", True)] * 2)
        times = [datetime.fromisoformat(row["time"].replace("Z", "+00:00")).timestamp() for row in rows]
        self.assertTrue(all(later - time > 0.14 for time, later in zip(times, times[1:])), times)

    def test_full_disk(self):
        done = self.watch("HR5", "--samples", "3", "--interval", "10", "--csv", "/dev/full")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(len(done.stdout.splitlines()), 3)
        self.assertEqual(done.stderr.count("No space left on device; polling goes on"), 1)
        self.assertIn("3 row(s) are missing in /dev/full", done.stderr)
        terminal = self.screen("HR5", "--interval", "20", "--csv", "/dev/full")
        terminal.wait_until(lambda t: re.search(r"/dev/full  0 row\(s\)  \d\d+ lost  No space left on device", t.text()),
                            "lost rows")
        self.assertIn(" connected", terminal.text())
        terminal.send("q")
        self.assertEqual(terminal.wait_end(), 1)

    def test_interrupted_in_a_pipe(self):
        file = self.path("interrupted.csv")
        process = subprocess.Popen([self.host, "--device", self.slave.device, "watch", "HR5", "--interval", "10",
                                    "--csv", file], stdout=subprocess.PIPE, text=True)
        lines = [process.stdout.readline() for _ in range(10)]
        process.send_signal(2)
        lines += process.communicate(timeout=30)[0].splitlines()
        self.assertEqual(process.returncode, 130)
        self.assertEqual(sum(bool(row["HR5"]) for row in self.rows("interrupted.csv")), len(lines))

    # Limits of the system

    def limited(self, limit, *arguments):
        """One sample under a limit of bash's ulimit: exit status and text of the error."""
        command = ["bash", "-c", f'ulimit {limit}; exec "$@"', "bash", self.host, *arguments]
        done = subprocess.run(command, capture_output=True, text=True, timeout=60, stdin=subprocess.DEVNULL)
        return done.returncode, done.stderr

    def watch_limited(self, limit):
        port = self.slave.device.rpartition(":")[2]
        return self.limited(limit, "--device", "localhost:" + port, "--retry", "0", "watch", "HR1:word:100",
                            "--samples", "1")

    def test_no_thread(self):
        status, error = self.watch_limited("-s 200000000000")  # a stack too large for any address space
        self.assertEqual(status, 1)
        self.assertRegex(error, "^error: the system gives no more: .+\n$")

    def test_no_descriptor_or_memory(self):
        limits = [f"-n {number}" for number in range(4, 10)]
        with open(self.host, "rb") as file:
            if b"__asan" not in file.read():  # the sanitizer itself needs terabytes
                limits += [f"-v {size}" for size in range(40000, 120000, 1000)]
        started = [limit for limit in limits if self.limited(limit, "--version")[0] == 0]
        outcomes = [self.watch_limited(limit) for limit in started]
        for limit, (status, error) in zip(started, outcomes):
            self.assertIn(status, (0, 1, 2), limit)
            self.assertEqual(error.count("error: "), 0 if status == 0 else 1, limit)
        self.assertGreater(sum(status != 0 for status, _ in outcomes), 0)
        self.assertEqual(outcomes[-1][0], 0)

    SILENT_NAME_SERVER = """
import fcntl, os, socket, struct, subprocess, sys
silent = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
fcntl.ioctl(silent, 0x8914, struct.pack("16sh14x", b"lo", 0x41))  # SIOCSIFFLAGS: brings the loopback up
silent.bind(("127.0.0.1", 53))
watch = subprocess.Popen(sys.argv[1:], stdout=subprocess.PIPE)
lines = [watch.stdout.readline() for _ in range(40)]
print(sum(b"was not resolved in time" in line for line in lines), len(os.listdir(f"/proc/{watch.pid}/task")))
watch.send_signal(2)
print(watch.wait(10))
"""

    def test_silent_name_server(self):
        with open(self.path("resolv.conf"), "w", encoding="ascii") as file:
            file.write("nameserver 127.0.0.1\n")
        apart = ["unshare", "-rmn", "sh", "-c", 'mount --bind "$0" /etc/resolv.conf && exec "$@"', file.name]
        if subprocess.run([*apart, "true"], capture_output=True, check=False).returncode != 0:
            self.skipTest("this system allows no namespaces of one's own")
        done = subprocess.run(
            [*apart, sys.executable, "-c", self.SILENT_NAME_SERVER, self.host, "--device", "plc.example",
             "--timeout", "20", "--retry", "0", "watch", "HR1", "--interval", "20"],
            capture_output=True, text=True, timeout=60)
        self.assertEqual(done.stdout.split(), ["40", "3", "130"])  # the screen's, the poller's, the look-up's

    # Time

    def test_intervals_do_not_drift(self):
        interval, seconds = 50, 4
        self.watch("HR5", "--interval", str(interval), "--for", str(seconds), "--csv", self.path("drift.csv"))
        times = [datetime.fromisoformat(row["time"].replace("Z", "+00:00")).timestamp() * 1000
                 for row in self.rows("drift.csv") if row["HR5"]]
        self.assertLessEqual(len(times), seconds * 1000 // interval)
        self.assertGreater(len(times), seconds * 1000 // interval * 0.6)
        late = [(time - times[0] + interval / 2) % interval - interval / 2 for time in times]
        self.assertLess(abs(statistics.median(late[-20:]) - statistics.median(late[:20])), interval / 5)

    def test_slow_device_misses_slots(self):
        options = ["--fault", "late", "--fault-every", "1", "--late-ms", "110", "--stats"]
        with Slave(os.environ["SLAVESIM"], *options) as slave:
            done = self.watch("HR5", "--interval", "50", "--samples", "8", "--format", "json", slave=slave)
            samples = [json.loads(line) for line in done.stdout.splitlines()]
            times = [datetime.fromisoformat(sample["time"].replace("Z", "+00:00")).timestamp() for sample in samples]
            self.assertEqual([sample["sample"] for sample in samples], list(range(1, 9)))
            self.assertGreaterEqual(times[-1] - times[0], 7 * 0.150 - 0.025)  # every third slot
            self.assertIn("slavesim: 8 requests, ", slave.stop())

    def test_neighbours_are_read_together(self):
        items = ["HR9:byte:3", "HR1", "HR2:float32", "HR4SW:dword", "HR5.14:bit:20", "HR7:string(4):ABCD", "HR11:int64:BADC",
                 "HR6:hex", "HR15:dword", "DO3", "DO4:bit:9", "DI5:bit:3", "DI8"]
        with Slave(os.environ["SLAVESIM"], "--stats") as slave:
            done = self.watch(*items, "--samples", "1", "--format", "json", slave=slave)
            together = json.loads(done.stdout)["readings"]
            self.assertIn("slavesim: 3 requests, ", slave.stop())
        done = self.run_host("--device", self.slave.device, "--format", "json", "read", *items)
        alone = [json.loads(line) for line in done.stdout.splitlines()]
        for reading in together + alone:
            del reading["milliseconds"]
        self.assertEqual(together, alone)

    # JSON, tags, wrong command lines

    def test_json_and_tags(self):
        done = self.watch("--tags", "--station", "1", "--samples", "2", "--interval", "10", "--format", "json")
        self.assertEqual(done.stderr, "note: 1 tag(s) of other stations than 1 are left out\n")
        samples = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([sample["sample"] for sample in samples], [1, 2])
        self.assertEqual([(r["address"], r["type"], r["values"]) for r in samples[1]["readings"]],
                         [("HR7", "word", [7]), ("HR5", "word", [5]), ("HR6", "word", [6]), ("DO3", "bit", [1]),
                          ("1-DO4", "bit", [0]), ("HR9.3", "bit", [1]), ("HR5", "word", [5])])

    def test_refused(self):
        for arguments, status, error in [
                ([], 2, "watch needs either addresses or --tags"),
                (["HR1", "--tags"], 2, "watch needs either addresses or --tags"),
                (["HR1:wrd"], 2, '"wrd" behind "HR1" is no type (bool, int16, '),
                (["HR1:word:10001"], 2, "watch takes at most 10000 elements at once"),
                (["QX1"], 2, "is in no area of the driver"),
                (["HR1", "--as", "float"], 2, "float needs --type float32, float64 or dword, not word"),
                (["HR1", "--interval", "0"], 2, "--interval"),
                (["HR1", "--samples", "1", "--for", "1"], 2, "--for"),
                (["HR1", "--csv", "/nonexistent/x.csv"], 2, "cannot write /nonexistent/x.csv"),
                (["--tags", "--link", "7"], 1, "link 7 has no tags"),
                (["HR1:qword", "--samples", "1"], 1, "does not read qword")]:
            with self.subTest(arguments):
                done = self.watch(*arguments)
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertIn(error, done.stderr)

    # Charts

    def test_chart(self):
        record, picture = self.path("chart.csv"), self.path("chart.svg")
        self.watch("HR5", "DO3", "--samples", "5", "--interval", "10", "--csv", record)
        done = self.run_host("chart", record, "--output", picture)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        drawing = self.bytes_of(picture)
        for text in ["chart", "HR5", "DO3", "value", "bits", "seconds since 20"]:
            self.assertIn(text.encode(), drawing)
        self.assertEqual(self.run_host("chart", record, "--output", self.path("chart.png")).returncode, 0)
        self.assertEqual(self.bytes_of(self.path("chart.png"))[:8], b"\x89PNG\r\n\x1a\n")
        bare = self.run_host("chart", record, "--output", picture, environment={"PATH": self.folder.name})
        self.assertEqual(bare.returncode, 1)
        self.assertIn("gnuplot, which draws the charts, is not installed", bare.stderr)
        self.assertEqual(self.bytes_of(picture), drawing)

    def test_texts_in_a_chart_stay_texts(self):
        for text in ["it's \"said\"", "`touch pwned`", "'; system('touch pwned') #", "$(touch pwned) | touch pwned",
                     "@GNUTERM", "100 % %n %s %1", "{x}_y^2 \\", "a & b <script>alert(1)< script>", "''`7", "Ofen 3 °C"]:
            with self.subTest(text):
                record, picture = self.path(f"{text}.csv"), self.path(f"{text}.svg")
                with open(record, "w", newline="", encoding="utf-8") as file:
                    csv.writer(file).writerows([["time", text, text + "~", "milliseconds", "error"],
                                                ["2026-11-22T22:58:05.250Z", 5, 1, 1, ""],
                                                ["2026-11-22T22:58:06.250Z", 7, 0, 1, ""]])
                done = self.run_host("chart", record, "--output", picture, "--signals", text, "--columns", text + "~")
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                texts = [element.text for element in xml.etree.ElementTree.parse(picture).iter() if element.text]
                self.assertTrue({text, text + "~"} <= set(texts), texts)
                self.assertEqual(texts.count(text), 2)  # the title and the curve
                self.assertFalse(os.path.exists(self.path("pwned")))

    def test_line_breaks_in_a_chart_run_nothing(self):
        attack = "HR1\n!touch pwned\n#"
        heading, hidden, name = self.path("heading.csv"), self.path("hidden.csv"), self.path(f"{attack}.csv")
        for file, column in [(heading, f'"{attack}"'), (hidden, '"HR1\0x"'), (name, "HR1")]:
            with open(file, "w", encoding="utf-8") as record:
                record.write(f"time,{column},milliseconds,error\n2026-11-22T22:58:05.250Z,5,1,\n")
        control = "the heading of column 2 has a control character in it"
        for record, status, said in [(heading, 1, control), (hidden, 1, control), (name, 0, "")]:
            done = self.run_host("chart", record, "--output", self.path(f"{attack}.svg"), "--title", attack)
            self.assertEqual(done.returncode, status, done.stderr)
            self.assertIn(said, done.stderr)
        self.assertIn(b"HR1\\x0a!touch pwned\\x0a#", self.bytes_of(self.path(f"{attack}.svg")))
        self.assertFalse(os.path.exists(self.path("pwned")))

    def test_chart_on_a_full_disk(self):
        record, picture = self.path("disk.csv"), self.path("disk.svg")
        self.watch("HR5", "--samples", "2", "--interval", "10", "--csv", record)
        self.run_host("chart", record, "--output", picture)
        drawing = self.bytes_of(picture)
        full = functools.partial(resource.setrlimit, resource.RLIMIT_FSIZE, (4096, 4096))
        done = subprocess.run([self.host, "chart", record, "--output", picture], capture_output=True, text=True,
                              preexec_fn=full, timeout=60)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn(f"{picture}: File too large", done.stderr)
        self.assertEqual(self.bytes_of(picture), drawing)
        self.assertEqual(sorted(name for name in os.listdir(self.folder.name) if name.startswith("disk")),
                         ["disk.csv", "disk.svg"])


if __name__ == "__main__":
    unittest.main(verbosity=2)

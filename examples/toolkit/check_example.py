#!/usr/bin/env python3
"""check_example.py DOCUMENT SOURCE PROGRAM: checks that the document shows the source exactly, followed by what the
program prints. The document's code blocks begin with ```cpp, the outputs that follow them with ```text."""

import difflib
import re
import subprocess
import sys


def fail(title, shown, actual):
    lines = difflib.unified_diff(shown.splitlines(), actual.splitlines(), "shown", "actual", lineterm="")
    sys.exit("\n".join([title, *lines]))


document, source, program = sys.argv[1:]
with open(document, encoding="utf-8") as file:
    pairs = re.findall(r"^```cpp\n(.*?)^```\n+```text\n(.*?)^```$", file.read(), re.S | re.M)
with open(source, encoding="utf-8") as file:
    code = file.read()

shown = [pair for pair in pairs if pair[0] == code]
if not shown:
    similar = difflib.get_close_matches(code, [pair[0] for pair in pairs], 1, 0)
    fail(f"{document} does not show {source}", similar[0] if similar else "", code)

output = subprocess.run([program], stdout=subprocess.PIPE, timeout=60, check=True).stdout.decode("utf-8")
if shown[0][1] != output:
    fail(f"{document} does not show what {program} prints", shown[0][1], output)

#!/usr/bin/env python3
"""Puts single faults into C++ files, builds, runs the tests that cover them and lists the faults that no test finds.

mutants.py [--sample N] [--seed S] [FILE...]

FILE are sources below runtime/, host/ or simulator/; without any all of them. --sample tries N faults, chosen by the
seed (0), instead of every one. The work is done in a copy below build/mutants, so that the checkout stays as it is."""

import argparse
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutants"
TREE, BUILD = WORK / "tree", WORK / "build"

# The tests that cover each folder.
TESTS = {"runtime": "^(unit|fuzz)[.]", "host": "^(host|system)[.]", "simulator": "^system[.](slavesim|commissioning)"}

SWAPS = [(" == ", " != "), (" != ", " == "), (" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "),
         (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "), ("true", "false"), ("false", "true")]
STATEMENT = re.compile(r"^\s+(?=\S)(?!return|break|continue|case|default|const |auto |static |using |else|\})"
                       r"[^\"]*[\w)];$")
DECLARATION = re.compile(r"^\s+[\w:<>*&, ]+ [\w\[\]]+( = .*|\{.*|\(.*\))?;$")


def faults_in(line):
    """Every changed form of a line of code."""
    code = line.split("//")[0]
    if not code.strip() or code.lstrip().startswith(("#", "///", "*", "static_assert", "Q_", "using ", "namespace ")):
        return
    for old, new in SWAPS:
        for match in re.finditer(re.escape(old) if old[0] == " " else rf"\b{old}\b", code):
            yield code[:match.start()] + new + code[match.end():]
    for match in re.finditer(r"(?<![\w.\"'x])\d+(?![\w.\"'])", code):
        before = code[:match.start()]
        in_text = before.replace('\\"', "").count('"') % 2 == 1  # for people, unless it is a place such as %1
        if not in_text or before.endswith("%"):
            yield before + str(int(match.group()) + 1) + code[match.end():]
    condition = re.match(r"^(\s*(?:if|while) \()(.*)\)( \{)?$", code.rstrip())
    if condition and condition.group(2).count("(") == condition.group(2).count(")"):
        yield f"{condition.group(1)}!({condition.group(2)})){condition.group(3) or ''}"
    if STATEMENT.match(code.rstrip()) and code.count("(") == code.count(")") and not DECLARATION.match(code.rstrip()):
        yield re.match(r"\s*", code).group() + ";"


def run(command, limit=None):
    try:
        return subprocess.run(command, cwd=TREE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              timeout=limit, stdin=subprocess.DEVNULL)
    except subprocess.TimeoutExpired:
        return None


def build():
    return run(["cmake", "--build", BUILD]).returncode == 0


def tests_pass(folder, limit):
    done = run(["ctest", "--test-dir", BUILD, "-R", TESTS[folder], "--stop-on-failure", "--timeout", "120"], limit)
    return done is not None and done.returncode == 0


def verdict(file, number, changed, limit):
    """'found', 'not found', or 'does not build' for one fault; restores the file afterwards."""
    path = TREE / file
    original = path.read_text()
    lines = original.splitlines()
    lines[number] = changed
    path.write_text("\n".join(lines) + "\n")
    try:
        if not build():
            return "does not build"
        return "not found" if tests_pass(file.split("/")[0], limit) else "found"
    finally:
        path.write_text(original)


def prepare(folders):
    shutil.rmtree(TREE, ignore_errors=True)
    for file in subprocess.run(["git", "ls-files"], cwd=ROOT, text=True, capture_output=True).stdout.splitlines():
        if (ROOT / file).exists():
            (TREE / file).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(ROOT / file, TREE / file)
    run(["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
         "-DCMAKE_CXX_FLAGS=-D_GLIBCXX_ASSERTIONS"])
    if not build():
        sys.exit("mutants: the sources do not build as they are")
    limits = {}
    for folder in folders:
        start = time.monotonic()
        if not tests_pass(folder, None):
            sys.exit(f"mutants: the tests of {folder} fail as they are")
        limits[folder] = 60 + 5 * (time.monotonic() - start)
    return limits


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1])
    parser.add_argument("--sample", type=int)
    parser.add_argument("--seed", type=int, default=0)
    parser.add_argument("files", nargs="*")
    options = parser.parse_args()
    listed = subprocess.run(["git", "ls-files", *(f"{folder}/*.cpp" for folder in TESTS)], cwd=ROOT, text=True,
                            capture_output=True, check=True).stdout.split()
    unknown = set(options.files) - set(listed)
    if unknown:
        sys.exit(f"mutants: {', '.join(sorted(unknown))}: not a source below {', '.join(TESTS)}")

    faults = [(file, number, changed) for file in options.files or listed
              for number, line in enumerate((ROOT / file).read_text().splitlines()) for changed in faults_in(line)]
    random.Random(options.seed).shuffle(faults)
    faults = faults[:options.sample]
    limits = prepare(sorted({file.split("/")[0] for file, _, _ in faults}))
    count = {}
    for index, (file, number, changed) in enumerate(faults, 1):
        if sys.stderr.isatty():
            print(f"\r{index} of {len(faults)}  {count}", end="\033[K", file=sys.stderr)
        folder = file.split("/")[0]
        result = verdict(file, number, changed, limits[folder])
        count.setdefault(folder, {}).setdefault(result, 0)
        count[folder][result] += 1
        if result == "not found":
            was = (ROOT / file).read_text().splitlines()[number].strip()
            print(f"{file}:{number + 1}: {was}\n    as: {changed.strip()}", flush=True)
    for folder, results in sorted(count.items()):
        found, missed = results.get("found", 0), results.get("not found", 0)
        print(f"{folder}: {found} of {found + missed} faults found, {results.get('does not build', 0)} did not build")


if __name__ == "__main__":
    main()

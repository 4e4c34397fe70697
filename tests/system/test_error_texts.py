#!/usr/bin/env python3
"""Every text with which driverhost refuses something stands on the page docs/errors.md.

Looks in host/ for phrases of three words or more that are returned, assigned or reported as an error, a problem or a
note. A phrase that is missing is printed with its place: add it to a table of the page, in backquotes, with any values
in the place of %1. Host texts say "cannot"; other spellings are the driver's.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What these say is no error: output, screen, pictures, traces.
SHOWN = re.compile(r"commands/info|watch/(screen|time_axis|chart_script|sample_text)|session/frame_trace|cli/examples")
REFUSAL = re.compile(
    r"(?:[eE]rror|[pP]roblem|[nN]otes?|[tT]ext|reason)\s*\+?=(?!=)|\b(?:Error|fail|stopped|notADriver|wrong)\(|Error\("
    r"|\berr\s*<<|\breturn\b")
LITERAL = re.compile(r'(==\s*)?(?:QStringLiteral|QLatin1String)?\(?\s*"((?:[^"\\\n]|\\.)*)"')
NO_PHRASE = re.compile(r"\b(SELECT|INSERT|WHERE|CREATE|PRAGMA)\b")


def statements(source):
    """The statements of a source, with string literals in one piece, and the line in which each ends."""
    lines = [re.sub(r"(^|[\s;{}])//.*", r"\1", line).replace("'\"'", "") for line in source.split("\n")]
    text, number = "", 1
    for number, line in enumerate(lines, 1):
        text += " " + line
        if re.search(r"[;{}:]\s*$", line):
            yield number, re.sub(r'"\s+"', "", text)
            text = ""


def phrases():
    for file in sorted((ROOT / "host").rglob("*.cpp")):
        name = file.relative_to(ROOT).as_posix()
        if SHOWN.search(name):
            continue
        for number, statement in statements(file.read_text(encoding="utf-8")):
            if not REFUSAL.search(statement):
                continue
            for compared, text in LITERAL.findall(statement):
                text = text.replace('\\"', '"').replace("\\n", "").strip()
                words = [word for word in text.split() if re.search("[A-Za-z]", word)]
                if len(words) > 2 and not compared and not NO_PHRASE.search(text):
                    yield f"{name}:{number}", text


def main():
    page = (ROOT / "docs/errors.md").read_text(encoding="utf-8")
    said = [text.replace("\\|", "|") for text in re.findall(r"`([^`\n]+)`", page)]
    wrong, found = [], 0
    for place, text in phrases():
        found += 1
        pattern = re.compile(".+?".join(map(re.escape, re.split("%[0-9]", text))))
        if not any(pattern.search(one) for one in said):
            wrong.append(f'{place}: docs/errors.md lacks "{text}"')
        if re.search(r"can't|can not", text) and text != "can not open database":
            wrong.append(f'{place}: "{text}" says no "cannot"')
    print("\n".join(wrong) or f"{found} texts are on the page")
    return 1 if wrong or found < 100 else 0


sys.exit(main())

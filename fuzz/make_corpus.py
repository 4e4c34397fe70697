#!/usr/bin/env python3
"""Writes the hand-made inputs of the fuzz targets into fuzz/corpus. Run it after changing this file or the meaning of
an input's bytes to a target. It leaves files that it does not know, such as findings, alone."""

import pathlib
import sqlite3
import struct
import tempfile

CORPUS = pathlib.Path(__file__).parent / "corpus"


def save(target, name, content):
    folder = CORPUS / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(content.encode() if isinstance(content, str) else content)


# ---- commands: retries, station, then for each command its fields and what the device does to each request

BIT, BYTE, WORD, DWORD, QUAD, BLOCK, BITBLOCK = range(7)
DI, DO, FN5DO, HR, FN6HR, IR, SMALL_DO, SMALL_FN6HR, XY, DOOR = range(10)

# What the device does: the lower half says how it answers, the upper half how readData delivers the answer.
GOOD, TWICE, RAW, SILENT, NOT_TAKEN_WHOLE = 0, 12, 13, 14, 15
ALL, ONE_SHORT, ZERO, NEGATIVE = 0x00, 0x10, 0x20, 0x30


def number16(value):
    return struct.pack(">H", value)


def good(seed=None):
    """A good reply; seed makes the data of a read."""
    return bytes([GOOD]) + (b"" if seed is None else bytes([seed])) + b"\0"


def faulty(fault, *parameters, seed=None):
    """1: a changed byte, 2: cut, 3: surplus, 4: exception, 5: length 3."""
    return bytes([GOOD]) + (b"" if seed is None else bytes([seed])) + bytes([fault, *parameters])


def handed_out(how, seed=None):
    return bytes([GOOD | how]) + (b"" if seed is None else bytes([seed]))


def raw(text):
    content = bytes.fromhex(text)
    return bytes([RAW, len(content)]) + content


def area_byte(area, bit, high_word_first):
    """A number below 240 with this remainder modulo 10 and these flags."""
    wanted = (64 if bit is not None else 0) + (128 if high_word_first else 0)
    return next(n for n in range(240) if n % 10 == area and n & 192 == wanted)


def command(kind, count, area, address=1, bit=None, high_word_first=False, data=None):
    encoded = bytes([kind])
    encoded += bytes([count]) if count < 200 else bytes([200]) + number16(count)
    encoded += bytes([area_byte(area, bit, high_word_first)]) + number16(address - 1)
    encoded += b"" if bit is None else bytes([bit])
    return encoded + (b"\0" if data is None else bytes([1, len(data)]) + data)


def session(*parts, retries=0, station=b"\0"):
    """station: a byte below 192 for station 1, or one above and 4 bytes of any station."""
    return bytes([retries]) + station + b"".join(parts)


def commands():
    words = command(WORD, 2, HR)
    tries = {
        "words": session(words, good(7)),
        "most-words": session(command(WORD, 125, IR, 65412), good(9)),
        "words-past-the-last-address": session(command(WORD, 125, IR, 65413), good(9)),
        "most-coils": session(command(BIT, 2008, DO), good(3)),
        "double-words-in-both-orders": session(
            command(DWORD, 2, HR), good(5), command(DWORD, 2, IR, high_word_first=True), good(5)),
        "odd-number-of-bytes": session(command(BYTE, 3, HR), good(5)),
        "bits-across-registers": session(command(BIT, 8, HR, bit=12), good(77)),
        "coils-and-inputs": session(command(BIT, 10, FN5DO), good(255), command(BITBLOCK, 9, DI), good(255)),
        "sparse-coils-in-three-runs": session(command(BYTE, 4, DO), good(255), good(255), good(255)),
        "sparse-run-fails-behind-a-good-one": session(command(BYTE, 2, SMALL_DO), good(255), faulty(4, 2, seed=1)),
        "sparse-past-the-last-address": session(command(BLOCK, 1, DI, 65536), good(1)),
        "sparse-station-without-tags": session(command(BYTE, 1, DO), station=b"\xff\0\0\1\2"),
        "write-words": session(command(WORD, 2, HR, data=b"\x34\x12\x78\x56"), good()),
        "write-double-word-high-word-first": session(
            command(DWORD, 1, HR, high_word_first=True, data=b"\x78\x56\x34\x12"), good()),
        "write-bytes-one-register-at-a-time": session(command(BYTE, 3, FN6HR, data=b"abc"), good(), good()),
        "write-less-data-than-elements": session(command(WORD, 3, HR, data=b"\1"), good()),
        "write-coils": session(command(BIT, 10, DO, data=b"\xff\x03"), good()),
        "write-coils-one-by-one": session(command(BIT, 3, FN5DO, data=b"\5"), good(), good(), good()),
        "write-bits-of-registers": session(command(BIT, 2, HR, bit=15, data=b"\1"), good(0x55), good()),
        "write-bits-register-by-register": session(
            command(BIT, 2, FN6HR, bit=15, data=b"\1"), good(0x55), good(), good()),
        "write-with-another-value-echoed": session(command(WORD, 1, FN6HR, data=b"\1\2"), faulty(1, 10, 9)),
        "write-more-data-than-a-frame-holds": session(command(BIT, 8, DO, data=b"\1" * 255), good()),
        "write-to-an-input": session(command(WORD, 1, IR, data=b"\1\2")),
        "exception-reply": session(words, faulty(4, 2, seed=7)),
        "exception-reply-of-other-function": session(words, raw("0001 0000 0003 01 84 02")),
        "exception-length-of-a-normal-function": session(words, faulty(5, seed=7)),
        "transaction-identifier-of-the-request-before": session(
            words, good(7), words, raw("0001 0000 0007 01 03 04 12345678")),
        "protocol-identifier": session(words, faulty(1, 3, 1, seed=7)),
        "unit-identifier": session(words, faulty(1, 6, 2, seed=7)),
        "length-field": session(words, faulty(1, 5, 8, seed=7)),
        "byte-count-field": session(words, faulty(1, 8, 0, seed=7)),
        "cut-in-the-header": session(words, faulty(2, 5, seed=7)),
        "cut-in-the-data": session(words, faulty(2, 11, seed=7)),
        "surplus-bytes-before-the-next-command": session(words, faulty(3, 3, 1, 2, 3, seed=7), words, good(8)),
        "reply-sent-twice": session(words, bytes([TWICE, 7, 0]), words, good(8)),
        "rubbish-ahead-of-the-reply": session(words, raw("dead beef 00 0001 0000 0007 01 03 04 12345678")),
        "read-one-byte-short": session(words, handed_out(ONE_SHORT, 7), retries=1),
        "read-gives-zero": session(words, handed_out(ZERO, 7)),
        "read-gives-a-negative-count": session(words, handed_out(NEGATIVE, 7)),
        "request-not-taken-whole": session(words, bytes([NOT_TAKEN_WHOLE]) + number16(32768 + 5)),
        "request-taken-with-a-negative-count": session(words, bytes([NOT_TAKEN_WHOLE]) + number16(0)),
        "silence-then-good-at-the-retry": session(words, bytes([SILENT]), b"\0", good(7), retries=1),
        "link-can-not-be-opened-again": session(words, bytes([SILENT]), b"\7", retries=3),
        "count-0": session(command(WORD, 0, HR), good(7), command(BIT, 0, HR, data=b""), good(7)),
        "count-2147483647": session(bytes([DWORD, 241]) + command(DWORD, 0, HR)[2:]),
        "count-negative": session(bytes([BYTE, 240]) + command(BYTE, 0, HR)[2:]),
        "unknown-type": session(command(9, 1, HR)),
        "quad-word": session(command(QUAD, 1, HR)),
        "address-beyond-letters-and-digits": session(bytes([WORD, 1, 250, 6]) + b"F\xff\0..5" + b"\0", good(7)),
    }
    for name, content in tries.items():
        save("commands", name, content)


# ---- project: SQLite databases

NODE = "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER, ISDEFAULT INTEGER)"
TAGS = "CREATE TABLE custom_tag_table (connector_id INTEGER, address TEXT)"
DEFAULT_NODE = "INSERT INTO NODE VALUES (1, 1, 1)"


def project(name, *statements, page_size=512, pragmas=(), change=None):
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "database"
        database = sqlite3.connect(file, isolation_level=None)
        database.execute(f"PRAGMA page_size={page_size}")
        for statement in (*pragmas, *statements):
            database.execute(statement)
        database.close()
        content = file.read_bytes()
    save("project", name, change(content) if change else content)


def patched(offset, replacement):
    return lambda content: content[:offset] + replacement + content[offset + len(replacement):]


def page_repeated(content):
    """The root of the tag table refers to the same leaf page again and again."""
    for start in range(0, len(content), 512):
        page = bytearray(content[start:start + 512])
        cells = struct.unpack(">H", page[3:5])[0]
        if page[0] == 5 and cells > 3:
            for i in range(cells):
                cell = struct.unpack(">H", page[12 + 2 * i:14 + 2 * i])[0]
                page[cell:cell + 4] = page[8:12]
            return content[:start] + bytes(page) + content[start + 512:]
    raise RuntimeError("the tag table has no inner page")


def projects():
    good_tags = "INSERT INTO custom_tag_table VALUES (1, 'DI1'), (1, 'DO7'), (1, '2-DI5'), (2, 'DO9')"
    good_project = (NODE, TAGS, DEFAULT_NODE, good_tags)
    many_tags = ("INSERT INTO custom_tag_table WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n "
                 "WHERE x < 250) SELECT 1, 'DO' || (x * 200) FROM n")

    save("project", "empty-file", b"")
    save("project", "not-a-database", b"[project]\nname=pump station 7\n" * 20)
    project("good", *good_project)
    project("header-alone", *good_project, change=lambda content: content[:100])
    project("truncated-to-one-page", *good_project, change=lambda content: content[:512])
    project("truncated-in-the-last-page", NODE, TAGS, DEFAULT_NODE, many_tags, change=lambda content: content[:-300])
    project("marked-as-wal", *good_project, change=patched(18, b"\2\2"))
    project("newer-file-format", *good_project, change=patched(18, b"\3\3"))
    project("page-size-0", *good_project, change=patched(16, b"\0\0"))
    project("encoding-unknown", *good_project, change=patched(56, b"\0\0\0\x09"))
    project("utf-16", *good_project, pragmas=("PRAGMA encoding='UTF-16le'",))
    project("schema-page-damaged", *good_project, change=patched(300, b"\xEE" * 100))
    project("leaf-page-damaged", NODE, TAGS, DEFAULT_NODE, many_tags, change=lambda c: c[:-512] + b"\xEE" * 512)
    project("leaf-page-named-again-and-again", NODE, TAGS, DEFAULT_NODE, many_tags, change=page_repeated)
    project("no-node-table", TAGS, good_tags)
    project("no-tag-table", NODE, DEFAULT_NODE)
    project("node-column-missing", "CREATE TABLE NODE (LINKID INTEGER, STATIONID INTEGER)", TAGS)
    project("tag-column-missing", NODE, DEFAULT_NODE, "CREATE TABLE custom_tag_table (connector_id INTEGER)")
    project("ids-as-text", NODE.replace("INTEGER", "TEXT"), TAGS.replace("INTEGER", "TEXT"), DEFAULT_NODE, good_tags)
    project("station-ids-that-are-none", NODE, TAGS,
            "INSERT INTO NODE VALUES (1, 'x', 1), (1, -1, 1), (1, 1e300, 1), (1, NULL, 1), (1, x'00ff', 1)")
    project("addresses-that-are-none", *good_project[:3],
            "INSERT INTO custom_tag_table VALUES (1, NULL), (1, 5), (1, -2.5e300), (1, x'444f31'), (1, ''), (1, 'DO')")
    project("address-of-two-thousand-digits", *good_project[:3],
            f"INSERT INTO custom_tag_table VALUES (1, '{'9' * 2000}-DO{'9' * 2000}')", page_size=4096)
    project("views-for-tables", "CREATE VIEW NODE AS SELECT 1 AS LINKID, 1 AS STATIONID, 1 AS ISDEFAULT",
            "CREATE VIEW custom_tag_table AS SELECT 1 AS connector_id, 'DO1' AS address")
    project("view-of-itself", NODE, DEFAULT_NODE,
            "CREATE VIEW custom_tag_table AS SELECT connector_id, address FROM custom_tag_table")


if __name__ == "__main__":
    commands()
    projects()

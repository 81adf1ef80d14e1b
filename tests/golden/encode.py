#!/usr/bin/env python3
"""The encoder of the golden frames: written from the description of the wire, apart from the driver.

    encode.py frames.txt            print the file with the frames and reply lengths that its inputs give
    encode.py --check frames.txt    compare, and name every row that differs with both values
    encode.py --write frames.txt    rewrite the file; "?" stands for a frame and a reply length to be filled in

A worked example is compared, never rewritten. frames.txt describes its columns in its head.
"""
import argparse
import re
import sys

BITS, WORDS, DOUBLE_WORDS, NOTHING = "bits", "words", "double words", "nothing"
CODES = {  # area type: kind, area code
    0: (BITS, 0x00), 1: (BITS, 0x01), 2: (BITS, 0x02), 3: (BITS, 0x05), 4: (BITS, 0x04), 11: (BITS, 0x03),
    5: (WORDS, 0x08), 6: (WORDS, 0x12), 7: (WORDS, 0x11), 8: (WORDS, 0x06), 9: (WORDS, 0x07), 12: (WORDS, 0x09),
    13: (WORDS, 0x10), 10: (DOUBLE_WORDS, 0x13)}
READ_ONLY = (0, 8)
READ, WRITE, ACKNOWLEDGED = 0xFE, 0xFF, 0x20
REMOTE_REPLY = {"remote-read": b"R", "remote-write": b"W"}  # the driver does not look at the head of a remote reply
FIELDS = ("station", "hostType", "field3", "linkNo", "mark", "field14")


class Wrong(Exception):
    """What is wrong with a row."""


class Row:
    """One row of the file: its cells, and its input taken apart."""

    def __init__(self, line):
        self.cells = [cell.strip() for cell in line.split("|")]
        if len(self.cells) != 6:
            raise Wrong(f"{len(self.cells)} columns, expected 6")
        self.name, self.kind, text, self.frame, self.length, self.origin = self.cells
        self.blocks, self.stores, self.options = [], [], {}
        for word in text.split():
            self.take(word)

    def take(self, word):
        key, equals, value = word.partition("=")
        if not equals:
            self.blocks.append(numbers(r"(-?\d+)@(-?\d+)x(-?\d+)", word))
        elif key == "store":
            place, _, items = value.partition(":")
            self.stores.append((*numbers(r"(-?\d+)@(-?\d+)", place), [int(item, 16) for item in items.split(",")]))
        elif key in self.options:
            raise Wrong(f"'{key}' stands twice")
        elif key in FIELDS:
            self.options[key] = int(value)
        elif key in ("to", "after", "data"):
            self.options[key] = value
        else:
            raise Wrong(f"unknown word '{word}'")

    def field(self, key):
        return self.options.get(key, 0)

    @property
    def data(self):
        return bytes.fromhex(self.options.get("data", ""))


def numbers(pattern, word):
    found = re.fullmatch(pattern, word)
    if not found:
        raise Wrong(f"'{word}' is neither area@addressxlength nor key=value")
    return tuple(int(number) for number in found.groups())


# Bytes.

def crc(data):
    """CRC-16: reflected polynomial A001 from FFFF on, low byte first."""
    register = 0xFFFF
    for byte in data:
        register ^= byte
        for _ in range(8):
            register = register >> 1 ^ (0xA001 if register & 1 else 0)
    return register.to_bytes(2, "little")


def sealed(body):
    return body + crc(body)


def cut(value, size, order):
    """The low bytes of a number: what is wider is cut."""
    return (value % (1 << 8 * size)).to_bytes(size, order)


def byte(value):
    return cut(value, 1, "big")


def swapped(item):
    """A value's bytes from the least significant up, as they go on the wire: low word first, high byte first."""
    return b"".join(item[at:at + 2][::-1] for at in range(0, len(item), 2))


ITEM_SIZE = {BITS: 1, WORDS: 2, DOUBLE_WORDS: 4}


def wire(kind, values):
    return b"".join(swapped(value.to_bytes(ITEM_SIZE[kind], "little")) for value in values)


# Blocks: (area type, address, length).

def kind_of(area):
    return CODES.get(area, (NOTHING, 0))[0]


def reading(block):
    """Area code, count and data bytes of an entry of a read."""
    area, _, length = block
    kind, code = CODES.get(area, (NOTHING, 0))
    count, size = {BITS: (length * 8, length), WORDS: (length, 2 * length),
                   DOUBLE_WORDS: (length - 1, 4 * (length - 1)), NOTHING: (0, 0)}[kind]
    return code, count, size


def entries(row):
    """The blocks as a read sends them: a single read of double words halves its length, towards zero."""
    if row.kind == "single" and kind_of(row.blocks[0][0]) == DOUBLE_WORDS:
        area, address, length = row.blocks[0]
        return [(area, address, int(length / 2))]
    return row.blocks


def answered(row, length):
    """The reply length: nobody answers station 0."""
    return length if row.field("station") else 0


# Requests: the frame and the reply length.

def read(row):
    if row.kind == "single" and kind_of(row.blocks[0][0]) == NOTHING:
        raise Wrong("a single read of an area that does not exist sends nothing")
    blocks = entries(row)
    body = byte(row.field("station")) + bytes([READ, len(blocks)])
    for block in blocks:
        code, count, _ = reading(block)
        body += byte(code) + byte(count) + cut(block[1], 2, "little")
    data = sum(reading(block)[2] for block in blocks)
    return sealed(body), answered(row, 5 + 2 * len(blocks) + data)


def write(row):
    area, address, length = row.blocks[0]
    kind, code = CODES.get(area, (NOTHING, 0))
    if kind == NOTHING or area in READ_ONLY:
        raise Wrong(f"a write of area {area} sends nothing")
    if kind == BITS:
        count, data = length, b"\1" if row.data[:1] == b"\1" else b"\0"
    else:
        size = ITEM_SIZE[kind]
        count = length if kind == WORDS else (length + 1) // 2
        items = [row.data[size * at:size * (at + 1)] for at in range(count)]
        data = b"".join(swapped(item) if len(item) == size else bytes(size) for item in items)
    body = byte(row.field("station")) + bytes([WRITE, 1, code]) + byte(count) + cut(address, 2, "little") + data
    return sealed(body), answered(row, 3)


def remote(row, data):
    area, address, length = row.blocks[0]
    body = b"".join(byte(row.field(key)) for key in ("hostType", "field3", "linkNo", "station"))
    body += cut(area, 2, "big") + cut(address, 4, "big") + cut(length, 2, "big")
    body += cut(row.field("mark"), 4, "big") + cut(row.field("field14"), 4, "big") + data
    body = byte(len(body) + 2) + body
    return body + byte(sum(body))


def remote_read(row):
    area, _, length = row.blocks[0]
    data = length if area in range(5) else 4 * -(-length // 2) if area == 10 else 2 * length
    return remote(row, b""), answered(row, data + 5)


def remote_write(row):
    return remote(row, row.data), answered(row, 8)


REQUESTS = {"group": read, "single": read, "write": write, "remote-read": remote_read, "remote-write": remote_write}


# Replies.

def reply(row, request):
    station = byte(row.options.get("station", request.field("station")))
    data = row.data + b"".join(wire(kind_of(area), items) for area, _, items in row.stores)
    if request.kind == "write":
        frame = station + bytes([WRITE, ACKNOWLEDGED])
    elif request.kind in REMOTE_REPLY:
        frame = sealed(station + REMOTE_REPLY[request.kind] + b"\1" + data)
    else:
        frame = sealed(station + read_reply(entries(request), data))
    expected = encoded(request)[1]
    if len(frame) != expected:
        raise Wrong(f"holds {len(frame)} bytes, its request expects {expected}")
    return frame, expected


def read_reply(blocks, data):
    body, at = bytes([READ, len(blocks)]), 0
    for block in blocks:
        code, count, size = reading(block)
        body += byte(code) + byte(count) + data[at:at + size]
        at += size
    return body + data[at:]


def encoded(row, rows=None):
    """The frame and the reply length of a row; rows by name, for replies."""
    if row.kind == "reply":
        if row.options.get("to") not in rows:
            raise Wrong(f"answers '{row.options.get('to')}', which is no row")
        return reply(row, rows[row.options["to"]])
    if row.kind not in REQUESTS:
        raise Wrong(f"unknown kind '{row.kind}'")
    if not row.blocks or len(row.blocks) > (6 if row.kind == "group" else 1):
        raise Wrong(f"a {row.kind} of {len(row.blocks)} variables")
    return REQUESTS[row.kind](row)


# The file.

def spaced(frame):
    return frame.hex(" ").upper()


def is_row(line):
    return bool(line.strip()) and not line.startswith("#")


def each_row(lines):
    """Line number, row, frame and reply length of every row. Exits with a message at a row that cannot be read."""
    rows = {}
    for number, line in enumerate(lines, 1):
        if is_row(line):
            try:
                row = Row(line)
                if row.name in rows:
                    raise Wrong("stands twice")
                frame, length = encoded(row, rows)
            except (Wrong, ValueError, OverflowError) as error:
                sys.exit(f"error: line {number}: {line.split('|')[0].strip()}: {error}")
            rows[row.name] = row
            yield number, row, spaced(frame), str(length)


def differences(lines):
    for number, row, frame, length in each_row(lines):
        for what, here, made in (("frame", row.frame, frame), ("reply length", row.length, length)):
            if here != made:
                yield f"line {number}: {row.name}: {what}\n  in the file  {here}\n  encoded      {made}\n"


def rewritten(lines):
    lines = list(lines)
    for number, row, frame, length in each_row(lines):
        if row.origin == "worked example" and (row.frame, row.length) != (frame, length):
            sys.exit(f"error: line {number}: {row.name}: a worked example differs; --check shows how")
        name, kind, text, _, _, origin = row.cells
        lines[number - 1] = f"{name:<37} | {kind:<12} | {text} | {frame} | {length} | {origin}"
    return "".join(line + "\n" for line in lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    how = parser.add_mutually_exclusive_group()
    how.add_argument("--check", action="store_true")
    how.add_argument("--write", action="store_true")
    parser.add_argument("file")
    options = parser.parse_args()
    try:
        with open(options.file, encoding="utf-8") as file:
            lines = file.read().splitlines()
    except OSError as error:
        sys.exit(f"error: {options.file}: {error.strerror}")
    if options.check:
        found = list(differences(lines))
        print("".join(found) + f"{sum(map(is_row, lines))} rows, {len(found)} differences")
        return bool(found)
    text = rewritten(lines)
    if options.write:
        with open(options.file, "w", encoding="utf-8") as file:
            file.write(text)
    else:
        print(text, end="")
    return 0


if __name__ == "__main__":
    sys.exit(main())

"""Second readers of the file formats, made from docs/formats.md and docs/gui.md alone.

A tree is a list of (key, value); a value is a float, bytes, or a list. Whatever must be refused raises Refused.
"""

import math
import re
import sqlite3
import struct

MAX_DEPTH = 64


class Refused(Exception):
    pass


def need(condition, why):
    if not condition:
        raise Refused(why)


# ---- CRC-64


def make_crc_table():
    table = []
    for byte in range(256):
        for _ in range(8):
            byte = byte >> 1 ^ (0xC96C5795D7870F42 if byte & 1 else 0)  # 42f0e1eba9ea3693 reflected
        table.append(byte)
    return table


CRC_TABLE = make_crc_table()


def crc64(data):
    register = 0xFFFFFFFFFFFFFFFF
    for byte in data:
        register = CRC_TABLE[(register ^ byte) & 255] ^ register >> 8
    return register ^ 0xFFFFFFFFFFFFFFFF


# ---- UDB, binary


class UdbBinary:
    def __init__(self, data):
        self.data = data
        self.at = 4

    def read(self):
        need(len(self.data) > 4 and self.data[:4] == b"UDB\x01", "header")
        root = self.content(0)
        need(self.at == len(self.data), "bytes behind the end")
        return root

    def take(self, count):
        need(count <= len(self.data) - self.at, "the data end")
        self.at += count
        return self.data[self.at - count : self.at]

    def number(self, form):
        return struct.unpack("<" + form, self.take(struct.calcsize(form)))[0]

    def length(self):
        byte = self.number("B")
        return self.number("I") if byte == 255 else byte

    def text(self, count):
        text = self.take(count)
        need(self.take(1) == b"\0", "no zero behind a text")
        return text

    def content(self, depth):
        need(depth <= MAX_DEPTH, "too deep")
        count = self.length()
        need(count <= (len(self.data) - self.at) // 2, "too many entries")
        return [self.entry(depth) for _ in range(count)]

    def entry(self, depth):
        tag = self.number("B")
        key_length = tag >> 4
        key = self.text(self.number("H") if key_length == 15 else key_length)
        encoding = tag & 15
        if encoding == 0:
            return key, 0.0
        if encoding <= 5:
            number = float(self.number("bhifd"[encoding - 1]))
            need(encoding != 4 or not math.isnan(number), "a NaN of four bytes")
            return key, number
        if encoding == 6:
            return key, self.text(self.length())
        need(encoding == 7, "encoding")
        return key, self.content(depth + 1)


def write_udb_binary(root):
    def length(count):
        return struct.pack("<B", count) if count < 255 else struct.pack("<BI", 255, count)

    def number(value):
        if value == int(value) if math.isfinite(value) else False:
            integer = int(value)
            if integer == 0 and math.copysign(1, value) > 0:
                return 0, b""
            for encoding, form, bits in ((1, "b", 7), (2, "h", 15), (3, "i", 31)):
                if integer != 0 and -(1 << bits) <= integer < 1 << bits:
                    return encoding, struct.pack("<" + form, integer)
        if not math.isnan(value):
            try:
                single = struct.pack("<f", value)
                if struct.unpack("<f", single)[0] == value:
                    return 4, single
            except OverflowError:
                pass
        return 5, struct.pack("<d", value)

    def content(group):
        out = [length(len(group))]
        for key, value in group:
            if isinstance(value, float):
                encoding, data = number(value)
            elif isinstance(value, bytes):
                encoding, data = 6, length(len(value)) + value + b"\0"
            else:
                encoding, data = 7, content(value)
            if len(key) < 15:
                out.append(struct.pack("<B", len(key) << 4 | encoding))
            else:
                out.append(struct.pack("<BH", 15 << 4 | encoding, len(key)))
            out += [key, b"\0", data]
        return b"".join(out)

    return b"UDB\x01" + content(root)


# ---- UDB, text

BLANKS = b" \t\r"
BARE_KEY = re.compile(rb"[A-Za-z0-9_.-]+")
DECIMAL = re.compile(rb"-?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?")
INFINITY = re.compile(rb"-?inf(?:inity)?", re.IGNORECASE)
ESCAPES = {ord('"'): b'"', ord("\\"): b"\\", ord("n"): b"\n", ord("r"): b"\r", ord("t"): b"\t"}


class UdbText:
    def __init__(self, data):
        self.lines = iter(
            line for line in (raw.strip(BLANKS) for raw in data.split(b"\n")) if line
        )

    def read(self):
        need(next(self.lines, None) == b"udb 1", "first line")
        return self.content(0)

    def content(self, depth):
        need(depth <= MAX_DEPTH, "too deep")
        group = []
        for line in self.lines:
            if line == b"}":
                need(depth > 0, "} without a group")
                return group
            group.append(self.entry(line, depth))
        need(depth == 0, "no }")
        return group

    def entry(self, line, depth):
        if line.startswith(b'"'):
            key, rest = self.quoted(line)
        else:
            match = BARE_KEY.match(line)
            need(match, "no key")
            key, rest = match.group(), line[match.end() :]
        need(len(key) <= 65535, "key too long")
        need(rest[:1] and rest[:1] in BLANKS, "no blank behind the key")
        value = rest.lstrip(BLANKS)
        if value == b"{":
            return key, self.content(depth + 1)
        if not value.startswith(b'"'):
            return key, self.number(value)
        text, rest = self.quoted(value)
        need(not rest, "something behind the value")
        return key, text

    @staticmethod
    def number(text):
        if text.startswith(b"nan:"):
            need(re.fullmatch(rb"[0-9a-fA-F]+", text[4:]), "nan")
            bits = int(text[4:], 16)
            need(bits < 1 << 64, "nan")
            value = struct.unpack("<d", struct.pack("<Q", bits))[0]
            need(math.isnan(value), "no NaN")
            return value
        if INFINITY.fullmatch(text):
            return float(text)
        need(DECIMAL.fullmatch(text), "no number")
        value = float(text)
        need(math.isfinite(value), "too large")
        digits = re.split(rb"[eE]", text)[0]
        need(value != 0 or not re.search(rb"[1-9]", digits), "too small")
        return value

    @staticmethod
    def quoted(line):
        """The text between the quotes at the start, and what follows them."""
        text, at = bytearray(), 1
        while True:
            need(at < len(line), "no closing quote")
            byte = line[at]
            at += 1
            if byte == ord('"'):
                return bytes(text), line[at:]
            if byte != ord("\\"):
                text.append(byte)
                continue
            need(at < len(line), "escape")
            escape = line[at]
            at += 1
            if escape == ord("x"):
                need(re.fullmatch(rb"[0-9a-fA-F]{2}", line[at : at + 2]), "escape")
                text.append(int(line[at : at + 2], 16))
                at += 2
            else:
                need(escape in ESCAPES, "escape")
                text += ESCAPES[escape]


def write_udb_text(root):
    def quoted(text):
        try:
            text.decode("utf-8")
            readable = True
        except UnicodeDecodeError:
            readable = False
        names = {value[0]: b"\\" + bytes([key]) for key, value in ESCAPES.items()}
        out = bytearray()
        for byte in text:
            if byte in names:
                out += names[byte]
            elif byte < 0x20 or byte == 0x7F or (byte >= 0x80 and not readable):
                out += b"\\x%02x" % byte
            else:
                out.append(byte)
        return b'"' + bytes(out) + b'"'

    def number(value):
        if math.isnan(value):
            return b"nan:%x" % struct.unpack("<Q", struct.pack("<d", value))[0]
        if math.isinf(value):
            return b"inf" if value > 0 else b"-inf"
        sign = "-" if math.copysign(1, value) < 0 else ""
        # Python's repr has the fewest digits, too.
        mantissa, _, exponent = repr(abs(value)).partition("e")
        whole, _, fraction = mantissa.partition(".")
        digits = (whole + fraction).lstrip("0")
        point = len(whole) + int(exponent or 0) - (len(whole + fraction) - len(digits))
        digits = digits.rstrip("0")
        if not digits:
            return (sign + "0").encode()
        if point <= 0:
            plain = "0." + "0" * -point + digits
        elif point >= len(digits):
            plain = digits + "0" * (point - len(digits))
        else:
            plain = digits[:point] + "." + digits[point:]
        power = f"e{'-' if point < 1 else '+'}{abs(point - 1):02}"
        scientific = digits[0] + ("." + digits[1:] if len(digits) > 1 else "") + power
        if len(plain) > len(scientific):
            return (sign + scientific).encode()
        if point > len(digits):
            plain = str(int(abs(value)))
        return (sign + plain).encode()

    def content(group, depth):
        for key, value in group:
            bare = BARE_KEY.fullmatch(key)
            start = b"    " * depth + (key if bare else quoted(key)) + b" "
            if isinstance(value, list):
                yield start + b"{\n"
                yield from content(value, depth + 1)
                yield b"    " * depth + b"}\n"
            else:
                yield start + (quoted(value) if isinstance(value, bytes) else number(value)) + b"\n"

    return b"udb 1\n" + b"".join(content(root, 0))


# ---- Scenes


def read_mfs(data):
    """The trees of the entities, in order."""
    need(len(data) >= 24 and data[:8] == b"TAMRAMFS", "magic")
    version, count, crc = struct.unpack_from("<IIQ", data, 8)
    need(version == 1, "version")
    need(crc == crc64(data[24:]), "checksum")
    at, entities = 24, []
    for _ in range(count):
        need(at + 4 <= len(data), "the data end")
        (length,) = struct.unpack_from("<I", data, at)
        need(length <= len(data) - at - 4, "the data end")
        entities.append(UdbBinary(data[at + 4 : at + 4 + length]).read())
        at += 4 + length
    need(at == len(data), "bytes behind the last entity")
    return entities


def read_sdb(path):
    """Position and tree of the entities by id; None for a tree that cannot be read."""
    connection = sqlite3.connect(f"file:{path}?mode=ro", uri=True)
    entities = {}
    for row in connection.execute("SELECT id, pos_x, pos_y, pos_z, componentData FROM entities"):
        try:
            tree = UdbBinary(row[4] or b"").read()
        except Refused:
            tree = None
        entities[row[0]] = (row[1:4], tree)
    connection.close()
    return entities


# ---- .fnt

WHITE_SPACE = b" \t\n\v\f\r"
INTEGER = re.compile(rb"[+-]?[0-9]+")
FLOAT = re.compile(rb"[+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?")


class Fnt:
    def __init__(self, data):
        self.rest = data

    def line(self):
        end = self.rest.find(b"\n")
        need(0 <= end <= 1199, "line")
        line, self.rest = self.rest[:end], self.rest[end + 1 :]
        return line

    def values(self, word, pattern, convert, count=1):
        line = self.line()
        need(line.startswith(word), "word")
        line = line[len(word) :]
        values = []
        for _ in range(count):
            line = line.lstrip(WHITE_SPACE)
            match = pattern.match(line[:10])
            need(match, "number")
            values.append(convert(match.group()))
            line = line[match.end() :]
        return values

    def integer(self, word):
        value = self.values(word, INTEGER, int)[0]
        need(-(1 << 31) <= value < 1 << 31, "integer")
        return value

    def read(self):
        font = {"map": [self.integer(b"map") for _ in range(256)]}
        count = self.integer(b"count")
        need(0 <= count <= len(self.rest) // 23, "count")
        single = lambda text: struct.unpack("<f", struct.pack("<f", float(text)))[0]
        font["glyphs"] = [self.values(b"glyph", FLOAT, single, 9) for _ in range(count)]
        width, height = self.integer(b"bitmapWidth"), self.integer(b"bitmapHeight")
        font["size"] = (width, height)
        font["fontSize"] = self.integer(b"fontSize")
        self.line()
        font["bitmap"] = self.rest
        need(1 <= width <= 16384 and 1 <= height <= 16384 and 1 <= font["fontSize"] <= 16384, "size")
        need(len(self.rest) == width * height * 4, "bitmap")
        need(all(-1 <= number < count for number in font["map"]), "map")
        need(all(-99 <= value <= 999 for glyph in font["glyphs"] for value in glyph), "glyph")
        return font


# ---- .gui

TEXT, WORD, INT, REAL = "text", "word", "int", "real"
ITEMS, TITLE = "items", "title"  # a count and as many texts; a text or nothing
OWN_FIELDS = {
    "GWT_LABEL": [TEXT, INT, INT, INT],
    "GWT_BUTTON": [TEXT],
    "GWT_CHECKBOX": [TEXT, INT],
    "GWT_RADIOBUTTON": [TEXT, INT, INT, INT],
    "GWT_SCROLLBAR_H": [INT, REAL],
    "GWT_SCROLLBAR_V": [INT, REAL],
    "GWT_TEXTEDIT_LINE": [TEXT, INT, INT],
    "GWT_TEXTEDIT_BOX": [TEXT, INT, INT],
    "GWT_SPINNER": [REAL, REAL, REAL, REAL, INT],
    "GWT_DROPLIST": [ITEMS, INT],
    "GWT_SPACER_H": [],
    "GWT_SPACER_V": [],
    "GWT_FREELAYOUT": [],
    "GWT_LIST_H": [],
    "GWT_LIST_V": [],
    "GWT_LISTBOX": [ITEMS, INT, INT],
    "GWT_GROUPBOX": [TITLE],
    "GWT_WINDOW": [TEXT, INT, INT, INT, INT, INT],
    "GWT_IMAGE": [TITLE],
    "GWT_NODEWIDGET": [TITLE],
}
COMMON_FIELDS = [TEXT, INT, INT, INT, INT, WORD, WORD, INT, INT, INT]
GUI_TOKEN = re.compile(r'"((?:[^"\\]|\\.)*)"|(\S+)')


HOLDS_ONE = {"GWT_GROUPBOX", "GWT_WINDOW"}
HOLDS_MANY = {"GWT_FREELAYOUT", "GWT_LIST_H", "GWT_LIST_V"}


def read_gui_line(line):
    """Type and fields."""
    tokens = list(GUI_TOKEN.finditer(line))
    kind = tokens.pop(0).group(2)
    need(kind in OWN_FIELDS, "type")
    fields = []
    for form in OWN_FIELDS[kind] + COMMON_FIELDS:
        if form == TITLE and len(tokens) == len(COMMON_FIELDS):
            continue
        count = 1
        if form == ITEMS:
            count = int(tokens.pop(0).group(2))
            fields.append((INT, count))
        for _ in range(count):
            need(tokens, "field missing")
            quoted, word = tokens.pop(0).groups()
            if form in (TEXT, TITLE, ITEMS):
                need(quoted is not None, "no quotes")
                plain = re.sub(r"\\(.)", lambda m: {"n": "\n"}.get(m.group(1), m.group(1)), quoted)
                fields.append((TEXT, plain))
            else:
                need(word is not None, "field")
                # Numbers are read to their tenth character.
                fields.append((form, word if form == WORD else (float if form == REAL else int)(word[:10])))
    need(not tokens, "superfluous field")
    return kind, fields


class Widget:
    def __init__(self, kind, fields):
        self.kind = kind
        self.fields = fields
        self.children = []

    def adopt(self, child):
        need(self.kind in HOLDS_MANY or (self.kind in HOLDS_ONE and not self.children), "no room for a child")
        self.children.append(child)


def read_gui(text):
    """The outermost widgets, and the numbers of the lines that are left out with those below them."""
    root = Widget("GWT_FREELAYOUT", [])
    above = None  # by depth, the widget that a line one deeper belongs to
    left_out, faults = None, []
    for number, line in enumerate(text.removeprefix("\ufeff").split("\n"), 1):
        depth = len(line) - len(line.lstrip("\t"))
        line = line[depth:]
        if not line.strip(" \t\r") or (left_out is not None and depth > left_out):
            continue
        left_out = None
        if above is None:
            above = [root] * (depth + 1)
        try:
            need(depth <= 15 and not line.startswith(" ") and depth < len(above), "place")
            widget = Widget(*read_gui_line(line))
            above[depth].adopt(widget)
            above[depth + 1 :] = [widget]
        except Refused:
            left_out = depth
            faults.append(number)
    return root.children, faults


def write_gui(widgets, depth=0):
    def token(form, value):
        if form == TEXT:
            return '"' + value.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'
        return f"{value:.6f}" if form == REAL else str(value)

    return "".join(
        "\t" * depth
        + " ".join([widget.kind] + [token(*field) for field in widget.fields])
        + "\n"
        + write_gui(widget.children, depth + 1)
        for widget in widgets
    )

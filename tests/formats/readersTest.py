#!/usr/bin/env python3
"""Compares the readers made from docs/formats.md with the programs of this tree, on sound and on damaged files.

usage: readersTest.py PROBE SCENETOOL ROOT
"""

import pathlib
import random
import struct
import subprocess
import sys
import tempfile

import readers

ROUNDS = 400
SNIPPETS = [b"\0", b"\xff", b"\x7f\x80", b'"', b"\\x", b"}", b"{", b" ", b"\n", b"\r\n", b"-", b"+", b"1e999", b"nan",
            b"nan:7ff8000000000000", b"inf", b".5", b"5.", b"1e-400", b"0x1", b"\t", b"12345678901"]


def mutate(data, random_source, is_text):
    data = bytearray(data)
    for _ in range(random_source.randint(1, 3)):
        at = random_source.randrange(len(data))
        kind = random_source.randrange(6)
        if kind == 0:
            data[at] ^= 1 << random_source.randrange(8)
        elif kind == 1:
            data[at:at] = random_source.choice(SNIPPETS)
        elif kind == 2:
            del data[at : at + random_source.randint(1, 9)]
        elif kind == 3:
            end = at + random_source.randint(1, 40)
            data[at:at] = data[at:end]
        elif kind == 4 and random_source.random() < 0.3:
            del data[at:]
        else:
            data[at] = random_source.choice(b'0123456789 "-{}\n' if is_text else bytes(range(16)) + b"\xff\xf0\x80")
        if not data:
            break
    return bytes(data)


class Test:
    def __init__(self, probe, scenetool, root, folder):
        self.probe = probe
        self.scenetool = scenetool
        self.root = pathlib.Path(root)
        self.folder = pathlib.Path(folder)
        self.failures = 0

    def expect(self, is_good, what):
        if not is_good:
            self.failures += 1
            print("FAILED:", what)

    def judge(self, kind, inputs):
        """The files that the library made of each input, by their endings; none where it was refused."""
        folder = self.folder / kind
        folder.mkdir()
        for number, data in enumerate(inputs):
            (folder / f"{number}.in").write_bytes(data)
        subprocess.run([self.probe, "judge", kind, folder], check=True, stdout=subprocess.DEVNULL)
        return [
            {path.suffix: path.read_bytes() for path in folder.glob(f"{number}.in.*")} for number in range(len(inputs))
        ]

    def compare(self, kind, sound, read, dump, corpus):
        """Sound files, the fuzz targets' seeds, and many damaged ones: both sides refuse the same, and take the same from
        the others."""
        random_source = random.Random(kind)
        inputs = list(sound)
        inputs += [path.read_bytes() for path in sorted((self.root / "fuzz/corpus" / corpus).iterdir())]
        small = [data for data in inputs if 0 < len(data) < 10000]
        inputs += [mutate(random_source.choice(small), random_source, kind in ("text", "fnt")) for _ in range(ROUNDS)]
        refused = 0
        for number, (data, theirs) in enumerate(zip(inputs, self.judge(kind, inputs))):
            try:
                ours = dump(read(data))
            except readers.Refused as reason:
                ours = {}
                refused += 1
                self.expect(number >= len(sound), f"{kind}: sample {number} is refused: {reason}")
            same = ours.keys() == theirs.keys() and all(ours[key] == theirs[key] for key in ours)
            self.expect(same, f"{kind}: input {number} ({data[:60]!r}...): {ours.keys()} and {theirs.keys()}")
        print(f"{kind}: {len(inputs)} files, {refused} refused")

    def run(self):
        subprocess.run([self.probe, "samples", self.folder], check=True)
        self.run_trees()
        self.run_scenes()
        self.run_fonts()
        self.run_widgets()
        return self.failures

    def run_trees(self):
        dump = lambda tree: {".binary": readers.write_udb_binary(tree), ".text": readers.write_udb_text(tree)}
        binary, text = (self.folder / "tree.udb").read_bytes(), (self.folder / "tree.txt").read_bytes()
        self.expect(readers.UdbText(text).read()[:28] == readers.UdbBinary(binary).read()[:28], "text and binary agree")
        source = random.Random(1)
        numbers = []
        for _ in range(3000):
            bits = source.getrandbits(64)
            number = struct.unpack("<d", struct.pack("<Q", bits))[0]
            numbers.append((b"n", source.choice([number, float(int(number) >> 40) if abs(number) < 1e30 else number,
                                                 float(source.randint(-10**6, 10**6)), source.random(),
                                                 float(10 ** source.randint(0, 25)), 10.0 ** -source.randint(0, 25)])))
        small = readers.write_udb_binary([(b"a", 1.0), (b"list", [(b"x", 0.1), (b"name", b"Box"), (b"", [])])])
        # Long forms where short ones would do.
        loose = b"UDB\x01\xff\x01\0\0\0\xf6\x01\0k\0\xff\x01\0\0\0v\0"
        self.compare("binary", [binary, small, loose, readers.write_udb_binary(numbers)],
                     lambda data: readers.UdbBinary(data).read(), dump, "fuzzUdbBinary")
        loose = b'\r\n udb 1 \r\n\n "a b"\t  1E3\r\nx .5\ny 5.\nz INFINITY\n q "\\x4a"\n g {\n\n } \n'
        written = readers.write_udb_text([(b"a", 1.5), (b"b c", b"\xc3\xa9 \"\n\xff"), (b"g", [(b"x", -0.0)])])
        self.compare("text", [text, written, loose], lambda data: readers.UdbText(data).read(), dump, "fuzzUdbAscii")

    def run_scenes(self):
        data = (self.folder / "all.mfs").read_bytes()
        whole = readers.read_mfs(data)
        rows = readers.read_sdb(self.folder / "all.sdb")
        self.expect(len(whole) == len(rows) == 9, "all entities are there")
        key = lambda tree: readers.write_udb_binary(tree)
        self.expect(sorted(map(key, whole)) == sorted(key(tree) for _, tree in rows.values()), "both hold the same")
        for file, trees in (("all.mfs", dict(enumerate(whole, 1))), ("all.sdb", {i: t for i, (_, t) in rows.items()})):
            for number, tree in trees.items():
                shown = subprocess.run([self.scenetool, "show", self.folder / file, str(number)],
                                       check=True, capture_output=True).stdout
                self.expect(shown == readers.write_udb_text(tree), f"{file}: entity {number} is what scenetool shows")
        for number, (position, tree) in rows.items():
            values = {k: v for entry in tree if entry[0] == b"component" for k, v in entry[1]}
            wanted = [values.get(k, 0.0) for k in (b"m41", b"m42", b"m43")]
            self.expect(list(position) == [0.0 if v != v else v for v in wanted], f"row {number} stands at its transform")

        # Sound checksums let the damage further in.
        inputs = [data]
        source = random.Random(2)
        while len(inputs) < 100:
            body = mutate(data[24:], source, False)
            inputs.append(data[:16] + struct.pack("<Q", readers.crc64(body)) + body)
        self.compare("mfs", inputs[:1], readers.read_mfs, lambda trees: {".dump": str(len(trees)).encode()},
                     "fuzzSceneFile")
        for theirs, file in zip(self.judge_again("mfs", inputs), inputs):
            try:
                ours = str(len(readers.read_mfs(file))).encode()
            except readers.Refused:
                ours = None
            self.expect(theirs.get(".dump") == ours, f"mfs with a sound checksum: {ours} and {theirs.get('.dump')}")

    def judge_again(self, kind, inputs):
        folder = self.folder / kind
        for path in folder.iterdir():
            path.unlink()
        folder.rmdir()
        return self.judge(kind, inputs)

    def run_fonts(self):
        def dump(font):
            words = [str(number) for number in font["map"]]
            words += [readable(value) for glyph in font["glyphs"] for value in glyph]
            words += [str(font["size"][0]), str(font["size"][1]), str(font["fontSize"])]
            return {".dump": " ".join(words + [f"{readers.crc64(font['bitmap']):016x}"]).encode()}

        def readable(value):
            """As C prints a float by %a."""
            text = value.hex().replace("p", ".p") if "." not in value.hex() else value.hex()
            mantissa, power = text.split("p")
            return mantissa.rstrip("0").rstrip(".") + "p" + power if value else ("-" if text[0] == "-" else "") + "0x0p+0"

        lines = ["map -1"] * 254 + ["map 0", "map +1", "count 2"] + ["glyph" + " 1.5" * 9, "glyph" + "-1.25 7e1" * 4 + " 0"]
        small = ("\n".join(lines + ["bitmapWidth 2", "bitmapHeight 1", "fontSize 9", "bitmap", ""])).encode() + b"\0\n\xff7abcd"
        self.compare("fnt", [small], lambda data: readers.Fnt(data).read(), dump, "fuzzFont")
        fonts = [path.read_bytes() for path in sorted((self.root / "assets/fonts").glob("*.fnt"))]
        for data, theirs in zip(fonts, self.judge_again("fnt", fonts)):
            self.expect(dump(readers.Fnt(data).read()) == theirs, "a font of the assets")
        self.expect(len(fonts) >= 3, "the assets have fonts")

    def run_widgets(self):
        files = sorted((self.root / "assets/gui").glob("*.gui"))
        files.append(self.root / "examples/tutorial/assets/gui/panel.gui")
        texts = [path.read_text(encoding="latin-1") for path in files]
        for path, text in zip(files, texts):
            widgets, faults = readers.read_gui(text)
            self.expect(not faults and readers.write_gui(widgets) == text, f"{path.name} is written as it was read")
        source = random.Random(3)
        inputs = [self.damage_lines(source.choice(texts), source) for _ in range(ROUNDS)]
        left_out = 0
        for text, theirs in zip(inputs, self.judge("gui", [text.encode("latin-1") for text in inputs])):
            widgets, faults = readers.read_gui(text)
            left_out += len(faults)
            # The root of a context is a level of its own.
            ours = readers.write_gui(widgets, 1).encode("latin-1")
            self.expect(ours == theirs[".dump"], f"gui: {faults} lines left out, {len(ours)} and {len(theirs['.dump'])} bytes")
        print(f"gui: {len(files)} files, {len(inputs)} damaged ones, {left_out} lines left out")

    @staticmethod
    def damage_lines(text, source):
        lines = text.split("\n")
        for _ in range(source.randint(1, 3)):
            at = source.randrange(len(lines))
            line = lines[at]
            has_fixed_fields = not any(word in line for word in ("GROUPBOX", "LISTBOX", "DROPLIST", "IMAGE", "NODE"))
            kind = source.randrange(7)
            if kind == 0:
                del lines[at : at + source.randint(1, 3)]
            elif kind == 1:
                lines.insert(at, source.choice(lines))
            elif kind == 2:
                lines[at] = "\t" + line
            elif kind == 3:
                lines[at] = line.removeprefix("\t")
            elif kind == 4 and has_fixed_fields:
                lines[at] = source.choice([line + " 0", line.rpartition(" ")[0]])
            elif kind == 5:
                lines[at] = line.replace("GWT_LABEL", "GWT_SLIDER").replace("GWT_BUTTON", "GWT_NONE")
            else:
                lines[at] = source.choice(["", " " + line, line + "\r", "\t" * 16 + line.lstrip("\t")])
            if not lines:
                break
        return "\n".join(lines)


def main():
    if len(sys.argv) != 4:
        print(__doc__)
        return 2
    assert readers.crc64(b"123456789") == 0x995DC9BBDF1939FA
    with tempfile.TemporaryDirectory() as folder:
        failures = Test(*sys.argv[1:], folder).run()
    print(f"{failures} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

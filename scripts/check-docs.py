#!/usr/bin/env python3
"""Checks that the pages of docs/ say what the tree says.

usage: check-docs.py [--update]   links lead somewhere, assertion lines and presets are explained, and code is the code of
                                  the files that it names; --update puts it there
       check-docs.py --xml FOLDER every public class, enumeration, macro and free function has words of its own, in
                                  Doxygen's XML
       check-docs.py --self-test

Code in a page stands between fences, and above it where it comes from: all of a file or a part of it between two lines
"[name]" and "[name end]" in comments.

    <!-- examples/tutorial/empty.cpp [empty] -->
    ```cpp
"""

import argparse
import json
import pathlib
import re
import sys
import tempfile
import textwrap
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGES = ["README.md", "docs/*.md"]
# Code of these languages must say where it comes from in the pages of docs/.
CUT_LANGUAGES = {"cpp", "cmake", "lua", "glsl", "python", "gui"}

FENCE = re.compile(
    r"^(?:<!-- (?P<file>\S+)(?: \[(?P<part>[\w-]+)\])? -->\n)?```(?P<language>\w*)\n(?P<code>.*?)^```$", re.M | re.S
)
LINK = re.compile(r"\]\((?!https?:|mailto:)([^)#\s]*)(?:#([^)\s]+))?\)")
HEADING = re.compile(r"^#+ +(.*?) *$", re.M)


def cut(text, part):
    """The lines between the marks of a part, or None."""
    mark = r"^[ \t]*(?://|#|--|<!--) \[%s\](?: -->)?\n"
    match = re.search(mark % re.escape(part) + r"(.*?)" + mark % re.escape(part + " end"), text, re.M | re.S)
    return textwrap.dedent(match.group(1)) if match else None


def slug(heading):
    """The name that a heading has in links."""
    heading = re.sub(r"[`*]", "", heading).lower()
    return re.sub(r"[^\w\- ]", "", heading).replace(" ", "-")


def without_code(text):
    return re.sub(r"`[^`\n]*`", "", FENCE.sub("", text))


def find_assertions(root):
    """(module, number) of each assertion line that the libraries can print."""
    found = set()
    for library in ("tamradeps", "tamraengine", "corvex", "gameengine"):
        for path in sorted((root / library).rglob("*.cpp")):
            text = path.read_text(encoding="utf-8")
            module = re.search(r'kModule = "([^"]+)"', text)
            for match in re.finditer(r'AssertionFailed\((?:kModule|"([^"]+)"), (\d+)\)', text):
                found.add((match.group(1) or module.group(1), int(match.group(2))))
    header = root / "gameengine/engine/entity.h"
    if header.is_file():
        numbers = re.findall(r"i_ReportUnlocked\((\d+)\)", header.read_text(encoding="utf-8"))
        found |= {("gameengine/engine/entity", int(number)) for number in numbers}
    return found


def find_described_assertions(text):
    """The same from the table of the page about debugging."""
    described, module = set(), ""
    for match in re.finditer(r"^\| (?:`([\w/]+)`)? *\| ([\d, ]+) \|", text, re.M):
        module = match.group(1) or module
        described |= {(module, int(number)) for number in match.group(2).split(",")}
    return described


class Checker:
    def __init__(self, root, update=False):
        self.root = pathlib.Path(root)
        self.update = update
        self.problems = []
        self.parts = 0
        self.links = 0

    def run(self):
        for pattern in PAGES:
            for page in sorted(self.root.glob(pattern)):
                self.check_page(page)
        self.check_assertions()
        self.check_presets()
        return self.problems

    def check_presets(self):
        page, presets = self.root / "docs/debugging.md", self.root / "CMakePresets.json"
        if not page.is_file() or not presets.is_file():
            return
        rows = "\n".join(re.findall(r"^\| (`[^|]*) \|", page.read_text(encoding="utf-8"), re.M))
        for preset in json.loads(presets.read_text(encoding="utf-8"))["configurePresets"]:
            if not preset.get("hidden") and f"`{preset['name']}`" not in rows:
                self.problems.append(f"docs/debugging.md: the preset {preset['name']} is not explained")

    def check_assertions(self):
        page = self.root / "docs/debugging.md"
        if not page.is_file():
            return
        printed, described = find_assertions(self.root), find_described_assertions(page.read_text(encoding="utf-8"))
        for module, number in sorted(printed - described):
            self.problems.append(f"docs/debugging.md: the assertion line {module} {number} is not explained")
        for module, number in sorted(described - printed):
            self.problems.append(f"docs/debugging.md: nothing prints the assertion line {module} {number}")

    def check_page(self, page):
        text = page.read_text(encoding="utf-8")
        name = page.relative_to(self.root).as_posix()
        must_cut = name.startswith("docs/")

        def replace(match):
            line = text.count("\n", 0, match.start()) + 1
            wanted = self.find_code(f"{name}:{line}", match, must_cut)
            if wanted is None or wanted == match.group("code"):
                return match.group(0)
            if not self.update:
                self.problems.append(f"{name}:{line}: the code differs from {match.group('file')} (see --update)")
                return match.group(0)
            return match.group(0)[: match.start("code") - match.start()] + wanted + "```"

        changed = FENCE.sub(replace, text)
        if changed != text:
            page.write_text(changed, encoding="utf-8")
        self.check_links(page, name, changed)

    def find_code(self, where, match, must_cut):
        file, part = match.group("file"), match.group("part")
        if not file:
            if must_cut and match.group("language") in CUT_LANGUAGES:
                self.problems.append(f"{where}: the code does not say where it comes from")
            return None
        self.parts += 1
        path = self.root / file
        if not path.is_file():
            self.problems.append(f"{where}: there is no {file}")
            return None
        source = path.read_text(encoding="utf-8")
        code = cut(source, part) if part else source
        if code is None:
            self.problems.append(f"{where}: {file} has no part [{part}]")
        return code

    def check_links(self, page, name, text):
        for match in LINK.finditer(without_code(text)):
            self.links += 1
            target = page.parent / match.group(1) if match.group(1) else page
            anchor = match.group(2)
            if not target.exists():
                self.problems.append(f"{name}: a link leads to {match.group(1)}, which is not there")
            elif anchor and target.suffix == ".md":
                headings = {slug(h) for h in HEADING.findall(without_code(target.read_text(encoding="utf-8")))}
                raw = {slug(h) for h in HEADING.findall(FENCE.sub("", target.read_text(encoding="utf-8")))}
                if anchor not in headings | raw:
                    self.problems.append(f"{name}: {target.name} has no heading #{anchor}")


def has_words(element):
    return any(
        "".join(child.itertext()).strip()
        for child in element
        if child.tag in ("briefdescription", "detaileddescription")
    )


def find_wordless(folder):
    """Public names in Doxygen's XML that have no comment."""
    compounds = []
    for path in sorted(pathlib.Path(folder).glob("*.xml")):
        compounds += xml.etree.ElementTree.parse(path).getroot().findall("compounddef")
    hidden = [c.findtext("compoundname") + "::" for c in compounds if c.get("prot") in ("private", "protected")]
    for compound in compounds:
        kind, name = compound.get("kind"), compound.findtext("compoundname")
        if compound.get("prot") in ("private", "protected") or any(name.startswith(h) for h in hidden):
            continue
        if kind in ("class", "struct", "union") and not has_words(compound):
            yield f"{compound.find('location').get('file')}: {kind} {name}"
        for member in compound.iter("memberdef"):
            is_free = kind in ("file", "namespace")
            wanted = member.get("kind") == "enum" or (
                is_free and member.get("kind") in ("function", "define", "typedef", "variable")
            )
            is_hidden = member.get("prot") != "public"
            if wanted and not is_hidden and not has_words(member):
                place = member.find("location")
                yield f"{place.get('file')}:{place.get('line')}: {member.get('kind')} {member.findtext('name')}"


def self_test():
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        (root / "docs").mkdir()
        (root / "a.cpp").write_text("int a;\n    // [b]\n    int b;\n    // [b end]\n")
        good = "# A page\n[x](#a-page)\n<!-- a.cpp [b] -->\n```cpp\nint b;\n```\n"
        cases = {
            good: 0,
            good.replace("int b", "int c"): 1,
            good.replace("[b] -->", "[c] -->"): 1,
            good.replace("a.cpp", "c.cpp"): 1,
            good.replace("<!-- a.cpp [b] -->\n", ""): 1,
            good.replace("#a-page", "#another"): 1,
            good.replace("#a-page", "none.md"): 1,
        }
        for text, count in cases.items():
            (root / "docs" / "a.md").write_text(text)
            problems = Checker(root).run()
            assert len(problems) == count, (text, problems)
        (root / "docs" / "a.md").write_text(good.replace("int b", "int c"))
        assert not Checker(root, update=True).run()
        assert (root / "docs" / "a.md").read_text() == good
        (root / "CMakePresets.json").write_text('{"configurePresets": [{"name": "x"}, {"name": "y", "hidden": true}]}')
        for text, count in {"| `x` |\n": 0, "`x`\n": 1}.items():
            (root / "docs" / "debugging.md").write_text(text)
            assert len(Checker(root).run()) == count, text
    print("each kind of problem is found")
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--xml")
    parser.add_argument("--self-test", action="store_true")
    arguments = parser.parse_args()
    if arguments.self_test:
        return self_test()
    if arguments.xml:
        wordless = list(dict.fromkeys(find_wordless(arguments.xml)))
        for line in wordless:
            print(f"{line} has no comment")
        return 1 if wordless else 0
    checker = Checker(ROOT, arguments.update)
    for problem in checker.run():
        print(problem)
    print(f"{checker.parts} parts of files, {checker.links} links, {len(checker.problems)} problems")
    return 1 if checker.problems else 0


if __name__ == "__main__":
    sys.exit(main())

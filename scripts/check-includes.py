#!/usr/bin/env python3
"""Checks the direction of every #include of the tree; see FLOORS and ROOMS for the arrows that are allowed.

usage: check-includes.py [--root FOLDER]   check a tree, this repository by default
       check-includes.py --self-test       check that each kind of breach is found
"""

import argparse
import pathlib
import re
import sys
import tempfile

# What each top folder may include besides itself. Everything not named here is not ours to check.
LIBRARIES = ["tamradeps", "tamraengine", "corvex", "gameengine"]
FLOORS = {
    "tamradeps": set(),
    "tamraengine": {"tamradeps"},
    "corvex": {"tamradeps", "tamraengine"},
    "gameengine": {"tamradeps", "tamraengine", "corvex"},
    "tools": set(LIBRARIES),
    "apps": {*LIBRARIES, "tools"},
    "tests": {*LIBRARIES, "tools", "apps", "benchmarks", "fuzz"},
    "examples": {*LIBRARIES, "tests"},
    "benchmarks": {*LIBRARIES, "tools", "apps", "tests", "fuzz"},
    "fuzz": {*LIBRARIES, "tools", "apps", "tests", "benchmarks"},
}
CHECKERS = {"tests", "benchmarks", "fuzz"}

# The same inside a library. A file that lies in the library's folder itself is above all of its rooms.
ROOMS = {
    "tamradeps": {
        "core": set(),
        "platform": {"core"},
        "math": {"core"},
        "collision": {"core", "math"},
        "udb": {"core"},
        "io": {"core", "platform"},
        "sqlite": {"core", "io", "platform"},
    },
    "gameengine": {"engine": set(), "gui": {"engine"}},
}

# The only places that may talk to the operating system; tests, benchmarks and fuzz targets are free.
SYSTEM_PLACES = ("tamradeps/platform/", "corvex/")
SYSTEM_HEADER = re.compile(
    r"(sys|linux|asm|arpa|net|netinet|mach|mach-o|X11|EGL|wayland)/"
    r"|(unistd|fcntl|dlfcn|pthread|dirent|poll|signal|sched|semaphore|spawn|termios|pwd|grp|netdb|link|ftw|glob|aio"
    r"|elf|execinfo|langinfo|mqueue|utime|windows|winsock2?|ws2tcpip|windowsx|psapi|dbghelp|shlobj|shellapi|tlhelp32"
    r"|io|direct|process|conio|tchar|malloc)\.h$",
    re.IGNORECASE,
)
# The C++ library, and compiler intrinsics that no operating system provides.
STANDARD_HEADER = re.compile(r"[a-z_0-9]+$")

SOURCE_SUFFIXES = {".h", ".hpp", ".inl", ".cpp", ".cc", ".c"}
HEADER_SUFFIXES = {".h", ".hpp", ".inl"}
COMMENT_OR_TEXT = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.DOTALL)
INCLUDE = re.compile(r"^[ \t]*#[ \t]*include\b[ \t]*(.*?)[ \t]*$", re.MULTILINE)


def without_comments(text):
    def blank(match):
        found = match.group(0)
        return found if found.startswith('"') else "\n" * found.count("\n")

    return COMMENT_OR_TEXT.sub(blank, text)


def includes(text):
    """Line number, '"' or '<' or None for anything else, and name of each include."""
    text = without_comments(text)
    for match in INCLUDE.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        target = re.match(r'"([^"]*)"|<([^>]*)>', match.group(1))
        if not target:
            yield line, None, match.group(1)
        elif target.group(1) is not None:
            yield line, '"', target.group(1)
        else:
            yield line, "<", target.group(2)


class Checker:
    def __init__(self, root):
        self.root = pathlib.Path(root)
        self.breaches = []
        self.file_count = 0
        self.include_count = 0

    def run(self):
        for top in sorted(FLOORS):
            for path in sorted((self.root / top).rglob("*")):
                if path.suffix in SOURCE_SUFFIXES and path.is_file():
                    self.check_file(path)
        return self.breaches

    def check_file(self, path):
        self.file_count += 1
        file = path.relative_to(self.root).as_posix()
        for line, kind, name in includes(path.read_text(encoding="utf-8", errors="replace")):
            self.include_count += 1
            message = self.judge(file, kind, name)
            if message:
                self.breaches.append(f"{file}:{line}: {message}")

    def judge(self, file, kind, name):
        """What is wrong with the include, or None."""
        if kind is None:
            return f"include {name} does not name a file"
        if kind == "<":
            if name.split("/")[0] in FLOORS and "/" in name:
                return f'<{name}> is ours and belongs into "quotes"'
            return self.judge_foreign(file, name)
        return self.judge_own(file, name)

    @staticmethod
    def judge_foreign(file, name):
        top = file.split("/")[0]
        if top in CHECKERS:
            return None
        is_header = top in LIBRARIES and pathlib.PurePosixPath(file).suffix in HEADER_SUFFIXES
        is_public = is_header and not is_internal(file)
        if SYSTEM_HEADER.match(name):
            if is_public:
                return f"<{name}> is the operating system's, in a public header"
            if not file.startswith(SYSTEM_PLACES):
                return f"<{name}> is the operating system's, outside " + " and ".join(SYSTEM_PLACES)
        elif is_public and not STANDARD_HEADER.match(name):
            return f"<{name}> is another library's, in a public header (a header named ...Internal.h may)"
        return None

    def judge_own(self, file, name):
        top = file.split("/")[0]
        target = name
        if top in ("tests", "examples") and name.startswith("support/"):
            target = "tests/" + name
        elif top == "examples" and name.startswith(("docs/", "tutorial/")):
            target = "examples/" + name
        parts = target.split("/")
        if len(parts) < 2 or parts[0] not in FLOORS or "." in parts or ".." in parts:
            return f'"{name}" does not start at the root'
        is_generated = parts[0] in LIBRARIES and parts[1:] == ["export.h"]
        if not is_generated and not (self.root / target).is_file():
            return f'"{name}" does not exist'
        if parts[0] != top:
            if parts[0] not in FLOORS[top]:
                return f"{top} must not include {parts[0]}"
            if top not in CHECKERS and is_internal(target):
                return f'"{name}" is internal to {parts[0]}'
            return None
        if is_internal(target) and top in LIBRARIES and not is_internal(file) and file.endswith(".h"):
            return f'"{name}" is internal, in a public header'
        return None if is_generated else self.judge_rooms(file.split("/"), parts)

    @staticmethod
    def judge_rooms(file, target):
        rooms = ROOMS.get(file[0])
        if rooms is None or len(file) < 3:
            return None
        room = file[1]
        if room not in rooms:
            return f"{file[0]}/{room} is not a known folder; name it in scripts/check-includes.py"
        if len(target) < 3:
            return f"{file[0]}/{room} must not include {'/'.join(target)}, which lies above it"
        if target[1] != room and target[1] not in rooms[room]:
            return f"{file[0]}/{room} must not include {file[0]}/{target[1]}"
        return None


def is_internal(file):
    """Headers that are not installed: only their own library includes them."""
    return file.endswith("Internal.h")


# One breach a line: the file, its text, and what the checker must say (None: nothing).
SELF_TEST = [
    ("tamradeps/core/good.h", '#pragma once\n#include <cstdint>\n#include "tamradeps/export.h"\n', None),
    ("tamradeps/core/oneInternal.h", "#include <xsimd/xsimd.hpp>\n", None),
    ("tamradeps/core/one.cpp", '#include "tamradeps/core/oneInternal.h"\n#include <spdlog/spdlog.h>\n', None),
    ("tamradeps/platform/files.cpp", '#include "tamradeps/core/good.h"\n#include <sys/stat.h>\n', None),
    ("corvex/window.cpp", "#include <unistd.h>\n", None),
    ("gameengine/engine/entity.h", '#include "tamradeps/core/good.h"\n', None),
    ("gameengine/gui/widget.h", '#include "gameengine/engine/entity.h"\n', None),
    ("gameengine/gameEngine.h", '#include "gameengine/gui/widget.h"\n#include "gameengine/engine/entity.h"\n', None),
    ("tools/t/tool.h", '#include <CLI/CLI.hpp>\n#include "gameengine/gameEngine.h"\n', None),
    ("apps/a/main.cpp", '#include "tools/t/tool.h"\n', None),
    ("tests/support/scene.h", "#include <unistd.h>\n", None),
    ("tests/x.cpp", '#include "support/scene.h"\n#include "tamradeps/core/oneInternal.h"\n', None),
    ("examples/tutorial/town.h", "", None),
    ("examples/tutorial/town.cpp", '#include "tutorial/town.h"\n#include "support/scene.h"\n', None),
    ("benchmarks/b.cpp", '#include "tests/support/scene.h"\n#include "apps/a/main.cpp"\n', None),
    ("tamradeps/core/comments.cpp", '/* a\n#include "no/such.h"\n*/ // #include "x.h"\nauto t = "/*";\n', None),
    ("tamradeps/core/up.cpp", '\n#include "corvex/window.cpp"\n', "2: tamradeps must not include corvex"),
    ("tamraengine/up.cpp", '#include "corvex/window.cpp"\n', "1: tamraengine must not include corvex"),
    ("corvex/up.cpp", '#include "gameengine/gameEngine.h"\n', "1: corvex must not include gameengine"),
    ("gameengine/up.cpp", '#include "tools/t/tool.h"\n', "1: gameengine must not include tools"),
    ("tools/t/up.cpp", '#include "apps/a/main.cpp"\n', "1: tools must not include apps"),
    ("apps/a/test.cpp", '#include "tests/support/scene.h"\n', "1: apps must not include tests"),
    ("tamradeps/core/room.cpp", '#include "tamradeps/platform/files.cpp"\n',
     "1: tamradeps/core must not include tamradeps/platform"),
    ("tamradeps/udb/room.cpp", '#include "tamradeps/platform/files.cpp"\n',
     "1: tamradeps/udb must not include tamradeps/platform"),
    ("tamradeps/attic/room.cpp", '#include "tamradeps/core/good.h"\n', "1: tamradeps/attic is not a known folder"),
    ("gameengine/engine/room.cpp", '#include "gameengine/gui/widget.h"\n',
     "1: gameengine/engine must not include gameengine/gui"),
    ("gameengine/gui/above.cpp", '#include "gameengine/gameEngine.h"\n',
     "1: gameengine/gui must not include gameengine/gameEngine.h, which lies above it"),
    ("tamradeps/core/angle.cpp", "#include <tamradeps/core/good.h>\n", "1: <tamradeps/core/good.h> is ours"),
    ("tamradeps/core/near.cpp", '/**/ #  include "good.h"\n', '1: "good.h" does not start at the root'),
    ("tamradeps/core/dots.cpp", '#include "tamradeps/core/../core/good.h"\n', "does not start at the root"),
    ("examples/app.cpp", '#include "apps/a/main.cpp"\n', "1: examples must not include apps"),
    ("apps/a/support.cpp", '#include "support/scene.h"\n', "does not start at the root"),
    ("tamradeps/core/gone.cpp", '#include "tamradeps/core/gone.h"\n', '1: "tamradeps/core/gone.h" does not exist'),
    ("tamradeps/core/case.cpp", '#include "tamradeps/core/Good.h"\n', '1: "tamradeps/core/Good.h" does not exist'),
    ("tamradeps/core/macro.cpp", "#include GOOD\n", "1: include GOOD does not name a file"),
    ("tamradeps/platform/public.h", "#include <windows.h>\n", "1: <windows.h> is the operating system's, in a public"),
    ("tamradeps/io/system.cpp", "#include <Windows.h>\n", "1: <Windows.h> is the operating system's, outside"),
    ("apps/a/system.cpp", "#include <sys/mman.h>\n", "1: <sys/mman.h> is the operating system's, outside"),
    ("tamradeps/math/public.h", "#include <glm/glm.hpp>\n", "1: <glm/glm.hpp> is another library's, in a public"),
    ("tamradeps/core/internal.h", '#include "tamradeps/core/oneInternal.h"\n', "is internal, in a public header"),
    ("corvex/internal.cpp", '#include "tamradeps/core/oneInternal.h"\n', "is internal to tamradeps"),
]


def self_test():
    with tempfile.TemporaryDirectory() as root:
        for file, text, _ in SELF_TEST:
            path = pathlib.Path(root, file)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        found = Checker(root).run()
    failures = []
    for file, _, expected in SELF_TEST:
        said = [breach for breach in found if breach.startswith(file + ":")]
        if expected is None and said:
            failures.append(f"{file}: expected nothing, found {said}")
        elif expected is not None and (len(said) != 1 or expected not in said[0]):
            failures.append(f"{file}: expected '{expected}', found {said}")
    for failure in failures:
        print(failure)
    breaches = sum(expected is not None for _, _, expected in SELF_TEST)
    print(f"self-test: {breaches} kinds of breach, {len(failures)} failures")
    return 1 if failures else 0


def main():
    parser = argparse.ArgumentParser(description="Checks the direction of every #include.")
    parser.add_argument("--root", default=pathlib.Path(__file__).resolve().parent.parent)
    parser.add_argument("--self-test", action="store_true")
    arguments = parser.parse_args()
    if arguments.self_test:
        return self_test()
    checker = Checker(arguments.root)
    for breach in checker.run():
        print(breach)
    if checker.file_count == 0:
        print(f"{arguments.root}: no source files")
        return 1
    print(f"{checker.file_count} files, {checker.include_count} includes, {len(checker.breaches)} breaches")
    return 1 if checker.breaches else 0


if __name__ == "__main__":
    sys.exit(main())

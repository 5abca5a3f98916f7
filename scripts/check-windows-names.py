#!/usr/bin/env python3
"""Finds names in the public headers that <windows.h> defines as macros.

A program that includes it before ours would compile another name than the libraries export. Asks mingw-w64's compiler
for the macros; usage: check-windows-names.py [COMPILER]
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ["tamradeps", "tamraengine", "corvex", "gameengine"]
# Macros of other compilers' headers that mingw-w64 leaves out for C++; true for those that need an argument list.
MORE = {"min": True, "max": True, "near": False, "far": False}
# Comments, texts, characters and directives other than definitions.
NOISE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|^\s*#[^\n]*', re.S | re.M)


def list_macros(compiler: str, text: str) -> dict[str, bool]:
    command = [compiler, "-std=c++20", "-E", "-dM", "-x", "c++", "-"]
    lines = subprocess.run(command, input=text, text=True, capture_output=True, check=True).stdout
    return {name: bool(bracket) for name, bracket in re.findall(r"^#define (\w+)(\(?)", lines, re.M)}


def get_macros(compiler: str) -> dict[str, bool]:
    usual = list_macros(compiler, "")
    macros = list_macros(compiler, "#include <windows.h>\n")
    return {name: takes for name, takes in macros.items() if name not in usual} | MORE


def main() -> int:
    macros = get_macros(sys.argv[1] if len(sys.argv) > 1 else "x86_64-w64-mingw32-g++-posix")
    faults = 0
    headers = [path for folder in FOLDERS for path in sorted((ROOT / folder).rglob("*.h"))
               if not path.name.endswith("Internal.h")]
    for path in headers:
        code = NOISE.sub(lambda match: "\n" * match.group().count("\n"), path.read_text(encoding="utf-8"))
        for number, line in enumerate(code.split("\n"), 1):
            for name, bracket in re.findall(r"\b([A-Za-z_]\w*)\b\s*(\(?)", line):
                if name in macros and (bracket or not macros[name]):
                    faults += 1
                    print(f"{path.relative_to(ROOT)}:{number}: {name} is a macro of <windows.h>")
    print(f"{len(headers)} public headers, {len(macros)} macros, {faults} names are both")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

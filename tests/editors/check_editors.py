#!/usr/bin/env python3
"""Checks the editors' files: samples with what each word is, every example of the tree, snippets,
what the pointer shows. Exit status 77 says that what it needs is not installed."""
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from textmate import Grammar  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]
VSCODE = ROOT / "editors/vscode"
SKIPPED = 77
# The letter of a scope or of a Vim group, by its beginning.
LETTERS = {
    "comment": "c", "string": "s", "constant.character": "s", "keyword": "k", "support.function": "i",
    "entity.name.tag": "h", "support.type.unit": "u", "constant": "n", "variable": "m",
    "kestraneComment": "c", "kestraneString": "s", "kestraneKeyword": "k", "kestraneInner": "i",
    "kestraneComponentColumn": "h", "kestraneExperimentColumn": "h", "kestraneUnit": "u",
    "kestraneNumber": "n", "kestraneFlag": "n", "kestraneMacro": "m", "kestraneHeads": ".",
}


def letter_of(name):
    for beginning, letter in LETTERS.items():
        if name.startswith(beginning):
            return letter
    return "."


def samples():
    """(line, column from 0, letter)"""
    lines = [line for line in (ROOT / "tests/editors/samples.txt").read_text().splitlines()
             if not line.startswith("#")]
    for text, marks in zip(lines[::2], lines[1::2], strict=True):
        assert any(mark != " " for mark in marks) and len(marks) <= len(text), text
        for column, mark in enumerate(marks):
            if mark != " ":
                yield text, column, mark


def scripts():
    return sorted((ROOT / "examples").glob("*.dat")) + sorted((ROOT / "tests/scripts").rglob("*.in"))


def matches(alias, word):
    if alias.endswith("&"):
        return word.upper().startswith(alias[:-1].upper())
    return word.upper() == alias.upper()


def textmate_letters(grammar, line):
    return "".join(letter_of(names[-1]) if names else "." for names in grammar.scopes(line))


def check_samples(letters):
    problems = []
    for text, column, mark in samples():
        found = letters(text)[column]
        if found != mark:
            problems.append(f"{text!r}, column {column + 1}: {found} where {mark} is expected")
    return problems


def check_scripts(letters, data):
    """Of every script: a comment is one to its end, a top keyword at a line's beginning is seen, as
    are a number with its unit and quoted text."""
    top = [a for key in data["keywords"] if key["context"] in ("any", "script") for a in key["aliases"]]
    problems, seen = [], {"c": 0, "k": 0, "n": 0, "s": 0, "h": 0, "u": 0}

    def expect(path, line, at, stop, wanted, found):
        seen[wanted[0]] += 1
        if any(letter not in wanted for letter in found[at:stop]):
            problems.append(f"{path.name}: {line!r} from column {at + 1}: {found[at:stop]}, not {wanted}")

    for path in scripts():
        for line in path.read_text(encoding="latin-1").splitlines():
            found = letters(line)
            if re.match(r"--|==|[*#;:!]", line):
                expect(path, line, 0, len(line), "c", found)
                continue
            word = re.match(r"\s*([A-Za-z][\w&+-]*)(?=\s|$)", line)
            if word and any(matches(alias, word[1]) for alias in top):
                expect(path, line, *word.span(1), "kh", found)
            value = re.match(r"FLASH\s+(\d+)\s+(bar|psia|F|C|K)(?=\s|$)", line)
            if value:
                expect(path, line, *value.span(1), "n", found)
                expect(path, line, *value.span(2), "u", found)
            text = re.match(r'TITLE\s+("[^"]+")\s*$', line)
            if text:
                expect(path, line, *text.span(1), "s", found)
            heads = re.match(r"NAME\s+(MW)\s+(?:SG\s+)?", line)
            if heads:
                expect(path, line, *heads.span(1), "h", found)
    lacking = [letter for letter, count in seen.items() if count == 0]
    return problems + [f"no script has what letter {letter} stands for" for letter in lacking]


def check_grammar():
    grammar = Grammar(json.loads((VSCODE / "syntaxes/kestrane.tmLanguage.json").read_text()))
    data = json.loads((VSCODE / "data.json").read_text())
    known = {}

    def letters(line):
        if line not in known:
            known[line] = textmate_letters(grammar, line)
        return known[line]

    return check_samples(letters) + check_scripts(letters, data) + check_snippets(letters)


def check_snippets(letters):
    """Snippets begin their lines with words of the language, once their fields are filled in."""
    problems = []
    for name, snippet in json.loads((VSCODE / "snippets/kestrane.json").read_text()).items():
        body = snippet["body"]
        assert body[-1] == "$0", name
        plain = [re.sub(r"\$\{\d+(?::([^}]*)|\|([^,|]*)[^|]*\|)\}", lambda m: m[1] or m[2], line)
                 for line in body[:-1]]
        for line in plain:
            if "$" in line or not line:
                problems.append(f"snippet {name}: {line!r}")
        if letters(plain[0])[0] != "k":
            problems.append(f"snippet {name} does not begin with a keyword")
    return problems


def check_manifest():
    """What the extension's manifest names is there."""
    manifest = json.loads((VSCODE / "package.json").read_text())
    parts = manifest["contributes"]
    named = [manifest["main"]] + [part["path"] for part in parts["grammars"] + parts["snippets"]]
    named += [language["configuration"] for language in parts["languages"]]
    json.loads((VSCODE / "language-configuration.json").read_text())
    return [f"package.json names {name}" for name in named if not (VSCODE / name).is_file()]


def check_oniguruma():
    """The samples by the library that editors use, where its node modules are found."""
    node = shutil.which("node")
    lines = sorted({text for text, _, _ in samples()})
    result = subprocess.run([node, ROOT / "tests/editors/oniguruma.js", VSCODE / "syntaxes/kestrane.tmLanguage.json"],
                            input=json.dumps(lines), capture_output=True, text=True) if node else None
    if result is None or result.returncode == SKIPPED:
        print("skipped: node or its modules vscode-textmate and vscode-oniguruma are not installed")
        return None
    assert result.returncode == 0, result.stderr
    found = dict(zip(lines, json.loads(result.stdout), strict=True))
    return check_samples(lambda line: "".join(letter_of(name) for name in found[line]))


HOVER_CASES = [("flash", "**FLASH [temperature] [pressure]** (top level)"), ("properties", "CHAR"),
               ("TC", "Critical Temperature"), ("psia", "Unit **psia**: pressure"),
               ("CO2", "Carbon Dioxide"), ("END", "anywhere"), ("SHAPE", "in GAMMA"), ("xyzzy", None),
               ("FLASHED", None)]


def check_hover():
    node = shutil.which("node")
    if not node:
        print("skipped: node is not installed")
        return None
    program = ("const d = require('./data.json'), h = require('./hover.js');"
               "console.log(JSON.stringify(JSON.parse(process.argv[1]).map((w) => h.describe(d, w))));")
    words = json.dumps([word for word, _ in HOVER_CASES])
    result = subprocess.run([node, "-e", program, words], cwd=VSCODE, check=True, capture_output=True, text=True)
    problems = []
    for (word, wanted), text in zip(HOVER_CASES, json.loads(result.stdout), strict=True):
        if (wanted is None) != (text is None) or (wanted and wanted not in text):
            problems.append(f"hover over {word}: {text!r}, expected {wanted!r}")
    return problems


VIM_PROGRAM = """
set nocompatible
syntax on
execute 'source ' . $SYNTAX
let found = []
for line in range(1, line('$'))
  let letters = map(range(1, max([1, strlen(getline(line))])), 'synIDattr(synID(line, v:val, 1), "name")')
  call add(found, join(letters, ' '))
endfor
call writefile(found, $FOUND)
qall!
"""


def vim_letters(vim, lines):
    """line -> letters, all lines coloured in one run of Vim"""
    with tempfile.TemporaryDirectory() as place:
        place = pathlib.Path(place)
        (place / "lines").write_text("\n".join(lines) + "\n", encoding="latin-1")
        (place / "program.vim").write_text(VIM_PROGRAM)
        subprocess.run([vim, "-Nu", "NONE", "-i", "NONE", "-n", "-es", "--cmd", "set encoding=latin1", "-S",
                        place / "program.vim", place / "lines"], timeout=200, check=True, stdin=subprocess.DEVNULL,
                       env={"SYNTAX": str(ROOT / "editors/vim/syntax/kestrane.vim"), "HOME": str(place),
                            "FOUND": str(place / "found"), "TERM": "dumb", "PATH": "/usr/bin:/bin"})
        found = (place / "found").read_text().split("\n")
    return {line: "".join(letter_of(name) for name in names.split(" "))
            for line, names in zip(lines, found[:len(lines)], strict=True)}


def check_vim():
    vim = shutil.which("vim")
    if not vim:
        print("skipped: vim is not installed")
        return None
    if "+syntax" not in subprocess.run([vim, "--version"], capture_output=True, text=True, check=True).stdout:
        print("skipped: this vim has no syntax")
        return None
    data = json.loads((VSCODE / "data.json").read_text())
    lines = {text for text, _, _ in samples()}
    for path in sorted((ROOT / "examples").glob("*.dat")):
        lines |= set(path.read_text(encoding="latin-1").splitlines())
    known = vim_letters(vim, sorted(lines))
    return check_samples(known.__getitem__) + check_examples_in(known, data) + check_detection(vim)


def check_detection(vim):
    """Scripts are known by what stands in them; other files of the same extension are left alone."""
    with tempfile.TemporaryDirectory() as place:
        other = pathlib.Path(place) / "other.dat"
        other.write_text("1 2 3\nA CHAR 4 5 6\n")
        found = pathlib.Path(place) / "found"
        wanted = {path: "kestrane" for path in sorted((ROOT / "examples").glob("*.dat"))} | {other: ""}
        program = ["set nocompatible", f"let &runtimepath = '{ROOT}/editors/vim,' . $VIMRUNTIME", "filetype on"]
        for path in wanted:
            program += [f"edit {path}", f"call writefile([&filetype], '{found}', 'a')"]
        (pathlib.Path(place) / "program.vim").write_text("\n".join(program + ["qall!"]) + "\n")
        subprocess.run([vim, "-Nu", "NONE", "-i", "NONE", "-n", "-es", "-S", pathlib.Path(place) / "program.vim"],
                       timeout=200, check=True, stdin=subprocess.DEVNULL)
        types = found.read_text().splitlines()
    return [f"{path.name}: file type {given!r}, not {kind!r}"
            for (path, kind), given in zip(wanted.items(), types, strict=True)
            if given != kind and not (kind == "" and given != "kestrane")]


def check_examples_in(known, data):
    """The scripts' check, with those lines alone that were coloured."""
    return [problem for problem in check_scripts(lambda line: known.get(line, None) or "?" * len(line), data)
            if "?" not in problem.rsplit(":", 1)[1]]


CHECKS = {"grammar": check_grammar, "manifest": check_manifest, "oniguruma": check_oniguruma, "hover": check_hover,
          "vim": check_vim}


def main():
    problems = CHECKS[sys.argv[1]]()
    if problems is None:
        return SKIPPED
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())

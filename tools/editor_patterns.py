"""Patterns of the script language, for TextMate grammars and for Vim.

One set of patterns is written in the part of regular expressions that Oniguruma and Python share;
Vim's are written beside it. A final "&" of a keyword's alias matches any tail of the word.
"""
import re

# Characters of a word: all but blanks and the punctuation that ends it.
WORD = r"""[^\s!"$&'(),:;<=>@\[\\\]^`{|}]"""
END = f"(?!{WORD})"
# What may stand before a word or number.
START = r"""(?<![^\s!"$&'(),:;<=>@\[\\\]^`{|}])"""
NUMBER = r"(?:\d+\*)?[-+]?(?:\d+\.?\d*|\.\d+)(?:[eEdD][-+]?\d+)?"
VIM_WORD = r"""[^ \t!"$&'(),:;<=>@[\\\]^`{|}]"""
VIM_NUMBER = r"%(\d+\*)?[-+]?%(\d+\.?\d*|\.\d+)%([eEdD][-+]?\d+)?"


def alias_pattern(alias):
    return re.escape(alias[:-1]) + WORD + "*" if alias.endswith("&") else re.escape(alias)


def any_of(aliases):
    """A whole word that one of the aliases matches."""
    return f"(?:{'|'.join(alias_pattern(a) for a in sorted(set(aliases)))}){END}"


def aliases_in(data, accepts):
    return sorted({a for key in data["keywords"] if accepts(key["context"]) for a in key["aliases"]})


def parents(data):
    """Keywords with keywords of their own that may stand behind them: their aliases and those."""
    result = []
    contexts = sorted({key["context"] for key in data["keywords"]} - {"any", "script", "experiment"})
    for context in contexts:
        owners = sorted({a for key in data["keywords"] if key["aliases"][0] == context for a in key["aliases"]})
        result.append((owners or [context], aliases_in(data, lambda c, wanted=context: c == wanted)))
    return result


def columns_of(data, table):
    return sorted({k for column in data["columns"] if column["table"] == table for k in column["keywords"]})


def units_pattern(data):
    return "(?:" + "|".join(re.escape(u) for u in sorted(data["units"], key=lambda u: (-len(u), u))) + ")" + END


def textmate(data):
    top = any_of(aliases_in(data, lambda c: c in ("any", "script")))
    inner = any_of(aliases_in(data, lambda c: c not in ("any", "script")))
    unit = units_pattern(data)
    keys = any_of([k for k in columns_of(data, "components") if k[:4] in ("NAME", "COMP")])
    components = any_of(columns_of(data, "components"))
    experiments = any_of(columns_of(data, "experiments"))
    in_brackets = r"(?:\s*\([^()\s]*\))?"
    heading_words = lambda words: [
        {"include": "#comment"},
        {"match": f"(?i){START}{words}", "name": "entity.name.tag.column.kestrane"},
        {"match": rf"(?i)\(({unit})\)", "captures": {"1": {"name": "support.type.unit.kestrane"}}},
        {"match": f"(?i){START}{unit}", "name": "support.type.unit.kestrane"},
    ]
    on_line = [{
        "match": rf"(?i)^\s*({any_of(owners)})\s+({any_of(inside)})",
        "captures": {"1": {"name": "keyword.control.kestrane"}, "2": {"name": "support.function.kestrane"}},
    } for owners, inside in parents(data)]
    return {
        "name": "Kestrane",
        "scopeName": "source.kestrane",
        "patterns": [{"include": f"#{name}"} for name in (
            "comment", "headings", "keywords", "units-line", "strings", "macros", "values")],
        "repository": {
            "comment": {"patterns": [
                {"match": r"^(?:--|==|[*#;:!]).*$", "name": "comment.line.kestrane"},
                {"match": r";.*$", "name": "comment.line.kestrane"},
                {"match": rf"{START}/.*$", "name": "comment.line.end-of-data.kestrane"},
            ]},
            "headings": {"patterns": [
                {"begin": rf"(?i)^(?=\s*{keys})", "end": "$", "patterns": heading_words(components)},
                {"begin": rf"(?i)^(?=\s*{experiments}{in_brackets}\s+{experiments}{in_brackets}(?:\s|$))",
                 "end": "$", "patterns": heading_words(experiments)},
            ]},
            "units-line": {"patterns": [
                {"match": rf"(?i)^\s*{unit}(?:\s+{unit})*\s*$", "name": "support.type.unit.kestrane"},
            ]},
            "keywords": {"patterns": on_line + [
                {"match": rf"(?i)^\s*({top})", "captures": {"1": {"name": "keyword.control.kestrane"}}},
                {"match": rf"(?i)^\s*({inner})", "captures": {"1": {"name": "support.function.kestrane"}}},
            ]},
            "strings": {"patterns": [
                {"begin": mark, "end": f"{mark}(?!{mark})|$", "name": f"string.quoted.{name}.kestrane",
                 "patterns": [{"match": mark + mark, "name": "constant.character.escape.kestrane"}]}
                for mark, name in (('"', "double"), ("'", "single"))
            ]},
            "macros": {"patterns": [
                {"match": r"\?[^?\s]+\?", "name": "variable.other.macro.kestrane"},
            ]},
            "values": {"patterns": [
                {"match": rf"(?i){START}({NUMBER}){END}(?:[ \t]+({unit}))?",
                 "captures": {"1": {"name": "constant.numeric.kestrane"},
                              "2": {"name": "support.type.unit.kestrane"}}},
                {"match": rf"{START}\d+\*{END}", "name": "constant.numeric.repeat.kestrane"},
                {"match": f"(?i){START}(?:ON|OFF){END}", "name": "constant.language.kestrane"},
            ]},
        },
    }


def vim_alias(alias):
    """For Vim's very magic patterns."""
    wild = alias.endswith("&")
    text = re.sub(r"([^\w])", r"\\\1", alias[:-1] if wild else alias)
    return text + VIM_WORD + "*" if wild else text


def vim_any(aliases):
    return f"%({'|'.join(vim_alias(a) for a in sorted(set(aliases)))}){VIM_WORD}@!"


def vim_units(data):
    units = sorted(data["units"], key=lambda u: (-len(u), u))
    return "%(" + "|".join(re.sub(r"([^\w])", r"\\\1", u) for u in units) + f"){VIM_WORD}@!"


def quoted(pattern):
    """Vim takes any character for the marks around a pattern; no pattern here holds this one."""
    assert "~" not in pattern
    return f"~{pattern}~"


VIM_HEAD = '''" Vim syntax file
" Language: scripts of Kestrane
" Made by tools/editor-data from the program's dictionaries: change the patterns there.

if exists("b:current_syntax")
  finish
endif
syntax case ignore
'''
VIM_TAIL = '''
highlight default link kestraneComment Comment
highlight default link kestraneString String
highlight default link kestraneMacro PreProc
highlight default link kestraneKeyword Statement
highlight default link kestraneInner Function
highlight default link kestraneColumn Identifier
highlight default link kestraneUnit Type
highlight default link kestraneNumber Number
highlight default link kestraneFlag Constant

let b:current_syntax = "kestrane"
'''


def vim(data):
    """Of the matches that begin at one place Vim takes the last defined."""
    top = vim_any(aliases_in(data, lambda c: c in ("any", "script")))
    inner = vim_any(aliases_in(data, lambda c: c not in ("any", "script")))
    unit = vim_units(data)
    keys = vim_any([k for k in columns_of(data, "components") if k[:4] in ("NAME", "COMP")])
    components = vim_any(columns_of(data, "components"))
    experiments = vim_any(columns_of(data, "experiments"))
    brackets = r"%(\s*\([^() \t]*\))?"
    before = VIM_WORD + "@1<!"
    lines = [
        ("match", "kestraneUnit", rf"\v{before}{unit}", "contained"),
        ("match", "kestraneNumber", rf"\v{before}\d+\*{VIM_WORD}@!", ""),
        ("match", "kestraneNumber", rf"\v{before}{VIM_NUMBER}{VIM_WORD}@!",
         "nextgroup=kestraneUnit skipwhite"),
        ("match", "kestraneFlag", rf"\v{before}%(ON|OFF){VIM_WORD}@!", ""),
        ("match", "kestraneUnitsLine", rf"\v^\s*\zs{unit}%(\s+{unit})*\s*$", "contains=kestraneUnit"),
        ("match", "kestraneInner", rf"\v^\s*\zs{inner}", ""),
        ("match", "kestraneKeyword", rf"\v^\s*\zs{top}", ""),
    ]
    for number, (owners, inside) in enumerate(parents(data)):
        group = f"kestraneInner{number}"
        lines += [("match", group, rf"\v{before}{vim_any(inside)}", "contained"),
                  ("match", "kestraneKeyword", rf"\v^\s*\zs{vim_any(owners)}\ze\s+{vim_any(inside)}",
                   f"nextgroup={group} skipwhite")]
    lines += [
        ("match", "kestraneComponentColumn", rf"\v{before}{components}", "contained"),
        ("match", "kestraneExperimentColumn", rf"\v{before}{experiments}", "contained"),
        ("match", "kestraneHeads", rf"\v^\s*{keys}.*$",
         "contains=kestraneComment,kestraneUnit,kestraneComponentColumn"),
        ("match", "kestraneHeads", rf"\v^\s*{experiments}{brackets}\s+{experiments}{brackets}%(\s|$)@=.*$",
         "contains=kestraneComment,kestraneUnit,kestraneExperimentColumn"),
        ("match", "kestraneMacro", r"\v\?[^? \t]+\?", ""),
        ("region", "kestraneString", None, "start=+\"+ skip=+\"\"+ end=+\"+ end=+$+ oneline"),
        ("region", "kestraneString", None, "start=+'+ skip=+''+ end=+'+ end=+$+ oneline"),
        ("match", "kestraneComment", rf"\v{before}/.*$", ""),
        ("match", "kestraneComment", r"\v;.*$", ""),
        ("match", "kestraneComment", r"\v^%(--|\=\=|[*#;:!]).*$", ""),
    ]
    text = VIM_HEAD
    for kind, group, pattern, options in lines:
        text += f"syntax {kind} {group} {quoted(pattern) if pattern else ''} {options}".rstrip() + "\n"
    text += VIM_TAIL
    for number in range(len(parents(data))):
        text += f"highlight default link kestraneInner{number} kestraneInner\n"
    return text + ("highlight default link kestraneComponentColumn kestraneColumn\n"
                   "highlight default link kestraneExperimentColumn kestraneColumn\n")


def vim_detection(data):
    """A .dat file is a script if one of its first lines opens a characterization."""
    char = next(k["aliases"] for k in data["keywords"]
                if k["context"] == "script" and "CHAR&" in k["aliases"])
    return ('" Made by tools/editor-data. Files .dat are many things: a script describes a fluid.\n'
            "autocmd BufNewFile,BufRead *.dat\n"
            f"  \\ if match(getline(1, 500), '\\c\\v^\\s*{vim_any(char).replace(chr(39), chr(39) * 2)}') >= 0 |\n"
            "  \\   setfiletype kestrane |\n"
            "  \\ endif\n")

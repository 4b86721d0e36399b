"""Colours lines by a TextMate grammar, as far as the grammar of this tree goes: match, begin and end,
captures, includes of the repository. Oniguruma's patterns are run as Python's, which the grammar
keeps to."""
import functools
import re


@functools.lru_cache(maxsize=None)
def compiled(pattern):
    return re.compile(pattern)


class Grammar:
    def __init__(self, grammar):
        self.grammar = grammar

    def flat(self, patterns):
        for rule in patterns:
            if "include" in rule:
                yield from self.flat(self.grammar["repository"][rule["include"][1:]]["patterns"])
            else:
                yield rule

    def scopes(self, line):
        """For each character of the line, the names of its scopes, outermost first. No rule of the
        grammar reaches over a line's end."""
        scopes = [[] for _ in line]
        self._run(line, 0, list(self.flat(self.grammar["patterns"])), None, scopes)
        return scopes

    def _run(self, line, at, rules, end, scopes):
        """Applies the rules from `at` on; the place behind the end's match, or the line's end."""
        while at <= len(line):
            found, chosen = None, None
            if end is not None:
                found = compiled(end).search(line, at)
            for rule in rules:
                match = compiled(rule.get("match") or rule["begin"]).search(line, at)
                if match and (found is None or match.start() < found.start()):
                    found, chosen = match, rule
            if found is None:
                return len(line)
            if chosen is None:
                return found.end()
            if "begin" in chosen:
                inner = list(self.flat(chosen.get("patterns", [])))
                stop = self._run(line, found.end(), inner, chosen["end"], scopes)
                self._mark(scopes, found.start(), stop, chosen.get("name"), outermost=True)
            else:
                stop = found.end()
                for group, capture in chosen.get("captures", {}).items():
                    self._mark(scopes, *found.span(int(group)), capture["name"])
                self._mark(scopes, found.start(), stop, chosen.get("name"), outermost=True)
            at = max(stop, at + 1) if stop == found.start() else stop
        return len(line)

    @staticmethod
    def _mark(scopes, start, stop, name, outermost=False):
        if name is None or start < 0:
            return
        for names in scopes[start:stop]:
            names.insert(0 if outermost else len(names), name)

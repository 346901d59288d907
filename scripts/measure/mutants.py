"""Finds where a C++ source can be changed a little, on the level of tokens: comparisons, off-by-ones, conditions, logical
operators, calls whose result nobody takes. Relies on the format of the code: a binary operator stands between spaces, an
angle bracket of a template does not."""

import random
import re
from dataclasses import dataclass

TOKEN = re.compile(r"""
    (?P<skip>    //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:[^\n]*\\\n)*[^\n]* | \s+ )
  | (?P<literal> R"(?P<end>[^(\s]*)\(.*?\)(?P=end)" | "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])+' )
  | (?P<number>  \.?\d(?:[eEpP][+-]|'\w|[\w.])* )
  | (?P<word>    [A-Za-z_]\w* )
  | (?P<mark>    <<=|>>=|->|::|<<|>>|<=|>=|==|!=|&&|\|\||\+\+|--|[-+*/%&|^]=|. )
""", re.VERBOSE | re.DOTALL | re.MULTILINE)

# At its boundary, and turned round.
COMPARISONS = {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="], "!=": ["=="]}
LOGICAL = {"&&": "||", "||": "&&"}
ONE = re.compile(r"1[uU]?[lL]{0,2}$")
NOT_A_CALL = {"alignas", "case", "catch", "co_return", "decltype", "delete", "do", "else", "for", "goto", "if", "new", "operator",
              "return", "sizeof", "static_assert", "switch", "throw", "typedef", "using", "while"}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


@dataclass(frozen=True)
class Mutant:
    file: str
    line: int
    column: int
    kind: str
    start: int
    end: int
    original: str
    replacement: str

    def applied(self, text):
        return text[:self.start] + self.replacement + text[self.end:]


def tokens_of(text):
    found = []
    for match in TOKEN.finditer(text):
        if match.lastgroup != "skip" and match["skip"] is None:
            kind = next(kind for kind in ("literal", "number", "word", "mark") if match[kind] is not None)
            found.append(Token(kind, match[0], match.start(), match.end()))
    return found


def closing(tokens, opening):
    """The index of the bracket that closes the one at `opening`; none where brackets do not pair."""
    depth = 0
    for i in range(opening, len(tokens)):
        if tokens[i].text in ("(", "[", "{"):
            depth += 1
        elif tokens[i].text in (")", "]", "}"):
            depth -= 1
            if depth == 0:
                return i
    return None


def without_static_asserts(tokens):
    kept, i = [], 0
    while i < len(tokens):
        if tokens[i].text == "static_assert":
            i = closing(tokens, i + 1) or i
        else:
            kept.append(tokens[i])
        i += 1
    return kept


def end_of_call(tokens, i):
    """The index of the semicolon of a statement that begins at `i` and is nothing but a call; none where it is not."""
    if tokens[i].text == "Q_EMIT":
        i += 1
    wants_name, called = True, False
    while i is not None and i < len(tokens):
        token = tokens[i]
        if wants_name:
            if token.kind != "word" or token.text in NOT_A_CALL:
                return None
            wants_name = False
        elif token.text in (".", "->", "::"):
            wants_name, called = True, False
        elif token.text in ("(", "["):
            called = token.text == "("
            i = closing(tokens, i)
            if i is None:
                return None
        else:
            return i if token.text == ";" and called else None
        i += 1
    return None


def is_turned_elsewhere(condition):
    """Whether turning one operator of the condition is turning the condition."""
    texts = [token.text for token in condition]
    if "&&" in texts or "||" in texts:
        return False
    return texts[0] == "!" or any(text in COMPARISONS for text in texts)


def mutants_of(file, text):
    """All of a source, in its order."""
    tokens = without_static_asserts(tokens_of(text))
    found = []

    def add(kind, start, end, replacement):
        line_start = text.rfind("\n", 0, start) + 1
        found.append(Mutant(file, text.count("\n", 0, start) + 1, start - line_start + 1, kind, start, end, text[start:end],
                            replacement))

    for i, token in enumerate(tokens):
        following = tokens[i + 1] if i + 1 < len(tokens) else None
        is_binary = text[token.start - 1:token.start].isspace() and text[token.end:token.end + 1].isspace()
        if is_binary and token.text in COMPARISONS:
            for replacement in COMPARISONS[token.text]:
                add("comparison", token.start, token.end, replacement)
        elif is_binary and token.text in LOGICAL:
            add("logical", token.start, token.end, LOGICAL[token.text])
        elif is_binary and token.text in ("+", "-") and following and ONE.match(following.text):
            add("off by one", following.start, following.end, "0")
        elif token.text == "!":
            add("negation", token.start, token.end, "")
        elif token.text in ("if", "while") and following and following.text == "(":
            end = closing(tokens, i + 1)
            if end is not None and not is_turned_elsewhere(tokens[i + 2:end]):
                add("negation", following.end, tokens[end].start, f"!({text[following.end:tokens[end].start]})")
        if i > 0 and tokens[i - 1].text in (";", "{", "}", ")", "else"):
            end = end_of_call(tokens, i)
            if end is not None:
                add("dropped call", token.start, tokens[end].start, "")
    return found


def drawn(sources, seed):
    """Every mutant of `sources`, which maps names to texts, in an order that the seed alone decides."""
    found = [mutant for name in sorted(sources) for mutant in mutants_of(name, sources[name])]
    random.Random(seed).shuffle(found)
    return found

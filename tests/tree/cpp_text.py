"""Takes C++ source apart far enough to read its string literals."""
import re
from collections import namedtuple

# kind: "text" (a string literal, adjacent ones joined; `wide` when it starts with L), "word" or
# "mark" (one character).
Token = namedtuple("Token", "kind value line wide", defaults=(False,))

TOKEN = re.compile(r"""
    (?P<blank>\s+|//[^\n]*|/\*.*?\*/|\\\n)
  | (?P<raw>(?:u8|u|U|L)?R"(?P<fence>[^(\s]*)\(.*?\)(?P=fence)")
  | (?P<text>(?:u8|u|U|L)?"(?:[^"\\\n]|\\.)*")
  | (?P<char>'(?:[^'\\\n]|\\.)+')
  | (?P<word>\w+(?:'\w+)*)
  | (?P<mark>.)
""", re.VERBOSE | re.DOTALL)

ESCAPE = re.compile(r"\\(x[0-9A-Fa-f]+|u[0-9A-Fa-f]{4}|U[0-9A-Fa-f]{8}|[0-7]{1,3}|.)", re.DOTALL)
PLAIN_ESCAPES = {"n": "\n", "r": "\r", "t": "\t", "a": "\a", "b": "\b", "f": "\f", "v": "\v"}


def _escape_value(match):
    code = match.group(1)
    if code[0] in "xuU" and len(code) > 1:
        return chr(int(code[1:], 16))
    if code.isdigit():
        return chr(int(code, 8))
    return PLAIN_ESCAPES.get(code, code)


def _text_value(match):
    if match.group("raw"):
        literal = match.group("raw")
        fence = len(match.group("fence"))
        return literal[literal.index('"') + fence + 2:-fence - 2]
    literal = match.group("text")
    return ESCAPE.sub(_escape_value, literal[literal.index('"') + 1:-1])


def tokens(source):
    """The tokens of a source text, without blanks, comments and character literals."""
    result, line = [], 1
    for match in TOKEN.finditer(source):
        kind = match.lastgroup if not match.group("raw") else "raw"
        if kind in ("raw", "text"):
            value, wide = _text_value(match), match.group(0).startswith("L")
            if result and result[-1].kind == "text":
                before = result.pop()
                result.append(before._replace(value=before.value + value))
            else:
                result.append(Token("text", value, line, wide))
        elif kind in ("word", "mark"):
            result.append(Token(kind, match.group(0), line))
        line += match.group(0).count("\n")
    return result


def arguments(parts, start):
    """Of a call whose opening parenthesis stands at `start`: the first argument, and the rest."""
    depth, first, rest = 0, [], []
    found = first
    for token in parts[start + 1:]:
        if token.kind == "mark":
            if token.value in "({[":
                depth += 1
            elif token.value in ")}]":
                depth -= 1
            if depth < 0:
                break
            if depth == 0 and token.value == ",":
                found = rest
        found.append(token)
    return first, rest

"""The inputs that each fuzzing program begins with, made of the texts in seeds.txt."""
import os
import re

TEXTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "seeds.txt")
KEYS = (b"ok", b"error", b"results", b"x", b"a", b"")
NOWHERE = 255  # the place that is none
FEWEST = 500


def texts():
    with open(TEXTS, encoding="ascii") as file:
        lines = [line.rstrip("\n") for line in file]
    return [re.sub(rb"<([0-9A-F]{2})>", lambda byte: bytes.fromhex(byte.group(1).decode()),
                   line.encode()) for line in lines if line and not line.startswith("#")]


def _cut_results():
    """Each text with results cut at every byte, and whole."""
    return [text[:size] for text in texts() if b"results" in text for size in range(len(text) + 1)]


def _windows():
    return [bytes([byte]) for byte in range(256)] + \
        [text[start:start + 12] for text in texts() for start in range(0, len(text), 4)]


def _with_places(wanted):
    """Each text with each place in it where a wanted byte stands, its end, behind it and nowhere."""
    for text in texts():
        places = [place for place, byte in enumerate(text) if byte in wanted]
        for place in {*places, 0, len(text), len(text) + 1, NOWHERE}:
            yield bytes([min(place, NOWHERE)]) + text


def _with_keys():
    return [key + b"\n" + text for text in texts() for key in KEYS]


def _deep(opening, closing):
    return b'{"a":' + opening * 1000 + closing * 1000 + b',"ok":true,"results":[1]}'


def _long():
    """As long as an answer can be: one string, one name, many members, deep brackets, many rows."""
    size = 65000
    return [b'{"a":"' + b"x" * size + b'","ok":true}', b'{"' + b"\\u0041" * (size // 6) + b'":1}',
            b"{" + b'"a":1,' * (size // 6) + b'"ok":true}', b" " * size, b"\\" * size,
            b'{"results":[' + b"{}," * (size // 3) + b"]}", _deep(b"[", b"]"), _deep(b"{", b"]")]


SHORT = {
    "escape": _windows,
    "skip_space": lambda: _with_places(b" \t\r\n{:,"),
    "read_string": lambda: _with_places(b'"\\'),
    "skip_value": lambda: _with_places(b'"[{,:} '),
    "find_key": _with_keys,
    "read_bool": _with_keys,
    "read_results": lambda: _cut_results() + [b'{"results":[' + text + b"]}" for text in texts()],
}
PREFIXES = {"skip_space": b"\0", "read_string": b"\x06", "skip_value": b"\x05", "find_key": b"ok\n",
            "read_bool": b"ok\n"}


def _write(folder, inputs):
    os.makedirs(folder, exist_ok=True)
    for name in os.listdir(folder):
        os.remove(os.path.join(folder, name))
    for number, content in enumerate(inputs):
        with open(os.path.join(folder, f"{number:04}"), "wb") as file:
            file.write(content)


def write(function, short_folder, long_folder):
    """Writes the seeds of a function's program; answers how many there are."""
    short = sorted(set(SHORT[function]()))
    if len(short) < FEWEST:
        raise RuntimeError(f"{function} has only {len(short)} seeds")
    _write(short_folder, short)
    _write(long_folder, [PREFIXES.get(function, b"") + text for text in _long()])
    return len(short)

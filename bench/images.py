"""The module's file beside that of an empty COM server, from their headers."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))),
                                "tests", "tree"))

import pe_image  # noqa: E402
from limits import Line  # noqa: E402

LIMIT = 2.0
KEY_LIBRARY = "KelvorFidoAdLogonFidoNative.dll"
OF_WINDOWS = {"kernel32", "advapi32", "bcrypt", "crypt32", "gdi32", "netapi32", "ole32", "secur32",
              "shell32", "shlwapi", "user32", "winscard"}


def is_of_windows(library):
    name = library.lower().removesuffix(".dll")
    return name in OF_WINDOWS or name.startswith("api-ms-win-crt-")


def sizes(module, empty):
    """The file's line, one for each large section, and one for the imports."""
    paths = module, empty
    images = [pe_image.PeImage(path) for path in paths]
    whole = [os.path.getsize(path) for path in paths]
    ratio = whole[0] / whole[1]
    yield Line("module size", "the file", *(f"{size:,} B" for size in whole), f"{ratio:.2f}",
               f"≤ {LIMIT}", ratio <= LIMIT)
    sections = [{section.name: section.raw_bytes for section in image.sections}
                for image in images]
    for name, size in sorted(sections[0].items(), key=lambda item: -item[1])[:5]:
        other = sections[1].get(name, 0)
        yield Line("module size", f"`{name}`", f"{size:,} B", f"{other:,} B",
                   f"{size / other:.2f}" if other else "–", "reported", None)
    libraries = [image.imports() for image in images]
    foreign = [name for name in libraries[0] if not is_of_windows(name) and name != KEY_LIBRARY]
    yield Line("module size", "imports", *(f"{sum(map(len, each.values()))} functions of "
                                           f"{len(each)} libraries" for each in libraries),
               "–", "Windows and the key library", not foreign)

"""What a build's module imports: each compiler's runtime calls functions of its own."""
import os
import sys

TREE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(TREE, "tests", "tree"))
from pe_image import PeImage  # noqa: E402

MODULE = "bin/KelvorFidoAdLogonCredentialProvider.dll"


def imported(folder):
    """The functions that the module of a build imports. Of the Universal CRT, which function lies in
    which of its libraries is the linker's own."""
    libraries = PeImage(os.path.join(TREE, "build", folder, MODULE)).imports()
    return sorted({name for names in libraries.values() for name in names})

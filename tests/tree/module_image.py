#!/usr/bin/env python3
"""module_image.py MODULE: the image is 64-bit and hardened, and says no time of building."""
import sys

import pe_image
import tree

# Names and values from winnt.h.
MACHINE_AMD64, MAGIC_PE32_PLUS = 0x8664, 0x20B
FILE_DLL, FILE_RELOCS_STRIPPED = 0x2000, 0x0001
HIGH_ENTROPY_VA, DYNAMIC_BASE, NX_COMPAT = 0x20, 0x40, 0x100


def problems_of(image):
    flags = image.dll_characteristics
    facts = [
        (image.machine == MACHINE_AMD64 and image.magic == MAGIC_PE32_PLUS, "is not 64-bit"),
        (image.characteristics & FILE_DLL, "is no DLL"),
        (flags & DYNAMIC_BASE, "cannot be loaded at a random address"),
        (flags & HIGH_ENTROPY_VA, "does not take addresses above 4 GiB"),
        (image.image_base >= 1 << 32, "is based below 4 GiB"),
        (not image.characteristics & FILE_RELOCS_STRIPPED and
         image.has_directory(pe_image.DIRECTORY_RELOCATION), "has no relocations"),
        (flags & NX_COMPAT, "lets data be executed"),
        (image.time_stamp == 0, "holds a time stamp"),
        (not image.has_directory(pe_image.DIRECTORY_DELAY_IMPORT), "binds imports late"),
    ]
    problems = [f"the image {problem}" for holds, problem in facts if not holds]
    problems += [f"section {section.name} is both writable and executable"
                 for section in image.sections if section.is_writable() and section.is_executable()]
    code = [section.name for section in image.sections if section.is_executable()]
    if code != [".text"]:
        problems.append(f"executable sections are {code}")
    return problems


tree.finish(problems_of(pe_image.PeImage(sys.argv[1])),
            "See the link options of the module in src/CMakeLists.txt.")

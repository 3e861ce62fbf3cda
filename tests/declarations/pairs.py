#!/usr/bin/env python3
"""pairs.py HEADER SOURCE: writes the test that holds each declaration of HEADER against the SDK's.

HEADER declares the credential provider framework where a compiler lacks it. The test includes the SDK's
own header, and HEADER in a namespace; what is compared is every name that HEADER declares, so
that none can be forgotten: the value of each enumerator and constant, size, fields and their places of
each structure, bases of each interface, and of each method its types and where a call of it ends.
"""
import re
import sys

HEAD = """// Written by pairs.py.
#include <windows.h>

#include <credentialprovider.h>
#include <ntsecapi.h>
#include <propkey.h>
#include <propsys.h>
#include <shlguid.h>
#include <unknwn.h>

#include <cstddef>
#include <type_traits>

#include <doctest.h>

#include "counterpart.h"
#include "table_of_functions.h"

"""
WHOLE = re.compile(r"^(enum|struct) (\w+)(?: : (\w+))? \{\n(.*?)^\};", re.M | re.S)
METHOD = re.compile(r"\bvirtual HRESULT STDMETHODCALLTYPE\s+(\w+)\(")
FIELD = re.compile(r"^    .*\b(\w+);$", re.M)
ENUMERATOR = re.compile(r"^    (\w+) = ", re.M)
CONSTANT = re.compile(r"^inline constexpr (\w+) (\w+) = ", re.M)
ROOT = "IUnknown"  # which the compiler has


def case(title, lines):
    body = "".join(f"    {line}\n" for line in lines)
    return f'TEST_CASE("{title}")\n{{\n{body}}}\n\n'


def enumerator(name):
    return f"CHECK(static_cast<int>(ours::{name}) == static_cast<int>(::{name}));"


def constant(kind, name):
    if kind == "PROPERTYKEY":
        return (f"CHECK(IsEqualGUID(ours::{name}.fmtid, ::{name}.fmtid)); "
                f"CHECK(ours::{name}.pid == ::{name}.pid);")
    if kind == "DWORD":
        return f"CHECK(ours::{name} == kSdk_{name});"
    return f"CHECK(IsEqualGUID(ours::{name}, ::{name}));"


def structure(name, body):
    yield f"CHECK(sizeof(ours::{name}) == sizeof(::{name}));"
    for field in FIELD.findall(body):
        yield f"CHECK(offsetof(ours::{name}, {field}) == offsetof(::{name}, {field}));"
        yield (f"CHECK(std::is_same_v<Counterpart<decltype(ours::{name}::{field})>, "
               f"decltype(::{name}::{field})>);")


def interface(name, base, body):
    yield f"CHECK(std::is_base_of_v<::{base}, ::{name}>);"
    for method in METHOD.findall(body):
        ours, sdk = f"&ours::{name}::{method}", f"&::{name}::{method}"
        yield f"CHECK(std::is_same_v<Counterpart<decltype({ours})>, decltype({sdk})>);"
        yield f"CHECK(SlotOf({ours}) == SlotOf({sdk}));"


def counterparts(wholes):
    return "".join(f"template <>\nstruct CounterpartOf<ours::{name}> {{\n    using Sdk = ::{name};\n}};\n"
                   for _, name, _, _ in wholes)


def numbers(header):
    """The SDK has macros for them, which would replace our names, too."""
    return "".join(f"constexpr DWORD kSdk_{name} = {name};\n#undef {name}\n"
                   for kind, name in CONSTANT.findall(header) if kind == "DWORD")


def source(header):
    wholes = WHOLE.findall(header)
    text = HEAD + numbers(header)
    text += 'namespace ours {\n#include "credential_provider_declarations.h"\n}\n\n'
    text += f"namespace kelvor::test {{\n\n{counterparts(wholes)}\n"
    for kind, name, base, body in wholes:
        if kind == "enum":
            text += case(f"{name} has the SDK's values", map(enumerator, ENUMERATOR.findall(body)))
        elif base:
            text += case(f"A call through {name} ends where the SDK's does",
                         interface(name, base, body))
        else:
            text += case(f"{name} is laid out as the SDK's", structure(name, body))
    text += case("Each identifier and constant is the SDK's",
                 (constant(*found) for found in CONSTANT.findall(header)))
    return text + "}  // namespace kelvor::test\n"


if __name__ == "__main__":
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    with open(sys.argv[1], encoding="utf-8") as file:
        written = source(file.read())
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(written)

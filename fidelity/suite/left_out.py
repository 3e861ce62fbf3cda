"""Which tests are not run in the other Debian, and why."""
import re

# The first row whose label a test has, or whose words its name holds, is its reason.
BY_LABEL = {
    "tree": "reads the sources and the module's file, with the compilers and linters of the build: no Wine is asked",
    "fuzz": "is a program of the machine that builds, not of Windows",
}
BY_NAME = {
    "A browser shows": "needs Chromium, which would make that Debian twice as large, and no other Wine",
}
# For the programs of the newer compiler alone.
OF_THE_OTHER_COMPILER = {
    "Every import of the module either fails": "lists what the runtime of the ordinary compiler imports, too",
}


def reason(name, labels, newer):
    for label, why in BY_LABEL.items():
        if label in labels:
            return why
    for words, why in (BY_NAME | (OF_THE_OTHER_COMPILER if newer else {})).items():
        if re.search(words, name):
            return why
    return None


def labels_of(test):
    return next((entry["value"] for entry in test.get("properties", [])
                 if entry["name"] == "LABELS"), [])


def left_out(listing, newer):
    """Of ctest's listing: reason -> the names of the tests that it holds for, in order."""
    groups = {}
    for test in listing["tests"]:
        if why := reason(test["name"], labels_of(test), newer):
            groups.setdefault(why, []).append(test["name"])
    return groups

"""What ctest found, read from the file that it writes for other programs (JUnit)."""
import re
import xml.etree.ElementTree

MOST_LINES = 6
NOISE = re.compile(r"^(={3,}|\[doctest\]|TEST (SUITE|CASE):|\s*$)")


def said_by(case):
    """The lines of an assertion that failed, or the last ones where none is told."""
    lines = [line.strip() for line in (case.findtext("system-out") or "").splitlines()
             if not NOISE.match(line)]
    for start, line in enumerate(lines):
        if "ERROR" in line:
            return lines[start:start + MOST_LINES]
    return lines[-MOST_LINES:] or [case.find("failure").get("message", "")]


def read(path):
    """For a record: how many passed, what failed, what was skipped, how long it took."""
    root = xml.etree.ElementTree.parse(path).getroot()
    found = {"passed": 0, "failures": [], "skipped": [], "seconds": float(root.get("time", 0))}
    for case in root.iter("testcase"):
        status = case.get("status")
        if status == "run":
            found["passed"] += 1
        elif status == "fail":
            found["failures"].append({"name": case.get("name"), "said": said_by(case)})
        else:
            found["skipped"].append(case.get("name"))
    return found

#!/usr/bin/env python3
"""page.py [--write]: docs/kdc/README.md lists every scenario that is played with a Kerberos domain, with
what the domain and LSA said, and no transcript is left of a scenario that is gone."""
import glob
import os
import re
import sys

from scenario import TREE, own

PAGE = os.path.join(TREE, "docs", "kdc", "README.md")
HEAD = """# What a Kerberos domain said

Each page is one run of a [scenario](../../fidelity/kdc/scenarios) in which a domain controller of MIT's
programs decided over the logon: [how and why](../kdc.md). `./run demo --kdc NAME` plays one for you,
`./run demo --kdc --all` plays all and compares, `./run demo --kdc --all --write` writes the pages anew.

| what happens | the domain | the status | seen |
|---|---|---|---|
"""


def said(text, who):
    return re.search(rf"^{who} +(?:LOGON \w+: )?(.*)$", text, re.M).group(1)


def row(scenario):
    with open(scenario.transcript, encoding="utf-8") as file:
        text = file.read()
    return (f"| {scenario.sentence} | {said(text, 'KDC')} | {said(text, 'LSA')} | "
            f"[{scenario.name}]({scenario.name}.txt) |\n")


def main(arguments):
    page = HEAD + "".join(row(scenario) for scenario in own())
    if arguments == ["--write"]:
        with open(PAGE, "w", encoding="utf-8") as file:
            file.write(page)
        return 0
    names = {scenario.transcript for scenario in own()}
    problems = [f"{path}: its scenario is gone"
                for path in glob.glob(os.path.join(os.path.dirname(PAGE), "*.txt"))
                if path not in names]
    with open(PAGE, encoding="utf-8") as file:
        if file.read() != page:
            problems.append(f"{PAGE} does not tell what was seen: ./run demo --kdc --write")
    print("\n".join(problems))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

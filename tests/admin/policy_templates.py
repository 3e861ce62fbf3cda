#!/usr/bin/env python3
"""policy_templates.py: the Group Policy templates are sound and set what the module reads.

Every reference resolves and every text is used; each setting of src/settings has one policy that
writes its value, of its type, into its key, with the limit that the module has.
"""
import os
import re
import sys
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402

ADMX = "admin/policies/KelvorFidoAdLogon.admx"
ADML = "admin/policies/en-US/KelvorFidoAdLogon.adml"
XMLNS = "{http://schemas.microsoft.com/GroupPolicy/2006/07/PolicyDefinitions}"
# The longest text that every reader of a value takes, in characters: src/settings/settings.h.
LONGEST = {"FidoServerUrl": 1023, "FidoRpId": 255}
LONGEST_OTHER = 511
FLAGS = {"Enabled", "FidoGate", "FidoDevInsecureTls"}
problems = []


def expect(holds, problem):
    if not holds:
        problems.append(problem)


def parse(path):
    root = ElementTree.parse(os.path.join(tree.ROOT, path)).getroot()
    expect(root.get("schemaVersion") == "1.0", f"{path}: schemaVersion")
    return root


def all_of(root, path):
    return root.findall("/".join(XMLNS + step for step in path.split("/")))


def named(elements, attribute, where):
    """The elements by an attribute that each must have to itself."""
    found = {}
    for element in elements:
        name = element.get(attribute)
        expect(name and re.fullmatch(r"\w+", name) and name not in found, f"{where}: '{name}'")
        found[name] = element
    return found


def settings_of_the_module():
    header = tree.read("src/settings/settings.h")
    key = re.search(r'kKeyPath = L"(.*)";', tree.read("src/settings/settings.cpp")).group(1)
    return set(re.findall(r'k\w+Value = L"(\w+)"', header)), key.replace("\\\\", "\\")


def check_references(admx, strings, presentations):
    text = tree.read(ADMX)
    used = re.findall(r"\$\(string\.(\w+)\)", text)
    expect(set(used) == set(strings), f"texts: {set(used) ^ set(strings)}")
    shown = re.findall(r"\$\(presentation\.(\w+)\)", text)
    expect(set(shown) == set(presentations), f"presentations: {set(shown) ^ set(presentations)}")
    for name, string in strings.items():
        expect((string.text or "").strip() == string.text, f"text {name}: empty, or spaces around it")
    categories = named(all_of(admx, "categories/category"), "name", "category")
    supported = named(all_of(admx, "supportedOn/definitions/definition"), "name", "supported on")
    for element in admx.iter(XMLNS + "parentCategory"):
        expect(element.get("ref") in categories, f"no category {element.get('ref')}")
    for element in all_of(admx, "policies/policy/supportedOn"):
        expect(element.get("ref") in supported, f"no definition {element.get('ref')}")


def check_flag(policy, name):
    values = [all_of(policy, f"{kind}/decimal") for kind in ("enabledValue", "disabledValue")]
    expect([[value.get("value") for value in one] for one in values] == [["1"], ["0"]],
           f"{name}: not 1 and 0")
    expect(policy.get("presentation") is None, f"{name}: a presentation of nothing")


def check_text(policy, name, presentation):
    texts = all_of(policy, "elements/text")
    expect(len(texts) == 1 and texts[0].get("expandable", "false") == "false",
           f"{name}: not one text of type REG_SZ")
    longest = LONGEST.get(name, LONGEST_OTHER)
    expect(texts[0].get("maxLength") == str(longest), f"{name}: not at most {longest} characters")
    boxes = all_of(presentation, "textBox")
    expect([box.get("refId") for box in boxes] == [texts[0].get("id")],
           f"{name}: its box is for something else")
    defaults = [default.text for default in all_of(presentation, "textBox/defaultValue")]
    default = re.search(rf'kDefault{name} = L"(.*)"', tree.read("src/settings/settings.h"))
    expect(defaults == ([default.group(1)] if default else []), f"{name}: its default")


def value_of(policy):
    elements = all_of(policy, "elements/text")
    return elements[0].get("valueName") if elements else policy.get("valueName")


def check_policies(admx, strings, presentations):
    values, key = settings_of_the_module()
    policies = named(all_of(admx, "policies/policy"), "name", "policy")
    written = [value_of(policy) for policy in policies.values()]
    expect(sorted(written) == sorted(values), f"settings: {set(written) ^ values}")
    for name, policy in policies.items():
        expect(policy.get("class") == "Machine", f"{name}: not of the machine")
        expect(policy.get("key") == key, f"{name}: its key")
        expect(value_of(policy) == name, f"{name}: named unlike its value")
        kind = "DWORD" if name in FLAGS else "SZ"
        help_text = strings[name + "_Help"].text
        expect(f'Registry: {kind} "{name}".' in help_text, f"{name}: its help names no value")
        expect("Not Configured" in help_text, f"{name}: its help does not tell the default")
        if name in FLAGS:
            check_flag(policy, name)
        else:
            check_text(policy, name, presentations[name])
            limit = f"{LONGEST.get(name, LONGEST_OTHER):,} characters"
            expect(limit in help_text, f"{name}: its help does not say {limit}")
    expect(strings["FidoDevInsecureTls_Help"].text.startswith("WARNING: "),
           "FidoDevInsecureTls: its help does not warn first")


def main():
    admx, adml = parse(ADMX), parse(ADML)
    strings = named(all_of(adml, "resources/stringTable/string"), "id", "text")
    presentations = named(all_of(adml, "resources/presentationTable/presentation"), "id",
                          "presentation")
    check_references(admx, strings, presentations)
    check_policies(admx, strings, presentations)
    tree.finish(problems, "The templates stand in admin/policies.")


main()

#!/usr/bin/env python3
"""scenario_page.py: docs/scenarios.md names every step that a scenario can take."""
import re

import tree

SOURCE, PAGE = "simulator/logonui/step.cpp", "docs/scenarios.md"
# What only a person at the prompt types: short spellings and what shows more.
PROMPT = {"tiles", "select", "insert nfc", "insert", "remove", "pin", "choose", "calls", "log", "help",
          "quit"}

steps = set(re.findall(r'\{"([^"]+)", Argument::', tree.read(SOURCE))) - PROMPT
page = re.findall(r"`([^`]+)`", tree.read(PAGE))
likewise = {"kill service during exchange", "kill service after exchange"}
problems = [f"{PAGE}: nothing about the step '{step}'" for step in sorted(steps - likewise)
            if not any(words == step or words.startswith(step + " ") for words in page)]
tree.finish(problems, "A row of its table says what the step does.")

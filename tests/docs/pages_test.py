#!/usr/bin/env python3
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""pages_test.py SOURCE-DIR CAPICTL...

Looks whether what the pages lead to is there: files and headings, commands of the tool and their
options, keys. Each page stands in the index, and each that has commands, in blocks that a test can tell
from others, is followed by a test. The README tells of each folder, and what it begins with fits on a
screen.
"""
import functools
import json
import os
import re
import subprocess
import sys

source, tool = sys.argv[1], sys.argv[2:]
# Other tests than those of this folder follow these, and name them.
FOLLOWED_BY = {
    "README.md": "tests/abi/readme_commands_test.sh",
    "CONTRIBUTING.md": "tests/abi/recipes_test.sh",
    "docs/changes.md": "tests/abi/readme_test.sh",
    "docs/python.md": "tests/bindings/document_test.py",
}
PAGES = sorted("docs/" + name for name in os.listdir(f"{source}/docs") if name.endswith(".md"))
SCREEN = 24  # lines
COMMAND = re.compile(r"^    (?:\$|sudo|curl|apt|systemctl|cmake|capictl|capi-web|capi-mqtt|\./\S+|script/\S+)(?: .*)?$", re.M)
faults = []


def text_of(page):
    with open(f"{source}/{page}", encoding="utf-8") as file:
        return file.read()


def prose_of(page):
    return re.sub(r"^ *```.*?^ *```", "", text_of(page), flags=re.M | re.S)


@functools.cache
def headings_of(page):
    """The names by which links find a page's headings."""
    headings = re.findall(r"^#+ (.*)$", prose_of(page), flags=re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def check_links(page):
    for target in re.findall(r"\]\(([^)\s]+)\)", prose_of(page)):
        if re.match(r"[a-z]+:", target):
            continue
        path, _, heading = target.partition("#")
        file = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
        if not os.path.exists(f"{source}/{file}"):
            faults.append(f"{page} leads to {target}, which is not there")
        elif heading and file.endswith(".md") and heading not in headings_of(file):
            faults.append(f"{page} leads to {target}, and there is no such heading")


@functools.cache
def help_of(*words):
    """What the tool tells of a command, or None where there is none."""
    told = subprocess.run(tool + ["help", *words], capture_output=True, text=True, check=False)
    return told.stdout if told.returncode == 0 else None


def check_command(page, command):
    if command.startswith("capictl page "):  # for our scripts, and in no help
        return
    words = []
    for word in command.split()[1:]:
        if not re.fullmatch(r"[a-z-]+", word) or word.startswith("-"):
            break
        if help_of(*words, word) is None:
            break
        words.append(word)
    told = help_of(*words)
    rest = command.split()[1 + len(words):]
    takes_words = "Arguments:" in told
    if rest and re.fullmatch(r"[a-z][a-z-]*", rest[0]) and not takes_words:
        faults.append(f"{page}: there is no command {command}")
    for option in re.findall(r"--[a-z-]+", " ".join(rest)):
        if not re.search(rf"{option}\b", told + help_of()):
            faults.append(f"{page}: {command}: there is no option {option}")


def check_commands(page):
    for span in re.findall(r"`(capictl [^`]+)`", prose_of(page)):
        check_command(page, span)


@functools.cache
def keys():
    """The fields of each section; a numbered one has a name without its number as well."""
    schema = json.loads(text_of("docs/settings.schema.json"))
    fields = {}
    for section, shape in schema["properties"].items():
        named = set(schema["$defs"][shape["$ref"].rsplit("/", 1)[1]]["properties"])
        named |= {re.sub(r"_?\d+$", "", name) for name in named}
        fields[section] = fields[re.sub(r"_\d$", "", section)] = named
    return fields


def check_keys(page):
    for section, field in re.findall(r"`(\w+)\.(\w+)`", prose_of(page)):
        if section in keys() and field not in keys()[section]:
            faults.append(f"{page}: there is no key {section}.{field}")


def is_followed(page):
    if page in FOLLOWED_BY:
        return page in text_of(FOLLOWED_BY[page])
    name = re.fullmatch(r"docs/(.*)\.md", page)[1]
    return f"\ncapi_follow_page({name} " in text_of("tests/docs/CMakeLists.txt")


index = text_of("docs/README.md")
for page in ["README.md", "CONTRIBUTING.md"] + PAGES:
    check_links(page)
    check_commands(page)
    check_keys(page)
    if page != "CONTRIBUTING.md":  # its list of scripts takes hours
        faults += [f"{page}: nothing follows what has no fence: {command.strip()}"
                   for command in COMMAND.findall(prose_of(page))]
    is_to_follow = re.search(r"^ *```sh$|^<!-- example: ", text_of(page), re.M)
    if is_to_follow and not is_followed(page):
        faults.append(f"nothing follows {page}")
for page in PAGES:
    if page != "docs/README.md" and f"]({os.path.basename(page)})" not in index:
        faults.append(f"docs/README.md does not lead to {page}")
for folder in sorted(os.listdir(source)):
    if os.path.isdir(f"{source}/{folder}") and folder != "build" and not folder.startswith("."):
        if f"\n| `{folder}/` |" not in text_of("README.md"):
            faults.append(f"README.md does not tell of {folder}/")
if text_of("README.md").split("\n```\n")[0].count("\n") >= SCREEN:
    faults.append("README.md has no command on its first screen")
print("\n".join("FAILED: " + fault for fault in faults) or f"{len(PAGES)} pages are as they should be")
sys.exit(1 if faults else 0)

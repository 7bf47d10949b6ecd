# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""validate.py SCHEMA DIRECTORY

Checks each file of the directory, which is named after a command, against the schema's shape of it:
"calls list", or "calls list.2" where there are several. A file of errors is "error".
"""
import json
import os
import sys

import jsonschema

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "../support"))
from shapes import closed


def main(schema_file, directory):
    with open(schema_file, encoding="utf-8") as file:
        document = json.load(file)
    jsonschema.Draft202012Validator.check_schema(document)
    shapes = dict(document["commands"], error=document["$defs"]["error"])
    seen = set()
    for name in sorted(os.listdir(directory)):
        command = name.split(".")[0]
        seen.add(command)
        shape = closed(dict(shapes[command], **{"$defs": document["$defs"]}))
        with open(os.path.join(directory, name), encoding="utf-8") as file:
            value = json.load(file)
        for error in jsonschema.Draft202012Validator(shape).iter_errors(value):
            print(f"{name}: {error.json_path}: {error.message}")
    for command in sorted(set(shapes) - seen):
        print(f"{command}: was not tried")


main(*sys.argv[1:])

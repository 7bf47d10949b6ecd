# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""settings_schema.py SCHEMA DUMPS CANDIDATES TOOL...

Holds the JSON Schema of the settings against real dumps, and against what the tool itself says of
values: of numbers both have to say the same, and a text that the tool takes has to fit.
"""
import json
import subprocess
import sys

import jsonschema

schema = json.load(open(sys.argv[1], encoding='utf-8'))
tool = sys.argv[4:]
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)
failures = []


def keys():
    for section, reference in schema['properties'].items():
        definition = schema['$defs'][reference['$ref'].rsplit('/', 1)[1]]
        for field, key in definition['properties'].items():
            yield section, field, key


def refused_by_schema(document):
    return {'.'.join(error.absolute_path) for error in validator.iter_errors(document)}


def refused_by_tool(document):
    with open('/tmp/candidate.json', 'w', encoding='utf-8') as file:
        json.dump(document, file)
    lint = subprocess.run(tool + ['--json', 'config', 'lint', '/tmp/candidate.json'],
                          stdout=subprocess.PIPE, check=False)
    return {finding['finding'].split(': ')[0] for finding in json.loads(lint.stdout)}


for dump in sys.argv[2].split(','):
    document = json.load(open(dump, encoding='utf-8'))
    if len(document) != len(schema['properties']):
        failures.append(f'{dump} has {len(document)} sections')
    failures += [f'{dump}: {error.message}' for error in validator.iter_errors(document)]

candidates = json.load(open(sys.argv[3], encoding='utf-8'))
tried = 0
for candidate in candidates:
    document = {}
    kind = 'integer' if isinstance(candidate, int) else 'string'
    for section, field, key in keys():
        if kind in key['type']:
            document.setdefault(section, {})[field] = candidate
            tried += 1
    by_schema, by_tool = refused_by_schema(document), refused_by_tool(document)
    wrong = by_schema ^ by_tool if kind == 'integer' else by_schema - by_tool
    failures += [f'{json.dumps(candidate)} for {label}' for label in sorted(wrong)]

for wrong in ({'sip_line_1': {'nothing': 1}}, {'nope': {}}, {'sip_line_1': {'enable': '1'}},
              {'sip_line_1': {'enable': 7}}, {'basic_sip': {'local_port': 99999}},
              {'basic_sip': {'local_port': 5060.5}}, {'sms': {'sca': '1' * 32}},
              {'runtime_info': {'wan_ip': 'banana'}}, {'hw_info': {'wan_mac': '02005e005301'}},
              {'sip_line_1': {'display_name': 'Front desk'}}, {'sms': 1}, []):
    if validator.is_valid(wrong):
        failures.append(f'{json.dumps(wrong)} fits the schema')

for section, field, key in keys():
    secret = key.get('writeOnly', False)
    for shown in ({'set': True}, {'set': False}):
        if validator.is_valid({section: {field: shown}}) != secret:
            failures.append(f'{json.dumps(shown)} for {section}.{field}')
    for wrong in ({}, {'set': 1}, {'set': True, 'more': 1}, {'more': True}, True):
        if secret and validator.is_valid({section: {field: wrong}}):
            failures.append(f'{json.dumps(wrong)} for {section}.{field}')

described = [key for _, _, key in keys() if len(key['description']) > 20]
if tried < 5000 or len(described) != sum(1 for _ in keys()):
    failures.append(f'only {tried} values were tried, {len(described)} keys described')
print('\n'.join(failures[:40]))
sys.exit(1 if failures else 0)

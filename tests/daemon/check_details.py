#!/usr/bin/env python3
"""Holds details documents against their JSON Schema, as an independent validator reads it: check_details.py SCHEMA FILE...
Readers of the documents must expect new keys, so the schema allows any. Here a key that the schema does not describe is an error too."""
import json
import pathlib
import sys

from jsonschema import Draft202012Validator


def strict(schema):
    """Refuses undescribed keys in every object but `field`, which other descriptions build on."""
    if isinstance(schema, list):
        return [strict(each) for each in schema]
    if not isinstance(schema, dict):
        return schema
    closed = {key: each if key == "field" else strict(each) for key, each in schema.items()}
    return {**closed, "unevaluatedProperties": False} if schema.get("type") == "object" else closed


schema = json.loads(pathlib.Path(sys.argv[1]).read_text())
Draft202012Validator.check_schema(schema)
faults = []
for name in sys.argv[2:]:
    # A script has steps before the document and messages behind it.
    text = pathlib.Path(name).read_text()
    document, _ = json.JSONDecoder().raw_decode(text[text.index('{"version"'):])
    for validator in Draft202012Validator(schema), Draft202012Validator(strict(schema)):
        faults += [f"{name}: {'/'.join(map(str, error.absolute_path))}: {error.message}" for error in validator.iter_errors(document)]
print(*faults, f"{len(sys.argv) - 2} documents", sep="\n")
sys.exit(1 if faults or len(sys.argv) < 3 else 0)

#!/usr/bin/env python3
"""Holds details documents against their JSON Schema, as an independent validator reads it.

Usage: check_details.py SCHEMA FILE...    each FILE holds one document or more, and may go on with other text

Readers of the documents must expect new keys, so the schema allows any. Here a key that the schema does not describe is an error: it is
misspelt, or missing in the schema.
"""
import json
import pathlib
import sys

import jsonschema


def strict(schema):
    """Refuses, in every object that the schema describes, keys that it does not; but for what other descriptions build on."""
    if isinstance(schema, list):
        return [strict(each) for each in schema]
    if not isinstance(schema, dict):
        return schema
    closed = {key: strict(each) if key != "field" else {**each, "properties": strict(each["properties"])} for key, each in schema.items()}
    if schema.get("type") == "object":
        closed["unevaluatedProperties"] = False
    return closed


def documents_of(text):
    decoder = json.JSONDecoder()
    while text.startswith("{"):
        document, end = decoder.raw_decode(text)
        yield document
        text = text[end:].lstrip()


def main():
    schema = json.loads(pathlib.Path(sys.argv[1]).read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    validators = {"as it ships": jsonschema.Draft202012Validator(schema), "strictly": jsonschema.Draft202012Validator(strict(schema))}
    checked, faults = 0, []
    for name in sys.argv[2:]:
        for document in documents_of(pathlib.Path(name).read_text()):
            checked += 1
            for way, validator in validators.items():
                faults += [f"{name} ({way}): {'/'.join(map(str, error.absolute_path))}: {error.message}"
                           for error in validator.iter_errors(document)]
    print(*faults, f"{checked} documents", sep="\n")
    sys.exit(1 if faults or checked < len(sys.argv) - 2 else 0)


if __name__ == "__main__":
    main()

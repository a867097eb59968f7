"""Validates the JSON of the transcripts and documents of the tree $1 against docs/schemas/.

Also fails if a schema is not valid, if no transcript has a report of it, or if a report of it may have any keys.
"""

import json
import sys
from collections import Counter
from pathlib import Path

import jsonschema

TREE = Path(sys.argv[1]).resolve()
SCHEMAS = TREE / "docs/schemas"
SHARED = "common"  # Definitions for the other schemas.


def read_schemas():
    """Returns the schemas by their names."""
    schemas = {path.stem: json.loads(path.read_text(encoding="utf-8")) for path in sorted(SCHEMAS.glob("*.json"))}
    for schema in schemas.values():
        jsonschema.Draft202012Validator.check_schema(schema)
    return schemas


def validator_of(name, schema):
    """Returns the validator of a schema, which finds the shared definitions in the file beside its own."""
    resolver = jsonschema.RefResolver((SCHEMAS / f"{name}.json").as_uri(), schema)
    return jsonschema.Draft202012Validator(schema, resolver=resolver)


def reports():
    """Yields file, number and text of each line that begins like an object: none of them may be cut."""
    documents = [TREE / "README.md", *sorted((TREE / "docs").glob("*.md"))]
    for path in [*sorted((TREE / "tests/transcripts").glob("*.transcript")), *documents]:
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if line.startswith('{"'):
                yield path, number, line


def lax(schema, place="$", whole=None):
    """Yields the place of each object in a schema that may lack a key or have another one.

    In the alternatives of a schema, `whole` has the properties that all of them have.
    """
    if isinstance(schema, list):
        for part in schema:
            yield from lax(part, place, whole)
    if not isinstance(schema, dict):
        return
    if "properties" in schema:
        closed = whole is not None or False in (schema.get("additionalProperties"), schema.get("unevaluatedProperties"))
        optional = set(schema["properties"]) - set(schema.get("required", [])) - set(whole or [])
        if not closed or optional:
            yield place
    for key, part in schema.items():
        alternatives = key == "oneOf" and "unevaluatedProperties" in schema
        yield from lax(part, f"{place}.{key}", schema["properties"] if alternatives else None)


def main():
    schemas = read_schemas()
    by_name = {name: validator_of(name, schema) for name, schema in schemas.items() if name != SHARED}
    in_transcripts = Counter()
    faults = [f"{name}.json: {place} may lack a key or have another one"
              for name, schema in schemas.items() for place in lax(schema)]
    for path, number, line in reports():
        try:
            report = json.loads(line)
            name = report["schema"]["name"]
            errors = [f"{error.json_path}: {error.message}" for error in by_name[name].iter_errors(report)]
        except (ValueError, KeyError) as error:
            errors = [f"this is no report with a schema: {error!r}"]
        else:
            in_transcripts[name] += path.suffix == ".transcript"
        faults += [f"{path}:{number}: {error}" for error in errors]
    faults += [f"{name}.json: no transcript has a report of it" for name in by_name if not in_transcripts[name]]
    print(*faults, f"{in_transcripts.total()} reports of {len(by_name)} schemas", sep="\n")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

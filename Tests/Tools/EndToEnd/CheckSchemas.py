"""Holds what qxhost validate writes against the JSON schemas in Docs/Schemas.

Usage: CheckSchemas.py ROOT WRONG_BUNDLES HOST [EMULATOR...]

The interpreter is Debian's own, because the validator of schemas is one of its packages.
"""

import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema


def check(schema, objects, what):
    """Returns the problems of some objects, and one if there are none at all."""
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    problems = [f"{what} {index + 1}: {error.message}"
                for index, value in enumerate(objects) for error in validator.iter_errors(value)]
    return problems or ([] if objects else [f"{what}: nothing to check"])


def read_lines(text):
    return [json.loads(line) for line in text.splitlines()]


def main():
    root, bundles = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    host = sys.argv[4:] + [sys.argv[3]]
    schemas = {path.name.split(".")[0]: json.loads(path.read_text())
               for path in (root / "Docs" / "Schemas").glob("*.json")}
    profile = json.loads((root / "Docs" / "direct-monitor-profile.json").read_text())
    problems = check(schemas["profile"], [profile], "profile")
    runs = {"none": "registry", "set-zero-state": "messages", "info-null-enable": "dispatch",
            "gain-negative-level": "messages", "stream-get": "dispatch", "loads": "entry-points"}
    for bundle, tag in runs.items():
        with tempfile.TemporaryDirectory() as folder:
            run = subprocess.run(
                [*host, "validate", str(bundles / f"{bundle}.so"), "--json", "--only", tag,
                 "--recordings", folder], capture_output=True, text=True, check=False)
            problems += check(schemas["validate"], read_lines(run.stdout), f"{bundle}, line")
            for file in pathlib.Path(folder).iterdir():
                problems += check(schemas["recording"], read_lines(file.read_text()), file.name)
    print("\n".join(problems + [f"CheckSchemas: {len(problems)} problems"]))
    return 1 if problems else 0


sys.exit(main())

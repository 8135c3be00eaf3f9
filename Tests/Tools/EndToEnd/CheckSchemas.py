"""Holds what the tools write against the JSON schemas in Docs/Schemas.

Usage: CheckSchemas.py ROOT WRONG_BUNDLES HOST MONITOR [EMULATOR...]

The interpreter is Debian's own, because the validator of schemas is one of its packages.
"""

import json
import os
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


def check_validate(host, bundles, schemas):
    """Checks what some validations print, and the recordings of the checks that fail."""
    problems = []
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
    return problems


# Every call; a value of each kind; and a server that shows and records what is sent.
SCRIPT = """
open 7
info enable
get level
expect any
set enable on
set level 1 0.5
set level nan 0 channel=0
set state 1
set state 0
stream info enable
stream get enable
stream set enable
close
"""

DOCUMENTS = [
    "",
    "<plist><dict/></plist>",
    "<plist><dict><key>CoreAudioDeviceIDKey</key><integer>7</integer>"
    "<key>ParameterDataKey</key><data>AAAACg==</data><key>x</key><array/></dict></plist>",
    # A string, and bytes that are no level.
    "<plist><dict><key>CoreAudioDeviceIDKey</key><integer>7</integer><key>ParameterDataKey</key>"
    "<data>AAAAGgAAAAD///8FDgAAAAAAAAAJAAAAYQA=</data></dict></plist>",
    "<plist><dict><key>CoreAudioDeviceIDKey</key><integer>7</integer><key>ParameterDataKey</key>"
    "<data>AAAAGgAAAAD///8HDgAAAAAAAAAIAAAAYWI=</data></dict></plist>",
]


def check_drive(host, monitor, bundles, schemas):
    """Checks what both tools print of one session, and the recordings that both make of it."""
    problems = []
    with tempfile.TemporaryDirectory() as folder:
        # Ports of its own.
        environment = {**os.environ, "XDG_RUNTIME_DIR": folder}
        seen = pathlib.Path(folder) / "seen.jsonl"
        made = pathlib.Path(folder) / "made.jsonl"
        with subprocess.Popen([*monitor, "record", seen, "--json", "--hex"], text=True,
                              stdout=subprocess.PIPE, env=environment) as server:
            ready = server.stdout.readline()
            run = subprocess.run(
                [*host, "--plugin", bundles / "none.so", "--json", "run", "-"], input=SCRIPT,
                capture_output=True, text=True, check=False, env=environment)
            server.terminate()
            shown = ready + server.stdout.read()
        problems += check(schemas["host"], read_lines(run.stdout), "qxhost, line")
        problems += check(schemas["monitor"], read_lines(shown), "qxmon, line")
        problems += check(schemas["recording"], read_lines(seen.read_text()), "qxmon record, line")
        subprocess.run([*host, "record", made, "-", "--plugin", bundles / "none.so"],
                       input=SCRIPT, capture_output=True, text=True, check=False, env=environment)
        problems += check(schemas["recording"], read_lines(made.read_text()), "qxhost record, line")
    return problems


def main():
    root, bundles = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).resolve()
    host, monitor = sys.argv[5:] + [sys.argv[3]], sys.argv[5:] + [sys.argv[4]]
    schemas = {path.name.split(".")[0]: json.loads(path.read_text())
               for path in (root / "Docs" / "Schemas").glob("*.json")}
    profile = json.loads((root / "Docs" / "direct-monitor-profile.json").read_text())
    problems = check(schemas["profile"], [profile], "profile")
    problems += check_validate(host, bundles, schemas)
    problems += check_drive(host, monitor, bundles, schemas)
    # A plug-in that ends the process, and one that writes too much.
    for bundle, script in {"gain-huge-level": "open 7\nset level 1e38 1\n",
                           "get-size-state": "open 7\nget state size=3\nclose\n"}.items():
        run = subprocess.run([*host, "--plugin", bundles / f"{bundle}.so", "--json", "run", "-"],
                             input=script, capture_output=True, text=True, check=False)
        problems += check(schemas["host"], read_lines(run.stdout), f"{bundle}, line")
    for document in DOCUMENTS:
        run = subprocess.run([*monitor, "--json", "--hex", "decode", "-"], input=document,
                             capture_output=True, text=True, check=False)
        problems += check(schemas["monitor"], read_lines(run.stdout), "qxmon decode, line")
    print("\n".join(problems + [f"CheckSchemas: {len(problems)} problems"]))
    return 1 if problems else 0


sys.exit(main())

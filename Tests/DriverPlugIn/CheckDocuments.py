"""Decodes with plistlib what WriteDocuments wrote, and compares it with what was sent.

usage: CheckDocuments.py big|little PROGRAM...
"""

import pathlib
import plistlib
import struct
import subprocess
import sys
import tempfile

INTEGER, BUFFER = 2, 8

# name: device ID, parameter ID, type, data (an integer, or levels and channel index)
EXPECTED = {
    "enable": (258, -250, INTEGER, -1),
    "state": (0, -251, INTEGER, 2),
    "stateZero": (0x7FFFFFFF, -251, INTEGER, 0),
    "level": (-2, -249, BUFFER, (0.0, -6.020599913279624, 0)),
    "levelMaster": (-0x80000000, -249, BUFFER, (-999.0, 20.0, 0xFFFFFFFF)),
}


def decode(document, order):
    found = plistlib.loads(document, fmt=plistlib.FMT_XML)
    if list(found) != ["CoreAudioDeviceIDKey", "ParameterDataKey"]:
        raise ValueError(f"the keys are {list(found)}")
    device = found["CoreAudioDeviceIDKey"]
    message = found["ParameterDataKey"]
    length, reserved, parameter = struct.unpack_from(order + "IIi", message)
    value_length, value_reserved, kind = struct.unpack_from("<III", message, 12)
    if (length, reserved) != (len(message), 0):
        raise ValueError(f"the header says {length}, {reserved} of {len(message)} bytes")
    if (value_length, value_reserved) != (len(message) - 12, 0):
        raise ValueError(f"the value's header says {value_length}, {value_reserved}")
    data = message[24:]
    if kind == INTEGER:
        return device, parameter, kind, struct.unpack("<i", data)[0]
    return device, parameter, kind, struct.unpack(order + "ddI", data)


def main():
    order = {"big": ">", "little": "<"}[sys.argv[1]]
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([*sys.argv[2:], folder], check=True)
        for name, expected in EXPECTED.items():
            decoded = decode((pathlib.Path(folder) / f"{name}.plist").read_bytes(), order)
            if decoded != expected:
                print(f"{name}: {decoded} instead of {expected}")
                failures += 1
    print(f"{len(EXPECTED)} documents, {failures} failures")
    return 1 if failures else 0


sys.exit(main())

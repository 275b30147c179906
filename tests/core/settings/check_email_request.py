#!/usr/bin/env python3
"""Reads the test e-mail requests that write_email_requests put into pipe files with Python's
plistlib, a reader that shares no code with ours, and checks their entries, values and order.

Usage: check_email_request.py WRITER

Runs WRITER into a temporary directory; the request of each case lies in CASE/Velmora.set.
Exits 1 and lists the faults if there are any.
"""

import plistlib
import subprocess
import sys
import tempfile
from pathlib import Path
from plistlib import UID

RECIPIENTS = ["admin@example.com", "abc", "abc"]
SUBJECT = "Kestrix Velmora - Test message"
# The default body filled in, at 1700000000 in UTC in the locale's short date and medium time.
BODY = ("Date:2023-11-14 22:13:20\r\n"
        "Priority:Local7.Debug\r\n"
        "Host:127.0.0.1\r\n"
        "Message:Kestrix Velmora - Test message\r\n")

EXPECTED = {
    "default-templates": [("Settings", "email"), ("Recipients", RECIPIENTS),
                          ("Subject", SUBJECT), ("Body", BODY), ("Html", False)],
    "no-subject": [("Settings", "email"), ("Recipients", RECIPIENTS)],
    "no-body": [("Settings", "email"), ("Recipients", RECIPIENTS), ("Subject", SUBJECT)],
    "no-settings": [("Settings", "email"), ("Recipients", RECIPIENTS)],
}


def decode(objects, uid):
    """The value of object `uid`; a dictionary as its list of (key, value) in stored order."""
    obj = objects[uid]
    if not isinstance(obj, dict):
        return obj
    name = objects[obj["$class"].data]["$classname"]
    if name in ("NSDictionary", "NSMutableDictionary"):
        keys = [decode(objects, k.data) for k in obj["NS.keys"]]
        return list(zip(keys, (decode(objects, v.data) for v in obj["NS.objects"])))
    if name in ("NSArray", "NSMutableArray"):
        return [decode(objects, v.data) for v in obj["NS.objects"]]
    raise ValueError(f"unexpected class {name}")


def same(a, b):
    """Equality that tells True from 1 and keeps order."""
    if type(a) is not type(b):
        return False
    if isinstance(a, (list, tuple)):
        return len(a) == len(b) and all(same(x, y) for x, y in zip(a, b))
    return a == b


def check(name, data, fault):
    plist = plistlib.loads(data, fmt=plistlib.FMT_BINARY)
    if plist.get("$archiver") != "NSKeyedArchiver" or plist.get("$version") != 100000:
        fault(f"not a keyed archive: {plist.get('$archiver')!r} {plist.get('$version')!r}")
    if plist.get("$top") != {"root": UID(1)}:
        fault(f"$top is {plist.get('$top')!r}")
    request = decode(plist["$objects"], 1)
    if not same(request, EXPECTED[name]):
        fault(f"holds {request!r}, expected {EXPECTED[name]!r}")


def main():
    writer = sys.argv[1]
    faults = []
    with tempfile.TemporaryDirectory() as directory:
        subprocess.run([writer, directory], check=True)
        for name in EXPECTED:
            def fault(message, n=name):
                faults.append(f"{n}: {message}")
            try:
                check(name, (Path(directory) / name / "Velmora.set").read_bytes(), fault)
            except (plistlib.InvalidFileException, KeyError, ValueError, IndexError) as error:
                fault(f"does not read: {error!r}")
    for message in faults:
        print("FAULT", message)
    print(f"{len(EXPECTED)} requests checked, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

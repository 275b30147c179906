#!/usr/bin/env python3
"""Checks the archives we write with a reader that shares no code with ours: Python's plistlib.

Usage: check_archive_graph.py WRITER FIXTURE_DIR

Runs WRITER (write_sample_archives) into a temporary directory and checks that every archive
has the object graph the platform's keyed archiver writes: the four top-level keys in order,
$top {"root": UID(1)}, "$null" first in $objects, one class description per class with the
full $classes chain, NS.keys/NS.objects as lists of UIDs that are never 0, objects numbered
in the order the archiver meets them, and the values write_sample_archives put in. The
numbering model is first checked against archives the platform wrote (FIXTURE_DIR).
Exits 1 and lists the faults if there are any.
"""

import math
import plistlib
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path
from plistlib import UID

CHAINS = {
    "NSMutableDictionary": ["NSMutableDictionary", "NSDictionary", "NSObject"],
    "NSMutableArray": ["NSMutableArray", "NSArray", "NSObject"],
    "NSMutableData": ["NSMutableData", "NSData", "NSObject"],
    "NSDate": ["NSDate", "NSObject"],
}

SETTINGS = {
    "hostsDisplay": True,
    "dateFormat": "yyyy-MM-dd HH:mm:ss",
    "severityEmergency": 2,
    "removalDebug": 30,
    "actionsEmailPort": 25,
    "actionsEmailPassword": "pässwörd",
    "popupSound": "",
    "includeFiltersArray": [
        {"filterName": "ssh", "filterHost": "10.0.0.1", "filterEnabled": True},
        {"filterName": "kern", "filterEnabled": False},
    ],
    "popupDisplayArray": [],
    "actionsFormatBody": "Date:$date\r\nPriority:$priority\r\n",
}

EVERY_KIND = {
    "ascii": "plain",
    "empty": "",
    "latin": "Grüße",
    "emoji": "😀",
    "cjk": "日本語",
    "integers": [0, 255, 256, 65535, 2**31 - 1, 2**31, 2**32, -1, -(2**63), 2**63 - 1],
    "booleans": [True, False, 1, 0],
    "reals": [1.5, 0.1, -3.0],
    "data": b"\x00\x01\xff",
    "emptyData": b"",
    "date": ("NSDate", 700000000.5),
    "emptyArray": [],
    "emptyDictionary": {},
    "nested": [[{}], {"a": [1]}],
    "nullText": "$null",
    "plain": "plain",
}

EXPECTED = {
    "settings": SETTINGS,
    "reload-command": {"Settings": "read"},
    "email-command": {
        "Settings": "email",
        "Recipients": ["a@example.com", "b@example.com"],
        "Subject": "Test",
        "Body": "Hello ✓",
        "Html": False,
    },
    "every-kind": EVERY_KIND,
    "array-root": [{"k": "v"}, "k", "v"],
}

FOUNDATION_FIXTURES = [
    "found-dict-strings-int-array.plist",
    "found-dict-with-mutablearray.bin",
    "found-nested-dicts-with-url.plist",
]


def check_top(plist, fault):
    if list(plist) != ["$version", "$archiver", "$top", "$objects"]:
        fault(f"top-level keys are {list(plist)}")
    if plist.get("$archiver") != "NSKeyedArchiver":
        fault(f"$archiver is {plist.get('$archiver')!r}")
    version = plist.get("$version")
    if type(version) is not int or version != 100000:
        fault(f"$version is {version!r}")
    if plist.get("$top") != {"root": UID(1)}:
        fault(f"$top is {plist.get('$top')!r}")
    if plist["$objects"][0] != "$null":
        fault("$objects does not start with $null")


def check_objects(objects, fault):
    classes = Counter()
    for index, obj in enumerate(objects):
        if not isinstance(obj, dict):
            continue
        if "$classname" in obj:
            classes[obj["$classname"]] += 1
            if obj.get("$classes") != CHAINS.get(obj["$classname"]):
                fault(f"class {obj['$classname']} has $classes {obj.get('$classes')}")
            continue
        cls = obj.get("$class")
        if not isinstance(cls, UID) or not 0 < cls.data < len(objects) or \
                "$classname" not in objects[cls.data]:
            fault(f"object {index} has no class description")
            continue
        for field in ("NS.keys", "NS.objects"):
            if field in obj:
                refs = obj[field]
                if not isinstance(refs, list) or \
                        not all(isinstance(r, UID) and 0 < r.data < len(objects) for r in refs):
                    fault(f"object {index}: {field} is not a list of UIDs in 1..{len(objects) - 1}")
        if "NS.keys" in obj and len(obj["NS.keys"]) != len(obj.get("NS.objects", [])):
            fault(f"object {index}: NS.keys and NS.objects differ in length")
    for name, count in classes.items():
        if count > 1:
            fault(f"class {name} is described {count} times")


def check_order(objects, root, fault):
    """The archiver numbers an object when it first meets it: the object itself, then what its
    fields refer to in field order (a dictionary's keys before its values), then its class."""
    seen = {0}
    order = []

    def visit(uid):
        if uid in seen:
            return
        seen.add(uid)
        order.append(uid)
        obj = objects[uid]
        if not isinstance(obj, dict) or "$classname" in obj:
            return
        for field, value in obj.items():
            refs = value if isinstance(value, list) else [value]
            for ref in refs:
                if field != "$class" and isinstance(ref, UID):
                    visit(ref.data)
        visit(obj["$class"].data)

    visit(root)
    if order != list(range(1, len(objects))):
        fault(f"objects are numbered {order}, not in the order the archiver meets them")


def decode(objects, uid):
    obj = objects[uid]
    if not isinstance(obj, dict):
        return obj
    name = objects[obj["$class"].data]["$classname"]
    if name in ("NSDictionary", "NSMutableDictionary"):
        keys = [decode(objects, k.data) for k in obj["NS.keys"]]
        return dict(zip(keys, (decode(objects, v.data) for v in obj["NS.objects"])))
    if name in ("NSArray", "NSMutableArray"):
        return [decode(objects, v.data) for v in obj["NS.objects"]]
    if name in ("NSData", "NSMutableData"):
        return obj["NS.data"]
    if name == "NSDate":
        return ("NSDate", obj["NS.time"])
    raise ValueError(f"unexpected class {name}")


def same(a, b):
    """Equality that tells True from 1 and keeps dictionary order."""
    if type(a) is not type(b):
        return False
    if isinstance(a, dict):
        return list(a) == list(b) and all(same(a[k], b[k]) for k in a)
    if isinstance(a, (list, tuple)):
        return len(a) == len(b) and all(same(x, y) for x, y in zip(a, b))
    if isinstance(a, float):
        return a == b or (math.isnan(a) and math.isnan(b))
    return a == b


def main():
    writer, fixture_dir = sys.argv[1], Path(sys.argv[2])
    faults = []
    for name in FOUNDATION_FIXTURES:
        plist = plistlib.loads((fixture_dir / name).read_bytes(), fmt=plistlib.FMT_BINARY)
        root = next(iter(plist["$top"].values())).data
        check_order(plist["$objects"], root, lambda m, n=name: faults.append(f"{n}: {m}"))

    with tempfile.TemporaryDirectory() as directory:
        subprocess.run([writer, directory], check=True)
        for name, expected in EXPECTED.items():
            def fault(message, n=name):
                faults.append(f"{n}: {message}")
            plist = plistlib.loads((Path(directory) / f"{name}.archive").read_bytes(),
                                   fmt=plistlib.FMT_BINARY)
            check_top(plist, fault)
            objects = plist["$objects"]
            check_objects(objects, fault)
            check_order(objects, 1, fault)
            try:
                value = decode(objects, 1)
            except (KeyError, ValueError, TypeError, IndexError, AttributeError) as error:
                fault(f"does not decode: {error!r}")
                continue
            if not same(value, expected):
                fault(f"decodes to {value!r}, expected {expected!r}")

    for message in faults:
        print("FAULT", message)
    print(f"{len(EXPECTED)} archives and {len(FOUNDATION_FIXTURES)} fixtures checked, "
          f"{len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

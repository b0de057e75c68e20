#!/usr/bin/env python3
"""Shows the archive that KeyedArchiveTest makes, read with Python's property lists and not with our own decoder.

Prints the first of its two members; the second is checked here. Numbers that stand in their object come with "inline".
"""
import plistlib
import sys

archive = plistlib.loads(open(sys.argv[1], "rb").read())
objects = archive["$objects"]
assert archive["$version"] == 100000 and archive["$archiver"] == "NSKeyedArchiver" and objects[0] == "$null"


def value(uid):
    found = objects[uid.data]
    if not isinstance(found, dict):
        return found[-1] if isinstance(found, str) and len(found) > 1000 else found
    if "NS.string" in found:
        return found["NS.string"]
    names = objects[found["$class"].data]["$classes"]
    assert names[-1] == "NSObject" and names[0] == objects[found["$class"].data]["$classname"]
    if "NS.keys" in found:
        return {value(k): value(v) for k, v in zip(found["NS.keys"], found["NS.objects"])}
    if "NS.objects" in found:
        return names[0], [value(v) for v in found["NS.objects"]]
    fields = sorted((k, v) for k, v in found.items() if k != "$class")
    return {k: value(v) if isinstance(v, plistlib.UID) else ("inline", v) for k, v in fields}


first, (_, texts) = value(archive["$top"]["rootDict"])[1]
assert texts == ["x" * length + "\u00e9" for length in range(300)]
print(ascii(sorted(first.items())))

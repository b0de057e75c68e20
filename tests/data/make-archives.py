#!/usr/bin/env python3
"""Makes the keyed archives in this folder, with Python's property lists and not with our own archiver."""
import pathlib
import plistlib

FOLDER = pathlib.Path(__file__).resolve().parent
UID = plistlib.UID


class Archive:
    def __init__(self):
        self.objects = ["$null"]
        self.classes = {}

    def add(self, value):
        self.objects.append(value)
        return UID(len(self.objects) - 1)

    def class_uid(self, *names):
        if names not in self.classes:
            self.classes[names] = self.add({"$classname": names[0], "$classes": [*names, "NSObject"]})
        return self.classes[names]

    def encode(self, value):
        if isinstance(value, Object):
            place = self.add(None)
            inline = (int, float) if value.has_inline_numbers else ()
            fields = {k: v if isinstance(v, inline) else self.encode(v) for k, v in value.fields.items()}
            fields["$class"] = self.class_uid(*value.names)
            self.objects[place.data] = fields
            return place
        if isinstance(value, UID):
            return value
        if isinstance(value, dict):
            keys = [self.encode(k) for k in value]
            values = [self.encode(v) for v in value.values()]
            return self.add({"NS.keys": keys, "NS.objects": values, "$class": self.class_uid("NSDictionary")})
        if isinstance(value, (list, set)):
            name = "NSArray" if isinstance(value, list) else "NSSet"
            return self.add({"NS.objects": [self.encode(v) for v in value], "$class": self.class_uid(name)})
        return self.add(value)

    def write(self, name, root_key, root):
        top = {"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": {root_key: root}, "$objects": self.objects}
        (FOLDER / name).write_bytes(plistlib.dumps(top, fmt=plistlib.FMT_BINARY, sort_keys=False))


class Object:
    def __init__(self, names, has_inline_numbers=True, **fields):
        self.names = names
        self.has_inline_numbers = has_inline_numbers
        self.fields = fields


def dictionary(name, root):
    archive = Archive()
    archive.write(name + ".archive", "rootDict", archive.encode(root))


def meta_info(text, weight, kind=1):
    return Object(("LCMetaInfo",), doubleValueV1=weight, integerValueV1=0, typeV1=kind, stringValueV1=text)


def generated(kind=None, subtype=None, genre="g", character="c"):
    described = {"Identifier": character}
    if kind:
        described["Type"] = kind
    if subtype:
        described["Subtype"] = subtype
    return {"kGenInst_Chunk_CharacterDict": described, "kGenInst_Chunk_GenreDict": {"Identifier": genre}}


everything = {
    "integratedLoudnessV1": -14.25,
    "globalMaxTruePeakV1": -0.5,
    "targetIntegratedLoudnessV1": -18,
    "IconID": 7,
    "PreferFileName": True,
    "PatchInfo": 2,
    "MetaInfo": [meta_info("Drums", 0.5), meta_info("Bass", 0.25)],
    "Taggings": {"mood": ["dark", "dry"]},
    "Version": 1,
}
dictionary("additional-all-keys", everything)
dictionary("additional-icon-only", {"IconID": 9})
dictionary("additional-wrong-kinds", {"IconID": "seven", "PatchInfo": "two", "MetaInfo": "none", "Taggings": [1],
                                      "integratedLoudnessV1": "loud"})
dictionary("additional-unknown-class", {"IconID": 9, "Taggings": {"x": Object(("LCOther",), a=1)}})
dictionary("geninst-no-type", generated())
dictionary("geninst-drummer", generated("Type_Drummer", genre="rock", character="kyle"))
dictionary("geninst-percussion", generated("Type_EDrummer", "Percussion"))
dictionary("geninst-electronic", generated("Type_EDrummer", "Beats", genre=""))
dictionary("geninst-bass-player", generated("Type_BassPlayer"))
dictionary("geninst-unknown-type", generated("Type_Flautist"))
dictionary("geninst-empty", {})
dictionary("geninst-with-meta-info", {**generated("Type_BassPlayer"), "x": meta_info("no place for it", 1.0)})

# One meta info with a long text, named 20,000 times: 2 GB when each is copied.
bomb = Archive()
one = bomb.encode(meta_info("x" * 100_000, 1.0))
bomb.write("additional-many-references.archive", "rootDict",
           bomb.encode({"IconID": 3, "MetaInfo": bomb.add({"NS.objects": [one] * 20_000,
                                                           "$class": bomb.class_uid("NSArray")})}))

record = Archive()
fields = {"bpm": 96.5, "beatCount": 8, "hash": -42, "frameCount": 512, "vireoLoopType": 0, "instrumentTypeTag": "Drums"}
record.write("record.loopdata", "root", record.encode(Object(("LCFileData",), False, **fields)))

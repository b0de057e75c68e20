#!/usr/bin/env python3
"""Makes the keyed archives in this folder, with Python's property lists and not with our own archiver."""
import pathlib
import plistlib


class Object:
    def __init__(self, name, inline=(int, float), **fields):
        self.name, self.inline, self.fields = name, inline, fields


class Archive:
    def __init__(self):
        self.objects, self.classes = ["$null"], {}

    def add(self, value):
        self.objects.append(value)
        return plistlib.UID(len(self.objects) - 1)

    def class_uid(self, name):
        if name not in self.classes:
            self.classes[name] = self.add({"$classname": name, "$classes": [name, "NSObject"]})
        return self.classes[name]

    def encode(self, value):
        if isinstance(value, Object):
            place = self.add(None)
            fields = {k: v if isinstance(v, value.inline) else self.encode(v) for k, v in value.fields.items()}
            self.objects[place.data] = {**fields, "$class": self.class_uid(value.name)}
            return place
        if isinstance(value, dict):
            members = {"NS.keys": list(map(self.encode, value)), "NS.objects": list(map(self.encode, value.values()))}
            return self.add({**members, "$class": self.class_uid("NSDictionary")})
        if isinstance(value, list):
            return self.add({"NS.objects": list(map(self.encode, value)), "$class": self.class_uid("NSArray")})
        return self.add(value)


def write(name, root, root_key="rootDict"):
    archive = Archive()
    top = {root_key: archive.encode(root)}
    file = {"$version": 100000, "$archiver": "NSKeyedArchiver", "$top": top, "$objects": archive.objects}
    path = pathlib.Path(__file__).resolve().parent / name
    path.write_bytes(plistlib.dumps(file, fmt=plistlib.FMT_BINARY, sort_keys=False))


def meta_info(text, weight):
    return Object("LCMetaInfo", doubleValueV1=weight, integerValueV1=0, typeV1=1, stringValueV1=text)


def generated(genre="g", character="c", **described):
    return {"kGenInst_Chunk_CharacterDict": {"Identifier": character, **described},
            "kGenInst_Chunk_GenreDict": {"Identifier": genre}}


write("additional-all-keys.archive", {
    "integratedLoudnessV1": -14.25, "globalMaxTruePeakV1": -0.5, "targetIntegratedLoudnessV1": -18, "IconID": 7,
    "PreferFileName": True, "PatchInfo": 2, "MetaInfo": [meta_info("Drums", 0.5), meta_info("Bass", 0.25)],
    "Taggings": {"mood": ["dark", "dry"]}, "Version": 1})
write("additional-icon-only.archive", {"IconID": 9})
write("additional-wrong-kinds.archive", {"IconID": "seven", "PatchInfo": "two", "MetaInfo": "none", "Taggings": [1],
                                         "integratedLoudnessV1": "loud"})
write("additional-unknown-class.archive", {"IconID": 9, "Taggings": {"x": Object("LCOther", a=1)}})
write("geninst-drummer.archive", generated("rock", "kyle", Type="Type_Drummer"))
write("geninst-percussion.archive", generated(Type="Type_EDrummer", Subtype="Percussion"))
write("geninst-electronic.archive", generated("", Type="Type_EDrummer", Subtype="Beats"))
write("geninst-bass-player.archive", generated(Type="Type_BassPlayer"))
write("geninst-unknown-type.archive", generated(Type="Type_Flautist"))
write("geninst-empty.archive", {})
write("geninst-with-meta-info.archive", {**generated(Type="Type_BassPlayer"), "x": meta_info("no place for it", 1.0)})
write("record.loopdata", Object("LCFileData", (), bpm=96.5, beatCount=8, hash=-42, frameCount=512, vireoLoopType=0,
                                instrumentTypeTag="Drums"), "root")

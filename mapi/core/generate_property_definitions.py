#!/usr/bin/env python3
"""Writes the predefined property definitions as C++ from property-definitions.csv.

usage: generate_property_definitions.py CSV CONSTANTS_HPP RECORDS_INC

CONSTANTS_HPP declares one constant per definition; RECORDS_INC holds the records, their texts and the search indexes. All of
it is plain numbers, without a single pointer: pointers would need a relocation each when the library is loaded.

The row order of the CSV is the numbering that applications store. Rows are appended, never moved, renamed or removed.
"""

import csv
import sys

# The records of these carry the name of their sibling: they are not found under their own names.
RECORD_NAMES = {
    "NPR_CERTTHUMBPRINT_A": "NPR_CERTTHUMBPRINT",
    "NPR_CERTTHUMBPRINT_W": "NPR_CERTTHUMBPRINT",
}

# Index 0 is the set of tagged properties.
SETS = {
    "": "00000000-0000-0000-0000-000000000000",
    "PS_PUBLIC_STRINGS": "00020329-0000-0000-C000-000000000046",
    "PS_INTERNET_HEADERS": "00020386-0000-0000-C000-000000000046",
    "PSETID_Appointment": "00062002-0000-0000-C000-000000000046",
    "PSETID_Task": "00062003-0000-0000-C000-000000000046",
    "PSETID_Address": "00062004-0000-0000-C000-000000000046",
    "PSETID_Common": "00062008-0000-0000-C000-000000000046",
    "PSETID_Log": "0006200A-0000-0000-C000-000000000046",
    "PSETID_Note": "0006200E-0000-0000-C000-000000000046",
    "PSETID_Sharing": "00062040-0000-0000-C000-000000000046",
    "PSETID_PostRss": "00062041-0000-0000-C000-000000000046",
    "PSETID_Meeting": "6ED8DA90-450B-101B-98DA-00AA003F1305",
    "PSETID_AirSync": "71035549-0739-4DCB-9163-00F0580DBBDF",
    "PSETID_Attachment": "96357F7F-59E1-47D0-99A7-46515C183B54",
    "PSETID_CalendarAssistant": "11000E07-B51B-40D6-AF21-CAA85EDAB1D0",
    "PSETID_Messaging": "41F28F13-83F4-4114-A584-EEDB5A6B0BFF",
    "PSETID_UnifiedMessaging": "4442858E-A9E3-4E80-B900-317A210CC15B",
    "GUID_PKMDocSummaryInformation": "D5CDD502-2E9C-101B-9397-08002B2CF9AE",
    "PSETID_Velmora": "52A474EE-E1A3-4E63-8FFC-FCDACB06A7FC",
}

KIND_ID, KIND_STRING = 0, 1
POOL_ROW = 16384  # units per row of the text pool; a literal of this size is within every compiler's limit
NUMBER_BITS, SET_BITS, TYPE_BITS = 13, 5, 13  # of a slot of the numeric index; the identifier has the other 32 of 63 bits
SET_SLOTS = 32
MASK64 = (1 << 64) - 1
MULTIPLIER = 0x9FB21C651E98DF25
BANNER = "// Generated from mapi/core/property-definitions.csv by generate_property_definitions.py. Do not edit.\n"


class Definition:
    def __init__(self, row):
        self.number = int(row["number"])
        self.constant = row["name"]
        self.name = RECORD_NAMES.get(self.constant, self.constant)
        self.named = row["kind"] != "tag"
        self.kind = KIND_STRING if row["kind"] == "string" else KIND_ID
        self.set = row["set"]
        self.id = int(row["id"], 16) if row["id"] else 0
        self.string_name = row["string_name"]
        self.type = int(row["type"], 16)

    def comment(self):
        if not self.named:
            return f"0x{self.id:04X}{self.type:04X}"
        identifier = f'"{self.string_name}"' if self.kind == KIND_STRING else f"0x{self.id:04X}"
        return f"{self.set} {identifier}, type 0x{self.type:04X}"


def fail(message):
    sys.exit(f"property-definitions.csv: {message}")


def read(path):
    with open(path, encoding="utf-8", newline="") as source:
        definitions = []
        for row in csv.DictReader(source):
            if row["kind"] not in ("tag", "lid", "string"):
                fail(f"unknown kind in row {row['number']}")
            definitions.append(Definition(row))
    constants = set()
    for position, d in enumerate(definitions, 1):
        if d.number != position:
            fail(f"row {position} is numbered {d.number}")
        if d.constant in constants or not d.constant.isidentifier():
            fail(f"{d.constant} is used twice or is no identifier")
        constants.add(d.constant)
        if d.type >= 1 << TYPE_BITS or d.number >= 1 << NUMBER_BITS or len(SETS) > 1 << SET_BITS:
            fail(f"{d.constant} does not fit into a slot of the numeric index")
        if d.set not in SETS or d.named == (d.set == ""):
            fail(f"{d.constant} has the unknown or misplaced set {d.set!r}")
        if (d.kind == KIND_STRING) != (d.string_name != "") or d.id > (0xFFFFFFFF if d.named else 0xFFFF):
            fail(f"{d.constant} has an identifier that does not fit its kind")
        for text in (d.constant, d.string_name):
            if not text.isascii() or len(text) > 255 or '"' in text or "\\" in text:
                fail(f"{d.constant}: a text is longer than 255 units or needs quoting")
    return definitions


# The hashes of PropHash.hpp, step by step the same; static_asserts beside the tables compare values.
def rotate_left(word, count):
    return ((word << count) | (word >> (64 - count))) & MASK64 if count else word


def mix(word):
    word = ((word ^ (word >> 32)) * MULTIPLIER) & MASK64
    return word ^ (word >> 32)


def hash_text(seed, text):
    state = (seed + len(text)) & MASK64
    for start in range(0, len(text), 4):
        word = 0
        for shift, unit in enumerate(text[start : start + 4]):
            word |= ord(unit) << (16 * shift)
        state ^= rotate_left((word * MULTIPLIER) & MASK64, start // 4 * 11 % 64)
    return mix(state)


def set_number(d):
    return list(SETS).index(d.set)


def numeric_key(d):
    return d.id | d.type << 32 | set_number(d) << (32 + TYPE_BITS)


def string_seed(d):
    return d.type | set_number(d) << 32


def set_multiplier():
    """A multiplier that sends the first groups of all sets to different slots."""
    firsts = [int(guid[:8], 16) for guid in SETS.values()]
    for multiplier in range(0x9E3779B1, 0xFFFFFFFF, 2):
        if len({((first * multiplier) & 0xFFFFFFFF) * SET_SLOTS >> 32 for first in firsts}) == len(firsts):
            return multiplier
    fail("no multiplier separates the property sets; give them more slots")


def build_table(entries, bits):
    """Open addressing with linear probing. Entries are (key, hash, slot value) in the order of registration; 0 is an empty
    slot. Of equal keys only the first is entered, so that a search finds what a walk from the start would find."""
    slots = [0] * (1 << bits)
    seen = set()
    for key, hashed, value in entries:
        if key in seen:
            continue
        seen.add(key)
        slot = hashed & (len(slots) - 1)
        while slots[slot]:
            slot = (slot + 1) & (len(slots) - 1)
        slots[slot] = value
    if len(seen) * 10 > len(slots) * 6:
        fail("a search index is more than 60 % full; give it one bit more")
    return slots


def text_slot(d, hashed):
    """The number, and 16 bits of the hash by which most wrong candidates are told without looking at their text."""
    return d.number | hashed >> 48 << 16


class TextPool:
    """Texts with a closing zero, none of them across the end of a row."""

    def __init__(self):
        self.rows = [[]]
        self.used = 0
        self.offsets = {}

    def add(self, text):
        if text not in self.offsets:
            if self.used + len(text) + 1 > POOL_ROW - 1:
                self.rows.append([])
                self.used = 0
            self.offsets[text] = (len(self.rows) - 1) * POOL_ROW + self.used
            self.rows[-1].append(text)
            self.used += len(text) + 1
        return self.offsets[text]


def write_constants(definitions, out):
    out.write(
        "// The predefined property definitions: the constant is the definition's handle, its row in the order of registration.\n"
        "// Behind each stands its tag, or its property set with the identifier or name.\n"
        + BANNER
        + """#pragma once

#if defined(PR_ENTRYID) || defined(PR_SUBJECT) || defined(PR_DISPLAY_NAME) || defined(PR_BODY) || defined(PR_NULL)
#error \\
    "The platform's property tag macros (mapitags.h) are defined. PR_SUBJECT and its siblings are constants here: include this header in a source that does not include the platform's MAPI headers."
#endif

#include <cstdint>

namespace deftmapi
{

using TKwMAPIPropDef = std::uint64_t;

"""
    )
    out.write(
        f"/// How many definitions are predefined; the first that an application registers gets the next number.\n"
        f"inline constexpr TKwMAPIPropDef PredefinedPropCount = {len(definitions)};\n\n"
    )
    for d in definitions:
        out.write(f"inline constexpr TKwMAPIPropDef {d.constant} = {d.number}; // {d.comment()}\n")
    out.write("\n} // namespace deftmapi\n")


def write_table(out, type_name, title, slots):
    out.write(f"constexpr {type_name} {title}[{len(slots)}] = {{\n")
    for start in range(0, len(slots), 12):
        out.write("    " + ", ".join(f"0x{n:X}" if n else "0" for n in slots[start : start + 12]) + ",\n")
    out.write("};\n\n")


def guid_literal(text):
    data1, data2, data3, data4, data5 = text.split("-")
    tail = ", ".join(f"0x{byte:02X}" for byte in bytes.fromhex(data4 + data5))
    return f"{{0x{data1}, 0x{data2}, 0x{data3}, {{{tail}}}}}"


def write_records(definitions, out):
    pool = TextPool()
    records = []
    for d in definitions:
        name, string_name = pool.add(d.name), pool.add(d.string_name)
        records.append(
            f"    {{{d.number}, 0x{d.type:04X}, {d.kind}, {str(d.named).lower()}, {{0x{d.id:X}, {name}, {string_name}, "
            f"{len(d.name)}, {len(d.string_name)}, {set_number(d)}}}}}, // {d.constant}\n"
        )
    out.write(BANNER)
    out.write("\nconstexpr mapi::GUID propSets[] = {\n")
    for name, guid in SETS.items():
        out.write(f"    {guid_literal(guid)}, // {name or 'tagged properties'}\n")
    out.write("};\n\n")
    out.write(f"constexpr std::uint32_t textPoolRow = {POOL_ROW};\n")
    out.write(f"constexpr char16_t textPool[{len(pool.rows)}][textPoolRow] = {{\n")
    for row in pool.rows:
        for text in row:
            out.write(f'    u"{text}\\0"\n')
        out.write("    ,\n")
    out.write("};\n\n")
    out.write(f"constexpr TKwMAPIPropInfo predefinedProps[{len(definitions)}] = {{\n")
    out.writelines(records)
    out.write("};\n\n")
    multiplier = set_multiplier()
    set_slots = [0] * SET_SLOTS
    for number, guid in enumerate(SETS.values()):
        set_slots[((int(guid[:8], 16) * multiplier) & 0xFFFFFFFF) * SET_SLOTS >> 32] = number
    out.write(f"constexpr std::uint32_t setMultiplier = 0x{multiplier:08X};\n")
    write_table(out, "std::uint8_t", "setIndex", set_slots)

    numeric, named_text, names = [], [], []
    for d in definitions:
        hashed = hash_text(0, d.name)
        names.append((d.name, hashed, text_slot(d, hashed)))
        if d.kind == KIND_STRING:
            hashed = hash_text(string_seed(d), d.string_name)
            named_text.append(((d.set, d.type, d.string_name), hashed, text_slot(d, hashed)))
        else:
            key = numeric_key(d)
            numeric.append((key, mix(key), key << NUMBER_BITS | d.number))
    write_table(out, "std::uint64_t", "numericIndex", build_table(numeric, 13))
    write_table(out, "std::uint32_t", "namedTextIndex", build_table(named_text, 11))
    write_table(out, "std::uint32_t", "nameIndex", build_table(names, 13))
    out.write(f"constexpr unsigned numberBits = {NUMBER_BITS}, setBits = {SET_BITS}, typeBits = {TYPE_BITS};\n")
    out.write(f"constexpr std::uint64_t hashOfSubject = 0x{hash_text(5, 'PR_SUBJECT'):016X};\n")


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    definitions = read(sys.argv[1])
    for path, write in ((sys.argv[2], write_constants), (sys.argv[3], write_records)):
        with open(path, "w", encoding="utf-8", newline="\n") as out:
            write(definitions, out)


if __name__ == "__main__":
    main()

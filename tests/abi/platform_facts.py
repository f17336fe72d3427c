"""The published facts about the platform interface, read from the tables in facts/.

Both check generators use this module, so that the columns of the tables are known in one place only.
"""

import csv
import pathlib
import re
from dataclasses import dataclass, field

# Members that the platform puts into nameless structs. Standard C++ has none, so ours are reached through "u".
NAMELESS = {
    ("LARGE_INTEGER", "LowPart"): "u.LowPart",
    ("LARGE_INTEGER", "HighPart"): "u.HighPart",
    ("ULARGE_INTEGER", "LowPart"): "u.LowPart",
    ("ULARGE_INTEGER", "HighPart"): "u.HighPart",
    ("CURRENCY", "Lo"): "u.Lo",
    ("CURRENCY", "Hi"): "u.Hi",
}

# The C types of the structure table whose width depends on the compiler.
FIXED_WIDTH = {
    "unsigned long": "ULONG",
    "long": "LONG",
    "unsigned short": "std::uint16_t",
    "short": "std::int16_t",
    "short*": "std::int16_t*",
    "unsigned char": "BYTE",
}

RESULT_GROUPS = {
    "result code",
    "account management result",
    "synchronisation result",
    "COM result code",
    "storage result code",
}


@dataclass
class Field:
    name: str
    ctype: str
    offset32: int
    size32: int
    offset64: int
    size64: int


@dataclass
class Structure:
    name: str
    kind: str
    size32: int
    size64: int
    fields: list = field(default_factory=list)


@dataclass
class Method:
    slot: int
    name: str
    returns: str
    parameters: list


@dataclass
class Interface:
    name: str
    iid: str
    base: str
    methods: list = field(default_factory=list)


@dataclass
class Function:
    name: str
    returns: str
    parameters: list
    export: str
    pointer: bool


def _rows(directory, name):
    with open(pathlib.Path(directory) / name, encoding="utf-8", newline="") as table:
        yield from csv.DictReader(table)


def cpp_type(ctype):
    """The C type of a table as it is called in our headers."""
    array = re.fullmatch(r"(.*)(\[\d+\])", ctype)
    element, dimension = array.groups() if array else (ctype, "")
    return FIXED_WIDTH.get(element, element) + dimension


def _parameter_types(text):
    types = []
    for parameter in filter(None, (part.strip() for part in text.split(","))):
        match = re.fullmatch(r"(.*?)(\[\])?\s+\w+", parameter)
        ctype = parameter if match is None or match.group(1) == "const" else match.group(1)
        types.append(ctype + ("*" if match is not None and match.group(2) else ""))
    return types


def structures(directory):
    found = {}
    for row in _rows(directory, "mapi-structures.csv"):
        if row["field"] == "(total)":
            found[row["structure"]] = Structure(
                row["structure"], row["c_type"], int(row["size32"]), int(row["size64"])
            )
        else:
            found[row["structure"]].fields.append(
                Field(
                    row["field"],
                    row["c_type"],
                    *(int(row[column]) for column in ("offset32", "size32", "offset64", "size64")),
                )
            )
    return found


def interfaces(directory):
    found = {}
    for row in _rows(directory, "mapi-interfaces.csv"):
        interface = found.setdefault(
            row["interface"], Interface(row["interface"], row["iid"], row["base"])
        )
        if not row["slot"]:
            continue
        returns, parameters = "HRESULT", row["parameters"]
        if parameters.startswith("returns "):
            returns, _, parameters = parameters[len("returns "):].partition(";")
        interface.methods.append(
            Method(int(row["slot"]), row["method"], returns.strip(), _parameter_types(parameters))
        )
    return found


def chain(found, interface):
    """The interface and its bases, the most basic one first."""
    links = [interface]
    while links[0].base:
        links.insert(0, found[links[0].base])
    return links


def constants(directory):
    """(group, name, 32-bit pattern)"""
    return [
        (row["group"], row["name"], int(row["value"], 16))
        for row in _rows(directory, "mapi-constants.csv")
    ]


def guids(directory):
    """(name, text form, bytes in memory order as hexadecimal text, kind)"""
    return [
        (row["name"], row["guid"], row["bytes"], row["kind"])
        for row in _rows(directory, "mapi-guids.csv")
    ]


def functions(directory):
    """Entry points and callback types; pointer tells whether our type of that name is a pointer."""
    found = []
    for row in _rows(directory, "mapi-functions.csv"):
        name = row["function"]
        exported = bool(row["dll_export_plain"])
        pointer = exported or "pointer type" in row["since"]
        found.append(
            Function(
                "LP" + name.upper() if exported else name,
                row["return_type"],
                _parameter_types(row["parameters"]),
                row["dll_export_plain"],
                pointer,
            )
        )
    return found

#!/usr/bin/env python3
"""The predefined property definitions must cost nothing when the library is loaded.

usage: check_definitions_load.py READELF OBJECT

Looks into the object that holds their tables: no initialisers run at load, and far fewer relocations in its data than there are
definitions (a handful for message texts is the compiler's choice).
"""

import re
import subprocess
import sys

ALLOWED_RELOCATIONS = 40
RELOCATION_SIZE = 24  # of a 64-bit object


def main():
    readelf, path = sys.argv[1:]
    listing = subprocess.run([readelf, "-SW", path], check=True, capture_output=True, text=True).stdout
    sections = re.findall(r"\]\s+(\.\S+)\s+\S+\s+[0-9a-f]+\s+[0-9a-f]+\s+([0-9a-f]+)", listing)
    if sum(int(size, 16) for name, size in sections if name.startswith(".rodata")) < 100_000:
        sys.exit(f"{path} does not hold the tables")
    initialisers = [name for name, _ in sections if name.startswith((".init_array", ".ctors"))]
    if initialisers:
        sys.exit(f"code runs at load: {initialisers}")
    relocations = sum(int(size, 16) for name, size in sections if re.match(r"\.rela\.(data|rodata)", name)) // RELOCATION_SIZE
    if relocations > ALLOWED_RELOCATIONS:
        sys.exit(f"{relocations} relocations at load")
    print(f"no initialisers, {relocations} relocations")


if __name__ == "__main__":
    main()

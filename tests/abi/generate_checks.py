#!/usr/bin/env python3
"""Writes the tables that test_abi walks: what the facts say beside what the headers declare.

usage: generate_checks.py FACTS OUTPUT

A fact without a declaration does not compile; a declaration that differs fails the test under its name.
"""

import pathlib
import sys

import platform_facts as facts

PREAMBLE = """// Generated from the facts about the platform interface; see generate_checks.py.
#include "AbiFacts.hpp"

#include "mapi/headers/uKwMAPIHeaders.hpp"

#include <type_traits>
#include <utility>

using namespace mapi;

namespace deftmapi::abi
{
"""
END = "\n} // namespace deftmapi::abi\n"


def table(record, function, rows):
    body = ",\n".join("        {%s}" % row for row in rows)
    return (
        f"std::span<const {record}> {function}()\n{{\n    static const {record} facts[] = {{\n"
        f"{body},\n    }};\n    return facts;\n}}\n"
    )


def structure_rows(directory):
    for structure in facts.structures(directory).values():
        name = structure.name
        same_kind = f"std::is_union_v<{name}>" if structure.kind == "union" else f"std::is_class_v<{name}>"
        yield (
            f'"{name}", 0, sizeof({name}), ByPlatform(0, 0), '
            f"ByPlatform({structure.size32}, {structure.size64}), {same_kind}"
        )
        for member in structure.fields:
            path = facts.NAMELESS.get((name, member.name), member.name)
            value = f"std::declval<{name}&>().{path}"
            same_type = "true"
            if member.ctype not in ("struct", "union"):
                # Parentheses would make a reference of it: decltype of a member access is the declared type.
                same_type = f"std::is_same_v<decltype({value}), {facts.cpp_type(member.ctype)}>"
            yield (
                f'"{name}.{member.name}", offsetof({name}, {path}), sizeof({value}), '
                f"ByPlatform({member.offset32}, {member.offset64}), "
                f"ByPlatform({member.size32}, {member.size64}), {same_type}"
            )


def constant_rows(directory):
    for group, name, value in facts.constants(directory):
        result = "true" if group in facts.RESULT_GROUPS else "false"
        yield f'"{name}", static_cast<std::uint32_t>({name}), 0x{value:08X}, {result}, {name} < 0'


def guid_rows(directory):
    for name, _, in_memory, kind in facts.guids(directory):
        if kind == "text":
            continue
        yield f'"{name}", &{name}, sizeof({name}), "{in_memory}"'


def text_rows(directory):
    for name, text, _, kind in facts.guids(directory):
        if kind == "text":
            yield f'"{name}", {name}, u"{text}"'


def signature(returns, scope, parameters):
    return f"{returns}(DEFTMAPI_STDCALL {scope}*)({', '.join(parameters)})"


def method_rows(directory):
    found = facts.interfaces(directory)
    for interface in found.values():
        for link in facts.chain(found, interface):
            for method in link.methods:
                pointer = f"&{interface.name}::{method.name}"
                expected = signature(method.returns, link.name + "::", method.parameters)
                yield (
                    f'"{interface.name}.{method.name}", SlotOf({pointer}), {method.slot}, '
                    f"std::is_same_v<decltype({pointer}), {expected}>"
                )


def interface_rows(directory):
    found = facts.interfaces(directory)
    for interface in found.values():
        slots = sum(len(link.methods) for link in facts.chain(found, interface))
        base = f"std::is_convertible_v<{interface.name}*, {interface.base}*>" if interface.base else "true"
        yield (
            f'"{interface.name}", "{interface.base}", {base}, SlotCount<{interface.name}>(), {slots}, '
            f"sizeof({interface.name})"
        )


def function_rows(directory):
    for function in facts.functions(directory):
        if function.pointer:
            expected = signature(function.returns, "", function.parameters)
        else:
            expected = f"{function.returns} DEFTMAPI_STDCALL({', '.join(function.parameters)})"
        yield f'"{function.name}", std::is_same_v<{function.name}, {expected}>'


def main():
    directory, output = sys.argv[1], pathlib.Path(sys.argv[2])
    output.mkdir(parents=True, exist_ok=True)
    files = {
        "structure_facts.cpp": table("LayoutFact", "LayoutFacts", structure_rows(directory)),
        "constant_facts.cpp": table("ConstantFact", "ConstantFacts", constant_rows(directory)),
        "guid_facts.cpp": table("GuidFact", "GuidFacts", guid_rows(directory))
        + "\n"
        + table("TextFact", "TextFacts", text_rows(directory)),
        "interface_facts.cpp": table("InterfaceFact", "InterfaceFacts", interface_rows(directory))
        + "\n"
        + table("MethodFact", "MethodFacts", method_rows(directory)),
        "function_facts.cpp": table("FunctionFact", "FunctionFacts", function_rows(directory)),
    }
    for name, text in files.items():
        (output / name).write_text(PREAMBLE + "\n" + text + END, encoding="utf-8")


if __name__ == "__main__":
    main()

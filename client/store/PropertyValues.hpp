// A property value that owns its data, and the ways between it and the SPropValue of the platform interface.
// Text is wide inside; 8-bit text is converted with the system ANSI code page at the interface.
#pragma once

#include "client/entry/Allocator.hpp"
#include "client/store/Blob.hpp"
#include "client/store/PropertyTags.hpp"
#include "support/uKwText.hpp"

#include <optional>
#include <span>
#include <variant>

namespace deftmapi::client
{

using mapi::ULONG;

/// Which member holds which types: int64 PT_I2, PT_LONG, PT_BOOLEAN, PT_I8, PT_CURRENCY, PT_SYSTIME, PT_ERROR; double
/// PT_R4, PT_DOUBLE, PT_APPTIME; Bytes PT_BINARY, PT_CLSID, PT_SVREID; std::string only in values on their way out;
/// monostate PT_NULL and PT_OBJECT. A large text or binary value is a blob (text as UTF-16 bytes).
using PropData =
    std::variant<std::monostate, std::int64_t, double, WideString, std::string, Bytes, std::vector<std::int64_t>,
                 std::vector<double>, std::vector<WideString>, std::vector<std::string>, std::vector<Bytes>, BlobPtr>;

struct Prop
{
    ULONG tag = 0;
    PropData data;

    [[nodiscard]] ULONG Id() const { return tag >> 16; }
    [[nodiscard]] ULONG Type() const { return tag & 0xFFFF; }
    [[nodiscard]] bool IsError() const { return Type() == mapi::PT_ERROR; }
};
using Props = std::vector<Prop>;

[[nodiscard]] inline Prop LongProp(ULONG tag, std::int64_t value)
{
    return {tag, value};
}
[[nodiscard]] inline Prop TextProp(ULONG tag, WideString value)
{
    return {tag, std::move(value)};
}
[[nodiscard]] inline Prop BinaryProp(ULONG tag, Bytes value)
{
    return {tag, std::move(value)};
}
[[nodiscard]] inline Prop ErrorProp(ULONG tag, mapi::SCODE code)
{
    return {(tag & 0xFFFF0000u) | mapi::PT_ERROR, std::int64_t{code}};
}

/// True for types that a stream can carry.
[[nodiscard]] constexpr bool IsStreamType(ULONG type)
{
    return type == mapi::PT_STRING8 || type == mapi::PT_UNICODE || type == mapi::PT_BINARY;
}
/// The tag with PT_STRING8 turned to PT_UNICODE, single or multiple.
[[nodiscard]] constexpr ULONG WideTag(ULONG tag)
{
    const ULONG type = tag & 0xFFFF;
    return type == mapi::PT_STRING8 || type == mapi::PT_MV_STRING8 ? tag + 1 : tag;
}

/// Bytes that the value counts for in sizes.
[[nodiscard]] std::uint64_t DataSize(const Prop& prop);

/// Copies a value that came over the interface; 8-bit text becomes wide. @throws Failure  MAPI_E_INVALID_PARAMETER for
/// a missing pointer, MAPI_E_INVALID_TYPE for a type that cannot be stored
[[nodiscard]] Prop FromInterface(const mapi::SPropValue& value);

/// The stored value in the type asked for: PT_UNSPECIFIED gives the own type (text wide or 8-bit by `unicode`), text
/// converts between widths. @returns nothing when the types do not go together Blobs are not converted: the caller has
/// read them or refused.
[[nodiscard]] std::optional<Prop> Convert(const Prop& stored, ULONG type, bool unicode);

/// Lays the values out in one MAPI buffer. @throws std::bad_alloc
[[nodiscard]] MapiBuffer<mapi::SPropValue> ToInterface(std::span<const Prop> props);

/// A number as the interface has it, of a type whose values are numbers; it lies in the structure itself.
void PutNumber(ULONG tag, std::int64_t number, mapi::SPropValue& out);
/// Lays one value out: the structure, and what it points to behind the first `start` bytes of the buffer. Without a
/// buffer it measures. @returns the size with this value
std::size_t LayOut(const Prop& prop, mapi::SPropValue& out, std::size_t start, std::byte* buffer);

/// A tag array in a MAPI buffer.
[[nodiscard]] MapiBuffer<mapi::SPropTagArray> MakeTagArray(std::span<const ULONG> tags);
/// A problem array in a MAPI buffer, or none when there are no problems.
[[nodiscard]] MapiBuffer<mapi::SPropProblemArray> MakeProblems(std::span<const mapi::SPropProblem> problems);

/// A parameter text of either width. Null gives an empty text.
[[nodiscard]] WideString TextParameter(mapi::LPCTSTR text, ULONG flags);

/// Orders two values of one type as tables do: text without regard to case. Types that have no order compare equal.
[[nodiscard]] int CompareValues(const Prop& a, const Prop& b);

/// The current time as FILETIME.
[[nodiscard]] std::int64_t Now();

} // namespace deftmapi::client

// Calls into a message that the converter knows by its published interfaces only: results become failures, property
// values are collected and set together, large values go through streams.
#pragma once

#include "client/entry/Guard.hpp"
#include "mapi/headers/uKwMAPIHeaders.hpp"
#include "support/uKwRef.hpp"
#include "support/uKwText.hpp"

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

namespace deftmapi::client::mime
{

/// @throws Failure  result is a failure code; the text names the operation
void CheckCall(mapi::HRESULT result, WideView operation);

/// 100 ns since 1601 as a FILETIME.
[[nodiscard]] mapi::FILETIME ToFileTime(std::uint64_t ticks) noexcept;

/// Text for a PT_UNICODE value: a terminator inside would cut the value off, so zero characters are left out.
[[nodiscard]] WideString WithoutZeros(WideString text);

/// Property values under construction. The list owns what the values point to.
class TPropList
{
public:
    /// Values of more bytes than this are written through a stream (SetProps of a store need not take them).
    static constexpr std::size_t maxInlineBytes = 16 * 1024;

    TPropList() = default;
    TPropList(const TPropList&) = delete;
    TPropList& operator=(const TPropList&) = delete;
    TPropList(TPropList&&) = default;

    void AddLong(mapi::ULONG tag, mapi::LONG value);
    void AddBool(mapi::ULONG tag, bool value);
    void AddTime(mapi::ULONG tag, std::uint64_t ticks);
    void AddText(mapi::ULONG tag, WideView text);
    void AddBinary(mapi::ULONG tag, std::string_view bytes);

    [[nodiscard]] const std::vector<mapi::SPropValue>& Values() const noexcept { return FValues; }

    /// Sets the values. A store may compute some properties itself: for the tags it refuses with MAPI_E_COMPUTED its
    /// own value stands. @throws Failure  any other refusal
    void ApplyTo(mapi::IMAPIProp& object);

private:
    mapi::SPropValue& Add(mapi::ULONG tag);

    std::vector<mapi::SPropValue> FValues;
    std::deque<WideString> FTexts;
    std::deque<std::string> FBinaries;
};

/// A property opened as a stream for writing in pieces; the old value is replaced.
class TPropWriter
{
public:
    /// @throws Failure  the object refuses the stream
    TPropWriter(mapi::IMAPIProp& object, mapi::ULONG tag);

    /// @throws Failure  the stream takes less than all
    void Write(std::span<const char> bytes);
    /// Makes the value part of the object. @throws Failure
    void Commit();

private:
    TKwComPtr<mapi::IStream> FStream;
};

} // namespace deftmapi::client::mime

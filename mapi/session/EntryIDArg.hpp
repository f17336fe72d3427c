// An entry identifier as the two arguments that MAPI calls take.
#pragma once

#include "mapi/core/uKwMAPIEntryID.hpp"

namespace deftmapi
{

/// The value of a property that may be absent, as an identifier that may be Null.
[[nodiscard]] inline TKwMAPIEntryID KwAsEntryID(const TKwVariant& value)
{
    if (!value.IsEmptyOrNull() && !value.AsBytes().empty())
        return value;
    return TKwNull{};
}

/// Holds a copy of the bytes for the time of a call. An identifier without bytes gives size 0 and null.
class TKwMAPIEntryIDArg
{
public:
    explicit TKwMAPIEntryIDArg(const TKwMAPIEntryID& entryID) : FBytes(EntryIDToArr(entryID)) {}

    [[nodiscard]] bool Empty() const noexcept { return FBytes.empty(); }
    [[nodiscard]] mapi::ULONG Size() const noexcept { return static_cast<mapi::ULONG>(FBytes.size()); }
    [[nodiscard]] mapi::ENTRYID* Get() noexcept
    {
        return FBytes.empty() ? nullptr : reinterpret_cast<mapi::ENTRYID*>(FBytes.data());
    }
    [[nodiscard]] mapi::SBinary Binary() noexcept { return {Size(), FBytes.data()}; }

    /// The identifiers, or (when one of the two is empty) the answer without a call: two empty ones are equal.
    template <typename Compare>
    [[nodiscard]] static bool Equal(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b, Compare&& compare)
    {
        TKwMAPIEntryIDArg first(a);
        TKwMAPIEntryIDArg second(b);
        return first.Empty() || second.Empty() ? first.Empty() && second.Empty() : compare(first, second);
    }

private:
    TKwBytes FBytes;
};

} // namespace deftmapi

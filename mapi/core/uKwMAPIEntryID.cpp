// Conversions of entry identifiers. Text is written and read in one go into memory of the final size: a list of
// messages converts one identifier per row.
#include "mapi/core/uKwMAPIEntryID.hpp"

#include "mapi/core/HexDigits.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi
{

namespace
{

constexpr auto sNoUID = u"The size of the specified EntryID does not match the size of a TMAPIUID!";
constexpr auto sEmptyEntryID = u"Empty EntryID values are not allowed!";
constexpr auto sNotHexadecimal = u"'$%s' is not a valid integer value (position %d in the text of an entry identifier)";
constexpr auto sUnit = u"uKwMAPIBase";

/// The bytes of an identifier; what they lie in when the variant does not hold them as they are.
class TBytesView
{
public:
    explicit TBytesView(const TKwMAPIEntryID& entryID)
    {
        if (const auto* bytes = entryID.TryGet<TKwBytes>())
            FView = *bytes;
        else if (!entryID.IsEmptyOrNull()) {
            FConverted = entryID.AsBytes();
            FView = FConverted;
        }
    }

    [[nodiscard]] std::span<const std::uint8_t> operator*() const noexcept { return FView; }

private:
    TKwBytes FConverted;
    std::span<const std::uint8_t> FView;
};

template <typename Text>
Text ToText(const TKwMAPIEntryID& entryID)
{
    const TBytesView view(entryID);
    Text text((*view).size() * 2, typename Text::value_type{});
    KwWriteHex((*view).data(), (*view).size(), text.data());
    return text;
}

template <typename Char>
[[noreturn]] void RaiseNotHexadecimal(std::basic_string_view<Char> text)
{
    std::size_t i = 0;
    while (i + 2 < text.size() && KwIsHexDigit(static_cast<char16_t>(text[i])) &&
           KwIsHexDigit(static_cast<char16_t>(text[i + 1])))
        i += 2;
    throw EKwConvertError(sNotHexadecimal, {WideString(text.begin() + i, text.begin() + i + 2), i + 1},
                          mapi::MAPI_E_INVALID_PARAMETER);
}

/// REQUIRES: text is trimmed and not empty.
template <typename Char>
TKwMAPIEntryID FromText(std::basic_string_view<Char> text)
{
    TKwBytes bytes(text.size() / 2);
    if (!KwReadHex(text.data(), bytes.size(), bytes.data()))
        RaiseNotHexadecimal(text);
    return bytes;
}

std::string_view TrimAnsi(std::string_view text) noexcept
{
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' '; };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

std::string EntryIDToStrA(const TKwMAPIEntryID& entryID)
{
    return ToText<std::string>(entryID);
}

WideString EntryIDToStrW(const TKwMAPIEntryID& entryID)
{
    return ToText<WideString>(entryID);
}

WideString EntryIDToStr(const TKwMAPIEntryID& entryID)
{
    return EntryIDToStrW(entryID);
}

TKwMAPIEntryID StrToEntryID(WideView text)
{
    text = KwTrim(text);
    return text.empty() ? TKwMAPIEntryID(TKwNull{}) : FromText(text);
}

TKwMAPIEntryID StrToEntryID(std::string_view text)
{
    // ASCII is the same in every ANSI code page: what reads as digits from end to end is done.
    const std::string_view trimmed = TrimAnsi(text);
    if (TKwBytes bytes(trimmed.size() / 2);
        !bytes.empty() && trimmed.size() % 2 == 0 && KwReadHex(trimmed.data(), bytes.size(), bytes.data()))
        return bytes;
    // What is not ASCII is no digit, but may be one character of several bytes, and it is characters that are counted.
    if (std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) > 0x7F; }))
        return StrToEntryID(TKwEncoding().ToWide(text));
    return trimmed.empty() ? TKwMAPIEntryID(TKwNull{}) : FromText(trimmed);
}

TKwBytes EntryIDToArr(const TKwMAPIEntryID& entryID)
{
    return entryID.IsEmptyOrNull() ? TKwBytes() : entryID.AsBytes();
}

TKwMAPIEntryID ArrToEntryID(std::span<const std::uint8_t> bytes)
{
    return bytes;
}

TKwMAPIEntryID BinToEntryID(std::int32_t size, const void* data)
{
    if (size <= 0)
        return TKwNull{};
    return std::span(static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(size));
}

std::unique_ptr<std::stringstream> EntryIDToBin(const TKwMAPIEntryID& entryID)
{
    const TBytesView view(entryID);
    return std::make_unique<std::stringstream>(std::string((*view).begin(), (*view).end()),
                                               std::ios::in | std::ios::out | std::ios::binary);
}

mapi::MAPIUID EntryIDToUID(const TKwMAPIEntryID& entryID)
{
    const TBytesView view(entryID);
    mapi::MAPIUID uid{};
    if ((*view).size() != sizeof(uid.ab))
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoUID)->Raise();
    std::ranges::copy(*view, uid.ab);
    return uid;
}

void* _GetMAPIEntryID(IKwMAPISessionBase* session, const TKwMAPIEntryID& entryID, mapi::ULONG& size)
{
    KwAssert(session != nullptr, sEmptyEntryID, sUnit);
    const TKwBytes* bytes = entryID.TryGet<TKwBytes>();
    KwAssert(bytes != nullptr && !bytes->empty(), sEmptyEntryID, sUnit);
    const auto count = static_cast<mapi::ULONG>(bytes->size());
    void* buffer = session->AllocateBuffer(count);
    std::memcpy(buffer, bytes->data(), count);
    size = count;
    return buffer;
}

void* _GetMAPIEntryID(IKwMAPISessionBase* session, const TKwMAPIEntryID& entryID)
{
    mapi::ULONG size = 0;
    return _GetMAPIEntryID(session, entryID, size);
}

} // namespace deftmapi

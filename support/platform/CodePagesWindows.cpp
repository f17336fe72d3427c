// Code pages through the system's converters. Some of them (the ISO 2022 family, UTF-7) refuse every flag, so that they
// can neither report a malformed sequence nor a lost character by themselves; there a round trip tells.
#include "support/platform/WindowsParts.hpp"

#include <algorithm>
#include <limits>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace deftmapi::windows
{

namespace
{

/// The number under which the system converts a code page that has two.
UINT SystemNumber(unsigned codePage) noexcept
{
    switch (codePage) {
    case 51932:
        return 20932; // EUC-JP
    case 51936:
        return 936; // EUC-CN
    case 51949:
        return 949; // EUC-KR
    default:
        return codePage;
    }
}

bool TakesNoFlags(UINT codePage) noexcept
{
    return (codePage >= 50220 && codePage <= 50229) || codePage == 52936 || codePage == 65000 || codePage == 42 ||
           (codePage >= 57002 && codePage <= 57011);
}

bool IsKnown(UINT codePage) noexcept
{
    CPINFO info = {};
    return ::GetCPInfo(codePage, &info) != 0;
}

/// The largest piece that the system's int lengths allow.
bool Fits(std::size_t length) noexcept
{
    return length <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

bool Decode(UINT codePage, DWORD flags, std::string_view bytes, WideString& text)
{
    const int size = static_cast<int>(bytes.size());
    const int length = ::MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (length <= 0)
        return false;
    text.resize(static_cast<std::size_t>(length));
    return ::MultiByteToWideChar(codePage, flags, bytes.data(), size, reinterpret_cast<wchar_t*>(text.data()),
                                 length) == length;
}

/// Character by character, for input that the converter refuses as a whole.
WideString DecodeDamaged(UINT codePage, std::string_view bytes)
{
    WideString result;
    while (!bytes.empty()) {
        WideString piece;
        std::size_t used = std::min<std::size_t>(4, bytes.size());
        std::size_t length = 1;
        for (; length <= used; ++length)
            if (Decode(codePage, MB_ERR_INVALID_CHARS, bytes.substr(0, length), piece))
                break;
        const bool decoded = length <= used;
        result += decoded ? piece : WideString(1, u'\xFFFD');
        bytes.remove_prefix(decoded ? length : 1);
    }
    return result;
}

bool Encode(UINT codePage, WideView text, std::string& bytes, BOOL* lost)
{
    const DWORD flags = lost != nullptr ? WC_NO_BEST_FIT_CHARS : 0;
    const char* mark = lost != nullptr ? "?" : nullptr;
    const auto* source = reinterpret_cast<const wchar_t*>(text.data());
    const int length = static_cast<int>(text.size());
    const int size = ::WideCharToMultiByte(codePage, flags, source, length, nullptr, 0, mark, lost);
    if (size <= 0)
        return false;
    bytes.resize(static_cast<std::size_t>(size));
    return ::WideCharToMultiByte(codePage, flags, source, length, bytes.data(), size, mark, lost) == size;
}

/// The text with every pair of surrogates that the code page lacks replaced: the system would put one mark per half.
WideString WithoutLostPairs(UINT codePage, WideView text)
{
    WideString result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = (text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        BOOL lost = FALSE;
        std::string bytes;
        if (pair && Encode(codePage, text.substr(i, 2), bytes, &lost) && lost != FALSE)
            result.push_back(u'?');
        else
            result.append(text, i, pair ? 2 : 1);
        i += pair ? 1 : 0;
    }
    return result;
}

/// GB18030 takes its own flag set: nothing is ever lost there but a lone surrogate.
bool TakesNoDefaultCharacter(UINT codePage) noexcept
{
    return codePage == 54936 || TakesNoFlags(codePage);
}

} // namespace

bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text)
{
    const UINT number = SystemNumber(codePage);
    text.clear();
    if (!IsKnown(number) || !Fits(bytes.size()))
        return false;
    if (bytes.empty())
        return true;
    if (TakesNoFlags(number))
        return Decode(number, 0, bytes, text);
    if (!Decode(number, MB_ERR_INVALID_CHARS, bytes, text))
        text = DecodeDamaged(number, bytes);
    return true;
}

bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy)
{
    const UINT number = SystemNumber(codePage);
    bytes.clear();
    if (!IsKnown(number) || !Fits(text.size()))
        return false;
    if (text.empty())
        return true;
    BOOL lost = FALSE;
    if (!TakesNoDefaultCharacter(number)) {
        if (!Encode(number, text, bytes, &lost))
            return false;
        if (lost == FALSE)
            return true;
        if (lossy != nullptr)
            *lossy = true;
        return Encode(number, WithoutLostPairs(number, text), bytes, &lost);
    }
    if (!Encode(number, text, bytes, nullptr))
        return false;
    WideString back;
    if (lossy != nullptr && (!Decode(number, 0, bytes, back) || back != text))
        *lossy = true;
    return true;
}

} // namespace deftmapi::windows

// The rooms of the Windows platform that have a source of their own.
#pragma once

#include "support/uKwText.hpp"

#include <string>
#include <string_view>

namespace deftmapi::windows
{

// As IKwPlatform's functions of the same name.
[[nodiscard]] bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text);
[[nodiscard]] bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy);

/// char16_t and wchar_t are the same 16 bits here, but different types.
[[nodiscard]] inline const wchar_t* Wide(const WideString& text) noexcept
{
    return reinterpret_cast<const wchar_t*>(text.c_str());
}
[[nodiscard]] inline WideString FromWide(const wchar_t* text, std::size_t length)
{
    return WideString(reinterpret_cast<const char16_t*>(text), length);
}

} // namespace deftmapi::windows

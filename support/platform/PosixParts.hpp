// The rooms of the POSIX platform that have a source of their own.
#pragma once

#include "support/uKwText.hpp"

#include <cstdint>
#include <string_view>

namespace deftmapi::posix
{

/// Our own text for a general result code (Win32 errors, also wrapped in an HRESULT of facility 7, COM and storage
/// errors); empty when there is none. Codes of MAPI have none on purpose: the system has none for them either.
[[nodiscard]] WideView SystemMessageOf(std::int32_t code) noexcept;

/// The LCID of a locale name such as "de_AT.UTF-8@euro"; 0 when it is not known.
[[nodiscard]] std::uint32_t LocaleOfName(std::string_view name) noexcept;

// As IKwPlatform's functions of the same name.
[[nodiscard]] bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text);
[[nodiscard]] bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy);

} // namespace deftmapi::posix

// TKwEncoding: wide text to 8-bit text in a code page and back. Code page 0 is the system ANSI code page
// (on POSIX 1252 unless the environment variable DEFTMAPI_ANSI_CODEPAGE names another).
#pragma once

#include "support/uKwText.hpp"

#include <cstdint>
#include <vector>

namespace deftmapi
{

/// One code page. Cheap to make and to copy; 1252, 28591, 20127, 1200, 1201 and 65001 are converted by our own tables,
/// all others by the platform. Thread-safe.
class DEFTMAPI_API TKwEncoding
{
public:
    /// @param codePage  a Windows code page number; 0 is the system ANSI code page
    explicit TKwEncoding(unsigned codePage = 0) noexcept;

    /// The number given, or the one that 0 stands for.
    [[nodiscard]] unsigned CodePage() const noexcept { return FCodePage; }
    /// True when the platform can convert this code page.
    [[nodiscard]] bool IsKnown() const noexcept;

    /// Wide to 8-bit; what the code page lacks becomes '?'. @throws EKwConvertError  the code page is unknown
    [[nodiscard]] std::string FromWide(WideView text) const;
    /// 8-bit to wide; a malformed sequence becomes U+FFFD. @throws EKwConvertError  the code page is unknown
    [[nodiscard]] WideString ToWide(std::string_view bytes) const;
    /// True when FromWide loses nothing. @throws EKwConvertError  the code page is unknown
    [[nodiscard]] bool CanEncode(WideView text) const;

    /// The code page of a character-set name of the Internet ("iso-8859-1", "utf-8", "windows-1251", …), or 0 when
    /// unknown.
    [[nodiscard]] static unsigned CodePageOfCharset(std::string_view name) noexcept;
    /// The system ANSI code page.
    [[nodiscard]] static unsigned SystemCodePage() noexcept;

private:
    unsigned FCodePage;
};

} // namespace deftmapi

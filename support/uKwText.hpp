// Text: UTF-16 everywhere inside, UTF-8 only at the edge (what(), the command line, file names).
#pragma once

#include "support/uKwExport.hpp"

#include <string>
#include <string_view>

namespace deftmapi
{

using WideString = std::u16string;
using WideView = std::u16string_view;

/// UTF-16 to UTF-8. A lone surrogate becomes U+FFFD.
[[nodiscard]] DEFTMAPI_API std::string KwToUtf8(WideView text);
/// UTF-8 to UTF-16. Each byte that is not part of a well-formed sequence becomes U+FFFD.
[[nodiscard]] DEFTMAPI_API WideString KwFromUtf8(std::string_view text);

/// True when the texts are equal without regard to case. Case folding is per code point (simple folding) and
/// independent of the locale.
[[nodiscard]] DEFTMAPI_API bool KwSameText(WideView a, WideView b) noexcept;
[[nodiscard]] DEFTMAPI_API WideString KwUpperCase(WideView text);
[[nodiscard]] DEFTMAPI_API WideString KwLowerCase(WideView text);
/// The text without the blanks and control characters (U+0000 to U+0020) at both ends.
[[nodiscard]] DEFTMAPI_API WideView KwTrim(WideView text) noexcept;
/// The text with the first occurrence of `what` replaced, found without regard to case.
[[nodiscard]] DEFTMAPI_API WideString KwReplaceFirstText(WideView text, WideView what, WideView with);
/// True when text begins with prefix, without regard to case.
[[nodiscard]] DEFTMAPI_API bool KwStartsText(WideView prefix, WideView text) noexcept;
/// Position of `what` in `text` without regard to case, or WideView::npos.
[[nodiscard]] DEFTMAPI_API std::size_t KwPosText(WideView what, WideView text) noexcept;

} // namespace deftmapi

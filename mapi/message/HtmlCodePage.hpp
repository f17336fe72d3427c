// The code page of HTML that comes as bytes.
#pragma once

#include "support/uKwText.hpp"

namespace deftmapi
{

/// The code page that the HTML names itself, by a byte-order mark or the charset of a meta element near its beginning;
/// 0 when it names none that is known.
[[nodiscard]] unsigned KwHtmlCodePage(std::string_view html) noexcept;

/// The HTML as text. A byte-order mark decides and is left out; then declaredCodePage (0: not known); then what the
/// HTML says; at last the system ANSI code page.
[[nodiscard]] WideString KwDecodeHtml(std::string_view html, unsigned declaredCodePage);

} // namespace deftmapi

// The failures of value conversions. Their codes are the two that automation uses for the same failures.
#pragma once

#include "support/uKwText.hpp"

namespace deftmapi::variantnumbers
{

/// @throws EKwConvertError 0x80020005
[[noreturn]] void RaiseNoConversion(WideView from, WideView to);
/// @throws EKwConvertError 0x80020005
[[noreturn]] void RaiseNoNumber(WideView text);
/// @throws EKwConvertError 0x80020005
[[noreturn]] void RaiseNoTime(WideView text);
/// @throws EKwConvertError 0x8002000A
[[noreturn]] void RaiseOutOfRange();

} // namespace deftmapi::variantnumbers

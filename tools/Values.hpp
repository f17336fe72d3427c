// Property values as text and as JSON: binary as upper-case hexadecimal, times as ISO 8601 UTC.
#pragma once

#include "Output.hpp"

#include "mapi/DeftMAPI.hpp"

namespace deftmapi::tool
{

[[nodiscard]] std::string ValueText(const TKwVariant& value);
[[nodiscard]] Json ValueJson(const TKwVariant& value);
/// Upper-case hexadecimal; empty for Null.
[[nodiscard]] std::string IDText(const TKwMAPIEntryID& id);
/// The definition of a name. @throws UsageError  there is none
[[nodiscard]] TKwMAPIPropDef DefinitionOf(const std::string& name);

} // namespace deftmapi::tool

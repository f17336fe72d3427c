#include "Values.hpp"

#include "Command.hpp"

#include <fmt/core.h>

namespace deftmapi::tool
{

namespace
{

std::string Hex(const TKwBytes& bytes)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t b : bytes) {
        text += digits[b >> 4U];
        text += digits[b & 15U];
    }
    return text;
}

} // namespace

Json ValueJson(const TKwVariant& value)
{
    switch (value.Kind()) {
    case TKwVarKind::vkEmpty:
    case TKwVarKind::vkNull:
    case TKwVarKind::vkInterface:
        return nullptr;
    case TKwVarKind::vkSmallInt:
    case TKwVarKind::vkLongInt:
    case TKwVarKind::vkInt64:
        return value.AsLargeInteger();
    case TKwVarKind::vkSingle:
    case TKwVarKind::vkDouble:
        return value.AsFloat();
    case TKwVarKind::vkBoolean:
        return value.AsBoolean();
    case TKwVarKind::vkError:
        return fmt::format("error 0x{:08X}", static_cast<std::uint32_t>(value.TryGet<TKwErrorCode>()->Code));
    case TKwVarKind::vkDate:
    case TKwVarKind::vkFileTime:
        return KwToUtf8(KwFileTimeToIso(value.AsFileTime()));
    case TKwVarKind::vkBytes:
        return Hex(*value.TryGet<TKwBytes>());
    case TKwVarKind::vkArray: {
        Json array = Json::array();
        for (const TKwVariant& element : *value.TryGet<TKwVariant::Array>())
            array.push_back(ValueJson(element));
        return array;
    }
    case TKwVarKind::vkCurrency:
    case TKwVarKind::vkWideString:
    case TKwVarKind::vkAnsiString:
        break;
    }
    return KwToUtf8(value.AsStringW());
}

std::string ValueText(const TKwVariant& value)
{
    const Json json = ValueJson(value);
    if (json.is_null())
        return {};
    if (json.is_string())
        return json.get<std::string>();
    if (!json.is_array())
        return json.dump();
    std::string text;
    for (const TKwVariant& element : *value.TryGet<TKwVariant::Array>())
        text += (text.empty() ? "" : "; ") + ValueText(element);
    return text;
}

std::string IDText(const TKwMAPIEntryID& id)
{
    return KwToUtf8(EntryIDToStrW(id));
}

TKwMAPIPropDef DefinitionOf(const std::string& name)
{
    const TKwMAPIPropInfo* info = FindProp(KwFromUtf8(name));
    if (!info)
        throw UsageError("there is no property definition named " + name + " (see deftmapi defs)");
    return info->Hash;
}

} // namespace deftmapi::tool

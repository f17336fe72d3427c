#include "client/table/Restriction.hpp"

#include "client/entry/Guard.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client
{
namespace
{

using namespace mapi;

constexpr auto sTooComplex = u"The table cannot evaluate a restriction of this kind.";
constexpr auto sTooDeep = u"The restriction is nested too deeply.";
constexpr auto sMalformed = u"The restriction is incomplete.";

bool Compare(ULONG op, int order)
{
    switch (op) {
    case RELOP_LT:
        return order < 0;
    case RELOP_LE:
        return order <= 0;
    case RELOP_GT:
        return order > 0;
    case RELOP_GE:
        return order >= 0;
    case RELOP_EQ:
        return order == 0;
    default:
        return order != 0;
    }
}

WideString TextOf(const Prop& prop)
{
    if (const auto* text = std::get_if<WideString>(&prop.data))
        return *text;
    const Bytes raw = std::get<BlobPtr>(prop.data)->ReadAll();
    WideString text(raw.size() / 2, u'\0');
    std::memcpy(text.data(), raw.data(), text.size() * 2);
    return text;
}

Bytes BytesOf(const Prop& prop)
{
    const auto* bytes = std::get_if<Bytes>(&prop.data);
    return bytes ? *bytes : std::get<BlobPtr>(prop.data)->ReadAll();
}

template <typename T>
bool Contains(const T& text, const T& pattern, ULONG level)
{
    switch (level & 0xFFFF) {
    case FL_PREFIX:
        return text.size() >= pattern.size() && std::equal(pattern.begin(), pattern.end(), text.begin());
    case FL_SUBSTRING:
        return std::search(text.begin(), text.end(), pattern.begin(), pattern.end()) != text.end() || pattern.empty();
    default:
        return text == pattern;
    }
}

/// The single values of a multiple one.
std::vector<Prop> Elements(const Prop& prop)
{
    std::vector<Prop> elements;
    std::visit(
        [&](const auto& data) {
            using T = std::decay_t<decltype(data)>;
            if constexpr (std::is_same_v<T, std::vector<std::int64_t>> || std::is_same_v<T, std::vector<double>> ||
                          std::is_same_v<T, std::vector<WideString>> || std::is_same_v<T, std::vector<Bytes>>)
            {
                for (const auto& item : data)
                    elements.push_back({prop.tag & ~MV_FLAG, item});
            }
        },
        prop.data);
    return elements;
}

} // namespace

Restriction Restriction::Parse(const SRestriction& in, int depth)
{
    if (depth >= MaximumDepth)
        Fail(MAPI_E_TOO_COMPLEX, sTooDeep);
    Restriction out;
    out.FKind = in.rt;
    const auto child = [&](const SRestriction* restriction) {
        if (!restriction)
            Fail(MAPI_E_INVALID_PARAMETER, sMalformed);
        out.FChildren.push_back(Parse(*restriction, depth + 1));
    };
    const auto value = [&](const SPropValue* prop) {
        if (!prop)
            Fail(MAPI_E_INVALID_PARAMETER, sMalformed);
        out.FValue = FromInterface(*prop);
    };
    switch (in.rt) {
    case RES_AND:
    case RES_OR: // both structures are laid out alike
        for (ULONG i = 0; i < in.res.resAnd.cRes; ++i)
            child(in.res.resAnd.lpRes ? in.res.resAnd.lpRes + i : nullptr);
        break;
    case RES_NOT:
        child(in.res.resNot.lpRes);
        break;
    case RES_CONTENT:
        out.FOperator = in.res.resContent.ulFuzzyLevel;
        out.FTag = WideTag(in.res.resContent.ulPropTag);
        value(in.res.resContent.lpProp);
        break;
    case RES_PROPERTY:
        out.FOperator = in.res.resProperty.relop;
        out.FTag = WideTag(in.res.resProperty.ulPropTag);
        if (out.FOperator > RELOP_NE)
            Fail(MAPI_E_TOO_COMPLEX, sTooComplex);
        value(in.res.resProperty.lpProp);
        break;
    case RES_COMPAREPROPS:
        out.FOperator = in.res.resCompareProps.relop;
        out.FTag = WideTag(in.res.resCompareProps.ulPropTag1);
        out.FOtherTag = WideTag(in.res.resCompareProps.ulPropTag2);
        if (out.FOperator > RELOP_NE)
            Fail(MAPI_E_TOO_COMPLEX, sTooComplex);
        break;
    case RES_BITMASK:
        out.FOperator = in.res.resBitMask.relBMR;
        out.FTag = in.res.resBitMask.ulPropTag;
        out.FNumber = in.res.resBitMask.ulMask;
        break;
    case RES_SIZE:
        out.FOperator = in.res.resSize.relop;
        out.FTag = WideTag(in.res.resSize.ulPropTag);
        out.FNumber = in.res.resSize.cb;
        break;
    case RES_EXIST:
        out.FTag = WideTag(in.res.resExist.ulPropTag);
        break;
    case RES_COMMENT:
        if (in.res.resComment.lpRes)
            child(in.res.resComment.lpRes);
        break;
    default:
        Fail(MAPI_E_TOO_COMPLEX, sTooComplex);
    }
    return out;
}

void Restriction::CollectTags(std::set<ULONG>& tags) const
{
    if (FTag)
        tags.insert(FTag);
    if (FOtherTag)
        tags.insert(FOtherTag);
    for (const Restriction& child : FChildren)
        child.CollectTags(tags);
}

bool Restriction::MatchesContent(const Prop& value) const
{
    const ULONG type = value.Type();
    if (type != FValue.Type())
        return false;
    if (type == PT_BINARY)
        return Contains(BytesOf(value), BytesOf(FValue), FOperator);
    if (type != PT_UNICODE)
        return false;
    if (FOperator & (FL_IGNORECASE | FL_LOOSE))
        return Contains(KwUpperCase(TextOf(value)), KwUpperCase(TextOf(FValue)), FOperator);
    return Contains(TextOf(value), TextOf(FValue), FOperator);
}

bool Restriction::Matches(const Lookup& row) const
{
    switch (FKind) {
    case RES_AND:
        return std::all_of(FChildren.begin(), FChildren.end(), [&](const auto& child) { return child.Matches(row); });
    case RES_OR:
        return std::any_of(FChildren.begin(), FChildren.end(), [&](const auto& child) { return child.Matches(row); });
    case RES_NOT:
        return !FChildren.front().Matches(row);
    case RES_COMMENT:
        return FChildren.empty() || FChildren.front().Matches(row);
    default:
        break;
    }
    const Prop& value = row(FTag);
    if (value.IsError())
        return false;
    switch (FKind) {
    case RES_EXIST:
        return true;
    case RES_BITMASK: {
        const auto* number = std::get_if<std::int64_t>(&value.data);
        const bool any = number && (static_cast<ULONG>(*number) & FNumber) != 0;
        return number && any == (FOperator == BMR_NEZ);
    }
    case RES_SIZE: {
        const std::uint64_t size = DataSize(value);
        return Compare(FOperator, size < FNumber ? -1 : (size > FNumber ? 1 : 0));
    }
    case RES_COMPAREPROPS: {
        const Prop& other = row(FOtherTag);
        return !other.IsError() && value.Type() == other.Type() && Compare(FOperator, CompareValues(value, other));
    }
    case RES_CONTENT: {
        if (!(value.Type() & MV_FLAG))
            return MatchesContent(value);
        const auto elements = Elements(value);
        return std::any_of(elements.begin(), elements.end(), [&](const Prop& item) { return MatchesContent(item); });
    }
    default:
        break;
    }
    // RES_PROPERTY. A multiple property compared with a single value asks whether any of its values fits.
    if (value.Type() & MV_FLAG && !(FValue.Type() & MV_FLAG)) {
        const auto elements = Elements(value);
        return std::any_of(elements.begin(), elements.end(), [&](const Prop& item) {
            return item.Type() == FValue.Type() && Compare(FOperator, CompareValues(item, FValue));
        });
    }
    if (value.Type() != FValue.Type())
        return false;
    if (std::holds_alternative<BlobPtr>(value.data)) {
        const Prop whole =
            value.Type() == PT_UNICODE ? TextProp(value.tag, TextOf(value)) : BinaryProp(value.tag, BytesOf(value));
        return Compare(FOperator, CompareValues(whole, FValue));
    }
    return Compare(FOperator, CompareValues(value, FValue));
}

} // namespace deftmapi::client

#include "client/table/Restriction.hpp"

#include "client/entry/Guard.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

using namespace mapi;

constexpr auto sTooComplex = u"The table cannot evaluate a restriction of this kind.";
constexpr auto sExpressions = u"The table cannot evaluate regular expressions and memberships of distribution lists.";
constexpr auto sPhrases = u"The table cannot search for phrases or beginnings of words.";
constexpr auto sSubObjects = u"Only recipients and attachments can be the subject of a restriction on subobjects.";
constexpr auto sTooDeep = u"The restriction is nested too deeply.";
constexpr auto sMalformed = u"The restriction is incomplete.";

// Properties that name the two kinds of rows inside a message.
bool IsSubObject(ULONG tag)
{
    return tag == tag::MessageRecipients || tag == tag::MessageAttachments;
}

/// @throws Failure  MAPI_E_INVALID_PARAMETER  no property is named
ULONG CheckTag(ULONG tag)
{
    if (tag == 0)
        Fail(MAPI_E_INVALID_PARAMETER, sMalformed);
    return WideTag(tag);
}

ULONG CheckRelation(ULONG op)
{
    if (op > RELOP_NE)
        Fail(MAPI_E_TOO_COMPLEX, sExpressions);
    return op;
}

ULONG CheckFuzzyLevel(ULONG level)
{
    if ((level & 0xFFFF) > FL_PREFIX)
        Fail(MAPI_E_TOO_COMPLEX, sPhrases);
    return level;
}

bool IsAscii(WideView text)
{
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
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
        out.FOperator = CheckFuzzyLevel(in.res.resContent.ulFuzzyLevel);
        out.FTag = CheckTag(in.res.resContent.ulPropTag);
        value(in.res.resContent.lpProp);
        if (const auto* text = std::get_if<WideString>(&out.FValue.data)) {
            out.FPattern = Fold(*text, out.FOperator);
            out.FAsciiPattern = IsAscii(out.FPattern);
            if (out.FAsciiPattern)
                out.FBytePattern = PackText(out.FPattern);
        }
        break;
    case RES_PROPERTY:
        out.FOperator = CheckRelation(in.res.resProperty.relop);
        out.FTag = CheckTag(in.res.resProperty.ulPropTag);
        value(in.res.resProperty.lpProp);
        break;
    case RES_COMPAREPROPS:
        out.FOperator = CheckRelation(in.res.resCompareProps.relop);
        out.FTag = CheckTag(in.res.resCompareProps.ulPropTag1);
        out.FOtherTag = CheckTag(in.res.resCompareProps.ulPropTag2);
        break;
    case RES_BITMASK:
        out.FOperator = in.res.resBitMask.relBMR;
        if (out.FOperator > BMR_NEZ)
            Fail(MAPI_E_INVALID_PARAMETER, sMalformed);
        out.FTag = CheckTag(in.res.resBitMask.ulPropTag);
        out.FNumber = in.res.resBitMask.ulMask;
        break;
    case RES_SIZE:
        out.FOperator = CheckRelation(in.res.resSize.relop);
        out.FTag = CheckTag(in.res.resSize.ulPropTag);
        out.FNumber = in.res.resSize.cb;
        break;
    case RES_EXIST:
        out.FTag = CheckTag(in.res.resExist.ulPropTag);
        break;
    case RES_SUBRESTRICTION:
        out.FTag = in.res.resSub.ulSubObject;
        if (!IsSubObject(out.FTag))
            Fail(MAPI_E_TOO_COMPLEX, sSubObjects);
        child(in.res.resSub.lpRes);
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
    if (FKind == RES_SUBRESTRICTION)
        return; // what is below is asked of other rows
    if (FTag)
        tags.insert(FTag);
    if (FOtherTag)
        tags.insert(FOtherTag);
    for (const Restriction& child : FChildren)
        child.CollectTags(tags);
}

} // namespace deftmapi::client

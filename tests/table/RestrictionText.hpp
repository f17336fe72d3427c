// A MAPI restriction as text, read from the record field by field: what a client would see.
#pragma once

#include "tests/support/ScriptedMAPI.hpp"

namespace deftmapi::test
{

/// `and(exist(0x0037001F),not(bitmask(1,0x0E070003,0x00000001)))`; `none` for null.
[[nodiscard]] inline std::string TextOf(const mapi::SRestriction* restriction)
{
    if (restriction == nullptr)
        return "none";
    const auto children = [](mapi::ULONG count, const mapi::SRestriction* list) {
        std::string text;
        for (mapi::ULONG i = 0; i < count; ++i)
            text += (i == 0 ? "" : ",") + TextOf(&list[i]);
        return text;
    };
    const auto& res = restriction->res;
    switch (restriction->rt) {
    case 0:
        return "and(" + children(res.resAnd.cRes, res.resAnd.lpRes) + ")";
    case 1:
        return "or(" + children(res.resOr.cRes, res.resOr.lpRes) + ")";
    case 2:
        return (res.resNot.ulReserved == 0 ? "not(" : "NOT(") + TextOf(res.resNot.lpRes) + ")";
    case 3:
        return "content(" + Hex(res.resContent.ulFuzzyLevel) + "," + Hex(res.resContent.ulPropTag) + "," +
               TextOf(*res.resContent.lpProp) + ")";
    case 4:
        return "property(" + std::to_string(res.resProperty.relop) + "," + Hex(res.resProperty.ulPropTag) + "," +
               TextOf(*res.resProperty.lpProp) + ")";
    case 5:
        return "compare(" + std::to_string(res.resCompareProps.relop) + "," + Hex(res.resCompareProps.ulPropTag1) +
               "," + Hex(res.resCompareProps.ulPropTag2) + ")";
    case 6:
        return "bitmask(" + std::to_string(res.resBitMask.relBMR) + "," + Hex(res.resBitMask.ulPropTag) + "," +
               Hex(res.resBitMask.ulMask) + ")";
    case 7:
        return "size(" + std::to_string(res.resSize.relop) + "," + Hex(res.resSize.ulPropTag) + "," +
               std::to_string(res.resSize.cb) + ")";
    case 8:
        return (res.resExist.ulReserved1 == 0 && res.resExist.ulReserved2 == 0 ? "exist(" : "EXIST(") +
               Hex(res.resExist.ulPropTag) + ")";
    case 9:
        return "sub(" + Hex(res.resSub.ulSubObject) + "," + TextOf(res.resSub.lpRes) + ")";
    default:
        return "kind " + std::to_string(restriction->rt);
    }
}

} // namespace deftmapi::test

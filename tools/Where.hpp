// The language of --where. It is parsed before anybody logs on, so that a mistake is reported at once and with its
// column; the tree is then laid out with the restrictions of one table.
#pragma once

#include "mapi/DeftMAPI.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace deftmapi::tool
{

/// One part of an expression; which members count depends on the kind of restriction that it becomes.
struct Condition
{
    TKwMAPIRestrictionType Type = rtAnd;
    TKwMAPIPropDef Prop = 0;
    TKwMAPIPropDef OtherProp = 0;
    TKwMAPIOperator Operator = oEqual;
    TKwMAPIBitmaskOperator BitOperator = bmoNotZero;
    TKwMAPIStringMatchType Match = smtFullString;
    TKwMAPIRestrictionSubObjectType SubObject = rsotRecipients;
    TKwVariant Value;
    std::int32_t Number = 0; ///< bits or bytes
    std::vector<Condition> Children;
};

/// The language in a few lines, for the command's help.
inline constexpr const char* WhereHelp =
    "EXPR of --where:\n"
    "  PROP = VALUE            also != < <= > >=; a number, \"text\", true, false, 2024-01-31T10:20:30Z, hex bytes\n"
    "  PROP ~ \"text\"           contains the text; PROP ^ \"text\" begins with it; both whatever the case\n"
    "  PROP = PROP             two properties of the message\n"
    "  PROP & MASK             has one of the bits; PROP & MASK = 0 has none of them\n"
    "  PROP                    a yes/no property that is set\n"
    "  exists PROP             size PROP > BYTES\n"
    "  recipients (EXPR)       one of the recipients fits; attachments (EXPR) likewise\n"
    "  not, and, or, ( )";

/// @throws UsageError  the expression is wrong; the message names the column, counted in characters from 1
[[nodiscard]] Condition ParseWhere(const std::string& expression);

/// An expression as restrictions of one table. They hold each other weakly: keep this as long as the table uses them.
class Restrictions
{
public:
    Restrictions(IKwMAPITable& table, const Condition& condition) : FTable(table), FRoot(Build(condition)) {}

    [[nodiscard]] const TKwRef<IKwMAPIRestriction>& Root() const { return FRoot; }

private:
    [[nodiscard]] TKwRef<IKwMAPIRestriction> Build(const Condition& condition);
    template <typename Interface>
    [[nodiscard]] TKwRef<Interface> Create(TKwMAPIRestrictionType type);

    IKwMAPITable& FTable;
    std::vector<TKwRef<IKwMAPIRestriction>> FAll;
    TKwRef<IKwMAPIRestriction> FRoot;
};

} // namespace deftmapi::tool

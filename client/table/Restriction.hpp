// A restriction copied from the caller's structures, and the evaluator for rows in memory. Tables over the database
// turn it into a condition of a statement (client/store/MessageCondition.cpp), which must decide alike.
#pragma once

#include "client/store/PropertyBag.hpp"

#include <functional>
#include <set>

namespace deftmapi::client
{

class Restriction
{
public:
    /// Nesting that is accepted; deeper restrictions are too complex.
    static constexpr int MaximumDepth = 256;

    /// Copies the structure. @throws Failure  MAPI_E_TOO_COMPLEX for kinds that tables here do not evaluate (counts,
    /// annotations, regular expressions, membership of lists, phrases) and too deep nesting; MAPI_E_INVALID_PARAMETER
    /// for malformed ones
    [[nodiscard]] static Restriction Parse(const mapi::SRestriction& restriction, int depth = 0);

    /// Where a row gives its properties: PT_ERROR when the row does not have one.
    using Lookup = std::function<const Prop&(ULONG tag)>;
    /// Where a row gives the rows of its recipients or attachments (PR_MESSAGE_RECIPIENTS, PR_MESSAGE_ATTACHMENTS).
    using SubRows = std::function<std::vector<PropertyBag>(ULONG tag)>;
    /// A comparison with a property that the row does not have in the type asked for is false. A multiple property fits
    /// when any of its values does. Without `subRows` no condition on subobjects is met.
    [[nodiscard]] bool Matches(const Lookup& row, const SubRows& subRows = nullptr) const;
    /// A content restriction decides on a text as the database has it, in UTF-8. REQUIRES: Value() is a text.
    [[nodiscard]] bool MatchesPackedText(std::string_view text) const;
    /// Adds the tags that Matches will ask the row for.
    void CollectTags(std::set<ULONG>& tags) const;

    /// The parts, by kind: the operator is a relational operator, a fuzzy level or a bit test; the number a mask or a
    /// size; the tag of a subobject restriction says which rows its child is for.
    [[nodiscard]] ULONG Kind() const { return FKind; }
    [[nodiscard]] ULONG Operator() const { return FOperator; }
    [[nodiscard]] ULONG Tag() const { return FTag; }
    [[nodiscard]] ULONG OtherTag() const { return FOtherTag; }
    [[nodiscard]] ULONG Number() const { return FNumber; }
    [[nodiscard]] const Prop& Value() const { return FValue; }
    [[nodiscard]] const std::vector<Restriction>& Children() const { return FChildren; }
    /// Text as the fuzzy level compares it: folded to upper case, without marks, as its flags say.
    [[nodiscard]] static WideString Fold(WideView text, ULONG fuzzyLevel);

private:
    [[nodiscard]] bool MatchesContent(const Prop& value) const;
    [[nodiscard]] bool MatchesText(WideView text) const;

    ULONG FKind = 0;
    ULONG FOperator = 0;
    ULONG FTag = 0;
    ULONG FOtherTag = 0;
    ULONG FNumber = 0;
    Prop FValue;
    WideString FPattern;      // of a content restriction: the text, folded
    std::string FBytePattern; // the same in bytes, where it is ASCII
    bool FAsciiPattern = false;
    std::vector<Restriction> FChildren;
};

/// Whether a value is of the type that a tag asks for, which may be PT_UNSPECIFIED; single or multiple, texts all wide.
[[nodiscard]] bool IsOfType(ULONG value, ULONG asked);
/// Bytes that RES_SIZE counts for a value: fixed types their size on the interface, text two per character without the
/// terminator, multiple values their sum.
[[nodiscard]] std::uint64_t RestrictionSize(const Prop& value);
/// The single values of a multiple one, in order; nothing for a single one.
[[nodiscard]] std::vector<Prop> ElementsOf(const Prop& prop);

} // namespace deftmapi::client

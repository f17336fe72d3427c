// A restriction copied from the caller's structures, and the one evaluator that all tables use.
#pragma once

#include "client/store/PropertyValues.hpp"

#include <functional>
#include <set>

namespace deftmapi::client
{

class Restriction
{
public:
    /// Nesting that is accepted; deeper restrictions are too complex.
    static constexpr int MaximumDepth = 64;

    /// Copies the structure. @throws Failure  MAPI_E_TOO_COMPLEX for kinds that tables here do not evaluate
    /// (subobjects, counts, regular expressions) and too deep nesting; MAPI_E_INVALID_PARAMETER for malformed ones
    [[nodiscard]] static Restriction Parse(const mapi::SRestriction& restriction, int depth = 0);

    /// The value of a property of the row: PT_ERROR when the row does not have it.
    using Lookup = std::function<const Prop&(ULONG tag)>;
    /// A comparison with a property that the row does not have is false.
    [[nodiscard]] bool Matches(const Lookup& row) const;
    /// Adds the tags that Matches will ask for.
    void CollectTags(std::set<ULONG>& tags) const;

private:
    [[nodiscard]] bool MatchesContent(const Prop& value) const;

    ULONG FKind = 0;
    ULONG FOperator = 0; // relational operator, fuzzy level or bit test
    ULONG FTag = 0;
    ULONG FOtherTag = 0;
    ULONG FNumber = 0; // mask or size
    Prop FValue;
    std::vector<Restriction> FChildren;
};

} // namespace deftmapi::client

// Sort orders and restrictions in one line each, for the calls that take them.
#pragma once

#include "tests/client/StoreFixture.hpp"

#include <memory>

namespace deftmapi::client::test
{

/// Any number of keys as the structure that calls take.
class SortKeys
{
public:
    SortKeys(std::initializer_list<SSortOrder> keys) : FWords{static_cast<ULONG>(keys.size()), 0, 0}
    {
        for (const auto& key : keys)
            FWords.insert(FWords.end(), {key.ulPropTag, key.ulOrder});
    }
    operator LPSSortOrderSet() { return reinterpret_cast<LPSSortOrderSet>(FWords.data()); }
    LPSSortOrderSet operator->() { return *this; }

private:
    std::vector<ULONG> FWords;
};

/// A restriction with the value and the parts that it points to; the texts and bytes of the value are the caller's.
/// Copies share it.
class Condition
{
public:
    explicit Condition(ULONG kind, std::vector<Condition> parts = {}) : FKept(std::make_shared<Kept>())
    {
        FKept->restriction.rt = kind;
        for (const Condition& part : parts)
            FKept->children.push_back(*part);
        FKept->restriction.res.resAnd = {static_cast<ULONG>(parts.size()), FKept->children.data()};
        FKept->parts = std::move(parts);
    }
    operator LPSRestriction() const { return &FKept->restriction; }
    LPSRestriction operator->() const { return &FKept->restriction; }
    SRestriction& operator*() const { return FKept->restriction; }
    LPSPropValue Keep(const SPropValue& value) const { return &(FKept->value = value); }
    [[nodiscard]] LPSRestriction Child() const { return FKept->children.data(); }

private:
    struct Kept
    {
        SRestriction restriction{};
        SPropValue value{};
        std::vector<Condition> parts;
        std::vector<SRestriction> children;
    };
    std::shared_ptr<Kept> FKept;
};

/// @param tag  the property that is compared; 0: that of the value
inline Condition Is(const SPropValue& value, ULONG relation = RELOP_EQ, ULONG tag = 0)
{
    Condition made(RES_PROPERTY);
    made->res.resProperty = {relation, tag ? tag : value.ulPropTag, made.Keep(value)};
    return made;
}
inline Condition Has(const SPropValue& value, ULONG level = FL_SUBSTRING | FL_IGNORECASE)
{
    Condition made(RES_CONTENT);
    made->res.resContent = {level, value.ulPropTag, made.Keep(value)};
    return made;
}
inline Condition Starts(const SPropValue& value)
{
    return Has(value, FL_PREFIX | FL_IGNORECASE);
}
inline Condition Bits(ULONG relation, ULONG tag, ULONG mask)
{
    Condition made(RES_BITMASK);
    made->res.resBitMask = {relation, tag, mask};
    return made;
}
inline Condition Unread()
{
    return Bits(BMR_EQZ, tag::MessageFlags, MSGFLAG_READ);
}
inline Condition Compare(ULONG relation, ULONG tag, ULONG other)
{
    Condition made(RES_COMPAREPROPS);
    made->res.resCompareProps = {relation, tag, other};
    return made;
}
inline Condition Size(ULONG relation, ULONG tag, ULONG size)
{
    Condition made(RES_SIZE);
    made->res.resSize = {relation, tag, size};
    return made;
}
inline Condition Exists(ULONG tag)
{
    Condition made(RES_EXIST);
    made->res.resExist = {0, tag, 0};
    return made;
}
inline Condition Not(Condition part)
{
    Condition made(RES_NOT, {std::move(part)});
    made->res.resNot = {0, made.Child()};
    return made;
}
inline Condition And(std::vector<Condition> parts)
{
    return Condition(RES_AND, std::move(parts));
}
inline Condition Or(std::vector<Condition> parts)
{
    return Condition(RES_OR, std::move(parts));
}
/// @param tag  the table of the message whose rows are asked
inline Condition AnyRow(ULONG tag, Condition part)
{
    Condition made(RES_SUBRESTRICTION, {std::move(part)});
    made->res.resSub = {tag, made.Child()};
    return made;
}

} // namespace deftmapi::client::test

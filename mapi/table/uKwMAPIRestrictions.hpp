// The nodes of filter expressions, each of which lays itself out as the platform's SRestriction.
//
// Include mapi/table/uKwMAPITable.hpp, which includes this file. Nodes are made by TKwMAPITable::CreateRestriction. A
// node only knows its table: it resolves properties through it while it lives and fails afterwards.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/core/uKwMAPIPropValue.hpp"
#include "mapi/headers/uKwMAPIStructuresH.hpp"

#include <optional>
#include <vector>

namespace deftmapi
{

class TKwMAPIRestrictionList;
class TKwMAPITableBase;

/// What all nodes have: the table, the kind and the record.
class DEFTMAPI_API TKwMAPIRestriction : public TKwMAPIObject, public virtual IKwMAPIRestrictionEx
{
public:
    [[nodiscard]] TKwMAPIRestrictionType Get_RestrictionType() const noexcept override { return FType; }
    /// @throws EMAPI_CALL_FAILED  "The table this restriction belongs to has been destroyed!"
    [[nodiscard]] mapi::SRestriction* GetMAPIRestriction() override;
    /// Null when it has been destroyed. Adds no reference.
    [[nodiscard]] const TKwMAPITableBase* Table() const noexcept { return FTable; }

protected:
    TKwMAPIRestriction(TKwMAPITableBase& table, TKwMAPIRestrictionType type);
    ~TKwMAPIRestriction() override;
    void DoOwnerDestroyed() noexcept override { FTable = nullptr; }

    /// Fills the kind's member of the record.
    virtual void Build(mapi::SRestriction& record) = 0;
    /// The child that this node keeps alive, or null.
    [[nodiscard]] virtual TKwMAPIRestriction* KeptChild() const noexcept { return nullptr; }

    TKwMAPITableBase& CheckTable() const;
    /// The definition's tag as the table's owner resolves it.
    [[nodiscard]] mapi::ULONG ResolveTag(TKwMAPIPropDef def) const;
    /// The node behind the interface. @throws EMAPI_INVALID_PARAMETER  it is of another table
    [[nodiscard]] TKwMAPIRestriction& CheckChild(const TKwRef<IKwMAPIRestriction>& restriction) const;
    [[nodiscard]] static TKwMAPIRestriction* KeptChildOf(const TKwMAPIRestriction& node) noexcept
    {
        return node.KeptChild();
    }

private:
    friend class TKwMAPIRestrictionList;

    TKwMAPITableBase* FTable;
    const TKwMAPIRestrictionType FType;
    mapi::SRestriction FRecord{};
    bool FBuilding = false;
    std::vector<TKwMAPIRestrictionList*> FParents; // the lists that have this node, once for each time
};

/// What And and Or have in common: children that they do not keep alive.
class DEFTMAPI_API TKwMAPIRestrictionList : public TKwMAPIRestriction
{
protected:
    using TKwMAPIRestriction::TKwMAPIRestriction;
    ~TKwMAPIRestrictionList() override;

    void Add(const TKwRef<IKwMAPIRestriction>& restriction);
    void Remove(const TKwRef<IKwMAPIRestriction>& restriction);
    /// The children's records, copied; what they point to is the children's.
    [[nodiscard]] std::vector<mapi::SRestriction>& BuildChildren();

private:
    friend class TKwMAPIRestriction;

    void ChildDestroyed(const TKwMAPIRestriction& child) noexcept;

    std::vector<TKwMAPIRestriction*> FChildren;
    std::vector<mapi::SRestriction> FRecords;
};

class DEFTMAPI_API TKwMAPIRestrictionAnd final : public TKwMAPIRestrictionList, public virtual IKwMAPIRestrictionAnd
{
public:
    explicit TKwMAPIRestrictionAnd(TKwMAPITableBase& table) : TKwMAPIRestrictionList(table, rtAnd) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionAnd"; }
    void AddRestriction(const TKwRef<IKwMAPIRestriction>& restriction) override { Add(restriction); }
    void RemoveRestriction(const TKwRef<IKwMAPIRestriction>& restriction) override { Remove(restriction); }

protected:
    void Build(mapi::SRestriction& record) override;
};

class DEFTMAPI_API TKwMAPIRestrictionOr final : public TKwMAPIRestrictionList, public virtual IKwMAPIRestrictionOr
{
public:
    explicit TKwMAPIRestrictionOr(TKwMAPITableBase& table) : TKwMAPIRestrictionList(table, rtOr) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionOr"; }
    void AddRestriction(const TKwRef<IKwMAPIRestriction>& restriction) override { Add(restriction); }
    void RemoveRestriction(const TKwRef<IKwMAPIRestriction>& restriction) override { Remove(restriction); }

protected:
    void Build(mapi::SRestriction& record) override;
};

/// What Not and Sub have in common: one child, kept alive.
class DEFTMAPI_API TKwMAPIRestrictionHolder : public TKwMAPIRestriction
{
protected:
    using TKwMAPIRestriction::TKwMAPIRestriction;

    /// @throws EMAPI_INVALID_PARAMETER  the node would keep itself alive
    void SetChild(const TKwRef<IKwMAPIRestriction>& restriction);
    /// @throws EMAPI_INVALID_PARAMETER  "No restriction has been set yet!"
    [[nodiscard]] mapi::SRestriction* BuildChild();
    [[nodiscard]] TKwMAPIRestriction* KeptChild() const noexcept override { return FChild.Get(); }

private:
    TKwRef<TKwMAPIRestriction> FChild;
};

class DEFTMAPI_API TKwMAPIRestrictionNot final : public TKwMAPIRestrictionHolder, public virtual IKwMAPIRestrictionNot
{
public:
    explicit TKwMAPIRestrictionNot(TKwMAPITableBase& table) : TKwMAPIRestrictionHolder(table, rtNot) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionNot"; }
    void SetRestriction(const TKwRef<IKwMAPIRestriction>& restriction) override { SetChild(restriction); }

protected:
    void Build(mapi::SRestriction& record) override;
};

class DEFTMAPI_API TKwMAPIRestrictionSub final : public TKwMAPIRestrictionHolder, public virtual IKwMAPIRestrictionSub
{
public:
    explicit TKwMAPIRestrictionSub(TKwMAPITableBase& table) : TKwMAPIRestrictionHolder(table, rtSub) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionSub"; }
    [[nodiscard]] TKwMAPIRestrictionSubObjectType Get_SubObjectType() const noexcept override { return FSubObjectType; }
    void Set_SubObjectType(TKwMAPIRestrictionSubObjectType value) override { FSubObjectType = value; }
    void SetRestriction(const TKwRef<IKwMAPIRestriction>& restriction) override { SetChild(restriction); }

protected:
    void Build(mapi::SRestriction& record) override;

private:
    TKwMAPIRestrictionSubObjectType FSubObjectType = rsotRecipients;
};

/// A definition and its tag, resolved when the definition is set.
struct TKwMAPIRestrictionTag
{
    TKwMAPIPropDef Def = 0;
    mapi::ULONG Tag = 0;
};

class DEFTMAPI_API TKwMAPIRestrictionContent final : public TKwMAPIRestriction, public virtual IKwMAPIRestrictionContent
{
public:
    explicit TKwMAPIRestrictionContent(TKwMAPITableBase& table);
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionContent"; }

    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const noexcept override { return FProp.Def; }
    void Set_PropDef(TKwMAPIPropDef def) override;
    [[nodiscard]] WideString Get_Value() const override { return FWideValue; }
    /// For 8-bit properties the text is converted to the system ANSI code page.
    void Set_Value(WideView value) override;
    [[nodiscard]] TKwMAPIStringMatchType Get_MatchType() const noexcept override { return FMatchType; }
    void Set_MatchType(TKwMAPIStringMatchType matchType) override { FMatchType = matchType; }
    [[nodiscard]] WordBool Get_CaseInsensitive() const noexcept override { return FCase; }
    void Set_CaseInsensitive(WordBool value) override { FCase = value; }
    [[nodiscard]] WordBool Get_AccentInsensitive() const noexcept override { return FAccent; }
    void Set_AccentInsensitive(WordBool value) override { FAccent = value; }
    [[nodiscard]] WordBool Get_LooseCompare() const noexcept override { return FLoose; }
    void Set_LooseCompare(WordBool value) override { FLoose = value; }

protected:
    void Build(mapi::SRestriction& record) override;

private:
    bool FCase = false;
    bool FAccent = false;
    bool FLoose = false;
    TKwMAPIStringMatchType FMatchType = smtFullString;
    TKwMAPIRestrictionTag FProp;
    WideString FWideValue;
    std::string FAnsiValue;
    mapi::SPropValue FValueRecord{};
};

/// How the value becomes one of the property's type:
///
///     PT_I2, PT_LONG, PT_R4, PT_DOUBLE    the number; Empty and Null are 0. Compared by oEqual and oNotEqual a
///                                         PT_LONG may be given without a sign, up to 2^32 - 1
///     PT_APPTIME, PT_BOOLEAN              the date-time in days; 1 or 0
///     PT_STRING8, PT_UNICODE              the text; 8-bit text in the system ANSI code page
///     PT_SYSTIME                          a date or a double: that time, UTC; a file time: itself; another value: the
///                                         number of its ticks
///     PT_CLSID                            the braced text form, or 16 bytes
///     PT_BINARY                           bytes, or their hexadecimal text
///     PT_MV_UNICODE                       a text: one value for each of its lines
///     PT_I8                               not converted: the record keeps the number that it has, 0 at first
class DEFTMAPI_API TKwMAPIRestrictionProperty final : public TKwMAPIRestriction,
                                                      public virtual IKwMAPIRestrictionProperty
{
public:
    explicit TKwMAPIRestrictionProperty(TKwMAPITableBase& table);
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionProperty"; }

    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const noexcept override { return FProp.Def; }
    void Set_PropDef(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwMAPIOperator Get_Operator() const noexcept override { return FOperator; }
    void Set_Operator(TKwMAPIOperator value) override { FOperator = value; }
    [[nodiscard]] TKwVariant Get_Value() const override { return FValue; }
    void Set_Value(const TKwVariant& value) override { FValue = value; }

protected:
    void Build(mapi::SRestriction& record) override;

private:
    TKwMAPIOperator FOperator = oSmallerThan;
    TKwMAPIRestrictionTag FProp;
    TKwVariant FValue;
    std::optional<TKwMAPIPropValue> FConverted; // what the record points into
    mapi::SPropValue FValueRecord{};
};

class DEFTMAPI_API TKwMAPIRestrictionCompareProps final : public TKwMAPIRestriction,
                                                          public virtual IKwMAPIRestrictionCompareProps
{
public:
    explicit TKwMAPIRestrictionCompareProps(TKwMAPITableBase& table) : TKwMAPIRestriction(table, rtCompareProps) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionCompareProps"; }

    [[nodiscard]] TKwMAPIPropDef Get_PropDef1() const noexcept override { return FProp1.Def; }
    void Set_PropDef1(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwMAPIPropDef Get_PropDef2() const noexcept override { return FProp2.Def; }
    void Set_PropDef2(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwMAPIOperator Get_Operator() const noexcept override { return FOperator; }
    void Set_Operator(TKwMAPIOperator value) override { FOperator = value; }

protected:
    void Build(mapi::SRestriction& record) override;

private:
    TKwMAPIOperator FOperator = oSmallerThan;
    TKwMAPIRestrictionTag FProp1;
    TKwMAPIRestrictionTag FProp2;
};

class DEFTMAPI_API TKwMAPIRestrictionBitMask final : public TKwMAPIRestriction, public virtual IKwMAPIRestrictionBitMask
{
public:
    explicit TKwMAPIRestrictionBitMask(TKwMAPITableBase& table) : TKwMAPIRestriction(table, rtBitmask) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionBitMask"; }

    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const noexcept override { return FProp.Def; }
    void Set_PropDef(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwMAPIBitmaskOperator Get_Operator() const noexcept override { return FOperator; }
    void Set_Operator(TKwMAPIBitmaskOperator value) override { FOperator = value; }
    [[nodiscard]] std::int32_t Get_BitMask() const noexcept override { return FBitMask; }
    void Set_BitMask(std::int32_t value) override { FBitMask = value; }

protected:
    void Build(mapi::SRestriction& record) override;

private:
    TKwMAPIBitmaskOperator FOperator = bmoEqualsZero;
    TKwMAPIRestrictionTag FProp;
    std::int32_t FBitMask = 0;
};

class DEFTMAPI_API TKwMAPIRestrictionSize final : public TKwMAPIRestriction, public virtual IKwMAPIRestrictionSize
{
public:
    explicit TKwMAPIRestrictionSize(TKwMAPITableBase& table) : TKwMAPIRestriction(table, rtSize) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionSize"; }

    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const noexcept override { return FProp.Def; }
    void Set_PropDef(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwMAPIOperator Get_Operator() const noexcept override { return FOperator; }
    void Set_Operator(TKwMAPIOperator value) override { FOperator = value; }
    [[nodiscard]] std::int32_t Get_Size() const noexcept override { return FSize; }
    void Set_Size(std::int32_t value) override { FSize = value; }

protected:
    void Build(mapi::SRestriction& record) override;

private:
    TKwMAPIOperator FOperator = oSmallerThan;
    TKwMAPIRestrictionTag FProp;
    std::int32_t FSize = 0;
};

class DEFTMAPI_API TKwMAPIRestrictionExist final : public TKwMAPIRestriction, public virtual IKwMAPIRestrictionExists
{
public:
    explicit TKwMAPIRestrictionExist(TKwMAPITableBase& table) : TKwMAPIRestriction(table, rtExists) {}
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIRestrictionExist"; }

    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const noexcept override { return FProp.Def; }
    void Set_PropDef(TKwMAPIPropDef def) override;

protected:
    void Build(mapi::SRestriction& record) override;

private:
    TKwMAPIRestrictionTag FProp;
};

/// What the contents table of a Simple MAPI folder can filter by: messages that have been read, or have not. Property
/// and mask are set from the beginning: PR_MESSAGE_FLAGS, mmfRead.
class DEFTMAPI_API TKwSimpleMAPIRestrictionBitMask final : public TKwMAPIObject,
                                                           public virtual IKwSimpleMAPIRestrictionBitMask
{
public:
    /// Makes the restriction of a Simple MAPI table.
    /// @throws EMAPI_NOT_SUPPORTED  type is not rtBitmask: "Simple MAPI only supports the bitmask filter"
    [[nodiscard]] static TKwRef<IKwMAPIRestriction> Create(TKwMAPITableBase& table, TKwMAPIRestrictionType type);

    explicit TKwSimpleMAPIRestrictionBitMask(TKwMAPITableBase& table);
    [[nodiscard]] WideString GetClassName() const override { return u"TKwSimpleMAPIRestrictionBitMask"; }
    [[nodiscard]] TKwMAPIRestrictionType Get_RestrictionType() const noexcept override { return rtBitmask; }

    [[nodiscard]] TKwMAPIPropDef Get_PropDef() const noexcept override { return FPropDef; }
    void Set_PropDef(TKwMAPIPropDef def) override;
    [[nodiscard]] TKwMAPIBitmaskOperator Get_Operator() const noexcept override { return FOperator; }
    void Set_Operator(TKwMAPIBitmaskOperator value) override { FOperator = value; }
    [[nodiscard]] std::int32_t Get_BitMask() const noexcept override { return FBitMask; }
    void Set_BitMask(std::int32_t value) override;

private:
    TKwMAPIBitmaskOperator FOperator = bmoEqualsZero;
    TKwMAPIPropDef FPropDef;
    std::int32_t FBitMask;
};

} // namespace deftmapi

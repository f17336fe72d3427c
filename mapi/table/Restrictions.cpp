// What the nodes of filter expressions share, the nodes that combine others, and the nodes without a value.
//
// The records of children are copied by value into their parents; what those point to stays the children's. So a tree
// is built anew from its leaves each time, and its record lasts until the next building.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/table/uKwMAPITable.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sTableDestroyed = u"The table this restriction belongs to has been destroyed!";
constexpr auto sNoRestriction = u"No restriction has been set yet!";
constexpr auto sOtherTable = u"The table the restriction belongs too is different than the table of this restriction!";
constexpr auto sContainsItself = u"A restriction can not contain itself!";
constexpr auto sUnsupportedType = u"Unsupported RestrictionType";
constexpr auto sSimpleBitmaskOnly = u"Simple MAPI only supports the bitmask filter";
constexpr auto sSimpleReadOnly = u"Only the mmfRead bitmask is supported by Simple MAPI!";
constexpr auto sSimpleFlagsOnly = u"Only the PR_MESSAGE_FLAGS property is supported by Simple MAPI!";

constexpr std::int32_t mmfRead = 1;

} // namespace

// ---- TKwMAPIRestriction

TKwMAPIRestriction::TKwMAPIRestriction(TKwMAPITableBase& table, TKwMAPIRestrictionType type)
    : TKwMAPIObject(&table), FTable(&table), FType(type)
{
    FRecord.rt = static_cast<mapi::ULONG>(type);
}

TKwMAPIRestriction::~TKwMAPIRestriction()
{
    for (TKwMAPIRestrictionList* parent : FParents)
        parent->ChildDestroyed(*this);
}

mapi::SRestriction* TKwMAPIRestriction::GetMAPIRestriction()
{
    if (FBuilding)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sContainsItself)->Raise();
    FBuilding = true;
    struct TDone
    {
        ~TDone() { Flag = false; }
        bool& Flag;
    } done{FBuilding};
    Build(FRecord);
    CheckTable();
    return &FRecord;
}

TKwMAPITableBase& TKwMAPIRestriction::CheckTable() const
{
    if (FTable == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sTableDestroyed)->Raise();
    return *FTable;
}

mapi::ULONG TKwMAPIRestriction::ResolveTag(TKwMAPIPropDef def) const
{
    return CheckTable().GetPropTag(GetPropInfo(def));
}

TKwMAPIRestriction& TKwMAPIRestriction::CheckChild(const TKwRef<IKwMAPIRestriction>& restriction) const
{
    auto* child = dynamic_cast<TKwMAPIRestriction*>(restriction.Get());
    if (child == nullptr || child->FTable != FTable)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sOtherTable)->Raise();
    return *child;
}

// ---- TKwMAPIRestrictionList

TKwMAPIRestrictionList::~TKwMAPIRestrictionList()
{
    for (TKwMAPIRestriction* child : FChildren)
        std::erase(child->FParents, this);
}

void TKwMAPIRestrictionList::Add(const TKwRef<IKwMAPIRestriction>& restriction)
{
    TKwMAPIRestriction& child = CheckChild(restriction);
    FChildren.reserve(FChildren.size() + 1);
    child.FParents.push_back(this);
    FChildren.push_back(&child);
}

void TKwMAPIRestrictionList::Remove(const TKwRef<IKwMAPIRestriction>& restriction)
{
    TKwMAPIRestriction& child = CheckChild(restriction);
    const auto found = std::find(FChildren.begin(), FChildren.end(), &child);
    if (found == FChildren.end())
        return;
    FChildren.erase(found);
    child.FParents.erase(std::find(child.FParents.begin(), child.FParents.end(), this));
}

void TKwMAPIRestrictionList::ChildDestroyed(const TKwMAPIRestriction& child) noexcept
{
    std::erase(FChildren, &child);
}

std::vector<mapi::SRestriction>& TKwMAPIRestrictionList::BuildChildren()
{
    FRecords.resize(FChildren.size());
    for (std::size_t i = 0; i < FChildren.size(); ++i)
        FRecords[i] = *FChildren[i]->GetMAPIRestriction();
    return FRecords;
}

void TKwMAPIRestrictionAnd::Build(mapi::SRestriction& record)
{
    std::vector<mapi::SRestriction>& children = BuildChildren();
    record.res.resAnd = {static_cast<mapi::ULONG>(children.size()), children.data()};
}

void TKwMAPIRestrictionOr::Build(mapi::SRestriction& record)
{
    std::vector<mapi::SRestriction>& children = BuildChildren();
    record.res.resOr = {static_cast<mapi::ULONG>(children.size()), children.data()};
}

// ---- TKwMAPIRestrictionHolder

void TKwMAPIRestrictionHolder::SetChild(const TKwRef<IKwMAPIRestriction>& restriction)
{
    TKwMAPIRestriction* child = restriction ? &CheckChild(restriction) : nullptr;
    for (const TKwMAPIRestriction* kept = child; kept != nullptr; kept = KeptChildOf(*kept))
        if (kept == this)
            CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sContainsItself)->Raise();
    FChild = TKwRef<TKwMAPIRestriction>(child);
}

mapi::SRestriction* TKwMAPIRestrictionHolder::BuildChild()
{
    if (!FChild)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoRestriction)->Raise();
    return FChild->GetMAPIRestriction();
}

void TKwMAPIRestrictionNot::Build(mapi::SRestriction& record)
{
    record.res.resNot = {0, BuildChild()};
}

void TKwMAPIRestrictionSub::Build(mapi::SRestriction& record)
{
    mapi::SSubRestriction& sub = record.res.resSub;
    if (FSubObjectType == rsotRecipients)
        sub.ulSubObject = ResolveTag(PR_MESSAGE_RECIPIENTS);
    else if (FSubObjectType == rsotAttachments)
        sub.ulSubObject = ResolveTag(PR_MESSAGE_ATTACHMENTS);
    sub.lpRes = BuildChild();
}

// ---- Nodes without a value

void TKwMAPIRestrictionCompareProps::Set_PropDef1(TKwMAPIPropDef def)
{
    FProp1 = {def, ResolveTag(def)};
}

void TKwMAPIRestrictionCompareProps::Set_PropDef2(TKwMAPIPropDef def)
{
    FProp2 = {def, ResolveTag(def)};
}

void TKwMAPIRestrictionCompareProps::Build(mapi::SRestriction& record)
{
    record.res.resCompareProps = {static_cast<mapi::ULONG>(FOperator), FProp1.Tag, FProp2.Tag};
}

void TKwMAPIRestrictionBitMask::Set_PropDef(TKwMAPIPropDef def)
{
    FProp = {def, ResolveTag(def)};
}

void TKwMAPIRestrictionBitMask::Build(mapi::SRestriction& record)
{
    record.res.resBitMask = {static_cast<mapi::ULONG>(FOperator), FProp.Tag, static_cast<mapi::ULONG>(FBitMask)};
}

void TKwMAPIRestrictionSize::Set_PropDef(TKwMAPIPropDef def)
{
    FProp = {def, ResolveTag(def)};
}

void TKwMAPIRestrictionSize::Build(mapi::SRestriction& record)
{
    record.res.resSize = {static_cast<mapi::ULONG>(FOperator), FProp.Tag, static_cast<mapi::ULONG>(FSize)};
}

void TKwMAPIRestrictionExist::Set_PropDef(TKwMAPIPropDef def)
{
    FProp = {def, ResolveTag(def)};
}

void TKwMAPIRestrictionExist::Build(mapi::SRestriction& record)
{
    record.res.resExist = {0, FProp.Tag, 0};
}

// ---- TKwSimpleMAPIRestrictionBitMask

TKwRef<IKwMAPIRestriction> TKwSimpleMAPIRestrictionBitMask::Create(TKwMAPITableBase& table, TKwMAPIRestrictionType type)
{
    if (type != rtBitmask)
        CreateKwMAPIException(KwNotSupported, sSimpleBitmaskOnly)->Raise();
    return KwMake<TKwSimpleMAPIRestrictionBitMask>(table);
}

TKwSimpleMAPIRestrictionBitMask::TKwSimpleMAPIRestrictionBitMask(TKwMAPITableBase& table)
    : TKwMAPIObject(&table), FPropDef(PR_MESSAGE_FLAGS), FBitMask(mmfRead)
{}

void TKwSimpleMAPIRestrictionBitMask::Set_PropDef(TKwMAPIPropDef def)
{
    if (def != PR_MESSAGE_FLAGS)
        CreateKwMAPIException(KwNotSupported, sSimpleFlagsOnly)->Raise();
    FPropDef = def;
}

void TKwSimpleMAPIRestrictionBitMask::Set_BitMask(std::int32_t value)
{
    if (value != mmfRead)
        CreateKwMAPIException(KwNotSupported, sSimpleReadOnly)->Raise();
    FBitMask = value;
}

// ---- Making nodes

TKwRef<IKwMAPIRestriction> TKwMAPITable::CreateRestriction(TKwMAPIRestrictionType type)
{
    switch (type) {
    case rtAnd:
        return KwMake<TKwMAPIRestrictionAnd>(*this);
    case rtOr:
        return KwMake<TKwMAPIRestrictionOr>(*this);
    case rtNot:
        return KwMake<TKwMAPIRestrictionNot>(*this);
    case rtContent:
        return KwMake<TKwMAPIRestrictionContent>(*this);
    case rtProperty:
        return KwMake<TKwMAPIRestrictionProperty>(*this);
    case rtCompareProps:
        return KwMake<TKwMAPIRestrictionCompareProps>(*this);
    case rtBitmask:
        return KwMake<TKwMAPIRestrictionBitMask>(*this);
    case rtSize:
        return KwMake<TKwMAPIRestrictionSize>(*this);
    case rtExists:
        return KwMake<TKwMAPIRestrictionExist>(*this);
    case rtSub:
        return KwMake<TKwMAPIRestrictionSub>(*this);
    }
    CreateKwMAPIException(KwNotSupported, sUnsupportedType)->Raise();
}

} // namespace deftmapi

// The four lists share records, order and cursor; each typed list adds its payload and what equality means for it.
#include "mapi/core/uKwMAPILists.hpp"

#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sListIsEOF = u"The list is EOF!";
constexpr auto sListIndex = u"List index out of bounds (%d)";
constexpr auto sNoRecord = u"The record must be one of the list";
constexpr auto sNotFirst = u"I'm not the first, so there must be more than 1";
constexpr auto sUnit = u"uKwMAPILists";

/// Index of the first record that the predicate accepts, or -1.
template <typename Record, typename Predicate>
std::int32_t IndexWhere(const TKwMAPIList& list, Predicate accepts)
{
    std::int32_t index = 0;
    for (const TKwMAPIListRecord* record = list.GetFirstItem(); record != nullptr; record = record->Next, ++index)
        if (accepts(static_cast<const Record&>(*record)))
            return index;
    return -1;
}

/// Of the two lists of definitions: their records have an Info.
template <typename Record>
std::int32_t IndexOfProp(const TKwMAPIList& list, const TKwMAPIPropInfo& info)
{
    return IndexWhere<Record>(list, [&](const Record& record) { return SameProp(*record.Info, info, false); });
}

bool SameEntryID(const TKwMAPIEntryID& a, const TKwMAPIEntryID& b)
{
    const TKwBytes* bytesOfA = a.TryGet<TKwBytes>();
    const TKwBytes* bytesOfB = b.TryGet<TKwBytes>();
    return bytesOfA != nullptr && bytesOfB != nullptr ? *bytesOfA == *bytesOfB : a == b;
}

} // namespace

// ---- TKwMAPIList

TKwMAPIList::~TKwMAPIList() = default;

void TKwMAPIList::Clear()
{
    FCurrent = nullptr;
    FIndex.clear();
}

void TKwMAPIList::First()
{
    FCurrent = GetFirstItem();
}

void TKwMAPIList::Next()
{
    if (FCurrent != nullptr)
        FCurrent = FCurrent->Next;
}

void TKwMAPIList::Previous()
{
    if (FCurrent != nullptr)
        FCurrent = FCurrent->Previous;
}

void TKwMAPIList::Last()
{
    FCurrent = GetLastItem();
}

void TKwMAPIList::Delete(std::int32_t index)
{
    RemoveRecord(&GetRecord(index));
}

void TKwMAPIList::DeleteRecord()
{
    CheckEOF();
    RemoveRecord(FCurrent);
}

TKwMAPIListRecord* TKwMAPIList::GetFirstItem() const noexcept
{
    return FIndex.empty() ? nullptr : FIndex.front().get();
}

TKwMAPIListRecord* TKwMAPIList::GetLastItem() const noexcept
{
    return FIndex.empty() ? nullptr : FIndex.back().get();
}

TKwMAPIListRecord& TKwMAPIList::GetRecord(std::int32_t index) const
{
    if (index < 0 || index >= Get_Count())
        throw EKwListError(sListIndex, {index}, mapi::MAPI_E_INVALID_PARAMETER);
    return *FIndex[static_cast<std::size_t>(index)];
}

void TKwMAPIList::RemoveRecord(TKwMAPIListRecord* record)
{
    const auto found = std::ranges::find(FIndex, record, &std::unique_ptr<TKwMAPIListRecord>::get);
    KwAssert(record != nullptr && found != FIndex.end(), sNoRecord, sUnit);

    if (FCurrent == record)
        FCurrent = record->Next;
    if (record->Next != nullptr)
        record->Next->Previous = record->Previous;
    else if (FIndex.front().get() != record)
        KwAssert(record->Previous != nullptr, sNotFirst, sUnit);
    if (record->Previous != nullptr)
        record->Previous->Next = record->Next;
    FIndex.erase(found);
}

TKwMAPIListRecord& TKwMAPIList::AddRecord(std::unique_ptr<TKwMAPIListRecord> record)
{
    TKwMAPIListRecord* last = GetLastItem();
    TKwMAPIListRecord& added = *FIndex.emplace_back(std::move(record));
    added.Previous = last;
    added.Next = nullptr;
    if (last != nullptr)
        last->Next = &added;
    FCurrent = &added;
    return added;
}

void TKwMAPIList::CheckEOF() const
{
    if (FCurrent == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sListIsEOF)->Raise();
}

// ---- TKwMAPIEntryIDList

void TKwMAPIEntryIDList::IndexOf(const TKwMAPIEntryID& entryID, std::int32_t& index) const
{
    index = IndexWhere<TKwMAPIEntryIDRecord>(*this,
                                             [&](const auto& record) { return SameEntryID(record.EntryID, entryID); });
}

void TKwMAPIEntryIDList::Add(const TKwMAPIEntryID& entryID)
{
    std::int32_t index = -1;
    IndexOf(entryID, index);
    if (index < 0)
        Append([&](TKwMAPIEntryIDRecord& record) { record.EntryID = entryID; });
}

void TKwMAPIEntryIDList::Remove(const TKwMAPIEntryID& entryID)
{
    std::int32_t index = -1;
    IndexOf(entryID, index);
    if (index >= 0)
        Delete(index);
}

TKwMAPIEntryID TKwMAPIEntryIDList::Get_CurrentRecord() const
{
    return Current().EntryID;
}

TKwMAPIEntryID TKwMAPIEntryIDList::Get_Item(std::int32_t index) const
{
    return At(index).EntryID;
}

void TKwMAPIEntryIDList::Import(const mapi::SBinaryArray& binaryArray)
{
    Clear();
    for (mapi::ULONG i = 0; i < binaryArray.cValues; ++i)
        Add(BinToEntryID(static_cast<std::int32_t>(binaryArray.lpbin[i].cb), binaryArray.lpbin[i].lpb));
}

void TKwMAPIEntryIDList::AssignTo(IKwMAPIEntryIDList& other) const
{
    if (&other == this)
        return;
    other.Clear();
    for (std::int32_t i = 0; i < Get_Count(); ++i)
        other.Add(At(i).EntryID);
}

// ---- TKwMAPIValueList

void TKwMAPIValueList::IndexOf(const TKwVariant& value, std::int32_t& index) const
{
    index = IndexWhere<TKwMAPIValueRecord>(*this, [&](const auto& record) { return record.Value == value; });
}

void TKwMAPIValueList::Add(const TKwVariant& value)
{
    std::int32_t index = -1;
    IndexOf(value, index);
    if (index < 0)
        Append([&](TKwMAPIValueRecord& record) { record.Value = value; });
}

void TKwMAPIValueList::Remove(const TKwVariant& value)
{
    std::int32_t index = -1;
    IndexOf(value, index);
    if (index >= 0)
        Delete(index);
}

TKwVariant TKwMAPIValueList::Get_CurrentRecord() const
{
    return Current().Value;
}

TKwVariant TKwMAPIValueList::Get_Item(std::int32_t index) const
{
    return At(index).Value;
}

void TKwMAPIValueList::AssignTo(IKwMAPIValueList& other) const
{
    if (&other == this)
        return;
    other.Clear();
    for (std::int32_t i = 0; i < Get_Count(); ++i)
        other.Add(At(i).Value);
}

// ---- TKwMAPIPropList

void TKwMAPIPropList::Add(TKwMAPIPropDef def)
{
    Add(GetPropInfo(def));
}

void TKwMAPIPropList::Add(const TKwMAPIPropInfo& info)
{
    Append([&](TKwMAPIPropRecord& record) { record.Info = &info; });
}

void TKwMAPIPropList::Remove(TKwMAPIPropDef def)
{
    Remove(GetPropInfo(def));
}

void TKwMAPIPropList::Remove(const TKwMAPIPropInfo& info)
{
    std::int32_t index = -1;
    IndexOf(info, index);
    if (index >= 0)
        Delete(index);
}

void TKwMAPIPropList::IndexOf(TKwMAPIPropDef def, std::int32_t& index) const
{
    IndexOf(GetPropInfo(def), index);
}

void TKwMAPIPropList::IndexOf(const TKwMAPIPropInfo& info, std::int32_t& index) const
{
    index = IndexOfProp<TKwMAPIPropRecord>(*this, info);
}

const TKwMAPIPropInfo& TKwMAPIPropList::GetItem(std::int32_t index) const
{
    return *At(index).Info;
}

const TKwMAPIPropInfo& TKwMAPIPropList::GetCurrentRecord() const
{
    return *Current().Info;
}

void TKwMAPIPropList::AssignTo(IKwMAPIPropList& other) const
{
    if (&other == this)
        return;
    other.Clear();
    for (std::int32_t i = 0; i < Get_Count(); ++i)
        other.Add(Get_Item(i));
}

mapi::SPropTagArray* TKwMAPIPropList::CreatePropTagArray(IKwMAPIProp& prop) const
{
    const auto count = static_cast<mapi::ULONG>(Get_Count());
    constexpr mapi::ULONG tagSize = sizeof(mapi::ULONG);
    void* const buffer = prop.AllocateBuffer(tagSize + tagSize * count);
    auto* tags = static_cast<mapi::SPropTagArray*>(buffer);
    try {
        tags->cValues = count;
        for (mapi::ULONG i = 0; i < count; ++i)
            tags->aulPropTag[i] = _GetPropTag(GetItem(static_cast<std::int32_t>(i)), &prop, true);
    } catch (...) {
        prop.FreeBuffer(buffer);
        throw;
    }
    return tags;
}

// ---- TKwMAPIPropValueList

void TKwMAPIPropValueList::Add(TKwMAPIPropDef def)
{
    Add(GetPropInfo(def));
}

void TKwMAPIPropValueList::Add(const TKwMAPIPropInfo& info)
{
    AddValue(info, TKwVariant());
}

void TKwMAPIPropValueList::AddValue(TKwMAPIPropDef def, const TKwVariant& value)
{
    AddValue(GetPropInfo(def), value);
}

void TKwMAPIPropValueList::AddValue(const TKwMAPIPropInfo& info, const TKwVariant& value)
{
    Append([&](TKwMAPIPropValueRecord& record) {
        record.Info = &info;
        record.Value = value;
    });
}

void TKwMAPIPropValueList::Remove(TKwMAPIPropDef def)
{
    Remove(GetPropInfo(def));
}

void TKwMAPIPropValueList::Remove(const TKwMAPIPropInfo& info)
{
    std::int32_t index = -1;
    IndexOf(info, index);
    if (index >= 0)
        Delete(index);
}

void TKwMAPIPropValueList::IndexOf(TKwMAPIPropDef def, std::int32_t& index) const
{
    IndexOf(GetPropInfo(def), index);
}

void TKwMAPIPropValueList::IndexOf(const TKwMAPIPropInfo& info, std::int32_t& index) const
{
    index = IndexOfProp<TKwMAPIPropValueRecord>(*this, info);
}

TKwMAPIPropValueRecord* TKwMAPIPropValueList::PropByName(const TKwMAPIPropInfo& info) const
{
    std::int32_t index = -1;
    IndexOf(info, index);
    return index >= 0 ? &At(index) : nullptr;
}

const TKwMAPIPropInfo& TKwMAPIPropValueList::GetItem(std::int32_t index) const
{
    return *At(index).Info;
}

TKwVariant TKwMAPIPropValueList::Get_Value(std::int32_t index) const
{
    return At(index).Value;
}

void TKwMAPIPropValueList::Set_Value(std::int32_t index, const TKwVariant& value)
{
    At(index).Value = value;
}

const TKwMAPIPropInfo& TKwMAPIPropValueList::GetCurrentRecord() const
{
    return *Current().Info;
}

TKwVariant TKwMAPIPropValueList::Get_CurrentValue() const
{
    return Current().Value;
}

void TKwMAPIPropValueList::Set_CurrentValue(const TKwVariant& value)
{
    Current().Value = value;
}

} // namespace deftmapi

// Fields and field lists of tables.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "mapi/table/uKwMAPITable.hpp"
#include "support/uKwExceptions.hpp"

#include <algorithm>

namespace deftmapi
{

namespace
{

constexpr auto sFieldTableGone = u"The table this field belongs to has been destroyed!";
constexpr auto sFieldsTableGone = u"The table this fieldlist belongs to has been destroyed!";
constexpr auto sNoSuchField = u"There is no field %s!";
constexpr auto sIndexOutOfBounds = u"List index out of bounds (%d)";

bool IsText(mapi::ULONG type) noexcept
{
    const mapi::ULONG base = type & ~(mapi::MV_FLAG | mapi::MV_INSTANCE);
    return base == mapi::PT_STRING8 || base == mapi::PT_UNICODE;
}

bool IsAnsiName(const TKwMAPIPropInfo& info)
{
    return info.PropName().ends_with(u"_A");
}

std::int32_t IndexOfTag(std::span<const mapi::ULONG> columns, mapi::ULONG tag) noexcept
{
    const auto found = std::find(columns.begin(), columns.end(), tag);
    return found == columns.end() ? -1 : static_cast<std::int32_t>(found - columns.begin());
}

} // namespace

// ---- TKwMAPITableField

TKwMAPITableField::TKwMAPITableField(TKwMAPITableBase& table, const TKwMAPIPropInfo& info, mapi::ULONG tag)
    : TKwMAPIObject(&table), FTable(&table), FInfo(&info), FTag(tag)
{}

TKwMAPITableBase& TKwMAPITableField::CheckTable() const
{
    if (FTable == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sFieldTableGone)->Raise();
    return *FTable;
}

TKwMAPIPropDef TKwMAPITableField::Get_PropDef() const
{
    CheckTable();
    return FInfo->Hash;
}

WideString TKwMAPITableField::Get_PropName() const
{
    CheckTable();
    return WideString(FInfo->PropName());
}

TKwVariant TKwMAPITableField::Get_Value()
{
    return KwPropValueToVariant(CheckTable().GetFieldValueEx(*this));
}

void TKwMAPITableField::Set_Value(const TKwVariant& value)
{
    CheckTable().SetFieldValue(FInfo->Hash, value);
}

mapi::ULONG TKwMAPITableField::GetPropTag()
{
    TKwMAPITableBase& table = CheckTable();
    if (FTag == 0)
        FTag = table.GetPropTag(*FInfo);
    return FTag;
}

void TKwMAPITableField::LocateIn(std::span<const mapi::ULONG> columns)
{
    const mapi::ULONG tag = GetPropTag();
    FIndex = IndexOfTag(columns, tag);
    FAnsiIndex = FWideIndex = -1;
    if (IsText(mapi::PROP_TYPE(tag))) {
        const mapi::ULONG multiple = tag & (mapi::MV_FLAG | mapi::MV_INSTANCE);
        FAnsiIndex = IndexOfTag(columns, mapi::CHANGE_PROP_TYPE(tag, mapi::PT_STRING8 | multiple));
        FWideIndex = IndexOfTag(columns, mapi::CHANGE_PROP_TYPE(tag, mapi::PT_UNICODE | multiple));
    }
}

// ---- TKwMAPITableFields

TKwMAPITableFields::TKwMAPITableFields(TKwMAPITableBase& table) : TKwMAPIObject(&table), FTable(&table) {}

TKwMAPITableBase& TKwMAPITableFields::CheckTable() const
{
    if (FTable == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sFieldsTableGone)->Raise();
    return *FTable;
}

void TKwMAPITableFields::CheckIndex(std::int32_t index) const
{
    if (index < 0 || static_cast<std::size_t>(index) >= FFields.size())
        throw EKwListError(sIndexOutOfBounds, {index}, 0);
}

TKwRef<IKwMAPITableField> TKwMAPITableFields::Add(TKwMAPIPropDef def)
{
    return Add2(GetPropInfo(def));
}

TKwRef<IKwMAPITableField> TKwMAPITableFields::Add2(const TKwMAPIPropInfo& info)
{
    return AddField(info, 0);
}

TKwRef<IKwMAPITableField> TKwMAPITableFields::Add3(mapi::ULONG tag, const mapi::MAPINAMEID* nameID)
{
    return AddField(nameID != nullptr ? GetProp(tag, *nameID, true) : GetProp(tag, true), tag);
}

TKwRef<TKwMAPITableField> TKwMAPITableFields::AddField(const TKwMAPIPropInfo& info, mapi::ULONG tag)
{
    FFields.push_back(KwMake<TKwMAPITableField>(CheckTable(), info, tag));
    return FFields.back();
}

void TKwMAPITableFields::Delete(std::int32_t index)
{
    CheckTable();
    CheckIndex(index);
    FFields[static_cast<std::size_t>(index)]->Forget();
    FFields.erase(FFields.begin() + index);
}

void TKwMAPITableFields::Remove(IKwMAPITableField& field)
{
    CheckTable();
    const auto* wanted = dynamic_cast<TKwMAPITableField*>(&field);
    std::erase_if(FFields, [wanted](const auto& candidate) {
        if (candidate.Get() != wanted)
            return false;
        candidate->Forget();
        return true;
    });
}

void TKwMAPITableFields::Clear()
{
    CheckTable();
    for (const auto& field : FFields)
        field->Forget();
    FFields.clear();
}

std::int32_t TKwMAPITableFields::Get_Count() const
{
    CheckTable();
    return static_cast<std::int32_t>(FFields.size());
}

TKwRef<IKwMAPITableField> TKwMAPITableFields::Get_Item(std::int32_t index) const
{
    CheckTable();
    CheckIndex(index);
    return FFields[static_cast<std::size_t>(index)];
}

TKwMAPITableField* TKwMAPITableFields::FindField(const TKwMAPIPropInfo& info) const
{
    CheckTable();
    for (const auto& field : FFields)
        if (&field->PropInfo() == &info)
            return field.Get();
    for (const auto& field : FFields)
        if (SameProp(field->PropInfo(), info, true))
            return field.Get();
    // Only the other text form is left. Where the list has the plain name and a suffixed one of it, the ending of the
    // name asked for decides.
    TKwMAPITableField* twin = nullptr;
    for (const auto& field : FFields)
        if (SameProp(field->PropInfo(), info, false) &&
            (twin == nullptr || IsAnsiName(field->PropInfo()) == IsAnsiName(info)))
            twin = field.Get();
    return twin;
}

TKwMAPITableField& TKwMAPITableFields::GetField(TKwMAPIPropDef def) const
{
    const TKwMAPIPropInfo& info = GetPropInfo(def);
    TKwMAPITableField* field = FindField(info);
    if (field == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoSuchField, {info.PropName()})->Raise();
    return *field;
}

TKwRef<IKwMAPITableField> TKwMAPITableFields::FieldByName(TKwMAPIPropDef def) const
{
    return TKwRef<IKwMAPITableField>(&GetField(def));
}

std::vector<mapi::ULONG> TKwMAPITableFields::CreatePropTagArray()
{
    CheckTable();
    std::vector<mapi::ULONG> tags{static_cast<mapi::ULONG>(FFields.size())};
    for (const auto& field : FFields)
        tags.push_back(field->GetPropTag());
    return tags;
}

void TKwMAPITableFields::LocateIn(std::span<const mapi::ULONG> columns)
{
    CheckTable();
    for (const auto& field : FFields)
        field->LocateIn(columns);
}

} // namespace deftmapi

// What all tables have: fields, tag resolution and the operations that a kind of table may refuse.
#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sMethodNotSupported = u"This method is not supported by this table!";
constexpr auto sTableReadOnly = u"The table is readonly!";
constexpr auto sCursorTypeReadOnly = u"The CursorType is a readonly property!";
constexpr auto sNoShowProcedure =
    u"%s.DisplayFields failed.\r\nThe user-interface module is absent: no procedure has been registered with "
    u"SetShowFieldsProc!";
constexpr auto sTableEOF = u"The table is EOF!";

// The library's own code for what a kind of object does not offer.
[[noreturn]] void RaiseNotSupported()
{
    CreateKwMAPIException(KwNotSupported, sMethodNotSupported)->Raise();
}

TKwShowFieldsProc& ShowFieldsProc()
{
    static TKwShowFieldsProc proc;
    return proc;
}

} // namespace

void SetShowFieldsProc(TKwShowFieldsProc proc)
{
    ShowFieldsProc() = std::move(proc);
}

void TKwMAPITableBase::DisplayFields()
{
    const TKwShowFieldsProc proc = ShowFieldsProc(); // a copy: the procedure may set another one
    if (!proc)
        CreateKwMAPIException(KwNotSupported, sNoShowProcedure, {GetClassName()})->Raise();
    proc(*this);
}

TKwMAPITableBase::TKwMAPITableBase(TKwMAPIObject* owner)
    : TKwMAPIObject(owner), FTableOwner(owner), FFields(KwMake<TKwMAPITableFields>(*this))
{}

TKwRef<IKwMAPITableFields> TKwMAPITableBase::Get_Fields()
{
    return FFields;
}

TKwRef<IKwMAPIObject> TKwMAPITableBase::Get_Owner() const
{
    return FTableOwner;
}

TKwVariant TKwMAPITableBase::GetFieldValue(TKwMAPIPropDef def)
{
    return FFields->FieldByName(def)->Get_Value();
}

void TKwMAPITableBase::SeekRow(TKwMapiTableBookmark, std::int32_t, WordBool&)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::Sort(TKwMAPIPropDef, WordBool)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::Sort(const std::vector<TKwMAPISortKey>&)
{
    RaiseNotSupported();
}

TKwRef<IKwMAPIRestriction> TKwMAPITableBase::CreateRestriction(TKwMAPIRestrictionType)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::Filter(const TKwRef<IKwMAPIRestriction>&)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::FindFirst(const TKwRef<IKwMAPIRestriction>&, WordBool&)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::FindLast(const TKwRef<IKwMAPIRestriction>&, WordBool&)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::FindNext(const TKwRef<IKwMAPIRestriction>&, WordBool&)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::FindPrevious(const TKwRef<IKwMAPIRestriction>&, WordBool&)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::FindRow(const TKwRef<IKwMAPIRestriction>&, TKwMapiTableBookmark, WordBool, WordBool&)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::Advise()
{
    RaiseNotSupported();
}

void TKwMAPITableBase::DEventConnect(const TKwRef<IKwMAPITableDEvents>&, WordBool)
{
    RaiseNotSupported();
}

void TKwMAPITableBase::Insert()
{
    RaiseNotSupported();
}

void TKwMAPITableBase::Delete()
{
    RaiseNotSupported();
}

void TKwMAPITableBase::SetFieldValue(TKwMAPIPropDef, const TKwVariant&)
{
    CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sTableReadOnly)->Raise();
}

void TKwMAPITableBase::Set_CursorType(TKwMAPICursorType)
{
    CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sCursorTypeReadOnly)->Raise();
}

void TKwMAPITableBase::CheckEOF()
{
    if (Get_EOF())
        CreateKwMAPIException(mapi::MAPI_E_CALL_FAILED, sTableEOF)->Raise();
}

mapi::ULONG TKwMAPITableBase::GetPropTag(const TKwMAPIPropInfo& info)
{
    return _GetPropTag(PI(info.Hash), dynamic_cast<IKwMAPIProp*>(TableOwner()), true);
}

} // namespace deftmapi

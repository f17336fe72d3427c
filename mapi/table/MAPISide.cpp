// The MAPI object behind a table; see MAPISide.hpp.
#include "mapi/table/MAPISide.hpp"

#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

TKwMAPITable::TMAPISide::TMAPISide(TKwMAPITable& table, TKwMAPIWrapper& owner, mapi::IMAPITable* object)
    : TKwMAPIWrapper(nullptr), FTable(&table)
{
    SetSession(owner.Session());
    SetDisableUnicode(owner.DisableUnicode());
    TKwMAPIWrapper::SetMAPIOBJECT(object);
}

WideString TKwMAPITable::TMAPISide::GetClassName() const
{
    return u"TKwMAPITable";
}

void TKwMAPITable::TMAPISide::SetMAPIOBJECT(mapi::IUnknown* object)
{
    // Cached rows belong to the old object.
    if (FTable != nullptr)
        FTable->MAPIObjectReplaced(object != nullptr);
    TKwMAPIWrapper::SetMAPIOBJECT(object);
}

mapi::HRESULT TKwMAPITable::TMAPISide::CallGetLastError(mapi::HRESULT result, mapi::ULONG flags,
                                                        mapi::MAPIERROR** error)
{
    return Table() != nullptr ? Table()->GetLastError(result, flags, error) : mapi::S_OK;
}

} // namespace deftmapi

// Opening a section of a profile, which sessions, service and provider administrations do alike.
#pragma once

#include "mapi/admin/uKwMAPIAdmin.hpp"
#include "mapi/core/uKwMAPIEntryID.hpp"

namespace deftmapi
{

/// The 16 bytes of an identifier; nothing when it has any other number of them.
[[nodiscard]] inline std::optional<mapi::MAPIUID> AsUID(const TKwMAPIEntryID& id)
{
    if (EntryIDToArr(id).size() != sizeof(mapi::MAPIUID))
        return std::nullopt;
    return EntryIDToUID(id);
}

/// Opens a section through call(MAPIUID*, flags, IProfSect**). alBestAccess asks for reading and, when the section is
/// there, for writing: MAPI has no such flag for sections, and whoever asks for writing first makes one.
/// @param mayBeMissing  gives null for a section that is not there and a client without sections
/// @throws EMAPI_INVALID_PARAMETER  "An invalid ProfileUID was provided!"
template <typename Call>
[[nodiscard]] TKwRef<TKwMAPIProfSect> OpenSectionWith(TKwMAPIWrapper& opener, WideView methodName,
                                                      const TKwMAPIEntryID& uid, TKwMAPIAccessLevel accessLevel,
                                                      bool mayBeMissing, Call&& call)
{
    std::optional<mapi::MAPIUID> id = AsUID(uid);
    if (!id)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, u"An invalid ProfileUID was provided!")->Raise();
    TKwComPtr<mapi::IProfSect> section;
    TKwMAPIAccessLevel granted = accessLevel == alReadWrite ? alReadWrite : alReadOnly;
    mapi::HRESULT hr = call(&*id, granted == alReadWrite ? mapi::MAPI_MODIFY : 0, Out(section));
    if (hr == mapi::S_OK && accessLevel == alBestAccess) {
        TKwComPtr<mapi::IProfSect> writable;
        const mapi::HRESULT more = call(&*id, mapi::MAPI_MODIFY, Out(writable));
        if (more == mapi::S_OK) {
            section = writable;
            granted = alReadWrite;
        } else if (more != mapi::MAPI_E_NO_ACCESS) {
            hr = more;
        }
    }
    if (mayBeMissing && (hr == mapi::MAPI_E_NOT_FOUND || hr == mapi::MAPI_E_NO_SUPPORT))
        return nullptr;
    CheckMAPIResult(opener, methodName, hr);
    return KwMake<TKwMAPIProfSect>(opener, section.Get(), granted);
}

} // namespace deftmapi

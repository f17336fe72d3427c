// Sections of a profile, and the status table.
#include "mapi/admin/uKwMAPIAdmin.hpp"

#include "mapi/core/uKwMAPIProps.hpp"

namespace deftmapi
{

TKwMAPIProfSect::TKwMAPIProfSect(TKwMAPIWrapper& createdBy, mapi::IProfSect* section, TKwMAPIAccessLevel accessLevel)
    : TKwMAPIProp(&createdBy)
{
    SetSession(createdBy.Session());
    SetMAPIOBJECT(section);
    SetAccessLevel(accessLevel);
}

TKwMAPIEntryID TKwMAPIStatusTable::GetEntryID(TKwMAPIResourceType resourceType)
{
    Get_Fields()->Add(PR_RESOURCE_TYPE);
    Get_Fields()->Add(PR_ENTRYID);
    for (First(); !Get_EOF(); Next())
        if (GetFieldValue(PR_RESOURCE_TYPE) == static_cast<std::int32_t>(resourceType))
            return GetFieldValue(PR_ENTRYID);
    return TKwNull{};
}

} // namespace deftmapi

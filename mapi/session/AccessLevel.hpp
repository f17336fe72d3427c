// Access levels of opened objects.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/core/uKwMAPIProps.hpp"

namespace deftmapi
{

/// The flag with which IMAPIContainer::OpenEntry and its like are asked for an access level.
[[nodiscard]] constexpr mapi::ULONG AccessFlag(TKwMAPIAccessLevel accessLevel) noexcept
{
    switch (accessLevel) {
    case alReadWrite:
        return mapi::MAPI_MODIFY;
    case alBestAccess:
        return mapi::MAPI_BEST_ACCESS;
    default:
        return 0;
    }
}

/// Records the access level that the object was opened with. With alBestAccess the object's PR_ACCESS_LEVEL says
/// whether writing was granted; an object without that property is taken at its word when it refuses.
inline void SetOpenedAccess(TKwMAPIProp& prop, TKwMAPIAccessLevel accessLevel)
{
    if (accessLevel != alBestAccess) {
        prop.SetAccessLevel(accessLevel);
        return;
    }
    const TKwVariant level = prop.PropByName(PR_ACCESS_LEVEL)->Get_Value();
    prop.SetAccessLevel(accessLevel, level.IsEmptyOrNull() ||
                                         (static_cast<mapi::ULONG>(level.AsInteger()) & mapi::MAPI_MODIFY) != 0);
}

} // namespace deftmapi

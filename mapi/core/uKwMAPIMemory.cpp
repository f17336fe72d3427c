// The release of MAPI memory on the way out of a scope, where nothing can be raised.
#include "mapi/core/uKwMAPIMemory.hpp"

#include "mapi/core/uKwMAPIH.hpp"
#include "support/uKwComObj.hpp"

namespace deftmapi
{

void KwFreeMAPIBuffer(IKwMAPIWrapper* wrapper, void* buffer) noexcept
{
    if (buffer == nullptr)
        return;
    try {
        if (wrapper != nullptr)
            wrapper->FreeBuffer(buffer);
        else
            MAPIFreeBuffer(buffer);
    } catch (...) {
        KwReportServerException(std::current_exception());
    }
}

void KwFreeMAPIRows(IKwMAPIWrapper* wrapper, mapi::SRowSet* rows) noexcept
{
    if (rows == nullptr)
        return;
    for (mapi::ULONG i = 0; i < rows->cRows; ++i)
        KwFreeMAPIBuffer(wrapper, rows->aRow[i].lpProps);
    KwFreeMAPIBuffer(wrapper, rows);
}

void KwFreeMAPIAdrList(IKwMAPIWrapper* wrapper, mapi::ADRLIST* list) noexcept
{
    if (list == nullptr)
        return;
    for (mapi::ULONG i = 0; i < list->cEntries; ++i)
        KwFreeMAPIBuffer(wrapper, list->aEntries[i].rgPropVals);
    KwFreeMAPIBuffer(wrapper, list);
}

} // namespace deftmapi

// The property names behind the named columns of a table; see ColumnNames.hpp.
#include "mapi/table/ColumnNames.hpp"

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

#include <algorithm>

namespace deftmapi
{

TKwMAPIColumnNames::TKwMAPIColumnNames(TKwMAPITable& table, IKwMAPIProp* prop, std::span<const mapi::ULONG> columns)
    : FNames(table.MemoryOwner())
{
    // The array has MAPI's layout: the count, then the tags.
    std::vector<mapi::ULONG> tags{0};
    std::copy_if(columns.begin(), columns.end(), std::back_inserter(tags), &IsNamed);
    if (tags.size() == 1 || prop == nullptr || prop->Get_MAPIOBJECT() == nullptr)
        return;
    TKwComPtr<mapi::IMAPIProp> object;
    CheckMAPIResult(table.GetClassName(), u"QueryColumns",
                    prop->Get_MAPIOBJECT()->QueryInterface(mapi::IID_IMAPIProp, OutVoid(object)));

    tags[0] = static_cast<mapi::ULONG>(tags.size() - 1);
    auto* tagArray = reinterpret_cast<mapi::SPropTagArray*>(tags.data());
    mapi::ULONG count = 0;
    const mapi::HRESULT hr = object->GetNamesFromIDs(&tagArray, nullptr, 0, &count, Out(FNames));
    if (hr == mapi::MAPI_E_NO_SUPPORT)
        return; // a store without named properties
    if (hr != mapi::MAPI_W_ERRORS_RETURNED)
        CheckMAPIResult(table.GetClassName(), u"QueryColumns", hr, &table.MemoryOwner());
    if (!FNames)
        return; // whatever number was told of them
    FTags.assign(tags.begin() + 1, tags.end());
    FTags.resize(std::min<std::size_t>(FTags.size(), count));
}

const mapi::MAPINAMEID* TKwMAPIColumnNames::NameOf(mapi::ULONG tag) const noexcept
{
    const auto found = std::find(FTags.begin(), FTags.end(), tag);
    return found == FTags.end() ? nullptr : FNames.Get()[found - FTags.begin()];
}

} // namespace deftmapi

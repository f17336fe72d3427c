// The MAPI object behind a table, as a wrapper of its own. A table is no wrapper, yet it needs what wrappers have: the
// session takes its MAPI object away at logoff, its memory goes through the session, and failures carry the provider's
// text.
#pragma once

#include "mapi/table/uKwMAPITable.hpp"

namespace deftmapi
{

/// Lives and dies with its table.
class TKwMAPITable::TMAPISide final : public TKwMAPIWrapper
{
public:
    TMAPISide(TKwMAPITable& table, TKwMAPIWrapper& owner, mapi::IMAPITable* object);

    [[nodiscard]] WideString GetClassName() const override;
    void SetMAPIOBJECT(mapi::IUnknown* object) override;
    /// Null after logoff.
    [[nodiscard]] mapi::IMAPITable* Table() const noexcept { return static_cast<mapi::IMAPITable*>(Get_MAPIOBJECT()); }
    /// The table is being destroyed.
    void Detach() noexcept { FTable = nullptr; }

protected:
    mapi::HRESULT CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error) override;

private:
    TKwMAPITable* FTable;
};

} // namespace deftmapi

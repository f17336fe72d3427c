#include "tests/session/ScriptedAdmin.hpp"

namespace deftmapi::test
{

std::string UidText(const mapi::MAPIUID* uid)
{
    return uid != nullptr ? HexOf(sizeof *uid, uid) : "null";
}

namespace
{

/// Opens the sections of the service it is of, under a name of its own in the log.
class TScriptedProviderAdmin final : public TScriptedUnknown<mapi::IProviderAdmin>
{
public:
    TScriptedProviderAdmin(TCallsRef calls, TKwComPtr<TScriptedServiceAdmin> services)
        : TScriptedUnknown({mapi::IID_IProviderAdmin}), FCalls(std::move(calls)), FServices(std::move(services))
    {}
    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT, mapi::ULONG, mapi::LPMAPIERROR* error) override
    {
        *error = nullptr;
        return mapi::S_OK;
    }
    DEFTMAPI_REFUSED(GetProviderTable, mapi::ULONG, mapi::LPMAPITABLE*)
    DEFTMAPI_REFUSED(CreateProvider, mapi::LPTSTR, mapi::ULONG, mapi::LPSPropValue, mapi::ULONG_PTR, mapi::ULONG,
                     mapi::MAPIUID*)
    DEFTMAPI_REFUSED(DeleteProvider, mapi::LPMAPIUID)
    mapi::HRESULT DEFTMAPI_STDCALL OpenProfileSection(mapi::LPMAPIUID uid, mapi::LPCIID, mapi::ULONG flags,
                                                      mapi::LPPROFSECT* section) override
    {
        return FServices->Sections.Open("provider.OpenProfileSection", uid, flags, section);
    }

private:
    mapi::HRESULT Refused(const char* method) { return FCalls->Enter(method, "").value_or(mapi::MAPI_E_NO_SUPPORT); }

    TCallsRef FCalls;
    TKwComPtr<TScriptedServiceAdmin> FServices;
};

} // namespace

// ---- TScriptedSections

TScriptedSection& TScriptedSections::Add(const std::string& uid)
{
    TKwComPtr<TScriptedSection>& section = FSections[uid];
    if (!section)
        section = TKwComPtr<TScriptedSection>(new TScriptedSection(FCalls));
    return *section;
}

mapi::HRESULT TScriptedSections::Open(const std::string& label, const mapi::MAPIUID* uid, mapi::ULONG flags,
                                      mapi::LPPROFSECT* section)
{
    *section = nullptr;
    if (const auto result = FCalls->Enter(label, UidText(uid) + "," + Hex(flags)))
        return *result;
    if ((flags & mapi::MAPI_MODIFY) != 0)
        Add(UidText(uid));
    const auto found = FSections.find(UidText(uid));
    return found != FSections.end() ? Give(found->second, section) : mapi::MAPI_E_NOT_FOUND;
}

// ---- TScriptedServiceAdmin

mapi::HRESULT TScriptedServiceAdmin::AdminProviders(mapi::LPMAPIUID uid, mapi::ULONG flags,
                                                    mapi::LPPROVIDERADMIN* admin)
{
    const TKwComPtr<TScriptedProviderAdmin> given(
        new TScriptedProviderAdmin(FCalls, TKwComPtr<TScriptedServiceAdmin>(this)));
    return Give(*FCalls, "AdminProviders", UidText(uid) + "," + Hex(flags), given, admin);
}

// ---- TScriptedProfAdmin

mapi::HRESULT TScriptedProfAdmin::Log(const char* method, std::initializer_list<mapi::LPTSTR> texts, mapi::ULONG flags,
                                      std::optional<mapi::ULONG_PTR> window)
{
    std::string arguments;
    for (const mapi::LPTSTR text : texts)
        arguments += TextArgument(text, flags) + ",";
    if (window)
        arguments += std::to_string(*window) + ",";
    return FCalls->Enter(method, arguments + Hex(flags)).value_or(mapi::S_OK);
}

} // namespace deftmapi::test

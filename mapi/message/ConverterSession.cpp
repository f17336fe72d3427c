// The MIME converter of the mail client. On Windows it is a COM class of the installed mail client, which COM finds.
// Elsewhere there is no COM: the loaded client library makes it through its own class factory.
#include "mapi/message/ConverterSession.hpp"

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/core/uKwMAPILib.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "support/platform/uKwPlatform.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoConverter = u"The IConverterSession is not supported by your Outlook version!";

#ifdef _WIN32

mapi::HRESULT CreateConverter(TKwComPtr<mapi::IConverterSession>& converter)
{
    using TCoCreateInstance =
        mapi::HRESULT(DEFTMAPI_STDCALL*)(const mapi::CLSID*, mapi::IUnknown*, mapi::DWORD, const mapi::IID*, void**);
    constexpr mapi::DWORD InProcessServer = 1;
    WideString reason;
    // COM stays loaded: whoever uses MAPI uses it.
    const TKwModule ole = KwPlatform().LoadModule(u"ole32.dll", reason);
    const auto create = ole == nullptr
                            ? nullptr
                            : reinterpret_cast<TCoCreateInstance>(KwPlatform().FindExport(ole, "CoCreateInstance"));
    if (create == nullptr)
        return mapi::MAPI_E_CALL_FAILED;
    return create(&mapi::CLSID_IConverterSession, nullptr, InProcessServer, &mapi::IID_IConverterSession,
                  OutVoid(converter));
}

#else

mapi::HRESULT CreateConverter(TKwComPtr<mapi::IConverterSession>& converter)
{
    using TDllGetClassObject =
        mapi::HRESULT(DEFTMAPI_STDCALL*)(const mapi::CLSID*, const mapi::IID*, void** classFactory);
    const TKwModule module = KwMAPIModule();
    const auto getClassObject =
        module == nullptr ? nullptr
                          : reinterpret_cast<TDllGetClassObject>(KwPlatform().FindExport(module, "DllGetClassObject"));
    if (getClassObject == nullptr)
        return mapi::MAPI_E_CALL_FAILED;
    TKwComPtr<mapi::IClassFactory> factory;
    const mapi::HRESULT hr = getClassObject(&mapi::CLSID_IConverterSession, &mapi::IID_IClassFactory, OutVoid(factory));
    if (hr < 0 || !factory)
        return mapi::MAPI_E_CALL_FAILED;
    return factory->CreateInstance(nullptr, mapi::IID_IConverterSession, OutVoid(converter));
}

#endif

} // namespace

TKwComPtr<mapi::IConverterSession> KwCreateConverterSession()
{
    TKwComPtr<mapi::IConverterSession> converter;
    if (CreateConverter(converter) < 0 || !converter)
        CreateKwMAPIException(KwNotSupported, sNoConverter)->Raise();
    return converter;
}

} // namespace deftmapi

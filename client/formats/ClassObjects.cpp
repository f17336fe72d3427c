// The class factory of the MIME converter.
#include "client/formats/ClassObjects.hpp"

#include "client/formats/ConverterSession.hpp"

namespace deftmapi::client
{

namespace
{

class TConverterFactory final : public ComObject<mapi::IClassFactory>
{
public:
    mapi::HRESULT DEFTMAPI_STDCALL CreateInstance(mapi::IUnknown* pUnkOuter, mapi::REFIID riid,
                                                  void** ppvObject) noexcept override
    {
        return Guard(FLastError, [&] {
            Require(ppvObject, u"ppvObject");
            *ppvObject = nullptr;
            if (pUnkOuter != nullptr)
                return CLASS_E_NOAGGREGATION;
            const TKwComPtr<mime::TConverterSession> session(new mime::TConverterSession);
            return session->QueryInterface(riid, ppvObject);
        });
    }
    mapi::HRESULT DEFTMAPI_STDCALL LockServer(mapi::BOOL fLock) noexcept override
    {
        // A locked server counts as one more object alive.
        CountObject(fLock != 0 ? 1 : -1);
        return mapi::S_OK;
    }
    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IClassFactory;
    }

private:
    LastError FLastError;
};

} // namespace

mapi::HRESULT CreateClassObject(mapi::REFCLSID clsid, mapi::REFIID iid, void** object) noexcept
{
    if (object == nullptr)
        return mapi::MAPI_E_INVALID_PARAMETER;
    *object = nullptr;
    if (clsid != mapi::CLSID_IConverterSession)
        return CLASS_E_CLASSNOTAVAILABLE;
    LastError last;
    return Guard(last, [&] {
        const TKwComPtr<TConverterFactory> factory(new TConverterFactory);
        return factory->QueryInterface(iid, object);
    });
}

} // namespace deftmapi::client

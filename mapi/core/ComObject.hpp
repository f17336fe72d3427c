// Internal: what every COM object of the library's own shares, the three methods of IUnknown. Such objects are handed
// to the client (sinks, streams); the library's objects for applications are not of this kind.
#pragma once

#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"

#include <atomic>

namespace deftmapi
{

/// IUnknown of an object that implements Interface and answers to the given identifiers besides IID_IUnknown. It starts
/// without a reference and ends with its last one. Threads: counting may happen on any thread.
template <typename Interface, const mapi::IID&... IIDs>
class TKwComObject : public Interface
{
public:
    TKwComObject(const TKwComObject&) = delete;
    TKwComObject& operator=(const TKwComObject&) = delete;

    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(mapi::REFIID iid, void** object) final
    {
        if (object == nullptr)
            return mapi::MAPI_E_INVALID_PARAMETER;
        *object = nullptr;
        if (iid != mapi::IID_IUnknown && ((iid != IIDs) && ...))
            return mapi::E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return mapi::S_OK;
    }
    mapi::ULONG DEFTMAPI_STDCALL AddRef() final { return ++FRefCount; }
    mapi::ULONG DEFTMAPI_STDCALL Release() final
    {
        const mapi::ULONG left = --FRefCount;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    TKwComObject() = default;
    /// Virtual for Release; it stands behind the methods of the interface, so their slots stay.
    virtual ~TKwComObject() = default;

private:
    std::atomic<mapi::ULONG> FRefCount{0};
};

} // namespace deftmapi

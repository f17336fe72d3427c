// The base of the client's COM objects: counting, interface look-up and a count of the objects alive.
// Every object implements one chain of single inheritance, so that all its interfaces are one pointer.
#pragma once

#include "mapi/headers/uKwMAPIHeaders.hpp"
#include "support/uKwRef.hpp"

#include <atomic>
#include <cstddef>

namespace deftmapi::client
{

/// Objects of the client that are alive in the process.
[[nodiscard]] std::size_t LiveObjects() noexcept;
void CountObject(int change) noexcept;

/// Implements IUnknown for Interface. A new object has no reference: the first smart pointer takes it to one.
template <typename Interface>
class ComObject : public Interface
{
public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(mapi::REFIID iid, void** object) noexcept override
    {
        if (!object)
            return mapi::MAPI_E_INVALID_PARAMETER;
        *object = nullptr;
        if (iid != mapi::IID_IUnknown && !Implements(iid))
            return mapi::MAPI_E_INTERFACE_NOT_SUPPORTED;
        AddRef();
        *object = static_cast<Interface*>(this);
        return mapi::S_OK;
    }
    mapi::ULONG DEFTMAPI_STDCALL AddRef() noexcept override { return ++FReferences; }
    mapi::ULONG DEFTMAPI_STDCALL Release() noexcept override
    {
        const mapi::ULONG left = --FReferences;
        if (left == 0)
            delete this;
        return left;
    }
    /// Whether iid is one of the interfaces besides IUnknown.
    [[nodiscard]] virtual bool Implements(const mapi::IID& iid) const noexcept = 0;

protected:
    ComObject() noexcept { CountObject(1); }
    virtual ~ComObject() { CountObject(-1); }

private:
    std::atomic<mapi::ULONG> FReferences{0};
};

} // namespace deftmapi::client

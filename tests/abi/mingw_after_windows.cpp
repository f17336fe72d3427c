// Our declarations after the Windows headers: the macros of those must neither rewrite ours nor be missed afterwards.
#include <winsock2.h>

#include <windows.h>

#include "mapi/headers/uKwMAPIHeaders.hpp"

#include <type_traits>

namespace
{

static_assert(mapi::S_OK == S_OK && mapi::E_NOINTERFACE == E_NOINTERFACE);
static_assert(mapi::STG_E_FILENOTFOUND == STG_E_FILENOTFOUND);
static_assert(mapi::STGM_READWRITE == STGM_READWRITE);
static_assert(std::is_same_v<decltype(&mapi::IMAPIMessageSite::GetMessage),
                             mapi::HRESULT (DEFTMAPI_STDCALL mapi::IMAPIMessageSite::*)(mapi::LPMESSAGE*)>);
static_assert(!std::is_same_v<mapi::GUID, ::GUID> && sizeof(mapi::GUID) == sizeof(::GUID));

/// An implementation of one of our interfaces that uses the constants and REFIID of the Windows headers as well.
struct BothKinds final : mapi::IMAPIAdviseSink
{
    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(const mapi::IID&, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    mapi::ULONG DEFTMAPI_STDCALL AddRef() override { return 2; }
    mapi::ULONG DEFTMAPI_STDCALL Release() override { return 1; }
    mapi::ULONG DEFTMAPI_STDCALL OnNotify(mapi::ULONG, mapi::LPNOTIFICATION) override { return S_OK; }

    static ::HRESULT Ask(::IUnknown* unknown, REFIID id, void** object) { return unknown->QueryInterface(id, object); }
};

static_assert(sizeof(BothKinds) == sizeof(void*));

} // namespace

#include "client/entry/EntryPoints.hpp"

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/entry/Utilities.hpp"
#include "client/formats/ClassObjects.hpp"
#include "client/notify/AdviseSinks.hpp"
#include "client/notify/Dispatcher.hpp"
#include "client/session/ProfileAdmin.hpp"
#include "client/session/Session.hpp"

#include <atomic>
#include <cstring>

using namespace deftmapi;
using namespace deftmapi::client;

namespace
{

constexpr auto sNotInitialized = u"MAPIInitialize has not been called.";
constexpr auto sBadVersion = u"The version of the initialisation options is unknown.";

std::atomic<long> GInitialized{0};

void RequireInitialized()
{
    if (GInitialized.load() == 0)
        Fail(mapi::MAPI_E_NOT_INITIALIZED, sNotInitialized);
}

/// The guard of functions that have no object: nobody can ask for the text.
template <typename Body>
mapi::HRESULT GuardFunction(Body&& body) noexcept
{
    LastError last;
    return Guard(last, std::forward<Body>(body));
}

} // namespace

mapi::HRESULT DEFTMAPI_STDCALL MAPIInitialize(mapi::LPVOID options) noexcept
{
    return GuardFunction([&] {
        bool multiThreaded = false;
        if (const auto* init = static_cast<const mapi::MAPIINIT_0*>(options)) {
            if (init->ulVersion != mapi::MAPI_INIT_VERSION)
                Fail(mapi::MAPI_E_INVALID_PARAMETER, sBadVersion);
            RequireFlags(init->ulFlags,
                         mapi::MAPI_MULTITHREAD_NOTIFICATIONS | mapi::MAPI_NT_SERVICE | mapi::MAPI_NO_COINIT);
            multiThreaded = (init->ulFlags & mapi::MAPI_MULTITHREAD_NOTIFICATIONS) != 0;
        }
        Dispatcher::Instance().ThreadInitialized(multiThreaded);
        ++GInitialized;
    });
}

void DEFTMAPI_STDCALL MAPIUninitialize() noexcept
{
    long count = GInitialized.load();
    while (count > 0 && !GInitialized.compare_exchange_weak(count, count - 1)) {
    }
    if (count > 0)
        Dispatcher::Instance().ThreadUninitialized();
    if (count == 1)
        Dispatcher::Instance().End();
}

mapi::HRESULT DEFTMAPI_STDCALL MAPILogonEx(mapi::ULONG_PTR, mapi::LPTSTR profile, mapi::LPTSTR password,
                                           mapi::ULONG flags, mapi::LPMAPISESSION* session) noexcept
{
    return GuardFunction([&] {
        Require(session, u"lppSession");
        *session = nullptr;
        RequireInitialized();
        *session = LogOn(TextParameter(profile, flags), TextParameter(password, flags), flags).Detach();
    });
}

mapi::HRESULT DEFTMAPI_STDCALL MAPIAdminProfiles(mapi::ULONG flags, mapi::LPPROFADMIN* admin) noexcept
{
    return GuardFunction([&] {
        Require(admin, u"lppProfAdmin");
        *admin = nullptr;
        RequireInitialized();
        RequireFlags(flags, 0);
        *admin = NewProfileAdmin(OpenProfiles()).Detach();
    });
}

mapi::SCODE DEFTMAPI_STDCALL MAPIAllocateBuffer(mapi::ULONG size, mapi::LPVOID* buffer) noexcept
{
    return AllocateBuffer(size, buffer);
}

mapi::SCODE DEFTMAPI_STDCALL MAPIAllocateMore(mapi::ULONG size, mapi::LPVOID parent, mapi::LPVOID* buffer) noexcept
{
    return AllocateMore(size, parent, buffer);
}

mapi::ULONG DEFTMAPI_STDCALL MAPIFreeBuffer(mapi::LPVOID buffer) noexcept
{
    return FreeBuffer(buffer);
}

void DEFTMAPI_STDCALL FreeProws(mapi::LPSRowSet rows) noexcept
{
    FreeRows(rows);
}

void DEFTMAPI_STDCALL FreePadrlist(mapi::LPADRLIST list) noexcept
{
    FreeAddressList(list);
}

mapi::LPMALLOC DEFTMAPI_STDCALL MAPIGetDefaultMalloc() noexcept
{
    return &DefaultMalloc();
}

mapi::HRESULT DEFTMAPI_STDCALL HrQueryAllRows(mapi::LPMAPITABLE table, mapi::LPSPropTagArray columns,
                                              mapi::LPSRestriction restriction, mapi::LPSSortOrderSet order,
                                              mapi::LONG maximum, mapi::LPSRowSet* rows) noexcept
{
    return QueryAllRows(table, columns, restriction, order, maximum, rows);
}

mapi::HRESULT DEFTMAPI_STDCALL HrDispatchNotifications(mapi::ULONG flags) noexcept
{
    return GuardFunction([&] {
        RequireFlags(flags, 0);
        Dispatcher::Instance().Deliver();
    });
}

mapi::HRESULT DEFTMAPI_STDCALL HrAllocAdviseSink(mapi::LPNOTIFCALLBACK callback, mapi::LPVOID context,
                                                 mapi::LPMAPIADVISESINK* sink) noexcept
{
    return GuardFunction([&] {
        Require(sink, u"lppAdviseSink");
        *sink = nullptr;
        Require(reinterpret_cast<const void*>(callback), u"lpfnCallback");
        *sink = NewCallbackSink(callback, context).Detach();
    });
}

mapi::HRESULT DEFTMAPI_STDCALL HrThisThreadAdviseSink(mapi::LPMAPIADVISESINK sink,
                                                      mapi::LPMAPIADVISESINK* wrapped) noexcept
{
    return GuardFunction([&] {
        Require(wrapped, u"lppAdviseSink");
        *wrapped = nullptr;
        Require(sink, u"lpAdviseSink");
        *wrapped = NewThreadSink(sink).Detach();
    });
}

mapi::SCODE DEFTMAPI_STDCALL ScCreateConversationIndex(mapi::ULONG parentSize, mapi::LPBYTE parent, mapi::ULONG* size,
                                                       mapi::LPBYTE* index) noexcept
{
    return GuardFunction([&] {
        Require(size, u"lpcbConvIndex");
        Require(index, u"lppbConvIndex");
        *size = 0;
        *index = nullptr;
        if (parentSize)
            Require(parent, u"lpbParent");
        const Bytes next = NextConversationIndex(std::span(parent, parentSize), Now());
        auto buffer = AllocateAs<mapi::BYTE>(next.size());
        std::memcpy(buffer.Get(), next.data(), next.size());
        *size = static_cast<mapi::ULONG>(next.size());
        *index = buffer.Detach();
    });
}

mapi::HRESULT DEFTMAPI_STDCALL DllGetClassObject(mapi::REFCLSID clsid, mapi::REFIID iid, mapi::LPVOID* object) noexcept
{
#ifdef DEFTMAPI_CLIENT_HAS_MIME
    return CreateClassObject(clsid, iid, object);
#else
    static_cast<void>(clsid);
    static_cast<void>(iid);
    if (!object)
        return mapi::MAPI_E_INVALID_PARAMETER;
    *object = nullptr;
    return CLASS_E_CLASSNOTAVAILABLE;
#endif
}

mapi::HRESULT DEFTMAPI_STDCALL DllCanUnloadNow() noexcept
{
    return GInitialized.load() == 0 && LiveObjects() == 0 && LiveBuffers() == 0 && Dispatcher::Instance().Rest()
               ? mapi::S_OK
               : mapi::S_FALSE;
}

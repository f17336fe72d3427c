// Objects and wrappers: guards, binding to a session, the provider's own error text, memory.
#include "mapi/core/uKwMAPIBase.hpp"

#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "support/uKwEncoding.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sParentDestroyed = u"Failed to execute %s.%s!\r\nThe parentobject of this instance has been destroyed!";
constexpr auto sNoSession = u"No session has been Assigned (%s.%s)!";
constexpr auto sNotActive = u"%s.%s failed.\r\nThe object is not, or no longer, active!";
constexpr auto sSimpleMAPI = u"%s.%s is not supported by Simple MAPI!";
constexpr auto sLastError = u"Component %s caused: %s (%s.%s)";

WideString TextOf(const void* text, bool unicode)
{
    if (text == nullptr)
        return {};
    if (unicode)
        return static_cast<const char16_t*>(text);
    return TKwEncoding().ToWide(static_cast<const char*>(text));
}

} // namespace

// ---- TKwMAPIObject

TKwMAPIObject::TKwMAPIObject(TKwAutoIntfObject* parent, TKwKeepAlive keepAlive) : TKwAutoIntfObject(parent, keepAlive)
{
    if (const auto* object = dynamic_cast<const TKwMAPIObject*>(parent))
        FDisableUnicode = object->DisableUnicode();
}

TKwMAPIObject::~TKwMAPIObject() = default;

void TKwMAPIObject::CheckActive(WideView methodName) const
{
    if (OwnerDestroyed())
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sParentDestroyed, {GetClassName(), methodName})->Raise();
}

mapi::ULONG TKwMAPIObject::UnicodeFlag() const noexcept
{
    return DisableUnicode() ? 0 : mapi::MAPI_UNICODE;
}

const TKwMAPIPropInfo& TKwMAPIObject::PI(TKwMAPIPropDef def) const
{
    return GetPropInfo(def, !DisableUnicode());
}

// ---- TKwMAPIWrapper

TKwMAPIWrapper::TKwMAPIWrapper(TKwAutoIntfObject* createdBy, TKwKeepAlive keepAlive)
    : TKwMAPIObject(createdBy, keepAlive)
{}

TKwMAPIWrapper::~TKwMAPIWrapper()
{
    // Still bound only when a derived class's constructor failed: then nothing calls BeforeDestruction.
    Unbind();
}

void TKwMAPIWrapper::BeforeDestruction() noexcept
{
    try {
        SetMAPIOBJECT(nullptr);
    } catch (...) {
        KwReportServerException(std::current_exception());
        FMAPIObject.Reset();
    }
    Unbind();
}

TKwRef<IKwMAPIObject> TKwMAPIWrapper::Get_CreatedBy() const
{
    return TKwRef<IKwMAPIObject>(dynamic_cast<IKwMAPIObject*>(Owner()));
}

IKwMAPISessionBase* TKwMAPIWrapper::Get_Session() const noexcept
{
    return FSession.Get();
}

void TKwMAPIWrapper::Unbind() noexcept
{
    if (!FSession)
        return;
    FSession->FDirectWrappers.Remove(this);
    FSession->FLogoffList.Remove(this);
    // The reference goes last and through a local: it may be the last one of the session, whose end must not find this
    // wrapper half unbound.
    const TKwRef<TKwMAPISessionBase> last = std::move(FSession);
}

void TKwMAPIWrapper::SetSession(TKwMAPISessionBase* session)
{
    TKwRef<TKwMAPISessionBase> next(session); // before the old one goes: it may hold the new one
    Unbind();
    if (!next)
        return;
    if (Owner() == session)
        session->FDirectWrappers.Add(*this);
    try {
        session->LogoffNotification(*this);
    } catch (...) {
        session->FDirectWrappers.Remove(this);
        throw;
    }
    FSession = std::move(next);
}

void TKwMAPIWrapper::SetMAPIOBJECT(mapi::IUnknown* object)
{
    // The old object is released when the new one is in place: its release may call back.
    TKwComPtr<mapi::IUnknown> next(object);
    std::swap(FMAPIObject, next);
}

void TKwMAPIWrapper::CheckActive(WideView methodName) const
{
    CheckActive(methodName, NeedsMAPIObject());
}

void TKwMAPIWrapper::CheckActive(WideView methodName, bool needsMAPIObject) const
{
    if (Session() == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_UNCONFIGURED, sNoSession, {GetClassName(), methodName})->Raise();
    if (needsMAPIObject && !FMAPIObject)
        CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sNotActive, {GetClassName(), methodName})->Raise();
}

void TKwMAPIWrapper::CheckExtendedMAPI(WideView methodName) const
{
    CheckActive(methodName, false);
    if (!Session()->UsesExtendedMAPI())
        CreateKwMAPIException(KwNotSupported, sSimpleMAPI, {GetClassName(), methodName})->Raise();
}

mapi::HRESULT TKwMAPIWrapper::CallGetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error)
{
    TKwComPtr<mapi::IMAPIProp> prop;
    if (mapi::Failed(FMAPIObject->QueryInterface(mapi::IID_IMAPIProp, OutVoid(prop))))
        return mapi::S_OK;
    return prop->GetLastError(result, flags, error);
}

mapi::HRESULT TKwMAPIWrapper::FormatExtendedErrorInfo(bool unicode, mapi::HRESULT result, TKwMAPIError& error)
{
    error = {};
    if (!FMAPIObject)
        return mapi::S_OK;
    TKwMAPIBuffer<mapi::MAPIERROR> record(*this);
    const mapi::HRESULT hr = CallGetLastError(result, unicode ? mapi::MAPI_UNICODE : 0, Out(record));
    if (hr != mapi::S_OK || !record)
        return hr;
    error.Error = TextOf(record->lpszError, unicode);
    error.Component = TextOf(record->lpszComponent, unicode);
    error.LowLevelError = static_cast<std::int32_t>(record->ulLowLevelError);
    error.Context = static_cast<std::int32_t>(record->ulContext);
    return mapi::S_OK;
}

void TKwMAPIWrapper::GetExtendedErrorInfo(mapi::HRESULT result, TKwMAPIError& error)
{
    const mapi::HRESULT hr = WithCharWidth(0, [&](mapi::ULONG flags) {
        return FormatExtendedErrorInfo((flags & mapi::MAPI_UNICODE) != 0, result, error);
    });
    // Without this wrapper, which would be asked for the text of that failure in turn.
    CheckMAPIResult(GetClassName(), u"GetLastError", hr);
}

void TKwMAPIWrapper::CheckLastError(WideView methodName, mapi::HRESULT result)
{
    if (result == mapi::S_OK)
        return;
    TKwMAPIError error;
    GetExtendedErrorInfo(result, error);
    if (error.Error.empty())
        RaiseMAPIResult(*this, methodName, result);
    CreateKwMAPIException(result, sLastError, {error.Component, error.Error, GetClassName(), methodName})->Raise();
}

void* TKwMAPIWrapper::AllocateBuffer(mapi::ULONG size)
{
    CheckActive(u"AllocateBuffer", false);
    return Session()->AllocateBuffer(size);
}

void* TKwMAPIWrapper::AllocateMore(mapi::ULONG size, void* parent)
{
    CheckActive(u"AllocateMore", false);
    return Session()->AllocateMore(size, parent);
}

void TKwMAPIWrapper::FreeBuffer(void* buffer)
{
    if (buffer == nullptr)
        return;
    CheckActive(u"FreeBuffer", false);
    Session()->FreeBuffer(buffer);
}

void* TKwMAPIWrapper::GetMAPIEntryID(const TKwMAPIEntryID& entryID, mapi::ULONG& size)
{
    return _GetMAPIEntryID(Session(), entryID, size);
}

void* TKwMAPIWrapper::GetMAPIEntryID(const TKwMAPIEntryID& entryID)
{
    return _GetMAPIEntryID(Session(), entryID);
}

mapi::ULONG_PTR TKwMAPIWrapper::GetParentWindow() const
{
    return FSession ? FSession->GetParentWindow() : 0;
}

mapi::ULONG_PTR TKwMAPIWrapper::GetAppHandle() const
{
    return FSession ? FSession->GetAppHandle() : 0;
}

} // namespace deftmapi

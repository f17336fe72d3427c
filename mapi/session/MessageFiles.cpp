// Messages in compound files (.msg): structured storage from the system, else from the client library, and MAPI's
// message object on it.
#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/core/uKwMAPIIMessageH.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "support/platform/uKwPlatform.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNoStorage = u"%s failed!\r\nThere is no structured storage for the file %s: neither the system nor the "
                            u"MAPI library offers %s.";
constexpr auto sFileExists = u"%s.CreateMsgFile failed!\r\nThe file %s exists already.";
constexpr auto sNoSuchFile = u"%s.OpenMsgFile failed!\r\nThe file %s does not exist.";

constexpr mapi::ULONG FormatStorage = 0; // STGFMT_STORAGE

constexpr auto DefaultClass = u"IPM.Note";

// StgCreateStorageEx and StgOpenStorageEx.
using TStgFunction = mapi::HRESULT(DEFTMAPI_STDCALL*)(const char16_t* name, mapi::DWORD mode, mapi::DWORD format,
                                                      mapi::DWORD attributes, void* options, void* security,
                                                      const mapi::IID& iid, void** object);

/// A function of structured storage: Windows has it itself, elsewhere the client library does.
TStgFunction StorageFunction(const char* name, WideView methodName, const WideString& fileName)
{
    void* found = nullptr;
#ifdef _WIN32
    WideString reason;
    if (const TKwModule ole = KwPlatform().LoadModule(u"ole32.dll", reason)) // stays loaded: the system uses it, too
        found = KwPlatform().FindExport(ole, name);
#endif
    if (found == nullptr && KwMAPIModule() != nullptr)
        found = KwPlatform().FindExport(KwMAPIModule(), name);
    if (found == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_NO_SUPPORT, sNoStorage,
                              {methodName, fileName, WideString(name, name + std::char_traits<char>::length(name))})
            ->Raise();
    return reinterpret_cast<TStgFunction>(found);
}

} // namespace

TKwComPtr<mapi::IMessage> TSession::OpenMessageOn(mapi::IStorage& storage, IKwMAPIStorageSession& storageSession)
{
    TKwComPtr<mapi::IMessage> message;
    const mapi::SCODE result =
        OpenIMsgOnIStg(storageSession.GetMsgSession(), &MAPIAllocateBuffer, &MAPIAllocateMore, &MAPIFreeBuffer,
                       storageSession.GetMemAllocIntf(), nullptr, &storage, nullptr, 0, 0, Out(message));
    CheckMAPIResult(*this, u"OpenIMsgOnIStg", result);
    return message;
}

TKwRef<IKwMAPIMessage> TSession::CreateMsgFile(const WideString& fileName, WideView messageClass)
{
    CheckUsingExtendedMAPI(u"CreateMsgFile");
    EnsureLibrary();
    MAPIInitialize();
    if (KwPlatform().FileExists(fileName))
        CreateKwMAPIException(mapi::MAPI_E_COLLISION, sFileExists, {GetClassName(), fileName})->Raise();
    const auto create = StorageFunction("StgCreateStorageEx", u"CreateMsgFile", fileName);
    TKwComPtr<mapi::IStorage> storage;
    CheckMAPIResult(
        *this, u"StgCreateStorageEx",
        create(fileName.c_str(),
               mapi::STGM_READWRITE | mapi::STGM_TRANSACTED | mapi::STGM_SHARE_EXCLUSIVE | mapi::STGM_FAILIFTHERE,
               FormatStorage, 0, nullptr, nullptr, mapi::IID_IStorage, OutVoid(storage)));
    // By this class the system knows that the file is a message.
    CheckMAPIResult(*this, u"SetClass", storage->SetClass(mapi::CLSID_MailMessage));
    const WideString wanted(messageClass.empty() ? WideView(DefaultClass) : messageClass);
    const auto storageSession = KwMake<TKwMAPIStorageSession>(this);
    const auto opened = OpenMessageOn(*storage, *storageSession);
    const auto message = CreateMessageObjectFromMsgClass(wanted, nullptr, this, storageSession, storage.Get(),
                                                         opened.Get(), alReadWrite);
    message->PropByName(PR_MESSAGE_CLASS)->Set_AsString(wanted);
    return message;
}

TKwRef<IKwMAPIMessage> TSession::OpenMsgFile(const WideString& fileName, TKwMAPIAccessLevel accessLevel)
{
    CheckUsingExtendedMAPI(u"OpenMsgFile");
    EnsureLibrary();
    MAPIInitialize();
    if (!KwPlatform().FileExists(fileName))
        CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, sNoSuchFile, {GetClassName(), fileName})->Raise();
    const auto open = StorageFunction("StgOpenStorageEx", u"OpenMsgFile", fileName);
    const auto openFor = [&](mapi::DWORD mode, TKwComPtr<mapi::IStorage>& storage) {
        return open(fileName.c_str(), mode | mapi::STGM_TRANSACTED, FormatStorage, 0, nullptr, nullptr,
                    mapi::IID_IStorage, OutVoid(storage));
    };
    constexpr mapi::DWORD forReading = mapi::STGM_READ | mapi::STGM_SHARE_DENY_WRITE;
    constexpr mapi::DWORD forWriting = mapi::STGM_READWRITE | mapi::STGM_SHARE_EXCLUSIVE;
    TKwComPtr<mapi::IStorage> storage;
    TKwMAPIAccessLevel granted = accessLevel == alReadOnly ? alReadOnly : alReadWrite;
    mapi::HRESULT hr = openFor(granted == alReadOnly ? forReading : forWriting, storage);
    if (hr == mapi::STG_E_ACCESSDENIED && accessLevel == alBestAccess) {
        granted = alReadOnly;
        hr = openFor(forReading, storage);
    }
    CheckMAPIResult(*this, u"StgOpenStorageEx", hr);
    const auto storageSession = KwMake<TKwMAPIStorageSession>(this);
    return CreateMessageObjectFromStorage(this, storageSession, storage.Get(),
                                          OpenMessageOn(*storage, *storageSession).Get(), granted);
}

} // namespace deftmapi

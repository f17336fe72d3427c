// Messages in compound files (.msg): structured storage from the system, else from the client library, and MAPI's
// message object on it.
#include "mapi/session/MessageFiles.hpp"

#include "mapi/core/MAPIModule.hpp"
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/core/uKwMAPIIMessageH.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/core/uKwMAPIxH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/message/FileStream.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"
#include "support/platform/uKwPlatform.hpp"

#include <filesystem>
#include <system_error>

namespace deftmapi
{

namespace
{

constexpr auto sNoStorage = u"%s failed!\r\nThere is no structured storage for the file %s: neither the system nor the "
                            u"MAPI library offers %s.";
constexpr auto sFileExists = u"%s.%s failed!\r\nThe file %s exists already.";
constexpr auto sNoSuchFile = u"%s.%s failed!\r\nThe file %s does not exist.";

constexpr mapi::ULONG FormatStorage = 0; // STGFMT_STORAGE

/// What a compound file begins with.
constexpr std::string_view CompoundFile = "\xD0\xCF\x11\xE0";

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

TKwComPtr<mapi::IMessage> MessageOn(TKwMAPIWrapper& asker, mapi::IStorage& storage,
                                    IKwMAPIStorageSession& storageSession)
{
    TKwComPtr<mapi::IMessage> message;
    const mapi::SCODE result =
        OpenIMsgOnIStg(storageSession.GetMsgSession(), &MAPIAllocateBuffer, &MAPIAllocateMore, &MAPIFreeBuffer,
                       storageSession.GetMemAllocIntf(), nullptr, &storage, nullptr, 0, 0, Out(message));
    CheckMAPIResult(asker, u"OpenIMsgOnIStg", result);
    return message;
}

/// Removes a file that was made unless what was to be in it is there in the end. REQUIRES: outlives its storage.
class TNewFile
{
public:
    explicit TNewFile(const WideString& name) : FName(name) {}
    ~TNewFile()
    {
        if (!FMade)
            return;
        try {
            std::error_code ignored; // what failed before is what the caller is told
            std::filesystem::remove(FName, ignored);
        } catch (...) {
            KwReportServerException(std::current_exception());
        }
    }
    TNewFile(const TNewFile&) = delete;
    TNewFile& operator=(const TNewFile&) = delete;

    [[nodiscard]] const WideString& Name() const noexcept { return FName; }
    void Made() noexcept { FMade = true; }
    void Keep() noexcept { FMade = false; }

private:
    const WideString& FName;
    bool FMade = false;
};

/// A new compound file that is marked as a message.
TKwComPtr<mapi::IStorage> CreateStorage(TKwMAPIWrapper& asker, WideView methodName, TNewFile& file)
{
    const WideString& fileName = file.Name();
    if (KwPlatform().FileExists(fileName))
        CreateKwMAPIException(mapi::MAPI_E_COLLISION, sFileExists, {asker.GetClassName(), methodName, fileName})
            ->Raise();
    const auto create = StorageFunction("StgCreateStorageEx", methodName, fileName);
    TKwComPtr<mapi::IStorage> storage;
    CheckMAPIResult(
        asker, u"StgCreateStorageEx",
        create(fileName.c_str(),
               mapi::STGM_READWRITE | mapi::STGM_TRANSACTED | mapi::STGM_SHARE_EXCLUSIVE | mapi::STGM_FAILIFTHERE,
               FormatStorage, 0, nullptr, nullptr, mapi::IID_IStorage, OutVoid(storage)));
    file.Made();
    // By this class the system knows that the file is a message.
    CheckMAPIResult(asker, u"SetClass", storage->SetClass(mapi::CLSID_MailMessage));
    return storage;
}

} // namespace

bool KwIsCompoundFile(const WideString& fileName)
{
    return TMAPIFileStream::Open(fileName)->StartsWith(CompoundFile);
}

TKwRef<IKwMAPIMessage> KwCreateMsgFile(TKwMAPIWrapper& asker, WideView methodName, const WideString& fileName,
                                       WideView messageClass)
{
    TNewFile file(fileName);
    const auto storage = CreateStorage(asker, methodName, file);
    const WideString wanted(messageClass.empty() ? WideView(DefaultClass) : messageClass);
    const auto storageSession = KwMake<TKwMAPIStorageSession>(asker.Session());
    const auto opened = MessageOn(asker, *storage, *storageSession);
    const auto message = CreateMessageObjectFromMsgClass(wanted, nullptr, asker.Session(), storageSession,
                                                         storage.Get(), opened.Get(), alReadWrite);
    message->PropByName(PR_MESSAGE_CLASS)->Set_AsString(wanted);
    file.Keep();
    return message;
}

TKwRef<IKwMAPIMessage> KwOpenMsgFile(TKwMAPIWrapper& asker, WideView methodName, const WideString& fileName,
                                     TKwMAPIAccessLevel accessLevel)
{
    if (!KwPlatform().FileExists(fileName))
        CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, sNoSuchFile, {asker.GetClassName(), methodName, fileName})
            ->Raise();
    const auto open = StorageFunction("StgOpenStorageEx", methodName, fileName);
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
    CheckMAPIResult(asker, u"StgOpenStorageEx", hr);
    return KwOpenMessageOn(asker, *storage, granted);
}

TKwRef<IKwMAPIMessage> KwOpenMessageOn(TKwMAPIWrapper& asker, mapi::IStorage& storage, TKwMAPIAccessLevel granted)
{
    const auto storageSession = KwMake<TKwMAPIStorageSession>(asker.Session());
    return CreateMessageObjectFromStorage(asker.Session(), storageSession, &storage,
                                          MessageOn(asker, storage, *storageSession).Get(), granted);
}

void KwSaveStorage(TKwMAPIWrapper& asker, WideView methodName, mapi::IStorage& storage, const WideString& fileName)
{
    TNewFile file(fileName);
    const auto copy = CreateStorage(asker, methodName, file);
    CheckMAPIResult(asker, u"CopyTo", storage.CopyTo(0, nullptr, nullptr, copy.Get()));
    CheckMAPIResult(asker, u"Commit", copy->Commit(mapi::STGC_DEFAULT));
    file.Keep();
}

TKwRef<IKwMAPIMessage> TSession::CreateMsgFile(const WideString& fileName, WideView messageClass)
{
    CheckUsingExtendedMAPI(u"CreateMsgFile");
    EnsureLibrary();
    MAPIInitialize();
    return KwCreateMsgFile(*this, u"CreateMsgFile", fileName, messageClass);
}

TKwRef<IKwMAPIMessage> TSession::OpenMsgFile(const WideString& fileName, TKwMAPIAccessLevel accessLevel)
{
    CheckUsingExtendedMAPI(u"OpenMsgFile");
    EnsureLibrary();
    MAPIInitialize();
    return KwOpenMsgFile(*this, u"OpenMsgFile", fileName, accessLevel);
}

} // namespace deftmapi

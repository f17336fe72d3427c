// Messages in compound files, on a client library that has structured storage and on one that has not.
#include "mapi/DeftMAPI.hpp"
#include "tests/session/ScriptedClient.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace deftmapi::test
{
namespace
{

TScriptedCalls* Log = nullptr;
TScriptedMessage* OnStorage = nullptr; // what OpenIMsgOnIStg gives
int MessageSession = 0;                // its address is the handle
bool MakesFiles = false;

class TScriptedMalloc final : public TScriptedUnknown<mapi::IMalloc>
{
public:
    TScriptedMalloc() : TScriptedUnknown({}) {}
    void* DEFTMAPI_STDCALL Alloc(mapi::SIZE_T) override { return nullptr; }
    void* DEFTMAPI_STDCALL Realloc(void*, mapi::SIZE_T) override { return nullptr; }
    void DEFTMAPI_STDCALL Free(void*) override {}
    mapi::SIZE_T DEFTMAPI_STDCALL GetSize(void*) override { return 0; }
    int DEFTMAPI_STDCALL DidAlloc(void*) override { return -1; }
    void DEFTMAPI_STDCALL HeapMinimize() override {}
};

class TScriptedStorage final : public TScriptedUnknown<mapi::IStorage>
{
public:
    TScriptedStorage() : TScriptedUnknown({mapi::IID_IStorage}) {}
    ~TScriptedStorage() override { Log->Enter("storage released", ""); }
    using HRESULT = mapi::HRESULT;
    using DWORD = mapi::DWORD;
    using Name = const mapi::OLECHAR*;
    DEFTMAPI_REFUSED(CreateStream, Name, DWORD, DWORD, DWORD, mapi::IStream**)
    DEFTMAPI_REFUSED(OpenStream, Name, void*, DWORD, DWORD, mapi::IStream**)
    DEFTMAPI_REFUSED(CreateStorage, Name, DWORD, DWORD, DWORD, mapi::IStorage**)
    DEFTMAPI_REFUSED(OpenStorage, Name, mapi::IStorage*, DWORD, mapi::SNB, DWORD, mapi::IStorage**)
    HRESULT DEFTMAPI_STDCALL CopyTo(DWORD, const mapi::IID*, mapi::SNB, mapi::IStorage*) override
    {
        return Log->Enter("storage.CopyTo", "").value_or(mapi::S_OK);
    }
    DEFTMAPI_REFUSED(MoveElementTo, Name, mapi::IStorage*, Name, DWORD)
    HRESULT DEFTMAPI_STDCALL Commit(DWORD flags) override
    {
        return Log->Enter("storage.Commit", Hex(flags)).value_or(mapi::S_OK);
    }
    DEFTMAPI_REFUSED(Revert)
    DEFTMAPI_REFUSED(EnumElements, DWORD, void*, DWORD, mapi::IEnumSTATSTG**)
    DEFTMAPI_REFUSED(DestroyElement, Name)
    DEFTMAPI_REFUSED(RenameElement, Name, Name)
    DEFTMAPI_REFUSED(SetElementTimes, Name, const mapi::FILETIME*, const mapi::FILETIME*, const mapi::FILETIME*)
    HRESULT DEFTMAPI_STDCALL SetClass(mapi::REFCLSID clsid) override
    {
        return Log->Enter("SetClass", clsid == mapi::CLSID_MailMessage ? "message" : "?").value_or(mapi::S_OK);
    }
    DEFTMAPI_REFUSED(SetStateBits, DWORD, DWORD)
    DEFTMAPI_REFUSED(Stat, mapi::STATSTG*, DWORD)

private:
    static HRESULT Refused(const char*) { return mapi::STG_E_INVALIDFUNCTION; }
};

mapi::HRESULT Storage(const char* method, const char16_t* name, mapi::DWORD mode, void** object)
{
    if (const auto result = Log->Enter(method, KwToUtf8(name) + "," + Hex(mode)))
        return *result;
    *object = static_cast<mapi::IStorage*>(TKwComPtr<TScriptedStorage>(new TScriptedStorage).Detach());
    return mapi::S_OK;
}

mapi::HRESULT DEFTMAPI_STDCALL StgCreate(const char16_t* name, mapi::DWORD mode, mapi::DWORD, mapi::DWORD, void*, void*,
                                         const mapi::IID&, void** object)
{
    const mapi::HRESULT hr = Storage("StgCreateStorageEx", name, mode, object);
    if (hr == mapi::S_OK && MakesFiles)
        std::ofstream(std::filesystem::path(name)) << "storage";
    return hr;
}

mapi::HRESULT DEFTMAPI_STDCALL StgOpen(const char16_t* name, mapi::DWORD mode, mapi::DWORD, mapi::DWORD, void*, void*,
                                       const mapi::IID&, void** object)
{
    return Storage("StgOpenStorageEx", name, mode, object);
}

mapi::LPMALLOC DEFTMAPI_STDCALL DefaultMalloc()
{
    return TKwComPtr<TScriptedMalloc>(new TScriptedMalloc).Detach();
}

mapi::SCODE DEFTMAPI_STDCALL OpenSession(mapi::LPMALLOC, mapi::ULONG, mapi::LPMSGSESS* session)
{
    *session = &MessageSession;
    return Log->Enter("OpenIMsgSession", "").value_or(mapi::S_OK);
}

void DEFTMAPI_STDCALL CloseSession(mapi::LPMSGSESS)
{
    Log->Enter("CloseIMsgSession", "");
}

mapi::SCODE DEFTMAPI_STDCALL OpenMessage(mapi::LPMSGSESS session, mapi::LPALLOCATEBUFFER, mapi::LPALLOCATEMORE,
                                         mapi::LPFREEBUFFER, mapi::LPMALLOC, mapi::LPVOID, mapi::LPSTORAGE,
                                         mapi::MSGCALLRELEASE*, mapi::ULONG, mapi::ULONG flags,
                                         mapi::LPMESSAGE* message)
{
    if (const auto result = Log->Enter("OpenIMsgOnIStg", (session == &MessageSession ? "session," : "?,") + Hex(flags)))
        return *result;
    *message = TKwComPtr<mapi::IMessage>(OnStorage).Detach();
    return mapi::S_OK;
}

class TMessageFilesTest : public TScriptedClientTest
{
protected:
    TMessageFilesTest() : Message(new TScriptedMessage(Calls))
    {
        Log = Calls.get();
        OnStorage = Message.Get();
    }
    void GiveStorage()
    {
        Module().Export("StgCreateStorageEx", &StgCreate);
        Module().Export("StgOpenStorageEx", &StgOpen);
        Module().Export("MAPIGetDefaultMalloc", &DefaultMalloc);
        Module().Export("OpenIMsgSession", &OpenSession);
        Module().Export("CloseIMsgSession", &CloseSession);
        Module().Export("OpenIMsgOnIStg", &OpenMessage);
    }
    /// The calls that are not about properties.
    [[nodiscard]] std::string TakeCalls()
    {
        return TakeLines(*Calls, [](const std::string& line) { return !line.starts_with("message.GetProps"); });
    }

    TKwComPtr<TScriptedMessage> Message;
};

TEST_F(TMessageFilesTest, AFileIsMadeAndWrittenWithItsMessage)
{
    GiveStorage();
    auto message = Session->CreateMsgFile(u"C:\\new.msg", u"IPM.Task");
    EXPECT_EQ(TakeCalls(), "MAPIInitialize(0x00000008)\nStgCreateStorageEx(C:\\new.msg,0x00010012)\nSetClass(message)\n"
                           "OpenIMsgSession()\nOpenIMsgOnIStg(session,0x00000000)\n");
    message->Set_Subject(u"Hello");
    message->SaveChanges();
    EXPECT_EQ(Message->Bag.Text(), "0x001A001F=\"IPM.Task\"\n0x0037001F=\"Hello\"");
    static_cast<void>(TakeCalls());
    message.Reset();
    EXPECT_EQ(TakeCalls(), "storage released()\nCloseIMsgSession()\n") << "the storage goes before its session";
    EXPECT_EQ(Message->RefCount(), 1u);
}

TEST_F(TMessageFilesTest, AFileThatDidNotBecomeAMessageDoesNotStay)
{
    GiveStorage();
    MakesFiles = true;
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "no-message.msg";
    for (const char* call : {"StgCreateStorageEx", "SetClass", "OpenIMsgSession", "OpenIMsgOnIStg", ""}) {
        if (*call != 0)
            Calls->Next(call, mapi::MAPI_E_NETWORK_ERROR);
        const TCaught caught = Catch([&] { return Session->CreateMsgFile(file.u16string(), u""); });
        EXPECT_EQ(caught.ClassName, *call != 0 ? "EMAPI_NETWORK_ERROR" : "");
        EXPECT_EQ(std::filesystem::exists(file), *call == 0) << call;
    }
    MakesFiles = false;
}

TEST_F(TMessageFilesTest, ALogonThatFailsLeavesMessageFilesAlone)
{
    GiveStorage();
    const auto message = Session->CreateMsgFile(u"C:\\new.msg", u"");
    message->Set_Subject(u"not saved yet");
    for (const char* call : {"MAPILogonEx", "Advise"}) {
        Calls->Next(call, mapi::MAPI_E_NETWORK_ERROR);
        EXPECT_EQ(Catch([&] { Session->Logon(); }).ClassName, "EMAPI_NETWORK_ERROR");
    }
    message->SaveChanges();
    EXPECT_NE(Message->Bag.Text().find("not saved yet"), std::string::npos);
    Session->Logon();
    Session->Logoff();
    EXPECT_EQ(message->Get_MAPIOBJECT(), nullptr) << "the end of a session is that of all its objects";
}

TEST_F(TMessageFilesTest, AFileIsOpenedAsFarAsItAllows)
{
    GiveStorage();
    Platform.SetFile(u"C:\\old.msg", "x");
    Message->Bag.Set(TextValue(GetPropTag(PR_MESSAGE_CLASS), u"IPM.Note"));
    const auto open = [&](TKwMAPIAccessLevel level) {
        const auto message = Session->OpenMsgFile(u"C:\\old.msg", level);
        return message->Get_AccessLevel();
    };
    EXPECT_EQ(open(alReadOnly), alReadOnly);
    EXPECT_NE(TakeCalls().find("StgOpenStorageEx(C:\\old.msg,0x00010020)"), std::string::npos);
    EXPECT_EQ(open(alReadWrite), alReadWrite);
    EXPECT_NE(TakeCalls().find("StgOpenStorageEx(C:\\old.msg,0x00010012)"), std::string::npos);
    Calls->Next("StgOpenStorageEx", mapi::STG_E_ACCESSDENIED);
    EXPECT_EQ(open(alBestAccess), alReadOnly);
    Calls->Next("OpenIMsgOnIStg", mapi::MAPI_E_CORRUPT_DATA);
    static_cast<void>(TakeCalls());
    EXPECT_EQ(Catch([&] { return open(alReadOnly); }).ClassName, "EMAPI_CORRUPT_DATA");
    EXPECT_NE(TakeCalls().find("CloseIMsgSession()"), std::string::npos);
}

TEST_F(TMessageFilesTest, WhatCannotBeOpenedSaysWhy)
{
    Platform.SetFile(u"C:\\old.msg", "x");
    EXPECT_EQ(Catch([&] { return Session->CreateMsgFile(u"C:\\old.msg", u""); }).Message,
              "TSession.CreateMsgFile failed!\r\nThe file C:\\old.msg exists already.");
    EXPECT_EQ(Catch([&] { return Session->OpenMsgFile(u"C:\\none.msg", alReadOnly); }).Message,
              "TSession.OpenMsgFile failed!\r\nThe file C:\\none.msg does not exist.");
    EXPECT_EQ(Catch([&] { return Session->OpenMsgFile(u"C:\\old.msg", alReadOnly); }).Message,
              "OpenMsgFile failed!\r\nThere is no structured storage for the file C:\\old.msg: neither the system nor "
              "the MAPI library offers StgOpenStorageEx.");
}

/// A store, and a message file that is there for the library and for the platform of the test.
class TStoreFilesTest : public TMessageFilesTest
{
protected:
    TStoreFilesTest()
    {
        Platform.SetFile(File, "x");
        Client->Stores->AddRow(
            {BinaryValue(GetPropTag(PR_ENTRYID), "STORE"), BoolValue(GetPropTag(PR_DEFAULT_STORE), true)});
        Session->Logon();
        Store = Session->OpenDefaultMsgStore(alReadWrite);
        Message->Bag.Set(TextValue(GetPropTag(PR_MESSAGE_CLASS), u"IPM.Note"));
        static_cast<void>(Take());
    }

    const TemporaryFolder Folder;
    const std::filesystem::path Path = Folder.Write("message.msg", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
    const WideString File = Path.u16string();
    TKwRef<IKwMAPIMsgStore> Store;
};

TEST_F(TStoreFilesTest, SavedAndImported)
{
    EXPECT_EQ(Catch([&] { return Store->OpenSavedMessage(File, alReadOnly); }).Code, 0x80040102u)
        << "this client has no structured storage";
    GiveStorage();
    EXPECT_EQ(Store->OpenSavedMessage(File, alReadWrite)->Get_MAPIOBJECT(), Message.Get());

    const auto inbox = Store->OpenFolderByType(ftInbox, alReadWrite);
    static_cast<void>(Take());
    Calls->Next("message.CopyTo", mapi::S_OK);
    const auto imported = inbox->ImportMessage(File);
    EXPECT_NE(imported->Get_MAPIOBJECT(), Message.Get());
    const std::string calls = Take();
    EXPECT_NE(calls.find("message.CopyTo([0x0FFF0102,0x0FF90102,0x0E090102,0x0FFB0102,0x0FFA0102],0x00000000)"),
              std::string::npos);
    EXPECT_LT(calls.find("CopyTo"), calls.find("SaveChanges"));
    Calls->Next("message.CopyTo", mapi::MAPI_E_CORRUPT_DATA);
    EXPECT_EQ(Catch([&] { return inbox->ImportMessage(File); }).ClassName, "EMAPI_CORRUPT_DATA");
    EXPECT_EQ(Calls->Count("message.SaveChanges"), 0u) << "nothing is left behind";
    Folder.Write("message.msg", ""); // empty: no compound file
    EXPECT_EQ(Catch([&] { return inbox->ImportMessage(File); }).Message,
              "The IConverterSession is not supported by your Outlook version!");
}

TEST_F(TStoreFilesTest, Dropped)
{
    GiveStorage();
    const TKwComPtr<TScriptedStorage> storage(new TScriptedStorage);
    EXPECT_EQ(Store->OpenDroppedMessage(*storage, alBestAccess)->Get_AccessLevel(), alReadWrite);
    static_cast<void>(TakeCalls());
    Store->SaveDroppedMessage(*storage, u"C:\\dropped.msg");
    EXPECT_EQ(TakeCalls(), "StgCreateStorageEx(C:\\dropped.msg,0x00010012)\nSetClass(message)\nstorage.CopyTo()\n"
                           "storage.Commit(0x00000000)\nstorage released()\n");
    EXPECT_EQ(Catch([&] { Store->SaveDroppedMessage(*storage, File); }).Message,
              "TKwMAPIMsgStore.SaveDroppedMessage failed!\r\nThe file " + Path.string() + " exists already.");
}

} // namespace
} // namespace deftmapi::test

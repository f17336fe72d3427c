// What a folder does with what is in it: copying, moving, emptying, finding messages, their status, and what it
// refuses.
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/session/FailureNames.hpp"
#include "tests/session/StoreFixture.hpp"

#include <gtest/gtest.h>

namespace deftmapi::test
{
namespace
{

class TFolderCopyTest : public TStoreTest
{
protected:
    TFolderCopyTest() : Inbox(OpenInbox())
    {
        Session->Window = 77;
        Object->AddFolder("TARGET", u"Target");
        Target = Store->OpenFolder(ID("TARGET"), alReadWrite);
        static_cast<void>(Take());
    }

    TKwRef<IKwMAPIFolder> Inbox;
    TKwRef<IKwMAPIFolder> Target;
};

TEST_F(TFolderCopyTest, CopyFolder)
{
    Inbox->CopyFolder(ID("X"), *Target, u"Ä", false, false, false);
    Inbox->CopyFolder(ID("X"), *Target, u"", true, false, false);
    Inbox->CopyFolder(ID("X"), *Target, u"", false, true, false);
    Inbox->CopyFolder(ID("X"), *Target, u"", false, false, true);
    Calls->Next("CopyFolder", mapi::MAPI_E_BAD_CHARWIDTH);
    Inbox->CopyFolder(ID("X"), *Target, u"Ä", true, true, true);
    EXPECT_EQ(Take(), "CopyFolder(58,Target,\"Ä\",77,0x80000000)\nCopyFolder(58,Target,null,77,0x80000001)\n"
                      "CopyFolder(58,Target,null,77,0x80000010)\nCopyFolder(58,Target,null,77,0x80000002)\n"
                      "CopyFolder(58,Target,\"Ä\",77,0x80000013)\nCopyFolder(58,Target,'\xC4',77,0x00000013)");

    const std::pair<mapi::HRESULT, const char*> failures[] = {
        {mapi::MAPI_E_COLLISION,
         "A folder with the name given in the AFolderName parameter already exists. Folder names "
         "must be unique."},
        {mapi::MAPI_E_DECLINE_COPY, "The provider implements this method by calling a support object method and the "
                                    "caller has passed the MAPI_DECLINE_OK flag."}};
    const auto copy = [&] { Inbox->CopyFolder(ID("X"), *Target, u"", false, false, false); };
    const std::string failed = "TKwMAPIFolder.CopyFolder failed!\r\n";
    ExpectTexts(*Calls, "CopyFolder", failed, failures, copy);
    for (int i = 0; i < 2; ++i)
        Calls->Next("CopyFolder", mapi::MAPI_E_BAD_CHARWIDTH);
    EXPECT_EQ(Catch(copy),
              Failure("EMAPI_BAD_CHARWIDTH", 0x80040103,
                      failed + "Either the MAPI_UNICODE flag was set and the implementation does not support "
                               "Unicode, or MAPI_UNICODE was not set and the implementation only supports Unicode."));
    Calls->Next("CopyFolder", mapi::MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Catch(copy).ClassName, "EMAPI_W_PARTIAL_COMPLETION");
    KwAs<TKwMAPIFolder>(Target)->SetMAPIOBJECT(nullptr);
    EXPECT_EQ(Catch(copy), Failure("EMAPI_INVALID_PARAMETER", 0x80070057,
                                   "TKwMAPIFolder.CopyFolder failed!\r\nThe destination is no folder of MAPI."));
}

TEST_F(TFolderCopyTest, EmptyFolder)
{
    Inbox->EmptyFolder(false, false);
    Inbox->EmptyFolder(true, false);
    Inbox->EmptyFolder(true, true);
    EXPECT_EQ(Take(), "EmptyFolder(77,0x00000000)\nEmptyFolder(77,0x00000008)\nEmptyFolder(77,0x0000000A)");
    Calls->Next("EmptyFolder", mapi::MAPI_W_PARTIAL_COMPLETION);
    EXPECT_EQ(Catch([&] { Inbox->EmptyFolder(false, false); }),
              Failure("EKwMAPIException", 0x00040680,
                      "TKwMAPIFolder.EmptyFolder failed!\r\nThe call succeeded, but not all of the entries were "
                      "successfully deleted."));
}

TEST_F(TFolderCopyTest, MessagesAndTheirStatus)
{
    Inbox->CopyMessage(ID("M"), *Target, false);
    Inbox->CopyMessage(ID("M"), *Target, true);
    EXPECT_EQ(Take(), "CopyMessages(4D,Target,77,0x00000000)\nCopyMessages(4D,Target,77,0x00000001)");
    InboxObject->Status = mapi::MSGSTATUS_TAGGED | mapi::MSGSTATUS_HIDDEN;
    EXPECT_EQ(Inbox->Get_MessageStatus(ID("M")), 6u);
    Inbox->Set_MessageStatus(ID("M"), mapi::MSGSTATUS_HIGHLIGHTED);
    EXPECT_EQ(InboxObject->Status, 1u) << "bits that are not given are cleared";
}

TEST_F(TFolderCopyTest, SearchMessage)
{
    for (const char* id : {"M1", "M2"}) {
        InboxObject->Contents->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), id)});
        InboxObject->Messages[id] = TKwComPtr<TScriptedMessage>(new TScriptedMessage(Calls, std::string(id) + "."));
    }
    InboxObject->Contents->Matches = [](const TScriptedTable::TRow& row) {
        return HexOf(2, row[0].Value().Value.bin.lpb) == "4D32";
    };
    TKwRef<IKwMAPIMessage> message;
    EXPECT_TRUE(Inbox->SearchMessage(ID("KEY"), alReadWrite, message));
    EXPECT_EQ(message->Get_MAPIOBJECT(), InboxObject->Messages["M2"].Get());
    const std::string calls = Take();
    EXPECT_NE(calls.find("FindRow("), std::string::npos);
    EXPECT_NE(calls.find("INBOX.OpenEntry(M2,0x00000001)"), std::string::npos);
    InboxObject->Contents->Matches = [](const TScriptedTable::TRow&) { return false; };
    EXPECT_FALSE(Inbox->SearchMessage(ID("KEY"), alReadOnly, message));
    EXPECT_EQ(message, nullptr);
    static_cast<void>(Take());
    EXPECT_FALSE(Inbox->SearchMessage(TKwNull{}, alReadOnly, message)); // else every message without a key were found
    EXPECT_EQ(Take(), "");
}

TEST_F(TFolderCopyTest, FoldersByType)
{
    const std::pair<TKwMAPIFolderType, const char16_t*> classes[] = {{ftAppointment, u"IPF.Appointment"},
                                                                     {ftJournal, u"IPF.Journal"},
                                                                     {ftStickyNote, u"IPF.StickyNote"},
                                                                     {ftTask, u"IPF.Task"},
                                                                     {ftContact, u"IPF.Note"},
                                                                     {ftInbox, u"IPF.Note"},
                                                                     {ftPlain, u"IPF.Note"}};
    for (const auto& [type, containerClass] : classes) {
        InboxObject->Created = Object->AddFolder("NEW");
        EXPECT_EQ(Inbox->CreateFolderByType(type, u"x", u"", false)->Get_ContainerClass(), containerClass);
    }
}

TEST_F(TFolderCopyTest, SynchronizersNeedExchange)
{
    EXPECT_EQ(Catch([&] { return Inbox->GetContentsSynchronizer(); }),
              Failure("EMAPI_NOT_SUPPORTED", 26,
                      "This ICS functionality is only available when connected to an Exchange server!"));
    Session->ConnectedToExchange = true;
    EXPECT_EQ(Catch([&] { return Inbox->GetHierarchySynchronizer(); }).Message.substr(0, 34),
              "TKwMAPIFolder.OpenProperty failed!");
    EXPECT_NE(Take().find("OpenProperty(0x662C000D"), std::string::npos);

    struct TExporter final : TScriptedUnknown<mapi::IExchangeExportChanges>
    {
        TExporter() : TScriptedUnknown({mapi::IID_IExchangeExportChanges}) {}
        using HRESULT = mapi::HRESULT;
        using ULONG = mapi::ULONG;
        HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT, ULONG, mapi::LPMAPIERROR*) override { return mapi::S_OK; }
        DEFTMAPI_REFUSED(Config, mapi::LPSTREAM, ULONG, mapi::LPUNKNOWN, mapi::LPSRestriction, mapi::LPSPropTagArray,
                         mapi::LPSPropTagArray, ULONG)
        DEFTMAPI_REFUSED(Synchronize, ULONG*, ULONG*)
        DEFTMAPI_REFUSED(UpdateState, mapi::LPSTREAM)
        static HRESULT Refused(const char*) { return mapi::MAPI_E_NO_SUPPORT; }
    };
    const TKwComPtr<TExporter> exporter(new TExporter);
    InboxObject->Bag.OpenStream = [&](auto&&...) { return TKwComPtr<mapi::IUnknown>(exporter.Get()).Detach(); };
    EXPECT_EQ(Inbox->GetContentsSynchronizer().Get(), exporter.Get());
    EXPECT_EQ(exporter->RefCount(), 1u);
    EXPECT_EQ(Take(), "INBOX.OpenProperty(0x662D000D," + Hex(mapi::IID_IExchangeExportChanges.Data1) +
                          ",0x00000000,0x00000000)");
}

/// A container of a kind that a test says.
class TContainerTest : public TFolderCopyTest
{
protected:
    TKwRef<TKwMAPIContainer> Wrap(mapi::ULONG objectType)
    {
        InboxObject->Bag.Set(LongValue(GetPropTag(PR_OBJECT_TYPE), static_cast<std::int32_t>(objectType)));
        const auto container = KwMake<TKwMAPIContainer>(*Store);
        container->SetMAPIOBJECT(InboxObject.Get());
        static_cast<void>(Take());
        return container;
    }
};

TEST_F(TContainerTest, KindsAndWhatTheyOffer)
{
    InboxObject->Bag.Set(BinaryValue(GetPropTag(PR_DEF_CREATE_MAILUSER), "USER"));
    const auto book = Wrap(mapi::MAPI_ABCONT);
    EXPECT_EQ(book->Get_ContainerType(), ctABContainer);
    EXPECT_EQ(book->_GetTemplateID(otRecipient), ID("USER"));
    EXPECT_TRUE(book->_GetTemplateID(otDistributionList).IsNull());
    EXPECT_EQ(Catch([&] { return book->_GetTemplateID(otMessage); }).Message,
              "The specified objecttype is not supported");
    const auto list = Wrap(mapi::MAPI_DISTLIST);
    EXPECT_EQ(Catch([&] { return list->_GetTemplateID(otRecipient); }).Message, "Invalid Containertype");
    EXPECT_EQ(Catch([&] { return list->GetHierarchyTable(false); }).Message.substr(0, 37),
              "TKwMAPIContainer.OpenProperty failed!");
    static_cast<void>(Take());
    InboxObject->AddChild("A", u"Member");
    InboxObject->Bag.OpenStream = [&](auto&&...) {
        return TKwComPtr<mapi::IUnknown>(InboxObject->Hierarchy.Get()).Detach();
    };
    Calls->Next("INBOX.OpenProperty", mapi::MAPI_E_BAD_CHARWIDTH);
    const auto members = list->GetHierarchyTable(true);
    const std::string property = "INBOX.OpenProperty(0x360E000D," + Hex(mapi::IID_IMAPITable.Data1);
    EXPECT_EQ(Take(), property + ",0x80000001,0x00000000)\n" + property + ",0x00000001,0x00000000)");
    members->Get_Fields()->Add(PR_DISPLAY_NAME);
    members->First();
    EXPECT_EQ(members->GetFieldValue(PR_DISPLAY_NAME).AsStringW(), u"Member");
    for (int i = 0; i < 2; ++i)
        Calls->Next("INBOX.OpenProperty", mapi::MAPI_E_BAD_CHARWIDTH);
    EXPECT_EQ(Catch([&] { return list->GetHierarchyTable(false); }).Message.substr(0, 35),
              "TKwMAPIContainer.GetHierarchyTable ");
    InboxObject->Bag.OpenStream = nullptr;

    TKwMAPIObjectType type = otUnknown;
    InboxObject->Messages["M"] = TKwComPtr<TScriptedMessage>(new TScriptedMessage(Calls));
    EXPECT_EQ(Inbox->OpenEntry(ID("M"), nullptr, 0, type).Get(), InboxObject->Messages["M"].Get());
    EXPECT_EQ(type, otMessage);
    EXPECT_EQ(Catch([&] { return Wrap(0)->OpenEntry(ID("M"), nullptr, 0, type); }),
              Failure("EMAPI_NOT_SUPPORTED", 26, "OpenEntry is not supported for this containertype"));
}

} // namespace
} // namespace deftmapi::test

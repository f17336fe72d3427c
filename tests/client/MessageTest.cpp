// Messages: properties, saving, conflicts, recipients, attachments, embedded messages.
#include "tests/client/StoreFixture.hpp"

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

class MessageTest : public StoreTest
{};

TEST_F(MessageTest, NothingIsVisibleBeforeSaveChangesAndEverythingAfter)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"Re: Kostenvoranschlag \u00e4\u20ac\U0001F4E7");
    EXPECT_EQ(Get(*message, tag::EntryId).Error(), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Get(*message, tag::ParentEntryId).Error(), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 0);
    const Bytes id = Save(*message);
    EXPECT_EQ(id.size(), 48u);
    EXPECT_EQ(Get(*inbox, tag::ContentCount).Number(), 1);
    message.Reset();

    auto again = OpenMessage(id, 0);
    EXPECT_EQ(Get(*again, tag::Subject).Wide(), u"Re: Kostenvoranschlag \u00e4\u20ac\U0001F4E7");
    EXPECT_EQ(Get(*again, tag::SubjectPrefix).Wide(), u"Re: ");
    EXPECT_EQ(Get(*again, tag::NormalizedSubject).Wide(), u"Kostenvoranschlag \u00e4\u20ac\U0001F4E7");
    EXPECT_EQ(Get(*again, tag::ParentEntryId).Blob(), InboxId());
    EXPECT_EQ(Get(*again, tag::MessageClass).Wide(), u"IPM.Note");
    EXPECT_EQ(Get(*again, tag::MessageFlags).Number(), mapi::LONG(MSGFLAG_READ | MSGFLAG_UNSENT | MSGFLAG_UNMODIFIED));
    EXPECT_EQ(Get(*again, tag::SearchKey).Blob().size(), 16u);
    EXPECT_GT(Get(*again, tag::MessageSize).Number(), 0);
}

TEST_F(MessageTest, EveryTypeComesBackAsItWasSet)
{
    constexpr ULONG Base = 0x66010000; // a range that nothing else uses
    GUID guid = PS_PUBLIC_STRINGS;
    Bytes raw = Pattern(300);
    std::u16string lone = u"a\xD800"
                          u"b";
    std::int16_t shorts[] = {1, -2};
    LONG longs[] = {1, -2, 3};
    double doubles[] = {0.5};
    LPWSTR wides[] = {const_cast<LPWSTR>(u"x"), const_cast<LPWSTR>(u"")};
    SBinary binaries[] = {{3, raw.data()}, {0, nullptr}};
    FILETIME times[] = {{1, 2}};
    GUID guids[] = {guid, guid};
    LARGE_INTEGER larges[1];
    larges[0].QuadPart = -5000000000LL;
    std::vector<SPropValue> values(17);
    const auto at = [&](std::size_t i, ULONG type) -> UPV& {
        values[i].ulPropTag = Base + (static_cast<ULONG>(i) << 16) + type;
        return values[i].Value;
    };
    at(0, PT_I2).i = -7;
    at(1, PT_LONG).l = -70000;
    at(2, PT_R4).flt = 1.25F;
    at(3, PT_DOUBLE).dbl = -2.5;
    at(4, PT_CURRENCY).cur.int64 = 12345678901;
    at(5, PT_APPTIME).at = 40000.25;
    at(6, PT_BOOLEAN).b = 1;
    at(7, PT_I8).li.QuadPart = -9000000000LL;
    at(8, PT_SYSTIME).ft = {0xFFFFFFFF, 0x01D00000};
    at(9, PT_CLSID).lpguid = &guid;
    at(10, PT_UNICODE).lpszW = lone.data();
    at(11, PT_BINARY).bin = {static_cast<ULONG>(raw.size()), raw.data()};
    at(12, PT_MV_I2).MVi = {2, shorts};
    at(13, PT_MV_LONG).MVl = {3, longs};
    at(14, PT_MV_UNICODE).MVszW = {2, wides};
    at(15, PT_MV_BINARY).MVbin = {2, binaries};
    at(16, PT_MV_CLSID).MVguid = {2, guids};
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"types");
    Set(*message, values);
    std::vector<SPropValue> more(3);
    more[0].ulPropTag = 0x66200000 | PT_MV_DOUBLE;
    more[0].Value.MVdbl = {1, doubles};
    more[1].ulPropTag = 0x66210000 | PT_MV_SYSTIME;
    more[1].Value.MVft = {1, times};
    more[2].ulPropTag = 0x66220000 | PT_MV_I8;
    more[2].Value.MVli = {1, larges};
    Set(*message, more);
    const Bytes id = Save(*message);
    message.Reset();

    auto again = OpenMessage(id, 0);
    values.insert(values.end(), more.begin(), more.end());
    for (const SPropValue& value : values) {
        const Got got = Get(*again, value.ulPropTag);
        ASSERT_FALSE(got.IsError()) << std::hex << value.ulPropTag;
        const Prop before = FromInterface(value);
        const Prop after = FromInterface(*got.value.Get());
        EXPECT_TRUE(before.data == after.data) << std::hex << value.ulPropTag;
    }
}

TEST_F(MessageTest, TextConvertsBetweenWidthsAndUnspecifiedTakesTheOwnType)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"Gr\u00fc\u00dfe \u4e2d");
    EXPECT_EQ(Get(*message, CHANGE_PROP_TYPE(tag::Subject, PT_STRING8)).Narrow(), "Gr\xfc\xdf"
                                                                                  "e ?");
    const Got wide = Get(*message, CHANGE_PROP_TYPE(tag::Subject, PT_UNSPECIFIED));
    EXPECT_EQ(wide.value->ulPropTag, tag::Subject);
    const Got narrow = Get(*message, CHANGE_PROP_TYPE(tag::Subject, PT_UNSPECIFIED), 0);
    EXPECT_EQ(narrow.value->ulPropTag, CHANGE_PROP_TYPE(tag::Subject, PT_STRING8));
    EXPECT_EQ(Get(*message, CHANGE_PROP_TYPE(tag::Subject, PT_LONG)).Error(), MAPI_E_NOT_FOUND);

    SPropValue eight{};
    eight.ulPropTag = CHANGE_PROP_TYPE(tag::Subject, PT_STRING8);
    eight.Value.lpszA = const_cast<char*>("caf\xe9");
    Set(*message, {eight});
    EXPECT_EQ(Get(*message, tag::Subject).Wide(), u"caf\u00e9");
}

TEST_F(MessageTest, ComputedPropertiesAreProblemsAndTheOthersAreStillSet)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"one");
    std::vector<SPropValue> values = {Long(tag::MessageSize, 5), Text(tag::ConversationTopic, u"topic"),
                                      Long(CHANGE_PROP_TYPE(tag::Subject, PT_LONG), 5)};
    MapiBuffer<SPropProblemArray> problems;
    EXPECT_EQ(message->SetProps(3, values.data(), problems.Out()), S_OK);
    ASSERT_TRUE(problems);
    ASSERT_EQ(problems->cProblem, 2u);
    EXPECT_EQ(problems->aProblem[0].ulIndex, 0u);
    EXPECT_EQ(problems->aProblem[0].scode, MAPI_E_COMPUTED);
    EXPECT_EQ(problems->aProblem[1].ulIndex, 2u);
    EXPECT_EQ(problems->aProblem[1].scode, MAPI_E_UNEXPECTED_TYPE);
    EXPECT_EQ(Get(*message, tag::ConversationTopic).Wide(), u"topic");
    EXPECT_EQ(Get(*message, tag::Subject).Wide(), u"one");

    EXPECT_EQ(message->DeleteProps(Tags{tag::ConversationTopic, tag::EntryId}, problems.Out()), S_OK);
    ASSERT_TRUE(problems);
    EXPECT_EQ(problems->aProblem[0].ulIndex, 1u);
    EXPECT_EQ(Get(*message, tag::ConversationTopic).Error(), MAPI_E_NOT_FOUND);
}

TEST_F(MessageTest, FlagsAreTheCallersBeforeTheFirstSaveAndOfSetReadFlagAfterwards)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"received");
    Set(*message, {Long(tag::MessageFlags, MSGFLAG_UNMODIFIED)});
    const Bytes id = Save(*message);
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 1);
    std::vector<SPropValue> late = {Long(tag::MessageFlags, MSGFLAG_READ)};
    MapiBuffer<SPropProblemArray> problems;
    EXPECT_EQ(message->SetProps(1, late.data(), problems.Out()), S_OK);
    ASSERT_TRUE(problems);
    EXPECT_EQ(problems->aProblem[0].scode, MAPI_E_COMPUTED);

    auto other = OpenMessage(id);
    EXPECT_EQ(other->SetReadFlag(0), S_OK);
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 0);
    // An object opened before does not undo it, and its save is no conflict.
    Set(*message, {Text(tag::ConversationTopic, u"x")});
    EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(Get(*message, tag::MessageFlags).Number(), mapi::LONG(MSGFLAG_READ));
    EXPECT_EQ(message->SetReadFlag(CLEAR_READ_FLAG), S_OK);
    EXPECT_EQ(Get(*inbox, tag::ContentUnread).Number(), 1);
}

TEST_F(MessageTest, SaveNoticesWhatOthersDid)
{
    auto inbox = Inbox();
    auto first = NewMessage(*inbox, u"one");
    const Bytes id = Save(*first);
    auto second = OpenMessage(id);
    Set(*second, {Text(tag::Subject, u"two")});
    Set(*first, {Text(tag::Subject, u"three")});
    EXPECT_EQ(second->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_CHANGED);
    MapiBuffer<MAPIERROR> error;
    EXPECT_EQ(first->GetLastError(MAPI_E_OBJECT_CHANGED, MAPI_UNICODE, error.Out()), S_OK);
    ASSERT_TRUE(error);
    EXPECT_NE(std::u16string(static_cast<LPWSTR>(error->lpszError)).find(u"changed"), std::u16string::npos);
    EXPECT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE | FORCE_SAVE), S_OK);
    EXPECT_EQ(Get(*OpenMessage(id), tag::Subject).Wide(), u"three");

    Set(*first, {Text(tag::Subject, u"four")});
    EXPECT_EQ(Get(*second, tag::Subject).Wide(), u"three"); // loaded, and not again when it is deleted
    SBinary entry{static_cast<ULONG>(id.size()), const_cast<BYTE*>(id.data())};
    ENTRYLIST list{1, &entry};
    EXPECT_EQ(inbox->DeleteMessages(&list, 0, nullptr, 0), S_OK);
    EXPECT_EQ(first->SaveChanges(FORCE_SAVE), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(second->SetReadFlag(CLEAR_READ_FLAG), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(Get(*second, tag::MessageFlags).Number() & MSGFLAG_READ, MSGFLAG_READ);
    EXPECT_EQ(inbox->DeleteMessages(&list, 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
}

TEST_F(MessageTest, ReadOnlyObjectsRefuseChanges)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"one");
    const Bytes id = Save(*message);
    auto readOnly = OpenMessage(id, 0);
    EXPECT_EQ(Get(*readOnly, tag::AccessLevel).Number(), 0);
    std::vector<SPropValue> values = {Text(tag::Subject, u"two")};
    EXPECT_EQ(readOnly->SetProps(1, values.data(), nullptr), MAPI_E_NO_ACCESS);
    EXPECT_EQ(readOnly->SaveChanges(0), MAPI_E_NO_ACCESS);
    EXPECT_EQ(Modify(*readOnly, MODRECIP_ADD, {{u"A", u"a@example.org"}}), MAPI_E_NO_ACCESS);
    auto best = OpenMessage(id, MAPI_BEST_ACCESS);
    EXPECT_EQ(Get(*best, tag::AccessLevel).Number(), 1);

    auto other = OpenAnother(false);
    ULONG type = 0;
    Ptr<IMessage> refused;
    EXPECT_EQ(other->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, MAPI_MODIFY, &type,
                               reinterpret_cast<LPUNKNOWN*>(Out(refused))),
              MAPI_E_NO_ACCESS);
    EXPECT_EQ(other->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), &IID_IMAPIFolder, 0, &type,
                               reinterpret_cast<LPUNKNOWN*>(Out(refused))),
              MAPI_E_INTERFACE_NOT_SUPPORTED);
}

TEST_F(MessageTest, UndefinedFlagsAreRefused)
{
    constexpr ULONG Bad = 0x00800000;
    const auto message = NewMessage(*Inbox(), u"flags");
    Ptr<IAttach> attachment;
    ULONG number = 0;
    ASSERT_EQ(message->CreateAttach(nullptr, 0, &number, Out(attachment)), S_OK);
    Ptr<IMAPITable> table;
    ADRLIST none{};
    EXPECT_EQ(message->GetAttachmentTable(Bad, Out(table)), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(message->GetRecipientTable(Bad, Out(table)), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(message->DeleteAttach(0, 0, nullptr, Bad), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(message->ModifyRecipients(Bad, &none), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(message->SubmitMessage(Bad), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(message->SubmitMessage(FORCE_SUBMIT), MAPI_E_NO_SUPPORT);
    EXPECT_EQ(message->SetReadFlag(Bad), MAPI_E_UNKNOWN_FLAGS);
    Ptr<IAttach> other;
    EXPECT_EQ(message->CreateAttach(nullptr, Bad, &number, Out(other)), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(message->OpenAttach(0, nullptr, Bad, Out(other)), MAPI_E_UNKNOWN_FLAGS);
    for (IMAPIProp* object : {static_cast<IMAPIProp*>(message.Get()), static_cast<IMAPIProp*>(attachment.Get())}) {
        ULONG count = 0;
        MapiBuffer<SPropValue> values;
        MapiBuffer<SPropTagArray> tags;
        Ptr<IUnknown> stream;
        EXPECT_EQ(object->GetProps(nullptr, Bad, &count, values.Out()), MAPI_E_UNKNOWN_FLAGS);
        EXPECT_EQ(object->GetPropList(Bad, tags.Out()), MAPI_E_UNKNOWN_FLAGS);
        EXPECT_EQ(object->GetIDsFromNames(0, nullptr, Bad, tags.Out()), MAPI_E_UNKNOWN_FLAGS);
        EXPECT_EQ(object->OpenProperty(tag::Body, &IID_IStream, 0, Bad, Out(stream)), MAPI_E_UNKNOWN_FLAGS);
        EXPECT_EQ(object->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMAPIProp, message.Get(), Bad, nullptr),
                  MAPI_E_UNKNOWN_FLAGS);
        EXPECT_EQ(object->SaveChanges(Bad), MAPI_E_UNKNOWN_FLAGS);
    }
}

TEST_F(MessageTest, RecipientsAreAddedChangedAndRemoved)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"to all");
    ASSERT_EQ(Modify(*message, MODRECIP_ADD,
                     {{u"Ada", u"ada@example.org"}, {u"Ben", u"ben@example.org", MAPI_CC}, {u"", u"c@example.org"}}),
              S_OK);
    EXPECT_EQ(Get(*message, tag::DisplayTo).Wide(), u"Ada; c@example.org");
    EXPECT_EQ(Get(*message, tag::DisplayCc).Wide(), u"Ben");
    const Bytes id = Save(*message);
    message = OpenMessage(id);
    ASSERT_EQ(Modify(*message, MODRECIP_REMOVE, {{u"Ada", u"", MAPI_TO, 0}}), S_OK);
    ASSERT_EQ(Modify(*message, MODRECIP_MODIFY, {{u"Benno", u"ben@example.org", MAPI_BCC, 1}}), S_OK);
    ASSERT_EQ(Modify(*message, MODRECIP_ADD, {{u"Dora", u"d@example.org"}}), S_OK);
    EXPECT_EQ(Modify(*message, MODRECIP_MODIFY, {{u"Nobody", u"", MAPI_TO, 77}}), MAPI_E_INVALID_PARAMETER);
    Save(*message);
    message = OpenMessage(id, 0);
    Ptr<IMAPITable> table;
    ASSERT_EQ(message->GetRecipientTable(MAPI_UNICODE, Out(table)), S_OK);
    const auto rows = Rows(*table, {tag::DisplayName, tag::RecipientType, tag::RowId, tag::EmailAddress});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(WideAt(rows[0], 0), u"Benno");
    EXPECT_EQ(NumberAt(rows[0], 1), MAPI_BCC);
    EXPECT_EQ(NumberAt(rows[0], 2), 1);
    EXPECT_EQ(WideAt(rows[2], 3), u"d@example.org");
    EXPECT_EQ(NumberAt(rows[2], 2), 3);
    EXPECT_EQ(Get(*message, tag::DisplayTo).Wide(), u"c@example.org; Dora");
    message = OpenMessage(id);
    ASSERT_EQ(Modify(*message, 0, {{u"Only", u"o@example.org"}}), S_OK);
    Save(*message);
    ASSERT_EQ(OpenMessage(id, 0)->GetRecipientTable(MAPI_UNICODE, Out(table)), S_OK);
    EXPECT_EQ(Rows(*table, {tag::DisplayName}).size(), 1u);
}

Ptr<IAttach> Attach(IMessage& message, const char16_t* name, const Bytes& data)
{
    ULONG num = 0;
    Ptr<IAttach> attachment;
    EXPECT_EQ(message.CreateAttach(nullptr, 0, &num, Out(attachment)), S_OK);
    Set(*attachment, {Text(tag::AttachLongFileName, name), Long(tag::AttachMethod, ATTACH_BY_VALUE)});
    auto stream = OpenStream(*attachment, tag::AttachDataBin, MAPI_CREATE | MAPI_MODIFY);
    EXPECT_EQ(stream->Write(data.data(), static_cast<ULONG>(data.size()), nullptr), S_OK);
    return attachment;
}

TEST_F(MessageTest, AttachmentsCountOnlyWhenTheyAndTheirMessageAreSaved)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"with files");
    const Bytes small = Pattern(100);
    const Bytes large = Pattern(300000, 2);
    Attach(*message, u"forgotten.bin", small); // released unsaved
    ASSERT_EQ(Attach(*message, u"small.bin", small)->SaveChanges(0), S_OK);
    ASSERT_EQ(Attach(*message, u"large.bin", large)->SaveChanges(0), S_OK);
    EXPECT_TRUE(Get(*message, tag::HasAttach).Flag());
    const Bytes id = Save(*message);
    ASSERT_EQ(Attach(*message, u"late.bin", small)->SaveChanges(0), S_OK); // the message is not saved again
    message = OpenMessage(id);
    Ptr<IMAPITable> table;
    ASSERT_EQ(message->GetAttachmentTable(MAPI_UNICODE, Out(table)), S_OK);
    auto rows = Rows(*table, {tag::AttachLongFileName, tag::AttachNum, tag::AttachSize});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(WideAt(rows[1], 0), u"large.bin");
    EXPECT_GT(NumberAt(rows[1], 2), 300000);
    EXPECT_GT(Get(*message, tag::MessageSize).Number(), 300000);
    Ptr<IAttach> attachment;
    ASSERT_EQ(message->OpenAttach(static_cast<ULONG>(NumberAt(rows[1], 1)), nullptr, 0, Out(attachment)), S_OK);
    EXPECT_EQ(Get(*attachment, tag::AttachDataBin).Error(), MAPI_E_NOT_ENOUGH_MEMORY);
    auto stream = OpenStream(*attachment, tag::AttachDataBin, 0);
    Bytes read(large.size() + 10);
    ULONG got = 0;
    EXPECT_EQ(stream->Read(read.data(), static_cast<ULONG>(read.size()), &got), S_FALSE);
    read.resize(got);
    EXPECT_TRUE(read == large);

    ASSERT_EQ(message->DeleteAttach(static_cast<ULONG>(NumberAt(rows[0], 1)), 0, nullptr, 0), S_OK);
    EXPECT_EQ(message->DeleteAttach(99, 0, nullptr, 0), MAPI_E_NOT_FOUND);
    Save(*message);
    ASSERT_EQ(OpenMessage(id, 0)->GetAttachmentTable(MAPI_UNICODE, Out(table)), S_OK);
    rows = Rows(*table, {tag::AttachLongFileName, tag::AttachNum});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(WideAt(rows[0], 0), u"large.bin");
}

TEST_F(MessageTest, EmbeddedMessagesNest)
{
    auto inbox = Inbox();
    auto outer = NewMessage(*inbox, u"level 0");
    const auto embed = [](IMessage& parent, const char16_t* subject, auto&& fill) {
        ULONG num = 0;
        Ptr<IAttach> attachment;
        ASSERT_EQ(parent.CreateAttach(nullptr, 0, &num, Out(attachment)), S_OK);
        Set(*attachment, {Long(tag::AttachMethod, ATTACH_EMBEDDED_MSG)});
        Ptr<IMessage> message;
        ASSERT_EQ(attachment->OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, MAPI_CREATE | MAPI_MODIFY,
                                           reinterpret_cast<LPUNKNOWN*>(Out(message))),
                  S_OK);
        Set(*message, {Text(tag::Subject, subject)});
        fill(*message);
        ASSERT_EQ(message->SaveChanges(0), S_OK);
        ASSERT_EQ(attachment->SaveChanges(0), S_OK);
    };
    embed(*outer, u"level 1", [&](IMessage& level1) {
        ASSERT_EQ(Modify(level1, MODRECIP_ADD, {{u"Inner", u"inner@example.org"}}), S_OK);
        embed(level1, u"level 2",
              [&](IMessage& level2) { ASSERT_EQ(Attach(level2, u"deep.bin", Pattern(100000))->SaveChanges(0), S_OK); });
    });
    const Bytes id = Save(*outer);
    outer.Reset();
    const auto open = [](IMessage& parent, ULONG flags) {
        Ptr<IAttach> attachment;
        EXPECT_EQ(parent.OpenAttach(0, nullptr, flags, Out(attachment)), S_OK);
        Ptr<IMessage> message;
        EXPECT_EQ(attachment->OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, flags,
                                           reinterpret_cast<LPUNKNOWN*>(Out(message))),
                  S_OK);
        return std::pair(attachment, message);
    };
    {
        auto message = OpenMessage(id);
        auto [attach1, level1] = open(*message, MAPI_MODIFY);
        EXPECT_EQ(Get(*level1, tag::Subject).Wide(), u"level 1");
        EXPECT_EQ(Get(*level1, tag::DisplayTo).Wide(), u"Inner");
        auto [attach2, level2] = open(*level1, MAPI_MODIFY);
        EXPECT_EQ(Get(*level2, tag::Subject).Wide(), u"level 2");
        EXPECT_TRUE(Get(*level2, tag::HasAttach).Flag());
        Set(*level2, {Text(tag::Subject, u"level 2, changed")});
        ASSERT_EQ(level2->SaveChanges(0), S_OK);
        ASSERT_EQ(attach2->SaveChanges(0), S_OK);
        ASSERT_EQ(level1->SaveChanges(0), S_OK);
        ASSERT_EQ(attach1->SaveChanges(0), S_OK);
        Save(*message);
    }
    auto message = OpenMessage(id, 0);
    auto [attach1, level1] = open(*message, 0);
    auto [attach2, level2] = open(*level1, 0);
    EXPECT_EQ(Get(*level2, tag::Subject).Wide(), u"level 2, changed");
    Ptr<IAttach> file;
    ASSERT_EQ(level2->OpenAttach(0, nullptr, 0, Out(file)), S_OK);
    EXPECT_EQ(Get(*file, tag::AttachLongFileName).Wide(), u"deep.bin");

    // Copies carry all levels; deletion leaves none of it behind.
    auto copy = NewMessage(*inbox, u"copy");
    ASSERT_EQ(message->CopyTo(0, nullptr, nullptr, 0, nullptr, &IID_IMessage, copy.Get(), 0, nullptr), S_OK);
    Save(*copy);
    auto [copy1, copiedLevel1] = open(*copy, 0);
    auto [copy2, copiedLevel2] = open(*copiedLevel1, 0);
    EXPECT_EQ(Get(*copiedLevel2, tag::Subject).Wide(), u"level 2, changed");
    EXPECT_EQ(inbox->EmptyFolder(0, nullptr, 0), S_OK);
    for (const char* table : {"messages", "bags", "attachments", "large_values", "chunks"})
        EXPECT_EQ(Db().Scalar(std::string("SELECT count(*) FROM ") + table), 0) << table;
}

TEST_F(MessageTest, NamedPropertiesKeepTheirIdentifiers)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"named");
    GUID set = PS_PUBLIC_STRINGS;
    GUID mapiSet = PS_MAPI;
    MAPINAMEID keywords{&set, MNID_STRING, {}};
    keywords.Kind.lpwstrName = const_cast<LPWSTR>(u"Keywords");
    MAPINAMEID number{&set, MNID_ID, {}};
    number.Kind.lID = 0x8502;
    MAPINAMEID predefined{&mapiSet, MNID_ID, {}};
    predefined.Kind.lID = 0x0037;
    LPMAPINAMEID names[] = {&keywords, &number, &predefined};
    MapiBuffer<SPropTagArray> tags;
    EXPECT_EQ(message->GetIDsFromNames(3, names, 0, tags.Out()), MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(PROP_TYPE(tags->aulPropTag[0]), PT_ERROR);
    EXPECT_EQ(PROP_ID(tags->aulPropTag[2]), 0x0037u);
    ASSERT_EQ(message->GetIDsFromNames(3, names, MAPI_CREATE, tags.Out()), S_OK);
    const ULONG first = tags->aulPropTag[0];
    EXPECT_GE(PROP_ID(first), 0x8000u);
    EXPECT_NE(PROP_ID(first), PROP_ID(tags->aulPropTag[1]));

    auto other = OpenAnother();
    MapiBuffer<SPropTagArray> again;
    ASSERT_EQ(other->GetIDsFromNames(3, names, 0, again.Out()), S_OK);
    EXPECT_EQ(again->aulPropTag[0], first);
    LPSPropTagArray wanted = again.Get();
    ULONG count = 0;
    MapiBuffer<LPMAPINAMEID> found;
    ASSERT_EQ(other->GetNamesFromIDs(&wanted, nullptr, 0, &count, found.Out()), S_OK);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(std::u16string(found.Get()[0]->Kind.lpwstrName), u"Keywords");
    EXPECT_EQ(found.Get()[1]->Kind.lID, 0x8502);
    EXPECT_EQ(*found.Get()[2]->lpguid, PS_MAPI);
    ASSERT_EQ(other->GetNamesFromIDs(&wanted, nullptr, MAPI_NO_STRINGS, &count, found.Out()), MAPI_W_ERRORS_RETURNED);
    EXPECT_EQ(found.Get()[0], nullptr);
}

} // namespace
} // namespace deftmapi::client::test

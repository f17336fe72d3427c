// Messages: properties, saving, conflicts, recipients, attachments, embedded messages.
#include "tests/client/FolderFixture.hpp"

namespace deftmapi::client::test
{
namespace
{

class MessageTest : public FolderCalls
{
protected:
    using Problems = std::vector<std::pair<ULONG, SCODE>>; // which value, and why
    static Problems ProblemsOf(const MapiBuffer<SPropProblemArray>& problems)
    {
        Problems all;
        for (ULONG i = 0; problems && i < problems->cProblem; ++i)
            all.emplace_back(problems->aProblem[i].ulIndex, problems->aProblem[i].scode);
        return all;
    }
    static Problems Try(IMAPIProp& object, std::vector<SPropValue> values)
    {
        MapiBuffer<SPropProblemArray> problems;
        EXPECT_EQ(object.SetProps(static_cast<ULONG>(values.size()), values.data(), problems.Out()), S_OK);
        return ProblemsOf(problems);
    }
};

TEST_F(MessageTest, NothingIsVisibleBeforeSaveChangesAndEverythingAfter)
{
    auto message = NewMessage(*FInbox, u"Re: Kostenvoranschlag \u00e4\u20ac\U0001F4E7");
    EXPECT_EQ(Say(*message, {tag::EntryId, tag::ParentEntryId}), "-|-");
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 0);
    const Bytes id = Save(*message);
    EXPECT_EQ(id.size(), 48u);
    EXPECT_EQ(Get(*FInbox, tag::ContentCount).Number(), 1);
    message.Reset();

    auto again = OpenMessage(id, 0);
    EXPECT_EQ(Say(*again, {tag::Subject, tag::SubjectPrefix, tag::NormalizedSubject, tag::MessageClass}),
              "Re: Kostenvoranschlag \u00e4\u20ac\U0001F4E7|Re: |Kostenvoranschlag \u00e4\u20ac\U0001F4E7|IPM.Note");
    EXPECT_EQ(Get(*again, tag::ParentEntryId).Blob(), InboxId());
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
    std::vector<SPropValue> values;
    const auto add = [&](ULONG type) -> UPV& {
        values.push_back({Base + (static_cast<ULONG>(values.size()) << 16) + type, 0, {}});
        return values.back().Value;
    };
    add(PT_I2).i = -7;
    add(PT_LONG).l = -70000;
    add(PT_R4).flt = 1.25F;
    add(PT_DOUBLE).dbl = -2.5;
    add(PT_CURRENCY).cur.int64 = 12345678901;
    add(PT_APPTIME).at = 40000.25;
    add(PT_BOOLEAN).b = 1;
    add(PT_I8).li.QuadPart = -9000000000LL;
    add(PT_SYSTIME).ft = {0xFFFFFFFF, 0x01D00000};
    add(PT_CLSID).lpguid = &guid;
    add(PT_UNICODE).lpszW = lone.data();
    add(PT_BINARY).bin = {static_cast<ULONG>(raw.size()), raw.data()};
    add(PT_MV_I2).MVi = {2, shorts};
    add(PT_MV_LONG).MVl = {3, longs};
    add(PT_MV_UNICODE).MVszW = {2, wides};
    add(PT_MV_BINARY).MVbin = {2, binaries};
    add(PT_MV_CLSID).MVguid = {2, guids};
    add(PT_MV_DOUBLE).MVdbl = {1, doubles};
    add(PT_MV_SYSTIME).MVft = {1, times};
    add(PT_MV_I8).MVli = {1, larges};
    auto message = NewMessage(*FInbox, u"types");
    Set(*message, values);
    const Bytes id = Save(*message);
    message.Reset();

    auto again = OpenMessage(id, 0);
    for (const SPropValue& value : values) {
        const Got got = Get(*again, value.ulPropTag);
        ASSERT_FALSE(got.IsError()) << std::hex << value.ulPropTag;
        EXPECT_TRUE(FromInterface(*got.value.Get()).data == FromInterface(value).data) << std::hex << value.ulPropTag;
    }
}

TEST_F(MessageTest, TextConvertsBetweenWidthsAndUnspecifiedTakesTheOwnType)
{
    auto message = NewMessage(*FInbox, u"Gr\u00fc\u00dfe \u4e2d");
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
    auto message = NewMessage(*FInbox, u"one");
    EXPECT_EQ(Try(*message, {Long(tag::MessageSize, 5), Text(tag::ConversationTopic, u"topic"),
                             Long(CHANGE_PROP_TYPE(tag::Subject, PT_LONG), 5)}),
              (Problems{{0, MAPI_E_COMPUTED}, {2, MAPI_E_UNEXPECTED_TYPE}}));
    EXPECT_EQ(Say(*message, {tag::ConversationTopic, tag::Subject}), "topic|one");

    MapiBuffer<SPropProblemArray> problems;
    EXPECT_EQ(message->DeleteProps(Tags{tag::ConversationTopic, tag::EntryId}, problems.Out()), S_OK);
    ASSERT_EQ(ProblemsOf(problems).size(), 1u);
    EXPECT_EQ(problems->aProblem[0].ulIndex, 1u);
    EXPECT_EQ(Say(*message, {tag::ConversationTopic}), "-");
}

TEST_F(MessageTest, FlagsAreTheCallersBeforeTheFirstSaveAndOfSetReadFlagAfterwards)
{
    auto message = NewMessage(*FInbox, u"received");
    Set(*message, {Long(tag::MessageFlags, MSGFLAG_UNMODIFIED)});
    const Bytes id = Save(*message);
    EXPECT_EQ(Get(*FInbox, tag::ContentUnread).Number(), 1);
    EXPECT_EQ(Try(*message, {Long(tag::MessageFlags, MSGFLAG_READ)}), (Problems{{0, MAPI_E_COMPUTED}}));

    auto other = OpenMessage(id);
    EXPECT_EQ(other->SetReadFlag(0), S_OK);
    EXPECT_EQ(Get(*FInbox, tag::ContentUnread).Number(), 0);
    // An object opened before does not undo it, and its save is no conflict.
    Set(*message, {Text(tag::ConversationTopic, u"x")});
    EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(Get(*message, tag::MessageFlags).Number(), mapi::LONG(MSGFLAG_READ));
    EXPECT_EQ(message->SetReadFlag(CLEAR_READ_FLAG), S_OK);
    EXPECT_EQ(Get(*FInbox, tag::ContentUnread).Number(), 1);
}

TEST_F(MessageTest, SaveNoticesWhatOthersDid)
{
    auto first = NewMessage(*FInbox, u"one");
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
    Ids list({id});
    EXPECT_EQ(FInbox->DeleteMessages(list, 0, nullptr, 0), S_OK);
    EXPECT_EQ(first->SaveChanges(FORCE_SAVE), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(second->SetReadFlag(CLEAR_READ_FLAG), MAPI_E_OBJECT_DELETED);
    EXPECT_EQ(Get(*second, tag::MessageFlags).Number() & MSGFLAG_READ, MSGFLAG_READ);
    EXPECT_EQ(FInbox->DeleteMessages(list, 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
}

TEST_F(MessageTest, ReadOnlyObjectsRefuseChanges)
{
    auto message = NewMessage(*FInbox, u"one");
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
    const auto message = NewMessage(*FInbox, u"flags");
    const auto attachment = NewAttachment(*message);
    ULONG number = 0;
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
    auto message = NewMessage(*FInbox, u"to all");
    ASSERT_EQ(Modify(*message, MODRECIP_ADD,
                     {{u"Ada", u"ada@example.org"}, {u"Ben", u"ben@example.org", MAPI_CC}, {u"", u"c@example.org"}}),
              S_OK);
    EXPECT_EQ(Say(*message, {tag::DisplayTo, tag::DisplayCc}), "Ada; c@example.org|Ben");
    const Bytes id = Save(*message);
    message = OpenMessage(id);
    ASSERT_EQ(Modify(*message, MODRECIP_REMOVE, {{u"Ada", u"", MAPI_TO, 0}}), S_OK);
    ASSERT_EQ(Modify(*message, MODRECIP_MODIFY, {{u"Benno", u"ben@example.org", MAPI_BCC, 1}}), S_OK);
    ASSERT_EQ(Modify(*message, MODRECIP_ADD, {{u"Dora", u"d@example.org"}}), S_OK);
    EXPECT_EQ(Modify(*message, MODRECIP_MODIFY, {{u"Nobody", u"", MAPI_TO, 77}}), MAPI_E_INVALID_PARAMETER);
    Save(*message);
    message = OpenMessage(id, 0);
    const auto recipients = [](IMessage& of) {
        Ptr<IMAPITable> table;
        EXPECT_EQ(of.GetRecipientTable(MAPI_UNICODE, Out(table)), S_OK);
        return Say(Rows(*table, {tag::DisplayName, tag::RecipientType, tag::RowId, tag::EmailAddress}));
    };
    EXPECT_EQ(recipients(*message), "Benno|3|1|ben@example.org; |1|2|c@example.org; Dora|1|3|d@example.org");
    EXPECT_EQ(Get(*message, tag::DisplayTo).Wide(), u"c@example.org; Dora");
    message = OpenMessage(id);
    ASSERT_EQ(Modify(*message, 0, {{u"Only", u"o@example.org"}}), S_OK);
    Save(*message);
    EXPECT_EQ(recipients(*OpenMessage(id, 0)), "Only|1|0|o@example.org");
}

TEST_F(MessageTest, AttachmentsCountOnlyWhenTheyAndTheirMessageAreSaved)
{
    auto message = NewMessage(*FInbox, u"with files");
    const Bytes small = Pattern(100);
    const Bytes large = Pattern(300000, 2);
    Set(*NewAttachment(*message), {Text(tag::AttachLongFileName, u"forgotten.bin")}); // released unsaved
    Attach(*message, u"small.bin", small);
    auto written = Attach(*message, u"large.bin", {});
    EXPECT_EQ(OpenStream(*written, tag::AttachDataBin, MAPI_CREATE | MAPI_MODIFY)->Write(large.data(), 300000, nullptr),
              S_OK);
    EXPECT_EQ(written->SaveChanges(0), S_OK);
    EXPECT_TRUE(Get(*message, tag::HasAttach).Flag());
    const Bytes id = Save(*message);
    Attach(*message, u"late.bin", small); // the message is not saved again
    message = OpenMessage(id);
    Ptr<IMAPITable> table;
    ASSERT_EQ(message->GetAttachmentTable(MAPI_UNICODE, Out(table)), S_OK);
    const auto files = Rows(*table, {tag::AttachLongFileName, tag::AttachNum, tag::AttachSize});
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(WideAt(files[1], 0), u"large.bin");
    EXPECT_GT(NumberAt(files[1], 2), 300000);
    EXPECT_GT(Get(*message, tag::MessageSize).Number(), 300000);
    auto attachment = OpenAttachment(*message, static_cast<ULONG>(NumberAt(files[1], 1)), 0);
    EXPECT_GT(Get(*attachment, tag::AttachSize).Number(), 300000);
    EXPECT_EQ(Get(*attachment, tag::AttachDataBin).Error(), MAPI_E_NOT_ENOUGH_MEMORY);
    EXPECT_TRUE(Whole(*attachment, tag::AttachDataBin) == large);

    ASSERT_EQ(message->DeleteAttach(static_cast<ULONG>(NumberAt(files[0], 1)), 0, nullptr, 0), S_OK);
    EXPECT_EQ(message->DeleteAttach(99, 0, nullptr, 0), MAPI_E_NOT_FOUND);
    Save(*message);
    EXPECT_EQ(Say(Files(*OpenMessage(id, 0))), "large.bin|" + std::to_string(NumberAt(files[1], 1)));
}

TEST_F(MessageTest, EmbeddedMessagesNest)
{
    auto outer = NewMessage(*FInbox, u"level 0");
    Embed(*outer, u"level 1", [&](IMessage& level1) {
        ASSERT_EQ(Modify(level1, MODRECIP_ADD, {{u"Inner", u"inner@example.org"}}), S_OK);
        Embed(level1, u"level 2", [&](IMessage& level2) { Attach(level2, u"deep.bin", Pattern(100000)); });
    });
    const Bytes id = Save(*outer);
    outer.Reset();
    const auto open = [](IMessage& parent, ULONG flags) {
        auto attachment = OpenAttachment(parent, 0, flags);
        return std::pair(attachment, Embedded(*attachment, flags));
    };
    {
        auto message = OpenMessage(id);
        auto [attach1, level1] = open(*message, MAPI_MODIFY);
        EXPECT_EQ(Say(*level1, {tag::Subject, tag::DisplayTo}), "level 1|Inner");
        auto [attach2, level2] = open(*level1, MAPI_MODIFY);
        EXPECT_EQ(Say(*level2, {tag::Subject, tag::HasAttach}), "level 2|1");
        Set(*level2, {Text(tag::Subject, u"level 2, changed")});
        for (IMAPIProp* object :
             std::initializer_list<IMAPIProp*>{level2.Get(), attach2.Get(), level1.Get(), attach1.Get(), message.Get()})
            ASSERT_EQ(object->SaveChanges(0), S_OK);
    }
    auto message = OpenMessage(id, 0);
    // Copies carry all levels; deletion leaves none of it behind.
    auto copy = NewMessage(*FInbox, u"copy");
    ASSERT_EQ(CopyAll(*message, IID_IMessage, *copy, 0), S_OK);
    Save(*copy);
    for (const auto& one : {message, copy}) {
        auto [attach1, level1] = open(*one, 0);
        auto [attach2, level2] = open(*level1, 0);
        EXPECT_EQ(Say(*level2, {tag::Subject}), "level 2, changed");
        EXPECT_EQ(Say(*OpenAttachment(*level2, 0, 0), {tag::AttachLongFileName}), "deep.bin");
    }
    EXPECT_EQ(FInbox->EmptyFolder(0, nullptr, 0), S_OK);
    for (const char* table : {"messages", "bags", "attachments", "large_values", "chunks"})
        EXPECT_EQ(Db().Scalar(std::string("SELECT count(*) FROM ") + table), 0) << table;
}

TEST_F(MessageTest, NamedPropertiesKeepTheirIdentifiers)
{
    auto message = NewMessage(*FInbox, u"named");
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

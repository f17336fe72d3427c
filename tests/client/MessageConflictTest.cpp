// Two writers of one message: what FORCE_SAVE puts onto what the other has saved meanwhile.
#include "client/store/MessageRecords.hpp"
#include "tests/client/FolderFixture.hpp"

#include <optional>
#include <random>
#include <utility>

namespace deftmapi::client::test
{
namespace
{

constexpr std::size_t Large = 20000; // of a chunk of its own

class MessageConflictTest : public FolderCalls
{
protected:
    static void EmbedBody(IMessage& message, const char16_t* subject, const Bytes& body)
    {
        Embed(message, subject, [&](IMessage& embedded) {
            Set(embedded, {Binary(tag::Html, body)});
            EXPECT_EQ(Modify(embedded, 0, {{u"Ida", u"ida@example.org"}}), S_OK);
        });
    }
    /// Of a file, or of the message embedded in it.
    static void Change(IMessage& message, ULONG num, const SPropValue& value, bool embedded = false)
    {
        auto attachment = OpenAttachment(message, num);
        if (embedded) {
            auto inner = Embedded(*attachment, MAPI_MODIFY);
            Set(*inner, {value});
            EXPECT_EQ(inner->SaveChanges(0), S_OK);
        } else {
            Set(*attachment, {value});
        }
        EXPECT_EQ(attachment->SaveChanges(0), S_OK);
    }
    static void Force(IMessage& message)
    {
        ASSERT_EQ(message.SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_CHANGED);
        ASSERT_EQ(message.SaveChanges(KEEP_OPEN_READWRITE | FORCE_SAVE), S_OK);
    }
    static Bytes Html(IMAPIProp& object) { return Whole(object, tag::Html); }
};

TEST_F(MessageConflictTest, PropertiesThatWereNotChangedStayAsTheOtherLeftThem)
{
    auto mine = NewMessage(*FInbox, u"old");
    Set(*mine, {Binary(tag::Html, Pattern(Large)), Text(tag::ConversationTopic, u"gone")});
    Attach(*mine, u"a.txt", {1});
    const Bytes id = Save(*mine);
    auto other = OpenMessage(id);
    Get(*mine, tag::Subject); // loaded again
    Set(*other, {Binary(tag::Html, Pattern(Large, 2)), Long(tag::Importance, 2)});
    EXPECT_EQ(Modify(*other, 0, {{u"Eva", u"eva@example.org"}}), S_OK);
    EXPECT_EQ(other->DeleteAttach(0, 0, nullptr, 0), S_OK);
    Save(*other);
    Set(*mine, {Text(tag::Subject, u"AW: new"), Long(tag::Importance, 0)});
    EXPECT_EQ(mine->DeleteProps(Tags{tag::ConversationTopic}, nullptr), S_OK);
    Force(*mine);
    for (auto& message : {mine, OpenMessage(id, 0)}) {
        EXPECT_TRUE(Html(*message) == Pattern(Large, 2));
        EXPECT_EQ(Say(*message,
                      {tag::Subject, tag::NormalizedSubject, tag::Importance, tag::ConversationTopic, tag::DisplayTo}),
                  "AW: new|new|0|-|Eva");
        EXPECT_FALSE(Get(*message, tag::HasAttach).Flag());
        EXPECT_EQ(Get(*message, tag::MessageFlags).Number() & MSGFLAG_HASATTACH, 0);
    }
    // The other way round: recipients and attachments of the one, properties of the other.
    Get(*other, tag::Subject);
    Set(*mine, {Text(tag::SubjectPrefix, u"AW: n")});
    Save(*mine);
    EXPECT_EQ(Modify(*other, 0, {{u"Ada", u"ada@example.org"}}), S_OK);
    Attach(*other, u"b.txt", {2});
    Force(*other);
    EXPECT_EQ(Say(*other, {tag::NormalizedSubject, tag::DisplayTo}), "ew|Ada");
    EXPECT_TRUE(Get(*other, tag::HasAttach).Flag());
}

TEST_F(MessageConflictTest, DeletedAttachmentsComeBackWholeOrNotAtAll)
{
    auto mine = NewMessage(*FInbox, u"files");
    Attach(*mine, u"small", {1, 2, 3});
    Attach(*mine, u"large", Pattern(Large));
    Attach(*mine, u"renewed", Pattern(Large));
    EmbedBody(*mine, u"embedded", {7});
    EmbedBody(*mine, u"large embedded", Pattern(Large));
    const Bytes id = Save(*mine);
    auto small = OpenAttachment(*mine, 0);
    for (ULONG num = 0; num < 3; ++num)
        Change(*mine, num, Text(tag::DisplayName, u"changed"));
    Change(*mine, 2, Binary(tag::AttachDataBin, Pattern(Large, 3)));
    for (ULONG num = 3; num < 5; ++num)
        Change(*mine, num, Text(tag::Subject, u"changed"), true);
    auto other = OpenMessage(id);
    for (ULONG num = 0; num < 5; ++num)
        EXPECT_EQ(other->DeleteAttach(num, 0, nullptr, 0), S_OK);
    Save(*other);
    Force(*mine);
    EXPECT_EQ(Say(Files(*OpenMessage(id, 0))), "small|0; renewed|2; -|3");
    EXPECT_TRUE(Get(*OpenAttachment(*mine, 2), tag::AttachDataBin).Blob() == Pattern(Large, 3));
    EXPECT_EQ(Say(*Embedded(*OpenAttachment(*mine, 3), 0), {tag::Subject, tag::DisplayTo}), "changed|Ida");
    EXPECT_TRUE(Get(*mine, tag::HasAttach).Flag());
    // An object opened before knows the attachment that has come back, and none that has been deleted.
    Set(*small, {Text(tag::DisplayName, u"again")});
    EXPECT_EQ(small->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    Save(*mine);
    EXPECT_EQ(Say(*OpenAttachment(*mine, 0), {tag::DisplayName}), "again");
    EXPECT_EQ(mine->DeleteAttach(0, 0, nullptr, 0), S_OK);
    EXPECT_EQ(small->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_DELETED);
    Save(*mine);
    EXPECT_EQ(Files(*mine).size(), 2u);
}

TEST_F(MessageConflictTest, NewEmbeddedMessageKeepsItsFilesWhenItIsSavedAgain)
{
    auto message = NewMessage(*FInbox, u"outer");
    auto attachment = NewAttachment(*message);
    auto embedded = Embedded(*attachment, MAPI_CREATE | MAPI_MODIFY);
    auto file = Attach(*embedded, u"b.txt", {1});
    Attach(*embedded, u"large.txt", Pattern(Large));
    constexpr std::uint8_t Data[] = {0, 1, 2, 2, 4}; // of the file after each step
    for (std::uint8_t step = 1; step <= 4; ++step) {
        if (step == 3) { // the file has learned its row, and now the message in between is opened anew
            embedded = Embedded(*attachment, MAPI_MODIFY);
            file = OpenAttachment(*embedded, 0);
        }
        Set(*embedded, {Long(tag::Importance, step)});
        if (step % 2 == 0) {
            Set(*file, {Binary(tag::AttachDataBin, {step})});
            EXPECT_EQ(file->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        }
        EXPECT_EQ(embedded->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        EXPECT_EQ(attachment->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        auto inner = Embedded(*OpenAttachment(*OpenMessage(Save(*message), 0), 0, 0), 0);
        EXPECT_EQ(Get(*inner, tag::Importance).Number(), step);
        ASSERT_EQ(Files(*inner).size(), 2u) << "save " << int{step};
        EXPECT_EQ(Get(*OpenAttachment(*inner, 0, 0), tag::AttachDataBin).Blob(), Bytes{Data[step]});
        ExpectWhole(*FStoreFile);
    }
}

TEST_F(MessageConflictTest, NewAttachmentsOfOneNumberAreBothKept)
{
    auto mine = NewMessage(*FInbox, u"files");
    const Bytes id = Save(*mine);
    auto other = OpenMessage(id);
    auto own = Attach(*mine, u"mine", Pattern(Large));
    Attach(*other, u"other", {1});
    Save(*other);
    Force(*mine);
    EXPECT_EQ(Get(*own, tag::AttachNum).Number(), 1);
    Set(*own, {Text(tag::AttachLongFileName, u"still mine")});
    EXPECT_EQ(own->SaveChanges(0), S_OK);
    Save(*mine);
    EXPECT_EQ(Say(Files(*OpenMessage(id, 0))), "other|0; still mine|1");

    // Of one that both have changed, each keeps what the other did not touch; the same inside an embedded message.
    EmbedBody(*mine, u"embedded", Pattern(Large));
    Save(*mine);
    Get(*mine, tag::Subject);
    other = OpenMessage(id);
    Change(*other, 1, Binary(tag::AttachDataBin, Pattern(Large, 5)));
    Change(*other, 2, Binary(tag::Html, Pattern(Large, 4)), true);
    Get(*mine, tag::Subject);
    Change(*mine, 1, Text(tag::DisplayName, u"name"));
    Change(*mine, 2, Text(tag::Subject, u"changed"), true);
    Save(*other);
    Force(*mine);
    EXPECT_EQ(Say(*OpenAttachment(*mine, 1), {tag::DisplayName}), "name");
    EXPECT_TRUE(Get(*OpenAttachment(*mine, 1), tag::AttachDataBin).Blob() == Pattern(Large, 5));
    auto embedded = Embedded(*OpenAttachment(*mine, 2), 0);
    EXPECT_EQ(Say(*embedded, {tag::Subject}), "changed");
    EXPECT_TRUE(Html(*embedded) == Pattern(Large, 4));
}

/// What is said of a message agrees with what is stored of it.
void ExpectAgrees(StoreFile& store, std::int64_t row)
{
    MessageState message = LoadMessage(store, row);
    LoadRecipients(store, message);
    LoadAttachments(store, message);
    std::uint64_t size = message.props.Size() + PackRecipients(message.recipients).size();
    for (const AttachmentState& attachment : message.attachments) {
        size += static_cast<std::uint64_t>(attachment.props.Number(tag::AttachSize));
        for (const auto& [id, prop] : attachment.props)
            EXPECT_TRUE(store.IsThere(prop));
    }
    EXPECT_NEAR(static_cast<double>(message.props.Number(tag::MessageSize)), static_cast<double>(size), 64);
    MessageState derived = message;
    DeriveDisplayNames(derived);
    DeriveHasAttach(derived);
    for (const ULONG tag : {tag::DisplayTo, tag::HasAttach, tag::MessageFlags})
        EXPECT_TRUE(message.props.Find(tag >> 16)->data == derived.props.Find(tag >> 16)->data) << std::hex << tag;
}

TEST_F(MessageConflictTest, TwoWritersLeaveAWholeMessage)
{
    struct Writer
    {
        Ptr<IMsgStore> store;
        Ptr<IMessage> message;
        std::optional<std::u16string> subject; // not saved yet
        std::optional<Bytes> html;
    };
    for (const unsigned seed : {1u, 2u, 3u}) {
        SCOPED_TRACE(seed);
        std::minstd_rand random(seed);
        const auto pick = [&random](std::size_t below) { return random() % below; };
        auto first = NewMessage(*FInbox, u"first");
        Set(*first, {Binary(tag::Html, {1})});
        const Bytes id = Save(*first);
        first.Reset();
        const std::int64_t row = FStoreFile->RowOf(static_cast<ULONG>(id.size()), AsEntry(id), EntryKind::Message);
        std::u16string subject = u"first";
        Bytes html = {1};
        Writer writers[2] = {{FStore, {}, {}, {}}, {OpenAnother(), {}, {}, {}}};
        for (int step = 0; step < 150; ++step) {
            Writer& writer = writers[pick(2)];
            if (!writer.message)
                writer.message = Opened<IMessage>(*writer.store, id);
            IMessage& message = *writer.message;
            const auto files = Files(message);
            const auto file = [&] { return static_cast<ULONG>(NumberAt(files[pick(files.size())], 1)); };
            const Bytes data = Pattern(pick(2) ? 10 : Large, static_cast<std::uint32_t>(step));
            switch (pick(10)) {
            case 0:
                writer.subject = u"AW: " + std::u16string(pick(9), u'x');
                Set(message, {Text(tag::Subject, writer.subject->c_str())});
                break;
            case 1:
                writer.html = data;
                Set(message, {Binary(tag::Html, data)});
                break;
            case 2:
                EXPECT_EQ(Modify(message, pick(2) ? MODRECIP_ADD : 0, {{u"Ann", u"ann@example.org"}}), S_OK);
                break;
            case 3:
                Attach(message, u"file", data);
                break;
            case 4:
                EmbedBody(message, u"embedded", data);
                break;
            case 5:
                if (!files.empty()) {
                    EXPECT_EQ(message.DeleteAttach(file(), 0, nullptr, 0), S_OK);
                }
                break;
            case 6:
                if (!files.empty())
                    Change(message, file(),
                           pick(2) ? Text(tag::DisplayName, u"name") : Binary(tag::AttachDataBin, data));
                break;
            case 7:
                if (files.empty())
                    break;
                if (const ULONG num = file(); !Get(*OpenAttachment(message, num), tag::AttachDataObj).IsError())
                    Change(message, num, pick(2) ? Text(tag::Subject, u"inner") : Binary(tag::Html, data), true);
                break;
            default: {
                const HRESULT result = message.SaveChanges(KEEP_OPEN_READWRITE | (pick(3) ? FORCE_SAVE : 0));
                if (result == S_OK) {
                    subject = std::exchange(writer.subject, {}).value_or(subject);
                    html = std::exchange(writer.html, {}).value_or(html);
                    auto stored = OpenMessage(id, 0);
                    EXPECT_EQ(Get(*stored, tag::Subject).Wide(), subject);
                    EXPECT_TRUE(Html(*stored) == html);
                    ExpectAgrees(*FStoreFile, row);
                    ExpectWhole(*FStoreFile);
                } else {
                    EXPECT_EQ(result, MAPI_E_OBJECT_CHANGED);
                    if (pick(2) == 0)
                        writer = {writer.store, {}, {}, {}};
                }
            }
            }
            ASSERT_FALSE(HasFailure()) << "step " << step;
        }
    }
}

} // namespace
} // namespace deftmapi::client::test

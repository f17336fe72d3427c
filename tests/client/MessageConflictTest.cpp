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

using namespace mapi;

constexpr std::size_t Large = 20000; // of a chunk of its own

class MessageConflictTest : public FolderCalls
{
protected:
    static Ptr<IAttach> Open(IMessage& message, ULONG num)
    {
        Ptr<IAttach> attachment;
        EXPECT_EQ(message.OpenAttach(num, nullptr, MAPI_MODIFY, Out(attachment)), S_OK);
        return attachment;
    }
    static Ptr<IAttach> Attach(IMessage& message, const char16_t* name, const Bytes& data)
    {
        ULONG num = 0;
        Ptr<IAttach> attachment;
        EXPECT_EQ(message.CreateAttach(nullptr, 0, &num, Out(attachment)), S_OK);
        Set(*attachment, {Text(tag::AttachLongFileName, name), Binary(tag::AttachDataBin, data)});
        EXPECT_EQ(attachment->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        return attachment;
    }
    static Ptr<IMessage> Embedded(IAttach& attachment, ULONG flags)
    {
        Ptr<IMessage> message;
        EXPECT_EQ(attachment.OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, flags,
                                          reinterpret_cast<LPUNKNOWN*>(Out(message))),
                  S_OK);
        return message;
    }
    static void Embed(IMessage& message, const char16_t* subject, const Bytes& body)
    {
        ULONG num = 0;
        Ptr<IAttach> attachment;
        EXPECT_EQ(message.CreateAttach(nullptr, 0, &num, Out(attachment)), S_OK);
        const auto embedded = Embedded(*attachment, MAPI_CREATE | MAPI_MODIFY);
        Set(*embedded, {Text(tag::Subject, subject), Binary(tag::Html, body)});
        EXPECT_EQ(Modify(*embedded, 0, {{u"Ida", u"ida@example.org"}}), S_OK);
        EXPECT_EQ(embedded->SaveChanges(0), S_OK);
        EXPECT_EQ(attachment->SaveChanges(0), S_OK);
    }
    static std::vector<Props> Files(IMessage& message)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(message.GetAttachmentTable(MAPI_UNICODE, Out(table)), S_OK);
        return Rows(*table, {tag::AttachLongFileName, tag::AttachNum});
    }
    static void Force(IMessage& message)
    {
        ASSERT_EQ(message.SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_CHANGED);
        ASSERT_EQ(message.SaveChanges(KEEP_OPEN_READWRITE | FORCE_SAVE), S_OK);
    }
    static Bytes Html(IMAPIProp& object)
    {
        Bytes read(Large + 1);
        ULONG got = 0;
        EXPECT_TRUE(Succeeded(OpenStream(object, tag::Html, 0)->Read(read.data(), Large + 1, &got)));
        read.resize(got);
        return read;
    }
};

TEST_F(MessageConflictTest, PropertiesThatWereNotChangedStayAsTheOtherLeftThem)
{
    auto inbox = Inbox();
    auto mine = NewMessage(*inbox, u"old");
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
        EXPECT_EQ(Get(*message, tag::Subject).Wide(), u"AW: new");
        EXPECT_EQ(Get(*message, tag::NormalizedSubject).Wide(), u"new");
        EXPECT_EQ(Get(*message, tag::Importance).Number(), 0);
        EXPECT_EQ(Get(*message, tag::ConversationTopic).Error(), MAPI_E_NOT_FOUND);
        EXPECT_EQ(Get(*message, tag::DisplayTo).Wide(), u"Eva");
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
    EXPECT_EQ(Get(*other, tag::NormalizedSubject).Wide(), u"ew");
    EXPECT_EQ(Get(*other, tag::DisplayTo).Wide(), u"Ada");
    EXPECT_TRUE(Get(*other, tag::HasAttach).Flag());
}

TEST_F(MessageConflictTest, DeletedAttachmentsComeBackWholeOrNotAtAll)
{
    auto inbox = Inbox();
    auto mine = NewMessage(*inbox, u"files");
    Attach(*mine, u"small", {1, 2, 3});
    Attach(*mine, u"large", Pattern(Large));
    Attach(*mine, u"renewed", Pattern(Large));
    Embed(*mine, u"embedded", {7});
    Embed(*mine, u"large embedded", Pattern(Large));
    const Bytes id = Save(*mine);
    auto small = Open(*mine, 0);
    for (ULONG num = 0; num < 3; ++num) {
        auto attachment = Open(*mine, num);
        Set(*attachment, {Text(tag::DisplayName, u"changed")});
        if (num == 2)
            Set(*attachment, {Binary(tag::AttachDataBin, Pattern(Large, 3))});
        EXPECT_EQ(attachment->SaveChanges(0), S_OK);
    }
    for (ULONG num = 3; num < 5; ++num) {
        auto attachment = Open(*mine, num);
        auto embedded = Embedded(*attachment, MAPI_MODIFY);
        Set(*embedded, {Text(tag::Subject, u"changed")});
        EXPECT_EQ(embedded->SaveChanges(0), S_OK);
        EXPECT_EQ(attachment->SaveChanges(0), S_OK);
    }
    auto other = OpenMessage(id);
    for (ULONG num = 0; num < 5; ++num)
        EXPECT_EQ(other->DeleteAttach(num, 0, nullptr, 0), S_OK);
    Save(*other);
    Force(*mine);
    const auto files = Files(*OpenMessage(id, 0));
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(WideAt(files[0], 0), u"small");
    EXPECT_EQ(WideAt(files[1], 0), u"renewed");
    EXPECT_TRUE(Get(*Open(*mine, 2), tag::AttachDataBin).Blob() == Pattern(Large, 3));
    auto embedded = Embedded(*Open(*mine, 3), 0);
    EXPECT_EQ(Get(*embedded, tag::Subject).Wide(), u"changed");
    EXPECT_EQ(Get(*embedded, tag::DisplayTo).Wide(), u"Ida");
    EXPECT_TRUE(Get(*mine, tag::HasAttach).Flag());
    // An object opened before knows the attachment that has come back, and none that has been deleted.
    Set(*small, {Text(tag::DisplayName, u"again")});
    EXPECT_EQ(small->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    Save(*mine);
    EXPECT_EQ(Get(*Open(*mine, 0), tag::DisplayName).Wide(), u"again");
    EXPECT_EQ(mine->DeleteAttach(0, 0, nullptr, 0), S_OK);
    EXPECT_EQ(small->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_DELETED);
    Save(*mine);
    EXPECT_EQ(Files(*mine).size(), 2u);
}

TEST_F(MessageConflictTest, NewEmbeddedMessageKeepsItsFilesWhenItIsSavedAgain)
{
    auto inbox = Inbox();
    auto message = NewMessage(*inbox, u"outer");
    ULONG num = 0;
    Ptr<IAttach> attachment;
    ASSERT_EQ(message->CreateAttach(nullptr, 0, &num, Out(attachment)), S_OK);
    auto embedded = Embedded(*attachment, MAPI_CREATE | MAPI_MODIFY);
    auto file = Attach(*embedded, u"b.txt", {1});
    Attach(*embedded, u"large.txt", Pattern(Large));
    constexpr std::uint8_t Data[] = {0, 1, 2, 2, 4}; // of the file after each step
    for (std::uint8_t step = 1; step <= 4; ++step) {
        if (step == 3) { // the file has learned its row, and now the message in between is opened anew
            embedded = Embedded(*attachment, MAPI_MODIFY);
            file = Open(*embedded, 0);
        }
        Set(*embedded, {Long(tag::Importance, step)});
        if (step % 2 == 0) {
            Set(*file, {Binary(tag::AttachDataBin, {step})});
            EXPECT_EQ(file->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        }
        EXPECT_EQ(embedded->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        EXPECT_EQ(attachment->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        auto stored = OpenMessage(Save(*message), 0);
        Ptr<IAttach> outer;
        ASSERT_EQ(stored->OpenAttach(num, nullptr, 0, Out(outer)), S_OK);
        auto inner = Embedded(*outer, 0);
        EXPECT_EQ(Get(*inner, tag::Importance).Number(), step);
        ASSERT_EQ(Files(*inner).size(), 2u) << "save " << int{step};
        Ptr<IAttach> read;
        ASSERT_EQ(inner->OpenAttach(0, nullptr, 0, Out(read)), S_OK);
        EXPECT_EQ(Get(*read, tag::AttachDataBin).Blob(), Bytes{Data[step]});
        ExpectWhole(*FStoreFile);
    }
}

TEST_F(MessageConflictTest, NewAttachmentsOfOneNumberAreBothKept)
{
    auto inbox = Inbox();
    auto mine = NewMessage(*inbox, u"files");
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
    const auto files = Files(*OpenMessage(id, 0));
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(WideAt(files[0], 0), u"other");
    EXPECT_EQ(WideAt(files[1], 0), u"still mine");

    // Of one that both have changed, each keeps what the other did not touch; the same inside an embedded message.
    Embed(*mine, u"embedded", Pattern(Large));
    Save(*mine);
    Get(*mine, tag::Subject);
    other = OpenMessage(id);
    for (IMessage* message : {other.Get(), mine.Get()}) {
        const bool first = message == other.Get();
        auto file = Open(*message, 1);
        auto attachment = Open(*message, 2);
        auto embedded = Embedded(*attachment, MAPI_MODIFY);
        if (first) {
            Set(*file, {Binary(tag::AttachDataBin, Pattern(Large, 5))});
            Set(*embedded, {Binary(tag::Html, Pattern(Large, 4))});
        } else {
            Set(*file, {Text(tag::DisplayName, u"name")});
            Set(*embedded, {Text(tag::Subject, u"changed")});
        }
        EXPECT_EQ(file->SaveChanges(0), S_OK);
        EXPECT_EQ(embedded->SaveChanges(0), S_OK);
        EXPECT_EQ(attachment->SaveChanges(0), S_OK);
        if (first)
            Get(*mine, tag::Subject);
    }
    Save(*other);
    Force(*mine);
    EXPECT_EQ(Get(*Open(*mine, 1), tag::DisplayName).Wide(), u"name");
    EXPECT_TRUE(Get(*Open(*mine, 1), tag::AttachDataBin).Blob() == Pattern(Large, 5));
    auto embedded = Embedded(*Open(*mine, 2), 0);
    EXPECT_EQ(Get(*embedded, tag::Subject).Wide(), u"changed");
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
        auto first = NewMessage(*Inbox(), u"first");
        Set(*first, {Binary(tag::Html, {1})});
        const Bytes id = Save(*first);
        first.Reset();
        const std::int64_t row = FStoreFile->RowOf(static_cast<ULONG>(id.size()), AsEntry(id), EntryKind::Message);
        std::u16string subject = u"first";
        Bytes html = {1};
        Writer writers[2] = {{FStore, {}, {}, {}}, {OpenAnother(), {}, {}, {}}};
        for (int step = 0; step < 150; ++step) {
            Writer& writer = writers[pick(2)];
            if (!writer.message) {
                ULONG type = 0;
                ASSERT_EQ(writer.store->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, MAPI_MODIFY,
                                                  &type, reinterpret_cast<LPUNKNOWN*>(Out(writer.message))),
                          S_OK);
            }
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
                Embed(message, u"embedded", data);
                break;
            case 5:
                if (!files.empty()) {
                    EXPECT_EQ(message.DeleteAttach(file(), 0, nullptr, 0), S_OK);
                }
                break;
            case 6:
                if (!files.empty()) {
                    auto attachment = Open(message, file());
                    Set(*attachment, {pick(2) ? Text(tag::DisplayName, u"name") : Binary(tag::AttachDataBin, data)});
                    EXPECT_EQ(attachment->SaveChanges(0), S_OK);
                }
                break;
            case 7:
                if (!files.empty()) {
                    auto attachment = Open(message, file());
                    if (Get(*attachment, tag::AttachDataObj).IsError())
                        break;
                    auto embedded = Embedded(*attachment, MAPI_MODIFY);
                    Set(*embedded, {pick(2) ? Text(tag::Subject, u"inner") : Binary(tag::Html, data)});
                    EXPECT_EQ(embedded->SaveChanges(0), S_OK);
                    EXPECT_EQ(attachment->SaveChanges(0), S_OK);
                }
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

#include "tests/client/StoreFixture.hpp"

namespace deftmapi::client::test
{

mapi::HRESULT Modify(mapi::IMessage& message, ULONG flags, const std::vector<NewRecipient>& recipients)
{
    constexpr ULONG Columns = 5;
    std::vector<std::vector<mapi::SPropValue>> values;
    auto list = AllocateAs<mapi::ADRLIST>(sizeof(mapi::ADRLIST) + recipients.size() * sizeof(mapi::ADRENTRY));
    list->cEntries = static_cast<ULONG>(recipients.size());
    for (const auto& recipient : recipients) {
        values.push_back({Text(tag::DisplayName, recipient.name), Text(tag::EmailAddress, recipient.address),
                          Text(tag::AddrType, u"SMTP"), Long(tag::RecipientType, recipient.type),
                          Long(tag::RowId, recipient.rowId)});
    }
    for (ULONG i = 0; i < list->cEntries; ++i) {
        list->aEntries[i].cValues = recipients[i].rowId < 0 ? Columns - 1 : Columns;
        list->aEntries[i].rgPropVals = values[i].data();
    }
    return message.ModifyRecipients(flags, list.Get());
}

std::vector<Props> Rows(mapi::IMAPITable& table, std::initializer_list<ULONG> columns, mapi::LONG batch)
{
    EXPECT_EQ(table.SetColumns(Tags(columns), 0), mapi::S_OK);
    EXPECT_EQ(table.SeekRow(mapi::BOOKMARK_BEGINNING, 0, nullptr), mapi::S_OK);
    std::vector<Props> result;
    for (;;) {
        RowSet rows;
        if (table.QueryRows(batch, 0, rows.Out()) != mapi::S_OK) {
            ADD_FAILURE() << "QueryRows";
            return result;
        }
        if (rows->cRows == 0)
            return result;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            Props row;
            for (ULONG k = 0; k < rows->aRow[i].cValues; ++k)
                row.push_back(FromInterface(rows->aRow[i].lpProps[k]));
            result.push_back(std::move(row));
        }
    }
}

Ptr<mapi::IStream> OpenStream(mapi::IMAPIProp& object, ULONG tag, ULONG flags)
{
    Ptr<mapi::IStream> stream;
    const auto hr =
        object.OpenProperty(tag, &mapi::IID_IStream, 0, flags, reinterpret_cast<mapi::LPUNKNOWN*>(Out(stream)));
    EXPECT_EQ(hr, mapi::S_OK) << std::hex << hr;
    return stream;
}

Bytes Pattern(std::size_t size, std::uint32_t seed)
{
    Bytes bytes(size);
    std::uint32_t state = seed * 2654435761u + 1;
    for (auto& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return bytes;
}

void StoreTest::SetUp()
{
    ASSERT_EQ(LiveBuffers(), 0u);
    ASSERT_EQ(LiveObjects(), 0u);
    CreateStoreFile(File(), ToBytes(NewUid()), u"Test store");
    FStoreFile = StoreFile::Open(File());
    FStore = OpenStoreObject(FStoreFile, true, true);
}

void StoreTest::TearDown()
{
    FStore.Reset();
    FStoreFile.reset();
    EXPECT_EQ(LiveObjects(), 0u) << "objects are left";
    EXPECT_EQ(LiveBuffers(), 0u) << "MAPI buffers are left";
}

Ptr<mapi::IMsgStore> StoreTest::OpenAnother(bool writable) const
{
    return OpenStoreObject(StoreFile::Open(File()), writable, false);
}

Ptr<mapi::IMAPIFolder> StoreTest::OpenFolder(const Bytes& id, ULONG flags) const
{
    ULONG type = 0;
    Ptr<mapi::IMAPIFolder> folder;
    const auto hr = FStore->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, flags, &type,
                                      reinterpret_cast<mapi::LPUNKNOWN*>(Out(folder)));
    EXPECT_EQ(hr, mapi::S_OK) << std::hex << hr;
    EXPECT_EQ(type, mapi::MAPI_FOLDER);
    return folder;
}

Bytes StoreTest::InboxId() const
{
    ULONG size = 0;
    MapiBuffer<mapi::ENTRYID> id;
    EXPECT_EQ(FStore->GetReceiveFolder(nullptr, 0, &size, id.Out(), nullptr), mapi::S_OK);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(id.Get());
    return Bytes(bytes, bytes + size);
}

Ptr<mapi::IMAPIFolder> StoreTest::Inbox(ULONG flags) const
{
    return OpenFolder(InboxId(), flags);
}

Ptr<mapi::IMessage> StoreTest::OpenMessage(const Bytes& id, ULONG flags) const
{
    ULONG type = 0;
    Ptr<mapi::IMessage> message;
    const auto hr = FStore->OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, flags, &type,
                                      reinterpret_cast<mapi::LPUNKNOWN*>(Out(message)));
    EXPECT_EQ(hr, mapi::S_OK) << std::hex << hr;
    EXPECT_EQ(type, mapi::MAPI_MESSAGE);
    return message;
}

Ptr<mapi::IMessage> StoreTest::NewMessage(mapi::IMAPIFolder& folder, const char16_t* subject)
{
    Ptr<mapi::IMessage> message;
    EXPECT_EQ(folder.CreateMessage(nullptr, 0, Out(message)), mapi::S_OK);
    Set(*message, {Text(tag::Subject, subject)});
    return message;
}

Bytes StoreTest::Save(mapi::IMessage& message)
{
    const auto hr = message.SaveChanges(mapi::KEEP_OPEN_READWRITE);
    EXPECT_EQ(hr, mapi::S_OK) << std::hex << hr;
    return Get(message, tag::EntryId).Blob();
}

void ContentsTest::SetUp()
{
    StoreTest::SetUp();
    FInbox = Inbox();
    ASSERT_EQ(FInbox->GetContentsTable(mapi::MAPI_UNICODE, Out(FTable)), mapi::S_OK);
}

void ContentsTest::TearDown()
{
    FTable.Reset();
    FInbox.Reset();
    StoreTest::TearDown();
}

void ContentsTest::Delete(Bytes id)
{
    mapi::SBinary entry{static_cast<ULONG>(id.size()), id.data()};
    mapi::ENTRYLIST list{1, &entry};
    ASSERT_EQ(FInbox->DeleteMessages(&list, 0, nullptr, 0), mapi::S_OK);
}

ULONG ContentsTest::Count()
{
    ULONG count = 0;
    EXPECT_EQ(FTable->GetRowCount(0, &count), mapi::S_OK);
    return count;
}

} // namespace deftmapi::client::test

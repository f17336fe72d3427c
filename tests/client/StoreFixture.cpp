#include "tests/client/StoreFixture.hpp"

namespace deftmapi::client::test
{

HRESULT Modify(IMessage& message, ULONG flags, const std::vector<NewRecipient>& recipients)
{
    constexpr ULONG Columns = 5;
    std::vector<std::vector<SPropValue>> values;
    auto list = AllocateAs<ADRLIST>(sizeof(ADRLIST) + recipients.size() * sizeof(ADRENTRY));
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

Bytes InboxIdOf(IMsgStore& store)
{
    ULONG size = 0;
    MapiBuffer<ENTRYID> id;
    EXPECT_EQ(store.GetReceiveFolder(nullptr, 0, &size, id.Out(), nullptr), S_OK);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(id.Get());
    return Bytes(bytes, bytes + size);
}

Ptr<IMAPIFolder> NewFolder(IMAPIFolder& parent, const char16_t* name, ULONG type)
{
    Ptr<IMAPIFolder> folder;
    EXPECT_EQ(parent.CreateFolder(type, const_cast<char16_t*>(name), nullptr, nullptr, MAPI_UNICODE, Out(folder)),
              S_OK);
    return folder;
}

Ptr<IMessage> EmptyMessage(IMAPIFolder& folder, ULONG flags)
{
    Ptr<IMessage> message;
    EXPECT_EQ(folder.CreateMessage(nullptr, flags, Out(message)), S_OK);
    return message;
}

Ptr<IMAPITable> ContentsTable(IMAPIFolder& folder, ULONG flags)
{
    Ptr<IMAPITable> table;
    EXPECT_EQ(folder.GetContentsTable(MAPI_UNICODE | flags, Out(table)), S_OK);
    return table;
}

ULONG RowCount(IMAPITable& table)
{
    ULONG count = 0;
    EXPECT_EQ(table.GetRowCount(0, &count), S_OK);
    return count;
}

ULONG RowAt(IMAPITable& table)
{
    ULONG row = 0;
    ULONG ignored = 0;
    EXPECT_EQ(table.QueryPosition(&row, &ignored, &ignored), S_OK);
    return row;
}

std::vector<Props> Rows(IMAPITable& table, std::initializer_list<ULONG> columns, LONG batch)
{
    EXPECT_EQ(table.SetColumns(Tags(columns), 0), S_OK);
    EXPECT_EQ(table.SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
    std::vector<Props> result;
    for (;;) {
        RowSet rows;
        if (table.QueryRows(batch, 0, rows.Out()) != S_OK) {
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

Ptr<IStream> OpenStream(IMAPIProp& object, ULONG tag, ULONG flags)
{
    Ptr<IStream> stream;
    const auto hr = object.OpenProperty(tag, &IID_IStream, 0, flags, reinterpret_cast<LPUNKNOWN*>(Out(stream)));
    EXPECT_EQ(hr, S_OK) << std::hex << hr;
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
    Reopen();
}

void StoreTest::TearDown()
{
    Close();
    EXPECT_EQ(LiveObjects(), 0u) << "objects are left";
    EXPECT_EQ(LiveBuffers(), 0u) << "MAPI buffers are left";
}

void StoreTest::Close()
{
    FStore.Reset();
    FStoreFile.reset();
}

void StoreTest::Reopen()
{
    Close();
    FStoreFile = StoreFile::Open(File());
    FStore = OpenStoreObject(FStoreFile, true, true);
}

Ptr<IMsgStore> StoreTest::OpenAnother(bool writable) const
{
    return OpenStoreObject(StoreFile::Open(File()), writable, false);
}

Ptr<IMAPIFolder> StoreTest::OpenFolder(const Bytes& id, ULONG flags) const
{
    return Opened<IMAPIFolder>(*FStore, id, flags);
}

Bytes StoreTest::InboxId() const
{
    return InboxIdOf(*FStore);
}

Ptr<IMAPIFolder> StoreTest::Inbox(ULONG flags) const
{
    return OpenFolder(InboxId(), flags);
}

Ptr<IMessage> StoreTest::OpenMessage(const Bytes& id, ULONG flags) const
{
    return Opened<IMessage>(*FStore, id, flags);
}

Ptr<IMessage> StoreTest::NewMessage(IMAPIFolder& folder, const char16_t* subject)
{
    auto message = EmptyMessage(folder);
    Set(*message, {Text(tag::Subject, subject)});
    return message;
}

Bytes StoreTest::Save(IMessage& message)
{
    const auto hr = message.SaveChanges(KEEP_OPEN_READWRITE);
    EXPECT_EQ(hr, S_OK) << std::hex << hr;
    return Get(message, tag::EntryId).Blob();
}

void ContentsTest::SetUp()
{
    StoreTest::SetUp();
    FInbox = Inbox();
    FTable = ContentsTable(*FInbox);
}

void ContentsTest::TearDown()
{
    FTable.Reset();
    FInbox.Reset();
    StoreTest::TearDown();
}

void ContentsTest::Delete(const Bytes& id)
{
    ASSERT_EQ(FInbox->DeleteMessages(Ids({id}), 0, nullptr, 0), S_OK);
}

} // namespace deftmapi::client::test

// What the tests of folders and messages share: short forms of the calls, a second store, a progress object that keeps
// what it is told and can cancel. Rows and properties are compared in words, so that one line compares all of them.
#pragma once

#include "client/store/Folder.hpp"
#include "tests/client/StoreFixture.hpp"

#include <functional>

namespace deftmapi::client::test
{

class RecordingProgress final : public ComObject<IMAPIProgress>
{
public:
    struct Report
    {
        ULONG value;
        ULONG count;
        ULONG total;
    };
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override { return iid == IID_IMAPIProgress; }
    HRESULT DEFTMAPI_STDCALL Progress(ULONG value, ULONG count, ULONG total) noexcept override
    {
        reports.push_back({value, count, total});
        if (onReport)
            onReport(reports.size());
        return static_cast<int>(reports.size()) > cancelAfter ? MAPI_E_USER_CANCEL : S_OK;
    }
    HRESULT DEFTMAPI_STDCALL GetFlags(ULONG* out) noexcept override { return Give(flags, out); }
    HRESULT DEFTMAPI_STDCALL GetMax(ULONG* out) noexcept override { return Give(most, out); }
    HRESULT DEFTMAPI_STDCALL GetMin(ULONG* out) noexcept override { return Give(least, out); }
    HRESULT DEFTMAPI_STDCALL SetLimits(ULONG* min, ULONG* max, ULONG*) noexcept override
    {
        least = min ? *min : least;
        most = max ? *max : most;
        return S_OK;
    }

    ULONG flags = MAPI_TOP_LEVEL;
    ULONG least = 0;
    ULONG most = 0;
    int cancelAfter = 1 << 30; // reports that are answered with S_OK
    std::vector<Report> reports;
    std::function<void(std::size_t number)> onReport;

private:
    static HRESULT Give(ULONG value, ULONG* out)
    {
        *out = value;
        return S_OK;
    }
};

/// Numbers and texts as they are, "-" for what is not found.
inline std::string Say(const Props& row)
{
    std::string words;
    for (std::size_t i = 0; i < row.size(); ++i) {
        words += i ? "|" : "";
        if (row[i].IsError() && NumberAt(row, i) == MAPI_E_NOT_FOUND)
            words += "-";
        else if (const auto* text = std::get_if<WideString>(&row[i].data))
            words += KwToUtf8(*text);
        else
            words += std::to_string(NumberAt(row, i));
    }
    return words;
}
inline std::string Say(const std::vector<Props>& rows)
{
    std::string words;
    for (const Props& row : rows)
        words += (words.empty() ? "" : "; ") + Say(row);
    return words;
}
inline std::string Say(IMAPIProp& object, std::initializer_list<ULONG> tags)
{
    Props values;
    for (const ULONG tag : tags)
        values.push_back(FromInterface(*Get(object, tag).value.Get()));
    return Say(values);
}

/// The calls in short.
class FolderShortForms
{
protected:
    static Ptr<IMAPIFolder> Create(IMAPIFolder& parent, const char16_t* name, ULONG flags = 0, HRESULT expected = S_OK,
                                   ULONG type = FOLDER_GENERIC)
    {
        Ptr<IMAPIFolder> folder;
        EXPECT_EQ(
            parent.CreateFolder(type, const_cast<char16_t*>(name), nullptr, nullptr, MAPI_UNICODE | flags, Out(folder)),
            expected);
        return folder;
    }
    static HRESULT Delete(IMAPIFolder& parent, const Bytes& id, ULONG flags, IMAPIProgress* progress = nullptr)
    {
        return parent.DeleteFolder(static_cast<ULONG>(id.size()), AsEntry(id), 0, progress, flags);
    }
    static HRESULT Copy(IMAPIFolder& folder, IMAPIFolder& to, const char16_t* name, ULONG flags,
                        IMAPIProgress* progress = nullptr)
    {
        const Bytes id = IdOf(folder);
        return folder.CopyFolder(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, &to, const_cast<char16_t*>(name),
                                 0, progress, MAPI_UNICODE | flags);
    }
    static HRESULT CopyMessages(IMAPIFolder& from, const std::vector<Bytes>& ids, IMAPIFolder& to, ULONG flags,
                                IMAPIProgress* progress = nullptr)
    {
        return from.CopyMessages(Ids(ids), nullptr, &to, 0, progress, flags);
    }
    static HRESULT CopyAll(IMAPIProp& from, const IID& iid, IMAPIProp& to, ULONG flags,
                           IMAPIProgress* progress = nullptr)
    {
        return from.CopyTo(0, nullptr, nullptr, 0, progress, &iid, &to, flags, nullptr);
    }
    static Bytes IdOf(IMAPIProp& object) { return Get(object, tag::EntryId).Blob(); }
    static std::vector<Props> Children(IMAPIFolder& folder, ULONG flags = 0)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(folder.GetHierarchyTable(MAPI_UNICODE | flags, Out(table)), S_OK);
        return Rows(*table, {tag::DisplayName, tag::Depth, tag::Subfolders, tag::ContentCount});
    }
    static std::vector<Props> Contents(IMAPIFolder& folder, ULONG flags = 0)
    {
        return Rows(*ContentsTable(folder, flags), {tag::Subject, tag::EntryId, tag::MessageFlags, tag::MessageStatus});
    }
    static Bytes BytesAt(const Props& row, std::size_t column) { return std::get<Bytes>(row[column].data); }
    static Ptr<IAttach> NewAttachment(IMessage& message)
    {
        ULONG num = 0;
        Ptr<IAttach> attachment;
        EXPECT_EQ(message.CreateAttach(nullptr, 0, &num, Out(attachment)), S_OK);
        return attachment;
    }
    static Ptr<IAttach> Attach(IMessage& message, const char16_t* name, const Bytes& data)
    {
        auto attachment = NewAttachment(message);
        Set(*attachment, {Text(tag::AttachLongFileName, name), Binary(tag::AttachDataBin, data)});
        EXPECT_EQ(attachment->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
        return attachment;
    }
    static Ptr<IAttach> OpenAttachment(IMessage& message, ULONG num, ULONG flags = MAPI_MODIFY)
    {
        Ptr<IAttach> attachment;
        EXPECT_EQ(message.OpenAttach(num, nullptr, flags, Out(attachment)), S_OK);
        return attachment;
    }
    /// The message of an attachment; with MAPI_CREATE a new one.
    static Ptr<IMessage> Embedded(IAttach& attachment, ULONG flags)
    {
        Ptr<IMessage> message;
        EXPECT_EQ(attachment.OpenProperty(tag::AttachDataObj, &IID_IMessage, 0, flags,
                                          reinterpret_cast<LPUNKNOWN*>(Out(message))),
                  S_OK);
        return message;
    }
    /// Adds an attachment with a message that has what it is filled with.
    static void Embed(IMessage& message, const char16_t* subject, const std::function<void(IMessage&)>& fill)
    {
        auto attachment = NewAttachment(message);
        Set(*attachment, {Long(tag::AttachMethod, ATTACH_EMBEDDED_MSG)});
        auto embedded = Embedded(*attachment, MAPI_CREATE | MAPI_MODIFY);
        Set(*embedded, {Text(tag::Subject, subject)});
        fill(*embedded);
        EXPECT_EQ(embedded->SaveChanges(0), S_OK);
        EXPECT_EQ(attachment->SaveChanges(0), S_OK);
    }
    static std::vector<Props> Files(IMessage& message)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(message.GetAttachmentTable(MAPI_UNICODE, Out(table)), S_OK);
        return Rows(*table, {tag::AttachLongFileName, tag::AttachNum});
    }
    /// All of a property that may be too large for GetProps.
    static Bytes Whole(IMAPIProp& object, ULONG tag, ULONG most = 1 << 20)
    {
        Bytes read(most);
        ULONG got = 0;
        EXPECT_EQ(OpenStream(object, tag, 0)->Read(read.data(), most, &got), S_FALSE);
        read.resize(got);
        return read;
    }
    static Ptr<IMAPIFolder> OpenSpecial(const StorePtr& store, SpecialFolder which = SpecialFolder::Inbox)
    {
        return OpenFolderRow(store, static_cast<std::int64_t>(which), true);
    }
};

class FolderCalls : public StoreTest, protected FolderShortForms
{
protected:
    /// Another store in the same folder; its Inbox.
    Ptr<IMAPIFolder> OtherInbox()
    {
        if (!FOther) {
            CreateStoreFile(OtherFile(), ToBytes(NewUid()), u"Other store");
            FOther = StoreFile::Open(OtherFile());
        }
        return OpenSpecial(FOther);
    }
    /// Counters are those of the rows, every row has its folder, every folder its parent, no value is without owner.
    static void ExpectWhole(StoreFile& store)
    {
        const auto none = [&store](const std::string& sql) { EXPECT_EQ(store.Db().Scalar(sql), 0) << sql; };
        none("SELECT count(*) FROM folders f WHERE content_count <> (SELECT count(*) FROM messages m WHERE "
             "m.folder = f.id AND associated = 0) AND type <> 2");
        none("SELECT count(*) FROM folders f WHERE unread_count <> (SELECT count(*) FROM messages m WHERE "
             "m.folder = f.id AND associated = 0 AND " +
             std::string(UnreadExpression) + ") AND type <> 2");
        none("SELECT count(*) FROM messages WHERE folder IS NOT NULL AND (flags & 1) = 0");
        none(
            "SELECT count(*) - (SELECT count(*) FROM messages m JOIN subjects s ON s.id = m.id AND s.folder = m.folder "
            "AND s.associated = m.associated AND ifnull(m.subject, 0) = s.subject) FROM subjects");
        none("SELECT count(*) - (SELECT count(*) FROM subjects) FROM messages WHERE folder IS NOT NULL");
        none("SELECT count(*) - (SELECT count(*) FROM messages m JOIN search_keys k USING (id, search_key)) "
             "FROM search_keys");
        none("SELECT count(*) - (SELECT count(*) FROM search_keys) FROM messages "
             "WHERE folder IS NOT NULL AND length(search_key) > 0");
        none("SELECT count(*) FROM unread_pages WHERE unread = 0");
        none("SELECT count(*) FROM folders f WHERE associated_count <> (SELECT count(*) FROM messages m WHERE "
             "m.folder = f.id AND associated = 1)");
        none("SELECT count(*) FROM folders WHERE parent NOT IN (SELECT id FROM folders)");
        none("SELECT count(*) FROM messages WHERE folder NOT IN (SELECT id FROM folders)");
        none("SELECT count(*) FROM bags WHERE message NOT IN (SELECT id FROM messages)");
        none("SELECT count(*) FROM attachments WHERE message NOT IN (SELECT id FROM messages)");
        none("SELECT count(*) FROM large_values WHERE owner % 4 = 0 AND owner / 4 NOT IN (SELECT id FROM messages)");
        none("SELECT count(*) FROM large_values WHERE owner % 4 = 1 AND owner / 4 NOT IN (SELECT id FROM attachments)");
        none("SELECT count(*) FROM messages m WHERE folder IS NULL AND id NOT IN (SELECT embedded FROM attachments "
             "WHERE embedded IS NOT NULL)");
        none("SELECT count(*) FROM chunks WHERE id >> 20 NOT IN (SELECT id FROM large_values)");
    }
    void SetUp() override
    {
        StoreTest::SetUp();
        FInbox = Inbox();
    }
    void TearDown() override
    {
        FInbox.Reset();
        if (FOther)
            ExpectWhole(*FOther);
        FOther.reset();
        if (FStoreFile)
            ExpectWhole(*FStoreFile);
        StoreTest::TearDown();
    }

    [[nodiscard]] std::filesystem::path OtherFile() const { return FFolder.Path() / "other.store"; }

    Ptr<IMAPIFolder> FInbox;
    StorePtr FOther;
};

} // namespace deftmapi::client::test

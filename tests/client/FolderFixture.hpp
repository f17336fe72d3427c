// What the tests of folders share: short forms of the calls, a second store, a progress object that keeps what it is
// told and can cancel.
#pragma once

#include "client/store/Folder.hpp"
#include "tests/client/StoreFixture.hpp"

#include <functional>

namespace deftmapi::client::test
{

class RecordingProgress final : public ComObject<mapi::IMAPIProgress>
{
public:
    struct Report
    {
        ULONG value;
        ULONG count;
        ULONG total;
    };
    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMAPIProgress;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Progress(ULONG value, ULONG count, ULONG total) noexcept override
    {
        reports.push_back({value, count, total});
        if (onReport)
            onReport(reports.size());
        return static_cast<int>(reports.size()) > cancelAfter ? mapi::MAPI_E_USER_CANCEL : mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetFlags(ULONG* out) noexcept override { return Give(flags, out); }
    mapi::HRESULT DEFTMAPI_STDCALL GetMax(ULONG* out) noexcept override { return Give(most, out); }
    mapi::HRESULT DEFTMAPI_STDCALL GetMin(ULONG* out) noexcept override { return Give(least, out); }
    mapi::HRESULT DEFTMAPI_STDCALL SetLimits(ULONG* min, ULONG* max, ULONG*) noexcept override
    {
        least = min ? *min : least;
        most = max ? *max : most;
        return mapi::S_OK;
    }

    ULONG flags = mapi::MAPI_TOP_LEVEL;
    ULONG least = 0;
    ULONG most = 0;
    int cancelAfter = 1 << 30; // reports that are answered with S_OK
    std::vector<Report> reports;
    std::function<void(std::size_t number)> onReport;

private:
    static mapi::HRESULT Give(ULONG value, ULONG* out)
    {
        *out = value;
        return mapi::S_OK;
    }
};

class FolderCalls : public StoreTest
{
protected:
    static Ptr<mapi::IMAPIFolder> Create(mapi::IMAPIFolder& parent, const char16_t* name, ULONG flags = 0,
                                         mapi::HRESULT expected = mapi::S_OK, ULONG type = mapi::FOLDER_GENERIC)
    {
        Ptr<mapi::IMAPIFolder> folder;
        EXPECT_EQ(parent.CreateFolder(type, const_cast<char16_t*>(name), nullptr, nullptr, mapi::MAPI_UNICODE | flags,
                                      Out(folder)),
                  expected);
        return folder;
    }
    static mapi::HRESULT Delete(mapi::IMAPIFolder& parent, const Bytes& id, ULONG flags,
                                mapi::IMAPIProgress* progress = nullptr)
    {
        return parent.DeleteFolder(static_cast<ULONG>(id.size()), AsEntry(id), 0, progress, flags);
    }
    static mapi::HRESULT Copy(mapi::IMAPIFolder& folder, mapi::IMAPIFolder& to, const char16_t* name, ULONG flags,
                              mapi::IMAPIProgress* progress = nullptr)
    {
        const Bytes id = IdOf(folder);
        return folder.CopyFolder(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, &to, const_cast<char16_t*>(name),
                                 0, progress, mapi::MAPI_UNICODE | flags);
    }
    static mapi::HRESULT CopyMessages(mapi::IMAPIFolder& from, const std::vector<Bytes>& ids, mapi::IMAPIFolder& to,
                                      ULONG flags, mapi::IMAPIProgress* progress = nullptr)
    {
        std::vector<mapi::SBinary> entries;
        mapi::ENTRYLIST list = AsList(ids, entries);
        return from.CopyMessages(&list, nullptr, &to, 0, progress, flags);
    }
    static mapi::ENTRYLIST AsList(const std::vector<Bytes>& ids, std::vector<mapi::SBinary>& entries)
    {
        for (const Bytes& id : ids)
            entries.push_back({static_cast<ULONG>(id.size()), const_cast<std::uint8_t*>(id.data())});
        return {static_cast<ULONG>(entries.size()), entries.data()};
    }
    static Bytes IdOf(mapi::IMAPIProp& object) { return Get(object, tag::EntryId).Blob(); }
    static std::vector<Props> Children(mapi::IMAPIFolder& folder, ULONG flags = 0)
    {
        Ptr<mapi::IMAPITable> table;
        EXPECT_EQ(folder.GetHierarchyTable(mapi::MAPI_UNICODE | flags, Out(table)), mapi::S_OK);
        return Rows(*table, {tag::DisplayName, tag::Depth, tag::Subfolders, tag::ContentCount});
    }
    static std::vector<Props> Contents(mapi::IMAPIFolder& folder, ULONG flags = 0)
    {
        Ptr<mapi::IMAPITable> table;
        EXPECT_EQ(folder.GetContentsTable(mapi::MAPI_UNICODE | flags, Out(table)), mapi::S_OK);
        return Rows(*table, {tag::Subject, tag::EntryId, tag::MessageFlags});
    }
    static Bytes BytesAt(const Props& row, std::size_t column) { return std::get<Bytes>(row[column].data); }
    /// Another store in the same folder; its Inbox.
    Ptr<mapi::IMAPIFolder> OtherInbox()
    {
        const auto file = FFolder.Path() / "other.store";
        if (!FOther) {
            CreateStoreFile(file, ToBytes(NewUid()), u"Other store");
            FOther = StoreFile::Open(file);
        }
        return OpenFolderRow(FOther, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
    }
    /// Counters are those of the rows, every row has its folder, every folder its parent, no value is without owner.
    static void ExpectWhole(StoreFile& store)
    {
        const auto none = [&store](const char* sql) { EXPECT_EQ(store.Db().Scalar(sql), 0) << sql; };
        none("SELECT count(*) FROM folders f WHERE content_count <> (SELECT count(*) FROM messages m WHERE "
             "m.folder = f.id AND associated = 0) AND type <> 2");
        none("SELECT count(*) FROM folders f WHERE unread_count <> (SELECT count(*) FROM messages m WHERE "
             "m.folder = f.id AND associated = 0 AND (flags & 1) = 0) AND type <> 2");
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
    void TearDown() override
    {
        if (FOther)
            ExpectWhole(*FOther);
        FOther.reset();
        if (FStoreFile)
            ExpectWhole(*FStoreFile);
        StoreTest::TearDown();
    }

    StorePtr FOther;
};

} // namespace deftmapi::client::test

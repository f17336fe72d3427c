// The base of the client's store tests: a store of its own in a temporary folder, used through the published
// interfaces. Each test ends with no object and no MAPI buffer alive.
#pragma once

#include "client/entry/Allocator.hpp"
#include "client/entry/ComObject.hpp"
#include "client/store/PropertyTags.hpp"
#include "client/store/Schema.hpp"
#include "client/store/StoreFile.hpp"
#include "client/store/StoreObjects.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace deftmapi::client::test
{

using namespace mapi;
template <typename T>
using Ptr = TKwComPtr<T>;

using deftmapi::test::TemporaryFolder;

[[nodiscard]] inline Bytes ReadFile(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

/// Any number of tags as the structure that calls take.
class Tags
{
public:
    Tags(std::initializer_list<ULONG> tags) : FWords{static_cast<ULONG>(tags.size())}
    {
        FWords.insert(FWords.end(), tags.begin(), tags.end());
    }
    operator LPSPropTagArray() { return reinterpret_cast<LPSPropTagArray>(FWords.data()); }

private:
    std::vector<ULONG> FWords;
};

inline LPENTRYID AsEntry(const Bytes& id)
{
    return reinterpret_cast<LPENTRYID>(const_cast<std::uint8_t*>(id.data()));
}

/// Any number of entry identifiers as the structure that calls take.
class Ids
{
public:
    explicit Ids(std::vector<Bytes> ids) : FIds(std::move(ids))
    {
        for (Bytes& id : FIds)
            FEntries.push_back({static_cast<ULONG>(id.size()), id.data()});
        FList = {static_cast<ULONG>(FEntries.size()), FEntries.data()};
    }
    Ids(const Ids&) = delete;
    Ids& operator=(const Ids&) = delete;
    operator LPENTRYLIST() { return &FList; }

private:
    std::vector<Bytes> FIds;
    std::vector<SBinary> FEntries;
    ENTRYLIST FList{};
};

inline SPropValue Text(ULONG tag, const char16_t* text)
{
    SPropValue value{};
    value.ulPropTag = tag;
    value.Value.lpszW = const_cast<char16_t*>(text);
    return value;
}
/// @param texts  must outlive the value
inline SPropValue Texts(ULONG tag, const std::vector<const char16_t*>& texts)
{
    SPropValue value{};
    value.ulPropTag = tag;
    value.Value.MVszW = {static_cast<ULONG>(texts.size()),
                         reinterpret_cast<LPWSTR*>(const_cast<char16_t**>(texts.data()))};
    return value;
}
inline SPropValue Long(ULONG tag, LONG number)
{
    SPropValue value{};
    value.ulPropTag = tag;
    value.Value.l = number;
    return value;
}
inline SPropValue Binary(ULONG tag, const Bytes& bytes)
{
    SPropValue value{};
    value.ulPropTag = tag;
    value.Value.bin = {static_cast<ULONG>(bytes.size()), const_cast<std::uint8_t*>(bytes.data())};
    return value;
}
inline SPropValue Time(ULONG tag, std::uint64_t time)
{
    SPropValue value{};
    value.ulPropTag = tag;
    value.Value.ft = {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
    return value;
}

/// The value of one property as GetProps gives it; an error property when the object does not have it.
struct Got
{
    MapiBuffer<SPropValue> value;
    [[nodiscard]] bool IsError() const { return PROP_TYPE(value->ulPropTag) == PT_ERROR; }
    [[nodiscard]] SCODE Error() const { return IsError() ? value->Value.err : 0; }
    [[nodiscard]] std::u16string Wide() const { return IsError() ? u"(error)" : value->Value.lpszW; }
    [[nodiscard]] std::string Narrow() const { return IsError() ? "(error)" : value->Value.lpszA; }
    [[nodiscard]] LONG Number() const { return IsError() ? -99999 : value->Value.l; }
    [[nodiscard]] bool Flag() const { return !IsError() && value->Value.b != 0; }
    [[nodiscard]] Bytes Blob() const
    {
        return IsError() ? Bytes() : Bytes(value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb);
    }
};

inline Got Get(IMAPIProp& object, ULONG tag, ULONG flags = MAPI_UNICODE)
{
    Got got;
    ULONG count = 0;
    const auto hr = object.GetProps(Tags{tag}, flags, &count, got.value.Out());
    EXPECT_TRUE(Succeeded(hr)) << std::hex << hr;
    EXPECT_EQ(count, 1u);
    return got;
}

inline void Set(IMAPIProp& object, std::vector<SPropValue> values)
{
    MapiBuffer<SPropProblemArray> problems;
    ASSERT_EQ(object.SetProps(static_cast<ULONG>(values.size()), values.data(), problems.Out()), S_OK);
    EXPECT_FALSE(problems) << std::hex << problems->aProblem[0].ulPropTag << " " << problems->aProblem[0].scode;
}

/// What an object with this identifier is opened as, out of a session, a store or a folder.
template <typename Interface>
Ptr<Interface> Opened(auto& container, const Bytes& id, ULONG flags = MAPI_MODIFY)
{
    ULONG type = 0;
    Ptr<Interface> object;
    const auto hr = container.OpenEntry(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, flags, &type,
                                        reinterpret_cast<LPUNKNOWN*>(Out(object)));
    EXPECT_EQ(hr, S_OK) << std::hex << hr;
    EXPECT_EQ(type, (std::is_same_v<Interface, IMessage> ? MAPI_MESSAGE : MAPI_FOLDER));
    return object;
}
/// The identifier of the folder where messages are delivered.
Bytes InboxIdOf(IMsgStore& store);
Ptr<IMAPIFolder> NewFolder(IMAPIFolder& parent, const char16_t* name, ULONG type = FOLDER_GENERIC);
Ptr<IMessage> EmptyMessage(IMAPIFolder& folder, ULONG flags = 0);
Ptr<IMAPITable> ContentsTable(IMAPIFolder& folder, ULONG flags = 0);
ULONG RowCount(IMAPITable& table);
ULONG RowAt(IMAPITable& table); // its position

/// An ADRLIST of recipients with a name, an address and a type.
struct NewRecipient
{
    const char16_t* name;
    const char16_t* address;
    LONG type = MAPI_TO;
    LONG rowId = -1;
};
HRESULT Modify(IMessage& message, ULONG flags, const std::vector<NewRecipient>& recipients);

/// All rows of a table, walked in batches.
std::vector<Props> Rows(IMAPITable& table, std::initializer_list<ULONG> columns, LONG batch = 7);
inline std::u16string WideAt(const Props& row, std::size_t column)
{
    const auto* text = std::get_if<WideString>(&row[column].data);
    return text ? *text : u"(none)";
}
inline std::int64_t NumberAt(const Props& row, std::size_t column)
{
    const auto* number = std::get_if<std::int64_t>(&row[column].data);
    return number ? *number : -99999;
}
inline Bytes BytesOf(const SBinary& value)
{
    return Bytes(value.lpb, value.lpb + value.cb);
}

Ptr<IStream> OpenStream(IMAPIProp& object, ULONG tag, ULONG flags);
/// A byte sequence that never repeats within a chunk.
Bytes Pattern(std::size_t size, std::uint32_t seed = 1);

class StoreTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;
    /// Closes the store and its file, and opens them again.
    void Close();
    void Reopen();

    [[nodiscard]] std::filesystem::path File() const { return FFolder.Path() / "test.store"; }
    /// A store object with a connection of its own.
    [[nodiscard]] Ptr<IMsgStore> OpenAnother(bool writable = true) const;
    [[nodiscard]] Ptr<IMAPIFolder> OpenFolder(const Bytes& id, ULONG flags = MAPI_MODIFY) const;
    [[nodiscard]] Ptr<IMAPIFolder> Inbox(ULONG flags = MAPI_MODIFY) const;
    [[nodiscard]] Bytes InboxId() const;
    [[nodiscard]] Ptr<IMessage> OpenMessage(const Bytes& id, ULONG flags = MAPI_MODIFY) const;
    static Ptr<IMessage> NewMessage(IMAPIFolder& folder, const char16_t* subject);
    /// Saves and gives the entry identifier.
    static Bytes Save(IMessage& message);
    /// The connection behind FStore, for tests that must break something.
    [[nodiscard]] Database& Db() const { return FStoreFile->Db(); }

    TemporaryFolder FFolder;
    StorePtr FStoreFile;
    Ptr<IMsgStore> FStore;
};

/// The Inbox and its contents table besides.
class ContentsTest : public StoreTest
{
protected:
    void SetUp() override;
    void TearDown() override;
    void Delete(const Bytes& id);
    [[nodiscard]] ULONG Count() const { return RowCount(*FTable); }
    [[nodiscard]] ULONG Position() const { return RowAt(*FTable); }

    Ptr<IMAPIFolder> FInbox;
    Ptr<IMAPITable> FTable;
};

} // namespace deftmapi::client::test

// The base of the client's store tests: a store of its own in a temporary folder, used through the published
// interfaces. Each test ends with no object and no MAPI buffer alive.
#pragma once

#include "client/entry/Allocator.hpp"
#include "client/entry/ComObject.hpp"
#include "client/store/PropertyTags.hpp"
#include "client/store/Schema.hpp"
#include "client/store/StoreFile.hpp"
#include "client/store/StoreObjects.hpp"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace deftmapi::client::test
{

using mapi::ULONG;
template <typename T>
using Ptr = TKwComPtr<T>;

/// A folder that goes with the object.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "deftmapi-test-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("mkdtemp");
        FPath = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(FPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    [[nodiscard]] const std::filesystem::path& Path() const { return FPath; }

private:
    std::filesystem::path FPath;
};

/// Any number of tags as the structure that calls take.
class Tags
{
public:
    Tags(std::initializer_list<ULONG> tags) : FWords{static_cast<ULONG>(tags.size())}
    {
        FWords.insert(FWords.end(), tags.begin(), tags.end());
    }
    operator mapi::LPSPropTagArray() { return reinterpret_cast<mapi::LPSPropTagArray>(FWords.data()); }

private:
    std::vector<ULONG> FWords;
};

inline mapi::SPropValue Text(ULONG tag, const char16_t* text)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.lpszW = const_cast<char16_t*>(text);
    return value;
}
inline mapi::SPropValue Long(ULONG tag, mapi::LONG number)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.l = number;
    return value;
}
inline mapi::SPropValue Binary(ULONG tag, const Bytes& bytes)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.bin = {static_cast<ULONG>(bytes.size()), const_cast<std::uint8_t*>(bytes.data())};
    return value;
}
inline mapi::SPropValue Time(ULONG tag, std::uint64_t time)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.ft = {static_cast<mapi::DWORD>(time), static_cast<mapi::DWORD>(time >> 32)};
    return value;
}

/// The value of one property as GetProps gives it; an error property when the object does not have it.
struct Got
{
    MapiBuffer<mapi::SPropValue> value;
    [[nodiscard]] bool IsError() const { return mapi::PROP_TYPE(value->ulPropTag) == mapi::PT_ERROR; }
    [[nodiscard]] mapi::SCODE Error() const { return IsError() ? value->Value.err : 0; }
    [[nodiscard]] std::u16string Wide() const { return IsError() ? u"(error)" : value->Value.lpszW; }
    [[nodiscard]] std::string Narrow() const { return IsError() ? "(error)" : value->Value.lpszA; }
    [[nodiscard]] mapi::LONG Number() const { return IsError() ? -99999 : value->Value.l; }
    [[nodiscard]] bool Flag() const { return !IsError() && value->Value.b != 0; }
    [[nodiscard]] Bytes Blob() const
    {
        return IsError() ? Bytes() : Bytes(value->Value.bin.lpb, value->Value.bin.lpb + value->Value.bin.cb);
    }
};

inline Got Get(mapi::IMAPIProp& object, ULONG tag, ULONG flags = mapi::MAPI_UNICODE)
{
    Got got;
    ULONG count = 0;
    const auto hr = object.GetProps(Tags{tag}, flags, &count, got.value.Out());
    EXPECT_TRUE(mapi::Succeeded(hr)) << std::hex << hr;
    EXPECT_EQ(count, 1u);
    return got;
}

inline void Set(mapi::IMAPIProp& object, std::vector<mapi::SPropValue> values)
{
    MapiBuffer<mapi::SPropProblemArray> problems;
    ASSERT_EQ(object.SetProps(static_cast<ULONG>(values.size()), values.data(), problems.Out()), mapi::S_OK);
    EXPECT_FALSE(problems) << std::hex << problems->aProblem[0].ulPropTag << " " << problems->aProblem[0].scode;
}

inline mapi::LPENTRYID AsEntry(const Bytes& id)
{
    return reinterpret_cast<mapi::LPENTRYID>(const_cast<std::uint8_t*>(id.data()));
}

/// An ADRLIST of recipients with a name, an address and a type.
struct NewRecipient
{
    const char16_t* name;
    const char16_t* address;
    mapi::LONG type = mapi::MAPI_TO;
    mapi::LONG rowId = -1;
};
mapi::HRESULT Modify(mapi::IMessage& message, ULONG flags, const std::vector<NewRecipient>& recipients);

/// All rows of a table, walked in batches.
std::vector<Props> Rows(mapi::IMAPITable& table, std::initializer_list<ULONG> columns, mapi::LONG batch = 7);
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

Ptr<mapi::IStream> OpenStream(mapi::IMAPIProp& object, ULONG tag, ULONG flags);
/// A byte sequence that never repeats within a chunk.
Bytes Pattern(std::size_t size, std::uint32_t seed = 1);

class StoreTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    [[nodiscard]] std::filesystem::path File() const { return FFolder.Path() / "test.store"; }
    /// A store object with a connection of its own.
    [[nodiscard]] Ptr<mapi::IMsgStore> OpenAnother(bool writable = true) const;
    [[nodiscard]] Ptr<mapi::IMAPIFolder> OpenFolder(const Bytes& id, ULONG flags = mapi::MAPI_MODIFY) const;
    [[nodiscard]] Ptr<mapi::IMAPIFolder> Inbox(ULONG flags = mapi::MAPI_MODIFY) const;
    [[nodiscard]] Bytes InboxId() const;
    [[nodiscard]] Ptr<mapi::IMessage> OpenMessage(const Bytes& id, ULONG flags = mapi::MAPI_MODIFY) const;
    static Ptr<mapi::IMessage> NewMessage(mapi::IMAPIFolder& folder, const char16_t* subject);
    /// Saves and gives the entry identifier.
    static Bytes Save(mapi::IMessage& message);
    /// The connection behind FStore, for tests that must break something.
    [[nodiscard]] Database& Db() const { return FStoreFile->Db(); }

    TemporaryFolder FFolder;
    StorePtr FStoreFile;
    Ptr<mapi::IMsgStore> FStore;
};

/// The Inbox and its contents table besides.
class ContentsTest : public StoreTest
{
protected:
    void SetUp() override;
    void TearDown() override;
    void Delete(Bytes id);
    [[nodiscard]] ULONG Count();

    Ptr<mapi::IMAPIFolder> FInbox;
    Ptr<mapi::IMAPITable> FTable;
};

} // namespace deftmapi::client::test

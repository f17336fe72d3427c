// Recipient rows are passed in MAPI memory, one block for each row, because a store may keep or resize them.
#include "client/formats/Recipients.hpp"

#include "client/formats/MimeTags.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client::mime
{

namespace
{

// Rows passed in one call; more are passed in several, so that memory stays small.
constexpr std::size_t rowsPerCall = 500;
constexpr auto sSmtp = u"SMTP";
constexpr std::uint16_t oneOffFlags = 0x9001;

void AppendNumber(std::string& out, std::uint64_t value, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        out.push_back(static_cast<char>(value >> (8 * i)));
}

void AppendWide(std::string& out, WideView text)
{
    for (const char16_t c : text)
        AppendNumber(out, c, 2);
    AppendNumber(out, 0, 2);
}

/// Size in bytes of what a value points to, terminator included.
std::size_t DataSize(const mapi::SPropValue& value) noexcept
{
    switch (mapi::PROP_TYPE(value.ulPropTag)) {
    case mapi::PT_UNICODE:
        return (WideView(value.Value.lpszW).size() + 1) * sizeof(char16_t);
    case mapi::PT_BINARY:
        return value.Value.bin.cb;
    default:
        return 0;
    }
}

/// The values and everything they point to in one MAPI block. Texts come first, so that they are aligned.
MapiBuffer<mapi::SPropValue> CopyRow(const std::vector<mapi::SPropValue>& values)
{
    std::size_t size = values.size() * sizeof(mapi::SPropValue);
    for (const auto& value : values)
        size += DataSize(value);
    auto row = AllocateAs<mapi::SPropValue>(size);
    std::copy(values.begin(), values.end(), row.Get());
    auto* at = reinterpret_cast<mapi::BYTE*>(row.Get() + values.size());
    for (const mapi::ULONG type : {mapi::PT_UNICODE, mapi::PT_BINARY}) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            mapi::SPropValue& value = row.Get()[i];
            if (mapi::PROP_TYPE(value.ulPropTag) != type)
                continue;
            const std::size_t bytes = DataSize(values[i]);
            const void* from =
                type == mapi::PT_UNICODE ? static_cast<const void*>(values[i].Value.lpszW) : values[i].Value.bin.lpb;
            if (bytes > 0)
                std::memcpy(at, from, bytes);
            if (type == mapi::PT_UNICODE)
                value.Value.lpszW = reinterpret_cast<char16_t*>(at);
            else
                value.Value.bin.lpb = at;
            at += bytes;
        }
    }
    return row;
}

struct TFreeList
{
    void operator()(mapi::ADRLIST* list) const noexcept { FreeAddressList(list); }
};

void FillRow(TPropList& row, const TRecipient& recipient, mapi::LONG type, mapi::LONG rowId)
{
    row.AddLong(tag::RecipientType, type);
    row.AddText(tag::DisplayName, recipient.Name);
    row.AddText(tag::AddrType, sSmtp);
    row.AddText(tag::EmailAddress, recipient.Address);
    row.AddText(tag::SmtpAddress, recipient.Address);
    row.AddBinary(tag::EntryId, OneOffEntryId(recipient));
    row.AddBinary(tag::SearchKey, SmtpSearchKey(recipient));
    row.AddLong(tag::ObjectType, mapi::MAPI_MAILUSER);
    row.AddLong(tag::DisplayType, mapi::DT_MAILUSER);
    row.AddBool(tag::SendRichInfo, false);
    row.AddLong(tag::RowId, rowId);
}

} // namespace

TRecipient MakeRecipient(const TMimeAddress& address)
{
    TRecipient result{WithoutZeros(KwFromUtf8(address.Name)), WithoutZeros(KwFromUtf8(address.Address))};
    if (KwTrim(result.Name).empty())
        result.Name = result.Address;
    return result;
}

std::string OneOffEntryId(const TRecipient& recipient)
{
    std::string id(4, '\0');
    id.append(reinterpret_cast<const char*>(mapi::MAPI_ONE_OFF_UID.ab), sizeof(mapi::MAPI_ONE_OFF_UID.ab));
    AppendNumber(id, 0, 2);
    AppendNumber(id, oneOffFlags, 2);
    AppendWide(id, recipient.Name);
    AppendWide(id, sSmtp);
    AppendWide(id, recipient.Address);
    return id;
}

std::string SmtpSearchKey(const TRecipient& recipient)
{
    std::string key = "SMTP:" + KwToUtf8(KwUpperCase(recipient.Address));
    key.push_back('\0');
    return key;
}

std::string FlatEntryList(const std::vector<TRecipient>& recipients)
{
    std::string entries;
    for (const TRecipient& recipient : recipients) {
        const std::string id = OneOffEntryId(recipient);
        AppendNumber(entries, id.size(), 4);
        entries.append(id).append((4 - id.size() % 4) % 4, '\0');
    }
    std::string list;
    AppendNumber(list, recipients.size(), 4);
    AppendNumber(list, entries.size(), 4);
    return list.append(entries);
}

void AddRecipients(mapi::IMessage& message, const std::vector<TMimeAddress>& addresses, mapi::LONG type,
                   mapi::LONG& rowId)
{
    for (std::size_t first = 0; first < addresses.size(); first += rowsPerCall) {
        const std::size_t count = std::min(rowsPerCall, addresses.size() - first);
        const std::size_t size = offsetof(mapi::ADRLIST, aEntries) + count * sizeof(mapi::ADRENTRY);
        std::unique_ptr<mapi::ADRLIST, TFreeList> list(AllocateAs<mapi::ADRLIST>(size).Detach());
        for (std::size_t i = 0; i < count; ++i) {
            TPropList row;
            FillRow(row, MakeRecipient(addresses[first + i]), type, rowId++);
            mapi::ADRENTRY& entry = list->aEntries[i];
            entry.rgPropVals = CopyRow(row.Values()).Detach();
            entry.cValues = static_cast<mapi::ULONG>(row.Values().size());
            list->cEntries = static_cast<mapi::ULONG>(i + 1);
        }
        CheckCall(message.ModifyRecipients(mapi::MODRECIP_ADD, list.get()), u"ModifyRecipients");
    }
}

} // namespace deftmapi::client::mime

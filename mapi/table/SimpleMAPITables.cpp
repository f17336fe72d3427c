// The tables of Simple MAPI folders; see uKwSimpleMAPITables.hpp.
#include "mapi/table/uKwSimpleMAPITables.hpp"

#include "mapi/core/uKwMAPIEntryID.hpp"
#include "mapi/core/uKwMAPIH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/headers/uKwSimpleMAPIH.hpp"
#include "support/uKwEncoding.hpp"

#include <array>
#include <charconv>
#include <cstring>
#include <ctime>
#include <memory>

namespace deftmapi
{

namespace
{

constexpr auto sTableReadOnly = u"The table is readonly!";
constexpr auto sOnlySimple = u"Simple MAPI only supports the bitmask filter";

constexpr auto DefaultClass = u"IPM.Note";
constexpr std::size_t IdSize = 512; // what a client may write with MAPI_LONG_MSGID
constexpr double UnixEpoch = 25569; // 1970-01-01 as a date
constexpr double SecondsPerDay = 86400;

[[noreturn]] void RaiseReadOnly()
{
    CreateKwMAPIException(mapi::MAPI_E_NO_ACCESS, sTableReadOnly)->Raise();
}

TKwVariant TextOf(const char* text)
{
    return text != nullptr ? TKwVariant(TKwEncoding().ToWide(text)) : TKwVariant();
}

/// "2024/05/31 09:30", local time. Nothing for what is no time.
TKwVariant TimeOf(const char* text)
{
    if (text == nullptr)
        return {};
    std::array<int, 5> parts{}; // year, month, day, hour, minute
    const char* const end = text + std::strlen(text);
    const char* at = text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto [next, error] = std::from_chars(at, end, parts[i]);
        if (error != std::errc())
            return {};
        at = next < end ? next + 1 : end;
    }
    std::tm local{};
    local.tm_year = parts[0] - 1900;
    local.tm_mon = parts[1] - 1;
    local.tm_mday = parts[2];
    local.tm_hour = parts[3];
    local.tm_min = parts[4];
    local.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&local);
    if (seconds == static_cast<std::time_t>(-1))
        return {};
    return TKwDate{UnixEpoch + static_cast<double>(seconds) / SecondsPerDay};
}

struct TFreeMessage
{
    void operator()(mapi::MapiMessage* message) const noexcept { KwFreeMAPIBuffer(nullptr, message); }
};

} // namespace

// ---- Folders

TKwMAPIEntryID KwSimpleMAPIFolderID(TKwMAPIFolderType folderType)
{
    TKwBytes bytes;
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(folderType >> shift));
    return bytes;
}

TKwMAPIFolderType KwSimpleMAPIFolderType(const TKwMAPIEntryID& entryID)
{
    const TKwBytes bytes = EntryIDToArr(entryID);
    if (bytes.size() != sizeof(TKwMAPIFolderType))
        return 0;
    TKwMAPIFolderType type = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        type = type << 8 | bytes[i];
    return type;
}

TKwSimpleMAPIFolderHierachieTable::TKwSimpleMAPIFolderHierachieTable(TKwMAPIObject& owner, TKwMAPIFolderType folderType)
    : TKwMAPIMemoryTable(&owner)
{
    for (const TKwMAPIPropDef def : {PR_ENTRYID, PR_DISPLAY_NAME, PR_FOLDER_TYPE, PR_DEPTH})
        Get_Fields()->Add(def);
    const auto add = [&](TKwMAPIFolderType type, const char16_t* name) {
        Insert();
        SetFieldValue(PR_ENTRYID, KwSimpleMAPIFolderID(type));
        SetFieldValue(PR_DISPLAY_NAME, WideString(name));
        SetFieldValue(PR_FOLDER_TYPE, static_cast<std::int32_t>(type));
        SetFieldValue(PR_DEPTH, 1);
    };
    if (folderType == ftIPMRoot) {
        add(ftInbox, u"Inbox");
        add(ftOutbox, u"Outbox");
    }
    First();
    SetModified(false);
    FReadOnly = true;
}

void TKwSimpleMAPIFolderHierachieTable::Edit()
{
    if (FReadOnly)
        RaiseReadOnly();
}

// ---- Messages

TKwSimpleMAPIFolderContentTable::TKwSimpleMAPIFolderContentTable(TKwMAPIObject& owner, mapi::LHANDLE session,
                                                                 mapi::ULONG_PTR window)
    : TKwMAPIMemoryTable(&owner), FSession(session), FWindow(window)
{
    for (const TKwMAPIPropDef def : {PR_ENTRYID, PR_SUBJECT, PR_MESSAGE_CLASS, PR_SENDER_NAME, PR_SENDER_EMAIL_ADDRESS,
                                     PR_MESSAGE_DELIVERY_TIME, PR_MESSAGE_FLAGS})
        Get_Fields()->Add(def);
    Close(); // the first operation opens it, and that reads the rows
}

void TKwSimpleMAPIFolderContentTable::Open()
{
    if (Get_Active())
        return;
    TKwMAPIMemoryTable::Open();
    FReadOnly = false;
    try {
        Clear();
        std::array<char, IdSize> seed{};
        std::array<char, IdSize> found{};
        for (;;) {
            try {
                MAPIFindNext(FSession, FWindow, nullptr, seed[0] != '\0' ? seed.data() : nullptr,
                             mapi::MAPI_GUARANTEE_FIFO | mapi::MAPI_LONG_MSGID, 0, found.data());
            } catch (const EMAPI_NO_MESSAGES&) {
                break; // how it says that there are no more
            }
            found.back() = '\0';
            AddMessage(found.data());
            seed = found;
        }
    } catch (...) {
        FReadOnly = true;
        Close();
        throw;
    }
    FilterRows(FFilter);
    First();
    SetModified(false);
    FReadOnly = true;
}

void TKwSimpleMAPIFolderContentTable::AddMessage(const char* id)
{
    std::array<char, IdSize> copy{};
    std::strncpy(copy.data(), id, copy.size() - 1);
    mapi::lpMapiMessage read = nullptr;
    MAPIReadMail(FSession, FWindow, copy.data(),
                 mapi::MAPI_ENVELOPE_ONLY | mapi::MAPI_PEEK | mapi::MAPI_SUPPRESS_ATTACH, 0, &read);
    const std::unique_ptr<mapi::MapiMessage, TFreeMessage> message(read);
    if (!message)
        return;
    Insert();
    SetFieldValue(PR_ENTRYID, BinToEntryID(static_cast<std::int32_t>(std::strlen(id)), id));
    SetFieldValue(PR_SUBJECT, TextOf(message->lpszSubject));
    const TKwVariant messageClass = TextOf(message->lpszMessageType);
    SetFieldValue(PR_MESSAGE_CLASS, messageClass.IsEmptyOrNull() ? TKwVariant(WideString(DefaultClass)) : messageClass);
    if (message->lpOriginator != nullptr) {
        SetFieldValue(PR_SENDER_NAME, TextOf(message->lpOriginator->lpszName));
        SetFieldValue(PR_SENDER_EMAIL_ADDRESS, TextOf(message->lpOriginator->lpszAddress));
    }
    SetFieldValue(PR_MESSAGE_DELIVERY_TIME, TimeOf(message->lpszDateReceived));
    const bool unread = (message->flFlags & mapi::MAPI_UNREAD) != 0;
    SetFieldValue(PR_MESSAGE_FLAGS, unread ? 0 : static_cast<std::int32_t>(mapi::MSGFLAG_READ));
}

void TKwSimpleMAPIFolderContentTable::Edit()
{
    if (FReadOnly)
        RaiseReadOnly();
}

TKwRef<IKwMAPIRestriction> TKwSimpleMAPIFolderContentTable::CreateRestriction(TKwMAPIRestrictionType type)
{
    return TKwSimpleMAPIRestrictionBitMask::Create(*this, type);
}

void TKwSimpleMAPIFolderContentTable::Filter(const TKwRef<IKwMAPIRestriction>& restriction)
{
    TKwMAPIRowPredicate filter;
    if (restriction) {
        const auto bits = KwAs<IKwSimpleMAPIRestrictionBitMask>(restriction);
        if (!bits)
            CreateKwMAPIException(KwNotSupported, sOnlySimple)->Raise();
        filter = [def = bits->Get_PropDef(), mask = bits->Get_BitMask(),
                  clear = bits->Get_Operator() == bmoEqualsZero](const IKwMAPIMemoryRow& row) {
            const TKwVariant value = row.GetFieldValue(def);
            return ((value.IsEmptyOrNull() ? 0 : value.AsInteger() & mask) == 0) == clear;
        };
    }
    FilterRows(filter);
    FFilter = std::move(filter);
}

} // namespace deftmapi

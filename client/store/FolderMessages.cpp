// What a folder does with its messages: create, copy, move, delete, read flags, status.
#include "client/store/Attachment.hpp"
#include "client/store/Folder.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sOtherStore =
    u"Messages and folders can only be copied within one store; copy their properties instead.";
constexpr auto sNoMessage = u"The message does not exist.";
constexpr auto sNoDestination = u"The destination is not a folder.";

/// Messages per transaction when a folder is emptied.
constexpr std::int64_t PurgePiece = 1000;

} // namespace

void PurgeMessages(StoreFile& store, std::int64_t row, bool withAssociated)
{
    for (;;) {
        Transaction transaction(store.Db());
        std::vector<std::int64_t> rows;
        {
            Query query = store.Db().Prepare("SELECT id FROM messages WHERE folder = ?1 AND associated <= ?2 LIMIT ?3");
            query.Bind(1, row).Bind(2, withAssociated ? 1 : 0).Bind(3, PurgePiece);
            while (query.Step())
                rows.push_back(query.Number(0));
        }
        for (const std::int64_t message : rows)
            DeleteMessageRow(store, message);
        transaction.Commit();
        if (rows.empty())
            return;
    }
}

std::vector<std::int64_t> FolderObject::MessageRows(const mapi::ENTRYLIST* list, std::size_t& bad)
{
    std::vector<std::int64_t> rows;
    Require(list, u"lpMsgList");
    if (list->cValues)
        Require(list->lpbin, u"lpMsgList");
    for (ULONG i = 0; i < list->cValues; ++i) {
        try {
            const mapi::SBinary& id = list->lpbin[i];
            rows.push_back(FStore->RowOf(id.cb, reinterpret_cast<const mapi::ENTRYID*>(id.lpb), EntryKind::Message));
        } catch (const Failure&) {
            ++bad; // reported to the caller as partial completion
        }
    }
    return rows;
}

std::int64_t FolderObject::DestinationRow(mapi::LPVOID destination, mapi::LPCIID iid)
{
    RequireInterface(iid,
                     {&mapi::IID_IMAPIFolder, &mapi::IID_IMAPIContainer, &mapi::IID_IMAPIProp, &mapi::IID_IUnknown});
    Require(destination, u"lpDestFolder");
    TKwComPtr<mapi::IMAPIFolder> folder;
    if (mapi::Failed(static_cast<mapi::IUnknown*>(destination)->QueryInterface(mapi::IID_IMAPIFolder, OutVoid(folder))))
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoDestination);
    mapi::SPropTagArray wanted{1, {tag::EntryId}};
    ULONG count = 0;
    MapiBuffer<mapi::SPropValue> values;
    if (folder->GetProps(&wanted, 0, &count, values.Out()) != mapi::S_OK)
        Fail(mapi::MAPI_E_NO_SUPPORT, sOtherStore);
    const mapi::SBinary& id = values->Value.bin;
    const auto reference = ParseEntryId({id.lpb, id.cb});
    if (!reference || reference->store != FStore->Id() || reference->kind != EntryKind::Folder)
        Fail(mapi::MAPI_E_NO_SUPPORT, sOtherStore);
    return reference->row;
}

mapi::HRESULT FolderObject::CreateMessage(mapi::LPCIID iid, ULONG flags, mapi::LPMESSAGE* message) noexcept
{
    return Run([&] {
        Require(message, u"lppMessage");
        *message = nullptr;
        RequireFlags(flags, mapi::MAPI_ASSOCIATED | mapi::MAPI_DEFERRED_ERRORS | mapi::ITEMPROC_FORCE);
        RequireInterface(iid, {&mapi::IID_IMessage, &mapi::IID_IMAPIProp});
        RequireWritable();
        Refresh();
        MessageState state = NewMessage(FRow, (flags & mapi::MAPI_ASSOCIATED) != 0);
        *message = TKwComPtr<mapi::IMessage>(new MessageObject(FStore, std::move(state), true, nullptr)).Detach();
    });
}

mapi::HRESULT FolderObject::CopyMessages(mapi::LPENTRYLIST list, mapi::LPCIID iid, mapi::LPVOID destination,
                                         mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::MESSAGE_MOVE | mapi::MESSAGE_DIALOG | mapi::MAPI_DECLINE_OK | mapi::MAPI_UNICODE |
                                mapi::MESSAGE_BEST_BODY | mapi::MESSAGE_SEND_ENTRYID);
        RequireWritable();
        const std::int64_t target = DestinationRow(destination, iid);
        std::size_t missed = 0;
        const std::vector<std::int64_t> rows = MessageRows(list, missed);
        Transaction transaction(FStore->Db());
        for (const std::int64_t row : rows) {
            if (flags & mapi::MESSAGE_MOVE) {
                missed += !MoveMessage(*FStore, row, target);
                continue;
            }
            Query exists = FStore->Db().Prepare("SELECT 1 FROM messages WHERE id = ?1 AND folder IS NOT NULL");
            if (!exists.Bind(1, row).Step()) {
                ++missed;
                continue;
            }
            MessageState copy = CopyOfMessage(*FStore, row, target);
            SaveMessage(*FStore, copy, false);
        }
        transaction.Commit();
        return missed ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
    });
}

mapi::HRESULT FolderObject::DeleteMessages(mapi::LPENTRYLIST list, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                           ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::MESSAGE_DIALOG | mapi::DELETE_HARD_DELETE);
        RequireWritable();
        std::size_t missed = 0;
        const std::vector<std::int64_t> rows = MessageRows(list, missed);
        Transaction transaction(FStore->Db());
        for (const std::int64_t row : rows)
            missed += !DeleteMessageRow(*FStore, row);
        transaction.Commit();
        return missed ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
    });
}

mapi::HRESULT FolderObject::SetReadFlags(mapi::LPENTRYLIST list, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                         ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::CLEAR_READ_FLAG | mapi::SUPPRESS_RECEIPT | mapi::GENERATE_RECEIPT_ONLY |
                                mapi::CLEAR_RN_PENDING | mapi::CLEAR_NRN_PENDING | mapi::MAPI_DEFERRED_ERRORS |
                                mapi::MESSAGE_DIALOG);
        RequireWritable();
        const ReadFlagChange change(flags);
        std::size_t missed = 0;
        Transaction transaction(FStore->Db());
        if (list) {
            const std::vector<std::int64_t> rows = MessageRows(list, missed);
            missed += SetReadFlagsOf(*FStore, rows, change);
        } else {
            SetReadFlagsIn(*FStore, FRow, change);
        }
        transaction.Commit();
        return missed ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
    });
}

mapi::HRESULT FolderObject::GetMessageStatus(ULONG size, mapi::LPENTRYID id, ULONG flags, ULONG* status) noexcept
{
    return Run([&] {
        Require(status, u"lpulMessageStatus");
        *status = 0;
        RequireFlags(flags, 0);
        Query query = FStore->Db().Prepare("SELECT status FROM messages WHERE id = ?1");
        if (!query.Bind(1, FStore->RowOf(size, id, EntryKind::Message)).Step())
            Fail(mapi::MAPI_E_NOT_FOUND, sNoMessage);
        *status = static_cast<ULONG>(query.Number(0));
    });
}

mapi::HRESULT FolderObject::SetMessageStatus(ULONG size, mapi::LPENTRYID id, ULONG status, ULONG mask,
                                             ULONG* old) noexcept
{
    return Run([&] {
        RequireWritable();
        const std::int64_t row = FStore->RowOf(size, id, EntryKind::Message);
        Transaction transaction(FStore->Db());
        const std::int64_t before = SetStatusOf(*FStore, row, status, mask);
        transaction.Commit();
        if (old)
            *old = static_cast<ULONG>(before);
    });
}

} // namespace deftmapi::client

// What a folder does with its messages: create, copy, move, delete, read flags, status.
#include "client/store/Attachment.hpp"
#include "client/store/Transfer.hpp"

#include <algorithm>
#include <unordered_set>

namespace deftmapi::client
{
namespace
{

constexpr auto sOtherProvider = u"Messages and folders can only be copied to folders of this client's stores.";
constexpr auto sReadOnlyTarget = u"The destination was opened for reading only.";
constexpr auto sNoMessage = u"The message does not exist.";
constexpr auto sNoDestination = u"The destination is not a folder.";

/// Messages whose flags are changed by one statement while an application watches.
constexpr std::size_t FlagsPiece = 64;

std::vector<std::int64_t> OrdinaryMessages(StoreFile& store, std::int64_t folder)
{
    return store.Db().Prepare("SELECT id FROM messages WHERE folder = ?1 AND associated = 0").Bind(1, folder).Numbers();
}

/// False for an embedded message as well: its attachment owns it.
bool LiesInFolder(StoreFile& store, std::int64_t row)
{
    return store.Db().Prepare("SELECT 1 FROM messages WHERE id = ?1 AND folder IS NOT NULL").Bind(1, row).Step();
}

/// Each row once, where it comes first.
void DropRepeated(std::vector<std::int64_t>& rows)
{
    std::unordered_set<std::int64_t> known;
    std::erase_if(rows, [&known](std::int64_t row) { return !known.insert(row).second; });
}

} // namespace

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

TKwComPtr<FolderObject> FolderObject::Destination(mapi::LPVOID destination, mapi::LPCIID iid)
{
    RequireInterface(iid,
                     {&mapi::IID_IMAPIFolder, &mapi::IID_IMAPIContainer, &mapi::IID_IMAPIProp, &mapi::IID_IUnknown});
    Require(destination, u"lpDestFolder");
    auto& unknown = *static_cast<mapi::IUnknown*>(destination);
    TKwComPtr<mapi::IMAPIFolder> folder;
    if (mapi::Failed(unknown.QueryInterface(mapi::IID_IMAPIFolder, OutVoid(folder))))
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoDestination);
    TKwComPtr<mapi::IMAPIFolder> own;
    if (mapi::Failed(unknown.QueryInterface(IID_OwnFolder, OutVoid(own))))
        Fail(mapi::MAPI_E_NO_SUPPORT, sOtherProvider);
    TKwComPtr<FolderObject> target(static_cast<FolderObject*>(own.Get()));
    if (!target->IsWritable())
        Fail(mapi::MAPI_E_NO_ACCESS, sReadOnlyTarget);
    return target;
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
        RequireNoSearch(FState);
        MessageState state = NewMessage(FRow, (flags & mapi::MAPI_ASSOCIATED) != 0);
        *message = TKwComPtr<mapi::IMessage>(new MessageObject(FStore, std::move(state), true, nullptr)).Detach();
    });
}

std::size_t FolderObject::CopyMessagesAcross(const std::vector<std::int64_t>& rows, FolderObject& target, bool move,
                                             ProgressMeter& meter)
{
    std::size_t missed = 0;
    Transfer transfer(*FStore, *target.FStore, meter);
    {
        Transaction transaction(target.FStore->Db());
        const Snapshot snapshot(FStore->Db());
        target.Refresh(); // it must still be there
        RequireNoSearch(target.FState);
        for (const std::int64_t row : rows)
            missed += !transfer.CopyMessage(row, target.FRow);
        transaction.Commit();
    }
    if (!move)
        return missed;
    return missed + transfer.RemoveMessages();
}

mapi::HRESULT FolderObject::CopyMessages(mapi::LPENTRYLIST list, mapi::LPCIID iid, mapi::LPVOID destination,
                                         mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress, ULONG flags) noexcept
{
    return Guard(FLast, [&] {
        RequireFlags(flags, mapi::MESSAGE_MOVE | mapi::MESSAGE_DIALOG | mapi::MAPI_DECLINE_OK | mapi::MAPI_UNICODE |
                                mapi::MESSAGE_BEST_BODY | mapi::MESSAGE_SEND_ENTRYID);
        const bool move = (flags & mapi::MESSAGE_MOVE) != 0;
        if (move)
            RequireWritable();
        const TKwComPtr<FolderObject> target = Destination(destination, iid);
        const BothLocks locks(*FStore, *target->FStore);
        std::size_t missed = 0;
        std::vector<std::int64_t> rows = MessageRows(list, missed);
        if (move)
            DropRepeated(rows); // it moves once, and another store would have it twice
        ProgressMeter meter(progress, static_cast<std::int64_t>(rows.size()), {&FStore->Db(), &target->FStore->Db()});
        if (!IsOfStore(*target)) {
            missed += CopyMessagesAcross(rows, *target, move, meter);
            return missed ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
        }
        StoreFile& store = *target->FStore;
        Transaction transaction(store.Db());
        target->Refresh(); // it must still be there
        RequireNoSearch(target->FState);
        Transfer transfer(store, store, meter);
        for (const std::int64_t row : rows) {
            if (!move) {
                missed += !transfer.CopyMessage(row, target->FRow);
                continue;
            }
            missed += !MoveMessage(store, row, target->FRow);
            meter.Step();
        }
        transaction.Commit();
        return missed ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
    });
}

mapi::HRESULT FolderObject::DeleteMessages(mapi::LPENTRYLIST list, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress,
                                           ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::MESSAGE_DIALOG | mapi::DELETE_HARD_DELETE);
        RequireWritable();
        std::size_t missed = 0;
        const std::vector<std::int64_t> rows = MessageRows(list, missed);
        ProgressMeter meter(progress, static_cast<std::int64_t>(rows.size()), {&FStore->Db()});
        Transaction transaction(FStore->Db());
        for (const std::int64_t row : rows) {
            missed += !(LiesInFolder(*FStore, row) && DeleteMessageRow(*FStore, row));
            meter.Step();
        }
        transaction.Commit();
        return missed ? mapi::MAPI_W_PARTIAL_COMPLETION : mapi::S_OK;
    });
}

mapi::HRESULT FolderObject::SetReadFlags(mapi::LPENTRYLIST list, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS progress,
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
        Refresh();
        if (!list && !progress && !FState.IsSearch()) {
            SetReadFlagsIn(*FStore, FRow, change);
        } else {
            const auto rows = list                ? MessageRows(list, missed)
                              : FState.IsSearch() ? FStore->Searches().Messages(FRow)
                                                  : OrdinaryMessages(*FStore, FRow);
            ProgressMeter meter(progress, static_cast<std::int64_t>(rows.size()), {&FStore->Db()});
            const std::size_t piece = progress ? FlagsPiece : std::max<std::size_t>(rows.size(), 1);
            for (std::size_t at = 0; at < rows.size(); at += piece) {
                const auto from = rows.begin() + static_cast<std::ptrdiff_t>(at);
                const auto count = std::min(piece, rows.size() - at);
                missed += SetReadFlagsOf(*FStore, {from, from + static_cast<std::ptrdiff_t>(count)}, change);
                meter.Step(static_cast<std::int64_t>(count));
            }
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
        Query query = FStore->Db().Prepare("SELECT status FROM messages WHERE id = ?1 AND folder IS NOT NULL");
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

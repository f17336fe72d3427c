#include "tests/session/ScriptedObjects.hpp"

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"

namespace deftmapi::test
{

namespace
{

/// Gives out a reference on an object that the double keeps.
template <typename Object, typename Interface>
mapi::HRESULT Give(const TKwComPtr<Object>& kept, Interface** given)
{
    *given = TKwComPtr<Interface>(kept.Get()).Detach();
    return *given != nullptr ? mapi::S_OK : mapi::MAPI_E_NOT_FOUND;
}

std::string IdsOf(mapi::LPENTRYLIST list)
{
    std::string ids;
    for (mapi::ULONG i = 0; i < list->cValues; ++i)
        ids += HexOf(list->lpbin[i].cb, list->lpbin[i].lpb) + ",";
    return ids;
}

/// The name of a folder that a call has as its destination.
std::string NameOf(mapi::LPCIID iid, void* destination)
{
    if (iid == nullptr || *iid != mapi::IID_IMAPIFolder)
        return "?";
    const auto* name = static_cast<TScriptedFolder*>(static_cast<mapi::IMAPIFolder*>(destination))
                           ->Bag.Find(GetPropTag(PR_DISPLAY_NAME));
    return KwToUtf8(name->Value.lpszW);
}

} // namespace

std::string HexOf(mapi::ULONG size, const void* bytes)
{
    std::string text;
    for (mapi::ULONG i = 0; i < size; ++i) {
        constexpr char Digits[] = "0123456789ABCDEF";
        const auto byte = static_cast<const std::uint8_t*>(bytes)[i];
        text += Digits[byte >> 4];
        text += Digits[byte & 15];
    }
    return text;
}

std::string TextArgument(const void* text, mapi::ULONG flags)
{
    if (text == nullptr)
        return "null";
    if ((flags & mapi::MAPI_UNICODE) != 0)
        return '"' + KwToUtf8(static_cast<const char16_t*>(text)) + '"';
    return "'" + std::string(static_cast<const char*>(text)) + "'";
}

mapi::SPropValue BinaryValue(mapi::ULONG tag, std::string_view bytes)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.bin.cb = static_cast<mapi::ULONG>(bytes.size());
    value.Value.bin.lpb = reinterpret_cast<mapi::BYTE*>(const_cast<char*>(bytes.data()));
    return value;
}

// ---- TScriptedMessage

TScriptedMessage::TScriptedMessage(TCallsRef calls, std::string label)
    : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMessage}, std::move(label)),
      Recipients(new TScriptedTable(calls)), Attachments(new TScriptedTable(calls)), FCalls(calls)
{}

mapi::HRESULT TScriptedMessage::GetAttachmentTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetAttachmentTable", Hex(flags)))
        return *result;
    return Give(Attachments, table);
}

mapi::HRESULT TScriptedMessage::OpenAttach(mapi::ULONG number, mapi::LPCIID, mapi::ULONG flags,
                                           mapi::LPATTACH* attachment)
{
    if (const auto result = FCalls->Enter("OpenAttach", std::to_string(number) + "," + Hex(flags)))
        return *result;
    return Give(Attached[number], attachment);
}

mapi::HRESULT TScriptedMessage::CreateAttach(mapi::LPCIID, mapi::ULONG, mapi::ULONG*, mapi::LPATTACH*)
{
    return Bag.Refuse("CreateAttach", "");
}

mapi::HRESULT TScriptedMessage::DeleteAttach(mapi::ULONG, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::ULONG)
{
    return Bag.Refuse("DeleteAttach", "");
}

mapi::HRESULT TScriptedMessage::GetRecipientTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetRecipientTable", Hex(flags)))
        return *result;
    return Give(Recipients, table);
}

mapi::HRESULT TScriptedMessage::ModifyRecipients(mapi::ULONG, mapi::LPADRLIST)
{
    return Bag.Refuse("ModifyRecipients", "");
}

mapi::HRESULT TScriptedMessage::SubmitMessage(mapi::ULONG)
{
    return Bag.Refuse("SubmitMessage", "");
}

mapi::HRESULT TScriptedMessage::SetReadFlag(mapi::ULONG)
{
    return Bag.Refuse("SetReadFlag", "");
}

// ---- TScriptedFolder

TScriptedFolder::TScriptedFolder(TCallsRef calls, std::string id, const char16_t* name)
    : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMAPIContainer, mapi::IID_IMAPIFolder}, id + "."),
      Hierarchy(new TScriptedTable(calls)), Contents(new TScriptedTable(calls)), Associated(new TScriptedTable(calls)),
      FCalls(calls), FID(std::move(id))
{
    Bag.Set(LongValue(GetPropTag(PR_OBJECT_TYPE), static_cast<std::int32_t>(mapi::MAPI_FOLDER)));
    Bag.Set(LongValue(GetPropTag(PR_ACCESS_LEVEL), static_cast<std::int32_t>(mapi::MAPI_MODIFY)));
    Bag.Set(BinaryValue(GetPropTag(PR_ENTRYID), FID));
    Bag.Set(TextValue(GetPropTag(PR_DISPLAY_NAME), name));
}

void TScriptedFolder::AddChild(std::string_view id, const char16_t* name, const char16_t* containerClass)
{
    Hierarchy->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), id), TextValue(GetPropTag(PR_DISPLAY_NAME), name),
                       TextValue(GetPropTag(PR_CONTAINER_CLASS), containerClass)});
}

mapi::HRESULT TScriptedFolder::GetContentsTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetContentsTable", Hex(flags)))
        return *result;
    return Give((flags & mapi::MAPI_ASSOCIATED) != 0 ? Associated : Contents, table);
}

mapi::HRESULT TScriptedFolder::GetHierarchyTable(mapi::ULONG flags, mapi::LPMAPITABLE* table)
{
    if (const auto result = FCalls->Enter("GetHierarchyTable", Hex(flags)))
        return *result;
    // A table of its own each time, as a provider gives one.
    TKwComPtr<TScriptedTable> copy(new TScriptedTable(FCalls));
    copy->Rows = Hierarchy->Rows;
    return Give(copy, table);
}

mapi::HRESULT TScriptedFolder::OpenEntry(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID, mapi::ULONG flags,
                                         mapi::ULONG* type, mapi::LPUNKNOWN* object)
{
    const std::string bytes(reinterpret_cast<char*>(id), size);
    if (const auto result = Bag.Enter("OpenEntry", bytes + "," + Hex(flags)))
        return *result;
    *type = mapi::MAPI_MESSAGE;
    return Give(Messages[bytes], object);
}

mapi::HRESULT TScriptedFolder::SetSearchCriteria(mapi::LPSRestriction, mapi::LPENTRYLIST, mapi::ULONG)
{
    return Bag.Refuse("SetSearchCriteria", "");
}

mapi::HRESULT TScriptedFolder::GetSearchCriteria(mapi::ULONG, mapi::LPSRestriction*, mapi::LPENTRYLIST*, mapi::ULONG*)
{
    return Bag.Refuse("GetSearchCriteria", "");
}

mapi::HRESULT TScriptedFolder::CreateMessage(mapi::LPCIID iid, mapi::ULONG flags, mapi::LPMESSAGE* message)
{
    if (const auto result = FCalls->Enter("CreateMessage", (iid != nullptr ? "iid," : "null,") + Hex(flags)))
        return *result;
    if (!NewMessage)
        NewMessage = TKwComPtr<TScriptedMessage>(new TScriptedMessage(FCalls));
    return Give(NewMessage, message);
}

mapi::HRESULT TScriptedFolder::CopyMessages(mapi::LPENTRYLIST list, mapi::LPCIID iid, mapi::LPVOID destination,
                                            mapi::ULONG_PTR window, mapi::LPMAPIPROGRESS, mapi::ULONG flags)
{
    return FCalls
        ->Enter("CopyMessages",
                IdsOf(list) + NameOf(iid, destination) + "," + std::to_string(window) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedFolder::DeleteMessages(mapi::LPENTRYLIST list, mapi::ULONG_PTR window, mapi::LPMAPIPROGRESS,
                                              mapi::ULONG flags)
{
    return FCalls->Enter("DeleteMessages", IdsOf(list) + std::to_string(window) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedFolder::CreateFolder(mapi::ULONG type, mapi::LPTSTR name, mapi::LPTSTR comment, mapi::LPCIID,
                                            mapi::ULONG flags, mapi::LPMAPIFOLDER* folder)
{
    if (const auto result = FCalls->Enter("CreateFolder", std::to_string(type) + "," + TextArgument(name, flags) + "," +
                                                              TextArgument(comment, flags) + "," + Hex(flags)))
        return *result;
    return Give(Created, folder);
}

mapi::HRESULT TScriptedFolder::CopyFolder(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid,
                                          mapi::LPVOID destination, mapi::LPTSTR name, mapi::ULONG_PTR window,
                                          mapi::LPMAPIPROGRESS, mapi::ULONG flags)
{
    return FCalls
        ->Enter("CopyFolder", HexOf(size, id) + "," + NameOf(iid, destination) + "," + TextArgument(name, flags) + "," +
                                  std::to_string(window) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedFolder::DeleteFolder(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG_PTR window,
                                            mapi::LPMAPIPROGRESS, mapi::ULONG flags)
{
    return FCalls->Enter("DeleteFolder", HexOf(size, id) + "," + std::to_string(window) + "," + Hex(flags))
        .value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedFolder::SetReadFlags(mapi::LPENTRYLIST, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::ULONG)
{
    return Bag.Refuse("SetReadFlags", "");
}

mapi::HRESULT TScriptedFolder::GetMessageStatus(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG flags,
                                                mapi::ULONG* status)
{
    *status = Status;
    return FCalls->Enter("GetMessageStatus", HexOf(size, id) + "," + Hex(flags)).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedFolder::SetMessageStatus(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG status,
                                                mapi::ULONG mask, mapi::ULONG* old)
{
    if (const auto result = FCalls->Enter("SetMessageStatus", HexOf(size, id)))
        return *result;
    *old = Status;
    Status = (Status & ~mask) | (status & mask);
    return mapi::S_OK;
}

mapi::HRESULT TScriptedFolder::SaveContentsSort(mapi::LPSSortOrderSet, mapi::ULONG)
{
    return Bag.Refuse("SaveContentsSort", "");
}

mapi::HRESULT TScriptedFolder::EmptyFolder(mapi::ULONG_PTR window, mapi::LPMAPIPROGRESS, mapi::ULONG flags)
{
    return FCalls->Enter("EmptyFolder", std::to_string(window) + "," + Hex(flags)).value_or(mapi::S_OK);
}

// ---- TScriptedStore

TScriptedStore::TScriptedStore(TCallsRef calls)
    : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMsgStore}, "store."), FCalls(calls)
{
    Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), static_cast<std::int32_t>(mapi::STORE_UNICODE_OK)));
    Bag.Set(TextValue(GetPropTag(PR_DISPLAY_NAME), u"Store"));
    AddFolder("INBOX", u"Inbox");
}

TKwComPtr<TScriptedFolder> TScriptedStore::AddFolder(const std::string& id, const char16_t* name)
{
    TKwComPtr<TScriptedFolder> folder(new TScriptedFolder(FCalls, id, name));
    Entries[id] = {mapi::MAPI_FOLDER, TKwComPtr<mapi::IUnknown>(folder.Get())};
    return folder;
}

mapi::HRESULT TScriptedStore::Advise(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG mask,
                                     mapi::LPMAPIADVISESINK sink, mapi::ULONG_PTR* connection)
{
    if (const auto result = Bag.Enter("Advise", HexOf(size, id) + "," + Hex(mask)))
        return *result;
    Sink = TKwComPtr<mapi::IMAPIAdviseSink>(sink);
    *connection = Connection;
    return mapi::S_OK;
}

mapi::HRESULT TScriptedStore::Unadvise(mapi::ULONG_PTR connection)
{
    const auto result = Bag.Enter("Unadvise", std::to_string(connection));
    Sink.Reset();
    return result.value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedStore::CompareEntryIDs(mapi::ULONG size1, mapi::LPENTRYID id1, mapi::ULONG size2,
                                              mapi::LPENTRYID id2, mapi::ULONG flags, mapi::ULONG* result)
{
    const std::string first(reinterpret_cast<char*>(id1), size1);
    const std::string second(reinterpret_cast<char*>(id2), size2);
    if (const auto failure = FCalls->Enter("CompareEntryIDs", first + "," + second + "," + Hex(flags)))
        return *failure;
    *result = first == second ? 1 : 0;
    return mapi::S_OK;
}

mapi::HRESULT TScriptedStore::OpenEntry(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID, mapi::ULONG flags,
                                        mapi::ULONG* type, mapi::LPUNKNOWN* object)
{
    const std::string bytes(reinterpret_cast<char*>(id), size);
    if (const auto result = FCalls->Enter("OpenEntry", bytes + "," + Hex(flags)))
        return *result;
    const auto found = Entries.find(bytes);
    if (found == Entries.end())
        return mapi::MAPI_E_NOT_FOUND;
    *type = found->second.Type;
    return Give(found->second.Object, object);
}

mapi::HRESULT TScriptedStore::SetReceiveFolder(mapi::LPTSTR, mapi::ULONG, mapi::ULONG, mapi::LPENTRYID)
{
    return Bag.Refuse("SetReceiveFolder", "");
}

mapi::HRESULT TScriptedStore::GetReceiveFolder(mapi::LPTSTR messageClass, mapi::ULONG flags, mapi::ULONG* size,
                                               mapi::LPENTRYID* id, mapi::LPTSTR*)
{
    if (const auto result = FCalls->Enter("GetReceiveFolder", TextArgument(messageClass, flags) + "," + Hex(flags)))
        return *result;
    *size = static_cast<mapi::ULONG>(ReceiveFolder.size());
    auto* copy = static_cast<char*>(TScriptedAllocator::Allocate(*size));
    std::copy(ReceiveFolder.begin(), ReceiveFolder.end(), copy);
    *id = reinterpret_cast<mapi::LPENTRYID>(copy);
    return mapi::S_OK;
}

mapi::HRESULT TScriptedStore::GetReceiveFolderTable(mapi::ULONG, mapi::LPMAPITABLE*)
{
    return Bag.Refuse("GetReceiveFolderTable", "");
}

mapi::HRESULT TScriptedStore::StoreLogoff(mapi::ULONG*)
{
    return Bag.Refuse("StoreLogoff", "");
}

mapi::HRESULT TScriptedStore::AbortSubmit(mapi::ULONG, mapi::LPENTRYID, mapi::ULONG)
{
    return Bag.Refuse("AbortSubmit", "");
}

mapi::HRESULT TScriptedStore::GetOutgoingQueue(mapi::ULONG, mapi::LPMAPITABLE*)
{
    return Bag.Refuse("GetOutgoingQueue", "");
}

mapi::HRESULT TScriptedStore::SetLockState(mapi::LPMESSAGE, mapi::ULONG)
{
    return Bag.Refuse("SetLockState", "");
}

mapi::HRESULT TScriptedStore::FinishedMsg(mapi::ULONG, mapi::ULONG, mapi::LPENTRYID)
{
    return Bag.Refuse("FinishedMsg", "");
}

mapi::HRESULT TScriptedStore::NotifyNewMail(mapi::LPNOTIFICATION)
{
    return Bag.Refuse("NotifyNewMail", "");
}

} // namespace deftmapi::test

// The MAPI objects that sessions, stores, folders and messages wrap, as doubles: every call is logged and can be given
// a result, everything else is a plain provider in memory.
#pragma once

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwEdkGuidH.hpp"
#include "mapi/headers/uKwEdkMdbH.hpp"
#include "mapi/headers/uKwMAPISessionH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "tests/support/ScriptedProp.hpp"
#include "tests/table/ScriptedTable.hpp"

namespace deftmapi::test
{

using TCallsRef = std::shared_ptr<TScriptedCalls>;

/// The bytes as upper-case hexadecimal.
[[nodiscard]] std::string HexOf(mapi::ULONG size, const void* bytes);
/// A text argument: "wide", 'eight bit', or null.
[[nodiscard]] std::string TextArgument(const void* text, mapi::ULONG flags);
/// A binary property value; the bytes must outlive it.
[[nodiscard]] mapi::SPropValue BinaryValue(mapi::ULONG tag, std::string_view bytes);
/// The identifiers of a list, each with a comma.
[[nodiscard]] std::string IdsOf(mapi::LPENTRYLIST list);
/// The name of a folder that a call has as its destination.
[[nodiscard]] std::string NameOf(mapi::LPCIID iid, void* destination);
/// A property that is set or not.
[[nodiscard]] mapi::SPropValue BoolValue(mapi::ULONG tag, bool set);

/// The logged lines that fit, each with the end; the log is empty afterwards.
template <typename Fits>
[[nodiscard]] std::string TakeLines(TScriptedCalls& calls, Fits&& fits, const char* end = "\n")
{
    std::string text;
    for (const std::string& line : calls.Lines())
        if (fits(line))
            text += line + end;
    static_cast<void>(calls.Take());
    return text;
}

/// Gives out a reference on an object that the double keeps.
template <typename Object, typename Interface>
mapi::HRESULT Give(const TKwComPtr<Object>& kept, Interface** given)
{
    *given = TKwComPtr<Interface>(kept.Get()).Detach();
    return *given != nullptr ? mapi::S_OK : mapi::MAPI_E_NOT_FOUND;
}
/// The same, unless the test has another result for the call.
template <typename Object, typename Interface>
mapi::HRESULT Give(TScriptedCalls& calls, const std::string& method, const std::string& arguments,
                   const TKwComPtr<Object>& kept, Interface** given)
{
    if (const auto result = calls.Enter(method, arguments))
        return *result;
    return Give(kept, given);
}

class TScriptedMessage final : public TScriptedPropOf<mapi::IMessage>
{
public:
    explicit TScriptedMessage(TCallsRef calls, std::string label = "message.")
        : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMessage}, std::move(label)),
          Recipients(new TScriptedTable(calls)), Attachments(new TScriptedTable(calls)), FCalls(calls)
    {}

    TKwComPtr<TScriptedTable> Recipients;
    TKwComPtr<TScriptedTable> Attachments;
    std::map<mapi::ULONG, TKwComPtr<mapi::IAttach>> Attached; ///< by number

    mapi::HRESULT DEFTMAPI_STDCALL GetAttachmentTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Give(*FCalls, "GetAttachmentTable", Hex(flags), Attachments, table);
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenAttach(mapi::ULONG number, mapi::LPCIID, mapi::ULONG flags,
                                              mapi::LPATTACH* attachment) override
    {
        return Give(*FCalls, "OpenAttach", std::to_string(number) + "," + Hex(flags), Attached[number], attachment);
    }
    DEFTMAPI_REFUSED(CreateAttach, mapi::LPCIID, mapi::ULONG, mapi::ULONG*, mapi::LPATTACH*)
    DEFTMAPI_REFUSED(DeleteAttach, mapi::ULONG, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::ULONG)
    mapi::HRESULT DEFTMAPI_STDCALL GetRecipientTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Give(*FCalls, "GetRecipientTable", Hex(flags), Recipients, table);
    }
    DEFTMAPI_REFUSED(ModifyRecipients, mapi::ULONG, mapi::LPADRLIST)
    DEFTMAPI_REFUSED(SubmitMessage, mapi::ULONG)
    DEFTMAPI_REFUSED(SetReadFlag, mapi::ULONG)

private:
    mapi::HRESULT Refused(const char* method) { return Bag.Refuse(method, ""); }

    TCallsRef FCalls;
};

class TScriptedAttachment final : public TScriptedPropOf<mapi::IAttach>
{
public:
    explicit TScriptedAttachment(TCallsRef calls)
        : TScriptedPropOf(std::move(calls), {mapi::IID_IMAPIProp, mapi::IID_IAttachment}, "attachment.")
    {}
};

class TScriptedFolder final : public TScriptedPropOf<mapi::IMAPIFolder>
{
public:
    /// @param id  PR_ENTRYID; kept
    TScriptedFolder(TCallsRef calls, std::string id, const char16_t* name = u"Folder")
        : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMAPIContainer, mapi::IID_IMAPIFolder}, id + "."),
          Hierarchy(new TScriptedTable(calls)), Contents(new TScriptedTable(calls)),
          Associated(new TScriptedTable(calls)), FCalls(calls), FID(std::move(id))
    {
        Bag.Set(LongValue(GetPropTag(PR_OBJECT_TYPE), static_cast<std::int32_t>(mapi::MAPI_FOLDER)));
        Bag.Set(LongValue(GetPropTag(PR_ACCESS_LEVEL), static_cast<std::int32_t>(mapi::MAPI_MODIFY)));
        Bag.Set(BinaryValue(GetPropTag(PR_ENTRYID), FID));
        Bag.Set(TextValue(GetPropTag(PR_DISPLAY_NAME), name));
    }

    TKwComPtr<TScriptedFolder> Created;     ///< what CreateFolder gives
    TKwComPtr<TScriptedMessage> NewMessage; ///< what CreateMessage gives
    TKwComPtr<TScriptedTable> Hierarchy;
    TKwComPtr<TScriptedTable> Contents;
    TKwComPtr<TScriptedTable> Associated;
    std::map<std::string, TKwComPtr<TScriptedMessage>> Messages; ///< what OpenEntry finds, by the identifier
    mapi::ULONG Status = 0;                                      ///< of every message

    /// A row of the hierarchy table.
    void AddChild(std::string_view id, const char16_t* name, const char16_t* containerClass = u"");

    mapi::HRESULT DEFTMAPI_STDCALL GetContentsTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        return Give(*FCalls, "GetContentsTable", Hex(flags),
                    (flags & mapi::MAPI_ASSOCIATED) != 0 ? Associated : Contents, table);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetHierarchyTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override
    {
        // A table of its own each time, as a provider gives one.
        const TKwComPtr<TScriptedTable> copy(new TScriptedTable(FCalls));
        copy->Rows = Hierarchy->Rows;
        return Give(*FCalls, "GetHierarchyTable", Hex(flags), copy, table);
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID, mapi::ULONG flags,
                                             mapi::ULONG* type, mapi::LPUNKNOWN* object) override
    {
        const std::string bytes(reinterpret_cast<char*>(id), size);
        if (const auto result = Bag.Enter("OpenEntry", bytes + "," + Hex(flags)))
            return *result;
        *type = mapi::MAPI_MESSAGE;
        return Give(Messages[bytes], object);
    }
    DEFTMAPI_REFUSED(SetSearchCriteria, mapi::LPSRestriction, mapi::LPENTRYLIST, mapi::ULONG)
    DEFTMAPI_REFUSED(GetSearchCriteria, mapi::ULONG, mapi::LPSRestriction*, mapi::LPENTRYLIST*, mapi::ULONG*)
    mapi::HRESULT DEFTMAPI_STDCALL CreateMessage(mapi::LPCIID iid, mapi::ULONG flags, mapi::LPMESSAGE* message) override
    {
        if (!NewMessage)
            NewMessage = TKwComPtr<TScriptedMessage>(new TScriptedMessage(FCalls));
        return Give(*FCalls, "CreateMessage", (iid != nullptr ? "iid," : "null,") + Hex(flags), NewMessage, message);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyMessages(mapi::LPENTRYLIST list, mapi::LPCIID iid, mapi::LPVOID destination,
                                                mapi::ULONG_PTR window, mapi::LPMAPIPROGRESS,
                                                mapi::ULONG flags) override
    {
        return Done("CopyMessages",
                    IdsOf(list) + NameOf(iid, destination) + "," + std::to_string(window) + "," + Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteMessages(mapi::LPENTRYLIST list, mapi::ULONG_PTR window, mapi::LPMAPIPROGRESS,
                                                  mapi::ULONG flags) override
    {
        return Done("DeleteMessages", IdsOf(list) + std::to_string(window) + "," + Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL CreateFolder(mapi::ULONG type, mapi::LPTSTR name, mapi::LPTSTR comment, mapi::LPCIID,
                                                mapi::ULONG flags, mapi::LPMAPIFOLDER* folder) override
    {
        return Give(*FCalls, "CreateFolder",
                    std::to_string(type) + "," + TextArgument(name, flags) + "," + TextArgument(comment, flags) + "," +
                        Hex(flags),
                    Created, folder);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyFolder(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid,
                                              mapi::LPVOID destination, mapi::LPTSTR name, mapi::ULONG_PTR window,
                                              mapi::LPMAPIPROGRESS, mapi::ULONG flags) override
    {
        return Done("CopyFolder", HexOf(size, id) + "," + NameOf(iid, destination) + "," + TextArgument(name, flags) +
                                      "," + std::to_string(window) + "," + Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteFolder(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG_PTR window,
                                                mapi::LPMAPIPROGRESS, mapi::ULONG flags) override
    {
        return Done("DeleteFolder", HexOf(size, id) + "," + std::to_string(window) + "," + Hex(flags));
    }
    DEFTMAPI_REFUSED(SetReadFlags, mapi::LPENTRYLIST, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::ULONG)
    mapi::HRESULT DEFTMAPI_STDCALL GetMessageStatus(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG flags,
                                                    mapi::ULONG* status) override
    {
        *status = Status;
        return Done("GetMessageStatus", HexOf(size, id) + "," + Hex(flags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetMessageStatus(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG status,
                                                    mapi::ULONG mask, mapi::ULONG* old) override
    {
        if (const auto result = FCalls->Enter("SetMessageStatus", HexOf(size, id)))
            return *result;
        *old = Status;
        Status = (Status & ~mask) | (status & mask);
        return mapi::S_OK;
    }
    DEFTMAPI_REFUSED(SaveContentsSort, mapi::LPSSortOrderSet, mapi::ULONG)
    mapi::HRESULT DEFTMAPI_STDCALL EmptyFolder(mapi::ULONG_PTR window, mapi::LPMAPIPROGRESS, mapi::ULONG flags) override
    {
        return Done("EmptyFolder", std::to_string(window) + "," + Hex(flags));
    }

private:
    mapi::HRESULT Refused(const char* method) { return Bag.Refuse(method, ""); }
    mapi::HRESULT Done(const char* method, const std::string& arguments)
    {
        return FCalls->Enter(method, arguments).value_or(mapi::S_OK);
    }

    TCallsRef FCalls;
    std::string FID;
};

class TScriptedStore final : public TScriptedPropOf<mapi::IMsgStore>
{
public:
    /// Unicode, with an Inbox "INBOX" and nothing else.
    explicit TScriptedStore(TCallsRef calls)
        : TScriptedPropOf(calls, {mapi::IID_IMAPIProp, mapi::IID_IMsgStore}, "store."), FCalls(calls)
    {
        Bag.Set(LongValue(GetPropTag(PR_STORE_SUPPORT_MASK), static_cast<std::int32_t>(mapi::STORE_UNICODE_OK)));
        Bag.Set(TextValue(GetPropTag(PR_DISPLAY_NAME), u"Store"));
        AddFolder("INBOX", u"Inbox");
    }

    struct TEntry
    {
        mapi::ULONG Type;
        TKwComPtr<mapi::IUnknown> Object;
    };
    std::map<std::string, TEntry> Entries; ///< by the bytes of the identifier
    std::string ReceiveFolder = "INBOX";
    TKwComPtr<mapi::IMAPIAdviseSink> Sink; ///< while advised
    mapi::ULONG_PTR Connection = 5;        ///< what Advise gives
    TKwComPtr<mapi::IUnknown> Other;       ///< what the store gives when it is asked for an interface of another chain

    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(mapi::REFIID iid, void** object) override
    {
        const mapi::HRESULT hr = TScriptedPropOf::QueryInterface(iid, object);
        return hr == mapi::E_NOINTERFACE && Other ? Other->QueryInterface(iid, object) : hr;
    }

    /// A folder that OpenEntry finds.
    TKwComPtr<TScriptedFolder> AddFolder(const std::string& id, const char16_t* name = u"Folder");

    mapi::HRESULT DEFTMAPI_STDCALL Advise(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG mask,
                                          mapi::LPMAPIADVISESINK sink, mapi::ULONG_PTR* connection) override
    {
        if (const auto result = Bag.Enter("Advise", HexOf(size, id) + "," + Hex(mask)))
            return *result;
        Sink = TKwComPtr<mapi::IMAPIAdviseSink>(sink);
        *connection = Connection;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR connection) override
    {
        const auto result = Bag.Enter("Unadvise", std::to_string(connection));
        Sink.Reset();
        return result.value_or(mapi::S_OK);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CompareEntryIDs(mapi::ULONG size1, mapi::LPENTRYID id1, mapi::ULONG size2,
                                                   mapi::LPENTRYID id2, mapi::ULONG flags, mapi::ULONG* result) override
    {
        const std::string first(reinterpret_cast<char*>(id1), size1);
        const std::string second(reinterpret_cast<char*>(id2), size2);
        if (const auto failure = FCalls->Enter("CompareEntryIDs", first + "," + second + "," + Hex(flags)))
            return *failure;
        *result = first == second ? 1 : 0;
        return mapi::S_OK;
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID, mapi::ULONG flags,
                                             mapi::ULONG* type, mapi::LPUNKNOWN* object) override
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
    DEFTMAPI_REFUSED(SetReceiveFolder, mapi::LPTSTR, mapi::ULONG, mapi::ULONG, mapi::LPENTRYID)
    mapi::HRESULT DEFTMAPI_STDCALL GetReceiveFolder(mapi::LPTSTR messageClass, mapi::ULONG flags, mapi::ULONG* size,
                                                    mapi::LPENTRYID* id, mapi::LPTSTR*) override
    {
        if (const auto result = FCalls->Enter("GetReceiveFolder", TextArgument(messageClass, flags) + "," + Hex(flags)))
            return *result;
        *size = static_cast<mapi::ULONG>(ReceiveFolder.size());
        auto* copy = static_cast<char*>(TScriptedAllocator::Allocate(*size));
        std::copy(ReceiveFolder.begin(), ReceiveFolder.end(), copy);
        *id = reinterpret_cast<mapi::LPENTRYID>(copy);
        return mapi::S_OK;
    }
    DEFTMAPI_REFUSED(GetReceiveFolderTable, mapi::ULONG, mapi::LPMAPITABLE*)
    DEFTMAPI_REFUSED(StoreLogoff, mapi::ULONG*)
    DEFTMAPI_REFUSED(AbortSubmit, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG)
    DEFTMAPI_REFUSED(GetOutgoingQueue, mapi::ULONG, mapi::LPMAPITABLE*)
    DEFTMAPI_REFUSED(SetLockState, mapi::LPMESSAGE, mapi::ULONG)
    DEFTMAPI_REFUSED(FinishedMsg, mapi::ULONG, mapi::ULONG, mapi::LPENTRYID)
    DEFTMAPI_REFUSED(NotifyNewMail, mapi::LPNOTIFICATION)

private:
    mapi::HRESULT Refused(const char* method) { return Bag.Refuse(method, ""); }

    TCallsRef FCalls;
};

/// Makes entry identifiers of mailboxes (55), and is not asked for anything else.
class TScriptedManageStore final : public TScriptedUnknown<mapi::IExchangeManageStore>
{
public:
    explicit TScriptedManageStore(TCallsRef calls)
        : TScriptedUnknown({mapi::IID_IExchangeManageStore}), FCalls(std::move(calls))
    {}

    mapi::HRESULT DEFTMAPI_STDCALL CreateStoreEntryID(mapi::LPCSTR store, mapi::LPCSTR mailbox, mapi::ULONG flags,
                                                      mapi::ULONG* size, mapi::LPENTRYID* id) override
    {
        if (const auto result =
                FCalls->Enter("CreateStoreEntryID", std::string(store) + "," + mailbox + "," + Hex(flags)))
            return *result;
        *size = 1;
        *id = static_cast<mapi::LPENTRYID>(TScriptedAllocator::Allocate(1));
        reinterpret_cast<mapi::BYTE*>(*id)[0] = 0x55;
        return mapi::S_OK;
    }
    DEFTMAPI_REFUSED(EntryIDFromSourceKey, mapi::ULONG, mapi::BYTE*, mapi::ULONG, mapi::BYTE*, mapi::ULONG*,
                     mapi::LPENTRYID*)
    DEFTMAPI_REFUSED(GetRights, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::LPENTRYID, mapi::ULONG*)
    DEFTMAPI_REFUSED(GetMailboxTable, mapi::LPSTR, mapi::LPMAPITABLE*, mapi::ULONG)
    DEFTMAPI_REFUSED(GetPublicFolderTable, mapi::LPSTR, mapi::LPMAPITABLE*, mapi::ULONG)

private:
    mapi::HRESULT Refused(const char* method) { return FCalls->Enter(method, "").value_or(mapi::MAPI_E_NO_SUPPORT); }

    TCallsRef FCalls;
};

} // namespace deftmapi::test

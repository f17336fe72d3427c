// The MAPI objects that sessions, stores, folders and messages wrap, as doubles: every call is logged and can be given
// a result, everything else is a plain provider in memory.
#pragma once

#include "mapi/headers/uKwMAPISessionH.hpp"
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

class TScriptedMessage final : public TScriptedPropOf<mapi::IMessage>
{
public:
    explicit TScriptedMessage(TCallsRef calls, std::string label = "message.");

    TKwComPtr<TScriptedTable> Recipients;
    TKwComPtr<TScriptedTable> Attachments;
    std::map<mapi::ULONG, TKwComPtr<mapi::IAttach>> Attached; ///< by number

    mapi::HRESULT DEFTMAPI_STDCALL GetAttachmentTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenAttach(mapi::ULONG number, mapi::LPCIID iid, mapi::ULONG flags,
                                              mapi::LPATTACH* attachment) override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateAttach(mapi::LPCIID, mapi::ULONG, mapi::ULONG*, mapi::LPATTACH*) override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteAttach(mapi::ULONG, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                                mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetRecipientTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;
    mapi::HRESULT DEFTMAPI_STDCALL ModifyRecipients(mapi::ULONG, mapi::LPADRLIST) override;
    mapi::HRESULT DEFTMAPI_STDCALL SubmitMessage(mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetReadFlag(mapi::ULONG) override;

private:
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
    TScriptedFolder(TCallsRef calls, std::string id, const char16_t* name = u"Folder");

    /// What CreateFolder gives; itself taken by reference.
    TKwComPtr<TScriptedFolder> Created;
    TKwComPtr<TScriptedMessage> NewMessage; ///< what CreateMessage gives
    TKwComPtr<TScriptedTable> Hierarchy;
    TKwComPtr<TScriptedTable> Contents;
    TKwComPtr<TScriptedTable> Associated;
    std::map<std::string, TKwComPtr<TScriptedMessage>>
        Messages;           ///< what OpenEntry finds, by the bytes of the identifier
    mapi::ULONG Status = 0; ///< of every message

    /// A row of the hierarchy table.
    void AddChild(std::string_view id, const char16_t* name, const char16_t* containerClass = u"");

    mapi::HRESULT DEFTMAPI_STDCALL GetContentsTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetHierarchyTable(mapi::ULONG flags, mapi::LPMAPITABLE* table) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(mapi::ULONG, mapi::LPENTRYID, mapi::LPCIID, mapi::ULONG, mapi::ULONG*,
                                             mapi::LPUNKNOWN*) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetSearchCriteria(mapi::LPSRestriction, mapi::LPENTRYLIST, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetSearchCriteria(mapi::ULONG, mapi::LPSRestriction*, mapi::LPENTRYLIST*,
                                                     mapi::ULONG*) override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateMessage(mapi::LPCIID iid, mapi::ULONG flags,
                                                 mapi::LPMESSAGE* message) override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyMessages(mapi::LPENTRYLIST, mapi::LPCIID, mapi::LPVOID, mapi::ULONG_PTR,
                                                mapi::LPMAPIPROGRESS, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteMessages(mapi::LPENTRYLIST list, mapi::ULONG_PTR window,
                                                  mapi::LPMAPIPROGRESS progress, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL CreateFolder(mapi::ULONG type, mapi::LPTSTR name, mapi::LPTSTR comment,
                                                mapi::LPCIID iid, mapi::ULONG flags,
                                                mapi::LPMAPIFOLDER* folder) override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyFolder(mapi::ULONG, mapi::LPENTRYID, mapi::LPCIID, mapi::LPVOID, mapi::LPTSTR,
                                              mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL DeleteFolder(mapi::ULONG size, mapi::LPENTRYID id, mapi::ULONG_PTR window,
                                                mapi::LPMAPIPROGRESS progress, mapi::ULONG flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetReadFlags(mapi::LPENTRYLIST, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS,
                                                mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetMessageStatus(mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::ULONG*) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetMessageStatus(mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::ULONG,
                                                    mapi::ULONG*) override;
    mapi::HRESULT DEFTMAPI_STDCALL SaveContentsSort(mapi::LPSSortOrderSet, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL EmptyFolder(mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::ULONG) override;

private:
    TCallsRef FCalls;
    std::string FID;
};

class TScriptedStore final : public TScriptedPropOf<mapi::IMsgStore>
{
public:
    /// Unicode, with an Inbox "INBOX" and nothing else.
    explicit TScriptedStore(TCallsRef calls);

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

    mapi::HRESULT DEFTMAPI_STDCALL Advise(mapi::ULONG, mapi::LPENTRYID, mapi::ULONG, mapi::LPMAPIADVISESINK,
                                          mapi::ULONG_PTR*) override;
    mapi::HRESULT DEFTMAPI_STDCALL Unadvise(mapi::ULONG_PTR) override;
    mapi::HRESULT DEFTMAPI_STDCALL CompareEntryIDs(mapi::ULONG size1, mapi::LPENTRYID id1, mapi::ULONG size2,
                                                   mapi::LPENTRYID id2, mapi::ULONG flags,
                                                   mapi::ULONG* result) override;
    mapi::HRESULT DEFTMAPI_STDCALL OpenEntry(mapi::ULONG size, mapi::LPENTRYID id, mapi::LPCIID iid, mapi::ULONG flags,
                                             mapi::ULONG* type, mapi::LPUNKNOWN* object) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetReceiveFolder(mapi::LPTSTR, mapi::ULONG, mapi::ULONG, mapi::LPENTRYID) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetReceiveFolder(mapi::LPTSTR messageClass, mapi::ULONG flags, mapi::ULONG* size,
                                                    mapi::LPENTRYID* id, mapi::LPTSTR* explicitClass) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetReceiveFolderTable(mapi::ULONG, mapi::LPMAPITABLE*) override;
    mapi::HRESULT DEFTMAPI_STDCALL StoreLogoff(mapi::ULONG*) override;
    mapi::HRESULT DEFTMAPI_STDCALL AbortSubmit(mapi::ULONG, mapi::LPENTRYID, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL GetOutgoingQueue(mapi::ULONG, mapi::LPMAPITABLE*) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetLockState(mapi::LPMESSAGE, mapi::ULONG) override;
    mapi::HRESULT DEFTMAPI_STDCALL FinishedMsg(mapi::ULONG, mapi::ULONG, mapi::LPENTRYID) override;
    mapi::HRESULT DEFTMAPI_STDCALL NotifyNewMail(mapi::LPNOTIFICATION) override;

private:
    TCallsRef FCalls;
};

} // namespace deftmapi::test

// Messages, and the registry that says which wrapper class stands for which message class.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

/// Wraps one IMessage. The base of the wrappers of all message classes.
class DEFTMAPI_API TKwMAPIMessage : public TKwMAPIProp, public virtual IKwMAPIMessage
{
public:
    /// @param owner  the folder, store or attachment that the message was opened from; kept alive; may be null
    TKwMAPIMessage(TKwMAPIObject* owner, TKwMAPIAccessLevel accessLevel);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIMessage"; }
    /// @throws EMAPI_UNCONFIGURED  the message has no session: "The session is not a MAPI session!"
    void SetMAPIOBJECT(mapi::IUnknown* object) override;
    /// For a message in a compound file: its session and storage, kept for as long as the message lives.
    void SetStorageSession(TKwRef<IKwMAPIStorageSession> session, mapi::IStorage* storage);

    /// A message that was created in this session and has not been saved yet.
    [[nodiscard]] bool NewMessage() const noexcept { return FNewMessage; }
    void SetNewMessage(bool newMessage) noexcept { FNewMessage = newMessage; }
    void SaveChanges(TKwMAPISaveMethod saveMethod = smKeepReadWrite) override;

    // Body. A message has the same text in up to three forms.

    /// The format comes from what the message says of itself, then from what is there.
    void GetMessageText(TKwMAPIBodyFormat& format, WideString& text) override;
    /// Replaces all bodies at once, without waiting for SaveChanges to write them to the message. Empty text leaves no
    /// body. fmtUnspecified writes HTML.
    /// @throws EMAPI_CORRUPT_DATA   RTF text with another format
    /// @throws EMAPI_NOT_SUPPORTED  fmtRichText
    void SetMessageText(WideView text, TKwMAPIBodyFormat format) override;
    [[nodiscard]] WideString GetBodyText() override;
    /// The binary form is read in the message's code page, else in the one that the HTML itself names.
    [[nodiscard]] WideString GetHtmlText() override;
    /// As found or set by the last GetMessageText or SetMessageText.
    [[nodiscard]] TKwMAPIBodyFormat BodyFormat() const noexcept { return FBodyFormat; }

    [[nodiscard]] WideString Get_Subject() override;
    void Set_Subject(WideView subject) override;
    [[nodiscard]] WideString Get_MessageClass() override;

    /// @throws EMAPI_NO_ACCESS  "… You don't have acces to the recipient table!"
    [[nodiscard]] TKwRef<IKwMAPITable> GetRecipientTable() override;
    [[nodiscard]] TKwRef<IKwMAPITable> Get_Attachments() override;
    [[nodiscard]] TKwRef<IKwMAPIAttachment> OpenAttachment(std::int32_t number,
                                                           TKwMAPIAccessLevel accessLevel) override;

    /// An inactive message says that a submitted message cannot be used any more.
    void CheckActive(WideView methodName) const override;

protected:
    [[nodiscard]] mapi::IMessage& Message() const noexcept { return MAPIObjectAs<mapi::IMessage>(); }

private:
    [[nodiscard]] TKwMAPIBodyFormat DetectBodyFormat();
    [[nodiscard]] WideString ReadText(std::initializer_list<TKwMAPIPropDef> defs);
    [[nodiscard]] unsigned InternetCodePage();
    [[nodiscard]] bool WritesUnicode();
    void DeleteBodies();
    void SetFormatProperties(TKwMAPIBodyFormat format);
    void _SetMessagePlainText(WideView text);
    void _SetMessageHTMLText(WideView text);
    void WriteBody(TKwMAPIPropDef wide, TKwMAPIPropDef ansi, WideView text);
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenRecipientTable();
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenAttachmentTable();

    TKwMAPIBodyFormat FBodyFormat = fmtUnspecified;
    bool FNewMessage = false;
    TKwRef<IKwMAPIStorageSession> FStorageSession;
    TKwComPtr<mapi::IStorage> FStorage;
};

// ---- Message classes

/// A wrapper class: how its objects are made. Instances are constants of the unit that has the class.
struct TKwMAPIMessageClass
{
    const char16_t* Name; ///< "TKwMAPIMessage"
    TKwRef<TKwMAPIMessage> (*Create)(TKwMAPIObject* owner, TKwMAPIAccessLevel accessLevel);
};

/// The class of messages that no class is registered for.
DEFTMAPI_API extern const TKwMAPIMessageClass KwMAPIMessageClass;

/// Registers a wrapper class for a message class (without regard to case). A registration for the same message class is
/// replaced when its priority is lower, else it stays. One thread, before messages are opened.
DEFTMAPI_API void KwRegisterMessageClass(const TKwMAPIMessageClass& wrapperClass, WideView messageClass,
                                         std::int32_t priority);
/// The wrapper class of a message class: that registered for it, else the first one registered for a class of which it
/// is a sub-class ("IPM.Note" for "IPM.Note.SMIME", not for "IPM.Notes"), else KwMAPIMessageClass.
[[nodiscard]] DEFTMAPI_API const TKwMAPIMessageClass& KwFindMessageClass(WideView messageClass);

/// Wraps a message according to its class.
/// @param owner           what the message was opened from; kept alive; may be null
/// @param session         the session that the message belongs to; not null
/// @param storageSession  with storage: of a message in a compound file; both may be null
/// @param message         a reference is added
[[nodiscard]] DEFTMAPI_API TKwRef<TKwMAPIMessage>
CreateMessageObjectFromMsgClass(WideView messageClass, TKwMAPIObject* owner, TKwMAPISessionBase* session,
                                TKwRef<IKwMAPIStorageSession> storageSession, mapi::IStorage* storage,
                                mapi::IMessage* message, TKwMAPIAccessLevel accessLevel);
/// The same; the class is read from the message.
[[nodiscard]] DEFTMAPI_API TKwRef<TKwMAPIMessage> CreateMessageObjectFromIntf(TKwMAPIObject* owner,
                                                                              TKwMAPISessionBase* session,
                                                                              mapi::IMessage* message,
                                                                              TKwMAPIAccessLevel accessLevel);
/// Wraps a message in a compound file according to its class.
[[nodiscard]] DEFTMAPI_API TKwRef<TKwMAPIMessage>
CreateMessageObjectFromStorage(TKwMAPISessionBase* session, TKwRef<IKwMAPIStorageSession> storageSession,
                               mapi::IStorage* storage, mapi::IMessage* message, TKwMAPIAccessLevel accessLevel);
/// Wraps a message that was opened elsewhere, with the access that it gives.
[[nodiscard]] DEFTMAPI_API TKwRef<IKwMAPIMessage> WrapMAPIMessage(TKwMAPISessionBase& session, mapi::IMessage* message);

} // namespace deftmapi

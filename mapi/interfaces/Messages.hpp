// Messages and attachments.
#pragma once

#include "mapi/interfaces/Tables.hpp"

namespace deftmapi
{

class IKwMAPIAttachment : public virtual IKwMAPIProp
{
public:
    /// The message of an embedded-message attachment. @throws EMAPI_…  the attachment holds none
    [[nodiscard]] virtual TKwRef<IKwMAPIMessage> GetEmbeddedMessage() = 0;
};

class IKwMAPIMessage : public virtual IKwMAPIProp
{
public:
    /// The best body and its format: HTML where there is any, else plain text. RTF is not converted: a message that has
    /// its text as RTF and as plain text reads as plain text.
    virtual void GetMessageText(TKwMAPIBodyFormat& format, WideString& text) = 0;
    virtual void SetMessageText(WideView text, TKwMAPIBodyFormat format) = 0;
    /// One representation each; empty when the message has none.
    [[nodiscard]] virtual WideString GetBodyText() = 0;
    [[nodiscard]] virtual WideString GetHtmlText() = 0;

    [[nodiscard]] virtual WideString Get_Subject() = 0;
    virtual void Set_Subject(WideView subject) = 0;
    [[nodiscard]] virtual WideString Get_MessageClass() = 0;

    /// The recipients as rows; a new table each time.
    [[nodiscard]] virtual TKwRef<IKwMAPITable> GetRecipientTable() = 0;
    [[nodiscard]] virtual TKwRef<IKwMAPITable> Get_Attachments() = 0;
    /// @param number  PR_ATTACH_NUM of the attachment's row
    [[nodiscard]] virtual TKwRef<IKwMAPIAttachment> OpenAttachment(std::int32_t number,
                                                                   TKwMAPIAccessLevel accessLevel) = 0;
};

} // namespace deftmapi

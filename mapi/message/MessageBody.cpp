// The body of a message, which is there as plain text, as HTML, or both. Compressed RTF is not decoded: a message whose
// only other form is RTF reads as its plain text.
#include "mapi/core/OutlookInfo.hpp"
#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/message/HtmlCodePage.hpp"
#include "mapi/message/uKwMAPIMessage.hpp"
#include "support/uKwEncoding.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sRtfAsHtml = u"The specified messageformat is mfHTML, but an RTF message was supplied";
constexpr auto sRtfAsPlainText = u"The specified messageformat is mfPlainText, but an RTF message was supplied";
constexpr auto sNoRtfInSimpleMAPI = u"RichtText messages are not supported by Simple MAPI";
constexpr auto sNoRtf = u"%s.SetMessageText cannot write RTF. Supply the text as HTML or plain text.";

/// What a message without a store can hold: Unicode, HTML and RTF.
constexpr mapi::ULONG SupportWithoutStore = 0x50800;

/// What says, beside the body itself, which format a message has.
struct TFormatProperties
{
    std::int32_t InternetEncoding; ///< PR_SEND_INTERNET_ENCODING and PR_INETMAIL_OVERRIDE_FORMAT
    std::int32_t EditorFormat;     ///< PR_MSG_EDITOR_FORMAT
    std::int32_t NativeBody;       ///< PR_NATIVE_BODY_INFO
};
constexpr TFormatProperties PlainTextProperties{0x00060000, 1, 1};
constexpr TFormatProperties HtmlProperties{0x00160000, 2, 3}; // with a plain text alternative
constexpr std::int32_t EditorRichText = 3;

constexpr TKwMAPIPropDef Bodies[] = {PR_BODY_A,      PR_BODY_W,      PR_RTF_COMPRESSED, PR_BODY_HTML_B,
                                     PR_BODY_HTML_W, PR_BODY_HTML_A, PR_HTML_A,         PR_HTML_W};

bool LooksLikeHtml(WideView text)
{
    const WideView start = KwTrim(text);
    return KwStartsText(u"<html", start) || KwStartsText(u"<meta", start);
}

/// Outlook versions before 2003 cannot show Unicode bodies. Where no Outlook is installed there is none to mind.
bool OutlookHandlesUnicode()
{
    const TKwOutlookMajorVersion version = KwGetOutlookInfo().Version;
    return version == NoOutlookInstalled || version >= OL2003;
}

void WriteAll(IKwMAPIWrapper& wrapper, mapi::IStream& stream, const void* data, std::size_t size)
{
    constexpr std::size_t Piece = 1024 * 1024;
    const auto* next = static_cast<const char*>(data);
    while (size > 0) {
        const auto count = static_cast<mapi::ULONG>(std::min(size, Piece));
        mapi::ULONG written = 0;
        CheckMAPIResult(wrapper, u"Write", stream.Write(next, count, &written));
        if (written == 0)
            CheckMAPIResult(wrapper, u"Write", mapi::MAPI_E_NOT_ENOUGH_DISK);
        next += written;
        size -= written;
    }
    CheckMAPIResult(wrapper, u"Commit", stream.Commit(0));
}

} // namespace

// ---- Reading

unsigned TKwMAPIMessage::InternetCodePage()
{
    const auto codePage = static_cast<unsigned>(PropByName(PR_INTERNET_CPID)->Get_AsInteger());
    return TKwEncoding(codePage).IsKnown() ? codePage : 0;
}

WideString TKwMAPIMessage::ReadText(std::initializer_list<TKwMAPIPropDef> defs)
{
    for (const TKwMAPIPropDef def : defs) {
        TKwRef<IKwMAPIProperty> prop;
        if (!HasProp(def, prop))
            continue;
        const TKwVariant value = prop->Get_Value();
        if (const auto* ansi = value.TryGet<TKwAnsiText>())
            return TKwEncoding(InternetCodePage()).ToWide(ansi->Text);
        if (const auto* bytes = value.TryGet<TKwBytes>())
            return KwDecodeHtml({reinterpret_cast<const char*>(bytes->data()), bytes->size()}, InternetCodePage());
        return value.AsStringW();
    }
    return {};
}

WideString TKwMAPIMessage::GetBodyText()
{
    CheckActive(u"GetBodyText");
    return ReadText({PR_BODY});
}

WideString TKwMAPIMessage::GetHtmlText()
{
    CheckActive(u"GetHtmlText");
    return ReadText({PR_BODY_HTML_B, PR_BODY_HTML_W, PR_BODY_HTML_A, PR_HTML_W, PR_HTML_A});
}

TKwMAPIBodyFormat TKwMAPIMessage::DetectBodyFormat()
{
    const std::int32_t editor = PropByName(PR_MSG_EDITOR_FORMAT)->Get_AsInteger();
    if (editor == EditorRichText)
        return fmtRichText;
    if (editor == HtmlProperties.EditorFormat || HasProp(PR_BODY_HTML_B) || HasProp(PR_BODY_HTML_A))
        return fmtHTML;
    if (PropByName(PR_NATIVE_BODY_INFO)->Get_AsInteger() == HtmlProperties.NativeBody)
        return fmtHTML;
    return !DisableUnicode() && HasProp(PR_BODY_HTML_W) ? fmtHTML : fmtPlainText;
}

void TKwMAPIMessage::GetMessageText(TKwMAPIBodyFormat& format, WideString& text)
{
    CheckActive(u"GetMessageText");
    const TKwMAPIBodyFormat detected = DetectBodyFormat();
    text.clear();
    if (detected != fmtPlainText || HasProp(PR_BODY_HTML))
        text = GetHtmlText();
    format = fmtHTML;
    if (text.empty()) {
        text = GetBodyText();
        // Some writers put HTML into the plain body.
        if (detected != fmtHTML || !LooksLikeHtml(text))
            format = fmtPlainText;
    }
    FBodyFormat = format;
}

// ---- Writing

void TKwMAPIMessage::SetMessageText(WideView text, TKwMAPIBodyFormat format)
{
    CheckActive(u"SetMessageText");
    const bool extended = Session()->UsesExtendedMAPI();
    if (format == fmtRichText && !text.empty())
        CreateKwMAPIException(KwNotSupported, extended ? sNoRtf : sNoRtfInSimpleMAPI, {GetClassName()})->Raise();
    FBodyFormat = format;
    if (extended)
        DeleteBodies();
    if (text.empty())
        return;
    if (text.starts_with(u"{\\rtf"))
        CreateKwMAPIException(mapi::MAPI_E_CORRUPT_DATA, format == fmtHTML ? sRtfAsHtml : sRtfAsPlainText)->Raise();
    if (format == fmtPlainText)
        _SetMessagePlainText(text);
    else
        _SetMessageHTMLText(text);
}

void TKwMAPIMessage::DeleteBodies()
{
    // At once, past the cache: the new body is written past it, too, and a deletion left in the cache would come after.
    const auto list = KwMake<TKwMAPIPropValueList>();
    for (const TKwMAPIPropDef def : Bodies) {
        if (TKwMAPIPropItem* item = Items().FindPropByDef(GetPropInfo(def)))
            item->SetModified(false);
        list->AddValue(def, TKwVariant());
    }
    SetPropValues(*list);
}

bool TKwMAPIMessage::WritesUnicode()
{
    const TKwVariant value = PropByName(PR_STORE_SUPPORT_MASK)->Get_Value();
    const mapi::ULONG mask = value.IsEmptyOrNull() ? SupportWithoutStore : static_cast<mapi::ULONG>(value.AsInteger());
    return !DisableUnicode() && (mask & mapi::STORE_UNICODE_OK) != 0 && OutlookHandlesUnicode();
}

void TKwMAPIMessage::SetFormatProperties(TKwMAPIBodyFormat format)
{
    const TFormatProperties& properties = format == fmtPlainText ? PlainTextProperties : HtmlProperties;
    PropByName(PR_SEND_INTERNET_ENCODING)->Set_AsInteger(properties.InternetEncoding);
    PropByName(PR_INETMAIL_OVERRIDE_FORMAT)->Set_AsInteger(properties.InternetEncoding);
    PropByName(PR_MSG_EDITOR_FORMAT)->Set_AsInteger(properties.EditorFormat);
    PropByName(PR_NATIVE_BODY_INFO)->Set_AsInteger(properties.NativeBody);
}

void TKwMAPIMessage::_SetMessagePlainText(WideView text)
{
    if (!Session()->UsesExtendedMAPI()) {
        PropByName(PR_BODY)->Set_AsString(text);
        return;
    }
    SetFormatProperties(fmtPlainText);
    WriteBody(PR_BODY_W, PR_BODY_A, text);
}

void TKwMAPIMessage::_SetMessageHTMLText(WideView text)
{
    if (!Session()->UsesExtendedMAPI()) {
        PropByName(PR_HTML)->Set_AsString(text);
        return;
    }
    SetFormatProperties(fmtHTML);
    WriteBody(PR_BODY_HTML_W, PR_BODY_HTML_A, text);
}

void TKwMAPIMessage::WriteBody(TKwMAPIPropDef wide, TKwMAPIPropDef ansi, WideView text)
{
    if (WritesUnicode()) {
        const auto stream = OpenBinProperty(wide, alReadWrite, true);
        WriteAll(*this, *stream, text.data(), text.size() * sizeof(char16_t));
    } else {
        const std::string bytes = TKwEncoding(InternetCodePage()).FromWide(text);
        const auto stream = OpenBinProperty(ansi, alReadWrite, true);
        WriteAll(*this, *stream, bytes.data(), bytes.size());
    }
}

} // namespace deftmapi

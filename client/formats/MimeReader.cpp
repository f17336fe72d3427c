// One object reads one message; attached messages are read by further objects on the same shared state.
#include "client/formats/MimeReader.hpp"

#include "client/formats/AttachmentNames.hpp"
#include "client/formats/BodyPlan.hpp"
#include "client/formats/BodyText.hpp"
#include "client/formats/HeaderProps.hpp"
#include "client/formats/HtmlReferences.hpp"
#include "client/formats/MimeTags.hpp"
#include "client/formats/TransferDecoder.hpp"

#include <algorithm>
#include <functional>
#include <vector>

namespace deftmapi::client::mime
{

namespace
{

constexpr auto sDamaged = u"The MIME text is damaged, and strict reading was asked for.";
constexpr auto sUntitled = u"Untitled";
constexpr std::size_t pieceSize = 64 * 1024;
constexpr mapi::LONG notRendered = -1;

// Values of PR_MSG_EDITOR_FORMAT and PR_NATIVE_BODY_INFO.
constexpr mapi::LONG editorPlain = 1;
constexpr mapi::LONG editorHtml = 2;
constexpr mapi::LONG nativePlain = 1;
constexpr mapi::LONG nativeHtml = 3;

/// Passes the decoded content of a leaf to `sink` in pieces, until it returns false. True when all was passed.
bool ReadContent(TByteSource& source, const TMimePart& part, TMimeState& state,
                 const std::function<bool(const std::string&)>& sink)
{
    TTransferDecoder decoder(part.TransferEncoding);
    std::string decoded;
    const auto pass = [&] {
        const bool more = decoded.empty() || sink(decoded);
        decoded.clear();
        return more;
    };
    decoder.Feed(part.Begin == part.End ? part.Preamble : std::string(), decoded);

    std::vector<char> piece(static_cast<std::size_t>(std::min<std::uint64_t>(pieceSize, part.End - part.Begin)));
    for (std::uint64_t at = part.Begin; at < part.End;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), part.End - at));
        const std::size_t got = source.Read(at, std::span(piece).first(wanted));
        if (got == 0)
            break;
        at += got;
        decoder.Feed(std::string_view(piece.data(), got), decoded);
        if (!pass())
            return false;
    }
    decoder.Finish(decoded);
    state.Damage |= decoder.Damage();
    return pass();
}

bool IsAttachedMessage(const TMimePart& part) noexcept
{
    return part.Type == "message" && (part.Subtype == "rfc822" || part.Subtype == "global" || part.Subtype == "news");
}

class TMessageReader
{
public:
    TMessageReader(TByteSource& source, TMimeState& state) : FSource(source), FState(state) {}

    void Read(const TMimeMessage& message, mapi::IMessage& target, bool embedded)
    {
        AddHeaderRecipients(message, target, FState);
        TBodyPlan plan = PlanBody(message);
        {
            TPropList props;
            AddHeaderProps(message, embedded, props, FState);
            AddBodies(plan, props);
            props.ApplyTo(target);
        }
        std::size_t number = 0;
        for (const TMimePart* part : plan.Attachments) {
            if (FState.AttachmentsLeft == 0) {
                FState.Damage |= mdAttachmentLimit;
                break;
            }
            --FState.AttachmentsLeft;
            AddAttachment(*part, target, number++);
        }
    }

private:
    /// The content of a part that is to become a body. False when it is too long; it is then attached instead.
    bool ReadBody(const TMimePart& part, std::string& bytes)
    {
        const TMimeDamage before = FState.Damage;
        const bool fits = ReadContent(FSource, part, FState, [&](const std::string& piece) {
            bytes.append(piece);
            return bytes.size() <= FState.Options.MaxBodyBytes;
        });
        if (!fits) {
            bytes.clear();
            FState.Damage = before | mdBodyLimit;
        }
        return fits;
    }

    void AddBodies(TBodyPlan& plan, TPropList& props)
    {
        std::vector<const TMimePart*> tooLong;
        WideString text;
        unsigned codePage = 0;
        bool hasText = false;
        for (const TMimePart* part : plan.Texts) {
            std::string bytes;
            if (!ReadBody(*part, bytes)) {
                tooLong.push_back(part);
                continue;
            }
            TDecodedText decoded = DecodeText(bytes, part->Charset, FState);
            if (!text.empty() && !text.ends_with(u'\n'))
                text.append(u"\r\n");
            text.append(part->Format == "flowed" ? Unflow(decoded.Text, part->DeleteSpace) : WithCrLf(decoded.Text));
            codePage = hasText ? codePage : decoded.CodePage;
            hasText = true;
        }

        bool hasHtml = false;
        if (plan.Html != nullptr) {
            hasHtml = ReadBody(*plan.Html, FHtml);
            if (hasHtml) {
                codePage = HtmlCodePage(FHtml, plan.Html->Charset, FState);
                FReferences.emplace(FHtml, codePage);
                props.AddBinary(tag::Html, FHtml);
            } else {
                tooLong.push_back(plan.Html);
            }
        }
        plan.Attachments.insert(plan.Attachments.begin(), tooLong.begin(), tooLong.end());

        if (hasText)
            props.AddText(tag::Body, text);
        if (hasText || hasHtml) {
            props.AddLong(tag::NativeBodyInfo, hasHtml ? nativeHtml : nativePlain);
            props.AddLong(tag::MsgEditorFormat, hasHtml ? editorHtml : editorPlain);
            props.AddLong(tag::InternetCodePage, static_cast<mapi::LONG>(codePage));
        }
    }

    [[nodiscard]] bool ShownByHtml(const TMimePart& part) const
    {
        return FReferences && (FReferences->ContentID(part.ContentID) || FReferences->Location(part.ContentLocation));
    }

    void AddAttachment(const TMimePart& part, mapi::IMessage& target, std::size_t number)
    {
        TKwComPtr<mapi::IAttach> attach;
        mapi::ULONG attachNumber = 0;
        CheckCall(target.CreateAttach(nullptr, 0, &attachNumber, Out(attach)), u"CreateAttach");

        TPropList props;
        props.AddLong(tag::RenderingPosition, notRendered);
        props.AddText(tag::AttachMimeTag, KwFromUtf8(part.MimeType()));
        if (!part.ContentID.empty())
            props.AddText(tag::AttachContentId, KwFromUtf8(part.ContentID));
        if (!part.ContentLocation.empty())
            props.AddText(tag::AttachContentLocation, KwFromUtf8(part.ContentLocation));
        const bool shown = ShownByHtml(part);
        props.AddLong(tag::AttachFlags, shown ? tag::attMhtmlRef : 0);
        props.AddBool(tag::AttachmentHidden, shown);

        if (part.Kind == TMimePart::TKind::Message) {
            AddMessage(part, *part.Message, FSource, *attach, props);
        } else {
            TSpoolSource spool;
            const auto inner = IsAttachedMessage(part) ? DecodeMessage(part, spool) : nullptr;
            if (inner)
                AddMessage(part, *inner, spool, *attach, props);
            else
                AddFile(part, *attach, props, number);
        }
        CheckCall(attach->SaveChanges(0), u"SaveChanges");
    }

    void AddFile(const TMimePart& part, mapi::IAttach& attach, TPropList& props, std::size_t number)
    {
        const TAttachmentName name = NameAttachment(part, number);
        props.AddLong(tag::AttachMethod, mapi::ATTACH_BY_VALUE);
        props.AddText(tag::DisplayName, name.LongName);
        props.AddText(tag::AttachLongFileName, name.LongName);
        props.AddText(tag::AttachFileName, name.ShortName);
        props.AddText(tag::AttachExtension, name.Extension);
        props.ApplyTo(attach);

        TPropWriter writer(attach, tag::AttachDataBin);
        ReadContent(FSource, part, FState, [&writer](const std::string& piece) {
            writer.Write(piece);
            return true;
        });
        writer.Commit();
    }

    /// Reads a message that stands behind a transfer encoding. Null when it cannot be read as one.
    std::unique_ptr<TMimeMessage> DecodeMessage(const TMimePart& part, TSpoolSource& spool)
    {
        if (part.Level >= FState.Options.MaxDepth) {
            FState.Damage |= mdDepthLimit;
            return nullptr;
        }
        ReadContent(FSource, part, FState, [&spool](const std::string& piece) {
            spool.Write(piece);
            return true;
        });
        try {
            return ParseMime(spool, FState, part.Level);
        } catch (const Failure& failure) {
            if (failure.Code() != mapi::MAPI_E_CORRUPT_DATA)
                throw;
            FState.Damage |= mdEmbedded;
            return nullptr;
        }
    }

    void AddMessage(const TMimePart& part, const TMimeMessage& message, TByteSource& source, mapi::IAttach& attach,
                    TPropList& props)
    {
        const std::string* subject = message.Field("Subject");
        WideString title = subject != nullptr ? KwFromUtf8(DecodeHeaderText(*subject, FState)) : WideString();
        if (title.empty())
            title = part.FileName.empty() ? WideString(sUntitled) : KwFromUtf8(part.FileName);
        props.AddLong(tag::AttachMethod, mapi::ATTACH_EMBEDDED_MSG);
        props.AddText(tag::DisplayName, title);
        props.ApplyTo(attach);

        TKwComPtr<mapi::IUnknown> opened;
        CheckCall(attach.OpenProperty(tag::AttachDataObj, &mapi::IID_IMessage, 0, mapi::MAPI_CREATE | mapi::MAPI_MODIFY,
                                      Out(opened)),
                  u"OpenProperty");
        TKwComPtr<mapi::IMessage> embedded;
        CheckCall(opened->QueryInterface(mapi::IID_IMessage, OutVoid(embedded)), u"QueryInterface");
        TMessageReader(source, FState).Read(message, *embedded, true);
        CheckCall(embedded->SaveChanges(0), u"SaveChanges");
    }

    TByteSource& FSource;
    TMimeState& FState;
    std::string FHtml; // FReferences looks into it
    std::optional<THtmlReferences> FReferences;
};

} // namespace

TMimeDamage ReadMime(mapi::IStream& stream, mapi::IMessage& message, const TMimeOptions& options)
{
    TMimeState state(options);
    const auto source = OpenByteSource(stream);
    const auto tree = ParseMime(*source, state, 0);
    TMessageReader(*source, state).Read(*tree, message, false);
    if (options.Strict && state.Damage != 0)
        Fail(mapi::MAPI_E_CORRUPT_DATA, sDamaged);
    return state.Damage;
}

} // namespace deftmapi::client::mime

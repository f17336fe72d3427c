// The one source that knows the MIME parser library (GMime). It hands the parser a stream over a byte source, copies
// the resulting structure into TMimeMessage, and lets go of every object of the library before it returns. While the
// parser reads, a guard counts parts and fields and ends the text early when there are far too many of them: the
// parser's own objects would otherwise grow to hundreds of times the size of a malicious text.
#include "client/formats/MimeTree.hpp"

#include "client/entry/Guard.hpp"
#include "client/formats/AsciiText.hpp"
#include "client/formats/EncodedWords.hpp"
#include "client/formats/MessageStart.hpp"
#include "client/formats/ParseGuard.hpp"

#include <gmime/gmime.h>

#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>

namespace deftmapi::client::mime
{

namespace
{

constexpr auto sNoContent = u"The content of a MIME part cannot be read.";
constexpr auto sNoHeader = u"This is not a MIME message: its header cannot be read.";

// Text without a declared character set is tried as these, in this order.
const char* fallbackCharsets[] = {"utf-8", "windows-1252", nullptr};
// What the parser reads after the end of the text. Without it a text that ends inside a header line would lose its
// whole header.
constexpr std::string_view textEnd = "\n\n";
constexpr std::int64_t secondsFrom1601To1970 = 11'644'473'600;
constexpr std::int64_t ticksPerSecond = 10'000'000;

struct TUnref
{
    void operator()(void* object) const noexcept { g_object_unref(object); }
};
template <typename T>
using TObject = std::unique_ptr<T, TUnref>;

struct TFree
{
    void operator()(char* text) const noexcept { g_free(text); }
};
using TOwnedText = std::unique_ptr<char, TFree>;

std::string Text(const char* text)
{
    return text != nullptr ? std::string(text) : std::string();
}

void Initialise()
{
    static std::once_flag once;
    std::call_once(once, g_mime_init);
}

TMimeDamage DamageOf(GMimeParserWarning warning) noexcept
{
    switch (warning) {
    case GMIME_WARN_DUPLICATED_HEADER:
    case GMIME_CRIT_CONFLICTING_HEADER:
        return mdDuplicateField;
    case GMIME_WARN_DUPLICATED_PARAMETER:
    case GMIME_CRIT_CONFLICTING_PARAMETER:
    case GMIME_WARN_INVALID_PARAMETER:
        return mdParameter;
    case GMIME_WARN_UNENCODED_8BIT_HEADER:
        return mdHeader8Bit;
    case GMIME_WARN_INVALID_CONTENT_TYPE:
        return mdContentType;
    case GMIME_WARN_INVALID_RFC2047_HEADER_VALUE:
        return mdEncodedWord;
    case GMIME_WARN_MALFORMED_MULTIPART:
    case GMIME_CRIT_MULTIPART_WITHOUT_BOUNDARY:
        return mdMultipart;
    case GMIME_WARN_TRUNCATED_MESSAGE:
        return mdTruncated;
    case GMIME_CRIT_INVALID_HEADER_NAME:
        return mdHeaderSyntax;
    case GMIME_WARN_INVALID_ADDRESS_LIST:
        return mdAddress;
    case GMIME_CRIT_NESTING_OVERFLOW:
        return mdDepthLimit;
    case GMIME_WARN_MALFORMED_MESSAGE:
    case GMIME_WARN_PART_WITHOUT_CONTENT:
    case GMIME_CRIT_PART_WITHOUT_HEADERS_OR_CONTENT:
        return mdStructure;
    }
    return mdStructure;
}

void NoteWarning(gint64, GMimeParserWarning warning, const gchar*, gpointer damage)
{
    *static_cast<TMimeDamage*>(damage) |= DamageOf(warning);
}

/// Tolerant parser options that report into a flag word.
class TParserOptions
{
public:
    explicit TParserOptions(TMimeDamage& damage) : FOptions(g_mime_parser_options_new())
    {
        g_mime_parser_options_set_fallback_charsets(FOptions, fallbackCharsets);
        g_mime_parser_options_set_allow_addresses_without_domain(FOptions, TRUE);
        g_mime_parser_options_set_warning_callback(FOptions, NoteWarning, &damage);
    }
    TParserOptions(const TParserOptions&) = delete;
    TParserOptions& operator=(const TParserOptions&) = delete;
    ~TParserOptions() { g_mime_parser_options_free(FOptions); }

    [[nodiscard]] GMimeParserOptions* Get() const noexcept { return FOptions; }

private:
    GMimeParserOptions* FOptions;
};

/// What the parser's stream shares with ParseMime.
struct TParsing
{
    TByteSource& Source;
    TParseGuard Guard;
    std::exception_ptr Failure; ///< what the source threw: exceptions cannot pass through the library
};

// A GMimeStream over a byte source. Positions are those of the source, as in the library's own streams on files.
struct TSourceStream
{
    GMimeStream Base;
    TParsing* Parsing;
};
struct TSourceStreamClass
{
    GMimeStreamClass Base;
};

TSourceStream& Self(GMimeStream* stream)
{
    return *reinterpret_cast<TSourceStream*>(stream);
}
/// Where the text ends: at its end, or where the guard stopped the reading.
std::uint64_t RealEnd(const TParsing& parsing)
{
    const std::uint64_t size = parsing.Source.Size();
    return parsing.Guard.Stopped() ? std::min(size, parsing.Guard.Scanned()) : size;
}
gint64 EndOf(GMimeStream* stream)
{
    return stream->bound_end != -1 ? stream->bound_end
                                   : static_cast<gint64>(RealEnd(*Self(stream).Parsing) + textEnd.size());
}

ssize_t SourceRead(GMimeStream* stream, char* buffer, size_t size)
{
    TParsing& parsing = *Self(stream).Parsing;
    const gint64 end = EndOf(stream);
    if (stream->position >= end || parsing.Failure)
        return parsing.Failure ? -1 : 0;
    try {
        const auto offset = static_cast<std::uint64_t>(stream->position);
        const std::uint64_t realEnd = RealEnd(parsing);
        std::size_t got = 0;
        if (offset < realEnd) {
            const std::size_t wanted = std::min(
                {size, static_cast<std::size_t>(end - stream->position), static_cast<std::size_t>(realEnd - offset)});
            got = parsing.Source.Read(offset, std::span(buffer, wanted));
            parsing.Guard.Scan(offset, std::string_view(buffer, got));
        } else {
            got = textEnd.copy(buffer, std::min(size, static_cast<std::size_t>(end - stream->position)),
                               static_cast<std::size_t>(offset - realEnd));
        }
        stream->position += static_cast<gint64>(got);
        return static_cast<ssize_t>(got);
    } catch (...) {
        parsing.Failure = std::current_exception();
        return -1;
    }
}
ssize_t SourceWrite(GMimeStream*, const char*, size_t)
{
    return -1;
}
int SourceDone(GMimeStream*)
{
    return 0;
}
gboolean SourceEos(GMimeStream* stream)
{
    return stream->position >= EndOf(stream) || Self(stream).Parsing->Failure;
}
int SourceReset(GMimeStream* stream)
{
    stream->position = stream->bound_start;
    return 0;
}
gint64 SourceSeek(GMimeStream* stream, gint64 offset, GMimeSeekWhence whence)
{
    gint64 target = offset;
    if (whence == GMIME_STREAM_SEEK_CUR)
        target += stream->position;
    else if (whence == GMIME_STREAM_SEEK_END)
        target += EndOf(stream);
    if (target < stream->bound_start || target > EndOf(stream))
        return -1;
    return stream->position = target;
}
gint64 SourceTell(GMimeStream* stream)
{
    return stream->position;
}
gint64 SourceLength(GMimeStream* stream)
{
    return EndOf(stream) - stream->bound_start;
}
GMimeStream* NewSourceStream(TParsing& parsing, gint64 start, gint64 end);
GMimeStream* SourceSubstream(GMimeStream* stream, gint64 start, gint64 end)
{
    return NewSourceStream(*Self(stream).Parsing, start, end);
}

void InitSourceClass(gpointer cls, gpointer)
{
    auto& base = static_cast<TSourceStreamClass*>(cls)->Base;
    base.read = SourceRead;
    base.write = SourceWrite;
    base.flush = SourceDone;
    base.close = SourceDone;
    base.eos = SourceEos;
    base.reset = SourceReset;
    base.seek = SourceSeek;
    base.tell = SourceTell;
    base.length = SourceLength;
    base.substream = SourceSubstream;
}

GType SourceStreamType()
{
    // The type system is shared by the process; a test program and the client library it loads both carry this source.
    static char tag;
    static const GType type = [] {
        const TOwnedText name(g_strdup_printf("DeftSourceStream_%p", static_cast<void*>(&tag)));
        GTypeInfo info{};
        info.class_size = sizeof(TSourceStreamClass);
        info.class_init = InitSourceClass;
        info.instance_size = sizeof(TSourceStream);
        return g_type_register_static(GMIME_TYPE_STREAM, name.get(), &info, GTypeFlags(0));
    }();
    return type;
}

GMimeStream* NewSourceStream(TParsing& parsing, gint64 start, gint64 end)
{
    auto* stream = static_cast<TSourceStream*>(g_object_new(SourceStreamType(), nullptr));
    stream->Parsing = &parsing;
    g_mime_stream_construct(&stream->Base, start, end);
    return &stream->Base;
}

void NoteField(GMimeParser*, const char* name, const char* value, gint64, gpointer data)
{
    auto& parsing = *static_cast<TParsing*>(data);
    try {
        parsing.Guard.CountField();
        if (!SameAscii(name, "content-type"))
            return;
        const TObject<GMimeContentType> type(g_mime_content_type_parse(nullptr, value));
        if (const char* boundary = type ? g_mime_content_type_get_parameter(type.get(), "boundary") : nullptr)
            parsing.Guard.AddBoundary(boundary);
    } catch (...) {
        parsing.Failure = std::current_exception();
    }
}

std::string WithoutBrackets(std::string_view text)
{
    text = TrimAscii(text);
    if (text.starts_with('<'))
        text.remove_prefix(1);
    if (text.ends_with('>'))
        text.remove_suffix(1);
    return std::string(TrimAscii(text));
}

std::string_view WithoutLineEnd(std::string_view text)
{
    while (text.ends_with('\n') || text.ends_with('\r'))
        text.remove_suffix(1);
    return text;
}

/// Copies the library's objects into our structure, within the limits.
class TTreeBuilder
{
public:
    /// @param end  where the real text ends
    TTreeBuilder(TMimeState& state, std::uint64_t end) : FState(state), FEnd(end) {}

    /// @param level  levels used, this message included
    std::unique_ptr<TMimeMessage> Message(GMimeMessage* source, std::size_t level)
    {
        auto message = std::make_unique<TMimeMessage>();
        GMimeObject* body = g_mime_message_get_mime_part(source);
        CopyHeader(*message, GMIME_OBJECT(source), body);
        if (body != nullptr)
            message->Body = Part(body, level, false);
        return message;
    }

private:
    /// @param countFields  false for the part that shares its header with the message
    std::unique_ptr<TMimePart> Part(GMimeObject* source, std::size_t level, bool countFields)
    {
        const bool multipart = GMIME_IS_MULTIPART(source);
        const bool message = GMIME_IS_MESSAGE_PART(source);
        if ((multipart || message) && level >= FState.Options.MaxDepth) {
            FState.Damage |= mdDepthLimit;
            return nullptr;
        }
        if (FState.PartsLeft == 0) {
            FState.Damage |= mdPartLimit;
            return nullptr;
        }
        --FState.PartsLeft;
        if (countFields) {
            const int fields = g_mime_header_list_get_count(g_mime_object_get_header_list(source));
            FState.FieldsLeft -= std::min(FState.FieldsLeft, static_cast<std::size_t>(std::max(fields, 0)));
        }

        auto part = std::make_unique<TMimePart>();
        part->Level = level;
        CopyTypes(*part, source);
        if (multipart)
            CopyMultipart(*part, GMIME_MULTIPART(source), level);
        else if (message)
            CopyAttachedMessage(*part, GMIME_MESSAGE_PART(source), level);
        else if (GMIME_IS_PART(source))
            CopyLeaf(*part, GMIME_PART(source));
        return part;
    }

    void CopyHeader(TMimeMessage& message, GMimeObject* source, GMimeObject* body)
    {
        // The library keeps the Content- fields with the body; the offsets give back the order of the text.
        std::vector<GMimeHeader*> fields;
        for (GMimeObject* object : {source, body}) {
            GMimeHeaderList* list = object != nullptr ? g_mime_object_get_header_list(object) : nullptr;
            for (int i = 0; list != nullptr && i < g_mime_header_list_get_count(list); ++i)
                fields.push_back(g_mime_header_list_get_header_at(list, i));
        }
        std::stable_sort(fields.begin(), fields.end(), [](GMimeHeader* a, GMimeHeader* b) {
            return g_mime_header_get_offset(a) < g_mime_header_get_offset(b);
        });

        std::size_t bytesLeft = FState.Options.MaxHeaderBytes;
        for (GMimeHeader* field : fields) {
            THeaderField copy{Text(g_mime_header_get_raw_name(field)), {}};
            const char* raw = g_mime_header_get_raw_value(field);
            copy.RawValue = WithoutLineEnd(raw != nullptr ? raw : "");
            const std::size_t size = copy.Name.size() + copy.RawValue.size() + 3; // colon and line end
            if (FState.FieldsLeft == 0 || size > bytesLeft) {
                FState.Damage |= mdHeaderLimit;
                break;
            }
            --FState.FieldsLeft;
            bytesLeft -= size;
            message.Header.push_back(std::move(copy));
        }
    }

    /// The raw value of a field with its base64 words rewritten, or an empty text when it has none.
    std::string Rewritten(GMimeObject* source, const char* name)
    {
        GMimeHeader* field = g_mime_header_list_get_header(g_mime_object_get_header_list(source), name);
        const std::string raw = field != nullptr ? Text(g_mime_header_get_raw_value(field)) : std::string();
        return raw.find("=?") != std::string::npos ? RewriteEncodedWords(raw, FState.Damage) : std::string();
    }

    void CopyTypes(TMimePart& part, GMimeObject* source)
    {
        // The library has already decoded the parameters, but names in encoded words must be rewritten first.
        const TParserOptions options(FState.Damage);
        if (GMimeContentType* type = g_mime_object_get_content_type(source)) {
            part.Type = LowerAscii(Text(g_mime_content_type_get_media_type(type)));
            part.Subtype = LowerAscii(Text(g_mime_content_type_get_media_subtype(type)));
            part.Charset = TrimAscii(Text(g_mime_content_type_get_parameter(type, "charset")));
            part.Start = WithoutBrackets(Text(g_mime_content_type_get_parameter(type, "start")));
            part.Format = LowerAscii(Text(g_mime_content_type_get_parameter(type, "format")));
            part.DeleteSpace = SameAscii(Text(g_mime_content_type_get_parameter(type, "delsp")), "yes");
            part.FileName = Text(g_mime_content_type_get_parameter(type, "name"));
        }
        if (const std::string raw = Rewritten(source, "Content-Type"); !raw.empty()) {
            const TObject<GMimeContentType> type(g_mime_content_type_parse(options.Get(), raw.c_str()));
            part.FileName = type ? Text(g_mime_content_type_get_parameter(type.get(), "name")) : part.FileName;
        }
        std::string name;
        if (GMimeContentDisposition* disposition = g_mime_object_get_content_disposition(source)) {
            part.Disposition = LowerAscii(Text(g_mime_content_disposition_get_disposition(disposition)));
            name = Text(g_mime_content_disposition_get_parameter(disposition, "filename"));
        }
        if (const std::string raw = Rewritten(source, "Content-Disposition"); !raw.empty()) {
            const TObject<GMimeContentDisposition> disposition(
                g_mime_content_disposition_parse(options.Get(), raw.c_str()));
            name = disposition ? Text(g_mime_content_disposition_get_parameter(disposition.get(), "filename")) : name;
        }
        if (!name.empty())
            part.FileName = name;
        part.ContentID = WithoutBrackets(Text(g_mime_object_get_header(source, "Content-Id")));
        part.ContentLocation = TrimAscii(Text(g_mime_object_get_header(source, "Content-Location")));
        std::erase_if(part.ContentLocation, IsBlankAscii); // long addresses are folded
        part.TransferEncoding = TrimAscii(Text(g_mime_object_get_header(source, "Content-Transfer-Encoding")));
    }

    void CopyMultipart(TMimePart& part, GMimeMultipart* source, std::size_t level)
    {
        part.Kind = TMimePart::TKind::Multipart;
        const int count = g_mime_multipart_get_count(source);
        for (int i = 0; i < count; ++i)
            if (auto child = Part(g_mime_multipart_get_part(source, i), level + 1, true))
                part.Parts.push_back(std::move(child));
        if (count == 0) {
            part.Kind = TMimePart::TKind::Leaf;
            part.Type = "text";
            part.Subtype = "plain";
            part.TransferEncoding.clear();
            part.Preamble = Text(g_mime_multipart_get_prologue(source));
            if (part.Preamble.ends_with(textEnd))
                part.Preamble.resize(part.Preamble.size() - textEnd.size());
            FState.Damage |= mdMultipart;
        }
    }

    void CopyAttachedMessage(TMimePart& part, GMimeMessagePart* source, std::size_t level)
    {
        part.Kind = TMimePart::TKind::Message;
        if (GMimeMessage* message = g_mime_message_part_get_message(source))
            part.Message = Message(message, level + 1);
        else
            part.Message = std::make_unique<TMimeMessage>();
        if (part.Message->Header.empty())
            FState.Damage |= mdStructure;
    }

    void CopyLeaf(TMimePart& part, GMimePart* source)
    {
        GMimeDataWrapper* content = g_mime_part_get_content(source);
        GMimeStream* stream = content != nullptr ? g_mime_data_wrapper_get_stream(content) : nullptr;
        if (stream == nullptr)
            return;
        if (!G_TYPE_CHECK_INSTANCE_TYPE(stream, SourceStreamType()))
            Fail(mapi::MAPI_E_CALL_FAILED, sNoContent);
        part.Begin = std::min(static_cast<std::uint64_t>(stream->bound_start), FEnd);
        part.End = std::clamp(static_cast<std::uint64_t>(EndOf(stream)), part.Begin, FEnd);
    }

    TMimeState& FState;
    std::uint64_t FEnd;
};

void AppendAddresses(InternetAddressList* list, std::vector<TMimeAddress>& result)
{
    const int count = list != nullptr ? internet_address_list_length(list) : 0;
    for (int i = 0; i < count; ++i) {
        InternetAddress* entry = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(entry)) {
            AppendAddresses(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(entry)), result);
            continue;
        }
        std::string address = Text(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(entry)));
        std::string name = Text(internet_address_get_name(entry));
        for (std::string* text : {&address, &name})
            std::replace_if(text->begin(), text->end(), IsControlAscii, ' ');
        if (!address.empty())
            result.push_back({std::move(name), std::move(address)});
    }
}

} // namespace

const std::string* TMimeMessage::Field(std::string_view name) const noexcept
{
    const auto it = std::find_if(Header.begin(), Header.end(),
                                 [name](const THeaderField& field) { return SameAscii(field.Name, name); });
    return it != Header.end() ? &it->RawValue : nullptr;
}

std::unique_ptr<TMimeMessage> ParseMime(TByteSource& source, TMimeState& state, std::size_t depth)
{
    Initialise();

    const std::uint64_t start = FindMessageStart(source, state);
    TParsing parsing{source, TParseGuard(state, start), nullptr};
    const TParserOptions options(state.Damage);
    const TObject<GMimeStream> stream(NewSourceStream(parsing, static_cast<gint64>(start), -1));
    const TObject<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    g_mime_parser_set_persist_stream(parser.get(), TRUE);
    g_mime_parser_set_header_regex(parser.get(), ".", NoteField, &parsing);

    const TObject<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), options.Get()));
    if (parsing.Failure)
        std::rethrow_exception(parsing.Failure);
    if (!message)
        Fail(mapi::MAPI_E_CORRUPT_DATA, sNoHeader);
    return TTreeBuilder(state, RealEnd(parsing)).Message(message.get(), depth + 1);
}

std::string DecodeHeaderText(const std::string& raw, TMimeState& state)
{
    Initialise();
    const TParserOptions options(state.Damage);
    const TOwnedText unfolded(g_mime_utils_header_unfold(RewriteEncodedWords(raw, state.Damage).c_str()));
    const TOwnedText decoded(g_mime_utils_header_decode_text(options.Get(), unfolded.get()));
    std::string text(TrimAscii(Text(decoded.get())));
    std::replace_if(text.begin(), text.end(), IsControlAscii, ' '); // also the tab that a line was folded with
    return text;
}

std::vector<TMimeAddress> DecodeAddresses(const std::string& raw, TMimeState& state)
{
    Initialise();
    std::vector<TMimeAddress> result;
    const TParserOptions options(state.Damage);
    const std::string rewritten = RewriteEncodedWords(raw, state.Damage);
    const TObject<InternetAddressList> list(internet_address_list_parse(options.Get(), rewritten.c_str()));
    AppendAddresses(list.get(), result);
    const bool readable = list && internet_address_list_length(list.get()) > 0;
    if (readable || TrimAscii(raw).empty())
        return result;

    // "Name user@domain" without brackets, as some programs write it.
    state.Damage |= mdAddress;
    const std::string text = DecodeHeaderText(raw, state);
    const std::size_t at = text.find('@');
    if (at == std::string::npos)
        return result;
    const std::size_t blank = text.rfind(' ', at);
    const std::size_t start = blank == std::string::npos ? 0 : blank + 1;
    TMimeAddress address{std::string(TrimAscii(std::string_view(text).substr(0, start))),
                         text.substr(start, text.find_first_of(" ,;", at) - start)};
    if (address.Address.size() > 2)
        result.push_back(std::move(address));
    return result;
}

std::optional<std::uint64_t> DecodeDate(const std::string& raw, TMimeState& state)
{
    Initialise();
    GDateTime* date = g_mime_utils_header_decode_date(raw.c_str());
    if (date == nullptr) {
        state.Damage |= mdDate;
        return std::nullopt;
    }
    const std::int64_t seconds = g_date_time_to_unix(date) + secondsFrom1601To1970;
    g_date_time_unref(date);
    if (seconds < 0) {
        state.Damage |= mdDate;
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(seconds * ticksPerSecond);
}

} // namespace deftmapi::client::mime

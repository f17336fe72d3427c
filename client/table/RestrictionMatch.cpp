// The evaluator: one row against one restriction.
#include "client/table/Restriction.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client
{
namespace
{

using namespace mapi;

// The letters without marks of U+00C0 to U+017F; a dot stands for a letter that has none to lose.
constexpr WideView BaseLetters = u"AAAAAA.CEEEEIIII.NOOOOO..UUUUY..aaaaaa.ceeeeiiii.nooooo..uuuuy.y"
                                 u"AaAaAaCcCcCcCcDd..EeEeEeEeEeGgGgGgGgHh..IiIiIiIiI...JjKk.LlLlLl."
                                 u"...NnNnNn...OoOoOo..RrRrRrSsSsSsSsTtTt..UuUuUuUuUuUuWwYyYZzZzZz.";
constexpr char16_t FirstMarked = 0x00C0;
static_assert(BaseLetters.size() == 0x017F - FirstMarked + 1);

bool IsCombiningMark(char16_t c)
{
    return (c >= 0x0300 && c <= 0x036F) || (c >= 0x1AB0 && c <= 0x1AFF) || (c >= 0x1DC0 && c <= 0x1DFF) ||
           (c >= 0x20D0 && c <= 0x20FF) || (c >= 0xFE20 && c <= 0xFE2F);
}

WideString WithoutMarks(WideView text)
{
    WideString out;
    out.reserve(text.size());
    for (const char16_t c : text) {
        const std::size_t at = static_cast<std::size_t>(c) - FirstMarked;
        if (IsCombiningMark(c))
            continue;
        out.push_back(c >= FirstMarked && at < BaseLetters.size() && BaseLetters[at] != u'.' ? BaseLetters[at] : c);
    }
    return out;
}

bool Compare(ULONG op, int order)
{
    switch (op) {
    case RELOP_LT:
        return order < 0;
    case RELOP_LE:
        return order <= 0;
    case RELOP_GT:
        return order > 0;
    case RELOP_GE:
        return order >= 0;
    case RELOP_EQ:
        return order == 0;
    default:
        return order != 0;
    }
}

WideString ReadText(const Blob& blob)
{
    const Bytes raw = blob.ReadAll();
    WideString text(raw.size() / 2, u'\0');
    if (!text.empty())
        std::memcpy(text.data(), raw.data(), text.size() * 2);
    return text;
}

/// The value with a blob read into memory.
Prop Whole(const Prop& prop)
{
    const auto* blob = std::get_if<BlobPtr>(&prop.data);
    if (!blob)
        return prop;
    return prop.Type() == PT_UNICODE ? TextProp(prop.tag, ReadText(**blob)) : BinaryProp(prop.tag, (*blob)->ReadAll());
}

template <typename T, typename Equal>
bool Contains(const T& text, const T& pattern, ULONG level, Equal equal)
{
    switch (level & 0xFFFF) {
    case FL_PREFIX:
        return text.size() >= pattern.size() && std::equal(pattern.begin(), pattern.end(), text.begin(), equal);
    case FL_SUBSTRING:
        return pattern.empty() ||
               std::search(text.begin(), text.end(), pattern.begin(), pattern.end(), equal) != text.end();
    default:
        return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(), equal);
    }
}

bool IsAsciiText(std::string_view text)
{
    std::uint64_t all = 0;
    std::size_t i = 0;
    for (std::uint64_t piece = 0; i + sizeof piece <= text.size(); i += sizeof piece) {
        std::memcpy(&piece, text.data() + i, sizeof piece);
        all |= piece;
    }
    for (; i < text.size(); ++i)
        all |= static_cast<std::uint64_t>(text[i] & 0x80);
    return (all & 0x8080808080808080u) == 0;
}

char UpperAscii(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

/// Whether ASCII of at least the pattern's length begins with it, which is in upper case.
bool BeginsWithFolded(const char* text, std::string_view pattern)
{
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (UpperAscii(text[i]) != pattern[i])
            return false;
    }
    return true;
}

/// The same anywhere in the text.
bool ContainsFolded(std::string_view text, std::string_view pattern)
{
    if (pattern.empty())
        return true;
    const char upper = pattern.front();
    const char lower = upper >= 'A' && upper <= 'Z' ? static_cast<char>(upper + 32) : upper;
    const char* const last = text.data() + (text.size() - pattern.size());
    for (const char* at = text.data(); at <= last; ++at) {
        if ((*at == upper || *at == lower) && BeginsWithFolded(at, pattern))
            return true;
    }
    return false;
}

} // namespace

WideString Restriction::Fold(WideView text, ULONG fuzzyLevel)
{
    const WideString bare =
        fuzzyLevel & (FL_IGNORENONSPACE | FL_LOOSE) ? WithoutMarks(text) : WideString(text.begin(), text.end());
    return fuzzyLevel & (FL_IGNORECASE | FL_LOOSE) ? KwUpperCase(bare) : bare;
}

bool Restriction::MatchesText(WideView text) const
{
    // Most texts and patterns are ASCII; folding those needs no copy.
    const bool ascii = FAsciiPattern && std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
    if (!ascii || !(FOperator & (FL_IGNORECASE | FL_LOOSE))) {
        if (ascii || !(FOperator & (FL_IGNORECASE | FL_IGNORENONSPACE | FL_LOOSE)))
            return Contains(text, WideView(FPattern), FOperator, std::equal_to<>());
        return Contains(Fold(text, FOperator), FPattern, FOperator, std::equal_to<>());
    }
    return Contains(text, WideView(FPattern), FOperator, [](char16_t a, char16_t b) {
        const auto up = [](char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; };
        return up(a) == up(b);
    });
}

bool Restriction::MatchesPackedText(std::string_view text) const
{
    if (!FAsciiPattern || !IsAsciiText(text))
        return MatchesText(UnpackText(text));
    if (!(FOperator & (FL_IGNORECASE | FL_LOOSE)))
        return Contains(text, std::string_view(FBytePattern), FOperator, std::equal_to<>());
    if (text.size() < FBytePattern.size())
        return false;
    switch (FOperator & 0xFFFF) {
    case FL_PREFIX:
        return BeginsWithFolded(text.data(), FBytePattern);
    case FL_SUBSTRING:
        return ContainsFolded(text, FBytePattern);
    default:
        return text.size() == FBytePattern.size() && BeginsWithFolded(text.data(), FBytePattern);
    }
}

bool Restriction::MatchesContent(const Prop& value) const
{
    if (value.Type() != FValue.Type())
        return false;
    if (value.Type() == PT_BINARY) {
        const auto* bytes = std::get_if<Bytes>(&value.data);
        const auto& pattern = std::get<Bytes>(FValue.data);
        return bytes ? Contains(*bytes, pattern, FOperator, std::equal_to<>())
                     : Contains(std::get<BlobPtr>(value.data)->ReadAll(), pattern, FOperator, std::equal_to<>());
    }
    if (value.Type() != PT_UNICODE)
        return false;
    if (const auto* text = std::get_if<WideString>(&value.data))
        return MatchesText(*text);
    return MatchesText(ReadText(*std::get<BlobPtr>(value.data)));
}

bool Restriction::Matches(const Lookup& row, const SubRows& subRows) const
{
    switch (FKind) {
    case RES_AND:
        return std::all_of(FChildren.begin(), FChildren.end(),
                           [&](const auto& child) { return child.Matches(row, subRows); });
    case RES_OR:
        return std::any_of(FChildren.begin(), FChildren.end(),
                           [&](const auto& child) { return child.Matches(row, subRows); });
    case RES_NOT:
        return !FChildren.front().Matches(row, subRows);
    case RES_COMMENT:
        return FChildren.empty() || FChildren.front().Matches(row, subRows);
    case RES_SUBRESTRICTION: {
        if (!subRows)
            return false;
        const auto rows = subRows(FTag);
        return std::any_of(rows.begin(), rows.end(), [&](const PropertyBag& bag) {
            const Prop missing = ErrorProp(0, MAPI_E_NOT_FOUND);
            return FChildren.front().Matches([&](ULONG tag) -> const Prop& {
                const Prop* prop = bag.Find(tag >> 16);
                return prop ? *prop : missing;
            });
        });
    }
    default:
        break;
    }
    const Prop& value = row(FTag);
    if (value.IsError() || !IsOfType(value.tag, FTag))
        return false;
    switch (FKind) {
    case RES_EXIST:
        return true;
    case RES_BITMASK: {
        const auto* number = std::get_if<std::int64_t>(&value.data);
        const bool any = number && (static_cast<ULONG>(*number) & FNumber) != 0;
        return number && any == (FOperator == BMR_NEZ);
    }
    case RES_SIZE: {
        const std::uint64_t size = RestrictionSize(value);
        return Compare(FOperator, size < FNumber ? -1 : (size > FNumber ? 1 : 0));
    }
    case RES_COMPAREPROPS: {
        const Prop& other = row(FOtherTag);
        return !other.IsError() && IsOfType(other.tag, FOtherTag) && value.Type() == other.Type() &&
               Compare(FOperator, CompareValues(Whole(value), Whole(other)));
    }
    case RES_CONTENT: {
        if (!(value.Type() & MV_FLAG))
            return MatchesContent(value);
        const auto elements = ElementsOf(value);
        return std::any_of(elements.begin(), elements.end(), [&](const Prop& item) { return MatchesContent(item); });
    }
    default:
        break;
    }
    // RES_PROPERTY. A multiple property compared with a single value asks whether any of its values fits.
    if (value.Type() & MV_FLAG && !(FValue.Type() & MV_FLAG)) {
        const auto elements = ElementsOf(value);
        return std::any_of(elements.begin(), elements.end(), [&](const Prop& item) {
            return item.Type() == FValue.Type() && Compare(FOperator, CompareValues(item, FValue));
        });
    }
    return value.Type() == FValue.Type() && Compare(FOperator, CompareValues(Whole(value), FValue));
}

bool IsOfType(ULONG value, ULONG asked)
{
    const ULONG type = PROP_TYPE(asked) & ~MVI_FLAG;
    return type == PT_UNSPECIFIED || type == (PROP_TYPE(value) & ~MVI_FLAG);
}

std::uint64_t RestrictionSize(const Prop& value)
{
    const std::uint64_t size = DataSize(value);
    switch (value.Type() & ~MV_FLAG) { // numbers take 8 bytes inside
    case PT_I2:
    case PT_BOOLEAN:
        return size / 4;
    case PT_LONG:
    case PT_R4:
    case PT_ERROR:
        return size / 2;
    default:
        return size;
    }
}

std::vector<Prop> ElementsOf(const Prop& prop)
{
    std::vector<Prop> elements;
    std::visit(
        [&](const auto& data) {
            using T = std::decay_t<decltype(data)>;
            if constexpr (std::is_same_v<T, std::vector<std::int64_t>> || std::is_same_v<T, std::vector<double>> ||
                          std::is_same_v<T, std::vector<WideString>> || std::is_same_v<T, std::vector<Bytes>>)
            {
                for (const auto& item : data)
                    elements.push_back({prop.tag & ~MVI_FLAG, item});
            }
        },
        prop.data);
    return elements;
}

} // namespace deftmapi::client

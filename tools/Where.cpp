#include "Where.hpp"

#include "Command.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

namespace deftmapi::tool
{

namespace
{

constexpr int MaximumDepth = 100; // parentheses and nots inside each other

enum class TokenKind
{
    Word,   // a name, a number, a time: what it means depends on where it stands
    Text,   // in quotes
    Symbol, // an operator or a parenthesis
    End
};

struct Token
{
    TokenKind Kind = TokenKind::End;
    std::string Text;
    std::size_t At = 0; // byte offset in the expression
};

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHex(const std::string& text)
{
    return text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

class Parser
{
public:
    explicit Parser(const std::string& text) : FText(text) { Advance(); }

    Condition ParseAll()
    {
        Condition result = ParseOr(0);
        if (FToken.Kind != TokenKind::End)
            Fail(FToken, "and, or, or the end expected instead of " + Named(FToken));
        return result;
    }

private:
    [[noreturn]] void Fail(std::size_t at, const std::string& what) const
    {
        const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
        const auto column = std::count_if(FText.begin(), FText.begin() + static_cast<std::ptrdiff_t>(at), begins) + 1;
        throw UsageError(fmt::format("--where, column {}: {}", column, what));
    }
    [[noreturn]] void Fail(const Token& token, const std::string& what) const { Fail(token.At, what); }

    static std::string Named(const Token& token)
    {
        return token.Kind == TokenKind::End ? "the end" : "'" + token.Text + "'";
    }

    // ---- Tokens

    void Advance()
    {
        FAt = std::min(FText.find_first_not_of(" \t\r\n", FAt), FText.size());
        FToken = {TokenKind::End, {}, FAt};
        if (FAt == FText.size())
            return;
        const char c = FText[FAt];
        if (c == '"' || c == '\'')
            return ReadText(c);
        if (IsLetter(c) || IsDigit(c) || c == '-' || c == '.') {
            FToken.Kind = TokenKind::Word;
            const auto belongs = [](char x) {
                return IsLetter(x) || IsDigit(x) || x == '-' || x == '.' || x == ':' || x == '+';
            };
            while (FAt < FText.size() && belongs(FText[FAt]))
                FToken.Text += FText[FAt++];
            return;
        }
        FToken.Kind = TokenKind::Symbol;
        for (const char* symbol : {"==", "!=", "<>", "<=", ">=", "=", "<", ">", "~", "^", "&", "(", ")"}) {
            if (FText.compare(FAt, std::char_traits<char>::length(symbol), symbol) == 0) {
                FToken.Text = symbol;
                FAt += FToken.Text.size();
                return;
            }
        }
        Fail(FAt, "this character means nothing here");
    }

    void ReadText(char quote)
    {
        FToken.Kind = TokenKind::Text;
        for (++FAt; FAt < FText.size() && FText[FAt] != quote; ++FAt) {
            if (FText[FAt] == '\\' && FAt + 1 < FText.size())
                ++FAt;
            FToken.Text += FText[FAt];
        }
        if (FAt == FText.size())
            Fail(FToken, "the text has no closing quote");
        ++FAt;
    }

    bool TakeSymbol(const char* symbol)
    {
        if (FToken.Kind != TokenKind::Symbol || FToken.Text != symbol)
            return false;
        Advance();
        return true;
    }

    bool TakeWord(const char* word)
    {
        if (FToken.Kind != TokenKind::Word || FToken.Text != word)
            return false;
        Advance();
        return true;
    }

    void Expect(const char* symbol)
    {
        if (!TakeSymbol(symbol))
            Fail(FToken, fmt::format("{} expected instead of {}", symbol, Named(FToken)));
    }

    Token Take()
    {
        Token token = FToken;
        Advance();
        return token;
    }

    // ---- Expressions

    Condition ParseOr(int depth) { return ParseList(depth, rtOr); }

    /// A list of one is its only member.
    Condition ParseList(int depth, TKwMAPIRestrictionType type)
    {
        if (depth > MaximumDepth)
            Fail(FToken, "too many parentheses inside each other");
        Condition list;
        list.Type = type;
        do {
            list.Children.push_back(type == rtOr ? ParseList(depth, rtAnd) : ParseNot(depth));
        } while (TakeWord(type == rtOr ? "or" : "and"));
        if (list.Children.size() > 1)
            return list;
        Condition only = std::move(list.Children.front());
        return only;
    }

    Condition ParseNot(int depth)
    {
        if (!TakeWord("not"))
            return ParseOne(depth);
        if (depth > MaximumDepth)
            Fail(FToken, "too many nots inside each other");
        Condition result;
        result.Type = rtNot;
        result.Children.push_back(ParseNot(depth + 1));
        return result;
    }

    Condition ParseOne(int depth)
    {
        if (TakeSymbol("(")) {
            Condition inner = ParseOr(depth + 1);
            Expect(")");
            return inner;
        }
        Condition result;
        if (TakeWord("exists")) {
            result.Type = rtExists;
            result.Prop = TakeProperty().Hash;
            return result;
        }
        if (TakeWord("size")) {
            result.Type = rtSize;
            result.Prop = TakeProperty().Hash;
            const Token at = FToken;
            const auto relation = TakeRelation();
            if (!relation)
                Fail(at, "a comparison expected, for example >");
            result.Operator = *relation;
            if (FToken.Text.starts_with('-'))
                Fail(FToken, "a number of bytes expected instead of " + Named(FToken));
            result.Number = TakeNumber<std::int32_t>("a number of bytes");
            return result;
        }
        for (const auto& [word, kind] : {std::pair{"recipients", rsotRecipients}, {"attachments", rsotAttachments}}) {
            const Token at = FToken;
            if (!TakeWord(word))
                continue;
            if (FInSubObject)
                Fail(at, fmt::format("recipients and attachments have no {}", word));
            FInSubObject = true;
            result.Type = rtSub;
            result.SubObject = kind;
            Expect("(");
            result.Children.push_back(ParseOr(depth + 1));
            Expect(")");
            FInSubObject = false;
            return result;
        }
        return ParseComparison();
    }

    Condition ParseComparison()
    {
        const Token name = FToken;
        const TKwMAPIPropInfo& info = TakeProperty();
        const std::uint32_t type = info.PropType & ~mapi::MV_FLAG;
        const bool text = type == mapi::PT_UNICODE || type == mapi::PT_STRING8;
        Condition result;
        result.Prop = info.Hash;
        const Token symbol = FToken;
        if (TakeSymbol("~") || TakeSymbol("^")) {
            if (!text)
                Fail(symbol, name.Text + " is no text");
            if (FToken.Kind != TokenKind::Text)
                Fail(FToken, "a text in quotes expected instead of " + Named(FToken));
            result.Type = rtContent;
            result.Match = symbol.Text == "~" ? smtSubString : smtPrefix;
            result.Value = KwFromUtf8(Take().Text);
            return result;
        }
        if (TakeSymbol("&")) {
            if (type != mapi::PT_LONG || info.PropType != type)
                Fail(symbol, "only 32-bit numbers have bits to test");
            result.Type = rtBitmask;
            result.Number = TakeNumber<std::int32_t>("a bit mask");
            const Token at = FToken;
            if (const auto relation = TakeRelation()) {
                if ((*relation != oEqual && *relation != oNotEqual) || FToken.Kind != TokenKind::Word ||
                    FToken.Text != "0")
                    Fail(at, "bits are compared with 0, by = or !=");
                Advance();
                result.BitOperator = *relation == oEqual ? bmoEqualsZero : bmoNotZero;
            }
            return result;
        }
        if (const auto relation = TakeRelation()) {
            result.Operator = *relation;
            if (const TKwMAPIPropInfo* other = PropertyOf(FToken, type)) {
                if (WideForm(other->PropType) != WideForm(info.PropType))
                    Fail(FToken, fmt::format("{} and {} have values of different types", FToken.Text, name.Text));
                Advance();
                result.Type = rtCompareProps;
                result.OtherProp = other->Hash;
            } else {
                result.Type = rtProperty;
                result.Value = TakeValue(info, *relation);
            }
            return result;
        }
        if (info.PropType != mapi::PT_BOOLEAN)
            Fail(symbol, fmt::format("a comparison expected after {}, instead of {}", name.Text, Named(symbol)));
        result.Type = rtProperty;
        result.Value = true;
        return result;
    }

    /// The type; of both forms of text the wide one.
    static std::uint32_t WideForm(std::uint32_t type)
    {
        return (type & ~mapi::MV_FLAG) == mapi::PT_STRING8 ? type - mapi::PT_STRING8 + mapi::PT_UNICODE : type;
    }

    std::optional<TKwMAPIOperator> TakeRelation()
    {
        static constexpr std::pair<const char*, TKwMAPIOperator> relations[] = {
            {"=", oEqual},       {"==", oEqual},          {"!=", oNotEqual},   {"<>", oNotEqual},
            {"<", oSmallerThan}, {"<=", oSmallerOrEqual}, {">", oGreaterThan}, {">=", oGreaterOrEqual}};
        for (const auto& [symbol, relation] : relations)
            if (TakeSymbol(symbol))
                return relation;
        return std::nullopt;
    }

    const TKwMAPIPropInfo& TakeProperty()
    {
        const Token name = Take();
        if (name.Kind != TokenKind::Word || !IsLetter(name.Text.front()))
            Fail(name, "the name of a property expected instead of " + Named(name));
        const TKwMAPIPropInfo* info = FindProp(KwFromUtf8(name.Text));
        if (!info)
            Fail(name, "there is no property definition named " + name.Text + " (see deftmapi defs)");
        return *info;
    }

    /// The property that stands where a value could stand; null for a value.
    static const TKwMAPIPropInfo* PropertyOf(const Token& token, std::uint32_t type)
    {
        if (token.Kind != TokenKind::Word || !IsLetter(token.Text.front()) ||
            (type == mapi::PT_BINARY && IsHex(token.Text)))
            return nullptr;
        return FindProp(KwFromUtf8(token.Text));
    }

    // ---- Values

    /// Decimal or, after 0x, hexadecimal; negative ones, too.
    template <typename Number>
    Number TakeNumber(const char* expected, bool isSigned = false)
    {
        const Token token = Take();
        const bool negative = !token.Text.empty() && token.Text.front() == '-';
        const bool hex = token.Text.compare(negative ? 1 : 0, 2, "0x") == 0;
        const char* first = token.Text.data() + (negative ? 1 : 0) + (hex ? 2 : 0);
        const char* last = token.Text.data() + token.Text.size();
        std::uint64_t magnitude = 0;
        const auto [end, error] = std::from_chars(first, last, magnitude, hex ? 16 : 10);
        if (token.Kind != TokenKind::Word || error == std::errc::invalid_argument || end != last)
            Fail(token, fmt::format("{} expected instead of {}", expected, Named(token)));
        // All the bits may be used where numbers have no order: 0xFFFFFFFF is a 32-bit number.
        const auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::make_unsigned_t<Number>>::max());
        if (error != std::errc() || magnitude > (negative ? largest / 2 + 1 : isSigned ? largest / 2 : largest))
            Fail(token, fmt::format("{} does not fit into {} bits", token.Text, sizeof(Number) * 8));
        return static_cast<Number>(negative ? 0 - magnitude : magnitude);
    }

    TKwVariant TakeValue(const TKwMAPIPropInfo& info, TKwMAPIOperator relation)
    {
        const bool isSigned = relation != oEqual && relation != oNotEqual;
        switch (info.PropType) {
        case mapi::PT_I2:
            return TakeNumber<std::int16_t>("a number", isSigned);
        case mapi::PT_LONG:
            return TakeNumber<std::int32_t>("a number", isSigned);
        case mapi::PT_R4:
        case mapi::PT_DOUBLE:
            return TakeFloat();
        case mapi::PT_BOOLEAN:
            return TakeBoolean();
        case mapi::PT_UNICODE:
        case mapi::PT_STRING8:
        case mapi::PT_MV_UNICODE:
            if (FToken.Kind != TokenKind::Text)
                Fail(FToken, "a text in quotes expected instead of " + Named(FToken));
            return KwFromUtf8(Take().Text);
        case mapi::PT_CLSID:
            return TakeGuid();
        case mapi::PT_SYSTIME:
        case mapi::PT_APPTIME:
            return TakeTime(info.PropType == mapi::PT_APPTIME);
        case mapi::PT_BINARY: {
            const Token token = Take();
            if (token.Text.empty() || token.Text.size() % 2 != 0 || !IsHex(token.Text))
                Fail(token, "bytes as pairs of hexadecimal digits expected instead of " + Named(token));
            return KwFromUtf8(token.Text);
        }
        default:
            Fail(FToken, "the values of " + KwToUtf8(info.PropName()) + " cannot be compared here");
        }
    }

    TKwVariant TakeFloat()
    {
        const Token token = Take();
        double number = 0;
        const char* last = token.Text.data() + token.Text.size();
        const auto [end, error] = std::from_chars(token.Text.data(), last, number);
        if (token.Kind != TokenKind::Word || error != std::errc() || end != last)
            Fail(token, "a number expected instead of " + Named(token));
        return number;
    }

    TKwVariant TakeBoolean()
    {
        const Token token = Take();
        if (token.Kind != TokenKind::Word || (token.Text != "true" && token.Text != "false"))
            Fail(token, "true or false expected instead of " + Named(token));
        return token.Text == "true";
    }

    TKwVariant TakeGuid()
    {
        const Token token = Take();
        const WideString text = KwFromUtf8(token.Text);
        try {
            static_cast<void>(KwStrToGuid(text));
        } catch (const EKwConvertError&) {
            Fail(token,
                 "a GUID such as \"{00020D0B-0000-0000-C000-000000000046}\" expected instead of " + Named(token));
        }
        return text;
    }

    TKwVariant TakeTime(bool asDate)
    {
        const Token token = Take();
        try {
            const TKwFileTime time = KwIsoToFileTime(KwFromUtf8(token.Text));
            if (asDate)
                return KwFileTimeToDate(time);
            return static_cast<std::int64_t>(time.Ticks); // exact, where a date would keep milliseconds
        } catch (const EKwConvertError&) {
            Fail(token, "a time such as 2024-01-31 or 2024-01-31T10:20:30Z expected instead of " + Named(token));
        }
    }

    const std::string& FText;
    std::size_t FAt = 0;
    Token FToken;
    bool FInSubObject = false;
};

} // namespace

Condition ParseWhere(const std::string& expression)
{
    return Parser(expression).ParseAll();
}

template <typename Interface>
TKwRef<Interface> Restrictions::Create(TKwMAPIRestrictionType type)
{
    FAll.push_back(FTable.CreateRestriction(type));
    return &dynamic_cast<Interface&>(*FAll.back());
}

TKwRef<IKwMAPIRestriction> Restrictions::Build(const Condition& condition)
{
    const auto withChildren = [&](auto list) {
        for (const Condition& child : condition.Children)
            list->AddRestriction(Build(child));
        return list;
    };
    const auto withChild = [&](auto parent) {
        parent->SetRestriction(Build(condition.Children.front()));
        return parent;
    };
    switch (condition.Type) {
    case rtAnd:
        return withChildren(Create<IKwMAPIRestrictionAnd>(rtAnd));
    case rtOr:
        return withChildren(Create<IKwMAPIRestrictionOr>(rtOr));
    case rtNot:
        return withChild(Create<IKwMAPIRestrictionNot>(rtNot));
    case rtContent: {
        const auto content = Create<IKwMAPIRestrictionContent>(rtContent);
        content->Set_PropDef(condition.Prop);
        content->Set_MatchType(condition.Match);
        content->Set_CaseInsensitive(true);
        content->Set_Value(condition.Value.AsStringW());
        return content;
    }
    case rtProperty: {
        const auto property = Create<IKwMAPIRestrictionProperty>(rtProperty);
        property->Set_PropDef(condition.Prop);
        property->Set_Operator(condition.Operator);
        property->Set_Value(condition.Value);
        return property;
    }
    case rtCompareProps: {
        const auto compare = Create<IKwMAPIRestrictionCompareProps>(rtCompareProps);
        compare->Set_PropDef1(condition.Prop);
        compare->Set_PropDef2(condition.OtherProp);
        compare->Set_Operator(condition.Operator);
        return compare;
    }
    case rtBitmask: {
        const auto bits = Create<IKwMAPIRestrictionBitMask>(rtBitmask);
        bits->Set_PropDef(condition.Prop);
        bits->Set_Operator(condition.BitOperator);
        bits->Set_BitMask(condition.Number);
        return bits;
    }
    case rtSize: {
        const auto size = Create<IKwMAPIRestrictionSize>(rtSize);
        size->Set_PropDef(condition.Prop);
        size->Set_Operator(condition.Operator);
        size->Set_Size(condition.Number);
        return size;
    }
    case rtExists: {
        const auto exists = Create<IKwMAPIRestrictionExists>(rtExists);
        exists->Set_PropDef(condition.Prop);
        return exists;
    }
    case rtSub:
        break;
    }
    const auto sub = withChild(Create<IKwMAPIRestrictionSub>(rtSub));
    sub->Set_SubObjectType(condition.SubObject);
    return sub;
}

} // namespace deftmapi::tool

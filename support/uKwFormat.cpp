// The pattern language of the message texts. It is parsed strictly: a text that does not fit its arguments is a fault
// of ours that must not travel to a user as half a message.
#include "support/uKwFormat.hpp"

#include "support/uKwExceptions.hpp"

#include <algorithm>
#include <optional>

namespace deftmapi
{

namespace
{

constexpr auto sBadPattern = u"The format \"";
constexpr auto sBadPatternEnd = u"\" is malformed, lacks an argument, or an argument has the wrong type!";
constexpr std::int32_t invalidArgument = static_cast<std::int32_t>(0x80070057);
constexpr std::size_t largestNumber = 32767; // of an argument index, a width or a precision

struct TSpecifier
{
    std::size_t Argument = 0;
    bool LeftAligned = false;
    std::size_t Width = 0;
    std::optional<std::size_t> Precision;
    char16_t Type = 0;
};

class TFormatter
{
public:
    TFormatter(WideView pattern, std::initializer_list<TKwFormatArg> args) : FPattern(pattern), FArgs(args) {}

    WideString Run()
    {
        WideString result;
        result.reserve(FPattern.size() + 64);
        while (FPosition < FPattern.size()) {
            const char16_t c = FPattern[FPosition++];
            if (c != u'%')
                result.push_back(c);
            else if (Peek() == u'%') {
                result.push_back(u'%');
                ++FPosition;
            } else
                Append(result, ReadSpecifier());
        }
        return result;
    }

private:
    [[noreturn]] void Fail() const
    {
        // Assembled by hand: the formatter cannot report its own failure through itself.
        throw EKwConvertError(WideString(sBadPattern).append(FPattern).append(sBadPatternEnd), invalidArgument);
    }

    [[nodiscard]] char16_t Peek() const noexcept { return FPosition < FPattern.size() ? FPattern[FPosition] : u'\0'; }

    std::optional<std::size_t> ReadNumber()
    {
        if (Peek() < u'0' || Peek() > u'9')
            return std::nullopt;
        std::size_t value = 0;
        while (Peek() >= u'0' && Peek() <= u'9') {
            value = value * 10 + static_cast<std::size_t>(FPattern[FPosition++] - u'0');
            if (value > largestNumber)
                Fail();
        }
        return value;
    }

    TSpecifier ReadSpecifier()
    {
        TSpecifier result;
        result.LeftAligned = ReadSign();
        std::optional<std::size_t> number = result.LeftAligned ? std::nullopt : ReadNumber();
        if (number && Peek() == u':') {
            ++FPosition;
            FNextArgument = *number;
            result.LeftAligned = ReadSign();
            number = ReadNumber();
        } else if (result.LeftAligned)
            number = ReadNumber();
        result.Width = number.value_or(0);
        if (Peek() == u'.') {
            ++FPosition;
            result.Precision = ReadNumber();
            if (!result.Precision)
                Fail();
        }
        if (FPosition == FPattern.size())
            Fail();
        result.Type = FPattern[FPosition++];
        result.Argument = FNextArgument++;
        return result;
    }

    bool ReadSign() noexcept
    {
        if (Peek() != u'-')
            return false;
        ++FPosition;
        return true;
    }

    void Append(WideString& result, const TSpecifier& specifier)
    {
        if (specifier.Argument >= FArgs.size())
            Fail();
        const WideString text = Convert(FArgs.begin()[specifier.Argument], specifier);
        const std::size_t padding = specifier.Width > text.size() ? specifier.Width - text.size() : 0;
        if (!specifier.LeftAligned)
            result.append(padding, u' ');
        result.append(text);
        if (specifier.LeftAligned)
            result.append(padding, u' ');
    }

    WideString Convert(const TKwFormatArg& arg, const TSpecifier& specifier) const
    {
        const auto* text = std::get_if<WideString>(&arg.Value());
        const auto* number = std::get_if<std::int64_t>(&arg.Value());
        if (specifier.Type == u's' && text != nullptr)
            return text->substr(0, specifier.Precision.value_or(WideString::npos));
        if (specifier.Type == u'd' && number != nullptr) {
            // The unsigned negation is also right for the smallest number, whose signed negation does not exist.
            const bool negative = *number < 0;
            const std::uint64_t magnitude =
                negative ? 0 - static_cast<std::uint64_t>(*number) : static_cast<std::uint64_t>(*number);
            WideString digits = Digits(magnitude, 10, specifier.Precision.value_or(1));
            return negative ? u"-" + digits : digits;
        }
        if (specifier.Type == u'x' && number != nullptr) {
            std::uint64_t bits = static_cast<std::uint64_t>(*number);
            if (arg.Bytes() < 8)
                bits &= (std::uint64_t{1} << (arg.Bytes() * 8)) - 1;
            return Digits(bits, 16, specifier.Precision.value_or(1));
        }
        Fail();
    }

    static WideString Digits(std::uint64_t value, unsigned base, std::size_t least)
    {
        WideString result;
        for (; value != 0; value /= base)
            result.push_back(u"0123456789abcdef"[value % base]);
        if (result.size() < least)
            result.append(least - result.size(), u'0');
        std::reverse(result.begin(), result.end());
        return result;
    }

    WideView FPattern;
    std::initializer_list<TKwFormatArg> FArgs;
    std::size_t FPosition = 0;
    std::size_t FNextArgument = 0;
};

} // namespace

WideString KwFormat(WideView pattern, std::initializer_list<TKwFormatArg> args)
{
    return TFormatter(pattern, args).Run();
}

} // namespace deftmapi

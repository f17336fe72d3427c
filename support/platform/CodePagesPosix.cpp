// Code pages through iconv. Open converters are kept for the next caller: opening one loads a conversion table and
// costs more than converting a short text. They belong to no thread, because a thread's end would close them behind the
// loader's back.
#include "support/platform/PosixParts.hpp"

#include <bit>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include <iconv.h>

namespace deftmapi::posix
{

namespace
{

constexpr const char* wideCharset = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
constexpr std::size_t chunkSize = 1024;

struct TName
{
    unsigned CodePage;
    const char* Charset;
};

// Code pages whose iconv name is not "CP" and the number.
constexpr TName names[] = {
    {708, "ASMO-708"},      {936, "GBK"},           {951, "BIG5-HKSCS"},
    {1361, "JOHAB"},        {10000, "MACINTOSH"},   {10007, "MAC-CYRILLIC"},
    {12000, "UTF-32LE"},    {12001, "UTF-32BE"},    {20127, "ASCII"},
    {20866, "KOI8-R"},      {20932, "EUC-JP"},      {20936, "GB2312"},
    {21866, "KOI8-U"},      {50220, "ISO-2022-JP"}, {50221, "ISO-2022-JP"},
    {50222, "ISO-2022-JP"}, {50225, "ISO-2022-KR"}, {51932, "EUC-JP"},
    {51936, "GB2312"},      {51949, "EUC-KR"},      {52936, "GBK"},
    {54936, "GB18030"},     {65000, "UTF-7"},       {38598, "ISO-8859-8"},
    {65001, "UTF-8"},       {1200, "UTF-16LE"},     {1201, "UTF-16BE"},
};

std::string CharsetOf(unsigned codePage)
{
    for (const TName& name : names)
        if (name.CodePage == codePage)
            return name.Charset;
    if (codePage >= 28591 && codePage <= 28606)
        return "ISO-8859-" + std::to_string(codePage - 28590);
    return "CP" + std::to_string(codePage);
}

class TConverter
{
public:
    TConverter(const char* to, const char* from) noexcept : FHandle(::iconv_open(to, from)) {}
    ~TConverter()
    {
        if (IsOpen())
            ::iconv_close(FHandle);
    }
    TConverter(const TConverter&) = delete;
    TConverter& operator=(const TConverter&) = delete;

    [[nodiscard]] bool IsOpen() const noexcept { return FHandle != reinterpret_cast<iconv_t>(-1); }
    void Restart() noexcept { ::iconv(FHandle, nullptr, nullptr, nullptr, nullptr); }

    /// Converts up to the end of the input or the first thing that does not convert. Returns 0, EILSEQ or EINVAL (the
    /// input ends within a character); without input the shift state is closed.
    int Convert(std::string_view& input, std::string& output)
    {
        // iconv's interface lacks the const; it does not write to its input.
        char* in = const_cast<char*>(input.data());
        std::size_t left = input.size();
        const bool closing = input.empty();
        for (;;) {
            char buffer[chunkSize];
            char* out = buffer;
            std::size_t room = sizeof buffer;
            const std::size_t result =
                closing ? ::iconv(FHandle, nullptr, nullptr, &out, &room) : ::iconv(FHandle, &in, &left, &out, &room);
            const int error = result == static_cast<std::size_t>(-1) ? errno : 0;
            output.append(buffer, static_cast<std::size_t>(out - buffer));
            if (error == E2BIG)
                continue;
            input = closing ? std::string_view() : std::string_view(in, left);
            return error;
        }
    }

private:
    iconv_t FHandle;
};

/// Open converters that nobody uses at the moment.
class TPool
{
public:
    using TKey = std::pair<unsigned, bool>; // code page, towards wide text

    /// Null when the code page is unknown.
    std::unique_ptr<TConverter> Take(TKey key)
    {
        // Opening stays inside the lock: it loads and counts the converters' modules.
        const std::lock_guard lock(FLock);
        auto& idle = FIdle[key];
        if (!idle.empty()) {
            std::unique_ptr<TConverter> converter = std::move(idle.back());
            idle.pop_back();
            return converter;
        }
        const std::string charset = CharsetOf(key.first);
        auto converter = key.second ? std::make_unique<TConverter>(wideCharset, charset.c_str())
                                    : std::make_unique<TConverter>(charset.c_str(), wideCharset);
        return converter->IsOpen() ? std::move(converter) : nullptr;
    }

    void Return(TKey key, std::unique_ptr<TConverter> converter) noexcept
    {
        try {
            const std::lock_guard lock(FLock);
            FIdle[key].push_back(std::move(converter));
        } catch (const std::bad_alloc&) {
            // No memory to keep it: then it is closed and opened again next time.
        }
    }

private:
    std::mutex FLock;
    std::map<TKey, std::vector<std::unique_ptr<TConverter>>> FIdle;
};

TPool& Pool()
{
    // Never destroyed: a session that an application keeps in a global ends after all of the library's own statics.
    static TPool& pool = *new TPool;
    return pool;
}

/// A converter for the life of this object.
class TBorrowedConverter
{
public:
    TBorrowedConverter(unsigned codePage, bool toWide) : FKey(codePage, toWide), FConverter(Pool().Take(FKey)) {}
    ~TBorrowedConverter()
    {
        if (FConverter) {
            FConverter->Restart();
            Pool().Return(FKey, std::move(FConverter));
        }
    }
    TBorrowedConverter(const TBorrowedConverter&) = delete;
    TBorrowedConverter& operator=(const TBorrowedConverter&) = delete;

    explicit operator bool() const noexcept { return FConverter != nullptr; }
    TConverter* operator->() const noexcept { return FConverter.get(); }

private:
    TPool::TKey FKey;
    std::unique_ptr<TConverter> FConverter;
};

void AppendUnits(std::string& bytes, WideView text)
{
    bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
}

} // namespace

bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text)
{
    const TBorrowedConverter converter(codePage, true);
    if (!converter)
        return false;
    std::string units;
    units.reserve(bytes.size() * sizeof(char16_t));
    while (!bytes.empty()) {
        const int error = converter->Convert(bytes, units);
        if (error == 0)
            break;
        AppendUnits(units, u"\xFFFD");
        bytes.remove_prefix(error == EINVAL ? bytes.size() : 1);
    }
    static_cast<void>(converter->Convert(bytes = {}, units));
    text.resize(units.size() / sizeof(char16_t));
    std::memcpy(text.data(), units.data(), text.size() * sizeof(char16_t));
    return true;
}

bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy)
{
    const TBorrowedConverter converter(codePage, false);
    if (!converter)
        return false;
    bytes.clear();
    std::string units;
    AppendUnits(units, text);
    std::string_view input = units;
    while (!input.empty()) {
        const int error = converter->Convert(input, bytes);
        if (error == 0)
            break;
        if (lossy != nullptr)
            *lossy = true;
        // The question mark goes through the converter, too: the output may be in a shifted state.
        const std::u16string_view mark = u"?";
        std::string_view markInput(reinterpret_cast<const char*>(mark.data()), sizeof(char16_t));
        static_cast<void>(converter->Convert(markInput, bytes));
        char16_t unit = 0;
        std::memcpy(&unit, input.data(), sizeof unit);
        const bool pair = (unit & 0xFC00) == 0xD800 && input.size() >= 4 && error == EILSEQ && [&] {
            char16_t next = 0;
            std::memcpy(&next, input.data() + sizeof unit, sizeof next);
            return (next & 0xFC00) == 0xDC00;
        }();
        input.remove_prefix(pair ? 4 : 2);
    }
    input = {};
    static_cast<void>(converter->Convert(input, bytes));
    return true;
}

} // namespace deftmapi::posix

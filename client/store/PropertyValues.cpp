#include "client/store/PropertyValues.hpp"

#include "client/entry/Guard.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace deftmapi::client
{
namespace
{

using namespace mapi;

constexpr auto sBadValue = u"A property value points nowhere.";
constexpr auto sBadType = u"A property of this type cannot be stored.";
constexpr auto sBlobOut = u"A large value must be opened as a stream.";

const void* Check(const void* pointer, ULONG count)
{
    if (!pointer && count)
        Fail(MAPI_E_INVALID_PARAMETER, sBadValue);
    return pointer;
}

std::int64_t ToTime(const FILETIME& time)
{
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

FILETIME FromTime(std::int64_t value)
{
    return {static_cast<DWORD>(value), static_cast<DWORD>(static_cast<std::uint64_t>(value) >> 32)};
}

Bytes ToBytes(const void* from, std::size_t size)
{
    const auto* bytes = static_cast<const std::uint8_t*>(from);
    return size ? Bytes(bytes, bytes + size) : Bytes();
}

template <typename Out, typename Array, typename Make>
std::vector<Out> ToVector(ULONG count, Array* values, Make make)
{
    Check(values, count);
    std::vector<Out> result;
    result.reserve(count);
    for (ULONG i = 0; i < count; ++i)
        result.push_back(make(values[i]));
    return result;
}

PropData ReadMulti(ULONG type, const UPV& v)
{
    switch (type) {
    case PT_MV_I2:
        return ToVector<std::int64_t>(v.MVi.cValues, v.MVi.lpi, [](auto x) { return std::int64_t{x}; });
    case PT_MV_LONG:
        return ToVector<std::int64_t>(v.MVl.cValues, v.MVl.lpl, [](auto x) { return std::int64_t{x}; });
    case PT_MV_I8:
        return ToVector<std::int64_t>(v.MVli.cValues, v.MVli.lpli, [](auto x) { return x.QuadPart; });
    case PT_MV_CURRENCY:
        return ToVector<std::int64_t>(v.MVcur.cValues, v.MVcur.lpcur, [](auto x) { return x.int64; });
    case PT_MV_SYSTIME:
        return ToVector<std::int64_t>(v.MVft.cValues, v.MVft.lpft, [](auto x) { return ToTime(x); });
    case PT_MV_R4:
        return ToVector<double>(v.MVflt.cValues, v.MVflt.lpflt, [](auto x) { return double{x}; });
    case PT_MV_DOUBLE:
        return ToVector<double>(v.MVdbl.cValues, v.MVdbl.lpdbl, [](auto x) { return x; });
    case PT_MV_APPTIME:
        return ToVector<double>(v.MVat.cValues, v.MVat.lpat, [](auto x) { return x; });
    case PT_MV_CLSID:
        return ToVector<Bytes>(v.MVguid.cValues, v.MVguid.lpguid, [](auto x) { return ToBytes(&x, sizeof x); });
    case PT_MV_BINARY:
        return ToVector<Bytes>(v.MVbin.cValues, v.MVbin.lpbin,
                               [](auto x) { return ToBytes(Check(x.lpb, x.cb), x.cb); });
    case PT_MV_UNICODE:
        return ToVector<WideString>(v.MVszW.cValues, v.MVszW.lppszW, [](auto x) {
            Check(x, 1);
            return WideString(x);
        });
    case PT_MV_STRING8:
        return ToVector<WideString>(v.MVszA.cValues, v.MVszA.lppszA, [](auto x) {
            Check(x, 1);
            return TKwEncoding().ToWide(x);
        });
    default:
        Fail(MAPI_E_INVALID_TYPE, sBadType);
    }
}

PropData ReadSingle(ULONG type, const UPV& v)
{
    switch (type) {
    case PT_NULL:
    case PT_OBJECT:
        return std::monostate{};
    case PT_I2:
        return std::int64_t{v.i};
    case PT_LONG:
        return std::int64_t{v.l};
    case PT_ERROR:
        return std::int64_t{v.err};
    case PT_BOOLEAN:
        return std::int64_t{v.b != 0};
    case PT_I8:
        return std::int64_t{v.li.QuadPart};
    case PT_CURRENCY:
        return std::int64_t{v.cur.int64};
    case PT_SYSTIME:
        return ToTime(v.ft);
    case PT_R4:
        return double{v.flt};
    case PT_DOUBLE:
        return v.dbl;
    case PT_APPTIME:
        return v.at;
    case PT_UNICODE:
        Check(v.lpszW, 1);
        return WideString(v.lpszW);
    case PT_STRING8:
        Check(v.lpszA, 1);
        return TKwEncoding().ToWide(v.lpszA);
    case PT_BINARY:
    case PT_SVREID:
        return ToBytes(Check(v.bin.lpb, v.bin.cb), v.bin.cb);
    case PT_CLSID:
        return ToBytes(Check(v.lpguid, 1), sizeof(GUID));
    default:
        return ReadMulti(type, v);
    }
}

/// Two passes over the same code: without a target it only measures.
class Layout
{
public:
    explicit Layout(std::size_t start, std::byte* target = nullptr) : FAt(start), FTarget(target) {}

    [[nodiscard]] std::size_t Size() const { return FAt; }

    template <typename T = void>
    T* Put(const void* from, std::size_t size)
    {
        FAt = (FAt + 7) & ~std::size_t{7};
        void* place = FTarget ? FTarget + FAt : nullptr;
        if (place && size && from)
            std::memcpy(place, from, size);
        FAt += size;
        return static_cast<T*>(place);
    }

    template <typename T>
    T* PutText(const std::basic_string<T>& text)
    {
        return Put<T>(text.c_str(), (text.size() + 1) * sizeof(T));
    }

    template <typename T, typename In, typename Make>
    T* PutArray(const std::vector<In>& values, Make make)
    {
        T* array = Put<T>(nullptr, values.size() * sizeof(T));
        for (std::size_t i = 0; i < values.size(); ++i) {
            T item = make(values[i]);
            if (array)
                array[i] = item;
        }
        return array;
    }

    void Write(const Prop& prop, SPropValue& out);

private:
    void WriteMulti(const Prop& prop, UPV& v);

    std::size_t FAt;
    std::byte* FTarget;
};

template <typename T>
ULONG CountOf(const T& values)
{
    return static_cast<ULONG>(values.size());
}

void Layout::WriteMulti(const Prop& prop, UPV& v)
{
    if (const auto* numbers = std::get_if<std::vector<std::int64_t>>(&prop.data)) {
        v.MVl.cValues = CountOf(*numbers);
        if (prop.Type() == PT_MV_I2)
            v.MVi.lpi = PutArray<std::int16_t>(*numbers, [](auto x) { return static_cast<std::int16_t>(x); });
        else if (prop.Type() == PT_MV_LONG)
            v.MVl.lpl = PutArray<LONG>(*numbers, [](auto x) { return static_cast<LONG>(x); });
        else if (prop.Type() == PT_MV_SYSTIME)
            v.MVft.lpft = PutArray<FILETIME>(*numbers, [](auto x) { return FromTime(x); });
        else // PT_MV_I8 and PT_MV_CURRENCY have the same bytes
            v.MVli.lpli = Put<LARGE_INTEGER>(numbers->data(), numbers->size() * sizeof(LARGE_INTEGER));
    } else if (const auto* reals = std::get_if<std::vector<double>>(&prop.data)) {
        v.MVdbl.cValues = CountOf(*reals);
        if (prop.Type() == PT_MV_R4)
            v.MVflt.lpflt = PutArray<float>(*reals, [](auto x) { return static_cast<float>(x); });
        else
            v.MVdbl.lpdbl = Put<double>(reals->data(), reals->size() * sizeof(double));
    } else if (const auto* wides = std::get_if<std::vector<WideString>>(&prop.data)) {
        v.MVszW.cValues = CountOf(*wides);
        v.MVszW.lppszW = PutArray<LPWSTR>(*wides, [this](const auto& x) { return PutText(x); });
    } else if (const auto* narrows = std::get_if<std::vector<std::string>>(&prop.data)) {
        v.MVszA.cValues = CountOf(*narrows);
        v.MVszA.lppszA = PutArray<LPSTR>(*narrows, [this](const auto& x) { return PutText(x); });
    } else if (const auto* binaries = std::get_if<std::vector<Bytes>>(&prop.data)) {
        v.MVbin.cValues = CountOf(*binaries);
        if (prop.Type() == PT_MV_CLSID)
            v.MVguid.lpguid = PutArray<GUID>(*binaries, [](const Bytes& x) {
                GUID guid{};
                std::memcpy(&guid, x.data(), std::min(x.size(), sizeof guid));
                return guid;
            });
        else
            v.MVbin.lpbin = PutArray<SBinary>(*binaries, [this](const Bytes& x) {
                return SBinary{CountOf(x), Put<BYTE>(x.data(), x.size())};
            });
    }
}

void Layout::Write(const Prop& prop, SPropValue& out)
{
    if (const auto* number = std::get_if<std::int64_t>(&prop.data))
        return PutNumber(prop.tag, *number, out);
    out.ulPropTag = prop.tag;
    out.dwAlignPad = 0;
    UPV& v = out.Value;
    if (const auto* real = std::get_if<double>(&prop.data)) {
        if (prop.Type() == PT_R4)
            v.flt = static_cast<float>(*real);
        else
            v.dbl = *real;
    } else if (const auto* wide = std::get_if<WideString>(&prop.data)) {
        v.lpszW = PutText(*wide);
    } else if (const auto* narrow = std::get_if<std::string>(&prop.data)) {
        v.lpszA = PutText(*narrow);
    } else if (const auto* bytes = std::get_if<Bytes>(&prop.data)) {
        if (prop.Type() == PT_CLSID)
            v.lpguid = Put<GUID>(bytes->data(), bytes->size());
        else
            v.bin = {CountOf(*bytes), Put<BYTE>(bytes->data(), bytes->size())};
    } else if (std::holds_alternative<BlobPtr>(prop.data)) {
        Fail(MAPI_E_NOT_ENOUGH_MEMORY, sBlobOut);
    } else {
        WriteMulti(prop, v);
    }
}

template <typename T>
int Order(const T& a, const T& b)
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

char16_t FoldAscii(char16_t c)
{
    return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
}

int CompareTexts(const WideString& a, const WideString& b)
{
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] >= 0x80 || b[i] >= 0x80)
            return Order(KwUpperCase(WideView(a).substr(i)), KwUpperCase(WideView(b).substr(i)));
        const char16_t x = FoldAscii(a[i]);
        const char16_t y = FoldAscii(b[i]);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return Order(a.size(), b.size());
}

struct Sizes
{
    std::uint64_t operator()(std::monostate) const { return 0; }
    std::uint64_t operator()(std::int64_t) const { return 8; }
    std::uint64_t operator()(double) const { return 8; }
    std::uint64_t operator()(const WideString& x) const { return x.size() * 2; }
    std::uint64_t operator()(const std::string& x) const { return x.size(); }
    std::uint64_t operator()(const Bytes& x) const { return x.size(); }
    std::uint64_t operator()(const BlobPtr& x) const { return x->Size(); }
    std::uint64_t operator()(const std::vector<std::int64_t>& x) const { return x.size() * 8; }
    std::uint64_t operator()(const std::vector<double>& x) const { return x.size() * 8; }
    std::uint64_t operator()(const std::vector<WideString>& x) const { return Sum(x); }
    std::uint64_t operator()(const std::vector<std::string>& x) const { return Sum(x); }
    std::uint64_t operator()(const std::vector<Bytes>& x) const { return Sum(x); }

    template <typename T>
    std::uint64_t Sum(const std::vector<T>& items) const
    {
        std::uint64_t sum = 0;
        for (const T& item : items)
            sum += (*this)(item);
        return sum;
    }
};

} // namespace

std::uint64_t DataSize(const Prop& prop)
{
    return std::visit(Sizes(), prop.data);
}

Prop FromInterface(const SPropValue& value)
{
    return {WideTag(value.ulPropTag), ReadSingle(PROP_TYPE(value.ulPropTag), value.Value)};
}

void PutNumber(ULONG tag, std::int64_t number, SPropValue& out)
{
    out.ulPropTag = tag;
    out.dwAlignPad = 0;
    switch (PROP_TYPE(tag)) {
    case PT_I2:
        out.Value.i = static_cast<std::int16_t>(number);
        break;
    case PT_BOOLEAN:
        out.Value.b = number != 0;
        break;
    case PT_SYSTIME:
        out.Value.ft = FromTime(number);
        break;
    case PT_I8:
    case PT_CURRENCY:
        out.Value.li.QuadPart = number;
        break;
    default:
        out.Value.l = static_cast<LONG>(number);
    }
}

std::optional<Prop> Convert(const Prop& stored, ULONG type, bool unicode)
{
    const ULONG own = stored.Type();
    if (type == PT_UNSPECIFIED)
        type = (own == PT_UNICODE || own == PT_MV_UNICODE) && !unicode ? own - 1 : own;
    if (type == own)
        return stored;
    Prop result{CHANGE_PROP_TYPE(stored.tag, type), {}};
    if (type == PT_STRING8 && own == PT_UNICODE) {
        if (const auto* text = std::get_if<WideString>(&stored.data))
            result.data = TKwEncoding().FromWide(*text);
        else
            result.data = stored.data;
        return result;
    }
    if (type == PT_MV_STRING8 && own == PT_MV_UNICODE) {
        std::vector<std::string> texts;
        for (const auto& text : std::get<std::vector<WideString>>(stored.data))
            texts.push_back(TKwEncoding().FromWide(text));
        result.data = std::move(texts);
        return result;
    }
    return std::nullopt;
}

MapiBuffer<SPropValue> ToInterface(std::span<const Prop> props)
{
    Layout measure(props.size() * sizeof(SPropValue));
    SPropValue scratch{};
    for (const Prop& prop : props)
        measure.Write(prop, scratch);
    auto buffer = AllocateAs<SPropValue>(std::max<std::size_t>(measure.Size(), 1));
    Layout write(props.size() * sizeof(SPropValue), reinterpret_cast<std::byte*>(buffer.Get()));
    for (std::size_t i = 0; i < props.size(); ++i)
        write.Write(props[i], buffer.Get()[i]);
    return buffer;
}

std::size_t LayOut(const Prop& prop, SPropValue& out, std::size_t start, std::byte* buffer)
{
    Layout layout(start, buffer);
    layout.Write(prop, out);
    return layout.Size();
}

MapiBuffer<SPropTagArray> MakeTagArray(std::span<const ULONG> tags)
{
    auto array = AllocateAs<SPropTagArray>(sizeof(SPropTagArray) + tags.size() * sizeof(ULONG));
    array->cValues = static_cast<ULONG>(tags.size());
    if (!tags.empty())
        std::memcpy(array->aulPropTag, tags.data(), tags.size() * sizeof(ULONG));
    return array;
}

MapiBuffer<SPropProblemArray> MakeProblems(std::span<const SPropProblem> problems)
{
    if (problems.empty())
        return {};
    auto array = AllocateAs<SPropProblemArray>(sizeof(SPropProblemArray) + problems.size() * sizeof(SPropProblem));
    array->cProblem = static_cast<ULONG>(problems.size());
    std::memcpy(array->aProblem, problems.data(), problems.size() * sizeof(SPropProblem));
    return array;
}

WideString TextParameter(LPCTSTR text, ULONG flags)
{
    if (!text)
        return {};
    if (flags & MAPI_UNICODE)
        return static_cast<LPCWSTR>(text);
    return TKwEncoding().ToWide(static_cast<LPCSTR>(text));
}

int CompareValues(const Prop& a, const Prop& b)
{
    if (a.data.index() != b.data.index())
        return Order(a.data.index(), b.data.index());
    // Times too: what lies beyond 2^63 is no time for the platform's own functions either, and the database orders so.
    if (const auto* number = std::get_if<std::int64_t>(&a.data))
        return Order(*number, std::get<std::int64_t>(b.data));
    if (const auto* real = std::get_if<double>(&a.data))
        return Order(*real, std::get<double>(b.data));
    if (const auto* text = std::get_if<WideString>(&a.data))
        return CompareTexts(*text, std::get<WideString>(b.data));
    if (const auto* bytes = std::get_if<Bytes>(&a.data))
        return Order(*bytes, std::get<Bytes>(b.data));
    if (const auto* numbers = std::get_if<std::vector<std::int64_t>>(&a.data))
        return Order(*numbers, std::get<std::vector<std::int64_t>>(b.data));
    if (const auto* reals = std::get_if<std::vector<double>>(&a.data))
        return Order(*reals, std::get<std::vector<double>>(b.data));
    if (const auto* texts = std::get_if<std::vector<WideString>>(&a.data))
        return Order(*texts, std::get<std::vector<WideString>>(b.data));
    if (const auto* binaries = std::get_if<std::vector<Bytes>>(&a.data))
        return Order(*binaries, std::get<std::vector<Bytes>>(b.data));
    return 0;
}

std::int64_t Now()
{
    // FILETIME counts from 1601: 11,644,473,600 seconds before the Unix epoch.
    constexpr std::int64_t EpochDifference = 11644473600LL * 10000000LL;
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::duration<std::int64_t, std::ratio<1, 10000000>>>(since).count() +
           EpochDifference;
}

} // namespace deftmapi::client

// Packed form: per property the tag, the length of the data and the data, all little-endian. Numbers take 8 bytes, text
// is UTF-8, multiple values are a count and then length-prefixed values. A length of 0xFFFFFFFF announces a large
// reference.
#include "client/store/PropertyBag.hpp"

#include "client/entry/Guard.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

namespace deftmapi::client
{
namespace
{

static_assert(std::endian::native == std::endian::little, "the packed form is written by memcpy");

constexpr std::uint32_t LargeMark = 0xFFFFFFFF;
constexpr std::uint64_t EntryOverhead = 8;
constexpr auto sDamaged = u"The stored properties of an object are damaged.";

template <typename T>
void Put(Bytes& out, T value)
{
    const auto* from = reinterpret_cast<const std::uint8_t*>(&value);
    out.insert(out.end(), from, from + sizeof value);
}

void PutRaw(Bytes& out, const void* from, std::size_t size)
{
    const auto* bytes = static_cast<const std::uint8_t*>(from);
    out.insert(out.end(), bytes, bytes + size);
}

struct Packer
{
    Bytes& out;

    void operator()(std::monostate) const {}
    void operator()(std::int64_t value) const { Put(out, value); }
    void operator()(double value) const { Put(out, value); }
    void operator()(const WideString& value) const
    {
        const std::string packed = PackText(value);
        PutRaw(out, packed.data(), packed.size());
    }
    void operator()(const std::string& value) const { PutRaw(out, value.data(), value.size()); }
    void operator()(const Bytes& value) const { PutRaw(out, value.data(), value.size()); }
    void operator()(const BlobPtr& value) const { (*this)(value->ReadAll()); }
    template <typename T>
    void operator()(const std::vector<T>& values) const
    {
        Put(out, static_cast<std::uint32_t>(values.size()));
        for (const T& value : values) {
            const std::size_t at = out.size();
            Put(out, std::uint32_t{0});
            (*this)(value);
            const auto size = static_cast<std::uint32_t>(out.size() - at - 4);
            std::memcpy(out.data() + at, &size, 4);
        }
    }
};

class Reader
{
public:
    explicit Reader(std::span<const std::uint8_t> data) : FData(data) {}

    [[nodiscard]] bool AtEnd() const { return FData.empty(); }
    std::span<const std::uint8_t> Take(std::size_t size)
    {
        if (size > FData.size())
            Fail(mapi::MAPI_E_CORRUPT_DATA, sDamaged);
        const auto piece = FData.first(size);
        FData = FData.subspan(size);
        return piece;
    }
    template <typename T>
    T Number()
    {
        T value;
        std::memcpy(&value, Take(sizeof value).data(), sizeof value);
        return value;
    }

private:
    std::span<const std::uint8_t> FData;
};

template <typename T>
T ReadOne(std::span<const std::uint8_t> data)
{
    if constexpr (std::is_same_v<T, WideString>)
        return UnpackText({reinterpret_cast<const char*>(data.data()), data.size()});
    else if constexpr (std::is_same_v<T, Bytes>)
        return Bytes(data.begin(), data.end());
    else
        return Reader(data).Number<T>();
}

template <typename T>
PropData ReadMany(std::span<const std::uint8_t> data)
{
    Reader reader(data);
    std::vector<T> values;
    for (auto left = reader.Number<std::uint32_t>(); left > 0; --left)
        values.push_back(ReadOne<T>(reader.Take(reader.Number<std::uint32_t>())));
    return values;
}

PropData ReadData(ULONG type, std::span<const std::uint8_t> data)
{
    using namespace mapi;
    switch (type) {
    case PT_NULL:
    case PT_OBJECT:
        return std::monostate{};
    case PT_UNICODE:
        return ReadOne<WideString>(data);
    case PT_BINARY:
    case PT_CLSID:
    case PT_SVREID:
        return ReadOne<Bytes>(data);
    case PT_R4:
    case PT_DOUBLE:
    case PT_APPTIME:
        return ReadOne<double>(data);
    case PT_MV_UNICODE:
        return ReadMany<WideString>(data);
    case PT_MV_BINARY:
    case PT_MV_CLSID:
        return ReadMany<Bytes>(data);
    case PT_MV_R4:
    case PT_MV_DOUBLE:
    case PT_MV_APPTIME:
        return ReadMany<double>(data);
    default:
        return type & MV_FLAG ? ReadMany<std::int64_t>(data) : ReadOne<std::int64_t>(data);
    }
}

bool IsHigh(char32_t c)
{
    return c >= 0xD800 && c < 0xDC00;
}

bool IsLow(char32_t c)
{
    return c >= 0xDC00 && c < 0xE000;
}

} // namespace

std::int64_t PropertyBag::Number(ULONG tag, std::int64_t otherwise) const
{
    const Prop* prop = Find(tag >> 16);
    const auto* value = prop ? std::get_if<std::int64_t>(&prop->data) : nullptr;
    return value ? *value : otherwise;
}

WideString PropertyBag::Text(ULONG tag) const
{
    const Prop* prop = Find(tag >> 16);
    const auto* value = prop ? std::get_if<WideString>(&prop->data) : nullptr;
    return value ? *value : WideString();
}

void PropertyBag::TakeFrom(const PropertyBag& other, const std::set<ULONG>& ids)
{
    for (const ULONG id : ids) {
        if (const Prop* prop = other.Find(id))
            Set(*prop);
        else
            Erase(id);
    }
}

std::uint64_t PropertyBag::Size() const
{
    std::uint64_t size = 0;
    for (const auto& [id, prop] : FProps)
        size += EntryOverhead + DataSize(prop);
    return size;
}

void PackProp(const Prop& prop, Bytes& out)
{
    Put(out, prop.tag);
    const std::size_t at = out.size();
    Put(out, std::uint32_t{0});
    if (const auto* blob = std::get_if<BlobPtr>(&prop.data); blob && prop.Type() == mapi::PT_UNICODE) {
        const Bytes raw = (*blob)->ReadAll();
        WideString text(raw.size() / 2, u'\0');
        std::memcpy(text.data(), raw.data(), text.size() * 2);
        Packer{out}(text);
    } else {
        std::visit(Packer{out}, prop.data);
    }
    const auto size = static_cast<std::uint32_t>(out.size() - at - 4);
    std::memcpy(out.data() + at, &size, 4);
}

void PackLarge(ULONG tag, const LargeReference& reference, Bytes& out)
{
    Put(out, tag);
    Put(out, LargeMark);
    Put(out, reference.valueId);
    Put(out, reference.size);
}

void UnpackProps(std::span<const std::uint8_t> packed, const std::function<BlobPtr(const LargeReference&)>& open,
                 const std::function<bool(ULONG id)>& wanted, const std::function<void(Prop)>& sink)
{
    Reader reader(packed);
    while (!reader.AtEnd()) {
        const auto tag = reader.Number<ULONG>();
        const auto size = reader.Number<std::uint32_t>();
        const bool take = !wanted || wanted(tag >> 16);
        if (size == LargeMark) {
            const auto valueId = reader.Number<std::int64_t>();
            const auto length = reader.Number<std::uint64_t>();
            if (take)
                sink({tag, open({valueId, length})});
            continue;
        }
        const auto data = reader.Take(size);
        if (take)
            sink({tag, ReadData(tag & 0xFFFF, data)});
    }
}

std::string PackText(WideView text)
{
    const auto ascii = std::find_if(text.begin(), text.end(), [](char16_t c) { return c >= 0x80; });
    std::string out(text.begin(), ascii); // most texts are nothing else
    out.reserve(text.size());
    for (std::size_t i = out.size(); i < text.size(); ++i) {
        char32_t c = text[i];
        if (IsHigh(c) && i + 1 < text.size() && IsLow(text[i + 1]))
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
            continue;
        }
        if (c >= 0x10000) {
            out.push_back(static_cast<char>(0xF0 | (c >> 18)));
            out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        } else if (c >= 0x800) {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        }
        if (c >= 0x800)
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        else
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
    return out;
}

WideString UnpackText(std::string_view text)
{
    WideString out(text.size(), u'\0'); // no text has more units than bytes
    out.resize(UnpackText(text, std::span(out.data(), out.size())));
    return out;
}

std::size_t UnpackText(std::string_view text, std::span<char16_t> to)
{
    std::size_t i = 0;
    std::size_t units = 0;
    const std::size_t both = std::min(text.size(), to.size());
    for (std::uint64_t piece = 0; i + sizeof piece <= both; i += sizeof piece) { // mostly all is ASCII
        std::memcpy(&piece, text.data() + i, sizeof piece);
        if (piece & 0x8080808080808080u)
            break;
        for (std::size_t k = 0; k < sizeof piece; ++k)
            to[i + k] = static_cast<char16_t>(text[i + k]);
    }
    for (; i < both && !(text[i] & 0x80); ++i)
        to[i] = static_cast<char16_t>(text[i]);
    for (units = i; i < text.size() && units < to.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80 ? 1 : (lead < 0xE0 ? 2 : (lead < 0xF0 ? 3 : 4));
        if (i + length > text.size())
            Fail(mapi::MAPI_E_CORRUPT_DATA, sDamaged);
        char32_t c = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t k = 1; k < length; ++k)
            c = c << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        i += length;
        if (c >= 0x10000) {
            to[units++] = static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            c = 0xDC00 + ((c - 0x10000) & 0x3FF);
            if (units == to.size())
                break;
        }
        to[units++] = static_cast<char16_t>(c);
    }
    return units;
}

} // namespace deftmapi::client

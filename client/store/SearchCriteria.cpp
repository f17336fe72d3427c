#include "client/store/SearchCriteria.hpp"

#include "client/entry/Guard.hpp"
#include "client/store/PropertyBag.hpp"
#include "client/table/Restriction.hpp"

#include <cstring>

namespace deftmapi::client
{
namespace
{

using namespace mapi;

constexpr auto sDamaged = u"The criteria of the search folder are damaged.";

/// What all kinds of restrictions have, whatever they call it.
struct Node
{
    ULONG kind = 0;
    ULONG op = 0;     // relational operator, fuzzy level, bit test
    ULONG tag = 0;    // of the property or subobject
    ULONG number = 0; // mask, size, other tag
    const SPropValue* values = nullptr;
    ULONG valueCount = 0;
    const SRestriction* children = nullptr;
    ULONG childCount = 0;
};

Node Describe(const SRestriction& in)
{
    const auto& res = in.res;
    switch (in.rt) {
    case RES_AND:
    case RES_OR: // both structures are laid out alike
        return {in.rt, 0, 0, 0, nullptr, 0, res.resAnd.lpRes, res.resAnd.cRes};
    case RES_NOT:
        return {in.rt, 0, 0, 0, nullptr, 0, res.resNot.lpRes, 1};
    case RES_CONTENT:
        return {in.rt, res.resContent.ulFuzzyLevel, res.resContent.ulPropTag, 0, res.resContent.lpProp, 1};
    case RES_PROPERTY:
        return {in.rt, res.resProperty.relop, res.resProperty.ulPropTag, 0, res.resProperty.lpProp, 1};
    case RES_COMPAREPROPS:
        return {in.rt, res.resCompareProps.relop, res.resCompareProps.ulPropTag1, res.resCompareProps.ulPropTag2};
    case RES_BITMASK:
        return {in.rt, res.resBitMask.relBMR, res.resBitMask.ulPropTag, res.resBitMask.ulMask};
    case RES_SIZE:
        return {in.rt, res.resSize.relop, res.resSize.ulPropTag, res.resSize.cb};
    case RES_EXIST:
        return {in.rt, 0, res.resExist.ulPropTag};
    case RES_SUBRESTRICTION:
        return {in.rt, 0, res.resSub.ulSubObject, 0, nullptr, 0, res.resSub.lpRes, 1};
    default:
        return {in.rt,
                0,
                0,
                0,
                res.resComment.lpProp,
                res.resComment.lpProp ? res.resComment.cValues : 0,
                res.resComment.lpRes,
                res.resComment.lpRes ? 1u : 0u};
    }
}

void PutNumber(ULONG number, Bytes& out)
{
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&number);
    out.insert(out.end(), raw, raw + sizeof number);
}

void Pack(const SRestriction& restriction, Bytes& out)
{
    const Node node = Describe(restriction);
    Bytes values;
    for (ULONG i = 0; i < node.valueCount; ++i)
        PackProp(FromInterface(node.values[i]), values);
    for (const ULONG number : {node.kind, node.op, node.tag, node.number, node.valueCount,
                               static_cast<ULONG>(values.size()), node.childCount})
        PutNumber(number, out);
    out.insert(out.end(), values.begin(), values.end());
    for (ULONG i = 0; i < node.childCount; ++i)
        Pack(node.children[i], out);
}

class Unpacker
{
public:
    Unpacker(std::span<const std::uint8_t> packed, bool unicode) : FLeft(packed), FUnicode(unicode) {}

    MapiBuffer<SRestriction> Run()
    {
        FRoot = AllocateAs<SRestriction>(sizeof(SRestriction));
        Read(*FRoot.Get(), 0);
        if (!FLeft.empty())
            Fail(MAPI_E_CORRUPT_DATA, sDamaged);
        return std::move(FRoot);
    }

private:
    std::span<const std::uint8_t> Take(std::size_t size)
    {
        if (size > FLeft.size())
            Fail(MAPI_E_CORRUPT_DATA, sDamaged);
        const auto taken = FLeft.first(size);
        FLeft = FLeft.subspan(size);
        return taken;
    }
    ULONG Number()
    {
        ULONG number = 0;
        std::memcpy(&number, Take(sizeof number).data(), sizeof number);
        return number;
    }
    void* More(std::size_t size)
    {
        void* block = nullptr;
        if (AllocateMore(static_cast<ULONG>(size), FRoot.Get(), &block) != S_OK)
            throw std::bad_alloc();
        std::memset(block, 0, size);
        return block;
    }
    ULONG Shown(ULONG tag) const
    {
        const ULONG wide = WideTag(tag); // 8-bit criteria keep their tags; their values are kept as UTF-16
        const ULONG type = PROP_TYPE(wide) & ~MV_FLAG;
        return FUnicode || type != PT_UNICODE ? wide : wide - 1; // PT_STRING8 comes right before it
    }
    LPSPropValue Values(ULONG count, ULONG size)
    {
        const auto packed = Take(size);
        if (count == 0)
            return nullptr;
        Props props;
        UnpackProps(
            packed, [](const LargeReference&) -> BlobPtr { Fail(MAPI_E_CORRUPT_DATA, sDamaged); }, nullptr,
            [&](Prop prop) {
                auto shown = Convert(prop, PT_UNSPECIFIED, FUnicode);
                props.push_back(shown ? std::move(*shown) : std::move(prop));
            });
        if (props.size() != count)
            Fail(MAPI_E_CORRUPT_DATA, sDamaged);
        std::size_t total = count * sizeof(SPropValue);
        SPropValue scratch{};
        for (const Prop& prop : props)
            total = LayOut(prop, scratch, total, nullptr);
        auto* block = static_cast<std::byte*>(More(total));
        auto* values = reinterpret_cast<LPSPropValue>(block);
        std::size_t at = count * sizeof(SPropValue);
        for (std::size_t i = 0; i < props.size(); ++i)
            at = LayOut(props[i], values[i], at, block);
        return values;
    }

    void Read(SRestriction& out, int depth)
    {
        if (depth > Restriction::MaximumDepth)
            Fail(MAPI_E_CORRUPT_DATA, sDamaged);
        out.rt = Number();
        const ULONG op = Number();
        const ULONG tag = Shown(Number());
        const ULONG number = Number();
        const ULONG valueCount = Number();
        const ULONG valueSize = Number();
        const ULONG childCount = Number();
        if (childCount > FLeft.size() / sizeof(ULONG) || valueCount > FLeft.size())
            Fail(MAPI_E_CORRUPT_DATA, sDamaged);
        const LPSPropValue values = Values(valueCount, valueSize);
        LPSRestriction children = nullptr;
        if (childCount)
            children = static_cast<LPSRestriction>(More(childCount * sizeof(SRestriction)));
        for (ULONG i = 0; i < childCount; ++i)
            Read(children[i], depth + 1);
        auto& res = out.res;
        switch (out.rt) {
        case RES_AND:
        case RES_OR:
            res.resAnd = {childCount, children};
            break;
        case RES_NOT:
            res.resNot = {0, children};
            break;
        case RES_CONTENT:
            res.resContent = {op, tag, values};
            break;
        case RES_PROPERTY:
            res.resProperty = {op, tag, values};
            break;
        case RES_COMPAREPROPS:
            res.resCompareProps = {op, tag, Shown(number)};
            break;
        case RES_BITMASK:
            res.resBitMask = {op, tag, number};
            break;
        case RES_SIZE:
            res.resSize = {op, tag, number};
            break;
        case RES_EXIST:
            res.resExist = {0, tag, 0};
            break;
        case RES_SUBRESTRICTION:
            res.resSub = {tag, children};
            break;
        case RES_COMMENT:
            res.resComment = {valueCount, children, values};
            break;
        default:
            Fail(MAPI_E_CORRUPT_DATA, sDamaged);
        }
    }

    std::span<const std::uint8_t> FLeft;
    bool FUnicode;
    MapiBuffer<SRestriction> FRoot;
};

} // namespace

Bytes PackRestriction(const SRestriction& restriction)
{
    static_cast<void>(Restriction::Parse(restriction));
    Bytes packed;
    Pack(restriction, packed);
    return packed;
}

MapiBuffer<SRestriction> UnpackRestriction(std::span<const std::uint8_t> packed, bool unicode)
{
    return Unpacker(packed, unicode).Run();
}

} // namespace deftmapi::client

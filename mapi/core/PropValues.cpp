// From a variant to an SPropValue: one buffer class per kind of memory, and the table of types in TKwMAPIPropValue.
#include "mapi/core/uKwMAPIPropValue.hpp"

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"

#include <cmath>
#include <cstring>
#include <limits>

namespace deftmapi
{

namespace
{

constexpr auto sUnsupportedType = u"The PropList does not support data of type %d!";
constexpr auto sOutOfRange = u"The value %s is out of the range of its property type.";
constexpr auto sTooLarge = u"A property value cannot be larger than 4 GiB.";
constexpr auto sNotAList = u"A property value can hold an interface of a value list only.";

mapi::ULONG SizeOf(std::size_t size)
{
    if (size > std::numeric_limits<mapi::ULONG>::max())
        throw EKwConvertError(sTooLarge, mapi::MAPI_E_INVALID_PARAMETER);
    return static_cast<mapi::ULONG>(size);
}

std::int16_t SmallIntOf(const TKwVariant& value)
{
    const std::int32_t number = value.AsInteger();
    if (number < std::numeric_limits<std::int16_t>::min() || number > std::numeric_limits<std::int16_t>::max())
        throw EKwConvertError(sOutOfRange, {value.AsStringW()}, mapi::MAPI_E_INVALID_PARAMETER);
    return static_cast<std::int16_t>(number);
}

float SingleOf(const TKwVariant& value)
{
    const double number = value.AsFloat();
    const auto single = static_cast<float>(number);
    if (std::isfinite(number) && !std::isfinite(single))
        throw EKwConvertError(sOutOfRange, {value.AsStringW()}, mapi::MAPI_E_INVALID_PARAMETER);
    return single;
}

mapi::SCODE ErrorOf(const TKwVariant& value)
{
    const TKwErrorCode* code = value.TryGet<TKwErrorCode>();
    return code != nullptr ? code->Code : value.AsInteger();
}

std::int64_t TicksOf(const TKwVariant& value)
{
    return static_cast<std::int64_t>(value.AsFileTime().Ticks);
}

mapi::FILETIME FileTimeOf(const TKwVariant& value)
{
    const std::uint64_t ticks = value.AsFileTime().Ticks;
    return {static_cast<mapi::DWORD>(ticks), static_cast<mapi::DWORD>(ticks >> 32)};
}

mapi::GUID GuidOf(const TKwVariant& value)
{
    mapi::GUID guid{};
    const TKwBytes* bytes = value.TryGet<TKwBytes>();
    if (bytes == nullptr || bytes->size() != sizeof guid)
        return KwStrToGuid(value.AsStringW());
    std::memcpy(&guid, bytes->data(), sizeof guid);
    return guid;
}

mapi::SBinary BinaryOf(TKwBytes& bytes)
{
    return {SizeOf(bytes.size()), bytes.data()};
}

template <typename T, typename Convert>
std::unique_ptr<TKwMAPIValueBuffer> FixedArray(const TKwVariant& value, mapi::UPV& out, Convert convert)
{
    std::vector<T> numbers;
    for (const TKwVariant& element : KwElementsOf(value))
        numbers.push_back(convert(element));
    return std::make_unique<TKwMAPIFixedArrBuffer<T>>(std::move(numbers), out);
}

/// Fills the value and returns what backs it; null when no value of the type can be set.
std::unique_ptr<TKwMAPIValueBuffer> Fill(mapi::ULONG type, const TKwVariant& value, mapi::UPV& out)
{
    switch (type) {
    case mapi::PT_I2:
        out.i = SmallIntOf(value);
        break;
    case mapi::PT_LONG:
        out.l = value.AsInteger();
        break;
    case mapi::PT_R4:
        out.flt = SingleOf(value);
        break;
    case mapi::PT_DOUBLE:
        out.dbl = value.AsFloat();
        break;
    case mapi::PT_CURRENCY:
        out.cur.int64 = value.AsCurrency().Units;
        break;
    case mapi::PT_APPTIME:
        out.at = value.AsDateTime().Days;
        break;
    case mapi::PT_ERROR:
        out.err = ErrorOf(value);
        break;
    case mapi::PT_BOOLEAN:
        out.b = value.AsBoolean() ? 1 : 0;
        break;
    case mapi::PT_I8:
        out.li.QuadPart = value.AsLargeInteger();
        break;
    case mapi::PT_SYSTIME:
        out.ft = FileTimeOf(value);
        break;
    case mapi::PT_BINARY:
    case mapi::PT_SVREID:
        return std::make_unique<TKwMAPIBinBuffer>(value, out);
    case mapi::PT_CLSID:
        return std::make_unique<TKwMAPIGUIDBuffer>(value, out);
    case mapi::PT_UNICODE:
        return std::make_unique<TKwMAPIWideStringBuffer>(value, out);
    case mapi::PT_STRING8:
        return std::make_unique<TKwMAPIAnsiStringBuffer>(value, out);
    case mapi::PT_MV_BINARY:
        return std::make_unique<TKwMAPIBinArrBuffer>(KwElementsOf(value), out);
    case mapi::PT_MV_UNICODE:
        return std::make_unique<TKwMAPIWideStringArrBuffer>(KwElementsOf(value), out);
    case mapi::PT_MV_STRING8:
        return std::make_unique<TKwMAPIAnsiStringArrBuffer>(KwElementsOf(value), out);
    case mapi::PT_MV_I2:
        return FixedArray<std::int16_t>(value, out, SmallIntOf);
    case mapi::PT_MV_LONG:
        return FixedArray<std::int32_t>(value, out, [](const TKwVariant& v) { return v.AsInteger(); });
    case mapi::PT_MV_I8:
        return FixedArray<std::int64_t>(value, out, [](const TKwVariant& v) { return v.AsLargeInteger(); });
    case mapi::PT_MV_CURRENCY:
        return FixedArray<std::int64_t>(value, out, [](const TKwVariant& v) { return v.AsCurrency().Units; });
    case mapi::PT_MV_SYSTIME:
        return FixedArray<std::int64_t>(value, out, TicksOf);
    case mapi::PT_MV_R4:
        return FixedArray<float>(value, out, SingleOf);
    case mapi::PT_MV_DOUBLE:
        return FixedArray<double>(value, out, [](const TKwVariant& v) { return v.AsFloat(); });
    case mapi::PT_MV_APPTIME:
        return FixedArray<double>(value, out, [](const TKwVariant& v) { return v.AsDateTime().Days; });
    case mapi::PT_MV_CLSID:
        return FixedArray<mapi::GUID>(value, out, GuidOf);
    default:
        return nullptr;
    }
    return std::make_unique<TKwMAPIValueBuffer>();
}

} // namespace

TKwVariant::Array KwElementsOf(const TKwVariant& value)
{
    if (value.IsEmptyOrNull())
        return {};
    const auto* held = value.TryGet<TKwRef<IKwInterface>>();
    if (held == nullptr)
        return value.AsArray();
    const auto* list = dynamic_cast<const IKwMAPIValueList*>(held->Get());
    if (list == nullptr)
        throw EKwConvertError(sNotAList, mapi::MAPI_E_INVALID_PARAMETER);
    TKwVariant::Array elements;
    for (std::int32_t i = 0, count = list->Get_Count(); i < count; ++i)
        elements.push_back(list->Get_Item(i));
    return elements;
}

TKwMAPIValueBuffer::~TKwMAPIValueBuffer() = default;

TKwMAPIBinBuffer::TKwMAPIBinBuffer(const TKwVariant& value, mapi::UPV& out) : FBytes(value.AsBytes())
{
    out.bin = BinaryOf(FBytes);
}

TKwMAPIGUIDBuffer::TKwMAPIGUIDBuffer(const TKwVariant& value, mapi::UPV& out) : FGuid(GuidOf(value))
{
    out.lpguid = &FGuid;
}

TKwMAPIWideStringBuffer::TKwMAPIWideStringBuffer(const TKwVariant& value, mapi::UPV& out) : FText(value.AsStringW())
{
    out.lpszW = FText.data();
}

TKwMAPIAnsiStringBuffer::TKwMAPIAnsiStringBuffer(const TKwVariant& value, mapi::UPV& out) : FText(value.AsStringA())
{
    out.lpszA = FText.data();
}

// Every array in the union is a count and a pointer; the pointer's type is all that differs.
template <typename T>
TKwMAPIFixedArrBuffer<T>::TKwMAPIFixedArrBuffer(std::vector<T> values, mapi::UPV& out) : FValues(std::move(values))
{
    out.MVbin = {SizeOf(FValues.size()), static_cast<mapi::SBinary*>(static_cast<void*>(FValues.data()))};
}

template class TKwMAPIFixedArrBuffer<mapi::GUID>;
template class TKwMAPIFixedArrBuffer<double>;
template class TKwMAPIFixedArrBuffer<float>;
template class TKwMAPIFixedArrBuffer<std::int64_t>;
template class TKwMAPIFixedArrBuffer<std::int32_t>;
template class TKwMAPIFixedArrBuffer<std::int16_t>;

TKwMAPIBinArrBuffer::TKwMAPIBinArrBuffer(const TKwVariant::Array& values, mapi::UPV& out)
{
    FValues.reserve(values.size());
    FPointers.reserve(values.size());
    for (const TKwVariant& value : values) {
        FValues.push_back(value.AsBytes());
        FPointers.push_back(BinaryOf(FValues.back()));
    }
    out.MVbin = {SizeOf(FPointers.size()), FPointers.data()};
}

TKwMAPIWideStringArrBuffer::TKwMAPIWideStringArrBuffer(const TKwVariant::Array& values, mapi::UPV& out)
{
    // Reserved beforehand: a short text lies inside its string object, which therefore must not move.
    FValues.reserve(values.size());
    FPointers.reserve(values.size());
    for (const TKwVariant& value : values) {
        FValues.push_back(value.AsStringW());
        FPointers.push_back(FValues.back().data());
    }
    out.MVszW = {SizeOf(FPointers.size()), FPointers.data()};
}

TKwMAPIAnsiStringArrBuffer::TKwMAPIAnsiStringArrBuffer(const TKwVariant::Array& values, mapi::UPV& out)
{
    FValues.reserve(values.size());
    FPointers.reserve(values.size());
    for (const TKwVariant& value : values) {
        FValues.push_back(value.AsStringA());
        FPointers.push_back(FValues.back().data());
    }
    out.MVszA = {SizeOf(FPointers.size()), FPointers.data()};
}

TKwMAPIPropValue::TKwMAPIPropValue(mapi::ULONG tag, const TKwVariant& value) : FValue{}
{
    FValue.ulPropTag = tag;
    FBuffer = Fill(mapi::PROP_TYPE(tag), value, FValue.Value);
    if (FBuffer == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sUnsupportedType, {mapi::PROP_TYPE(tag)})->Raise();
}

} // namespace deftmapi

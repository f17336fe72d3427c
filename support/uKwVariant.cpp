// Equality of values. Two values are equal when the less exact of the two kinds cannot tell them apart, so that a time
// read back as a date still equals the file time it came from.
#include "support/uKwVariant.hpp"

#include "support/uKwExceptions.hpp"
#include "support/VariantNumbers.hpp"

namespace deftmapi
{

using namespace variantnumbers;

namespace
{

bool IsText(const TKwVariant& v) noexcept
{
    return v.Kind() == TKwVarKind::vkWideString || v.Kind() == TKwVarKind::vkAnsiString;
}

bool IsTime(const TKwVariant& v) noexcept
{
    return v.Kind() == TKwVarKind::vkDate || v.Kind() == TKwVarKind::vkFileTime;
}

bool EqualTimes(const TKwVariant& a, const TKwVariant& b)
{
    const auto* fileTimeA = a.TryGet<TKwFileTime>();
    const auto* fileTimeB = b.TryGet<TKwFileTime>();
    if (fileTimeA != nullptr && fileTimeB != nullptr)
        return *fileTimeA == *fileTimeB;
    return a.AsDateTime() == b.AsDateTime();
}

bool EqualBytes(const TKwVariant::Array& array, const TKwBytes& bytes)
{
    if (array.size() != bytes.size())
        return false;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        if (array[i] != TKwVariant(std::int32_t{bytes[i]}))
            return false;
    return true;
}

bool Equal(const TKwVariant& a, const TKwVariant& b)
{
    const auto numberA = NumberOf(a);
    const auto numberB = NumberOf(b);
    if (numberA && numberB)
        return SameNumber(*numberA, *numberB);
    if (IsText(a) && IsText(b))
        return a.AsStringW() == b.AsStringW();
    if (IsTime(a) && IsTime(b))
        return EqualTimes(a, b);
    if (IsText(a) && numberB)
        return b.Kind() == TKwVarKind::vkBoolean ? a.AsBoolean() == b.AsBoolean()
                                                 : SameNumber(ParseNumber(a.AsStringW()), *numberB);
    if (IsText(a) && IsTime(b))
        return a.AsFileTime() == b.AsFileTime();
    if ((numberA || IsTime(a)) && IsText(b))
        return Equal(b, a);

    const auto* arrayA = a.TryGet<TKwVariant::Array>();
    const auto* arrayB = b.TryGet<TKwVariant::Array>();
    const auto* bytesA = a.TryGet<TKwBytes>();
    const auto* bytesB = b.TryGet<TKwBytes>();
    if (arrayA != nullptr && bytesB != nullptr)
        return EqualBytes(*arrayA, *bytesB);
    if (bytesA != nullptr && arrayB != nullptr)
        return EqualBytes(*arrayB, *bytesA);
    if (a.Kind() != b.Kind())
        return false;
    switch (a.Kind()) {
    case TKwVarKind::vkEmpty:
    case TKwVarKind::vkNull:
        return true;
    case TKwVarKind::vkError:
        return *a.TryGet<TKwErrorCode>() == *b.TryGet<TKwErrorCode>();
    case TKwVarKind::vkBytes:
        return *bytesA == *bytesB;
    case TKwVarKind::vkArray:
        return *arrayA == *arrayB;
    case TKwVarKind::vkInterface:
        return *a.TryGet<TKwRef<IKwInterface>>() == *b.TryGet<TKwRef<IKwInterface>>();
    default:
        return false;
    }
}

} // namespace

bool operator==(const TKwVariant& a, const TKwVariant& b) noexcept
{
    try {
        return Equal(a, b);
    } catch (const EKwConvertError&) {
        return false; // values that do not convert to each other differ
    }
}

} // namespace deftmapi

// The MAPI form of a value: an SPropValue together with the memory that it points into, and the way back from an
// SPropValue to a variant.
//
// The memory is the library's own, never MAPI memory: an SPropValue built here is an argument for SetProps, a
// restriction and the like, which only read it.
#pragma once

#include "mapi/uKwMAPIInterfaces.hpp"
#include "support/uKwExport.hpp"

#include <memory>
#include <string>
#include <vector>

namespace deftmapi
{

/// What backs an SPropValue. This class itself backs the scalars, which need no memory.
class DEFTMAPI_API TKwMAPIValueBuffer
{
public:
    TKwMAPIValueBuffer() = default;
    TKwMAPIValueBuffer(const TKwMAPIValueBuffer&) = delete;
    TKwMAPIValueBuffer& operator=(const TKwMAPIValueBuffer&) = delete;
    virtual ~TKwMAPIValueBuffer();
};

/// PT_BINARY and PT_SVREID.
class DEFTMAPI_API TKwMAPIBinBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIBinBuffer(const TKwVariant& value, mapi::UPV& out);

private:
    TKwBytes FBytes;
};

/// PT_CLSID; the variant holds the braced text form or 16 bytes in memory order.
class DEFTMAPI_API TKwMAPIGUIDBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIGUIDBuffer(const TKwVariant& value, mapi::UPV& out);

private:
    mapi::GUID FGuid;
};

/// PT_UNICODE. Text after a zero character is not seen by MAPI.
class DEFTMAPI_API TKwMAPIWideStringBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIWideStringBuffer(const TKwVariant& value, mapi::UPV& out);

private:
    WideString FText;
};

/// PT_STRING8, in the system ANSI code page.
class DEFTMAPI_API TKwMAPIAnsiStringBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIAnsiStringBuffer(const TKwVariant& value, mapi::UPV& out);

private:
    std::string FText;
};

/// Arrays of values of a fixed size. PT_MV_CURRENCY and PT_MV_SYSTIME are arrays of 64-bit numbers, PT_MV_APPTIME is
/// one of doubles.
template <typename T>
class DEFTMAPI_API TKwMAPIFixedArrBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIFixedArrBuffer(std::vector<T> values, mapi::UPV& out);

private:
    std::vector<T> FValues;
};
using TKwMAPIGUIDArrBuffer = TKwMAPIFixedArrBuffer<mapi::GUID>;
using TKwMAPIDoubleArrBuffer = TKwMAPIFixedArrBuffer<double>;
using TKwMAPISingleArrBuffer = TKwMAPIFixedArrBuffer<float>;
using TKwMAPIInt64ArrBuffer = TKwMAPIFixedArrBuffer<std::int64_t>;
using TKwMAPILongIntArrBuffer = TKwMAPIFixedArrBuffer<std::int32_t>;
using TKwMAPISmallIntArrBuffer = TKwMAPIFixedArrBuffer<std::int16_t>;

/// PT_MV_BINARY.
class DEFTMAPI_API TKwMAPIBinArrBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIBinArrBuffer(const TKwVariant::Array& values, mapi::UPV& out);

private:
    std::vector<TKwBytes> FValues;
    std::vector<mapi::SBinary> FPointers;
};

/// PT_MV_UNICODE.
class DEFTMAPI_API TKwMAPIWideStringArrBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIWideStringArrBuffer(const TKwVariant::Array& values, mapi::UPV& out);

private:
    std::vector<WideString> FValues;
    std::vector<char16_t*> FPointers;
};

/// PT_MV_STRING8.
class DEFTMAPI_API TKwMAPIAnsiStringArrBuffer final : public TKwMAPIValueBuffer
{
public:
    TKwMAPIAnsiStringArrBuffer(const TKwVariant::Array& values, mapi::UPV& out);

private:
    std::vector<std::string> FValues;
    std::vector<char*> FPointers;
};

/// An SPropValue that owns what it points to. Movable: the memory keeps its address.
class DEFTMAPI_API TKwMAPIPropValue
{
public:
    /// Converts the variant to the type of the tag. A multi-valued type takes an array, an IKwMAPIValueList held by the
    /// variant, or a single value (an array of one). PT_SYSTIME takes dates and file times (UTC), PT_BOOLEAN becomes 0
    /// or 1.
    /// @throws EKwConvertError  the value does not convert to the type, or is out of its range
    /// @throws EMAPI_INVALID_PARAMETER  "The PropList does not support data of type %d!": no value of the type can be
    ///                                  set (objects, restrictions, actions, …)
    TKwMAPIPropValue(mapi::ULONG tag, const TKwVariant& value);

    /// Valid while this object (or what it was moved to) lives.
    [[nodiscard]] const mapi::SPropValue& Value() const noexcept { return FValue; }

private:
    mapi::SPropValue FValue;
    std::unique_ptr<TKwMAPIValueBuffer> FBuffer;
};

/// The elements of an array or of an IKwMAPIValueList held by the variant; a single value is an array of one, Empty and
/// Null are none. @throws EKwConvertError  the variant holds another interface
[[nodiscard]] DEFTMAPI_API TKwVariant::Array KwElementsOf(const TKwVariant& value);

/// The value of a property or of a table column. Everything is copied.
///
///     PT_I2, PT_LONG, PT_I8, PT_R4, PT_DOUBLE, PT_BOOLEAN   the number or Boolean of that kind
///     PT_CURRENCY, PT_APPTIME, PT_SYSTIME                    TKwCurrency, TKwDate, TKwFileTime
///     PT_UNICODE, PT_STRING8                                 wide text, 8-bit text (TKwAnsiText)
///     PT_BINARY, PT_SVREID                                   bytes
///     PT_CLSID                                               the braced text form
///     multi-valued types                                     an array of the above, Empty members for null pointers
///     PT_NULL                                                Null
///     PT_ERROR                                               Empty, whatever the code: the object has no such value,
///     or
///                                                            not in this form. Who needs the code reads Value.err
///     others (PT_OBJECT, restrictions, actions, …)           Empty: they have no variant form
///
/// A column of one value per row (MV_INSTANCE) reads as its single value.
[[nodiscard]] DEFTMAPI_API TKwVariant KwPropValueToVariant(const mapi::SPropValue& value);

/// Parses the braced text form of a GUID, digits of either case. @throws EKwConvertError  the text is no such form
[[nodiscard]] DEFTMAPI_API mapi::GUID KwStrToGuid(WideView text);

/// UTC both ways. @throws EKwConvertError  the time is before 1601 or the fields are no date and time
[[nodiscard]] DEFTMAPI_API TKwFileTime KwSystemTimeToFileTime(const mapi::SYSTEMTIME& time);
[[nodiscard]] DEFTMAPI_API mapi::SYSTEMTIME KwFileTimeToSystemTime(TKwFileTime time);

} // namespace deftmapi

#include "client/table/RowValues.hpp"

#include "client/store/Schema.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client
{
namespace
{

bool IsText(ULONG type)
{
    return type == mapi::PT_UNICODE || type == mapi::PT_MV_UNICODE;
}

} // namespace

bool IsRowBefore(const Props& a, const Props& b, const std::vector<mapi::SSortOrder>& sort)
{
    for (std::size_t i = 0; i < sort.size(); ++i) {
        // A row without the property stands before all that have it, as in the platform's tables.
        const bool missingA = a[i].IsError();
        const bool missingB = b[i].IsError();
        int order = missingA || missingB ? int{missingB} - int{missingA} : CompareValues(a[i], b[i]);
        if (order != 0)
            return sort[i].ulOrder == mapi::TABLE_SORT_DESCEND ? order > 0 : order < 0;
    }
    return false;
}

void ShortenValue(Prop& prop)
{
    if (const auto* blob = std::get_if<BlobPtr>(&prop.data)) {
        Bytes head(static_cast<std::size_t>(std::min<std::uint64_t>((*blob)->Size(), limits::TableText * 2)));
        head.resize((*blob)->Read(0, head.data(), head.size()));
        if (prop.Type() == mapi::PT_UNICODE) {
            WideString text(head.size() / 2, u'\0');
            std::memcpy(text.data(), head.data(), text.size() * 2);
            prop.data = std::move(text);
        } else {
            prop.data = std::move(head);
        }
    }
}

Prop ShownValue(ULONG column, Prop value, bool unicode)
{
    if (column >> 16 == 0)
        return {mapi::PT_NULL, {}}; // PR_NULL keeps a column free
    if (column & mapi::MV_INSTANCE)
        column &= ~mapi::MVI_FLAG; // the row shows one of the values, with the tag of a single one
    if (value.IsError())
        return ErrorProp(column, mapi::MAPI_E_NOT_FOUND);
    if (std::holds_alternative<BlobPtr>(value.data)) {
        if (value.Type() != mapi::PT_UNICODE)
            return ErrorProp(column, mapi::MAPI_E_NOT_ENOUGH_MEMORY);
        ShortenValue(value);
    }
    if (auto* text = std::get_if<WideString>(&value.data); text && text->size() > limits::TableText)
        text->resize(limits::TableText);
    if (const auto* bytes = std::get_if<Bytes>(&value.data); bytes && bytes->size() > limits::TableBinary)
        return ErrorProp(column, mapi::MAPI_E_NOT_ENOUGH_MEMORY);
    const ULONG type = column & 0xFFFF;
    if (type == value.Type() || (type == mapi::PT_UNSPECIFIED && (unicode || !IsText(value.Type()))))
        return value;
    auto result = Convert(value, type, unicode);
    return result ? std::move(*result) : ErrorProp(column, mapi::MAPI_E_NOT_FOUND);
}

} // namespace deftmapi::client

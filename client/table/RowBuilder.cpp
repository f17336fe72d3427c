#include "client/table/RowBuilder.hpp"

#include "client/store/Schema.hpp"
#include "client/table/RowValues.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client
{

using namespace mapi;

namespace
{

/// Bytes that a column points to in most rows, at most.
constexpr std::size_t UsualSize = 64;

} // namespace

RowBuilder::RowBuilder(std::span<const ULONG> columns, bool unicode)
    : FColumns(columns.begin(), columns.end()), FUnicode(unicode), FValues(columns.size()),
      FData(columns.size() * UsualSize)
{}

ULONG RowBuilder::ShownType(std::size_t column, ULONG type) const
{
    ULONG wanted = FColumns[column];
    if (wanted & MV_INSTANCE)
        wanted &= ~MVI_FLAG;
    wanted &= 0xFFFF;
    if (wanted == PT_UNSPECIFIED)
        return type == PT_UNICODE && !FUnicode ? PT_STRING8 : type;
    return wanted == type || (wanted == PT_STRING8 && type == PT_UNICODE) ? wanted : PT_ERROR;
}

void RowBuilder::Missing(std::size_t column, SCODE code)
{
    SPropValue& value = FValues[column];
    value.ulPropTag = CHANGE_PROP_TYPE(FColumns[column], PT_ERROR);
    value.Value.err = code;
}

std::byte* RowBuilder::Extend(std::size_t size)
{
    FSize = (FSize + 7) & ~std::size_t{7};
    if (FData.size() < FSize + size)
        FData.resize((FSize + size) * 2);
    std::byte* place = FData.data() + FSize;
    FSize += size;
    return place;
}

void RowBuilder::Number(std::size_t column, ULONG tag, std::int64_t value)
{
    if (ShownType(column, tag & 0xFFFF) == PT_ERROR)
        return Missing(column, MAPI_E_NOT_FOUND);
    PutNumber(tag, value, FValues[column]);
}

void RowBuilder::PutWide(std::size_t column, ULONG id, WideView text)
{
    FPointers.emplace_back(column, (FSize + 7) & ~std::size_t{7});
    std::byte* place = Extend((text.size() + 1) * sizeof(char16_t));
    std::memcpy(place, text.data(), text.size() * sizeof(char16_t));
    std::memset(place + text.size() * sizeof(char16_t), 0, sizeof(char16_t));
    FValues[column].ulPropTag = id << 16 | PT_UNICODE;
}

void RowBuilder::PutNarrow(std::size_t column, ULONG id, WideView text)
{
    const std::string narrow = TKwEncoding().FromWide(text);
    FPointers.emplace_back(column, (FSize + 7) & ~std::size_t{7});
    std::memcpy(Extend(narrow.size() + 1), narrow.c_str(), narrow.size() + 1);
    FValues[column].ulPropTag = id << 16 | PT_STRING8;
}

void RowBuilder::Text(std::size_t column, ULONG tag, std::string_view utf8)
{
    const ULONG type = ShownType(column, PT_UNICODE);
    if (type == PT_ERROR)
        return Missing(column, MAPI_E_NOT_FOUND);
    if (type == PT_STRING8) {
        char16_t units[limits::TableText];
        return PutNarrow(column, tag >> 16, {units, UnpackText(utf8, units)});
    }
    FPointers.emplace_back(column, (FSize + 7) & ~std::size_t{7});
    const std::size_t room = std::min(utf8.size(), limits::TableText); // no text has more units than bytes
    auto* place = reinterpret_cast<char16_t*>(Extend((room + 1) * sizeof(char16_t)));
    const std::size_t units = UnpackText(utf8, {place, room});
    place[units] = u'\0';
    FSize -= (room - units) * sizeof(char16_t);
    FValues[column].ulPropTag = (tag & 0xFFFF0000u) | PT_UNICODE;
}

void RowBuilder::Binary(std::size_t column, ULONG tag, std::span<const std::uint8_t> bytes)
{
    const ULONG type = tag & 0xFFFF;
    if (ShownType(column, type) == PT_ERROR)
        return Missing(column, MAPI_E_NOT_FOUND);
    if (bytes.size() > limits::TableBinary)
        return Missing(column, MAPI_E_NOT_ENOUGH_MEMORY);
    FPointers.emplace_back(column, (FSize + 7) & ~std::size_t{7});
    std::byte* place = Extend(std::max(bytes.size(), type == PT_CLSID ? sizeof(GUID) : std::size_t{0}));
    if (!bytes.empty())
        std::memcpy(place, bytes.data(), bytes.size());
    FValues[column].ulPropTag = tag;
    FValues[column].Value.bin.cb = static_cast<ULONG>(bytes.size());
}

void RowBuilder::Value(std::size_t column, Prop value)
{
    Prop shown = ShownValue(FColumns[column], std::move(value), FUnicode);
    if (const auto* text = std::get_if<WideString>(&shown.data)) {
        PutWide(column, shown.Id(), *text);
    } else if (std::holds_alternative<std::int64_t>(shown.data)) {
        LayOut(shown, FValues[column], 0, nullptr);
    } else {
        FValues[column] = {};
        FOthers.emplace_back(column, std::move(shown));
    }
}

void RowBuilder::EndRow()
{
    const std::size_t head = FValues.size() * sizeof(SPropValue);
    std::size_t size = head + FSize;
    SPropValue ignored{};
    for (const auto& [column, prop] : FOthers)
        size = LayOut(prop, ignored, size, nullptr);
    auto row = AllocateAs<SPropValue>(std::max(size, sizeof(SPropValue)));
    auto* const start = reinterpret_cast<std::byte*>(row.Get());
    std::memcpy(start, FValues.data(), head);
    if (FSize > 0)
        std::memcpy(start + head, FData.data(), FSize);
    for (const auto& [column, offset] : FPointers) {
        SPropValue& value = row.Get()[column];
        std::byte* const place = start + head + offset;
        switch (PROP_TYPE(value.ulPropTag)) {
        case PT_UNICODE:
            value.Value.lpszW = reinterpret_cast<LPWSTR>(place);
            break;
        case PT_STRING8:
            value.Value.lpszA = reinterpret_cast<LPSTR>(place);
            break;
        case PT_CLSID:
            value.Value.lpguid = reinterpret_cast<LPGUID>(place);
            break;
        default:
            value.Value.bin.lpb = reinterpret_cast<LPBYTE>(place);
        }
    }
    size = head + FSize;
    for (const auto& [column, prop] : FOthers)
        size = LayOut(prop, row.Get()[column], size, start);
    FRows.push_back(std::move(row));
    FSize = 0;
    FPointers.clear();
    FOthers.clear();
}

void RowBuilder::Reverse()
{
    std::reverse(FRows.begin(), FRows.end());
}

RowSet RowBuilder::Finish()
{
    RowSet rows;
    *rows.Out() = AllocateAs<SRowSet>(sizeof(SRowSet) + FRows.size() * sizeof(SRow)).Detach();
    for (auto& row : FRows) {
        SRow& to = rows->aRow[rows->cRows++];
        to.cValues = static_cast<ULONG>(FColumns.size());
        to.lpProps = row.Detach();
    }
    FRows.clear();
    return rows;
}

} // namespace deftmapi::client

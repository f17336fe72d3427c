#include "client/table/RowSource.hpp"

#include <algorithm>

namespace deftmapi::client
{

void RowCollector::Number(std::size_t column, ULONG tag, std::int64_t value)
{
    FRow[column] = LongProp(tag, value);
}

void RowCollector::Text(std::size_t column, ULONG tag, std::string_view utf8)
{
    FRow[column] = TextProp(tag, UnpackText(utf8));
}

void RowCollector::Binary(std::size_t column, ULONG tag, std::span<const std::uint8_t> bytes)
{
    FRow[column] = BinaryProp(tag, Bytes(bytes.begin(), bytes.end()));
}

void RowCollector::Value(std::size_t column, Prop value)
{
    FRow[column] = std::move(value);
}

void RowCollector::EndRow()
{
    rows.push_back(std::exchange(FRow, Props(FRow.size())));
}

void RowCollector::Reverse()
{
    std::reverse(rows.begin(), rows.end());
}

void PutRow(Props& values, RowSink& sink)
{
    for (std::size_t i = 0; i < values.size(); ++i)
        sink.Value(i, std::move(values[i]));
    sink.EndRow();
}

void RowOrder::Read(Mark& mark, std::int64_t count, std::span<const ULONG> columns, const RowVisit& visit)
{
    // Rows that are in memory at once; backwards all of them, for the first to come first.
    const std::int64_t piece = count < 0 ? -count : 1000;
    for (std::int64_t left = std::abs(count); left > 0; left -= piece) {
        RowCollector collector(columns.size());
        const std::int64_t rows = std::min(left, piece);
        Read(mark, count < 0 ? -rows : rows, columns, collector);
        for (Props& row : collector.rows)
            visit(row);
        if (collector.rows.empty())
            return;
    }
}

} // namespace deftmapi::client

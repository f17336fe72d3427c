// Makes the rows of QueryRows from values as the database has them. A row is laid out in memory that is used again for
// the next one and then copied into a MAPI buffer of exactly its size, so that a text is decoded once and no value
// costs an allocation of its own.
#pragma once

#include "client/table/RowSource.hpp"

namespace deftmapi::client
{

class RowBuilder final : public RowSink
{
public:
    /// @param unicode  the width of text whose column has no type
    RowBuilder(std::span<const ULONG> columns, bool unicode);

    void Number(std::size_t column, ULONG tag, std::int64_t value) override;
    void Text(std::size_t column, ULONG tag, std::string_view utf8) override;
    void Binary(std::size_t column, ULONG tag, std::span<const std::uint8_t> bytes) override;
    void Value(std::size_t column, Prop value) override;
    void EndRow() override;
    void Reverse() override;

    /// The rows taken so far, as the caller of QueryRows gets them. @throws std::bad_alloc
    [[nodiscard]] RowSet Finish();

private:
    /// The type that the column shows a property of this type with; PT_ERROR: it does not.
    [[nodiscard]] ULONG ShownType(std::size_t column, ULONG type) const;
    void Missing(std::size_t column, mapi::SCODE code);
    /// Room behind what the row points to, at a multiple of 8 bytes.
    [[nodiscard]] std::byte* Extend(std::size_t size);
    void PutWide(std::size_t column, ULONG id, WideView text);
    void PutNarrow(std::size_t column, ULONG id, WideView text);

    std::vector<ULONG> FColumns; // PT_MV_… | MV_INSTANCE as the single type that such a column shows
    bool FUnicode;
    std::vector<mapi::SPropValue> FValues;
    std::vector<std::byte> FData; // pointers of the row are offsets into it until the row is copied
    std::size_t FSize = 0;        // used of it
    std::vector<std::pair<std::size_t, std::size_t>> FPointers; // column and offset
    std::vector<std::pair<std::size_t, Prop>> FOthers;          // what is laid out in the buffer itself
    std::vector<MapiBuffer<mapi::SPropValue>> FRows;
};

} // namespace deftmapi::client

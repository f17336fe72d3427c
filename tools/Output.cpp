#include "Output.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace deftmapi::tool
{

namespace
{

/// One code point from a UTF-8 text; advances the position.
char32_t NextCodePoint(const std::string& text, std::size_t& position)
{
    const auto lead = static_cast<unsigned char>(text[position++]);
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    char32_t c = more == 3 ? lead & 0x07U : more == 2 ? lead & 0x0FU : more == 1 ? lead & 0x1FU : lead;
    for (int i = 0; i < more && position < text.size(); ++i)
        c = (c << 6U) | (static_cast<unsigned char>(text[position++]) & 0x3FU);
    return c;
}

std::size_t WidthOf(char32_t c)
{
    struct Range
    {
        char32_t First;
        char32_t Last;
    };
    static constexpr std::array<Range, 5> none{
        {{0x0300, 0x036F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}}};
    static constexpr std::array<Range, 8> two{{{0x1100, 0x115F},
                                               {0x2E80, 0xA4CF},
                                               {0xAC00, 0xD7A3},
                                               {0xF900, 0xFAFF},
                                               {0xFE30, 0xFE6F},
                                               {0xFF00, 0xFF60},
                                               {0xFFE0, 0xFFE6},
                                               {0x1F300, 0x1FAFF}}};
    const auto in = [c](const Range& r) { return c >= r.First && c <= r.Last; };
    if (std::any_of(none.begin(), none.end(), in))
        return 0;
    return std::any_of(two.begin(), two.end(), in) ? 2 : 1;
}

} // namespace

std::size_t DisplayWidth(const std::string& text)
{
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size();)
        width += WidthOf(NextCodePoint(text, i));
    return width;
}

std::string OneLine(const std::string& text)
{
    std::string result;
    bool blank = false;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= ' ' || c == '\x7f') {
            blank = !result.empty();
            continue;
        }
        if (blank)
            result += ' ';
        blank = false;
        result += c;
    }
    return result;
}

std::string FitTo(const std::string& text, std::size_t width)
{
    const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
    std::string line = text.substr(0, start) + OneLine(text); // a tree's indentation stays
    if (width == 0 || DisplayWidth(line) <= width)
        return line;
    std::size_t used = 0;
    std::size_t end = 0;
    for (std::size_t i = 0; i < line.size();) {
        const std::size_t w = WidthOf(NextCodePoint(line, i));
        if (used + w > width - 1)
            break;
        used += w;
        end = i;
    }
    return line.substr(0, end) + "…";
}

void TextTable::Add(std::vector<std::string> cells)
{
    cells.resize(FColumns.size());
    for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = FitTo(cells[i], FColumns[i].Limit);
    FRows.push_back(std::move(cells));
}

void TextTable::Print() const
{
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < FColumns.size(); ++i) {
        std::size_t width = DisplayWidth(FColumns[i].Heading);
        for (const auto& row : FRows)
            width = std::max(width, DisplayWidth(row[i]));
        widths.push_back(width);
    }
    const auto print = [&](const auto& cellOf) {
        std::string line;
        for (std::size_t i = 0; i < FColumns.size(); ++i) {
            const std::string& cell = cellOf(i);
            const std::string padding(widths[i] - DisplayWidth(cell), ' ');
            line += i == 0 ? "" : "  ";
            line += FColumns[i].Right ? padding + cell : cell + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        fmt::print("{}\n", line);
    };
    print([&](std::size_t i) -> const std::string& { return FColumns[i].Heading; });
    for (const auto& row : FRows)
        print([&](std::size_t i) -> const std::string& { return row[i]; });
}

void PrintJson(const Json& document)
{
    fmt::print("{}\n", document.dump(2, ' ', false, Json::error_handler_t::replace));
}

} // namespace deftmapi::tool

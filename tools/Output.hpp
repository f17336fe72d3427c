// Output: tables for people, one JSON document for programs.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace deftmapi::tool
{

using Json = nlohmann::ordered_json;

/// Rows of text under headings, columns as wide as their content up to the limit of each.
class TextTable
{
public:
    struct Column
    {
        std::string Heading;
        bool Right = false;    ///< numbers stand right
        std::size_t Limit = 0; ///< greatest width in characters; 0: none
    };
    explicit TextTable(std::vector<Column> columns) : FColumns(std::move(columns)) {}

    void Add(std::vector<std::string> cells);
    void Print() const;

private:
    std::vector<Column> FColumns;
    std::vector<std::vector<std::string>> FRows;
};

/// Characters of a UTF-8 text as a terminal shows them (East Asian wide ones count two, combining marks none).
[[nodiscard]] std::size_t DisplayWidth(const std::string& text);
/// Cut to the width, with "…" at the end when something was cut; line breaks and control characters become blanks,
/// blanks at the beginning stay.
[[nodiscard]] std::string FitTo(const std::string& text, std::size_t width);
/// All on one line: runs of white space become one blank.
[[nodiscard]] std::string OneLine(const std::string& text);

/// The document on standard output, indented. Text that is no UTF-8 is repaired.
void PrintJson(const Json& document);

} // namespace deftmapi::tool

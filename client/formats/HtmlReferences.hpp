// Which parts of a message its HTML body shows: references by content identifier ("cid:…") or by location.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace deftmapi::client::mime
{

/// The references of one HTML text.
class THtmlReferences
{
public:
    THtmlReferences() = default;
    /// @param codePage  of the bytes; UTF-16 is converted, everything else is read as a superset of ASCII
    THtmlReferences(std::string_view html, unsigned codePage);
    THtmlReferences(const THtmlReferences&) = delete; // FHtml may point into FConverted
    THtmlReferences& operator=(const THtmlReferences&) = delete;

    [[nodiscard]] bool ContentID(const std::string& id) const { return FContentIDs.contains(id); }
    /// REQUIRES: the bytes given to the constructor are still alive.
    [[nodiscard]] bool Location(const std::string& location) const;

private:
    std::string FConverted;
    std::string_view FHtml;
    std::set<std::string> FContentIDs;
};

} // namespace deftmapi::client::mime

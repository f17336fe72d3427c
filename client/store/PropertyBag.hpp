// The properties of one object, one value per property identifier, and the packed form in which they lie in the
// database.
#pragma once

#include "client/store/PropertyValues.hpp"

#include <functional>
#include <map>
#include <set>

namespace deftmapi::client
{

/// REQUIRES: tags carry the wide text types (WideTag).
class PropertyBag
{
public:
    [[nodiscard]] const Prop* Find(ULONG id) const
    {
        const auto it = FProps.find(id);
        return it == FProps.end() ? nullptr : &it->second;
    }
    void Set(Prop prop)
    {
        const ULONG id = prop.Id();
        FProps.insert_or_assign(id, std::move(prop));
    }
    bool Erase(ULONG id) { return FProps.erase(id) != 0; }
    /// Makes these properties what they are in the other bag: its values, or nothing.
    void TakeFrom(const PropertyBag& other, const std::set<ULONG>& ids);
    void Clear() { FProps.clear(); }

    [[nodiscard]] auto begin() const { return FProps.begin(); }
    [[nodiscard]] auto end() const { return FProps.end(); }
    [[nodiscard]] bool Empty() const { return FProps.empty(); }

    [[nodiscard]] std::int64_t Number(ULONG tag, std::int64_t otherwise = 0) const;
    [[nodiscard]] WideString Text(ULONG tag) const;
    /// Sum of identifier overhead and data of all properties.
    [[nodiscard]] std::uint64_t Size() const;

private:
    std::map<ULONG, Prop> FProps;
};

/// A large value as the packed form names it: the number of its chunks' owner row and its size in bytes.
struct LargeReference
{
    std::int64_t valueId;
    std::uint64_t size;
};

/// Writes one property to the end of `out`.
void PackProp(const Prop& prop, Bytes& out);
void PackLarge(ULONG tag, const LargeReference& reference, Bytes& out);
/// Reads a packed list; large values are turned into blobs by `open`. `wanted` (may be null) skips properties without
/// decoding them. @throws Failure  MAPI_E_CORRUPT_DATA
void UnpackProps(std::span<const std::uint8_t> packed, const std::function<BlobPtr(const LargeReference&)>& open,
                 const std::function<bool(ULONG id)>& wanted, const std::function<void(Prop)>& sink);

/// UTF-8 that keeps lone surrogates (three bytes each), so that any UTF-16 text comes back as it was.
[[nodiscard]] std::string PackText(WideView text);
[[nodiscard]] WideString UnpackText(std::string_view text);
/// The same into the caller's memory: as many units as there is room for. @returns how many
[[nodiscard]] std::size_t UnpackText(std::string_view text, std::span<char16_t> to);

} // namespace deftmapi::client

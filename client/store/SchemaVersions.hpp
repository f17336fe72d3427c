// Store files as earlier versions made them, for tests of the upgrade steps.
#pragma once

#include "client/store/Schema.hpp"

namespace deftmapi::client
{

/// CreateStoreFile with the layout of an earlier version. @param version  1 to schema::Version
void CreateStoreFileOfVersion(const std::filesystem::path& file, std::span<const std::uint8_t> storeUid,
                              const std::u16string& displayName, std::int64_t version);

} // namespace deftmapi::client

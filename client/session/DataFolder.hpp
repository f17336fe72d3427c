// Where the client keeps its data: one folder per user with the profiles and the stores.
#pragma once

#include <filesystem>

namespace deftmapi::client
{

/// The folder that the environment names now: DEFTMAPI_HOME; else on Windows DeftMAPI in the user's local application
/// data, elsewhere deftmapi in XDG_DATA_HOME or in ~/.local/share. Made, for the user alone, when it is missing.
/// @throws Failure  MAPI_E_UNCONFIGURED when the environment names no folder
/// @throws std::filesystem::filesystem_error  it cannot be made
[[nodiscard]] std::filesystem::path DataFolder();

/// Makes a folder and those above it; only the user may look into those that were missing.
void MakePrivateFolder(const std::filesystem::path& folder);

/// Makes an empty file that only the user may read and write, unless there is a file already. That it cannot be made is
/// for the one to tell who opens it. @returns the file
const std::filesystem::path& MakePrivateFile(const std::filesystem::path& file);

/// Writes a folder's list of names to the disk, so that a file that was moved into it is there after a power failure.
/// @throws std::system_error
void SyncFolder(const std::filesystem::path& folder);

} // namespace deftmapi::client

// What stands for the store and the folders of a Simple MAPI session, which has no objects of MAPI: wrappers around
// these are active until the session ends, as others are. What such an object knows its wrapper has in its cache;
// everything that would be asked of MAPI is refused.
#pragma once

#include "mapi/session/uKwMAPIFolder.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"

namespace deftmapi
{

/// The one store of a Simple MAPI session.
[[nodiscard]] TKwRef<IKwMAPIMsgStore> KwOpenSimpleStore(TKwMAPISessionBase& session, TKwMAPIAccessLevel accessLevel);
/// REQUIRES: Simple MAPI has a folder of this type.
[[nodiscard]] TKwRef<IKwMAPIFolder> KwOpenSimpleFolder(TKwMAPIMsgStore& store, TKwMAPIFolderType folderType,
                                                       TKwMAPIAccessLevel accessLevel);
/// Whether the folder is one of these.
[[nodiscard]] bool KwIsSimpleFolder(mapi::IUnknown* object) noexcept;

} // namespace deftmapi

// Messages in compound files (.msg), for sessions and stores. Whoever asks is named in the texts of failures, and its
// session is the one that the message belongs to. REQUIRES (all): MAPI is loaded and initialised.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPIComH.hpp"

namespace deftmapi
{

/// Whether a file is a compound file, by its content.
/// @throws EMAPI_INVALID_PARAMETER  the file is not there or cannot be read
[[nodiscard]] bool KwIsCompoundFile(const WideString& fileName);
/// A new message in a new file, which is there at once and empty; the message is in it when it has been saved. What
/// fails on the way leaves no file.
/// @throws EMAPI_COLLISION   the file exists already
/// @throws EMAPI_NO_SUPPORT  there is no structured storage
[[nodiscard]] TKwRef<IKwMAPIMessage> KwCreateMsgFile(TKwMAPIWrapper& asker, WideView methodName,
                                                     const WideString& fileName, WideView messageClass);
/// @throws EMAPI_NOT_FOUND   there is no such file
/// @throws EMAPI_NO_SUPPORT  there is no structured storage
[[nodiscard]] TKwRef<IKwMAPIMessage> KwOpenMsgFile(TKwMAPIWrapper& asker, WideView methodName,
                                                   const WideString& fileName, TKwMAPIAccessLevel accessLevel);
/// The message on a storage, of which the message keeps a reference.
[[nodiscard]] TKwRef<IKwMAPIMessage> KwOpenMessageOn(TKwMAPIWrapper& asker, mapi::IStorage& storage,
                                                     TKwMAPIAccessLevel granted);
/// Copies a storage with all that is in it to a new file. A copy that fails leaves no file.
/// @throws EMAPI_COLLISION  the file exists already
void KwSaveStorage(TKwMAPIWrapper& asker, WideView methodName, mapi::IStorage& storage, const WideString& fileName);

} // namespace deftmapi

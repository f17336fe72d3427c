// Settings that a mailbox keeps as hidden messages of its Inbox, one for each class.
#pragma once

#include "mapi/uKwMAPIInterfaces.hpp"

namespace deftmapi
{

/// The first hidden message of exactly this class in a folder, or null.
[[nodiscard]] TKwRef<IKwMAPIMessage> KwFindAssociatedMessage(IKwMAPIMsgStore& store, IKwMAPIFolder& folder,
                                                             WideView messageClass, TKwMAPIAccessLevel accessLevel);

} // namespace deftmapi

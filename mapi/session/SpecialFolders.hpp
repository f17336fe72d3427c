// The special folders of a store: the one table that names them and says where their identifiers are.
#pragma once

#include "mapi/core/uKwMAPIProps.hpp"

#include <cstddef>

namespace deftmapi
{

enum class TKwMAPIFolderPlace
{
    ReceiveFolder,   ///< the folder that IMsgStore::GetReceiveFolder tells
    StoreProperty,   ///< a property of the store
    InboxProperty,   ///< a property of the Inbox
    AdditionalFolder ///< an element of PR_ADDITIONAL_REN_ENTRYIDS of the Inbox
};

struct TKwMAPISpecialFolder
{
    TKwMAPIFolderType Type;
    const char16_t* Keyword; ///< in brackets in a path
    TKwMAPIFolderPlace Place;
    TKwMAPIPropDef Property;        ///< of the store or the Inbox
    std::size_t Element;            ///< of the list, for AdditionalFolder
    const char16_t* ContainerClass; ///< by which the folder is looked for in a store without an Inbox; or null
};

/// Null for what is no type of a special folder.
[[nodiscard]] const TKwMAPISpecialFolder* FindSpecialFolder(TKwMAPIFolderType type) noexcept;
/// Without regard to case; null for an unknown keyword.
[[nodiscard]] const TKwMAPISpecialFolder* FindSpecialFolder(WideView keyword) noexcept;

} // namespace deftmapi

// The tags of the properties that the MIME reader sets. Text is always wide.
#pragma once

#include "mapi/headers/uKwMAPIPropTypesH.hpp"

namespace deftmapi::client::mime::tag
{

using mapi::ULONG;

// clang-format off
inline constexpr ULONG Importance            = 0x00170003;
inline constexpr ULONG MessageClass          = 0x001A001F;
inline constexpr ULONG Priority              = 0x00260003;
inline constexpr ULONG Sensitivity           = 0x00360003;
inline constexpr ULONG Subject               = 0x0037001F;
inline constexpr ULONG ClientSubmitTime      = 0x00390040;
inline constexpr ULONG SentReprSearchKey     = 0x003B0102;
inline constexpr ULONG SubjectPrefix         = 0x003D001F;
inline constexpr ULONG SentReprEntryId       = 0x00410102;
inline constexpr ULONG SentReprName          = 0x0042001F;
inline constexpr ULONG ReplyRecipientEntries = 0x004F0102;
inline constexpr ULONG ReplyRecipientNames   = 0x0050001F;
inline constexpr ULONG SentReprAddrType      = 0x0064001F;
inline constexpr ULONG SentReprEmailAddress  = 0x0065001F;
inline constexpr ULONG ConversationTopic     = 0x0070001F;
inline constexpr ULONG ConversationIndex     = 0x00710102;
inline constexpr ULONG TransportHeaders      = 0x007D001F;
inline constexpr ULONG RecipientType         = 0x0C150003;
inline constexpr ULONG SenderEntryId         = 0x0C190102;
inline constexpr ULONG SenderName            = 0x0C1A001F;
inline constexpr ULONG SenderSearchKey       = 0x0C1D0102;
inline constexpr ULONG SenderAddrType        = 0x0C1E001F;
inline constexpr ULONG SenderEmailAddress    = 0x0C1F001F;
inline constexpr ULONG MessageDeliveryTime   = 0x0E060040;
inline constexpr ULONG MessageFlags          = 0x0E070003;
inline constexpr ULONG NormalizedSubject     = 0x0E1D001F;
inline constexpr ULONG ObjectType            = 0x0FFE0003;
inline constexpr ULONG EntryId               = 0x0FFF0102;
inline constexpr ULONG Body                  = 0x1000001F;
inline constexpr ULONG Html                  = 0x10130102; // the bytes as they came, in the code page InternetCodePage
inline constexpr ULONG NativeBodyInfo        = 0x10160003;
inline constexpr ULONG InternetMessageId     = 0x1035001F;
inline constexpr ULONG InternetReferences    = 0x1039001F;
inline constexpr ULONG InReplyToId           = 0x1042001F;
inline constexpr ULONG RowId                 = 0x30000003;
inline constexpr ULONG DisplayName           = 0x3001001F;
inline constexpr ULONG AddrType              = 0x3002001F;
inline constexpr ULONG EmailAddress          = 0x3003001F;
inline constexpr ULONG SearchKey             = 0x300B0102;
inline constexpr ULONG AttachDataBin         = 0x37010102;
inline constexpr ULONG AttachDataObj         = 0x3701000D;
inline constexpr ULONG AttachExtension       = 0x3703001F;
inline constexpr ULONG AttachFileName        = 0x3704001F;
inline constexpr ULONG AttachMethod          = 0x37050003;
inline constexpr ULONG AttachLongFileName    = 0x3707001F;
inline constexpr ULONG RenderingPosition     = 0x370B0003;
inline constexpr ULONG AttachMimeTag         = 0x370E001F;
inline constexpr ULONG AttachContentId       = 0x3712001F;
inline constexpr ULONG AttachContentLocation = 0x3713001F;
inline constexpr ULONG AttachFlags           = 0x37140003;
inline constexpr ULONG DisplayType           = 0x39000003;
inline constexpr ULONG SmtpAddress           = 0x39FE001F;
inline constexpr ULONG SendRichInfo          = 0x3A40000B;
inline constexpr ULONG InternetCodePage      = 0x3FDE0003;
inline constexpr ULONG MsgEditorFormat       = 0x59090003;
inline constexpr ULONG AttachmentHidden      = 0x7FFE000B;
// clang-format on

/// PR_ATTACH_FLAGS: the HTML body shows the attachment.
inline constexpr mapi::LONG attMhtmlRef = 0x00000004;

} // namespace deftmapi::client::mime::tag

// The property tags that the client itself knows something about. Text properties carry the Unicode type.
#pragma once

#include "mapi/headers/uKwMAPIHeaders.hpp"

namespace deftmapi::client::tag
{

using mapi::ULONG;

// clang-format off
// Messages.
inline constexpr ULONG Importance           = 0x00170003;
inline constexpr ULONG MessageClass         = 0x001A001F;
inline constexpr ULONG Priority             = 0x00260003;
inline constexpr ULONG Sensitivity          = 0x00360003;
inline constexpr ULONG Subject              = 0x0037001F;
inline constexpr ULONG ClientSubmitTime     = 0x00390040;
inline constexpr ULONG SubjectPrefix        = 0x003D001F;
inline constexpr ULONG SentRepName          = 0x0042001F;
inline constexpr ULONG SentRepEmail         = 0x0065001F;
inline constexpr ULONG ConversationTopic    = 0x0070001F;
inline constexpr ULONG ConversationIndex    = 0x00710102;
inline constexpr ULONG RecipientType        = 0x0C150003;
inline constexpr ULONG SenderName           = 0x0C1A001F;
inline constexpr ULONG SenderAddrType       = 0x0C1E001F;
inline constexpr ULONG SenderEmail          = 0x0C1F001F;
inline constexpr ULONG DisplayBcc           = 0x0E02001F;
inline constexpr ULONG DisplayCc            = 0x0E03001F;
inline constexpr ULONG DisplayTo            = 0x0E04001F;
inline constexpr ULONG DeliveryTime         = 0x0E060040;
inline constexpr ULONG MessageFlags         = 0x0E070003;
inline constexpr ULONG MessageSize          = 0x0E080003;
inline constexpr ULONG ParentEntryId        = 0x0E090102;
inline constexpr ULONG Responsibility       = 0x0E0F000B;
inline constexpr ULONG MessageRecipients    = 0x0E12000D;
inline constexpr ULONG MessageAttachments   = 0x0E13000D;
inline constexpr ULONG MessageStatus        = 0x0E170003;
inline constexpr ULONG HasAttach            = 0x0E1B000B;
inline constexpr ULONG NormalizedSubject    = 0x0E1D001F;
inline constexpr ULONG AttachSize           = 0x0E200003;
inline constexpr ULONG AttachNum            = 0x0E210003;
inline constexpr ULONG Body                 = 0x1000001F;
inline constexpr ULONG Html                 = 0x10130102;
inline constexpr ULONG InternetMessageId    = 0x1035001F;
inline constexpr ULONG IconIndex            = 0x10800003;
inline constexpr ULONG LastVerb             = 0x10810003;
inline constexpr ULONG FlagStatus           = 0x10900003;
inline constexpr ULONG InternetCodePage     = 0x3FDE0003;

// Attachments.
inline constexpr ULONG AttachDataObj        = 0x3701000D;
inline constexpr ULONG AttachDataBin        = 0x37010102;
inline constexpr ULONG AttachMethod         = 0x37050003;
inline constexpr ULONG AttachFileName       = 0x3704001F;
inline constexpr ULONG AttachLongFileName   = 0x3707001F;
inline constexpr ULONG RenderingPosition    = 0x370B0003;

// Every object.
inline constexpr ULONG Access               = 0x0FF40003;
inline constexpr ULONG InstanceKey          = 0x0FF60102;
inline constexpr ULONG AccessLevel          = 0x0FF70003;
inline constexpr ULONG MappingSignature     = 0x0FF80102;
inline constexpr ULONG RecordKey            = 0x0FF90102;
inline constexpr ULONG StoreRecordKey       = 0x0FFA0102;
inline constexpr ULONG StoreEntryId         = 0x0FFB0102;
inline constexpr ULONG ObjectType           = 0x0FFE0003;
inline constexpr ULONG EntryId              = 0x0FFF0102;
inline constexpr ULONG RowId                = 0x30000003;
inline constexpr ULONG DisplayName          = 0x3001001F;
inline constexpr ULONG AddrType             = 0x3002001F;
inline constexpr ULONG EmailAddress         = 0x3003001F;
inline constexpr ULONG Comment              = 0x3004001F;
inline constexpr ULONG Depth                = 0x30050003;
inline constexpr ULONG CreationTime         = 0x30070040;
inline constexpr ULONG LastModification     = 0x30080040;
inline constexpr ULONG SearchKey            = 0x300B0102;

// Folders.
inline constexpr ULONG FolderType           = 0x36010003;
inline constexpr ULONG ContentCount         = 0x36020003;
inline constexpr ULONG ContentUnread        = 0x36030003;
inline constexpr ULONG Subfolders           = 0x360A000B;
inline constexpr ULONG FolderStatus         = 0x360B0003;
inline constexpr ULONG ContainerHierarchy   = 0x360E000D;
inline constexpr ULONG ContainerContents    = 0x360F000D;
inline constexpr ULONG AssociatedContents   = 0x3610000D;
inline constexpr ULONG ContainerClass       = 0x3613001F;
inline constexpr ULONG AssociatedCount      = 0x36170003;
inline constexpr ULONG IpmAppointment       = 0x36D00102;
inline constexpr ULONG IpmContact           = 0x36D10102;
inline constexpr ULONG IpmJournal           = 0x36D20102;
inline constexpr ULONG IpmNote              = 0x36D30102;
inline constexpr ULONG IpmTask              = 0x36D40102;
inline constexpr ULONG IpmDrafts            = 0x36D70102;
inline constexpr ULONG AdditionalRen        = 0x36D81102;
inline constexpr ULONG DefaultPostClass     = 0x36E5001F;

// Stores, services and profiles.
inline constexpr ULONG ResourceFlags        = 0x30090003;
inline constexpr ULONG ProviderDllName      = 0x300A001F;
inline constexpr ULONG ProviderUid          = 0x300C0102;
inline constexpr ULONG ProviderDisplay      = 0x3006001F;
inline constexpr ULONG DefaultStore         = 0x3400000B;
inline constexpr ULONG StoreSupportMask     = 0x340D0003;
inline constexpr ULONG StoreState           = 0x340E0003;
inline constexpr ULONG MdbProvider          = 0x34140102;
inline constexpr ULONG ValidFolderMask      = 0x35DF0003;
inline constexpr ULONG IpmSubtree           = 0x35E00102;
inline constexpr ULONG IpmOutbox            = 0x35E20102;
inline constexpr ULONG IpmWastebasket       = 0x35E30102;
inline constexpr ULONG IpmSentMail          = 0x35E40102;
inline constexpr ULONG Views                = 0x35E50102;
inline constexpr ULONG CommonViews          = 0x35E60102;
inline constexpr ULONG Finder               = 0x35E70102;
inline constexpr ULONG DefaultProfile       = 0x3D04000B;
inline constexpr ULONG ServiceName          = 0x3D09001F;
inline constexpr ULONG ServiceDllName       = 0x3D0A001F;
inline constexpr ULONG ServiceUid           = 0x3D0C0102;
inline constexpr ULONG ResourceType         = 0x3E030003;
// clang-format on

} // namespace deftmapi::client::tag

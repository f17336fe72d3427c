// Identifiers of interfaces, classes and property sets, and the unique identifiers of providers and profile sections.
// The latter are MAPIUID because MAPI passes them as plain bytes.
#pragma once

#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// clang-format off
// No interface.
inline constexpr IID IID_EMPTY = MakeGuid(0x00000000, 0x0000, 0x0000, 0x0000, 0x000000000000);

// COM interfaces.
inline constexpr IID IID_IUnknown          = OleGuid(0x00000000);
inline constexpr IID IID_IMalloc           = OleGuid(0x00000002);
inline constexpr IID IID_ISequentialStream = MakeGuid(0x0C733A30, 0x2A1C, 0x11CE, 0xADE5, 0x00AA0044773D);
inline constexpr IID IID_IStream           = OleGuid(0x0000000C);
inline constexpr IID IID_IStorage          = OleGuid(0x0000000B);
inline constexpr IID IID_IEnumSTATSTG      = OleGuid(0x0000000D);
inline constexpr IID IID_IClassFactory     = OleGuid(0x00000001);
inline constexpr IID IID_IPersist          = OleGuid(0x0000010C);
inline constexpr IID IID_IDispatch         = OleGuid(0x00020400);
inline constexpr IID IID_IDataObject       = OleGuid(0x0000010E);

// MAPI interfaces.
inline constexpr IID IID_IABContainer      = OleGuid(0x0002030D);
inline constexpr IID IID_IAddrBook         = OleGuid(0x00020309);
inline constexpr IID IID_IAttachment       = OleGuid(0x00020308);
inline constexpr IID IID_IDistList         = OleGuid(0x0002030E);
inline constexpr IID IID_IMailUser         = OleGuid(0x0002030A);
inline constexpr IID IID_IMAPIAdviseSink   = OleGuid(0x00020302);
inline constexpr IID IID_IMAPIContainer    = OleGuid(0x0002030B);
inline constexpr IID IID_IMAPIControl      = OleGuid(0x0002031B);
inline constexpr IID IID_IMAPIFolder       = OleGuid(0x0002030C);
inline constexpr IID IID_IMAPIProgress     = OleGuid(0x0002031F);
inline constexpr IID IID_IMAPIProp         = OleGuid(0x00020303);
inline constexpr IID IID_IMAPIPropData     = OleGuid(0x0002031A);
inline constexpr IID IID_IMAPISession      = OleGuid(0x00020300);
inline constexpr IID IID_IMAPIStatus       = OleGuid(0x00020305);
inline constexpr IID IID_IMAPITable        = OleGuid(0x00020301);
inline constexpr IID IID_IMAPITableData    = OleGuid(0x00020316);
inline constexpr IID IID_IMessage          = OleGuid(0x00020307);
inline constexpr IID IID_IMsgServiceAdmin  = OleGuid(0x0002031D);
inline constexpr IID IID_IMsgServiceAdmin2 = OleGuid(0x00020387);
inline constexpr IID IID_IMsgStore         = OleGuid(0x00020306);
inline constexpr IID IID_IProfAdmin        = OleGuid(0x0002031C);
inline constexpr IID IID_IProfSect         = OleGuid(0x00020304);
inline constexpr IID IID_IProviderAdmin    = OleGuid(0x00020325);
inline constexpr IID IID_IStreamDocfile    = OleGuid(0x0002032C);
inline constexpr IID IID_IStreamTnef       = OleGuid(0x00020330);
inline constexpr IID IID_ITNEF             = OleGuid(0x00020319);

// Forms.
inline constexpr IID IID_IEnumMAPIFormProp   = OleGuid(0x00020323);
inline constexpr IID IID_IMAPIForm           = OleGuid(0x00020327);
inline constexpr IID IID_IMAPIFormAdviseSink = OleGuid(0x0002032F);
inline constexpr IID IID_IMAPIFormContainer  = OleGuid(0x0002032E);
inline constexpr IID IID_IMAPIFormFactory    = OleGuid(0x00020350);
inline constexpr IID IID_IMAPIFormInfo       = OleGuid(0x00020324);
inline constexpr IID IID_IMAPIFormMgr        = OleGuid(0x00020322);
inline constexpr IID IID_IMAPIFormProp       = OleGuid(0x0002032D);
inline constexpr IID IID_IMAPIMessageSite    = OleGuid(0x00020370);
inline constexpr IID IID_IMAPIViewAdviseSink = OleGuid(0x0002032B);
inline constexpr IID IID_IMAPIViewContext    = OleGuid(0x00020321);
inline constexpr IID IID_IPersistMessage     = OleGuid(0x0002032A);

// Service provider interfaces.
inline constexpr IID IID_IABLogon            = OleGuid(0x00020314);
inline constexpr IID IID_IABProvider         = OleGuid(0x00020311);
inline constexpr IID IID_IMAPISpoolerInit    = OleGuid(0x00020317);
inline constexpr IID IID_IMAPISpoolerService = OleGuid(0x0002031E);
inline constexpr IID IID_IMAPISpoolerSession = OleGuid(0x00020318);
inline constexpr IID IID_IMAPISup            = OleGuid(0x0002030F);
inline constexpr IID IID_IMSLogon            = OleGuid(0x00020313);
inline constexpr IID IID_IMSProvider         = OleGuid(0x00020310);
inline constexpr IID IID_ISpoolerHook        = OleGuid(0x00020320);
inline constexpr IID IID_IXPLogon            = OleGuid(0x00020315);
inline constexpr IID IID_IXPProvider         = OleGuid(0x00020312);

// Auxiliary interfaces.
inline constexpr IID IID_IAttachmentSecurity       = MakeGuid(0xB2533636, 0xC3F3, 0x416F, 0xBF04, 0xAEFE41ABAAE2);
inline constexpr IID IID_IContabAdmin              = MakeGuid(0xCC6A3BA9, 0xE7F5, 0x4769, 0x887B, 0x34E190817BFC);
inline constexpr IID IID_IFolderSupport            = MakeGuid(0x00375AC3, 0xECAF, 0x4EF8, 0xA527, 0x34F452FA9C67);
inline constexpr IID IID_IMAPIClientShutdown       = OleGuid(0x00020397);
inline constexpr IID IID_IMAPIFolderNoProvChk      = MakeGuid(0x57D333A0, 0xF589, 0x4B23, 0xA3F9, 0x85F82FEC153C);
inline constexpr IID IID_IMAPIGetSession           = MakeGuid(0x614AB435, 0x491D, 0x4F5B, 0xA8B4, 0x60EB031030C6);
inline constexpr IID IID_IMAPIOffline              = OleGuid(0x000672B5);
inline constexpr IID IID_IMAPIOfflineMgr           = MakeGuid(0x42175607, 0xFF3E, 0x4790, 0xBC18, 0x66C8643E6424);
inline constexpr IID IID_IMAPIOfflineNotify        = MakeGuid(0x0317BDE5, 0xFC29, 0x44CD, 0x8DCD, 0x36125A3BE9EC);
inline constexpr IID IID_IMAPIProviderShutdown     = OleGuid(0x00020398);
inline constexpr IID IID_IMAPISecureMessage        = MakeGuid(0x253CC320, 0xEAB6, 0x11D0, 0x8222, 0x0060979387EA);
inline constexpr IID IID_IMAPISync                 = MakeGuid(0x5024A385, 0x2D44, 0x486A, 0x81A8, 0x8F0ECB6071DD);
inline constexpr IID IID_IMAPISyncProgressCallback = MakeGuid(0x5024A386, 0x2D44, 0x486A, 0x81A8, 0x8F0ECB6071DD);
inline constexpr IID IID_IMessageNoProvChk         = MakeGuid(0xC3505457, 0x7B2E, 0x4C3B, 0xA8D6, 0x6DD949BB97A1);
inline constexpr IID IID_IMessageRaw               = OleGuid(0x0002038A);
inline constexpr IID IID_IMSCapabilities           = OleGuid(0x00020393);
inline constexpr IID IID_IProxyStoreObject         = MakeGuid(0x29F3AB10, 0x554D, 0x11D0, 0xA97C, 0x00A0C911F50A);

// MIME converter.
inline constexpr IID IID_IConverterSession   = MakeGuid(0x4B401570, 0xB77B, 0x11D0, 0x9DA5, 0x00C04FD65685);
inline constexpr CLSID CLSID_IConverterSession = MakeGuid(0x4E3A7680, 0xB77A, 0x11D0, 0x9DA5, 0x00C04FD65685);

// Account manager.
inline constexpr IID IID_IOlkAccount         = MakeGuid(0x9240A6D2, 0xAF41, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr IID IID_IOlkAccountHelper   = MakeGuid(0x9240A6CB, 0xAF41, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr IID IID_IOlkAccountManager  = MakeGuid(0x9240A6CD, 0xAF41, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr IID IID_IOlkAccountNotify   = MakeGuid(0x9240A6C3, 0xAF41, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr IID IID_IOlkEnum            = MakeGuid(0x9240A6C1, 0xAF41, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr IID IID_IOlkErrorUnknown    = MakeGuid(0x9240A6C0, 0xAF41, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr CLSID CLSID_OlkAccountManager = MakeGuid(0xED475410, 0xB0D6, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr CLSID CLSID_OlkAddressBook    = MakeGuid(0xED475419, 0xB0D6, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr CLSID CLSID_OlkHotmailAccount = MakeGuid(0x4DB5CBF0, 0x3B77, 0x4852, 0xBC8E, 0xBB81908861F3);
inline constexpr CLSID CLSID_OlkIMAP4Account   = MakeGuid(0xED475412, 0xB0D6, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr CLSID CLSID_OlkLDAPAccount    = MakeGuid(0x4DB5CBF2, 0x3B77, 0x4852, 0xBC8E, 0xBB81908861F3);
inline constexpr CLSID CLSID_OlkMail           = MakeGuid(0xED475418, 0xB0D6, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr CLSID CLSID_OlkMAPIAccount    = MakeGuid(0xED475414, 0xB0D6, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr CLSID CLSID_OlkPOP3Account    = MakeGuid(0xED475411, 0xB0D6, 0x11D2, 0x8C3B, 0x00104B2A6676);
inline constexpr CLSID CLSID_OlkStore          = MakeGuid(0xED475420, 0xB0D6, 0x11D2, 0x8C3B, 0x00104B2A6676);

// Classes of folders and messages (PR_FOLDER_TYPE, storages on disk).
inline constexpr CLSID CLSID_CalendarFolder = OleGuid(0x00067802);
inline constexpr CLSID CLSID_ContactFolder  = OleGuid(0x00067801);
inline constexpr CLSID CLSID_JournalFolder  = OleGuid(0x00067808);
inline constexpr CLSID CLSID_MailFolder     = OleGuid(0x00067800);
inline constexpr CLSID CLSID_MailMessage    = OleGuid(0x00020D0B);
inline constexpr CLSID CLSID_NoteFolder     = OleGuid(0x00067804);
inline constexpr CLSID CLSID_TaskFolder     = OleGuid(0x00067803);

// Property sets.
inline constexpr GUID GUID_PKMDocSummaryInformation = MakeGuid(0xD5CDD502, 0x2E9C, 0x101B, 0x9397, 0x08002B2CF9AE);
inline constexpr GUID PS_INTERNET_HEADERS           = OleGuid(0x00020386);
inline constexpr GUID PS_MAPI                       = OleGuid(0x00020328);
inline constexpr GUID PS_PUBLIC_STRINGS             = OleGuid(0x00020329);
inline constexpr GUID PS_ROUTING_ADDRTYPE           = OleGuid(0x00020381);
inline constexpr GUID PS_ROUTING_DISPLAY_NAME       = OleGuid(0x00020382);
inline constexpr GUID PS_ROUTING_EMAIL_ADDRESSES    = OleGuid(0x00020380);
inline constexpr GUID PS_ROUTING_ENTRYID            = OleGuid(0x00020383);
inline constexpr GUID PS_ROUTING_SEARCH_KEY         = OleGuid(0x00020384);
inline constexpr GUID PSETID_Address                = OleGuid(0x00062004);
inline constexpr GUID PSETID_AirSync                = MakeGuid(0x71035549, 0x0739, 0x4DCB, 0x9163, 0x00F0580DBBDF);
inline constexpr GUID PSETID_Appointment            = OleGuid(0x00062002);
inline constexpr GUID PSETID_Attachment             = MakeGuid(0x96357F7F, 0x59E1, 0x47D0, 0x99A7, 0x46515C183B54);
inline constexpr GUID PSETID_CalendarAssistant      = MakeGuid(0x11000E07, 0xB51B, 0x40D6, 0xAF21, 0xCAA85EDAB1D0);
inline constexpr GUID PSETID_Common                 = OleGuid(0x00062008);
inline constexpr GUID PSETID_InternetHeaders        = OleGuid(0x00020386);
inline constexpr GUID PSETID_Log                    = OleGuid(0x0006200A);
inline constexpr GUID PSETID_MAPI                   = OleGuid(0x00020328);
inline constexpr GUID PSETID_Meeting                = MakeGuid(0x6ED8DA90, 0x450B, 0x101B, 0x98DA, 0x00AA003F1305);
inline constexpr GUID PSETID_Messaging              = MakeGuid(0x41F28F13, 0x83F4, 0x4114, 0xA584, 0xEEDB5A6B0BFF);
inline constexpr GUID PSETID_Note                   = OleGuid(0x0006200E);
inline constexpr GUID PSETID_PostRss                = OleGuid(0x00062041);
inline constexpr GUID PSETID_PublicStrings          = OleGuid(0x00020329);
inline constexpr GUID PSETID_Remote                 = OleGuid(0x00062014);
inline constexpr GUID PSETID_Report                 = OleGuid(0x00062013);
inline constexpr GUID PSETID_Sharing                = OleGuid(0x00062040);
inline constexpr GUID PSETID_Task                   = OleGuid(0x00062003);
inline constexpr GUID PSETID_UnifiedMessaging       = MakeGuid(0x4442858E, 0xA9E3, 0x4E80, 0xB900, 0x317A210CC15B);
inline constexpr GUID PSETID_XmlExtractedEntities   = MakeGuid(0x23239608, 0x685D, 0x4732, 0x9C55, 0x4C95CB4E8E33);
inline constexpr GUID SETID_AirSync                 = MakeGuid(0x71035549, 0x0739, 0x4DCB, 0x9163, 0x00F0580DBBDF);

// Profile sections.
inline constexpr MAPIUID MUID_CAPONE_PROFILE_SECTION = MakeUid(0x0A0D020000000000, 0xC000000000000046);
inline constexpr MAPIUID MUID_PROFILE_INSTANCE       = MakeUid(0x8503020000000000, 0xC000000000000046);
inline constexpr MAPIUID pbGlobalProfileSectionGuid  = MakeUid(0x13DBB0C8AA05101A, 0x9BB000AA002FC45A);
inline constexpr MAPIUID PS_PROFILE_PROPERTIES       = MakeUid(0x9815AC08AAB0101A, 0x8C9308002B2A56C2);

// Providers.
inline constexpr MAPIUID MAPI_ONE_OFF_UID   = MakeUid(0x812B1FA4BEA31019, 0x9D6E00DD010F5402);
inline constexpr MAPIUID MSPST_UID_PROVIDER = MakeUid(0x4E495441F9BFB801, 0x00AA0037D96E0000);
inline constexpr MAPIUID MUIDCONTAB         = MakeUid(0xFE42AA0A18C71A10, 0xE8850B651C240000);
inline constexpr MAPIUID MUIDSTOREWRAP      = MakeUid(0x38A1BB1005E5101A, 0xA1BB08002B2A56C2);
inline constexpr MAPIUID MUIDWRAPPEDCONTACT = MakeUid(0xC091ADD3519DCF11, 0xA4A900AA0047FAA4);

// First bytes of the global object identifier of a meeting.
inline constexpr BYTE MEETING_GLOBAL_OBJECT_ID_PREFIX[16] = {
    0x04, 0x00, 0x00, 0x00, 0x82, 0x00, 0xE0, 0x00,
    0x74, 0xC5, 0xB7, 0x10, 0x1A, 0x82, 0xE0, 0x08};

// MAPI_ONE_OFF_UID as it appears, after the flag bytes, in the text form of a one-off entry identifier.
inline constexpr char16_t sMAPI_ONE_OFF_UID[] = u"812B1FA4BEA310199D6E00DD010F5402";
// clang-format on

} // namespace mapi

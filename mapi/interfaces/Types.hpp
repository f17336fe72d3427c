// The values and enumerations that the interfaces speak in, and the names of those that know each other.
#pragma once

#include "mapi/headers/uKwMAPIdefsH.hpp"
#include "support/uKwRef.hpp"
#include "support/uKwVariant.hpp"

namespace deftmapi
{

/// A property definition: 1 to 4866 predefined, then those that the application registers; 0 is never valid.
using TKwMAPIPropDef = std::uint64_t;
struct TKwMAPIPropInfo;

/// Null, or the bytes of an entry identifier. See mapi/core/uKwMAPIEntryID.hpp.
using TKwMAPIEntryID = TKwVariant;

/// One bit per special folder, see TKwMAPIFolderTypeBits.
using TKwMAPIFolderType = std::uint32_t;
/// Any of those bits.
using TKwMAPIFolderTypes = TKwMAPIFolderType;

/// What a provider says of a failure beyond its code.
struct TKwMAPIError
{
    WideString Error;     ///< the provider's text
    WideString Component; ///< who reported it
    std::int32_t LowLevelError = 0;
    std::int32_t Context = 0;
};

// Enumerations: element names and ordinals are part of the interface.

enum TKwMAPIAccessLevel : std::int32_t
{
    alReadOnly,
    alReadWrite,
    alBestAccess
};

enum TKwMAPIObjectType : std::int32_t
{
    otUnknown,
    otMessageStore,
    otAddressBook,
    otFolder,
    otAddressbookContainer,
    otMessage,
    otRecipient,
    otAttachment,
    otDistributionList,
    otProfileSection,
    otStatus,
    otSession,
    otFormInfo
};

/// Kinds of rows in the status table; the values are MAPI's (PR_RESOURCE_TYPE).
enum TKwMAPIResourceType : std::int32_t
{
    mrtStore = 33,
    mrtAddressBook = 34,
    mrtAddressBookProvider = 35,
    mrtTransport = 36,
    mrtSpooler = 37,
    mrtProfile = 38,
    mrtSubsystem = 39,
    mrtHook = 40
};

enum TKwMAPIContainerType : std::int32_t
{
    ctUnknown,
    ctFolder,
    ctABContainer,
    ctDistList
};

enum TKwMAPIRecipientType : std::int32_t
{
    rtOrig,
    rtTo,
    rtCC,
    rtBCC
};

enum TKwMAPIBodyFormat : std::int32_t
{
    fmtUnspecified,
    fmtPlainText,
    fmtHTML,
    fmtRichText
};

/// What SaveChanges leaves the object open for; the values are not the platform's flags (those are in the comments).
enum TKwMAPISaveMethod : std::int32_t
{
    smClose,         ///< no flag: the object is not used any more
    smKeepReadOnly,  ///< KEEP_OPEN_READONLY
    smKeepReadWrite, ///< KEEP_OPEN_READWRITE
    smForceSave      ///< FORCE_SAVE and KEEP_OPEN_READWRITE: overwrites changes made by others meanwhile
};

/// Equal to BOOKMARK_BEGINNING, BOOKMARK_CURRENT and BOOKMARK_END.
enum TKwMapiTableBookmark : std::int32_t
{
    tbkBeginning,
    tbkCurrentRelative,
    tbkEnd
};

enum TKwMAPICursorType : std::int32_t
{
    ctOpenForwardOnly,
    ctDynamic
};

/// Equal to the platform's kinds of restrictions, RES_AND to RES_SUBRESTRICTION.
enum TKwMAPIRestrictionType : std::int32_t
{
    rtAnd,
    rtOr,
    rtNot,
    rtContent,
    rtProperty,
    rtCompareProps,
    rtBitmask,
    rtSize,
    rtExists,
    rtSub
};

/// Equal to RELOP_LT to RELOP_RE.
enum TKwMAPIOperator : std::int32_t
{
    oSmallerThan,
    oSmallerOrEqual,
    oGreaterThan,
    oGreaterOrEqual,
    oEqual,
    oNotEqual,
    oLike ///< a regular expression; few clients can
};

/// Equal to BMR_EQZ and BMR_NEZ.
enum TKwMAPIBitmaskOperator : std::int32_t
{
    bmoEqualsZero,
    bmoNotZero
};

/// Equal to FL_FULLSTRING, FL_SUBSTRING and FL_PREFIX.
enum TKwMAPIStringMatchType : std::int32_t
{
    smtFullString,
    smtSubString,
    smtPrefix
};

enum TKwMAPIRestrictionSubObjectType : std::int32_t
{
    rsotRecipients,
    rsotAttachments
};

/// The special folders of a store. ftPlain is a folder of no special kind.
enum TKwMAPIFolderTypeBits : TKwMAPIFolderType
{
    ftPlain = 0x1,
    ftInbox = 0x2,
    ftOutbox = 0x4,
    ftDeleted = 0x8,
    ftSentItems = 0x10,
    ftIPMRoot = 0x20,
    ftSearch = 0x40,
    ftCommon = 0x80,
    ftPersonal = 0x100,
    ftContact = 0x200,
    ftAppointment = 0x400,
    ftJournal = 0x800,
    ftStickyNote = 0x1000,
    ftTask = 0x2000,
    ftDraft = 0x4000,
    ftSyncIssues = 0x8000,
    ftJunkFolder = 0x10000
};

/// What a store is on an Exchange server, by its provider (PR_MDB_PROVIDER).
enum TKwMAPIExchangeType : std::int32_t
{
    etNone,           ///< not a store of Exchange
    etPrimaryMailbox, ///< the mailbox of the profile's user
    etOtherMailbox,   ///< another user's mailbox
    etPublicFolders
};

class IKwMAPIAdminServices;
class IKwMAPIEntryIDList;
class IKwMAPIFolder;
class IKwMAPIMemoryTable;
class IKwMAPIMessage;
class IKwMAPIMsgStore;
class IKwMAPIOOF;
class IKwMAPIProfileAdmin;
class IKwMAPIProfSect;
class IKwMAPIProp;
class IKwMAPIPropList;
class IKwMAPIPropValueList;
class IKwMAPISession;
class IKwMAPISessionBase;
class IKwMAPIStatusTable;
class IKwMAPITable;
class IKwMAPIValueList;
class IKwMAPIWrapper;

// The owners of MAPI memory that results come in; mapi/core/uKwMAPIMemory.hpp defines them.
template <typename T, void (*Free)(IKwMAPIWrapper*, T*) noexcept>
class TKwMAPIOwner;
template <typename T>
void KwFreeMAPIBufferOf(IKwMAPIWrapper* wrapper, T* buffer) noexcept;
/// One block; what was allocated with AllocateMore on it goes with it.
template <typename T>
using TKwMAPIBuffer = TKwMAPIOwner<T, &KwFreeMAPIBufferOf<T>>;

} // namespace deftmapi

// The structures of MAPI calls: property values, rows, recipients, restrictions, sort orders, notifications, dialogs.
// A last field of one element stands for any number of them: allocate offset + count x element size.
#pragma once

#include "mapi/headers/uKwMAPIForwardH.hpp"
#include "mapi/headers/uKwMAPITypesH.hpp"

namespace mapi
{

// Entry identifiers.

/// Four flag bytes, then bytes that only the provider understands. The size is kept apart.
struct ENTRYID
{
    BYTE abFlags[4];
    BYTE ab[1];
};
using LPENTRYID = ENTRYID*;

/// An entry identifier preceded by its size.
struct FLATENTRY
{
    ULONG cb;
    BYTE abEntry[1];
};
using LPFLATENTRY = FLATENTRY*;

/// FLATENTRY structures one after the other, each padded to four bytes.
struct FLATENTRYLIST
{
    ULONG cEntries;
    ULONG cbEntries;
    BYTE abEntries[1];
};
using LPFLATENTRYLIST = FLATENTRYLIST*;

// Multi-valued and binary values: a count and a pointer to the first element.

/// A byte string of cb bytes.
struct SBinary
{
    ULONG cb;
    LPBYTE lpb;
};
using LPSBinary = SBinary*;

struct SShortArray
{
    ULONG cValues;
    std::int16_t* lpi;
};
using LPSShortArray = SShortArray*;

struct SLongArray
{
    ULONG cValues;
    LONG* lpl;
};
using LPSLongArray = SLongArray*;

struct SRealArray
{
    ULONG cValues;
    float* lpflt;
};
using LPSRealArray = SRealArray*;

struct SDoubleArray
{
    ULONG cValues;
    double* lpdbl;
};
using LPSDoubleArray = SDoubleArray*;

struct SCurrencyArray
{
    ULONG cValues;
    CURRENCY* lpcur;
};
using LPSCurrencyArray = SCurrencyArray*;

struct SAppTimeArray
{
    ULONG cValues;
    double* lpat;
};
using LPSAppTimeArray = SAppTimeArray*;

struct SDateTimeArray
{
    ULONG cValues;
    FILETIME* lpft;
};
using LPSDateTimeArray = SDateTimeArray*;

struct SBinaryArray
{
    ULONG cValues;
    SBinary* lpbin;
};
using LPSBinaryArray = SBinaryArray*;

struct SLPSTRArray
{
    ULONG cValues;
    LPSTR* lppszA;
};
using LPSLPSTRArray = SLPSTRArray*;

struct SWStringArray
{
    ULONG cValues;
    LPWSTR* lppszW;
};
using LPSWStringArray = SWStringArray*;

struct SGuidArray
{
    ULONG cValues;
    GUID* lpguid;
};
using LPSGuidArray = SGuidArray*;

struct SLargeIntegerArray
{
    ULONG cValues;
    LARGE_INTEGER* lpli;
};
using LPSLargeIntegerArray = SLargeIntegerArray*;

/// A list of entry identifiers is an array of binary values.
using ENTRYLIST = SBinaryArray;
using LPENTRYLIST = ENTRYLIST*;

// Properties.

/// Open-ended: cValues tags follow.
struct SPropTagArray
{
    ULONG cValues;
    ULONG aulPropTag[1];
};
using LPSPropTagArray = SPropTagArray*;

/// The value part of a property; the property type says which member counts.
union UPV
{
    std::int16_t i;
    LONG l;
    ULONG ul;
    LPVOID lpv;
    float flt;
    double dbl;
    WORD b;
    CURRENCY cur;
    double at;
    FILETIME ft;
    LPSTR lpszA;
    SBinary bin;
    LPWSTR lpszW;
    LPGUID lpguid;
    LARGE_INTEGER li;
    SShortArray MVi;
    SLongArray MVl;
    SRealArray MVflt;
    SDoubleArray MVdbl;
    SCurrencyArray MVcur;
    SAppTimeArray MVat;
    SDateTimeArray MVft;
    SBinaryArray MVbin;
    SLPSTRArray MVszA;
    SWStringArray MVszW;
    SGuidArray MVguid;
    SLargeIntegerArray MVli;
    SCODE err;
    LONG x;
};

/// One property: tag and value.
struct SPropValue
{
    ULONG ulPropTag;
    ULONG dwAlignPad;
    UPV Value;
};
using LPSPropValue = SPropValue*;

/// Why one property of a call failed; ulIndex counts in the array that the caller passed.
struct SPropProblem
{
    ULONG ulIndex;
    ULONG ulPropTag;
    SCODE scode;
};
using LPSPropProblem = SPropProblem*;

/// Open-ended: cProblem problems follow.
struct SPropProblemArray
{
    ULONG cProblem;
    SPropProblem aProblem[1];
};
using LPSPropProblemArray = SPropProblemArray*;

/// A property name: property set and either number or text.
struct MAPINAMEID
{
    LPGUID lpguid;
    ULONG ulKind;
    union
    {
        LONG_PTR lID_Reserved;
        LONG lID;
        LPWSTR lpwstrName;
    } Kind;
};
using LPMAPINAMEID = MAPINAMEID*;

/// A provider's own error text; MAPI_UNICODE in the call decides the width of both texts.
struct MAPIERROR
{
    ULONG ulVersion;
    LPTSTR lpszError;
    LPTSTR lpszComponent;
    ULONG ulLowLevelError;
    ULONG ulContext;
};
using LPMAPIERROR = MAPIERROR*;

/// Open-ended: cValues attribute words (PROPATTR_...) follow.
struct SPropAttrArray
{
    ULONG cValues;
    ULONG aPropAttr[1];
};
using LPSPropAttrArray = SPropAttrArray*;

// Rows and recipients.

/// One row of a table.
struct SRow
{
    ULONG ulAdrEntryPad;
    ULONG cValues;
    LPSPropValue lpProps;
};
using LPSRow = SRow*;

/// Open-ended: cRows rows follow. Each property array is an allocation of its own.
struct SRowSet
{
    ULONG cRows;
    SRow aRow[1];
};
using LPSRowSet = SRowSet*;

/// One recipient. Laid out like SRow, so that rows and recipients can be exchanged.
struct ADRENTRY
{
    ULONG ulReserved1;
    ULONG cValues;
    LPSPropValue rgPropVals;
};
using LPADRENTRY = ADRENTRY*;

/// Open-ended: cEntries recipients follow. Each property array is an allocation of its own.
struct ADRLIST
{
    ULONG cEntries;
    ADRENTRY aEntries[1];
};
using LPADRLIST = ADRLIST*;

/// Open-ended: cFlags resolve states follow.
struct FlagList
{
    ULONG cFlags;
    ULONG ulFlag[1];
};
using LPFlagList = FlagList*;

struct SSortOrder
{
    ULONG ulPropTag;
    ULONG ulOrder;
};
using LPSSortOrder = SSortOrder*;

/// Open-ended: cSorts orders follow, the first cCategories of them categories.
struct SSortOrderSet
{
    ULONG cSorts;
    ULONG cCategories;
    ULONG cExpanded;
    SSortOrder aSort[1];
};
using LPSSortOrderSet = SSortOrderSet*;

struct SRestriction;
using LPSRestriction = SRestriction*;

// The kinds of restriction.

struct SAndRestriction
{
    ULONG cRes;
    LPSRestriction lpRes;
};
using LPSAndRestriction = SAndRestriction*;

struct SOrRestriction
{
    ULONG cRes;
    LPSRestriction lpRes;
};
using LPSOrRestriction = SOrRestriction*;

struct SNotRestriction
{
    ULONG ulReserved;
    LPSRestriction lpRes;
};
using LPSNotRestriction = SNotRestriction*;

struct SContentRestriction
{
    ULONG ulFuzzyLevel;
    ULONG ulPropTag;
    LPSPropValue lpProp;
};
using LPSContentRestriction = SContentRestriction*;

struct SBitMaskRestriction
{
    ULONG relBMR;
    ULONG ulPropTag;
    ULONG ulMask;
};
using LPSBitMaskRestriction = SBitMaskRestriction*;

struct SPropertyRestriction
{
    ULONG relop;
    ULONG ulPropTag;
    LPSPropValue lpProp;
};
using LPSPropertyRestriction = SPropertyRestriction*;

struct SComparePropsRestriction
{
    ULONG relop;
    ULONG ulPropTag1;
    ULONG ulPropTag2;
};
using LPSComparePropsRestriction = SComparePropsRestriction*;

struct SSizeRestriction
{
    ULONG relop;
    ULONG ulPropTag;
    ULONG cb;
};
using LPSSizeRestriction = SSizeRestriction*;

struct SExistRestriction
{
    ULONG ulReserved1;
    ULONG ulPropTag;
    ULONG ulReserved2;
};
using LPSExistRestriction = SExistRestriction*;

struct SSubRestriction
{
    ULONG ulSubObject;
    LPSRestriction lpRes;
};
using LPSSubRestriction = SSubRestriction*;

struct SCommentRestriction
{
    ULONG cValues;
    LPSRestriction lpRes;
    LPSPropValue lpProp;
};
using LPSCommentRestriction = SCommentRestriction*;

struct SAnnotationRestriction
{
    ULONG cValues;
    LPSRestriction lpRes;
    LPSPropValue lpProp;
};
using LPSAnnotationRestriction = SAnnotationRestriction*;

struct SCountRestriction
{
    ULONG ulCount;
    LPSRestriction lpRes;
};
using LPSCountRestriction = SCountRestriction*;

/// A filter expression; rt says which member of res counts.
struct SRestriction
{
    ULONG rt;
    union
    {
        SComparePropsRestriction resCompareProps;
        SAndRestriction resAnd;
        SOrRestriction resOr;
        SNotRestriction resNot;
        SContentRestriction resContent;
        SPropertyRestriction resProperty;
        SBitMaskRestriction resBitMask;
        SSizeRestriction resSize;
        SExistRestriction resExist;
        SSubRestriction resSub;
        SCommentRestriction resComment;
        SAnnotationRestriction resAnnotation;
        SCountRestriction resCount;
    } res;
};

// The kinds of notification.

struct ERROR_NOTIFICATION
{
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    SCODE scode;
    ULONG ulFlags;
    LPMAPIERROR lpMAPIError;
};
using LPERROR_NOTIFICATION = ERROR_NOTIFICATION*;

struct NEWMAIL_NOTIFICATION
{
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    ULONG cbParentID;
    LPENTRYID lpParentID;
    ULONG ulFlags;
    LPTSTR lpszMessageClass;
    ULONG ulMessageFlags;
};
using LPNEWMAIL_NOTIFICATION = NEWMAIL_NOTIFICATION*;

struct OBJECT_NOTIFICATION
{
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    ULONG ulObjType;
    ULONG cbParentID;
    LPENTRYID lpParentID;
    ULONG cbOldID;
    LPENTRYID lpOldID;
    ULONG cbOldParentID;
    LPENTRYID lpOldParentID;
    LPSPropTagArray lpPropTagArray;
};
using LPOBJECT_NOTIFICATION = OBJECT_NOTIFICATION*;

/// propIndex is the instance key of the row, propPrior that of the row before it (PR_NULL: the first).
struct TABLE_NOTIFICATION
{
    ULONG ulTableEvent;
    HRESULT hResult;
    SPropValue propIndex;
    SPropValue propPrior;
    SRow row;
    ULONG ulPad;
};
using LPTABLE_NOTIFICATION = TABLE_NOTIFICATION*;

struct EXTENDED_NOTIFICATION
{
    ULONG ulEvent;
    ULONG cb;
    LPBYTE pbEventParameters;
};
using LPEXTENDED_NOTIFICATION = EXTENDED_NOTIFICATION*;

struct STATUS_OBJECT_NOTIFICATION
{
    ULONG cbEntryID;
    LPENTRYID lpEntryID;
    ULONG cValues;
    LPSPropValue lpPropVals;
};
using LPSTATUS_OBJECT_NOTIFICATION = STATUS_OBJECT_NOTIFICATION*;

/// One event; ulEventType says which member of info counts.
struct NOTIFICATION
{
    ULONG ulEventType;
    ULONG ulAlignPad;
    union
    {
        ERROR_NOTIFICATION err;
        NEWMAIL_NOTIFICATION newmail;
        OBJECT_NOTIFICATION obj;
        TABLE_NOTIFICATION tab;
        EXTENDED_NOTIFICATION ext;
        STATUS_OBJECT_NOTIFICATION statobj;
    } info;
};
using LPNOTIFICATION = NOTIFICATION*;

/// Open-ended: cb bytes follow.
struct NOTIFKEY
{
    ULONG cb;
    BYTE ab[1];
};
using LPNOTIFKEY = NOTIFKEY*;

// Memory functions, passed to functions that allocate on behalf of the caller. Their blocks form groups: freeing the
// first frees all that were allocated with ALLOCATEMORE for it.
/// Allocates a block.
using ALLOCATEBUFFER = SCODE DEFTMAPI_STDCALL(ULONG cbSize, LPVOID* lppBuffer);
using LPALLOCATEBUFFER = ALLOCATEBUFFER*;

/// Allocates a block that is freed together with lpObject.
using ALLOCATEMORE = SCODE DEFTMAPI_STDCALL(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
using LPALLOCATEMORE = ALLOCATEMORE*;

/// Frees a block and all blocks linked to it.
using FREEBUFFER = ULONG DEFTMAPI_STDCALL(LPVOID lpBuffer);
using LPFREEBUFFER = FREEBUFFER*;

/// Receives notifications.
using NOTIFCALLBACK = LONG DEFTMAPI_STDCALL(LPVOID lpvContext, ULONG cNotification, LPNOTIFICATION lpNotifications);
using LPNOTIFCALLBACK = NOTIFCALLBACK*;

/// Called when a view of a memory table is released.
using CALLERRELEASE = void DEFTMAPI_STDCALL(ULONG_PTR ulCallerData, LPTABLEDATA lpTblData, LPMAPITABLE lpVue);

/// Called when a message on a storage is released.
using MSGCALLRELEASE = void DEFTMAPI_STDCALL(ULONG ulCallerData, LPMESSAGE lpMessage);

/// Keyboard accelerators of a modeless address dialog.
using ACCELERATEABSDI = BOOL DEFTMAPI_STDCALL(ULONG_PTR ulUIParam, LPVOID lpvmsg);
using LPFNABSDI = ACCELERATEABSDI*;

/// Called when a modeless address dialog closes.
using DISMISSMODELESS = void DEFTMAPI_STDCALL(ULONG_PTR ulUIParam, LPVOID lpvContext);
using LPFNDISMISS = DISMISSMODELESS*;

/// Called for the extra button of a details dialog.
using LPFNBUTTON = SCODE(DEFTMAPI_STDCALL*)(ULONG_PTR ulUIParam, LPVOID lpvContext, ULONG cbEntryID,
                                            LPENTRYID lpSelection, ULONG ulFlags);

/// What the address dialog shows and returns.
struct ADRPARM
{
    ULONG cbABContEntryID;
    LPENTRYID lpABContEntryID;
    ULONG ulFlags;
    LPVOID lpReserved;
    ULONG ulHelpContext;
    LPTSTR lpszHelpFileName;
    LPFNABSDI lpfnABSDI;
    LPFNDISMISS lpfnDismiss;
    LPVOID lpvDismissContext;
    LPTSTR lpszCaption;
    LPTSTR lpszNewEntryTitle;
    LPTSTR lpszDestWellsTitle;
    ULONG cDestFields;
    ULONG nDestFieldFocus;
    LPTSTR* lppszDestTitles;
    ULONG* lpulDestComps;
    LPSRestriction lpContRestriction;
    LPSRestriction lpHierRestriction;
};
using LPADRPARM = ADRPARM*;

// Display table controls. Offsets to texts (ulbLpsz...) count from the start of the structure.

struct DTBLLABEL
{
    ULONG ulbLpszLabelName;
    ULONG ulFlags;
};
using LPDTBLLABEL = DTBLLABEL*;

struct DTBLEDIT
{
    ULONG ulbLpszCharsAllowed;
    ULONG ulFlags;
    ULONG ulNumCharsAllowed;
    ULONG ulPropTag;
};
using LPDTBLEDIT = DTBLEDIT*;

struct DTBLLBX
{
    ULONG ulFlags;
    ULONG ulPRSetProperty;
    ULONG ulPRTableName;
};
using LPDTBLLBX = DTBLLBX*;

struct DTBLCOMBOBOX
{
    ULONG ulbLpszCharsAllowed;
    ULONG ulFlags;
    ULONG ulNumCharsAllowed;
    ULONG ulPRPropertyName;
    ULONG ulPRTableName;
};
using LPDTBLCOMBOBOX = DTBLCOMBOBOX*;

struct DTBLDDLBX
{
    ULONG ulFlags;
    ULONG ulPRDisplayProperty;
    ULONG ulPRSetProperty;
    ULONG ulPRTableName;
};
using LPDTBLDDLBX = DTBLDDLBX*;

struct DTBLCHECKBOX
{
    ULONG ulbLpszLabel;
    ULONG ulFlags;
    ULONG ulPRPropertyName;
};
using LPDTBLCHECKBOX = DTBLCHECKBOX*;

struct DTBLGROUPBOX
{
    ULONG ulbLpszLabel;
    ULONG ulFlags;
};
using LPDTBLGROUPBOX = DTBLGROUPBOX*;

struct DTBLBUTTON
{
    ULONG ulbLpszLabel;
    ULONG ulFlags;
    ULONG ulPRControl;
};
using LPDTBLBUTTON = DTBLBUTTON*;

struct DTBLPAGE
{
    ULONG ulbLpszLabel;
    ULONG ulFlags;
    ULONG ulbLpszComponent;
    ULONG ulContext;
};
using LPDTBLPAGE = DTBLPAGE*;

struct DTBLRADIOBUTTON
{
    ULONG ulbLpszLabel;
    ULONG ulFlags;
    ULONG ulcButtons;
    ULONG ulPropTag;
    LONG lReturnValue;
};
using LPDTBLRADIOBUTTON = DTBLRADIOBUTTON*;

struct DTBLMVLISTBOX
{
    ULONG ulFlags;
    ULONG ulMVPropTag;
};
using LPDTBLMVLISTBOX = DTBLMVLISTBOX*;

struct DTBLMVDDLBX
{
    ULONG ulFlags;
    ULONG ulMVPropTag;
};
using LPDTBLMVDDLBX = DTBLMVDDLBX*;

// Initialisation, transport options and the RTF stream wrapper.

/// Options of MAPIInitialize.
struct MAPIINIT_0
{
    ULONG ulVersion;
    ULONG ulFlags;
};
using LPMAPIINIT_0 = MAPIINIT_0*;

/// Options that a transport registers for a kind of recipient or message.
struct OPTIONDATA
{
    ULONG ulFlags;
    LPGUID lpRecipGUID;
    LPTSTR lpszAdrType;
    LPTSTR lpszDLLName;
    ULONG ulOrdinal;
    ULONG cbOptionsData;
    LPBYTE lpbOptionsData;
    ULONG cOptionsProps;
    LPSPropValue lpOptionsProps;
};
using LPOPTIONDATA = OPTIONDATA*;

/// Input of the extended RTF stream wrapper.
struct RTF_WCSINFO
{
    ULONG size;
    ULONG ulFlags;
    ULONG ulInCodePage;
    ULONG ulOutCodePage;
};
using LPRTF_WCSINFO = RTF_WCSINFO*;

/// Output of the extended RTF stream wrapper.
struct RTF_WCSRETINFO
{
    ULONG size;
    ULONG ulStreamFlags;
};
using LPRTF_WCSRETINFO = RTF_WCSRETINFO*;

} // namespace mapi

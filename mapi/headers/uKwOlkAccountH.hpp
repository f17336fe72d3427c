// The account manager of the mail client: accounts of a profile and their properties.
#pragma once

#include "mapi/headers/uKwMAPIComH.hpp"

namespace mapi
{

// clang-format off
// Flags and notifications of the account manager.
inline constexpr ULONG ACCT_INIT_NOSYNCH_MAPI_ACCTS = 1;
inline constexpr ULONG NOTIFY_ACCT_CHANGED          = 1;
inline constexpr ULONG NOTIFY_ACCT_CREATED          = 2;
inline constexpr ULONG NOTIFY_ACCT_DELETED          = 3;
inline constexpr ULONG NOTIFY_ACCT_ORDER_CHANGED    = 4;
inline constexpr ULONG NOTIFY_ACCT_PREDELETED       = 5;
inline constexpr ULONG OLK_ACCOUNT_NO_FLAGS         = 0;
inline constexpr ULONG ACCTUI_NO_WARNING            = 256;
inline constexpr ULONG ACCTUI_SHOW_DATA_TAB         = 512;
inline constexpr ULONG ACCTUI_SHOW_ACCTWIZARD       = 1024;

// Results of the account manager.
inline constexpr HRESULT E_ACCT_NOT_FOUND          = HRESULT(0x800C8101);
inline constexpr HRESULT E_ACCT_WRONG_SORT_ORDER   = HRESULT(0x800C8105);
inline constexpr HRESULT E_OLK_ALREADY_INITIALIZED = HRESULT(0x800C8002);
inline constexpr HRESULT E_OLK_NOT_INITIALIZED     = HRESULT(0x800C8005);
inline constexpr HRESULT E_OLK_PARAM_NOT_SUPPORTED = HRESULT(0x800C8003);
inline constexpr HRESULT E_OLK_PROP_READ_ONLY      = HRESULT(0x800C800D);
inline constexpr HRESULT E_OLK_REGISTRY            = HRESULT(0x800C8001);

// Account properties: identifier in the high word, property type in the low word.
inline constexpr ULONG PROP_ACCT_ID                = 0x00010003;
inline constexpr ULONG PROP_ACCT_NAME              = 0x0002001F;
inline constexpr ULONG PROP_ACCT_MINI_UID          = 0x00030003;
inline constexpr ULONG PROP_ACCT_USER_DISPLAY_NAME = 0x000B001F;
inline constexpr ULONG PROP_ACCT_USER_EMAIL_ADDR   = 0x000C001F;
inline constexpr ULONG PROP_ACCT_STAMP             = 0x000D001F;
inline constexpr ULONG PROP_ACCT_SEND_STAMP        = 0x000E001F;
inline constexpr ULONG PROP_ACCT_IS_EXCH           = 0x00140003;
inline constexpr ULONG PROP_ACCT_DELIVERY_STORE    = 0x00180102;
inline constexpr ULONG PROP_ACCT_DELIVERY_FOLDER   = 0x00190102;
inline constexpr ULONG PROP_ACCT_SENTITEMS_EID     = 0x00200102;
inline constexpr ULONG PROP_ACCT_PREFERENCES_UID   = 0x00220102;
inline constexpr ULONG PROP_INET_SERVER            = 0x0100001F;
inline constexpr ULONG PROP_INET_USER              = 0x0101001F;
inline constexpr ULONG PROP_INET_PASSWORD          = 0x0102001F;
inline constexpr ULONG PROP_INET_PORT              = 0x01040003;
inline constexpr ULONG PROP_INET_SSL               = 0x01050003;
inline constexpr ULONG PROP_INET_USE_SPA           = 0x01080003;
inline constexpr ULONG PROP_SMTP_SERVER            = 0x0200001F;
inline constexpr ULONG PROP_SMTP_PORT              = 0x02010003;
inline constexpr ULONG PROP_SMTP_SSL               = 0x02020003;
inline constexpr ULONG PROP_SMTP_USE_AUTH          = 0x02030003;
inline constexpr ULONG PROP_SMTP_USER              = 0x0204001F;
inline constexpr ULONG PROP_SMTP_PASSWORD          = 0x0205001F;
inline constexpr ULONG PROP_SMTP_USE_SPA           = 0x02070003;
inline constexpr ULONG PROP_SMTP_AUTH_METHOD       = 0x02080003;
inline constexpr ULONG PROP_SMTP_SECURE_CONNECTION = 0x020A0003;
inline constexpr ULONG PROP_POP_LEAVE_ON_SERVER    = 0x10000003;
inline constexpr ULONG PROP_MAPI_IDENTITY_ENTRYID  = 0x20020102;
inline constexpr ULONG PROP_MAPI_EMSMDB_UID        = 0x20090102;
inline constexpr ULONG PROP_MAPI_TRANSPORT_FLAGS   = 0x20100102;
// clang-format on

/// Binary value of an account property. Returned memory is freed with IOlkAccount::FreeMemory.
struct ACCT_BIN
{
    DWORD cb;
    BYTE* pb;
};

/// Value of an account property; dwType is its property type.
struct ACCT_VARIANT
{
    DWORD dwType;
    union
    {
        DWORD dw;
        WCHAR* pwsz;
        ACCT_BIN bin;
    } Val;
};

struct IOlkEnum;

/// Error texts of the account manager.
struct IOlkErrorUnknown : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT hr, LPWSTR* ppwszError) = 0;

protected:
    ~IOlkErrorUnknown() = default;
};

/// One account.
struct IOlkAccount : IOlkErrorUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder1() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder2() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder3() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder4() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder5() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder6() = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetAccountInfo(CLSID* pclsidType, DWORD* pcCategories,
                                                    CLSID** prgclsidCategory) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetProp(DWORD dwProp, ACCT_VARIANT* pVar) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetProp(DWORD dwProp, ACCT_VARIANT* pVar) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder7() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder8() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder9() = 0;
    virtual HRESULT DEFTMAPI_STDCALL FreeMemory(BYTE* pv) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder10() = 0;
    virtual HRESULT DEFTMAPI_STDCALL SaveChanges(DWORD dwFlags) = 0;

protected:
    ~IOlkAccount() = default;
};

/// What the account manager asks of its caller. Implemented by the client.
struct IOlkAccountHelper : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder1(LPVOID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetIdentity(LPWSTR pwszIdentity, DWORD* pcch) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetMapiSession(LPUNKNOWN* ppmsess) = 0;
    virtual HRESULT DEFTMAPI_STDCALL HandsOffSession() = 0;

protected:
    ~IOlkAccountHelper() = default;
};

/// Receives changes of accounts. Implemented by the client.
struct IOlkAccountNotify : IOlkErrorUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Notify(DWORD dwNotify, DWORD dwAcctID, DWORD dwFlags) = 0;

protected:
    ~IOlkAccountNotify() = default;
};

/// Walks over accounts.
struct IOlkEnum : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL GetCount(DWORD* pulCount) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Reset() = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetNext(LPUNKNOWN* ppunk) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Skip(DWORD cSkip) = 0;

protected:
    ~IOlkEnum() = default;
};

/// The accounts of a profile.
struct IOlkAccountManager : IOlkErrorUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL Init(IOlkAccountHelper* pAcctHelper, DWORD dwFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL DisplayAccountList(HWND hwnd, DWORD dwFlags, LPCWSTR wszTitle, DWORD cCategories,
                                                        const CLSID* rgclsidCategories, const CLSID* pclsidType) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder1() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder2() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder3() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder4() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder5() = 0;
    virtual HRESULT DEFTMAPI_STDCALL FindAccount(DWORD dwProp, ACCT_VARIANT* pVar, IOlkAccount** ppAccount) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder6() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder7() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder8() = 0;
    virtual HRESULT DEFTMAPI_STDCALL DeleteAccount(DWORD dwAcctID) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder9() = 0;
    virtual HRESULT DEFTMAPI_STDCALL SaveChanges(DWORD dwAcctID, DWORD dwFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL GetOrder(const CLSID* pclsidCategory, DWORD* pcAccts, DWORD** prgAccts) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetOrder(const CLSID* pclsidCategory, DWORD* pcAccts, DWORD** prgAccts) = 0;
    virtual HRESULT DEFTMAPI_STDCALL EnumerateAccounts(const CLSID* pclsidCategory, const CLSID* pclsidType,
                                                       DWORD dwFlags, IOlkEnum** ppEnum) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder10() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder11() = 0;
    virtual HRESULT DEFTMAPI_STDCALL FreeMemory(BYTE* pv) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Advise(IOlkAccountNotify* pNotify, DWORD* pdwCookie) = 0;
    virtual HRESULT DEFTMAPI_STDCALL Unadvise(DWORD* pdwCookie) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder12() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder13() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder14() = 0;

protected:
    ~IOlkAccountManager() = default;
};

} // namespace mapi

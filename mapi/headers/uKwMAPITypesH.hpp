// Fixed-width base types, calling convention, text pointers and the COM value structures that the platform interface is
// built from. They are declared here on every platform, Windows included, so that the same sources compile with and
// without the Windows headers; sizes and layouts equal the platform's (long is 32 bits there, so nothing here is a C++
// long).
//
// Where the Windows headers are needed in the same source, include them BEFORE these headers.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(MAPIDEFS_H) || defined(MAPIX_H) || defined(MAPITAGS_H) || defined(MAPICODE_H) || defined(MAPIFORM_H) ||    \
    defined(MAPISPI_H) || defined(EDKMDB_INCLUDED) || defined(PR_SUBJECT) || defined(PR_ENTRYID) ||                    \
    defined(MAPI_UNICODE) || defined(PT_UNSPECIFIED) || defined(MAPI_E_NOT_FOUND) || defined(SUCCESS_SUCCESS)
#error "The platform MAPI headers are included already; include these headers in a separate translation unit."
#endif

// The Windows headers make macros of these method names (GetMessage becomes GetMessageW, and so do the slots of our
// interfaces). They stay undefined: write ::GetMessageW where the function of that name is meant.
#undef GetMessage
#undef GetProp
#undef SetProp

// The result codes and storage modes are macros there, too, which would make mapi::S_OK unreadable to the compiler. The
// macros go; uKwMAPICodeH.hpp and uKwMAPIComH.hpp give their names back to the global namespace as constants.
#ifdef S_OK
#define DEFTMAPI_GLOBAL_RESULT_CODES
#undef E_UNEXPECTED
#undef E_NOTIMPL
#undef E_OUTOFMEMORY
#undef E_INVALIDARG
#undef E_NOINTERFACE
#undef E_POINTER
#undef E_HANDLE
#undef E_ABORT
#undef E_FAIL
#undef E_ACCESSDENIED
#undef E_PENDING
#undef S_OK
#undef S_FALSE
#undef STG_E_INVALIDFUNCTION
#undef STG_E_FILENOTFOUND
#undef STG_E_PATHNOTFOUND
#undef STG_E_ACCESSDENIED
#undef STG_E_INVALIDHANDLE
#undef STG_E_INSUFFICIENTMEMORY
#undef STG_E_INVALIDPOINTER
#undef STG_E_SEEKERROR
#undef STG_E_WRITEFAULT
#undef STG_E_READFAULT
#undef STG_E_SHAREVIOLATION
#undef STG_E_FILEALREADYEXISTS
#undef STG_E_INVALIDPARAMETER
#undef STG_E_MEDIUMFULL
#undef STG_E_INVALIDNAME
#undef STG_E_INVALIDFLAG
#undef STG_E_NOTCURRENT
#undef STG_E_REVERTED
#undef STG_E_CANTSAVE
#undef STG_E_EXTANTMARSHALLINGS
#undef STG_E_TERMINATED
#endif
#ifdef STGM_READ
#define DEFTMAPI_GLOBAL_STORAGE_MODES
#undef STGM_DIRECT
#undef STGM_TRANSACTED
#undef STGM_SIMPLE
#undef STGM_READ
#undef STGM_WRITE
#undef STGM_READWRITE
#undef STGM_SHARE_DENY_NONE
#undef STGM_SHARE_DENY_READ
#undef STGM_SHARE_DENY_WRITE
#undef STGM_SHARE_EXCLUSIVE
#undef STGM_PRIORITY
#undef STGM_DELETEONRELEASE
#undef STGM_NOSCRATCH
#undef STGM_CREATE
#undef STGM_CONVERT
#undef STGM_FAILIFTHERE
#undef STGM_NOSNAPSHOT
#undef STGM_DIRECT_SWMR
#undef STGTY_REPEAT
#endif

/// Calling convention of every interface method and entry point. It matters on 32-bit Windows only.
#ifdef _WIN32
#define DEFTMAPI_STDCALL __stdcall
#else
#define DEFTMAPI_STDCALL
#endif

namespace mapi
{

// Numbers.
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;
using LONG = std::int32_t;
using BOOL = std::int32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using LPBYTE = BYTE*;
using LPULONG = ULONG*;
using LPVOID = void*;
using PVOID = void*;

/// A result: negative means failure. SCODE is the same number under its older name.
using HRESULT = std::int32_t;
using SCODE = std::int32_t;

// Numbers with a meaning.
using FLAGS = ULONG;
using LCID = DWORD;
using DISPID = LONG;
using BOOKMARK = ULONG_PTR;
using LHANDLE = ULONG_PTR;
using LPLHANDLE = LHANDLE*;
using ACTTYPE = ULONG;
using HFRMREG = ULONG;
using FORMPROPSPECIALTYPE = ULONG;
using ENCODINGTYPE = ULONG;
using MIMESAVETYPE = ULONG;
using CSETAPPLYTYPE = ULONG;
using MSCAP_SELECTOR = ULONG;

// Text. LPTSTR and LPCTSTR point to text of either width: the MAPI_UNICODE flag of the call decides, so they are
// untyped here and a caller converts on purpose.
using WCHAR = char16_t;
using OLECHAR = char16_t;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = char16_t*;
using LPCWSTR = const char16_t*;
using PWSTR = char16_t*;
using LPOLESTR = char16_t*;
using LPTSTR = void*;
using LPCTSTR = const void*;

/// Null-terminated list of element names.
using SNB = LPOLESTR*;

// Handles that are only passed through.
using HWND = void*;
using HICON = void*;
using HGLOBAL = void*;
using HCHARSET = void*;
using LPMSGSESS = void*;

/// Globally unique identifier. In memory the first three fields are little-endian numbers.
struct GUID
{
    ULONG Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
};

/// A GUID from the five groups of its text form.
constexpr GUID MakeGuid(ULONG group1, WORD group2, WORD group3, WORD group4, ULONGLONG group5)
{
    return {group1,
            group2,
            group3,
            {static_cast<BYTE>(group4 >> 8), static_cast<BYTE>(group4), static_cast<BYTE>(group5 >> 40),
             static_cast<BYTE>(group5 >> 32), static_cast<BYTE>(group5 >> 24), static_cast<BYTE>(group5 >> 16),
             static_cast<BYTE>(group5 >> 8), static_cast<BYTE>(group5)}};
}

/// A GUID of the family xxxxxxxx-0000-0000-C000-000000000046, to which most MAPI identifiers belong.
constexpr GUID OleGuid(ULONG group1)
{
    return MakeGuid(group1, 0, 0, 0xC000, 0x000000000046);
}

using IID = GUID;
using CLSID = GUID;
using LPGUID = GUID*;
using LPCLSID = CLSID*;
using LPCIID = const IID*;

// The Windows headers may have these as macros for the same types by name, which reads the same inside this namespace.
#ifndef REFIID
using REFIID = const IID&;
#endif
#ifndef REFCLSID
using REFCLSID = const CLSID&;
#endif

/// Sixteen bytes that name a provider or a profile section. A plain byte string, never byte-swapped.
struct MAPIUID
{
    BYTE ab[16];

    friend constexpr bool operator==(const MAPIUID&, const MAPIUID&) = default;
};

/// A unique identifier from its bytes in memory order.
constexpr MAPIUID MakeUid(ULONGLONG first8, ULONGLONG last8)
{
    MAPIUID uid{};
    for (int i = 0; i < 8; ++i) {
        uid.ab[i] = static_cast<BYTE>(first8 >> (56 - 8 * i));
        uid.ab[8 + i] = static_cast<BYTE>(last8 >> (56 - 8 * i));
    }
    return uid;
}

using LPMAPIUID = MAPIUID*;

/// 100-nanosecond intervals since 1601-01-01 00:00 UTC.
struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

/// A point in time in calendar units; the months count from 1, the days of the week from Sunday, which is 0.
struct SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

/// A 64-bit number with halves. The platform also offers the halves without "u.", which standard C++ cannot express.
union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

/// The same, unsigned.
union ULARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};

/// Ten-thousandths of a currency unit.
union CURRENCY
{
    struct
    {
        ULONG Lo;
        LONG Hi;
    } u;
    LONGLONG int64;
};

/// A rectangle in pixels.
struct RECT
{
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using LPCRECT = const RECT*;

} // namespace mapi

// The MIME converter of the mail client.
#pragma once

#include "mapi/headers/uKwMAPIComH.hpp"

namespace mapi
{

// clang-format off
// Flags of MIMEToMAPI and MAPIToMIMEStm.
inline constexpr ULONG CCSF_8BITHEADERS      = 0x00000040;
inline constexpr ULONG CCSF_EMBEDDED_MESSAGE = 0x00008000;
inline constexpr ULONG CCSF_GLOBAL_MESSAGE   = 0x00200000;
inline constexpr ULONG CCSF_INCLUDE_BCC      = 0x00000020;
inline constexpr ULONG CCSF_NOHEADERS        = 0x00000004;
inline constexpr ULONG CCSF_NO_MSGID         = 0x00004000;
inline constexpr ULONG CCSF_PLAIN_TEXT_ONLY  = 0x00001000;
inline constexpr ULONG CCSF_PRESERVE_SOURCE  = 0x00040000;
inline constexpr ULONG CCSF_SMTP             = 0x00000002;
inline constexpr ULONG CCSF_USE_RTF          = 0x00000080;
inline constexpr ULONG CCSF_USE_TNEF         = 0x00000010;

// Transfer encodings (IConverterSession::SetEncoding).
inline constexpr ULONG IET_BINARY   = 0;
inline constexpr ULONG IET_BASE64   = 1;
inline constexpr ULONG IET_UUENCODE = 2;
inline constexpr ULONG IET_QP       = 3;
inline constexpr ULONG IET_7BIT     = 4;
inline constexpr ULONG IET_8BIT     = 5;
inline constexpr ULONG IET_INETCSET = 6;
inline constexpr ULONG IET_UNICODE  = 7;
inline constexpr ULONG IET_RFC1522  = 8;
inline constexpr ULONG IET_ENCODED  = 9;
inline constexpr ULONG IET_CURRENT  = 10;
inline constexpr ULONG IET_UNKNOWN  = 11;
inline constexpr ULONG IET_BINHEX40 = 12;
inline constexpr ULONG IET_LAST     = 13;

// Formats (IConverterSession::SetSaveFormat).
inline constexpr ULONG SAVE_RFC822  = 0;
inline constexpr ULONG SAVE_RFC1521 = 1;

// When a given character set applies (IConverterSession::SetCharset).
inline constexpr ULONG CSET_APPLY_UNTAGGED = 0;
inline constexpr ULONG CSET_APPLY_ALL      = 1;
inline constexpr ULONG CSET_APPLY_TAG_ALL  = 2;
// clang-format on

/// Converts between MIME and messages.
struct IConverterSession : IUnknown
{
    virtual HRESULT DEFTMAPI_STDCALL SetAdrBook(LPADRBOOK pab) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetEncoding(ENCODINGTYPE et) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder1() = 0;
    virtual HRESULT DEFTMAPI_STDCALL MIMEToMAPI(LPSTREAM pstm, LPMESSAGE pmsg, LPCSTR pszSrcSrv, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL MAPIToMIMEStm(LPMESSAGE pmsg, LPSTREAM pstm, ULONG ulFlags) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder2() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder3() = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder4() = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetTextWrapping(BOOL fWrapText, ULONG ulWrapWidth) = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetSaveFormat(MIMESAVETYPE mstSaveFormat) = 0;
    virtual HRESULT DEFTMAPI_STDCALL PlaceHolder5() = 0;
    virtual HRESULT DEFTMAPI_STDCALL SetCharset(BOOL fApply, HCHARSET hcharset, CSETAPPLYTYPE csetapplytype) = 0;

protected:
    ~IConverterSession() = default;
};

} // namespace mapi

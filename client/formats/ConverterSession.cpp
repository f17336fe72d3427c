// The COM face of the MIME reader.
#include "client/formats/ConverterSession.hpp"

#include "client/formats/MimeReader.hpp"

namespace deftmapi::client::mime
{

mapi::HRESULT TConverterSession::SetAdrBook(mapi::LPADRBOOK pab) noexcept
{
    FSettings.AddressBook = pab;
    return mapi::S_OK;
}

mapi::HRESULT TConverterSession::SetEncoding(mapi::ENCODINGTYPE et) noexcept
{
    if (et >= mapi::IET_LAST)
        return mapi::MAPI_E_INVALID_PARAMETER;
    FSettings.Encoding = et;
    return mapi::S_OK;
}

mapi::HRESULT TConverterSession::MIMEToMAPI(mapi::LPSTREAM pstm, mapi::LPMESSAGE pmsg, mapi::LPCSTR,
                                            mapi::ULONG) noexcept
{
    return Guard(FLastError, [&] {
        FDamage = 0;
        Require(pstm, u"pstm");
        Require(pmsg, u"pmsg");
        FDamage = ReadMime(*pstm, *pmsg, FOptions);
    });
}

mapi::HRESULT TConverterSession::MAPIToMIMEStm(mapi::LPMESSAGE, mapi::LPSTREAM, mapi::ULONG) noexcept
{
    return mapi::MAPI_E_NO_SUPPORT;
}

mapi::HRESULT TConverterSession::SetTextWrapping(mapi::BOOL fWrapText, mapi::ULONG ulWrapWidth) noexcept
{
    FSettings.WrapText = fWrapText != 0;
    FSettings.WrapWidth = ulWrapWidth;
    return mapi::S_OK;
}

mapi::HRESULT TConverterSession::SetSaveFormat(mapi::MIMESAVETYPE mstSaveFormat) noexcept
{
    if (mstSaveFormat > mapi::SAVE_RFC1521)
        return mapi::MAPI_E_INVALID_PARAMETER;
    FSettings.SaveFormat = mstSaveFormat;
    return mapi::S_OK;
}

mapi::HRESULT TConverterSession::SetCharset(mapi::BOOL fApply, mapi::HCHARSET hcharset,
                                            mapi::CSETAPPLYTYPE csetapplytype) noexcept
{
    if (csetapplytype > mapi::CSET_APPLY_TAG_ALL)
        return mapi::MAPI_E_INVALID_PARAMETER;
    FSettings.ApplyCharset = fApply != 0;
    FSettings.Charset = hcharset;
    FSettings.CharsetUse = csetapplytype;
    return mapi::S_OK;
}

} // namespace deftmapi::client::mime

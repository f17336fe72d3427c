// The MIME converter object of the mail client: IConverterSession.
#pragma once

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "client/formats/MimeOptions.hpp"

namespace deftmapi::client::mime
{

/// Converts MIME text into messages. The settings of the Set… methods concern writing MIME; they are kept for it.
/// Threads: as the platform, one converter is used by one thread at a time.
class TConverterSession final : public ComObject<mapi::IConverterSession>
{
public:
    TConverterSession() = default;
    explicit TConverterSession(TMimeOptions options) : FOptions(std::move(options)) {}

    mapi::HRESULT DEFTMAPI_STDCALL SetAdrBook(mapi::LPADRBOOK pab) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetEncoding(mapi::ENCODINGTYPE et) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL PlaceHolder1() noexcept override { return mapi::E_NOTIMPL; }
    /// Reads from the stream's current position to its end; the message is not saved. The name of the source server and
    /// the flags change nothing in reading and are accepted as they come.
    mapi::HRESULT DEFTMAPI_STDCALL MIMEToMAPI(mapi::LPSTREAM pstm, mapi::LPMESSAGE pmsg, mapi::LPCSTR pszSrcSrv,
                                              mapi::ULONG ulFlags) noexcept override;
    /// Writing MIME is not offered: MAPI_E_NO_SUPPORT.
    mapi::HRESULT DEFTMAPI_STDCALL MAPIToMIMEStm(mapi::LPMESSAGE pmsg, mapi::LPSTREAM pstm,
                                                 mapi::ULONG ulFlags) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL PlaceHolder2() noexcept override { return mapi::E_NOTIMPL; }
    mapi::HRESULT DEFTMAPI_STDCALL PlaceHolder3() noexcept override { return mapi::E_NOTIMPL; }
    mapi::HRESULT DEFTMAPI_STDCALL PlaceHolder4() noexcept override { return mapi::E_NOTIMPL; }
    mapi::HRESULT DEFTMAPI_STDCALL SetTextWrapping(mapi::BOOL fWrapText, mapi::ULONG ulWrapWidth) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL SetSaveFormat(mapi::MIMESAVETYPE mstSaveFormat) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL PlaceHolder5() noexcept override { return mapi::E_NOTIMPL; }
    mapi::HRESULT DEFTMAPI_STDCALL SetCharset(mapi::BOOL fApply, mapi::HCHARSET hcharset,
                                              mapi::CSETAPPLYTYPE csetapplytype) noexcept override;

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IConverterSession;
    }

    /// What was wrong with the text of the last successful MIMEToMAPI.
    [[nodiscard]] TMimeDamage Damage() const noexcept { return FDamage; }

    /// What the Set… methods stored.
    struct TSettings
    {
        TKwComPtr<mapi::IAddrBook> AddressBook;
        mapi::ENCODINGTYPE Encoding = mapi::IET_UNKNOWN;
        bool WrapText = true;
        mapi::ULONG WrapWidth = 74;
        mapi::MIMESAVETYPE SaveFormat = mapi::SAVE_RFC1521;
        bool ApplyCharset = false;
        mapi::HCHARSET Charset = nullptr;
        mapi::CSETAPPLYTYPE CharsetUse = mapi::CSET_APPLY_UNTAGGED;
    };
    [[nodiscard]] const TSettings& Settings() const noexcept { return FSettings; }

private:
    TMimeOptions FOptions;
    TMimeDamage FDamage = 0;
    TSettings FSettings;
    LastError FLastError; // the interface has no GetLastError; the guard needs a place
};

} // namespace deftmapi::client::mime

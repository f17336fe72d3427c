// A file as an IStream, for handing files to the mail client.
#pragma once

#include "mapi/core/ComObject.hpp"
#include "mapi/headers/uKwMAPIComH.hpp"
#include "support/uKwRef.hpp"
#include "support/uKwText.hpp"

#include <fstream>
#include <string_view>

namespace deftmapi
{

/// Read-only. The file is read as it is asked for, never held in memory.
class TMAPIFileStream final : public TKwComObject<mapi::IStream, mapi::IID_ISequentialStream, mapi::IID_IStream>
{
public:
    /// Opens a file for reading, at its beginning.
    /// @throws EMAPI_INVALID_PARAMETER  with a text that names the file: it does not exist, is a folder, or cannot be
    ///                                  read
    [[nodiscard]] static TKwComPtr<TMAPIFileStream> Open(const WideString& fileName);

    /// True when the file begins with these bytes. The position stays where it is.
    [[nodiscard]] bool StartsWith(std::string_view bytes);

    mapi::HRESULT DEFTMAPI_STDCALL Read(void* buffer, mapi::ULONG count, mapi::ULONG* read) override;
    mapi::HRESULT DEFTMAPI_STDCALL Seek(mapi::LARGE_INTEGER move, mapi::DWORD origin,
                                        mapi::ULARGE_INTEGER* newPosition) override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(mapi::IStream* target, mapi::ULARGE_INTEGER count, mapi::ULARGE_INTEGER* read,
                                          mapi::ULARGE_INTEGER* written) override;
    mapi::HRESULT DEFTMAPI_STDCALL Stat(mapi::STATSTG* stat, mapi::DWORD flags) override;
    /// A second stream on the same file, at the same position.
    mapi::HRESULT DEFTMAPI_STDCALL Clone(mapi::IStream** stream) override;

    // Refused: the stream is read-only and without transactions.
    mapi::HRESULT DEFTMAPI_STDCALL Write(const void* buffer, mapi::ULONG count, mapi::ULONG* written) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetSize(mapi::ULARGE_INTEGER size) override;
    mapi::HRESULT DEFTMAPI_STDCALL Commit(mapi::DWORD flags) override;
    mapi::HRESULT DEFTMAPI_STDCALL Revert() override;
    mapi::HRESULT DEFTMAPI_STDCALL LockRegion(mapi::ULARGE_INTEGER offset, mapi::ULARGE_INTEGER count,
                                              mapi::DWORD lockType) override;
    mapi::HRESULT DEFTMAPI_STDCALL UnlockRegion(mapi::ULARGE_INTEGER offset, mapi::ULARGE_INTEGER count,
                                                mapi::DWORD lockType) override;

private:
    TMAPIFileStream(WideString fileName, std::ifstream file, std::uint64_t size);
    ~TMAPIFileStream() override = default;
    [[nodiscard]] mapi::HRESULT ReadSome(void* buffer, mapi::ULONG count, mapi::ULONG& read) noexcept;

    WideString FFileName;
    std::ifstream FFile;
    std::uint64_t FSize;
    std::uint64_t FPosition = 0;
};

} // namespace deftmapi

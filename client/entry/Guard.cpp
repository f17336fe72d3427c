// The one place that knows which exception stands for which result code.
#include "client/entry/Guard.hpp"

#include "support/uKwEncoding.hpp"

#include <cstring>
#include <new>
#include <stdexcept>
#include <system_error>

namespace deftmapi::client
{
namespace
{

constexpr auto sComponent = u"Deft MAPI client";
constexpr auto sNoMemory = u"There is not enough memory to complete the operation.";
constexpr auto sUnexpected = u"An unexpected error occurred.";
constexpr auto sUnknownFlags = u"A flag was passed that this method does not know.";
constexpr auto sNullPointer = u"A required parameter is missing: ";

std::size_t TextBytes(const WideString& wide, const std::string& narrow, bool unicode)
{
    return unicode ? (wide.size() + 1) * sizeof(char16_t) : narrow.size() + 1;
}

void* PutText(std::byte*& at, const WideString& wide, const std::string& narrow, bool unicode)
{
    void* start = at;
    const std::size_t size = TextBytes(wide, narrow, unicode);
    std::memcpy(at, unicode ? static_cast<const void*>(wide.c_str()) : narrow.c_str(), size);
    at += (size + 1) & ~std::size_t{1};
    return start;
}

} // namespace

void Fail(mapi::HRESULT code, WideView text, mapi::ULONG lowLevel)
{
    throw Failure(code, WideString(text), lowLevel);
}

void Require(const void* pointer, WideView name)
{
    if (!pointer)
        Fail(mapi::MAPI_E_INVALID_PARAMETER, WideString(sNullPointer).append(name).append(u"."));
}

void RequireFlags(mapi::ULONG flags, mapi::ULONG known)
{
    if (flags & ~known)
        Fail(mapi::MAPI_E_UNKNOWN_FLAGS, sUnknownFlags);
}

void LastError::Record(mapi::HRESULT code, WideView text, mapi::ULONG lowLevel) noexcept
{
    const std::lock_guard guard(FLock);
    FCode = code;
    FLowLevel = lowLevel;
    try {
        FText = text;
    } catch (...) {
        FText.clear();
    }
}

mapi::HRESULT LastError::Get(mapi::HRESULT code, mapi::ULONG flags, mapi::LPMAPIERROR* error) noexcept
{
    if (!error)
        return mapi::MAPI_E_INVALID_PARAMETER;
    *error = nullptr;
    if (flags & ~mapi::MAPI_UNICODE)
        return mapi::MAPI_E_UNKNOWN_FLAGS;
    const std::lock_guard guard(FLock);
    if (code >= 0 || code != FCode)
        return mapi::S_OK;
    try {
        const bool unicode = (flags & mapi::MAPI_UNICODE) != 0;
        const WideString component = sComponent;
        const TKwEncoding ansi;
        const std::string narrowText = unicode ? std::string() : ansi.FromWide(FText);
        const std::string narrowComponent = unicode ? std::string() : ansi.FromWide(component);
        const std::size_t size = sizeof(mapi::MAPIERROR) + TextBytes(FText, narrowText, unicode) + 2 +
                                 TextBytes(component, narrowComponent, unicode) + 2;
        auto result = AllocateAs<mapi::MAPIERROR>(size);
        auto* at = reinterpret_cast<std::byte*>(result.Get() + 1);
        result->ulVersion = mapi::MAPI_ERROR_VERSION;
        result->lpszError = PutText(at, FText, narrowText, unicode);
        result->lpszComponent = PutText(at, component, narrowComponent, unicode);
        result->ulLowLevelError = FLowLevel;
        *error = result.Detach();
        return mapi::S_OK;
    } catch (...) {
        return mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    }
}

mapi::HRESULT RecordCurrentException(LastError& last) noexcept
{
    try {
        throw;
    } catch (const Failure& failure) {
        last.Record(failure.Code(), failure.Text(), failure.LowLevel());
        return failure.Code();
    } catch (const std::bad_alloc&) {
        last.Record(mapi::MAPI_E_NOT_ENOUGH_MEMORY, sNoMemory, 0);
        return mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    } catch (const std::length_error&) {
        last.Record(mapi::MAPI_E_NOT_ENOUGH_MEMORY, sNoMemory, 0);
        return mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    } catch (const std::system_error& error) {
        const auto code = error.code() == std::errc::no_space_on_device  ? mapi::MAPI_E_NOT_ENOUGH_DISK
                          : error.code() == std::errc::permission_denied ? mapi::MAPI_E_NO_ACCESS
                          : error.code() == std::errc::not_enough_memory ? mapi::MAPI_E_NOT_ENOUGH_MEMORY
                                                                         : mapi::MAPI_E_DISK_ERROR;
        WideString text;
        try {
            text = KwFromUtf8(error.what());
        } catch (...) {
            text.clear();
        }
        last.Record(code, text, static_cast<mapi::ULONG>(error.code().value()));
        return code;
    } catch (...) {
        last.Record(mapi::MAPI_E_CALL_FAILED, sUnexpected, 0);
        return mapi::MAPI_E_CALL_FAILED;
    }
}

} // namespace deftmapi::client

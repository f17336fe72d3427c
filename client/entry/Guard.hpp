// Where exceptions become results: every COM method of the client is noexcept and closed by Guard, which keeps the text
// of what went wrong for GetLastError of the same object.
#pragma once

#include "client/entry/Allocator.hpp"
#include "support/uKwText.hpp"

#include <exception>
#include <mutex>
#include <type_traits>

namespace deftmapi::client
{

/// A failure inside the client: the result it becomes and a text for people.
class Failure : public std::exception
{
public:
    Failure(mapi::HRESULT code, WideString text, mapi::ULONG lowLevel = 0)
        : FCode(code), FLowLevel(lowLevel), FText(std::move(text)), FUtf8(KwToUtf8(FText))
    {}
    [[nodiscard]] mapi::HRESULT Code() const noexcept { return FCode; }
    /// The error of the layer below (an extended SQLite code, errno), 0 when there is none.
    [[nodiscard]] mapi::ULONG LowLevel() const noexcept { return FLowLevel; }
    [[nodiscard]] const WideString& Text() const noexcept { return FText; }
    [[nodiscard]] const char* what() const noexcept override { return FUtf8.c_str(); }

private:
    mapi::HRESULT FCode;
    mapi::ULONG FLowLevel;
    WideString FText;
    std::string FUtf8;
};

[[noreturn]] void Fail(mapi::HRESULT code, WideView text, mapi::ULONG lowLevel = 0);

/// Refuses a null pointer where the caller must supply one. @throws Failure  MAPI_E_INVALID_PARAMETER
void Require(const void* pointer, WideView name);
/// Refuses flag bits that the call does not know. @throws Failure  MAPI_E_UNKNOWN_FLAGS
void RequireFlags(mapi::ULONG flags, mapi::ULONG known);

/// The last failure of one object. Thread-safe.
class LastError
{
public:
    void Record(mapi::HRESULT code, WideView text, mapi::ULONG lowLevel) noexcept;
    /// Implements GetLastError: a MAPIERROR in MAPI memory when `code` is the failure recorded last, else none and
    /// S_OK.
    mapi::HRESULT Get(mapi::HRESULT code, mapi::ULONG flags, mapi::LPMAPIERROR* error) noexcept;

private:
    std::mutex FLock;
    mapi::HRESULT FCode = 0;
    mapi::ULONG FLowLevel = 0;
    WideString FText;
};

/// Turns the exception being handled into a result and records its text. Only inside a catch block.
mapi::HRESULT RecordCurrentException(LastError& last) noexcept;

/// Runs the body of a COM method. The body returns HRESULT or nothing (S_OK).
template <typename Body>
mapi::HRESULT Guard(LastError& last, Body&& body) noexcept
{
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            body();
            return mapi::S_OK;
        } else {
            return body();
        }
    } catch (...) {
        return RecordCurrentException(last);
    }
}

} // namespace deftmapi::client

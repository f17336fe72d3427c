// What a lengthy call tells the progress object that the application handed in, and how it learns that it is to stop.
// Without such an object nothing is shown, whatever dialog flag is set: the client has no windows.
#pragma once

#include "client/entry/ComObject.hpp"
#include "client/entry/Guard.hpp"
#include "mapi/headers/uKwMAPIHeaders.hpp"
#include "support/uKwRef.hpp"

#include <cstdint>
#include <vector>

namespace deftmapi::client
{

class Database;

/// The object is called inside the call's transaction and under the locks of the stores: it may read them on its own
/// thread, but whatever it would write there is refused with MAPI_E_BUSY, and it must not wait for another thread that
/// uses them.
class ProgressMeter
{
public:
    /// Reads the limits and reports that nothing is done yet. A top-level object is told items beside the value, and
    /// given limits where it has none.
    /// @param progress  may be null
    /// @param total     the items that there are, at least
    /// @param stores    those that the call is about; they outlive the meter
    /// @throws Failure  with the code that the object answers with
    ProgressMeter(mapi::IMAPIProgress* progress, std::int64_t total, std::vector<Database*> stores = {});

    [[nodiscard]] bool IsShown() const { return static_cast<bool>(FProgress); }
    /// So many more items are done.
    /// @throws Failure  with the code that the object answers with: MAPI_E_USER_CANCEL when the user wants no more
    void Step(std::int64_t items = 1);

private:
    void Report();

    TKwComPtr<mapi::IMAPIProgress> FProgress;
    std::vector<Database*> FStores;
    std::int64_t FTotal;
    std::int64_t FDone = 0;
    mapi::ULONG FLeast = 0;
    mapi::ULONG FMost = 0;
    bool FTopLevel = false;
};

/// Makes a call inside a call report to the meter of the outer one.
class InnerProgress final : public ComObject<mapi::IMAPIProgress>
{
public:
    /// @param meter  outlives the inner call; @param steps  what that is worth
    InnerProgress(ProgressMeter& meter, mapi::ULONG steps) : FMeter(meter), FSteps(steps) {}

    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMAPIProgress;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Progress(mapi::ULONG value, mapi::ULONG, mapi::ULONG) noexcept override;
    mapi::HRESULT DEFTMAPI_STDCALL GetFlags(mapi::ULONG* flags) noexcept override { return Give(0, flags); }
    mapi::HRESULT DEFTMAPI_STDCALL GetMax(mapi::ULONG* most) noexcept override { return Give(FSteps, most); }
    mapi::HRESULT DEFTMAPI_STDCALL GetMin(mapi::ULONG* least) noexcept override { return Give(0, least); }
    mapi::HRESULT DEFTMAPI_STDCALL SetLimits(mapi::ULONG*, mapi::ULONG*, mapi::ULONG*) noexcept override
    {
        return mapi::S_OK; // they are the meter's
    }

private:
    static mapi::HRESULT Give(mapi::ULONG value, mapi::ULONG* to) noexcept
    {
        *to = value;
        return mapi::S_OK;
    }

    ProgressMeter& FMeter;
    mapi::ULONG FSteps;
    mapi::ULONG FDone = 0;
    LastError FLast;
};

} // namespace deftmapi::client

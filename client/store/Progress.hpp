// What a lengthy call tells the progress object that the application handed in, and how it learns that it is to stop.
// Without such an object nothing is shown, whatever dialog flag is set: the client has no windows.
#pragma once

#include "mapi/headers/uKwMAPIHeaders.hpp"
#include "support/uKwRef.hpp"

#include <cstdint>

namespace deftmapi::client
{

/// The object is called inside the call's transaction and under the lock of the store: what it does on its own thread
/// works, but it must not wait for another thread that uses the store.
class ProgressMeter
{
public:
    /// Reads the limits and reports that nothing is done yet. A top-level object is told items beside the value, and
    /// given limits where it has none.
    /// @param progress  may be null
    /// @param total     the items that there are, at least
    /// @throws Failure  with the code that the object answers with
    ProgressMeter(mapi::IMAPIProgress* progress, std::int64_t total);

    [[nodiscard]] bool IsShown() const { return static_cast<bool>(FProgress); }
    /// So many more items are done.
    /// @throws Failure  with the code that the object answers with: MAPI_E_USER_CANCEL when the user wants no more
    void Step(std::int64_t items = 1);

private:
    void Report();

    TKwComPtr<mapi::IMAPIProgress> FProgress;
    std::int64_t FTotal;
    std::int64_t FDone = 0;
    mapi::ULONG FLeast = 0;
    mapi::ULONG FMost = 0;
    bool FTopLevel = false;
};

} // namespace deftmapi::client

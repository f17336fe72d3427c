// What a lengthy call tells the progress object that the application handed in, and how it learns that it is to stop.
// Without such an object nothing is shown, whatever dialog flag is set: the client has no windows.
#pragma once

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

} // namespace deftmapi::client

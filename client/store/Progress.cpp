#include "client/store/Progress.hpp"

#include "client/notify/Dispatcher.hpp"
#include "client/store/Database.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace deftmapi::client
{
namespace
{

constexpr auto sCancelled = u"The operation was cancelled.";
constexpr auto sNoLimits = u"The progress object does not give its limits.";

/// The range that a top-level object without limits is given.
constexpr mapi::ULONG DefaultMost = 1000;

void Check(mapi::HRESULT code)
{
    if (mapi::Failed(code))
        Fail(code, sNoLimits);
}

/// While the application's object is called. What it wrote would be part of the call, and undone with it though it was
/// told that it is there; between two stores it could not be written at all.
class Refusal
{
public:
    explicit Refusal(const std::vector<Database*>& stores) : FStores(stores)
    {
        for (Database* store : FStores)
            store->RefuseWrites();
    }
    ~Refusal()
    {
        for (Database* store : FStores)
            store->AllowWrites();
    }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

private:
    const std::vector<Database*>& FStores;
    QuietDispatch FQuiet; // what the object reads must not bring in sinks, either
};

mapi::ULONG AsCount(std::int64_t number)
{
    return static_cast<mapi::ULONG>(std::min<std::int64_t>(number, std::numeric_limits<mapi::ULONG>::max()));
}

} // namespace

ProgressMeter::ProgressMeter(mapi::IMAPIProgress* progress, std::int64_t total, std::vector<Database*> stores)
    : FProgress(progress), FStores(std::move(stores)), FTotal(std::max<std::int64_t>(total, 1))
{
    if (!FProgress)
        return;
    const Refusal refusal(FStores);
    mapi::ULONG flags = 0;
    Check(FProgress->GetFlags(&flags));
    FTopLevel = (flags & mapi::MAPI_TOP_LEVEL) != 0;
    Check(FProgress->GetMin(&FLeast));
    Check(FProgress->GetMax(&FMost));
    if (FTopLevel && FMost <= FLeast) {
        FLeast = 0;
        FMost = DefaultMost;
        Check(FProgress->SetLimits(&FLeast, &FMost, &flags));
    }
    FMost = std::max(FLeast, FMost);
    Report();
}

void ProgressMeter::Step(std::int64_t items)
{
    FDone += items;
    FTotal = std::max(FTotal, FDone);
    if (FProgress)
        Report();
}

void ProgressMeter::Report()
{
    const Refusal refusal(FStores);
    const auto way = static_cast<double>(FMost - FLeast) * static_cast<double>(FDone) / static_cast<double>(FTotal);
    const mapi::ULONG value = FLeast + static_cast<mapi::ULONG>(way);
    const mapi::HRESULT answer = FTopLevel ? FProgress->Progress(value, AsCount(FDone), AsCount(FTotal))
                                           : FProgress->Progress(value, 0, 0); // counts are the outermost call's
    if (mapi::Failed(answer))
        Fail(answer, sCancelled);
}

mapi::HRESULT InnerProgress::Progress(mapi::ULONG value, mapi::ULONG, mapi::ULONG) noexcept
{
    if (value <= FDone)
        return mapi::S_OK;
    const mapi::ULONG steps = value - std::exchange(FDone, value);
    return Guard(FLast, [&] { FMeter.Step(steps); });
}

} // namespace deftmapi::client

// What stands between an object that has events and a component that gives them to the application as functions.
#pragma once

#include "support/uKwComObj.hpp"

#include <mutex>

namespace deftmapi
{

/// The base of a component's sink. The object with the events holds the sink, which outlives the component by as long
/// as a call is running. Threads: Detach waits for a call in progress on another thread.
template <typename Events, typename Interface>
class TKwFunctionSink : public TKwAutoIntfObject, public virtual Interface
{
public:
    explicit TKwFunctionSink(Events& events) : FEvents(&events) {}

    void Detach() noexcept
    {
        const std::lock_guard lock(FLock);
        FEvents = nullptr;
    }

protected:
    template <typename Method, typename... Args>
    void Pass(Method method, Args&... args)
    {
        const TKwRef<TKwFunctionSink> self(this);
        const std::lock_guard lock(FLock);
        if (FEvents != nullptr)
            (FEvents->*method)(args...);
    }

private:
    std::recursive_mutex FLock; // a function may stop the events that it is called for
    Events* FEvents;
};

/// Calls a copy: the function may destroy the object that holds it.
template <typename Event, typename... Args>
void KwCallFunction(const Event& event, Args&... args)
{
    if (const Event copy = event)
        copy(args...);
}

} // namespace deftmapi

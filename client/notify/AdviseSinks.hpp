// The advise sinks that the client makes for applications.
#pragma once

#include "mapi/headers/uKwMAPIHeaders.hpp"
#include "support/uKwRef.hpp"

namespace deftmapi::client
{

/// HrAllocAdviseSink: a sink that hands its notifications to a function.
[[nodiscard]] TKwComPtr<mapi::IMAPIAdviseSink> NewCallbackSink(mapi::LPNOTIFCALLBACK callback, void* context);
/// HrThisThreadAdviseSink: a sink that may be called on any thread and calls `sink` on the thread that made it: at once
/// when that is the caller, else with copies when that thread dispatches notifications.
[[nodiscard]] TKwComPtr<mapi::IMAPIAdviseSink> NewThreadSink(mapi::IMAPIAdviseSink* sink);

} // namespace deftmapi::client

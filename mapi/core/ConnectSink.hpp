// Connecting the sinks of sessions, stores and tables.
#pragma once

#include "mapi/core/uKwMAPIExceptions.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "support/uKwComObj.hpp"

namespace deftmapi
{

/// As TKwEventConnections::Connect.
/// @throws EMAPI_INVALID_PARAMETER  there is no sink to connect
template <typename Sink>
bool KwConnectSink(TKwEventConnections<Sink>& sinks, const TKwRef<Sink>& sink, bool connect, WideView className)
{
    constexpr auto sNoSink = u"%s.DEventConnect failed!\r\nThere is no sink to connect.";
    if (connect && sink == nullptr)
        CreateKwMAPIException(mapi::MAPI_E_INVALID_PARAMETER, sNoSink, {className})->Raise();
    return sinks.Connect(sink, connect);
}

} // namespace deftmapi

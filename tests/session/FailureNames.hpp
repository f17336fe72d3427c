// The names that failures give to the operations of a class.
#pragma once

#include "tests/session/ScriptedClient.hpp"

#include <functional>
#include <span>
#include <string>
#include <tuple>

namespace deftmapi::test
{

/// The call of the client that is refused, the name that the failure is to have, and what makes the call.
using TNamedOperation = std::tuple<const char*, const char*, std::function<void()>>;

/// Lets the client refuse each call as not supported and looks at who is said to have failed.
inline void ExpectFailuresNameTheOperation(TScriptedCalls& calls, const std::string& className,
                                           std::span<const TNamedOperation> operations)
{
    for (const auto& [call, method, operation] : operations) {
        calls.Next(call, mapi::MAPI_E_NO_SUPPORT);
        const TCaught caught = Catch(operation);
        EXPECT_EQ(caught.ClassName, "EMAPI_NO_SUPPORT") << method;
        EXPECT_TRUE(caught.Message.starts_with(className + "." + method + " has raised the following"))
            << caught.Message;
    }
}

} // namespace deftmapi::test

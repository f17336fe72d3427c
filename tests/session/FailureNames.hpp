// The names that failures give to the operations of a class, and the texts of results that one of them explains.
#pragma once

#include "tests/core/Caught.hpp"
#include "tests/support/ScriptedMAPI.hpp"

#include <functional>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <tuple>
#include <utility>

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

/// Lets the client answer the call with each result and compares what is told.
inline void ExpectTexts(TScriptedCalls& calls, const char* call, const std::string& beginning,
                        std::span<const std::pair<mapi::HRESULT, const char*>> failures,
                        const std::function<void()>& operation)
{
    for (const auto& [code, text] : failures) {
        calls.Next(call, code);
        const TCaught caught = Catch(operation);
        EXPECT_EQ(caught.Message, beginning + text);
        EXPECT_EQ(caught.Code, static_cast<std::uint32_t>(code));
    }
}

} // namespace deftmapi::test

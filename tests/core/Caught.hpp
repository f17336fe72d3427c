// What a call raised, kept for comparing: class name, message, code, and which of the two kinds it is.
#pragma once

#include "support/uKwExceptions.hpp"

#include <ostream>

namespace deftmapi::test
{

struct TCaught
{
    std::string ClassName; ///< empty when nothing was raised
    std::string Message;
    std::uint32_t Code = 0;
    bool IsAbort = false;

    friend bool operator==(const TCaught&, const TCaught&) = default;
    friend std::ostream& operator<<(std::ostream& out, const TCaught& caught)
    {
        return out << (caught.IsAbort ? "abort " : "error ") << caught.ClassName << " 0x" << std::hex << caught.Code
                   << std::dec << ": " << caught.Message;
    }
};

template <typename Function>
TCaught Catch(Function&& function)
{
    const auto describe = [](const EKwExceptionBase& e, bool isAbort) {
        return TCaught{KwToUtf8(e.ClassType().Name), KwToUtf8(e.Message()), static_cast<std::uint32_t>(e.ErrorCode()),
                       isAbort};
    };
    try {
        function();
    } catch (const EKwException& e) {
        return describe(e, false);
    } catch (const EKwAbort& e) {
        return describe(e, true);
    }
    return {};
}

} // namespace deftmapi::test

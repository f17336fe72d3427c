// Steps that are all taken whatever fails on the way: logging off, and telling several sinks.
#pragma once

#include "support/uKwComObj.hpp"

#include <exception>

namespace deftmapi
{

/// Keeps the first failure of several steps for the caller, who learns of it when all are done. A step may raise
/// anything; the others go to KwReportServerException, as they have no caller left.
class TFirstFailure
{
public:
    template <typename Step>
    void Keep(Step&& step) noexcept
    {
        try {
            step();
        } catch (...) {
            if (FFailure)
                KwReportServerException(std::current_exception());
            else
                FFailure = std::current_exception();
        }
    }
    void Raise() const
    {
        if (FFailure)
            std::rethrow_exception(FFailure);
    }

private:
    std::exception_ptr FFailure;
};

} // namespace deftmapi

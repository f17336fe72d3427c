// A text argument of a call that takes MAPI_UNICODE.
#pragma once

#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/headers/uKwMAPITypesH.hpp"
#include "support/uKwEncoding.hpp"

namespace deftmapi
{

/// Holds the text in the width that the flags of the call announce. Empty text is passed as null.
class TKwMAPITextArg
{
public:
    TKwMAPITextArg(WideView text, mapi::ULONG flags)
    {
        if ((flags & mapi::MAPI_UNICODE) != 0)
            FWide = text;
        else
            FAnsi = TKwEncoding().FromWide(text);
    }
    /// Valid while this object lives.
    [[nodiscard]] mapi::LPTSTR Get() noexcept
    {
        if (!FWide.empty())
            return FWide.data();
        return FAnsi.empty() ? nullptr : FAnsi.data();
    }

private:
    WideString FWide;
    std::string FAnsi;
};

} // namespace deftmapi

// A program of somebody who installed the library: it links, its constants agree, an exception crosses the library's
// boundary.
#include "mapi/DeftMAPI.hpp"

int main()
{
    using namespace deftmapi;
    if (GetPropTag(PR_SUBJECT) != 0x0037001F)
        return 1;
    try {
        static_cast<void>(StrToEntryID(u"0G"));
    } catch (const EKwConvertError&) {
        return 0;
    }
    return 2;
}

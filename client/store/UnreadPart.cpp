#include "client/store/UnreadPart.hpp"

#include "client/store/MessageRows.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

/// Few are this many, or one of so many messages.
constexpr std::int64_t FewRows = 64;
constexpr std::int64_t FewOf = 256;

} // namespace

std::unique_ptr<UnreadPart> UnreadPart::Of(const MessageRows& rows, const Restriction& restriction)
{
    const bool fits = restriction.Kind() == mapi::RES_BITMASK && restriction.Tag() >> 16 == tag::MessageFlags >> 16 &&
                      restriction.Number() == mapi::MSGFLAG_READ && restriction.Operator() == mapi::BMR_EQZ;
    return fits ? std::unique_ptr<UnreadPart>(new UnreadPart(rows, restriction)) : nullptr;
}

bool UnreadPart::IsFew() const
{
    return Count() <= std::max(FewRows, FRows.State().rows / FewOf);
}

std::int64_t UnreadPart::Count() const
{
    return FRows.associated ? CountUnread(FRows.store->Db(), {FRows.folder, true}) : FRows.State().unread;
}

void UnreadPart::Call(const SqlArguments&, const SqlResult& result) const
{
    result.SetText(ListOf(UnreadRows(FRows.store->Db(), {FRows.folder, FRows.associated})));
}

} // namespace deftmapi::client

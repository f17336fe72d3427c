// The object that the client calls when something happens to a session.
#pragma once

#include "mapi/session/NotifySink.hpp"
#include "mapi/session/uKwDeftMAPI.hpp"

namespace deftmapi
{

class TSession::TSink final : public TKwNotifySink<TSession>
{
public:
    using TKwNotifySink::TKwNotifySink;

private:
    ~TSink() override = default;
};

} // namespace deftmapi

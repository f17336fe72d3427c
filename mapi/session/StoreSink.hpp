// The object that the client calls when something happens in a store.
#pragma once

#include "mapi/session/NotifySink.hpp"
#include "mapi/session/uKwMAPIMsgStore.hpp"

namespace deftmapi
{

class TKwMAPIMsgStore::TSink final : public TKwNotifySink<TKwMAPIMsgStore>
{
public:
    using TKwNotifySink::TKwNotifySink;

private:
    ~TSink() override = default;
};

} // namespace deftmapi

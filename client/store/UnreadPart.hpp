// The unread messages that a restriction asks for, found by the pages that say which they are.
#pragma once

#include "client/store/UnreadPages.hpp"
#include "client/table/Restriction.hpp"

#include <memory>

namespace deftmapi::client
{

struct MessageRows;

/// deft_call(this): the unread messages of a contents table, as a JSON array.
class UnreadPart final : public SqlCallable
{
public:
    /// Null unless the restriction asks for unread messages.
    [[nodiscard]] static std::unique_ptr<UnreadPart> Of(const MessageRows& rows, const Restriction& restriction);

    [[nodiscard]] const Restriction& Asked() const { return FRestriction; }
    /// Whether sorting them costs less than meeting as many as are shown at once on the way through the folder.
    [[nodiscard]] bool IsFew() const;
    [[nodiscard]] std::int64_t Count() const;

    void Call(const SqlArguments& arguments, const SqlResult& result) const override;

private:
    UnreadPart(const MessageRows& rows, const Restriction& restriction) : FRows(rows), FRestriction(restriction) {}

    const MessageRows& FRows;
    const Restriction& FRestriction;
};

} // namespace deftmapi::client

// A part of the subject that a restriction asks for, found by the packed subjects of the folder.
#pragma once

#include "client/store/SubjectPages.hpp"
#include "client/table/Restriction.hpp"

namespace deftmapi::client
{

struct MessageRows;

/// deft_call(this): the rows that may fit, as a JSON array.
class SubjectPart final : public SqlCallable
{
public:
    /// Null unless the packed subjects have all rows that fit: a content restriction on the subject, with or without
    /// regard to case, for a text that is neither empty nor torn.
    [[nodiscard]] static std::unique_ptr<SubjectPart> Of(const MessageRows& rows, const Restriction& restriction);

    /// Bytes that are looked for: the more, the fewer rows fit.
    [[nodiscard]] std::size_t Size() const { return FText.size(); }
    [[nodiscard]] const Restriction& Asked() const { return FRestriction; }
    /// Whether few rows of the folder may fit: so few that sorting them costs less than meeting them in an order.
    [[nodiscard]] bool IsFew() const;

    struct Tally
    {
        std::int64_t sure = 0;                   ///< rows that fit
        std::vector<std::int64_t> doubtful = {}; ///< rows that must be asked
    };
    /// Nothing when upper case does not decide, or many rows must be asked.
    [[nodiscard]] std::optional<Tally> Count() const;

    void Call(const SqlArguments& arguments, const SqlResult& result) const override;

private:
    SubjectPart(const MessageRows& rows, const Restriction& restriction, std::string text)
        : FRows(rows), FRestriction(restriction), FText(std::move(text))
    {}
    [[nodiscard]] std::size_t Few() const;
    /// Finds the rows unless they are known. @returns false: there are more than so many
    bool Find(std::size_t most) const;

    const MessageRows& FRows;
    const Restriction& FRestriction;
    std::string FText;
    mutable std::vector<std::int64_t> FFound;
    mutable std::vector<std::int64_t> FDoubtful; // those of them that must be asked
    mutable std::int64_t FStamp = -1;            // the changes of the folder when they were found; -1: not yet
};

} // namespace deftmapi::client

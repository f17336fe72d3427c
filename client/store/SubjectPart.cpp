#include "client/store/SubjectPart.hpp"

#include "client/store/MessageRows.hpp"

#include <limits>

namespace deftmapi::client
{
namespace
{

using namespace mapi;

/// Few rows are this many and one of so many.
constexpr std::size_t FewRows = 1024;
constexpr std::int64_t FewOf = 64;

/// Half of a character that takes two units: UTF-8 finds it in no text that has the whole.
bool HasLoneHalf(WideView text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((text[i] & 0xF800) != 0xD800)
            continue;
        if (text[i] >= 0xDC00 || i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00)
            return true;
        ++i;
    }
    return false;
}

} // namespace

std::unique_ptr<SubjectPart> SubjectPart::Of(const MessageRows& rows, const Restriction& restriction)
{
    const auto* text = std::get_if<WideString>(&restriction.Value().data);
    const bool fits = restriction.Kind() == RES_CONTENT && restriction.Tag() >> 16 == tag::Subject >> 16 && text &&
                      restriction.Value().Type() == PT_UNICODE &&
                      (restriction.Operator() & ~FL_IGNORECASE) == FL_SUBSTRING && !text->empty() &&
                      !HasLoneHalf(*text);
    if (!fits)
        return nullptr;
    return std::unique_ptr<SubjectPart>(new SubjectPart(rows, restriction, FoldSubject(PackText(*text))));
}

std::size_t SubjectPart::Few() const
{
    return FewRows + static_cast<std::size_t>(std::max<std::int64_t>(0, FRows.State().rows) / FewOf);
}

bool SubjectPart::Find(std::size_t most) const
{
    Database& database = FRows.store->Db();
    database.FlushCommitWork();
    const std::int64_t stamp = FRows.State().changes; // read before the rows: what comes in between has another one
    if (FStamp >= 0 && FStamp == stamp)
        return FFound.size() <= most;
    FStamp = -1;
    FFound.clear();
    FDoubtful.clear();
    SearchSubjects(database, {FRows.folder, FRows.associated}, FText, [&](std::int64_t row, bool sure) {
        FFound.push_back(row);
        if (!sure)
            FDoubtful.push_back(row);
        return FFound.size() <= most;
    });
    if (FFound.size() > most)
        return false;
    FStamp = stamp;
    return true;
}

bool SubjectPart::IsFew() const
{
    return Find(Few());
}

std::optional<SubjectPart::Tally> SubjectPart::Count() const
{
    if (!(FRestriction.Operator() & FL_IGNORECASE))
        return std::nullopt;
    FRows.store->Db().FlushCommitWork();
    if (FStamp >= 0 && FStamp == FRows.State().changes)
        return Tally{static_cast<std::int64_t>(FFound.size() - FDoubtful.size()), FDoubtful};
    Tally tally;
    const std::size_t most = Few();
    SearchSubjects(FRows.store->Db(), {FRows.folder, FRows.associated}, FText, [&](std::int64_t row, bool sure) {
        if (sure)
            ++tally.sure;
        else
            tally.doubtful.push_back(row);
        return tally.doubtful.size() <= most;
    });
    return tally.doubtful.size() <= most ? std::optional(std::move(tally)) : std::nullopt;
}

void SubjectPart::Call(const SqlArguments&, const SqlResult& result) const
{
    Find(std::numeric_limits<std::size_t>::max());
    result.SetText(ListOf(FFound));
}

} // namespace deftmapi::client

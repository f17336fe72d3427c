#include "client/store/Transfer.hpp"

#include <algorithm>

namespace deftmapi::client
{
namespace
{

constexpr auto sSearch = u"A search folder looks in folders of its own store and cannot be copied to another one.";

constexpr ULONG FirstNamedId = 0x8000;

} // namespace

ULONG Transfer::MapId(ULONG id)
{
    const auto known = FIds.find(id);
    if (known != FIds.end())
        return known->second;
    const auto name = FFrom.NameOfId(id);
    const ULONG mapped = name ? FTo.IdOfName(name->set, name->lid, name->isText ? &name->text : nullptr, true) : 0;
    FIds.emplace(id, mapped);
    return mapped;
}

PropertyBag Transfer::MapNames(const PropertyBag& props)
{
    PropertyBag mapped;
    for (const auto& [id, prop] : props) {
        if (id < FirstNamedId) {
            mapped.Set(prop);
        } else if (const ULONG other = MapId(id)) {
            Prop named = prop;
            named.tag = other << 16 | prop.Type();
            mapped.Set(std::move(named));
        }
    }
    return mapped;
}

void Transfer::MapNames(MessageState& message)
{
    message.props = MapNames(message.props);
    for (Recipient& recipient : message.recipients)
        recipient.props = MapNames(recipient.props);
    for (AttachmentState& attachment : message.attachments) {
        attachment.props = MapNames(attachment.props);
        if (!attachment.embedded)
            continue;
        auto embedded = std::make_shared<MessageState>(*attachment.embedded);
        MapNames(*embedded);
        attachment.embedded = std::move(embedded);
    }
}

std::optional<Transfer::Seen> Transfer::LookAtMessage(std::int64_t row) const
{
    static const std::string sql =
        "SELECT m.version, " + FlagsExpression + ", m.status FROM messages m WHERE m.id = ?1 AND m.folder IS NOT NULL";
    Query query = FFrom.Db().Prepare(sql);
    if (!query.Bind(1, row).Step())
        return std::nullopt;
    return Seen{row, query.Number(0), 0, query.Number(1), query.Number(2)};
}

bool Transfer::CopyMessage(std::int64_t row, std::int64_t folder)
{
    const auto seen = LookAtMessage(row);
    if (!seen) {
        FMeter.Step();
        return false;
    }
    MessageState copy = CopyOfMessage(FFrom, row, folder);
    if (!IsWithin()) {
        MapNames(copy);
        FMessages.push_back(*seen);
    }
    SaveMessage(FTo, copy, false);
    if (IsWithin())
        FTo.Changes().Copied(copy.row, row);
    FMeter.Step();
    return true;
}

Transfer::Seen Transfer::Look(std::int64_t folder) const
{
    Query query = FFrom.Db().Prepare("SELECT version, changes FROM folders WHERE id = ?1");
    return query.Bind(1, folder).Step() ? Seen{folder, query.Number(0), query.Number(1)} : Seen{folder, -1, -1};
}

std::int64_t Transfer::CopyOne(std::int64_t row, std::int64_t parent, const WideString& name)
{
    const FolderRow source = LoadFolder(FFrom, row);
    if (!IsWithin())
        FFolders.push_back(Look(row));
    if (source.IsSearch() && !IsWithin())
        Fail(mapi::MAPI_E_NO_SUPPORT, sSearch);
    PropertyBag props;
    for (const auto& [id, prop] : source.props) {
        if (!NamesSpecialFolder(id))
            props.Set(prop);
    }
    const std::int64_t copy = InsertFolder(FTo, parent, source.IsSearch() ? mapi::FOLDER_SEARCH : mapi::FOLDER_GENERIC,
                                           name, IsWithin() ? props : MapNames(props));
    if (IsWithin())
        MarkFolderCopied(FTo.Db(), copy, row);
    for (const std::int64_t message :
         FFrom.Db().Prepare("SELECT id FROM messages WHERE folder = ?1").Bind(1, row).Numbers())
        CopyMessage(message, copy);
    if (source.IsSearch())
        CopySearch(row, copy);
    FMeter.Step();
    return copy;
}

void Transfer::CopySearch(std::int64_t row, std::int64_t copy)
{
    const auto criteria = FFrom.Searches().Load(row);
    if (!criteria)
        return;
    FTo.Changes().Flush(); // the links are what they are to be; from now on both folders follow
    FTo.Searches().Save(copy, *criteria);
    // A search that does not run shows what it has, and so does its copy; one that runs and finds the same needs no
    // second search either.
    Query links = FTo.Db().Prepare("INSERT INTO search_links (search, message) SELECT ?1, message FROM search_links "
                                   "WHERE search = ?2");
    links.Bind(1, copy).Bind(2, row).Run();
    FTo.Changes().Relinked(copy, FTo.Searches().Count(copy));
}

std::int64_t Transfer::CopyFolder(std::int64_t row, std::int64_t parent, const WideString& name, bool deep)
{
    const std::int64_t top = CopyOne(row, parent, name);
    if (!deep)
        return top;
    std::vector<std::pair<std::int64_t, std::int64_t>> copied = {{row, top}};
    for (std::size_t i = 0; i < copied.size(); ++i) {
        const auto [from, to] = copied[i];
        for (const std::int64_t child : ChildFolders(FFrom, from))
            copied.emplace_back(child, CopyOne(child, to, LoadFolder(FFrom, child).props.Text(tag::DisplayName)));
    }
    return top;
}

std::size_t Transfer::RemoveMessages() noexcept
{
    try {
        Transaction transaction(FFrom.Db());
        std::size_t kept = 0;
        for (const Seen& seen : FMessages)
            kept += !(LookAtMessage(seen.row) == seen && DeleteMessageRow(FFrom, seen.row));
        transaction.Commit();
        return kept;
    } catch (...) {
        return FMessages.size();
    }
}

bool Transfer::RemoveFolder() noexcept
{
    try {
        Transaction transaction(FFrom.Db());
        std::vector<Seen> now;
        for (const std::int64_t row : Subtree(FFrom, {FFolders.front().row}))
            now.push_back(Look(row));
        const auto byRow = [](const Seen& one, const Seen& other) { return one.row < other.row; };
        std::sort(now.begin(), now.end(), byRow);
        std::vector<Seen> before = FFolders;
        std::sort(before.begin(), before.end(), byRow);
        if (now != before)
            return false;
        ProgressMeter silent(nullptr, 0);
        DeleteSubtree(FFrom, FFolders.front().row, silent);
        transaction.Commit();
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace deftmapi::client

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

bool Transfer::CopyMessage(std::int64_t row, std::int64_t folder)
{
    Query query = FFrom.Db().Prepare("SELECT version FROM messages WHERE id = ?1 AND folder IS NOT NULL");
    if (!query.Bind(1, row).Step()) {
        FMeter.Step();
        return false;
    }
    const Seen seen{row, query.Number(0), 0};
    query.Reset();
    MessageState copy = CopyOfMessage(FFrom, row, folder);
    if (!IsWithin()) {
        MapNames(copy);
        FMessages.push_back(seen);
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

std::int64_t Transfer::CopyFolder(std::int64_t row, std::int64_t parent, const WideString& name, bool deep)
{
    const FolderRow source = LoadFolder(FFrom, row);
    if (!IsWithin())
        FFolders.push_back(Look(row));
    if (source.IsSearch() && !IsWithin())
        Fail(mapi::MAPI_E_NO_SUPPORT, sSearch);
    const std::int64_t copy = InsertFolder(FTo, parent, source.IsSearch() ? mapi::FOLDER_SEARCH : mapi::FOLDER_GENERIC,
                                           name, IsWithin() ? source.props : MapNames(source.props));
    if (IsWithin())
        MarkFolderCopied(FTo.Db(), copy, row);
    std::vector<std::int64_t> messages;
    {
        Query query = FFrom.Db().Prepare("SELECT id FROM messages WHERE folder = ?1");
        query.Bind(1, row);
        while (query.Step())
            messages.push_back(query.Number(0));
    }
    for (const std::int64_t message : messages)
        CopyMessage(message, copy);
    if (const auto criteria = FFrom.Searches().Load(row)) {
        FTo.Searches().Save(copy, *criteria);
        FTo.Searches().Fill(copy);
    }
    FMeter.Step();
    if (!deep)
        return copy;
    for (const std::int64_t child : ChildFolders(FFrom, row))
        CopyFolder(child, copy, LoadFolder(FFrom, child).props.Text(tag::DisplayName), true);
    return copy;
}

std::size_t Transfer::RemoveMessages()
{
    std::size_t kept = 0;
    for (const Seen& seen : FMessages) {
        Query query = FFrom.Db().Prepare("SELECT 1 FROM messages WHERE id = ?1 AND version = ?2");
        const bool same = query.Bind(1, seen.row).Bind(2, seen.version).Step();
        query.Reset();
        kept += !(same && DeleteMessageRow(FFrom, seen.row));
    }
    return kept;
}

bool Transfer::RemoveFolder()
{
    std::vector<Seen> now;
    for (const std::int64_t row : Subtree(FFrom, FFolders.front().row))
        now.push_back(Look(row));
    const auto byRow = [](const Seen& one, const Seen& other) { return one.row < other.row; };
    std::sort(now.begin(), now.end(), byRow);
    std::vector<Seen> before = FFolders;
    std::sort(before.begin(), before.end(), byRow);
    if (now != before)
        return false;
    ProgressMeter silent(nullptr, 0);
    DeleteSubtree(FFrom, FFolders.front().row, silent);
    return true;
}

} // namespace deftmapi::client

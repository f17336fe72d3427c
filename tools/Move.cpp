// deftmapi mv, cp and rm: messages and folders named by their entry identifiers.
#include "Command.hpp"
#include "Values.hpp"
#include "Where.hpp"

#include <fmt/core.h>

#include <iostream>
#include <memory>
#include <optional>
#include <set>

namespace deftmapi::tool
{

namespace
{

struct Arguments
{
    std::string ID;
    std::string Path;
    std::string Name;
};

bool IsFolder(IKwMAPIMsgStore& store, const TKwMAPIEntryID& id)
{
    mapi::ULONG type = 0;
    static_cast<void>(store.OpenEntry(id, nullptr, 0, type));
    return type == mapi::MAPI_FOLDER;
}

/// The folder that a message or a folder lies in. @throws as opening does when there is no such object
TKwRef<IKwMAPIFolder> FolderOf(IKwMAPIMsgStore& store, IKwMAPIProp& object, TKwMAPIAccessLevel accessLevel)
{
    return store.OpenFolder(object.PropByName(PR_PARENT_ENTRYID)->Get_Value(), accessLevel);
}

/// The subfolder of a name, which is the only one.
TKwMAPIEntryID SubfolderNamed(IKwMAPIFolder& folder, const TKwVariant& name)
{
    const auto table = folder.GetHierarchyTable(false);
    table->Get_Fields()->Add(PR_ENTRYID);
    table->Get_Fields()->Add(PR_DISPLAY_NAME);
    for (table->First(); !table->Get_EOF(); table->Next())
        if (KwSameText(table->GetFieldValue(PR_DISPLAY_NAME).AsStringW(), name.AsStringW()))
            return table->GetFieldValue(PR_ENTRYID);
    return {};
}

/// What is looked up for the answer only: a copy that cannot be found is a copy all the same.
template <typename LookUp>
auto IfKnown(LookUp lookUp) -> std::optional<decltype(lookUp())>
{
    try {
        return lookUp();
    } catch (const EKwException&) {
        return std::nullopt;
    }
}

/// The messages of a folder that have the search key; copies of a message have that of the original.
std::set<std::string> MessagesWithKey(IKwMAPIFolder& folder, const TKwVariant& searchKey)
{
    std::set<std::string> ids;
    if (searchKey.IsEmptyOrNull())
        return ids;
    const auto table = folder.GetContentsTable();
    table->Get_Fields()->Add(PR_ENTRYID);
    Condition condition;
    condition.Type = rtProperty;
    condition.Prop = PR_SEARCH_KEY;
    condition.Value = searchKey;
    const Restrictions restrictions(*table, condition);
    table->Filter(restrictions.Root());
    for (table->First(); !table->Get_EOF(); table->Next())
        ids.insert(IDText(table->GetFieldValue(PR_ENTRYID)));
    return ids;
}

/// @returns the copy's identifier, or the moved folder's; empty where it cannot be told
std::string TransferFolder(IKwMAPIMsgStore& store, const TKwMAPIEntryID& id, IKwMAPIFolder& destination,
                           const std::string& newName, bool move)
{
    const auto folder = store.OpenFolder(id, alReadOnly);
    const TKwVariant name =
        newName.empty() ? folder->PropByName(PR_DISPLAY_NAME)->Get_Value() : TKwVariant(KwFromUtf8(newName));
    FolderOf(store, *folder, move ? alReadWrite : alReadOnly)
        ->CopyFolder(id, destination, KwFromUtf8(newName), move, true, false);
    return IfKnown([&] { return IDText(SubfolderNamed(destination, name)); }).value_or(std::string());
}

/// @returns the copy's identifier; empty where it cannot be told, as several copies of the message came at once or the
///          folder cannot be searched
std::string CopyMessage(IKwMAPIMsgStore& store, const TKwMAPIEntryID& id, IKwMAPIFolder& destination)
{
    const auto message = store.OpenMessage(id, alReadOnly);
    const TKwVariant searchKey = message->PropByName(PR_SEARCH_KEY)->Get_Value();
    const auto present = [&] { return MessagesWithKey(destination, searchKey); };
    const auto before = IfKnown(present);
    FolderOf(store, *message, alReadOnly)->CopyMessage(id, destination, false);
    auto added = before ? IfKnown(present) : std::nullopt;
    if (!added)
        return {};
    for (const std::string& old : *before)
        added->erase(old);
    return added->size() == 1 ? *added->begin() : std::string();
}

void Transfer(Context& context, const Arguments& arguments, bool move)
{
    const TKwMAPIEntryID id = Context::ParseID(arguments.ID);
    IKwMAPIMsgStore& store = context.Store();
    const bool folder = IsFolder(store, id);
    if (!folder && !arguments.Name.empty())
        throw UsageError("--name: only a folder gets a new name");
    const auto destination = context.Folder(arguments.Path, alReadWrite);
    std::string newID = arguments.ID;
    if (folder)
        newID = TransferFolder(store, id, *destination, arguments.Name, move);
    else if (move)
        FolderOf(store, *store.OpenMessage(id, alReadOnly), alReadWrite)->CopyMessage(id, *destination, true);
    else
        newID = CopyMessage(store, id, *destination);
    const Json shown = newID.empty() ? Json() : Json(newID);
    if (context.Options.Json && move)
        PrintJson({{"id", shown}, {"moved", true}, {"to", arguments.Path}});
    else if (context.Options.Json)
        PrintJson({{"id", shown}, {"from", arguments.ID}, {"copied", true}, {"to", arguments.Path}});
    else if (!move && !newID.empty())
        fmt::print("{}\n", newID);
}

/// One message that cannot be deleted does not keep the others.
void Remove(Context& context, const std::vector<std::string>& ids)
{
    std::vector<TKwMAPIEntryID> parsed;
    for (const std::string& id : ids)
        parsed.push_back(Context::ParseID(id));
    IKwMAPIMsgStore& store = context.Store();
    Json document = Json::array();
    bool failed = false;
    for (std::size_t i = 0; i < parsed.size(); ++i) {
        try {
            FolderOf(store, *store.OpenMessage(parsed[i], alReadOnly), alReadWrite)->DeleteMessage(parsed[i]);
            document.push_back({{"id", ids[i]}, {"deleted", true}});
        } catch (const EKwException& e) {
            failed = true;
            document.push_back({{"id", ids[i]}, {"error", OneLine(e.what())}});
            std::cerr << "deftmapi: " << ids[i] << ": " << OneLine(e.what()) << '\n';
        }
    }
    if (context.Options.Json)
        PrintJson(document);
    if (failed)
        throw ExitWith{exitFailure};
}

void AddTransfer(const Command& app, Context& context, const char* name, const char* what, bool move)
{
    const auto arguments = std::make_shared<Arguments>();
    const Command command = app.AddCommand(name, what);
    command.AddOption("ID", arguments->ID, "the entry identifier of a message or a folder").Required();
    command.AddOption("PATH", arguments->Path, "the folder that it goes into").Required();
    command.AddOption("--name", arguments->Name, "the new name of a folder (default: the one it has)");
    command.OnRun([&context, arguments, move] { Transfer(context, *arguments, move); });
}

} // namespace

void AddMove(const Command& app, Context& context)
{
    AddTransfer(app, context, "mv", "moves a message, or a folder with all that is in it", true);
    AddTransfer(app, context, "cp",
                "copies a message, or a folder with all that is in it; prints the copy's identifier", false);

    const auto ids = std::make_shared<std::vector<std::string>>();
    const Command rm = app.AddCommand("rm", "deletes messages");
    rm.AddOption("ID", *ids, "entry identifiers").Required();
    rm.OnRun([&context, ids] { Remove(context, *ids); });
}

} // namespace deftmapi::tool

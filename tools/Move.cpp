// deftmapi mv, cp and rm: messages and folders named by their entry identifiers.
#include "Command.hpp"
#include "Values.hpp"

#include <fmt/core.h>

#include <memory>

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

void Transfer(Context& context, const Arguments& arguments, bool move)
{
    const TKwMAPIEntryID id = Context::ParseID(arguments.ID);
    IKwMAPIMsgStore& store = context.Store();
    const bool folder = IsFolder(store, id);
    if (!folder && !arguments.Name.empty())
        throw UsageError("--name: only a folder gets a new name");
    const TKwMAPIAccessLevel access = move ? alReadWrite : alReadOnly;
    const auto destination = context.Folder(arguments.Path, alReadWrite);
    if (folder)
        FolderOf(store, *store.OpenFolder(id, alReadOnly), access)
            ->CopyFolder(id, *destination, KwFromUtf8(arguments.Name), move, true, false);
    else
        FolderOf(store, *store.OpenMessage(id, alReadOnly), access)->CopyMessage(id, *destination, move);
    if (context.Options.Json)
        PrintJson({{"id", arguments.ID}, {move ? "moved" : "copied", true}, {"to", arguments.Path}});
}

void Remove(Context& context, const std::vector<std::string>& ids)
{
    std::vector<TKwMAPIEntryID> parsed;
    for (const std::string& id : ids)
        parsed.push_back(Context::ParseID(id));
    Json document = Json::array();
    for (std::size_t i = 0; i < parsed.size(); ++i) {
        const auto message = context.Store().OpenMessage(parsed[i], alReadOnly);
        FolderOf(context.Store(), *message, alReadWrite)->DeleteMessage(parsed[i]);
        document.push_back({{"id", ids[i]}, {"deleted", true}});
    }
    if (context.Options.Json)
        PrintJson(document);
}

void AddTransfer(CLI::App& app, Context& context, const char* name, const char* what, bool move)
{
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand(name, what);
    command->add_option("ID", arguments->ID, "the entry identifier of a message or a folder")->required();
    command->add_option("PATH", arguments->Path, "the folder that it goes into")->required();
    command->add_option("--name", arguments->Name, "the new name of a folder (default: the one it has)");
    command->callback([&context, arguments, move] { Transfer(context, *arguments, move); });
}

} // namespace

void AddMove(CLI::App& app, Context& context)
{
    AddTransfer(app, context, "mv", "moves a message, or a folder with all that is in it", true);
    AddTransfer(app, context, "cp", "copies a message, or a folder with all that is in it", false);

    const auto ids = std::make_shared<std::vector<std::string>>();
    CLI::App* rm = app.add_subcommand("rm", "deletes messages");
    rm->add_option("ID", *ids, "entry identifiers")->required();
    rm->callback([&context, ids] { Remove(context, *ids); });
}

} // namespace deftmapi::tool

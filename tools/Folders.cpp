// deftmapi mkdir and rm.
#include "Command.hpp"
#include "Values.hpp"

#include <fmt/core.h>

#include <memory>

namespace deftmapi::tool
{

namespace
{

void MakeFolder(Context& context, const std::string& path, const std::string& folderClass)
{
    const std::size_t slash = path.find_last_of('/');
    const std::size_t bracket = path.find_last_of(']');
    const std::size_t cut = slash != std::string::npos ? slash : bracket;
    const std::string name = cut == std::string::npos ? path : path.substr(cut + 1);
    // "//Name" and "Name" both lie at the top of the store.
    const std::string parent = cut == std::string::npos || path.find_first_not_of('/') > cut ? "" : path.substr(0, cut);
    if (name.empty())
        throw UsageError("the path must end with the new folder's name");
    const auto folder =
        context.Folder(parent, alReadWrite)->CreateFolder(KwFromUtf8(folderClass), KwFromUtf8(name), u"", false);
    const std::string id = IDText(folder->Get_EntryID());
    if (context.Options.Json)
        PrintJson({{"id", id}, {"name", name}});
    else
        fmt::print("{}\n", id);
}

void Remove(Context& context, const std::vector<std::string>& ids)
{
    std::vector<TKwMAPIEntryID> parsed;
    for (const std::string& id : ids)
        parsed.push_back(Context::ParseID(id));
    Json document = Json::array();
    for (std::size_t i = 0; i < parsed.size(); ++i) {
        const auto message = context.Store().OpenMessage(parsed[i], alReadOnly);
        const TKwMAPIEntryID parent = message->PropByName(PR_PARENT_ENTRYID)->Get_Value();
        context.Store().OpenFolder(parent, alReadWrite)->DeleteMessage(parsed[i]);
        document.push_back({{"id", ids[i]}, {"deleted", true}});
    }
    if (context.Options.Json)
        PrintJson(document);
}

} // namespace

void AddFolders(CLI::App& app, Context& context)
{
    struct MakeArguments
    {
        std::string Path;
        std::string Class = "IPF.Note";
    };
    const auto make = std::make_shared<MakeArguments>();
    CLI::App* mkdir = app.add_subcommand("mkdir", "a new folder; prints its entry identifier");
    mkdir->add_option("PATH", make->Path, "the path of the new folder, for example //[Inbox]/Project A")->required();
    mkdir->add_option("--class", make->Class, "its container class")->capture_default_str();
    mkdir->callback([&context, make] { MakeFolder(context, make->Path, make->Class); });

    const auto ids = std::make_shared<std::vector<std::string>>();
    CLI::App* rm = app.add_subcommand("rm", "deletes messages");
    rm->add_option("ID", *ids, "entry identifiers")->required();
    rm->callback([&context, ids] { Remove(context, *ids); });
}

} // namespace deftmapi::tool

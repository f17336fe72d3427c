// deftmapi mkdir and rmdir.
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

/// A folder that is not empty stays unless all of it was meant; the library's error says what is in it.
void RemoveFolder(Context& context, const std::string& path, bool recursive)
{
    const auto folder = context.Folder(path, alReadOnly);
    const TKwMAPIEntryID id = folder->Get_EntryID();
    const TKwMAPIEntryID parent = folder->PropByName(PR_PARENT_ENTRYID)->Get_Value();
    context.Store().OpenFolder(parent, alReadWrite)->DeleteFolder(id, recursive, recursive, false);
    if (context.Options.Json)
        PrintJson({{"id", IDText(id)}, {"deleted", true}});
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

    struct RemoveArguments
    {
        std::string Path;
        bool Recursive = false;
    };
    const auto remove = std::make_shared<RemoveArguments>();
    CLI::App* rmdir = app.add_subcommand("rmdir", "deletes an empty folder");
    rmdir->add_option("PATH", remove->Path, "the folder, for example //[Inbox]/Project A")->required();
    rmdir->add_flag("-r,--recursive", remove->Recursive, "with its messages and subfolders");
    rmdir->callback([&context, remove] { RemoveFolder(context, remove->Path, remove->Recursive); });
}

} // namespace deftmapi::tool

// deftmapi mkdir and rmdir.
#include "Command.hpp"
#include "Values.hpp"

#include <fmt/core.h>

#include <memory>

namespace deftmapi::tool
{

namespace
{

struct NewFolder
{
    std::string Parent; ///< empty: the top of the store
    std::string Name;
};

/// "//[Inbox]/Project A": the keyword of a special folder can only stand first; brackets elsewhere belong to names.
NewFolder ParsePath(const std::string& path)
{
    const std::string rest = path.substr(path.starts_with("//") ? 2 : 0);
    std::size_t names = 0; // where they begin
    if (rest.starts_with('[')) {
        names = rest.find(']') + 1;
        if (names == 0)
            throw UsageError("the keyword of a special folder has no closing bracket");
        if (names < rest.size() && rest[names] != '/')
            throw UsageError("a / must follow the keyword " + rest.substr(0, names));
    }
    const std::size_t slash = rest.rfind('/');
    const bool below = slash != std::string::npos && slash >= names;
    NewFolder folder{rest.substr(0, below ? slash : names), rest.substr(below ? slash + 1 : names)};
    if (folder.Name.empty())
        throw UsageError("the path must end with the new folder's name");
    return folder;
}

void MakeFolder(Context& context, const std::string& path, const std::string& folderClass)
{
    const auto [parent, name] = ParsePath(path);
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

void AddFolders(const Command& app, Context& context)
{
    struct MakeArguments
    {
        std::string Path;
        std::string Class = "IPF.Note";
    };
    const auto make = std::make_shared<MakeArguments>();
    const Command mkdir = app.AddCommand("mkdir", "a new folder; prints its entry identifier");
    mkdir.AddOption("PATH", make->Path, "the path of the new folder, for example //[Inbox]/Project A").Required();
    mkdir.AddOption("--class", make->Class, "its container class").ShowsDefault();
    mkdir.OnRun([&context, make] { MakeFolder(context, make->Path, make->Class); });

    struct RemoveArguments
    {
        std::string Path;
        bool Recursive = false;
    };
    const auto remove = std::make_shared<RemoveArguments>();
    const Command rmdir = app.AddCommand("rmdir", "deletes an empty folder");
    rmdir.AddOption("PATH", remove->Path, "the folder, for example //[Inbox]/Project A").Required();
    rmdir.AddFlag("-r,--recursive", remove->Recursive, "with its messages and subfolders");
    rmdir.OnRun([&context, remove] { RemoveFolder(context, remove->Path, remove->Recursive); });
}

} // namespace deftmapi::tool

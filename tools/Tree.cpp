// deftmapi tree: folders with type, class and counts.
#include "Command.hpp"
#include "Values.hpp"

#include <fmt/core.h>

#include <memory>

namespace deftmapi::tool
{

namespace
{

/// The special kinds by their path keyword; a plain folder has none.
std::string TypeName(TKwMAPIFolderType type)
{
    static constexpr const char* names[] = {"",           "Inbox",  "Outbox",   "Deleted",    "SentItems",   "IPMRoot",
                                            "Search",     "Common", "Personal", "Contact",    "Appointment", "Journal",
                                            "StickyNote", "Task",   "Draft",    "SyncIssues", "JunkFolder"};
    for (std::size_t bit = 0; bit < std::size(names); ++bit)
        if (type == (TKwMAPIFolderType{1} << bit))
            return names[bit];
    return {};
}

Json Describe(IKwMAPIMsgStore& store, IKwMAPIFolder& folder)
{
    const auto values = folder.GetPropValues({PR_DISPLAY_NAME, PR_CONTENT_COUNT, PR_CONTENT_UNREAD});
    Json node{{"id", IDText(folder.Get_EntryID())},
              {"name", ValueText(values[0])},
              {"type", TypeName(folder.Get_FolderType())},
              {"class", KwToUtf8(folder.Get_ContainerClass())},
              {"messages", values[1].IsEmptyOrNull() ? 0 : values[1].AsInteger()},
              {"unread", values[2].IsEmptyOrNull() ? 0 : values[2].AsInteger()},
              {"folders", Json::array()}};
    const auto table = folder.GetHierarchyTable(false);
    table->Get_Fields()->Add(PR_ENTRYID);
    table->Open();
    for (table->First(); !table->Get_EOF(); table->Next()) {
        const auto child = store.OpenFolder(table->GetFieldValue(PR_ENTRYID), alReadOnly);
        node["folders"].push_back(Describe(store, *child));
    }
    return node;
}

void Fill(TextTable& table, const Json& node, std::size_t depth)
{
    table.Add({std::string(depth * 2, ' ') + node["name"].get<std::string>(), node["type"], node["class"],
               node["messages"].dump(), node["unread"].dump()});
    for (const Json& child : node["folders"])
        Fill(table, child, depth + 1);
}

void Tree(Context& context, const std::string& path)
{
    const Json document = Describe(context.Store(), *context.Folder(path, alReadOnly));
    if (context.Options.Json)
        return PrintJson(document);
    TextTable table({{"Folder"}, {"Type"}, {"Class"}, {"Messages", true}, {"Unread", true}});
    Fill(table, document, 0);
    table.Print();
}

} // namespace

void AddTree(const Command& app, Context& context)
{
    const auto path = std::make_shared<std::string>();
    const Command command = app.AddCommand("tree", "folders with type, class and counts");
    command.AddOption("PATH", *path, "where to begin (default: the top of the store)");
    command.OnRun([&context, path] { Tree(context, *path); });
}

} // namespace deftmapi::tool

// deftmapi ls: the rows of a folder's contents table.
#include "Command.hpp"
#include "Values.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <memory>

namespace deftmapi::tool
{

namespace
{

struct Arguments
{
    std::string Path;
    std::vector<std::string> Columns;
    std::string Sort;
    std::int64_t Limit = -1;
    bool Associated = false;
};

struct Shown
{
    std::string Name;
    TKwMAPIPropDef Def;
    TextTable::Column Column;
};

std::vector<Shown> ColumnsOf(const Arguments& arguments)
{
    if (arguments.Columns.empty())
        return {{"PR_MESSAGE_DELIVERY_TIME", PR_MESSAGE_DELIVERY_TIME, {"Received", false, 20}},
                {"PR_SENDER_NAME", PR_SENDER_NAME, {"From", false, 24}},
                {"PR_SUBJECT", PR_SUBJECT, {"Subject", false, 48}},
                {"PR_MESSAGE_SIZE", PR_MESSAGE_SIZE, {"Size", true}},
                {"PR_HASATTACH", PR_HASATTACH, {"Att"}}};
    std::vector<Shown> columns;
    for (const std::string& name : arguments.Columns)
        columns.push_back({name, DefinitionOf(name), {name, false, 60}});
    return columns;
}

void SortBy(IKwMAPITable& table, const std::string& sort)
{
    const std::size_t colon = sort.find(':');
    const std::string order = colon == std::string::npos ? "asc" : sort.substr(colon + 1);
    if (order != "asc" && order != "desc")
        throw UsageError("--sort: the order is asc or desc, not '" + order + "'");
    table.Sort(DefinitionOf(sort.substr(0, colon)), order == "desc");
}

void List(Context& context, const Arguments& arguments)
{
    const auto columns = ColumnsOf(arguments);
    const auto folder = context.Folder(arguments.Path, alReadOnly);
    const auto table = arguments.Associated ? folder->GetAssociatedContentsTable() : folder->GetContentsTable();
    table->Set_BatchSize(200);
    for (const Shown& column : columns)
        table->Get_Fields()->Add(column.Def);
    if (std::none_of(columns.begin(), columns.end(), [](const Shown& c) { return c.Def == PR_ENTRYID; }))
        table->Get_Fields()->Add(PR_ENTRYID);
    table->Open();
    if (!arguments.Sort.empty())
        SortBy(*table, arguments.Sort);

    Json rows = Json::array();
    std::vector<TextTable::Column> headings;
    for (const Shown& column : columns)
        headings.push_back(column.Column);
    headings.push_back({"ID"});
    TextTable text(headings);
    std::int64_t count = 0;
    for (table->First(); !table->Get_EOF() && count != arguments.Limit; table->Next(), ++count) {
        Json row;
        std::vector<std::string> cells;
        for (const Shown& column : columns) {
            const TKwVariant value = table->GetFieldValue(column.Def);
            row[column.Name] = ValueJson(value);
            const bool flag = value.Kind() == TKwVarKind::vkBoolean;
            cells.push_back(flag ? (value.AsBoolean() ? "yes" : "") : ValueText(value));
        }
        row["id"] = IDText(table->GetFieldValue(PR_ENTRYID));
        cells.push_back(row["id"].get<std::string>());
        rows.push_back(std::move(row));
        text.Add(std::move(cells));
    }
    if (context.Options.Json)
        return PrintJson(rows);
    text.Print();
}

} // namespace

void AddList(CLI::App& app, Context& context)
{
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("ls", "the messages of a folder");
    command->add_option("PATH", arguments->Path, "the folder, for example //[Inbox]")->required();
    command->add_option("--columns", arguments->Columns, "PR_… names, separated by commas")->delimiter(',');
    command->add_option("--sort", arguments->Sort, "PR_… to sort by, with :desc for descending");
    command->add_option("--limit", arguments->Limit, "at most this many rows")->check(CLI::NonNegativeNumber);
    command->add_flag("--associated", arguments->Associated, "the hidden messages instead");
    command->callback([&context, arguments] { List(context, *arguments); });
}

} // namespace deftmapi::tool

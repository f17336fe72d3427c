// deftmapi ls and find: the rows of a folder's contents table.
#include "Command.hpp"
#include "Values.hpp"
#include "Where.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace deftmapi::tool
{

namespace
{

struct Arguments
{
    std::string Path;
    std::vector<std::string> Columns;
    std::vector<std::string> Sort;
    std::string Where;
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

std::vector<TKwMAPISortKey> SortKeysOf(const Arguments& arguments)
{
    std::vector<TKwMAPISortKey> keys;
    for (const std::string& key : arguments.Sort) {
        const std::size_t colon = key.find(':');
        const std::string order = colon == std::string::npos ? "asc" : key.substr(colon + 1);
        if (order != "asc" && order != "desc")
            throw UsageError("--sort: the order is asc or desc, not '" + order + "'");
        keys.push_back({DefinitionOf(key.substr(0, colon)), order == "desc"});
    }
    return keys;
}

/// @returns whether there are rows, also when --limit 0 prints none of them
bool List(Context& context, const Arguments& arguments, const std::optional<Condition>& condition)
{
    const auto columns = ColumnsOf(arguments);
    const auto sortKeys = SortKeysOf(arguments);
    const auto folder = context.Folder(arguments.Path, alReadOnly);
    const auto table = arguments.Associated ? folder->GetAssociatedContentsTable() : folder->GetContentsTable();
    table->Set_BatchSize(200);
    for (const Shown& column : columns)
        table->Get_Fields()->Add(column.Def);
    if (std::none_of(columns.begin(), columns.end(), [](const Shown& c) { return c.Def == PR_ENTRYID; }))
        table->Get_Fields()->Add(PR_ENTRYID);
    table->Open();
    if (!sortKeys.empty())
        table->Sort(sortKeys);
    std::optional<Restrictions> restrictions;
    if (condition) {
        restrictions.emplace(*table, *condition);
        table->Filter(restrictions->Root());
    }

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
        PrintJson(rows);
    else
        text.Print();
    return !rows.empty() || (arguments.Limit == 0 && table->Get_RowCount() != 0);
}

void AddCommonOptions(const Command& command, const std::shared_ptr<Arguments>& arguments)
{
    command.AddOption("--columns", arguments->Columns, "PR_… names, separated by commas").SeparatedByCommas();
    command.AddOption("--sort", arguments->Sort, "PR_… to sort by, :desc for descending; several by commas")
        .SeparatedByCommas();
    command.AddOption("--limit", arguments->Limit, "at most this many rows").NotNegative();
}

} // namespace

void AddList(const Command& app, Context& context)
{
    const auto arguments = std::make_shared<Arguments>();
    const Command command = app.AddCommand("ls", "the messages of a folder");
    command.AddOption("PATH", arguments->Path, "the folder, for example //[Inbox]").Required();
    AddCommonOptions(command, arguments);
    const Option where =
        command.AddOption("--where", arguments->Where,
                          "only messages that fit, for example 'PR_SUBJECT ~ \"report\" and PR_IMPORTANCE = 2'");
    command.AddFlag("--associated", arguments->Associated, "the hidden messages instead");
    command.SetFooter(WhereHelp);
    command.OnRun([&context, arguments, where] {
        std::optional<Condition> condition;
        if (where.Given())
            condition = ParseWhere(arguments->Where);
        List(context, *arguments, condition);
    });

    const auto found = std::make_shared<Arguments>();
    const auto wanted = std::make_shared<std::string>();
    const Command find = app.AddCommand("find", "the messages of a folder whose subject contains a text");
    find.AddOption("PATH", found->Path, "the folder, for example //[Inbox]").Required();
    find.AddOption("TEXT", *wanted, "the text, in whatever case").Required();
    AddCommonOptions(find, found);
    find.OnRun([&context, found, wanted] {
        Condition condition;
        condition.Type = rtContent;
        condition.Prop = PR_SUBJECT;
        condition.Match = smtSubString;
        condition.Value = KwFromUtf8(*wanted);
        if (!List(context, *found, condition))
            throw ExitWith{exitNo};
    });
}

} // namespace deftmapi::tool

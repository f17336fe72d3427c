// deftmapi show: one message, its properties or its body.
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
    bool Props = false;
    bool Text = false;
    bool Html = false;
};

Json Rows(IKwMAPITable& table, const std::vector<std::pair<const char*, TKwMAPIPropDef>>& columns)
{
    for (const auto& column : columns)
        table.Get_Fields()->Add(column.second);
    table.Open();
    Json rows = Json::array();
    for (table.First(); !table.Get_EOF(); table.Next()) {
        Json row;
        for (const auto& [name, def] : columns)
            row[name] = ValueJson(table.GetFieldValue(def));
        rows.push_back(std::move(row));
    }
    return rows;
}

Json Describe(IKwMAPIMessage& message)
{
    message.RetrieveAllProperties();
    Json properties = Json::object();
    const auto items = message.Get_Properties();
    for (std::int32_t i = 0; i < items->Get_Count(); ++i) {
        const auto item = items->Get_Item(i);
        WideString name = item->Get_PropName();
        properties[name.empty() ? fmt::format("0x{:08X}", item->Get_PropTag()) : KwToUtf8(name)] =
            ValueJson(item->Get_Value());
    }
    return {{"id", IDText(message.Get_EntryID())},
            {"class", KwToUtf8(message.Get_MessageClass())},
            {"properties", std::move(properties)},
            {"recipients", Rows(*message.GetRecipientTable(), {{"type", PR_RECIPIENT_TYPE},
                                                               {"name", PR_DISPLAY_NAME},
                                                               {"address_type", PR_ADDRTYPE},
                                                               {"address", PR_EMAIL_ADDRESS}})},
            {"attachments", Rows(*message.Get_Attachments(), {{"number", PR_ATTACH_NUM},
                                                              {"name", PR_ATTACH_LONG_FILENAME},
                                                              {"method", PR_ATTACH_METHOD},
                                                              {"mime", PR_ATTACH_MIME_TAG},
                                                              {"size", PR_ATTACH_SIZE}})}};
}

std::string CellText(const Json& value)
{
    return value.is_null() ? std::string() : value.is_string() ? value.get<std::string>() : value.dump();
}

void PrintProperties(const Json& document)
{
    TextTable table({{"Property", false, 48}, {"Value", false, 100}});
    for (const auto& [name, value] : document["properties"].items())
        table.Add({name, CellText(value)});
    table.Print();
}

void PrintSummary(IKwMAPIMessage& message, const Json& document)
{
    const auto values =
        message.GetPropValues({PR_SENDER_NAME, PR_SENDER_EMAIL_ADDRESS, PR_MESSAGE_DELIVERY_TIME, PR_SUBJECT});
    fmt::print("From:     {} <{}>\n", ValueText(values[0]), ValueText(values[1]));
    fmt::print("Received: {}\n", ValueText(values[2]));
    static constexpr const char* kinds[] = {"Orig:", "To:", "Cc:", "Bcc:"};
    for (const Json& recipient : document["recipients"]) {
        const auto kind = recipient["type"].is_number() ? recipient["type"].get<std::size_t>() & 3U : 1U;
        fmt::print("{:<9} {} <{}>\n", kinds[kind], CellText(recipient["name"]), CellText(recipient["address"]));
    }
    for (const Json& attachment : document["attachments"])
        fmt::print("Attached: {} ({} bytes)\n", CellText(attachment["name"]), CellText(attachment["size"]));
    fmt::print("Subject:  {}\n\n", ValueText(values[3]));
    TKwMAPIBodyFormat format = fmtUnspecified;
    WideString text = message.GetBodyText();
    if (text.empty())
        message.GetMessageText(format, text);
    fmt::print("{}\n", KwToUtf8(text));
}

void Show(Context& context, const Arguments& arguments)
{
    const TKwMAPIEntryID id = Context::ParseID(arguments.ID);
    const auto message = context.Store().OpenMessage(id, alReadOnly);
    if (arguments.Text || arguments.Html) {
        const std::string body = KwToUtf8(arguments.Text ? message->GetBodyText() : message->GetHtmlText());
        if (context.Options.Json)
            return PrintJson({{"id", IDText(message->Get_EntryID())}, {arguments.Text ? "text" : "html", body}});
        fmt::print("{}\n", body);
        return;
    }
    const Json document = Describe(*message);
    if (context.Options.Json)
        PrintJson(document);
    else if (arguments.Props)
        PrintProperties(document);
    else
        PrintSummary(*message, document);
}

} // namespace

void AddShow(const Command& app, Context& context)
{
    const auto arguments = std::make_shared<Arguments>();
    const Command command = app.AddCommand("show", "one message: a summary, its properties or its body");
    command.AddOption("ID", arguments->ID, "the message's entry identifier").Required();
    const Command what = command.AddChoice("what");
    what.AddFlag("--props", arguments->Props, "all properties");
    what.AddFlag("--text", arguments->Text, "the plain text body");
    what.AddFlag("--html", arguments->Html, "the HTML body");
    command.OnRun([&context, arguments] { Show(context, *arguments); });
}

} // namespace deftmapi::tool

// deftmapi service list | add | remove | default: the message services of a profile.
#include "Command.hpp"
#include "Output.hpp"
#include "Values.hpp"

#include <fmt/core.h>

#include <memory>

namespace deftmapi::tool
{

namespace
{

constexpr auto sNoStore = u"The profile has no message service of this identifier that has a store.";

void List(Context& context)
{
    const auto services = context.LoggedOn().GetAdminServices()->GetMsgServiceTable();
    for (const TKwMAPIPropDef def : {PR_SERVICE_UID, PR_SERVICE_NAME, PR_DISPLAY_NAME, PR_RESOURCE_FLAGS})
        services->Get_Fields()->Add(def);
    Json document = Json::array();
    TextTable table({{"UID"}, {"SERVICE"}, {"DEFAULT"}, {"NAME"}});
    for (services->First(); !services->Get_EOF(); services->Next()) {
        const TKwVariant flags = services->GetFieldValue(PR_RESOURCE_FLAGS);
        const Json& row = document.emplace_back(
            Json{{"uid", IDText(services->GetFieldValue(PR_SERVICE_UID))},
                 {"service", KwToUtf8(services->GetFieldValue(PR_SERVICE_NAME).AsStringW())},
                 {"name", KwToUtf8(services->GetFieldValue(PR_DISPLAY_NAME).AsStringW())},
                 {"default", !flags.IsEmptyOrNull() &&
                                 (static_cast<mapi::ULONG>(flags.AsInteger()) & mapi::SERVICE_DEFAULT_STORE) != 0}});
        table.Add({row["uid"].get<std::string>(), row["service"].get<std::string>(),
                   row["default"].get<bool>() ? "*" : "", row["name"].get<std::string>()});
    }
    if (context.Options.Json)
        return PrintJson(document);
    table.Print();
}

/// "PR_DISPLAY_NAME=Archive". The value is converted to the type of the property; a binary one is hexadecimal.
void AddSetting(IKwMAPIPropValueList& list, const std::string& text)
{
    const std::size_t separator = text.find('=');
    if (separator == std::string::npos || separator == 0)
        throw UsageError("'" + text + "' is no setting: it must be PROPERTY=VALUE");
    const TKwMAPIPropDef def = DefinitionOf(text.substr(0, separator));
    const std::string value = text.substr(separator + 1);
    if (mapi::PROP_TYPE(GetPropTag(GetPropInfo(def))) == mapi::PT_BINARY)
        list.AddValue(def, Context::ParseID(value));
    else
        list.AddValue(def, KwFromUtf8(value));
}

void Add(Context& context, const std::string& service, const std::string& name,
         const std::vector<std::string>& settings)
{
    IKwMAPISession& session = context.Session();
    const auto properties = session.CreatePropValueList();
    for (const std::string& setting : settings)
        AddSetting(*properties, setting);
    const auto services = context.LoggedOn().GetAdminServices();
    const TKwMAPIEntryID uid = services->CreateMsgService(KwFromUtf8(service), KwFromUtf8(name), false);
    try {
        services->ConfigureMsgService(uid, {}, *properties);
    } catch (...) {
        try {
            services->DeleteMsgService(uid); // a service that cannot be used is not left behind
        } catch (const EKwExceptionBase& e) {
            fmt::print(stderr, "The service {} is left behind: {}\n", IDText(uid), KwToUtf8(e.Message()));
        }
        throw;
    }
    if (context.Options.Json)
        return PrintJson({{"uid", IDText(uid)}});
    fmt::print("{}\n", IDText(uid));
}

void Remove(Context& context, const std::string& uid)
{
    const TKwMAPIEntryID id = Context::ParseID(uid);
    context.LoggedOn().GetAdminServices()->DeleteMsgService(id);
    if (context.Options.Json)
        PrintJson({{"uid", IDText(id)}, {"removed", true}});
}

/// The default store is one of the services' stores: a service is what a person knows it by.
void MakeDefault(Context& context, const std::string& uid)
{
    const TKwMAPIEntryID id = Context::ParseID(uid);
    IKwMAPISession& session = context.LoggedOn();
    const auto stores = session.GetMsgStoresTable();
    for (const TKwMAPIPropDef def : {PR_SERVICE_UID, PR_ENTRYID})
        stores->Get_Fields()->Add(def);
    stores->First();
    while (!stores->Get_EOF() && !(stores->GetFieldValue(PR_SERVICE_UID) == id))
        stores->Next();
    if (stores->Get_EOF())
        CreateKwMAPIException(mapi::MAPI_E_NOT_FOUND, sNoStore)->Raise();
    session.SetDefaultMsgStore(stores->GetFieldValue(PR_ENTRYID));
    if (context.Options.Json)
        PrintJson({{"uid", IDText(id)}, {"default", true}});
}

} // namespace

void AddServices(const Command& app, Context& context)
{
    const Command service = app.AddCommand("service", "the message services of the profile");
    service.RequireCommand();
    service.AddCommand("list", "all services; * marks the one of the default store").OnRun([&context] {
        List(context);
    });

    struct Arguments
    {
        std::string Service;
        std::string Name;
        std::vector<std::string> Settings;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command add = service.AddCommand("add", "adds and configures a service; prints its identifier");
    add.AddOption("NAME", arguments->Service, "the service, as the client library knows it").Required();
    add.AddOption("PROPERTY=VALUE", arguments->Settings, "its settings, for example PR_DISPLAY_NAME=Archive");
    add.AddOption("--name", arguments->Name, "the service's display name");
    add.OnRun([&context, arguments] { Add(context, arguments->Service, arguments->Name, arguments->Settings); });

    const Command remove = service.AddCommand("remove", "removes a service; the file of its store stays");
    remove.AddOption("UID", arguments->Service, "the service's identifier, as list prints it").Required();
    remove.OnRun([&context, arguments] { Remove(context, arguments->Service); });

    const Command makeDefault = service.AddCommand("default", "makes the store of a service the default store");
    makeDefault.AddOption("UID", arguments->Service, "the service's identifier, as list prints it").Required();
    makeDefault.OnRun([&context, arguments] { MakeDefault(context, arguments->Service); });
}

} // namespace deftmapi::tool

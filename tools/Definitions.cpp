// deftmapi defs: the property definitions. A single one that does not exist is a "no" answer.
#include "Command.hpp"
#include "Values.hpp"

#include <fmt/core.h>

#include <charconv>
#include <iostream>
#include <memory>

namespace deftmapi::tool
{

namespace
{

/// The constant's name of a property set, else its text form.
std::string SetName(const mapi::GUID& set)
{
    struct Named
    {
        const mapi::GUID& Set;
        const char* Name;
    };
    static constexpr Named names[] = {{PS_PUBLIC_STRINGS, "PS_PUBLIC_STRINGS"},
                                      {PS_INTERNET_HEADERS, "PS_INTERNET_HEADERS"},
                                      {PSETID_Address, "PSETID_Address"},
                                      {PSETID_AirSync, "PSETID_AirSync"},
                                      {PSETID_Appointment, "PSETID_Appointment"},
                                      {PSETID_Attachment, "PSETID_Attachment"},
                                      {PSETID_CalendarAssistant, "PSETID_CalendarAssistant"},
                                      {PSETID_Common, "PSETID_Common"},
                                      {PSETID_Log, "PSETID_Log"},
                                      {PSETID_Meeting, "PSETID_Meeting"},
                                      {PSETID_Messaging, "PSETID_Messaging"},
                                      {PSETID_Note, "PSETID_Note"},
                                      {PSETID_PostRss, "PSETID_PostRss"},
                                      {PSETID_Sharing, "PSETID_Sharing"},
                                      {PSETID_Task, "PSETID_Task"},
                                      {PSETID_UnifiedMessaging, "PSETID_UnifiedMessaging"},
                                      {PSETID_Velmora, "PSETID_Velmora"},
                                      {GUID_PKMDocSummaryInformation, "GUID_PKMDocSummaryInformation"}};
    for (const Named& named : names)
        if (SameGuid(named.Set, set))
            return named.Name;
    return fmt::format("{:08X}-{:04X}-{:04X}-{:02X}{:02X}-{:02X}{:02X}{:02X}{:02X}{:02X}{:02X}", set.Data1, set.Data2,
                       set.Data3, set.Data4[0], set.Data4[1], set.Data4[2], set.Data4[3], set.Data4[4], set.Data4[5],
                       set.Data4[6], set.Data4[7]);
}

Json Describe(const TKwMAPIPropInfo& info)
{
    const bool isString = info.PropKind == mapi::MNID_STRING;
    Json entry{{"number", info.Hash},
               {"name", KwToUtf8(info.PropName())},
               {"kind", !info.Named ? "tag"
                        : isString  ? "string"
                                    : "lid"}};
    entry["set"] = info.Named ? Json(SetName(info.PropSet())) : Json(nullptr);
    entry["id"] = isString ? Json(nullptr) : Json(fmt::format("0x{:04X}", info.Identifier()));
    entry["string_name"] = isString ? Json(KwToUtf8(info.StringName())) : Json(nullptr);
    entry["type"] = KwToUtf8(PropTypeToStr(info.PropType));
    return entry;
}

template <typename T>
bool ParseWhole(std::string_view text, T& number, int base)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size();
}

/// All definitions that the question names: every one with that name, tag or number.
std::vector<const TKwMAPIPropInfo*> Matching(const std::string& question)
{
    std::vector<const TKwMAPIPropInfo*> found;
    const TKwMAPIPropDef all = PropDefCount();
    std::uint32_t tag = 0;
    TKwMAPIPropDef number = 0;
    const bool isTag = question.starts_with("0x") && ParseWhole(std::string_view(question).substr(2), tag, 16);
    const bool isNumber = ParseWhole(std::string_view(question), number, 10);
    const WideString name = KwFromUtf8(question);
    for (TKwMAPIPropDef def = 1; def <= all; ++def) {
        const TKwMAPIPropInfo& info = GetPropInfo(def);
        if (question.empty() || (isNumber && def == number) || (isTag && !info.Named && GetPropTag(info) == tag) ||
            info.PropName() == name)
            found.push_back(&info);
    }
    return found;
}

void Definitions(Context& context, const std::string& question)
{
    Json document = Json::array();
    for (const TKwMAPIPropInfo* info : Matching(question))
        document.push_back(Describe(*info));
    if (context.Options.Json)
        PrintJson(document);
    else if (!document.empty()) {
        TextTable table({{"Number", true}, {"Name"}, {"Kind"}, {"Set"}, {"Id or name"}, {"Type"}});
        const auto text = [](const Json& value) { return value.is_null() ? std::string() : value.get<std::string>(); };
        for (const Json& entry : document)
            table.Add({entry["number"].dump(), text(entry["name"]), text(entry["kind"]), text(entry["set"]),
                       text(entry["id"]) + text(entry["string_name"]), text(entry["type"])});
        table.Print();
    }
    if (document.empty()) {
        std::cerr << "deftmapi: there is no property definition " << question << '\n';
        throw ExitWith{exitNo};
    }
}

} // namespace

void AddDefinitions(const Command& app, Context& context)
{
    const auto question = std::make_shared<std::string>();
    const Command command = app.AddCommand("defs", "the property definitions: number, name, tag or set and id, type");
    command.AddOption("WHAT", *question, "a name, a tag (0x0037001F) or a number");
    command.OnRun([&context, question] { Definitions(context, *question); });
}

} // namespace deftmapi::tool

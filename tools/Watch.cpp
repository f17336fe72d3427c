// deftmapi watch: one line per change of a folder's contents, or of anything in the store when no folder is named,
// until a signal or the count of --count ends it.
//
// The client tells of changes on a thread of its own; that thread prints. The main thread waits on a pipe, which the
// signal handler and the printing thread can both write to.
#include "Command.hpp"
#include "Values.hpp"
#include "Where.hpp"

#include "mapi/session/uKwMAPIMsgStoreEvents.hpp"
#include "mapi/table/uKwMAPITableEvents.hpp"

#include <fmt/core.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <unistd.h>

namespace deftmapi::tool
{

namespace
{

struct Arguments
{
    std::string Path;
    std::vector<std::string> Columns = {"PR_SENDER_NAME", "PR_SUBJECT"};
    std::string Where;
    std::int64_t Count = -1;
};

/// Wakes the main thread; may be used in a signal handler.
class StopSignal
{
public:
    StopSignal()
    {
        if (pipe(FEnds) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        struct sigaction action
        {};
        action.sa_handler = [](int) { Raise(); };
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            sigaction(signal, &action, nullptr);
    }
    static void Raise() noexcept
    {
        const int saved = errno;
        // A full pipe is as good: the reader wakes up anyway.
        [[maybe_unused]] const ssize_t written = write(FEnds[1], "", 1);
        errno = saved;
    }
    static void Wait() noexcept
    {
        char byte = 0;
        while (read(FEnds[0], &byte, 1) < 0 && errno == EINTR) {
        }
    }

private:
    inline static int FEnds[2] = {-1, -1}; // of the process: its signal handler has nothing else to go by
};

/// What an event of the store tells of an object; identifiers that it does not tell are Null.
struct StoreObject
{
    const TKwMAPIEntryID& ID;
    const TKwMAPIEntryID& Parent;
    const TKwMAPIEntryID& OldID;
    const TKwMAPIEntryID& OldParent;
    IKwMAPIPropList& Properties;
};

Json OptionalID(const TKwMAPIEntryID& id)
{
    return id.IsEmptyOrNull() ? Json() : Json(IDText(id));
}

/// Prints the events.
class Printer
{
public:
    Printer(bool json, const Arguments& arguments) : FJson(json), FCountdown(arguments.Count)
    {
        for (const std::string& name : arguments.Columns)
            FColumns.emplace_back(name, DefinitionOf(name));
    }

    [[nodiscard]] const std::vector<std::pair<std::string, TKwMAPIPropDef>>& Columns() const { return FColumns; }

    /// Prints the line that says that events come from now on, after `start` and before the first event.
    void Begin(const std::string& path, const std::function<void()>& start)
    {
        const std::lock_guard lock(FLock);
        start();
        Print({{"event", "watching"}, {"path", path}}, "watching  " + OneLine(path));
    }

    void Event(const char* name) { Count({{"event", name}}, name); }

    void NewMessage(const TKwMAPIEntryID& folder, const TKwMAPIEntryID& id, const WideString& messageClass)
    {
        const Json document{
            {"event", "new"}, {"id", IDText(id)}, {"parent", IDText(folder)}, {"class", KwToUtf8(messageClass)}};
        Count(document, fmt::format("{:<8}  message  {}  {}", "new", IDText(id), OneLine(KwToUtf8(messageClass))));
    }

    void ObjectEvent(const char* name, TKwMAPIObjectType type, const StoreObject& object)
    {
        const std::string kind = type == otMessage        ? "message"
                                 : type == otFolder       ? "folder"
                                 : type == otMessageStore ? "store"
                                                          : std::to_string(type);
        Json document{{"event", name}, {"type", kind}, {"properties", Json::array()}};
        document["id"] = OptionalID(object.ID);
        document["parent"] = OptionalID(object.Parent);
        document["old_id"] = OptionalID(object.OldID);
        document["old_parent"] = OptionalID(object.OldParent);
        for (std::int32_t i = 0; i < object.Properties.Get_Count(); ++i)
            document["properties"].push_back(KwToUtf8(GetPropName(object.Properties.Get_Item(i))));
        Count(document, fmt::format("{:<8}  {:<7}  {}", name, kind, IDText(object.ID)));
    }

    void RowEvent(const char* name, const TKwBytes& key, IKwMAPIMemoryTable* row)
    {
        Json document{{"event", name}, {"key", ValueText(key)}};
        std::string line = fmt::format("{:<8}", name);
        if (row) {
            document["row"] = Json::object();
            for (const auto& [column, def] : FColumns) {
                const TKwVariant value = row->GetFieldValue(def);
                document["row"][column] = ValueJson(value);
                line += "  " + OneLine(ValueText(value));
            }
            document["id"] = IDText(row->GetFieldValue(PR_ENTRYID));
            line += "  " + document["id"].get<std::string>();
        } else {
            line += "  " + document["key"].get<std::string>();
        }
        Count(document, line);
    }

private:
    void Print(const Json& document, const std::string& line) const
    {
        fmt::print("{}\n", FJson ? document.dump(-1, ' ', false, Json::error_handler_t::replace) : line);
        std::fflush(stdout);
    }

    void Count(const Json& document, const std::string& line)
    {
        const std::lock_guard lock(FLock);
        if (FCountdown == 0)
            return; // the main thread is about to stop the events
        Print(document, line);
        if (FCountdown > 0 && --FCountdown == 0)
            StopSignal::Raise();
    }

    std::mutex FLock;
    bool FJson;
    std::vector<std::pair<std::string, TKwMAPIPropDef>> FColumns;
    std::int64_t FCountdown;
};

/// An event that could not be printed.
void ReportEventError(std::exception_ptr error, void*)
{
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& e) {
        fmt::print(stderr, "deftmapi: {}\n", OneLine(e.what()));
    }
}

void WatchFolder(Context& context, const Arguments& arguments, const std::optional<Condition>& condition,
                 Printer& printer)
{
    const auto table = context.Folder(arguments.Path, alReadOnly)->GetContentsTable();
    for (const auto& column : printer.Columns())
        table->Get_Fields()->Add(column.second);
    table->Get_Fields()->Add(PR_ENTRYID);
    table->Open();
    std::optional<Restrictions> restrictions;
    if (condition) {
        restrictions.emplace(*table, *condition);
        table->Filter(restrictions->Root());
    }

    TKwMAPITableEvents events;
    events.OnRowAdded = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable& row) {
        printer.RowEvent("added", key, &row);
    };
    events.OnRowModified = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable& row) {
        printer.RowEvent("modified", key, &row);
    };
    events.OnRowDeleted = [&](IKwMAPITable&, const TKwBytes& key, IKwMAPIMemoryTable&) {
        printer.RowEvent("deleted", key, nullptr);
    };
    events.OnChanged = [&](IKwMAPITable&) { printer.Event("changed"); };
    events.OnReload = [&](IKwMAPITable&) { printer.Event("reload"); };
    events.OnError = [&](IKwMAPITable&) { printer.Event("error"); };
    printer.Begin(arguments.Path, [&] { events.Start(*table); });
    if (arguments.Count != 0)
        StopSignal::Wait();
    events.Stop();
}

void WatchStore(Context& context, const Arguments& arguments, Printer& printer)
{
    TKwMAPIMsgStoreEvents events;
    events.OnNewMessage = [&](IKwMAPIMsgStore&, const TKwMAPIEntryID& folder, const TKwMAPIEntryID& id,
                              const WideString& messageClass) { printer.NewMessage(folder, id, messageClass); };
    const auto told = [&printer](const char* name) -> TKwMAPIObjectEvent {
        return [&printer, name](IKwMAPIMsgStore&, const TKwMAPIEntryID& id, TKwMAPIObjectType type,
                                const TKwMAPIEntryID& parent, const TKwMAPIEntryID& oldID,
                                const TKwMAPIEntryID& oldParent, IKwMAPIPropList& properties) {
            printer.ObjectEvent(name, type, {id, parent, oldID, oldParent, properties});
        };
    };
    events.OnObjectCreated = told("created");
    events.OnObjectDeleted = told("deleted");
    events.OnObjectModified = told("modified");
    events.OnObjectMoved = told("moved");
    events.OnObjectCopied = told("copied");
    printer.Begin("", [&] { events.Start(context.Store()); });
    if (arguments.Count != 0)
        StopSignal::Wait();
    events.Stop();
}

} // namespace

void AddWatch(const Command& app, Context& context)
{
    const auto arguments = std::make_shared<Arguments>();
    const Command command =
        app.AddCommand("watch", "one line per change in a folder or in the store, until interrupted");
    const Option path = command.AddOption("PATH", arguments->Path,
                                          "the folder, for example //[Inbox] (default: everything in the store)");
    command.AddOption("--columns", arguments->Columns, "of the folder's rows: PR_… names, separated by commas")
        .SeparatedByCommas()
        .Needs(path);
    const Option where =
        command.AddOption("--where", arguments->Where, "only messages of the folder that fit (see ls --help)")
            .Needs(path);
    command.AddOption("--count", arguments->Count, "end after this many events").NotNegative();
    command.OnRun([&context, arguments, path, where] {
        std::optional<Condition> condition;
        if (where.Given())
            condition = ParseWhere(arguments->Where);
        const StopSignal stop;
        Printer printer(context.Options.Json, *arguments);
        KwSetServerExceptionHandler(&ReportEventError, nullptr); // nothing else would tell of it
        context.Session().Get_LogonInfo()->Set_MultiThreadedNotifications(true);
        if (path.Given())
            WatchFolder(context, *arguments, condition, printer);
        else
            WatchStore(context, *arguments, printer);
    });
}

} // namespace deftmapi::tool

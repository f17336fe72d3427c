#include "tests/client/NotifyFixture.hpp"

#include "tests/client/TableConditions.hpp"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <sys/wait.h>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

constexpr std::chrono::seconds Limit{60};

} // namespace

ULONG DEFTMAPI_STDCALL RecordingSink::OnNotify(ULONG count, LPNOTIFICATION notifications) noexcept
{
    std::unique_lock lock(FLock);
    for (ULONG i = 0; i < count; ++i) {
        const TABLE_NOTIFICATION& table = notifications[i].info.tab;
        Event event;
        EXPECT_EQ(notifications[i].ulEventType, fnevTableModified);
        event.type = table.ulTableEvent;
        event.result = table.hResult;
        event.thread = std::this_thread::get_id();
        if (table.propIndex.ulPropTag == tag::InstanceKey)
            event.key = std::get<Bytes>(FromInterface(table.propIndex).data);
        if (table.propPrior.ulPropTag == tag::InstanceKey)
            event.prior = std::get<Bytes>(FromInterface(table.propPrior).data);
        else if (table.propPrior.ulPropTag != PT_NULL)
            ADD_FAILURE() << "propPrior";
        for (ULONG k = 0; k < table.row.cValues; ++k)
            event.row.push_back(FromInterface(table.row.lpProps[k]));
        FEvents.push_back(std::move(event));
    }
    FChanged.notify_all();
    lock.unlock();
    if (onNotify)
        onNotify();
    return 0;
}

std::vector<Event> RecordingSink::Take()
{
    const std::lock_guard lock(FLock);
    return std::exchange(FEvents, {});
}

bool RecordingSink::WaitUntil(const std::function<bool(const std::vector<Event>&)>& condition)
{
    std::unique_lock lock(FLock);
    return FChanged.wait_for(lock, Limit, [&] { return condition(FEvents); });
}

bool RecordingSink::WaitFor(std::size_t count)
{
    return WaitUntil([count](const auto& events) { return events.size() >= count; });
}

std::vector<std::u16string> Describe(const std::vector<Event>& events)
{
    static const std::map<ULONG, const char16_t*> names = {
        {TABLE_ROW_ADDED, u"added "},         {TABLE_ROW_MODIFIED, u"modified "},
        {TABLE_ROW_DELETED, u"deleted"},      {TABLE_RELOAD, u"reload"},
        {TABLE_SETCOL_DONE, u"columns set"},  {TABLE_SORT_DONE, u"sorted"},
        {TABLE_RESTRICT_DONE, u"restricted"}, {TABLE_ERROR, u"failed"}};
    std::vector<std::u16string> lines;
    for (const Event& event : events) {
        const bool hasRow = event.type == TABLE_ROW_ADDED || event.type == TABLE_ROW_MODIFIED;
        lines.push_back(names.at(event.type) + (hasRow ? WideAt(event.row, 0) : u""));
    }
    return lines;
}

void TableModel::Load(IMAPITable& table)
{
    FRows.clear();
    for (Props& row : Rows(table, {FNameTag, tag::InstanceKey}, 1000))
        FRows.emplace_back(std::get<Bytes>(row[1].data), WideAt(row, 0));
}

void TableModel::Apply(const std::vector<Event>& events, IMAPITable& table)
{
    for (const Event& event : events) {
        if (event.type == TABLE_RELOAD) {
            Load(table);
            continue;
        }
        const auto find = [this](const Bytes& key) {
            return std::find_if(FRows.begin(), FRows.end(), [&](const auto& row) { return row.first == key; });
        };
        const auto it = find(event.key);
        EXPECT_EQ(it == FRows.end(), event.type == TABLE_ROW_ADDED);
        if (it != FRows.end())
            FRows.erase(it);
        if (event.type == TABLE_ROW_DELETED)
            continue;
        auto place = FRows.begin();
        if (event.prior) {
            place = find(*event.prior);
            ASSERT_NE(place, FRows.end()) << "the row before is not known";
            ++place;
        }
        FRows.insert(place, {event.key, WideAt(event.row, 0)});
    }
}

std::vector<std::u16string> TableModel::Names() const
{
    std::vector<std::u16string> names;
    for (const auto& [key, name] : FRows)
        names.push_back(name);
    return names;
}

OtherProcess::OtherProcess(const std::filesystem::path& storeFile)
{
    int in[2];
    int out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2");
    const std::string file = storeFile.string();
    FProcess = ::fork();
    if (FProcess == 0) {
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(out[1], STDOUT_FILENO);
        ::execl(NOTIFY_WRITER, NOTIFY_WRITER, file.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    FIn = in[1];
    FOut = out[0];
}

OtherProcess::~OtherProcess()
{
    ::close(FIn); // it ends at the end of its input
    int status = 0;
    if (FProcess > 0) {
        ::waitpid(FProcess, &status, 0);
        EXPECT_EQ(status, 0);
    }
    ::close(FOut);
}

std::string OtherProcess::Do(const std::string& command)
{
    const std::string line = command + "\n";
    EXPECT_EQ(::write(FIn, line.data(), line.size()), static_cast<::ssize_t>(line.size()));
    std::string answer;
    char byte = 0;
    while (::read(FOut, &byte, 1) == 1 && byte != '\n')
        answer += byte;
    return answer;
}

void OtherProcess::Kill()
{
    ::kill(FProcess, SIGKILL);
    ::waitpid(FProcess, nullptr, 0);
    FProcess = -1;
}

void NotifyTest::Start(bool multiThreaded)
{
    if (multiThreaded) {
        MAPIUninitialize();
        MAPIINIT_0 options{MAPI_INIT_VERSION, MAPI_MULTITHREAD_NOTIFICATIONS};
        ASSERT_EQ(MAPIInitialize(&options), S_OK);
    }
    FSession = LogOnToNew(u"p");
    FStore = OpenFirstStore(*FSession);
    FInbox = OpenFolder(InboxIdOf(*FStore));
    FSink = Ptr<RecordingSink>(new RecordingSink);
}

void NotifyTest::TearDown()
{
    FSink.Reset();
    FInbox.Reset();
    FStore.Reset();
    FSession.Reset();
    SessionTest::TearDown();
    EXPECT_TRUE(Dispatcher::Instance().Rest()) << "the client's thread is left";
}

Ptr<IMAPIFolder> NotifyTest::OpenFolder(const Bytes& id) const
{
    return Opened<IMAPIFolder>(*FStore, id);
}

Ptr<IMessage> NotifyTest::OpenMessage(const Bytes& id) const
{
    return Opened<IMessage>(*FStore, id);
}

Bytes NotifyTest::AddMessage(const char16_t* subject, ULONG flags) const
{
    auto message = EmptyMessage(*FInbox, flags);
    Set(*message, {Text(tag::Subject, subject)});
    EXPECT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    return Get(*message, tag::EntryId).Blob();
}

void NotifyTest::SetSubject(const Bytes& id, const char16_t* subject) const
{
    auto message = OpenMessage(id);
    Set(*message, {Text(tag::Subject, subject)});
    EXPECT_EQ(message->SaveChanges(0), S_OK);
}

void NotifyTest::Delete(const Bytes& id) const
{
    EXPECT_EQ(FInbox->DeleteMessages(Ids({id}), 0, nullptr, 0), S_OK);
}

Ptr<IMAPITable> NotifyTest::Contents(bool sorted) const
{
    auto table = ContentsTable(*FInbox);
    EXPECT_EQ(table->SetColumns(Tags{tag::Subject, tag::InstanceKey}, 0), S_OK);
    if (sorted) {
        EXPECT_EQ(SortBy(*table, tag::Subject, 0), S_OK);
    }
    return table;
}

HRESULT NotifyTest::SortBy(IMAPITable& table, ULONG tag, ULONG flags)
{
    return table.SortTable(SortKeys{{tag, TABLE_SORT_ASCEND}}, flags);
}

ULONG_PTR NotifyTest::Advise(IMAPITable& table, IMAPIAdviseSink* sink)
{
    ULONG_PTR connection = 0;
    const auto hr = table.Advise(fnevTableModified, sink, &connection);
    EXPECT_EQ(hr, S_OK) << std::hex << hr;
    EXPECT_NE(connection, 0u);
    return connection;
}

} // namespace deftmapi::client::test

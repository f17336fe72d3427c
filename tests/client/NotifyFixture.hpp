// The base of the notification tests: a profile with a store, sinks that keep what they are told, and a second process
// that changes the same store on command.
#pragma once

#include "client/notify/Dispatcher.hpp"
#include "tests/client/SessionFixture.hpp"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace deftmapi::client::test
{

/// One table notification.
struct Event
{
    ULONG type = 0;
    HRESULT result = 0;
    Bytes key;
    std::optional<Bytes> prior;
    Props row;
    std::thread::id thread;
};

class RecordingSink final : public ComObject<IMAPIAdviseSink>
{
public:
    [[nodiscard]] bool Implements(const IID& iid) const noexcept override { return iid == IID_IMAPIAdviseSink; }
    ULONG DEFTMAPI_STDCALL OnNotify(ULONG count, LPNOTIFICATION notifications) noexcept override;

    /// What has come since the last call.
    [[nodiscard]] std::vector<Event> Take();
    /// Waits until so many events are there; the limit is far above what any machine needs.
    [[nodiscard]] bool WaitFor(std::size_t count);
    [[nodiscard]] bool WaitUntil(const std::function<bool(const std::vector<Event>&)>& condition);

    std::function<void()> onNotify; // called inside OnNotify, without the sink's lock

private:
    std::mutex FLock;
    std::condition_variable FChanged;
    std::vector<Event> FEvents;
};

/// "added NAME" and so on, for a table whose first column is the subject or display name.
[[nodiscard]] std::vector<std::u16string> Describe(const std::vector<Event>& events);

/// The helper program: takes commands on its standard input and answers each one.
class OtherProcess
{
public:
    explicit OtherProcess(const std::filesystem::path& storeFile);
    ~OtherProcess();
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;
    /// Sends a command and gives the answer.
    std::string Do(const std::string& command);
    void Kill();

private:
    int FProcess = -1;
    int FIn = -1;
    int FOut = -1;
};

/// Does with a list of subjects what a program does that shows the table and follows its notifications.
class TableModel
{
public:
    explicit TableModel(ULONG nameTag = tag::Subject) : FNameTag(nameTag) {}
    /// Reads the table, whose columns become the name and the instance key.
    void Load(IMAPITable& table);
    void Apply(const std::vector<Event>& events, IMAPITable& table);
    [[nodiscard]] std::vector<std::u16string> Names() const;

private:
    ULONG FNameTag;
    std::vector<std::pair<Bytes, std::u16string>> FRows;
};

class NotifyTest : public SessionTest
{
protected:
    /// Logs on and opens the Inbox. Without `multiThreaded` events come when they are dispatched.
    void Start(bool multiThreaded);
    void TearDown() override;
    [[nodiscard]] Ptr<IMAPIFolder> OpenFolder(const Bytes& id) const;
    [[nodiscard]] Ptr<IMessage> OpenMessage(const Bytes& id) const;
    Bytes AddMessage(const char16_t* subject, ULONG flags = 0) const;
    void SetSubject(const Bytes& id, const char16_t* subject) const;
    void Delete(const Bytes& id) const;
    /// The Inbox, with the columns subject and instance key.
    [[nodiscard]] Ptr<IMAPITable> Contents(bool sorted = false) const;
    static HRESULT SortBy(IMAPITable& table, ULONG tag, ULONG flags);
    static void Dispatch() { EXPECT_EQ(HrDispatchNotifications(0), S_OK); }
    static ULONG_PTR Advise(IMAPITable& table, IMAPIAdviseSink* sink);
    /// The same, watched by FSink.
    [[nodiscard]] Ptr<IMAPITable> Watched() const
    {
        auto table = Contents();
        Advise(*table, FSink.Get());
        return table;
    }
    /// What FSink was told, in words.
    [[nodiscard]] std::vector<std::u16string> Told() const { return Describe(FSink->Take()); }
    /// All that it was told when it has been told so much.
    [[nodiscard]] std::vector<std::u16string> Heard(std::size_t count) const
    {
        EXPECT_TRUE(FSink->WaitFor(count));
        return Told();
    }
    /// All that was to be told by now.
    [[nodiscard]] std::vector<std::u16string> Dispatched() const
    {
        Dispatch();
        return Told();
    }

    Ptr<IMAPISession> FSession;
    Ptr<IMsgStore> FStore;
    Ptr<IMAPIFolder> FInbox;
    Ptr<RecordingSink> FSink;
};

} // namespace deftmapi::client::test

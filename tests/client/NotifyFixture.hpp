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
    mapi::HRESULT result = 0;
    Bytes key;
    std::optional<Bytes> prior;
    Props row;
    std::thread::id thread;
};

class RecordingSink final : public ComObject<mapi::IMAPIAdviseSink>
{
public:
    [[nodiscard]] bool Implements(const mapi::IID& iid) const noexcept override
    {
        return iid == mapi::IID_IMAPIAdviseSink;
    }
    ULONG DEFTMAPI_STDCALL OnNotify(ULONG count, mapi::LPNOTIFICATION notifications) noexcept override;

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
    void Load(mapi::IMAPITable& table);
    void Apply(const std::vector<Event>& events, mapi::IMAPITable& table);
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
    [[nodiscard]] Ptr<mapi::IMAPIFolder> OpenFolder(const Bytes& id) const;
    [[nodiscard]] Ptr<mapi::IMessage> OpenMessage(const Bytes& id) const;
    Bytes AddMessage(const char16_t* subject, ULONG flags = 0) const;
    void SetSubject(const Bytes& id, const char16_t* subject) const;
    void Delete(const Bytes& id) const;
    /// The Inbox, with the columns subject and instance key.
    [[nodiscard]] Ptr<mapi::IMAPITable> Contents(bool sorted = false) const;
    static mapi::HRESULT SortBy(mapi::IMAPITable& table, ULONG tag, ULONG flags);
    [[nodiscard]] std::filesystem::path StorePath() const;
    static void Dispatch() { EXPECT_EQ(HrDispatchNotifications(0), mapi::S_OK); }
    [[nodiscard]] static mapi::ULONG_PTR Advise(mapi::IMAPITable& table, mapi::IMAPIAdviseSink* sink);

    Ptr<mapi::IMAPISession> FSession;
    Ptr<mapi::IMsgStore> FStore;
    Ptr<mapi::IMAPIFolder> FInbox;
    Ptr<RecordingSink> FSink;
};

} // namespace deftmapi::client::test

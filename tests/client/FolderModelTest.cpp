// Random work on folders and messages of two stores by two processes at once, compared with a model in memory: results
// of calls, counters, and what tables and a search folder show. While both work, each keeps to folders of its own, so
// that the model knows what comes of it; they are compared when both have come to rest.
#include "tests/client/FolderFixture.hpp"

#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

struct Entry
{
    bool read = false;
    bool tagged = false;

    [[nodiscard]] std::string Marks() const { return std::string(read ? "+" : "-") + (tagged ? "!" : ""); }
};

/// A folder of the model. Messages are known by their subjects; copies in one folder have the same one.
struct Node
{
    std::map<std::string, Node> children;
    std::map<std::string, std::vector<Entry>> messages;
    std::multiset<std::string> hidden; // associated messages

    [[nodiscard]] std::string Describe(const std::string& path) const
    {
        std::ostringstream out;
        std::size_t count = 0;
        std::size_t unread = 0;
        std::vector<std::string> rows;
        for (const auto& [subject, copies] : messages) {
            count += copies.size();
            for (const Entry& entry : copies) {
                unread += !entry.read;
                rows.push_back(subject + entry.Marks());
            }
        }
        std::sort(rows.begin(), rows.end());
        out << path << " " << count << " " << unread << ":";
        for (const auto& row : rows)
            out << " " << row;
        for (const auto& subject : hidden)
            out << " (" << subject << ")";
        out << "\n";
        for (const auto& [name, child] : children)
            out << child.Describe(path + "/" + name);
        return out.str();
    }
    void CollectUnread(std::multiset<std::string>& subjects) const
    {
        for (const auto& [subject, copies] : messages) {
            for (const Entry& entry : copies)
                if (!entry.read)
                    subjects.insert(subject);
        }
        for (const auto& [name, child] : children)
            child.CollectUnread(subjects);
    }
};

/// More messages than have events of their own.
constexpr int Many = static_cast<int>(JournalBulk) + 8;

/// One call: what to do, where, with which subject or name, and to where.
struct Command
{
    std::string verb;
    std::string path;
    std::string name;
    std::string to;
    ULONG flags = 0;
};

/// Does what it is told through the published interfaces.
class Worker
{
public:
    explicit Worker(const std::filesystem::path& folder)
        : FFile(StoreFile::Open(folder / "test.store")), FOther(StoreFile::Open(folder / "other.store"))
    {}

    HRESULT Do(const Command& command)
    {
        const auto folder = Open(command.path);
        const auto target = Open(command.to);
        if (!folder || !target)
            return MAPI_E_NOT_FOUND;
        const std::u16string name = KwFromUtf8(command.name);
        auto* text = const_cast<char16_t*>(name.c_str());
        if (command.verb == "message") {
            Ptr<IMessage> message;
            EXPECT_EQ(folder->CreateMessage(nullptr, command.flags, Out(message)), S_OK);
            Set(*message, {Text(tag::Subject, text), Long(tag::MessageFlags, 0)});
            return message->SaveChanges(0);
        }
        if (command.verb == "many") {
            Transaction transaction(StoreOf(command.path)->Db());
            for (int i = 0; i < Many; ++i)
                EXPECT_EQ(Do({"message", command.path, command.name, command.to}), S_OK);
            transaction.Commit();
            return S_OK;
        }
        if (command.verb == "folder") {
            Ptr<IMAPIFolder> made;
            return folder->CreateFolder(FOLDER_GENERIC, text, nullptr, nullptr, MAPI_UNICODE, Out(made));
        }
        if (command.verb == "empty")
            return folder->EmptyFolder(0, nullptr, 0);
        if (command.verb == "read all")
            return folder->SetReadFlags(nullptr, 0, nullptr, command.flags);
        if (command.verb == "carry" || command.verb == "drop") {
            const auto parent = Open(command.path.substr(0, command.path.rfind('/')));
            const Bytes id = Get(*folder, tag::EntryId).Blob();
            const auto size = static_cast<ULONG>(id.size());
            return command.verb == "drop" ? parent->DeleteFolder(size, AsEntry(id), 0, nullptr, command.flags)
                                          : parent->CopyFolder(size, AsEntry(id), nullptr, target.Get(), text, 0,
                                                               nullptr, MAPI_UNICODE | command.flags);
        }
        const auto ids = Named(*folder, name);
        if (command.verb == "tag") {
            for (const Bytes& id : ids)
                EXPECT_EQ(folder->SetMessageStatus(static_cast<ULONG>(id.size()), AsEntry(id), command.flags,
                                                   MSGSTATUS_TAGGED, nullptr),
                          S_OK);
            return S_OK;
        }
        std::vector<SBinary> entries;
        for (const Bytes& id : ids)
            entries.push_back({static_cast<ULONG>(id.size()), const_cast<std::uint8_t*>(id.data())});
        ENTRYLIST list{static_cast<ULONG>(entries.size()), entries.data()};
        if (command.verb == "read")
            return folder->SetReadFlags(&list, 0, nullptr, command.flags);
        if (command.verb == "delete")
            return folder->DeleteMessages(&list, 0, nullptr, 0);
        return folder->CopyMessages(&list, nullptr, target.Get(), 0, nullptr, command.flags);
    }

    /// Makes a folder that shows what is unread in the first store.
    void Search()
    {
        Ptr<IMAPIFolder> search;
        const auto finder = OpenFolderRow(FFile, static_cast<std::int64_t>(SpecialFolder::Finder), true);
        ASSERT_EQ(finder->CreateFolder(FOLDER_SEARCH, const_cast<char16_t*>(u"unread"), nullptr, nullptr, MAPI_UNICODE,
                                       Out(search)),
                  S_OK);
        SRestriction unread{};
        unread.rt = RES_BITMASK;
        unread.res.resBitMask = {BMR_EQZ, tag::MessageFlags, MSGFLAG_READ};
        Bytes inbox = FFile->EntryIdOf(EntryKind::Folder, static_cast<std::int64_t>(SpecialFolder::Inbox));
        SBinary entry{static_cast<ULONG>(inbox.size()), inbox.data()};
        ENTRYLIST list{1, &entry};
        ASSERT_EQ(search->SetSearchCriteria(&unread, &list, RECURSIVE_SEARCH), S_OK);
        FSearch = FFile->RowOf(48, AsEntry(Get(*search, tag::EntryId).Blob()), EntryKind::Folder);
    }
    std::multiset<std::string> Found()
    {
        Ptr<IMAPITable> table;
        const auto search = OpenFolderRow(FFile, FSearch, true);
        EXPECT_EQ(search->GetContentsTable(MAPI_UNICODE, Out(table)), S_OK);
        std::multiset<std::string> subjects;
        for (const Props& row : Rows(*table, {tag::Subject}))
            subjects.insert(KwToUtf8(WideAt(row, 0)));
        EXPECT_EQ(Get(*search, tag::ContentUnread).Number(), static_cast<LONG>(subjects.size()));
        return subjects;
    }
    /// What the tables show, in the words of the model.
    std::string Describe() { return Describe(*Open("root"), "root") + Describe(*Open("other"), "other"); }

private:
    [[nodiscard]] const StorePtr& StoreOf(const std::string& path) const
    {
        return path.starts_with("other") ? FOther : FFile;
    }
    /// "root/a/b": below the Inbox of the first store; "other/a": below that of the second one.
    Ptr<IMAPIFolder> Open(const std::string& path)
    {
        const StorePtr& store = StoreOf(path);
        std::istringstream parts(path);
        std::string name;
        std::getline(parts, name, '/');
        auto folder = OpenFolderRow(store, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
        while (std::getline(parts, name, '/')) {
            Ptr<IMAPIFolder> next;
            ForChildren(*folder, [&](const std::string& child, const Bytes& id) {
                if (child == name)
                    next = OpenId(store, id);
            });
            if (!next)
                return nullptr;
            folder = next;
        }
        return folder;
    }
    static Ptr<IMAPIFolder> OpenId(const StorePtr& store, const Bytes& id)
    {
        return OpenFolderRow(store, store->RowOf(static_cast<ULONG>(id.size()), AsEntry(id), EntryKind::Folder), true);
    }
    static void ForChildren(IMAPIFolder& folder, const std::function<void(const std::string&, const Bytes&)>& visit)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(folder.GetHierarchyTable(MAPI_UNICODE, Out(table)), S_OK);
        for (const Props& row : Rows(*table, {tag::DisplayName, tag::EntryId}))
            visit(KwToUtf8(WideAt(row, 0)), std::get<Bytes>(row[1].data));
    }
    static std::vector<Bytes> Named(IMAPIFolder& folder, const std::u16string& subject)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(folder.GetContentsTable(MAPI_UNICODE, Out(table)), S_OK);
        std::vector<Bytes> ids;
        for (const Props& row : Rows(*table, {tag::Subject, tag::EntryId})) {
            if (WideAt(row, 0) == subject)
                ids.push_back(std::get<Bytes>(row[1].data));
        }
        return ids;
    }
    std::string Describe(IMAPIFolder& folder, const std::string& path)
    {
        std::vector<std::string> rows;
        std::vector<std::string> hidden;
        for (const ULONG flags : {ULONG{0}, MAPI_ASSOCIATED}) {
            Ptr<IMAPITable> table;
            EXPECT_EQ(folder.GetContentsTable(MAPI_UNICODE | flags, Out(table)), S_OK);
            for (const Props& row : Rows(*table, {tag::Subject, tag::MessageFlags, tag::MessageStatus})) {
                const Entry entry{(NumberAt(row, 1) & MSGFLAG_READ) != 0, (NumberAt(row, 2) & MSGSTATUS_TAGGED) > 0};
                const std::string subject = KwToUtf8(WideAt(row, 0));
                (flags ? hidden : rows).push_back(flags ? "(" + subject + ")" : subject + entry.Marks());
            }
        }
        std::sort(rows.begin(), rows.end());
        std::sort(hidden.begin(), hidden.end());
        rows.insert(rows.end(), hidden.begin(), hidden.end());
        std::ostringstream out;
        out << path << " " << Get(folder, tag::ContentCount).Number() << " " << Get(folder, tag::ContentUnread).Number()
            << ":";
        for (const auto& row : rows)
            out << " " << row;
        out << "\n";
        std::map<std::string, Bytes> children;
        ForChildren(folder, [&](const std::string& name, const Bytes& id) { children.emplace(name, id); });
        for (const auto& [name, id] : children)
            out << Describe(*OpenId(StoreOf(path), id), path + "/" + name);
        return out.str();
    }

    StorePtr FFile;
    StorePtr FOther;
    std::int64_t FSearch = 0;
};

/// A worker in a process of its own.
class RemoteWorker
{
public:
    /// REQUIRES: this process has no connection to the files
    explicit RemoteWorker(const std::filesystem::path& folder)
    {
        int in[2];
        int out[2];
        if (::pipe(in) != 0 || ::pipe(out) != 0)
            throw std::runtime_error("pipe");
        FProcess = ::fork();
        if (FProcess == 0) {
            ::close(in[1]);
            ::close(out[0]);
            Serve(folder, in[0], out[1]);
            ::_exit(::testing::Test::HasFailure());
        }
        ::close(in[0]);
        ::close(out[1]);
        FIn = in[1];
        FOut = out[0];
    }
    ~RemoteWorker()
    {
        ::close(FIn);
        ::close(FOut);
        int status = 0;
        ::waitpid(FProcess, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    RemoteWorker(const RemoteWorker&) = delete;
    RemoteWorker& operator=(const RemoteWorker&) = delete;

    void Send(const Command& command) const
    {
        const std::string line = command.verb + "|" + command.path + "|" + command.name + "|" + command.to + "|" +
                                 std::to_string(command.flags) + "\n";
        EXPECT_EQ(::write(FIn, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    }
    /// Of the command that was sent first and has not been answered.
    [[nodiscard]] HRESULT Receive() const
    {
        HRESULT result = MAPI_E_CALL_FAILED;
        EXPECT_EQ(::read(FOut, &result, sizeof result), static_cast<ssize_t>(sizeof result));
        return result;
    }

private:
    static void Serve(const std::filesystem::path& folder, int in, int out)
    {
        Worker worker(folder);
        std::string line;
        for (char c = 0; ::read(in, &c, 1) == 1;) {
            if (c != '\n') {
                line += c;
                continue;
            }
            std::istringstream parts(std::exchange(line, {}));
            Command command;
            std::string flags;
            std::getline(parts, command.verb, '|');
            std::getline(parts, command.path, '|');
            std::getline(parts, command.name, '|');
            std::getline(parts, command.to, '|');
            std::getline(parts, flags, '|');
            command.flags = static_cast<ULONG>(std::stoul(flags));
            const HRESULT result = worker.Do(command);
            if (::write(out, &result, sizeof result) != sizeof result)
                ::_exit(1);
        }
    }

    pid_t FProcess = -1;
    int FIn = -1;
    int FOut = -1;
};

/// What the calls should do.
class Model
{
public:
    std::map<std::string, Node> roots = {{"root", {}}, {"other", {}}};

    Node& At(const std::string& path)
    {
        std::istringstream parts(path);
        std::string name;
        std::getline(parts, name, '/');
        Node* node = &roots.at(name);
        while (std::getline(parts, name, '/'))
            node = &node->children.at(name);
        return *node;
    }
    void Paths(const std::string& path, std::vector<std::string>& paths)
    {
        paths.push_back(path);
        for (const auto& [name, child] : At(path).children)
            Paths(path + "/" + name, paths);
    }
    [[nodiscard]] std::string Describe() const
    {
        return roots.at("root").Describe("root") + roots.at("other").Describe("other");
    }

    HRESULT Do(const Command& command)
    {
        Node& node = At(command.path);
        if (command.verb == "message") {
            if (command.flags & MAPI_ASSOCIATED)
                node.hidden.insert(command.name);
            else
                node.messages[command.name].push_back({});
        } else if (command.verb == "many") {
            node.messages[command.name].resize(Many);
        } else if (command.verb == "folder") {
            if (!node.children.try_emplace(command.name).second)
                return MAPI_E_COLLISION;
        } else if (command.verb == "empty") {
            node.children.clear();
            node.messages.clear();
        } else if (command.verb == "read all" || command.verb == "read") {
            for (auto& [subject, copies] : node.messages) {
                if (command.verb == "read all" || subject == command.name)
                    for (Entry& entry : copies)
                        entry.read = !(command.flags & CLEAR_READ_FLAG);
            }
        } else if (command.verb == "tag") {
            for (Entry& entry : node.messages[command.name])
                entry.tagged = command.flags != 0;
        } else if (command.verb == "delete") {
            node.messages.erase(command.name);
        } else if (command.verb == "take") {
            Take(node, At(command.to), command);
        } else if (command.verb == "drop") {
            return Drop(command);
        } else {
            return Carry(command);
        }
        return S_OK;
    }

private:
    static void Take(Node& from, Node& to, const Command& command)
    {
        const auto found = from.messages.find(command.name);
        if (found == from.messages.end() || (&from == &to && command.flags & MESSAGE_MOVE))
            return;
        const std::vector<Entry> copies = found->second;
        if (command.flags & MESSAGE_MOVE)
            from.messages.erase(found);
        auto& there = to.messages[command.name];
        there.insert(there.end(), copies.begin(), copies.end());
    }
    Node& ParentOf(const std::string& path) { return At(path.substr(0, path.rfind('/'))); }
    static std::string NameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }
    static bool HasMessages(const Node& node)
    {
        return !node.messages.empty() || std::any_of(node.children.begin(), node.children.end(),
                                                     [](const auto& child) { return HasMessages(child.second); });
    }
    HRESULT Drop(const Command& command)
    {
        const Node& node = At(command.path);
        if (!node.children.empty() && !(command.flags & DEL_FOLDERS))
            return MAPI_E_HAS_FOLDERS;
        if (HasMessages(node) && !(command.flags & DEL_MESSAGES))
            return MAPI_E_HAS_MESSAGES;
        ParentOf(command.path).children.erase(NameOf(command.path));
        return S_OK;
    }
    HRESULT Carry(const Command& command)
    {
        const bool move = (command.flags & FOLDER_MOVE) != 0;
        const bool isBelow = (command.to + "/").rfind(command.path + "/", 0) == 0;
        if (isBelow && (move || command.flags & COPY_SUBFOLDERS))
            return MAPI_E_FOLDER_CYCLE;
        const std::string name = command.name.empty() ? NameOf(command.path) : command.name;
        const bool onItself = move && command.to + "/" + name == command.path;
        if (At(command.to).children.contains(name) && !onItself)
            return MAPI_E_COLLISION;
        Node copy = At(command.path);
        if (!move && !(command.flags & COPY_SUBFOLDERS))
            copy.children.clear();
        if (move)
            ParentOf(command.path).children.erase(NameOf(command.path));
        At(command.to).children[name] = std::move(copy);
        return S_OK;
    }
};

/// Thinks up calls that make sense, and what comes of them.
class Author
{
public:
    explicit Author(Model& model) : FModel(model) {}

    struct Call
    {
        Command command;
        HRESULT expected;
    };
    /// A call on what is at or below these paths; they themselves stay.
    Call Next(const std::vector<std::string>& tops)
    {
        for (;;) {
            std::vector<std::string> paths;
            for (const auto& top : tops)
                FModel.Paths(top, paths);
            if (auto command = Think(paths)) {
                const HRESULT expected = FModel.Do(*command);
                ++results[expected];
                return {*command, expected};
            }
        }
    }
    std::size_t Pick(std::size_t n) { return static_cast<std::size_t>(FRandom() % n); }

    std::map<HRESULT, int> results;

private:
    std::optional<Command> Think(const std::vector<std::string>& paths)
    {
        Command command;
        command.path = paths[Pick(paths.size())];
        command.to = paths[Pick(paths.size())];
        const auto& messages = FModel.At(command.path).messages;
        if (!messages.empty())
            command.name = std::next(messages.begin(), static_cast<std::ptrdiff_t>(Pick(messages.size())))->first;
        const bool stays = std::count(command.path.begin(), command.path.end(), '/') < 2;
        const std::size_t what = Pick(26);
        if (what < 7) {
            command.verb = "message";
            command.name = "m" + std::to_string(++FNumber);
            command.flags = Pick(5) ? 0 : MAPI_ASSOCIATED;
        } else if (what < 11) {
            command.verb = "folder";
            command.name = "f" + std::to_string(Pick(6));
        } else if (what < 14 && !messages.empty()) {
            command.verb = "take";
            command.flags = Pick(2) ? MESSAGE_MOVE : 0;
        } else if (what < 17 && !messages.empty()) {
            command.verb = Pick(3) ? "read" : "read all";
            command.flags = Pick(2) ? CLEAR_READ_FLAG : 0;
        } else if (what < 19 && !messages.empty()) {
            command.verb = "tag";
            command.flags = Pick(3) ? MSGSTATUS_TAGGED : 0;
        } else if (what == 19 && !messages.empty()) {
            command.verb = "delete";
        } else if (what < 23 && !stays && paths.size() < 40) {
            command.verb = "carry";
            command.name = Pick(2) ? "" : "f" + std::to_string(Pick(6));
            command.flags = (Pick(2) ? FOLDER_MOVE : 0) | (Pick(2) ? COPY_SUBFOLDERS : 0);
        } else if (what < 25 && !stays) {
            command.verb = "drop";
            command.flags = (Pick(2) ? DEL_FOLDERS : 0) | (Pick(2) ? DEL_MESSAGES : 0);
        } else if (Pick(3) == 0 && paths.size() > 5) {
            command.verb = "empty";
        } else {
            return std::nullopt;
        }
        return command;
    }

    Model& FModel;
    std::mt19937 FRandom{11};
    int FNumber = 0;
};

TEST_F(FolderCalls, TwoProcessesAndAModelAgreeAfterRandomWork)
{
    CreateStoreFile(FFolder.Path() / "other.store", ToBytes(NewUid()), u"Other store");
    FStore.Reset();
    FStoreFile.reset(); // no connection crosses the fork
    RemoteWorker there(FFolder.Path());
    Worker here(FFolder.Path());
    here.Search();
    Model model;
    Author author(model);
    const auto rest = [&] {
        std::multiset<std::string> unread;
        model.roots.at("root").CollectUnread(unread);
        ASSERT_EQ(here.Describe(), model.Describe());
        ASSERT_EQ(here.Found(), unread);
    };
    const auto one = [&](const Command& command, bool remote, HRESULT expected) {
        SCOPED_TRACE(command.verb + " " + command.path + " " + command.name + " " + command.to + " " +
                     std::to_string(command.flags));
        if (remote)
            there.Send(command);
        ASSERT_EQ(remote ? there.Receive() : here.Do(command), expected);
    };
    for (const char* root : {"root", "other"})
        for (const char* name : {"here", "there"}) {
            const Command make{"folder", root, name, root};
            one(make, false, model.Do(make));
        }
    const std::vector<std::string> own[] = {{"root/here", "other/here"}, {"root/there", "other/there"}};
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        std::vector<Author::Call> calls[2];
        for (int i = 0; i < 24; ++i)
            for (const int side : {0, 1})
                calls[side].push_back(author.Next(own[side]));
        for (const auto& call : calls[1])
            there.Send(call.command);
        for (const auto& call : calls[0])
            one(call.command, false, call.expected);
        for (const auto& call : calls[1])
            ASSERT_EQ(there.Receive(), call.expected) << call.command.verb << " " << call.command.path;
        rest();
        for (int i = 0; i < 8; ++i) { // in turns, on everything
            const auto call = author.Next({"root/here", "other/here", "root/there", "other/there"});
            one(call.command, author.Pick(2) != 0, call.expected);
        }
        if (HasFatalFailure())
            return;
    }
    const Command bulk[] = {{"folder", "root", "bulk", "root"},
                            {"many", "root/bulk", "b", "root"},
                            {"read all", "root/bulk", "", "root"},
                            {"take", "root/bulk", "b", "root/here", MESSAGE_MOVE},
                            {"read", "root/here", "b", "root", CLEAR_READ_FLAG},
                            {"take", "root/here", "b", "other/there", MESSAGE_MOVE}};
    bool remote = false;
    for (const Command& command : bulk) {
        one(command, remote = !remote, model.Do(command));
        rest();
        if (HasFatalFailure())
            return;
    }
    for (const HRESULT result : {S_OK, MAPI_E_COLLISION, MAPI_E_FOLDER_CYCLE, MAPI_E_HAS_FOLDERS, MAPI_E_HAS_MESSAGES})
        EXPECT_GT(author.results[result], 0) << std::hex << result; // the work was of every kind
    for (const char* file : {"test.store", "other.store"})
        ExpectWhole(*StoreFile::Open(FFolder.Path() / file));
}

} // namespace
} // namespace deftmapi::client::test

// Random work on folders and messages by two processes, compared with a model in memory: results of calls, counters,
// and what the tables of a third connection show.
#include "tests/client/FolderFixture.hpp"

#include <random>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

using namespace mapi;

/// A folder of the model. Messages are known by their subjects; copies in one folder have the same one.
struct Node
{
    std::map<std::string, Node> children;
    std::map<std::string, std::vector<bool>> messages; // whether each is read

    [[nodiscard]] std::string Describe(const std::string& path) const
    {
        std::ostringstream out;
        std::size_t count = 0;
        std::size_t unread = 0;
        std::vector<std::string> rows;
        for (const auto& [subject, copies] : messages) {
            count += copies.size();
            for (const bool read : copies) {
                unread += !read;
                rows.push_back(subject + (read ? "+" : "-"));
            }
        }
        std::sort(rows.begin(), rows.end());
        out << path << " " << count << " " << unread << ":";
        for (const auto& row : rows)
            out << " " << row;
        out << "\n";
        for (const auto& [name, child] : children)
            out << child.Describe(path + "/" + name);
        return out.str();
    }
};

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
    explicit Worker(const std::filesystem::path& file) : FFile(StoreFile::Open(file)) {}

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
            EXPECT_EQ(folder->CreateMessage(nullptr, 0, Out(message)), S_OK);
            Set(*message, {Text(tag::Subject, text), Long(tag::MessageFlags, 0)});
            return message->SaveChanges(0);
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

    /// What the tables show, in the words of the model.
    std::string Describe() { return Describe(*Open("root"), "root"); }

private:
    /// "root/a/b": below the Inbox.
    Ptr<IMAPIFolder> Open(const std::string& path)
    {
        std::istringstream parts(path);
        std::string name;
        std::getline(parts, name, '/');
        auto folder = OpenFolderRow(FFile, static_cast<std::int64_t>(SpecialFolder::Inbox), true);
        while (std::getline(parts, name, '/')) {
            Ptr<IMAPIFolder> next;
            ForChildren(*folder, [&](const std::string& child, const Bytes& id) {
                if (child == name)
                    next = OpenId(id);
            });
            if (!next)
                return nullptr;
            folder = next;
        }
        return folder;
    }
    Ptr<IMAPIFolder> OpenId(const Bytes& id)
    {
        return OpenFolderRow(FFile, FFile->RowOf(static_cast<ULONG>(id.size()), AsEntry(id), EntryKind::Folder), true);
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
        Ptr<IMAPITable> table;
        EXPECT_EQ(folder.GetContentsTable(MAPI_UNICODE, Out(table)), S_OK);
        std::vector<std::string> rows;
        for (const Props& row : Rows(*table, {tag::Subject, tag::MessageFlags}))
            rows.push_back(KwToUtf8(WideAt(row, 0)) + (NumberAt(row, 1) & MSGFLAG_READ ? "+" : "-"));
        std::sort(rows.begin(), rows.end());
        std::ostringstream out;
        out << path << " " << Get(folder, tag::ContentCount).Number() << " " << Get(folder, tag::ContentUnread).Number()
            << ":";
        for (const auto& row : rows)
            out << " " << row;
        out << "\n";
        std::map<std::string, Bytes> children;
        ForChildren(folder, [&](const std::string& name, const Bytes& id) { children.emplace(name, id); });
        for (const auto& [name, id] : children)
            out << Describe(*OpenId(id), path + "/" + name);
        return out.str();
    }

    StorePtr FFile;
};

/// A worker in a process of its own.
class RemoteWorker
{
public:
    /// REQUIRES: this process has no connection to the file
    explicit RemoteWorker(const std::filesystem::path& file)
    {
        int in[2];
        int out[2];
        if (::pipe(in) != 0 || ::pipe(out) != 0)
            throw std::runtime_error("pipe");
        FProcess = ::fork();
        if (FProcess == 0) {
            ::close(in[1]);
            ::close(out[0]);
            Serve(file, in[0], out[1]);
            ::_exit(0);
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

    HRESULT Do(const Command& command)
    {
        const std::string line = command.verb + "|" + command.path + "|" + command.name + "|" + command.to + "|" +
                                 std::to_string(command.flags) + "\n";
        HRESULT result = MAPI_E_CALL_FAILED;
        EXPECT_EQ(::write(FIn, line.data(), line.size()), static_cast<ssize_t>(line.size()));
        EXPECT_EQ(::read(FOut, &result, sizeof result), static_cast<ssize_t>(sizeof result));
        return result;
    }

private:
    static void Serve(const std::filesystem::path& file, int in, int out)
    {
        Worker worker(file);
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
    Node root;

    Node& At(const std::string& path)
    {
        std::istringstream parts(path);
        std::string name;
        std::getline(parts, name, '/');
        Node* node = &root;
        while (std::getline(parts, name, '/'))
            node = &node->children.at(name);
        return *node;
    }
    void Paths(const Node& node, const std::string& path, std::vector<std::string>& paths) const
    {
        paths.push_back(path);
        for (const auto& [name, child] : node.children)
            Paths(child, path + "/" + name, paths);
    }

    HRESULT Do(const Command& command)
    {
        Node& node = At(command.path);
        if (command.verb == "message") {
            node.messages[command.name].push_back(false);
        } else if (command.verb == "folder") {
            if (!node.children.try_emplace(command.name).second)
                return MAPI_E_COLLISION;
        } else if (command.verb == "empty") {
            node = Node();
        } else if (command.verb == "read all" || command.verb == "read") {
            for (auto& [subject, copies] : node.messages) {
                if (command.verb == "read all" || subject == command.name)
                    copies.assign(copies.size(), !(command.flags & CLEAR_READ_FLAG));
            }
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
        const std::vector<bool> copies = found->second;
        if (command.flags & MESSAGE_MOVE)
            from.messages.erase(found);
        auto& there = to.messages[command.name];
        there.insert(there.end(), copies.begin(), copies.end());
    }
    Node& ParentOf(const std::string& path) { return At(path.substr(0, path.rfind('/'))); }
    static std::string NameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }
    HRESULT Drop(const Command& command)
    {
        const Node& node = At(command.path);
        if (!node.children.empty() && !(command.flags & DEL_FOLDERS))
            return MAPI_E_HAS_FOLDERS;
        if (!node.messages.empty() && !(command.flags & DEL_MESSAGES))
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

TEST_F(FolderCalls, TwoProcessesAndAModelAgreeAfterRandomWork)
{
    FStore.Reset();
    FStoreFile.reset(); // no connection crosses the fork
    RemoteWorker there(File());
    Worker here(File());
    Model model;
    std::mt19937 random(11);
    const auto pick = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    int number = 0;
    std::map<HRESULT, int> results;
    for (int step = 0; step < 500; ++step) {
        std::vector<std::string> paths;
        model.Paths(model.root, "root", paths);
        Command command;
        command.path = paths[pick(paths.size())];
        command.to = paths[pick(paths.size())];
        const auto& messages = model.At(command.path).messages;
        if (!messages.empty())
            command.name = std::next(messages.begin(), static_cast<std::ptrdiff_t>(pick(messages.size())))->first;
        const std::size_t what = pick(24);
        if (what < 7) {
            command.verb = "message";
            command.name = "m" + std::to_string(++number);
        } else if (what < 11) {
            command.verb = "folder";
            command.name = "f" + std::to_string(pick(6));
        } else if (what < 14 && !messages.empty()) {
            command.verb = "take";
            command.flags = pick(2) ? MESSAGE_MOVE : 0;
        } else if (what < 17 && !messages.empty()) {
            command.verb = pick(3) ? "read" : "read all";
            command.flags = pick(2) ? CLEAR_READ_FLAG : 0;
        } else if (what == 17 && !messages.empty()) {
            command.verb = "delete";
        } else if (what < 21 && paths.size() > 1 && paths.size() < 60) {
            command.path = paths[1 + pick(paths.size() - 1)];
            command.verb = "carry";
            command.name = pick(2) ? "" : "f" + std::to_string(pick(6));
            command.flags = (pick(2) ? FOLDER_MOVE : 0) | (pick(2) ? COPY_SUBFOLDERS : 0);
        } else if (what < 23 && paths.size() > 1) {
            command.path = paths[1 + pick(paths.size() - 1)];
            command.verb = "drop";
            command.flags = (pick(2) ? DEL_FOLDERS : 0) | (pick(2) ? DEL_MESSAGES : 0);
        } else if (pick(3) == 0 && paths.size() > 1) {
            command.path = paths[1 + pick(paths.size() - 1)];
            command.verb = "empty";
        } else {
            continue;
        }
        const HRESULT expected = model.Do(command);
        ++results[expected];
        ASSERT_EQ(pick(2) ? here.Do(command) : there.Do(command), expected)
            << step << ": " << command.verb << " " << command.path << " " << command.name << " " << command.to << " "
            << command.flags;
        if (step % 25 == 24) {
            ASSERT_EQ(here.Describe(), model.root.Describe("root")) << step;
        }
    }
    EXPECT_EQ(Worker(File()).Describe(), model.root.Describe("root"));
    for (const HRESULT result : {S_OK, MAPI_E_COLLISION, MAPI_E_FOLDER_CYCLE, MAPI_E_HAS_FOLDERS, MAPI_E_HAS_MESSAGES})
        EXPECT_GT(results[result], 0) << std::hex << result; // the work was of every kind
    ExpectWhole(*StoreFile::Open(File()));
}

} // namespace
} // namespace deftmapi::client::test

// Random work on folders and messages of two stores by two processes at once, compared with a model in memory: results
// of calls, counters, and what tables and a search folder show. While both work, each keeps to folders of its own, so
// that the model knows what comes of it; they are compared when both have come to rest. Each process thinks up the
// calls of both, in the same way, and makes its own ones.
#include "tests/client/FolderFixture.hpp"
#include "tests/client/TableConditions.hpp"

#include <random>
#include <set>
#include <sstream>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

/// Known by its subject; copies in one folder have the same one.
struct ModelMessage
{
    std::string subject;
    bool read = false;
    bool tagged = false;
};

/// A folder of the model.
struct Node
{
    std::map<std::string, Node> children;
    std::vector<ModelMessage> messages;
    std::multiset<std::string> hidden; // associated messages

    [[nodiscard]] std::string Describe(const std::string& path) const
    {
        std::multiset<std::string> rows;
        for (const auto& [subject, read, tagged] : messages)
            rows.insert(subject + (read ? "+" : "-") + (tagged ? "!" : ""));
        std::string text = path + ":";
        for (const auto& row : rows)
            text += " " + row;
        for (const auto& subject : hidden)
            text += " (" + subject + ")";
        text += "\n";
        for (const auto& [name, child] : children)
            text += child.Describe(path + "/" + name);
        return text;
    }
    [[nodiscard]] std::multiset<std::string> Unread(bool below) const
    {
        std::multiset<std::string> subjects;
        for (const auto& message : messages) {
            if (!message.read)
                subjects.insert(message.subject);
        }
        for (const auto& [name, child] : children) {
            if (below)
                subjects.merge(child.Unread(true));
        }
        return subjects;
    }
    [[nodiscard]] bool HasMessages() const
    {
        return !messages.empty() || std::any_of(children.begin(), children.end(),
                                                [](const auto& child) { return child.second.HasMessages(); });
    }
};

/// More messages than have events of their own.
constexpr std::size_t Many = JournalBulk + 8;

/// One of the two processes. A path is "root/a/b" below the Inbox of the first store, "other/a" below that of the
/// other.
class Party : private FolderShortForms
{
public:
    /// REQUIRES: no connection has crossed the fork
    Party(bool there, int end, const std::filesystem::path& file, const std::filesystem::path& other)
        : FThere(there), FEnd(end), FFile(StoreFile::Open(file)), FOther(StoreFile::Open(other))
    {
        if (FThere)
            return;
        FSearch = Create(*OpenSpecial(FFile, SpecialFolder::Finder), u"unread", 0, S_OK, FOLDER_SEARCH);
        EXPECT_EQ(FSearch->SetSearchCriteria(Unread(), Ids({IdOf(*OpenSpecial(FFile))}), RECURSIVE_SEARCH), S_OK);
    }

    /// Whose turn it is: only that process makes the calls that follow.
    void Turn(bool there) { FTurn = there; }
    /// Waits until the other process has come as far.
    void Meet() const
    {
        char byte = 0;
        ASSERT_EQ(::send(FEnd, &byte, 1, MSG_NOSIGNAL), 1) << "the other process has ended";
        ASSERT_EQ(::recv(FEnd, &byte, 1, 0), 1) << "the other process has ended";
    }
    /// When both have come to rest, tables, counters and the search folder show what the model has.
    void Rest()
    {
        Meet();
        if (!FThere)
            ExpectModel();
        Meet();
    }
    std::size_t Pick(std::size_t n) { return static_cast<std::size_t>(FRandom() % n); }

    /// Some call that makes sense, on what is at or below these paths; they themselves stay.
    void Anything(const std::vector<std::string>& tops)
    {
        std::vector<std::string> paths;
        for (const auto& top : tops)
            CollectPaths(top, paths);
        while (!Try(paths)) {
        }
    }
    void Message(const std::string& path, const std::string& subject, ULONG flags)
    {
        if (flags & MAPI_ASSOCIATED)
            At(path).hidden.insert(subject);
        else
            At(path).messages.push_back({subject});
        Make("message " + path, S_OK, [&] { return Write(path, subject, flags); });
    }
    void ManyMessages(const std::string& path, const std::string& subject)
    {
        At(path).messages.resize(Many, {subject});
        Make("many " + path, S_OK, [&] {
            Transaction transaction(StoreOf(path)->Db());
            for (std::size_t i = 0; i < Many; ++i)
                EXPECT_EQ(Write(path, subject, 0), S_OK);
            transaction.Commit();
            return S_OK;
        });
    }
    void Folder(const std::string& path, const std::string& name)
    {
        const bool isNew = At(path).children.try_emplace(name).second;
        Make("folder " + path + " " + name, isNew ? S_OK : MAPI_E_COLLISION, [&] {
            Ptr<IMAPIFolder> made;
            return Open(path)->CreateFolder(FOLDER_GENERIC, KwFromUtf8(name).data(), nullptr, nullptr, MAPI_UNICODE,
                                            Out(made));
        });
    }
    void Empty(const std::string& path)
    {
        At(path).children.clear();
        At(path).messages.clear();
        Make("empty " + path, S_OK, [&] { return Open(path)->EmptyFolder(0, nullptr, 0); });
    }
    /// Of all messages without a subject.
    void Read(const std::string& path, const std::string& subject, ULONG flags)
    {
        for (auto& message : At(path).messages) {
            if (subject.empty() || message.subject == subject)
                message.read = !(flags & CLEAR_READ_FLAG);
        }
        Make("read " + path + " " + subject + " " + std::to_string(flags), S_OK, [&] {
            Ids list(Named(path, subject));
            return Open(path)->SetReadFlags(subject.empty() ? nullptr : LPENTRYLIST{list}, 0, nullptr, flags);
        });
    }
    void Tag(const std::string& path, const std::string& subject, ULONG status)
    {
        for (auto& message : At(path).messages) {
            if (message.subject == subject)
                message.tagged = status != 0;
        }
        Make("tag " + path + " " + subject, S_OK, [&] {
            for (const Bytes& id : Named(path, subject))
                EXPECT_EQ(Open(path)->SetMessageStatus(static_cast<ULONG>(id.size()), AsEntry(id), status,
                                                       MSGSTATUS_TAGGED, nullptr),
                          S_OK);
            return S_OK;
        });
    }
    void Remove(const std::string& path, const std::string& subject)
    {
        std::erase_if(At(path).messages, [&](const auto& message) { return message.subject == subject; });
        Make("delete " + path + " " + subject, S_OK,
             [&] { return Open(path)->DeleteMessages(Ids(Named(path, subject)), 0, nullptr, 0); });
    }
    void Take(const std::string& path, const std::string& subject, const std::string& to, ULONG flags)
    {
        const auto isIt = [&](const auto& message) { return message.subject == subject; };
        auto& from = At(path).messages;
        std::vector<ModelMessage> taken;
        std::copy_if(from.begin(), from.end(), std::back_inserter(taken), isIt);
        if (flags & MESSAGE_MOVE)
            std::erase_if(from, isIt);
        auto& there = At(to).messages;
        there.insert(there.end(), taken.begin(), taken.end());
        Make("take " + path + " " + subject + " " + to + " " + std::to_string(flags), S_OK,
             [&] { return CopyMessages(*Open(path), Named(path, subject), *Open(to), flags); });
    }
    void Drop(const std::string& path, ULONG flags)
    {
        HRESULT expected = S_OK;
        if (!At(path).children.empty() && !(flags & DEL_FOLDERS))
            expected = MAPI_E_HAS_FOLDERS;
        else if (At(path).HasMessages() && !(flags & DEL_MESSAGES))
            expected = MAPI_E_HAS_MESSAGES;
        else
            At(Above(path)).children.erase(NameOf(path));
        Make("drop " + path + " " + std::to_string(flags), expected,
             [&] { return Delete(*Open(Above(path)), IdOf(*Open(path)), flags); });
    }
    /// Without a name under its own one.
    void Carry(const std::string& path, const std::string& to, const std::string& newName, ULONG flags)
    {
        const bool move = (flags & FOLDER_MOVE) != 0;
        const std::string name = newName.empty() ? NameOf(path) : newName;
        const bool onItself = move && to + "/" + name == path;
        HRESULT expected = S_OK;
        if ((to + "/").starts_with(path + "/") && (move || flags & COPY_SUBFOLDERS)) {
            expected = MAPI_E_FOLDER_CYCLE;
        } else if (At(to).children.contains(name) && !onItself) {
            expected = MAPI_E_COLLISION;
        } else {
            Node copy = At(path);
            if (!move && !(flags & COPY_SUBFOLDERS))
                copy.children.clear();
            if (move)
                At(Above(path)).children.erase(NameOf(path));
            At(to).children[name] = std::move(copy);
        }
        Make("carry " + path + " " + to + " " + newName + " " + std::to_string(flags), expected, [&] {
            const Bytes id = IdOf(*Open(path));
            return Open(Above(path))
                ->CopyFolder(static_cast<ULONG>(id.size()), AsEntry(id), nullptr, Open(to).Get(),
                             KwFromUtf8(newName).data(), 0, nullptr, MAPI_UNICODE | flags);
        });
    }

    std::map<HRESULT, int> results;

private:
    bool Try(const std::vector<std::string>& paths)
    {
        const std::string& path = paths[Pick(paths.size())];
        const std::string& to = paths[Pick(paths.size())];
        const auto& messages = At(path).messages;
        const std::string subject = messages.empty() ? "" : messages[Pick(messages.size())].subject;
        const bool stays = std::count(path.begin(), path.end(), '/') < 2;
        const std::size_t what = Pick(26);
        if (what < 7)
            Message(path, "m" + std::to_string(++FNumber), Pick(5) ? 0 : MAPI_ASSOCIATED);
        else if (what < 11)
            Folder(path, "f" + std::to_string(Pick(6)));
        else if (what < 14 && !messages.empty())
            Take(path, subject, to, Pick(2) ? MESSAGE_MOVE : 0);
        else if (what < 17 && !messages.empty())
            Read(path, Pick(3) ? subject : "", Pick(2) ? CLEAR_READ_FLAG : 0);
        else if (what < 19 && !messages.empty())
            Tag(path, subject, Pick(3) ? MSGSTATUS_TAGGED : 0);
        else if (what == 19 && !messages.empty())
            Remove(path, subject);
        else if (what < 23 && !stays && paths.size() < 40)
            Carry(path, to, Pick(2) ? "" : "f" + std::to_string(Pick(6)),
                  (Pick(2) ? FOLDER_MOVE : 0) | (Pick(2) ? COPY_SUBFOLDERS : 0));
        else if (what < 25 && !stays)
            Drop(path, (Pick(2) ? DEL_FOLDERS : 0) | (Pick(2) ? DEL_MESSAGES : 0));
        else if (Pick(3) == 0 && paths.size() > 5)
            Empty(path);
        else
            return false;
        return true;
    }
    void Make(const std::string& words, HRESULT expected, const std::function<HRESULT()>& call)
    {
        ++results[expected];
        if (FTurn == FThere) {
            ASSERT_EQ(call(), expected) << words;
        }
    }

    Node& At(const std::string& path)
    {
        std::istringstream parts(path);
        Node* node = &FModel;
        for (std::string name; std::getline(parts, name, '/');)
            node = &node->children.at(name);
        return *node;
    }
    void CollectPaths(const std::string& path, std::vector<std::string>& paths)
    {
        paths.push_back(path);
        for (const auto& [name, child] : At(path).children)
            CollectPaths(path + "/" + name, paths);
    }
    static std::string Above(const std::string& path) { return path.substr(0, path.rfind('/')); }
    static std::string NameOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

    [[nodiscard]] const StorePtr& StoreOf(const std::string& path) const
    {
        return path.starts_with("other") ? FOther : FFile;
    }
    Ptr<IMAPIFolder> Open(const std::string& path)
    {
        std::istringstream parts(path);
        std::string name;
        std::getline(parts, name, '/');
        auto folder = OpenSpecial(StoreOf(path));
        while (std::getline(parts, name, '/'))
            folder = Opened<IMAPIFolder>(*folder, ChildrenOf(*folder).at(name));
        return folder;
    }
    HRESULT Write(const std::string& path, const std::string& subject, ULONG flags)
    {
        auto message = EmptyMessage(*Open(path), flags);
        Set(*message, {Text(tag::Subject, KwFromUtf8(subject).c_str()), Long(tag::MessageFlags, 0)});
        return message->SaveChanges(0);
    }
    std::vector<Bytes> Named(const std::string& path, const std::string& subject)
    {
        std::vector<Bytes> ids;
        for (const Props& row : Contents(*Open(path))) {
            if (KwToUtf8(WideAt(row, 0)) == subject)
                ids.push_back(BytesAt(row, 1));
        }
        return ids;
    }
    static std::map<std::string, Bytes> ChildrenOf(IMAPIFolder& folder)
    {
        Ptr<IMAPITable> table;
        EXPECT_EQ(folder.GetHierarchyTable(MAPI_UNICODE, Out(table)), S_OK);
        std::map<std::string, Bytes> children;
        for (const Props& row : Rows(*table, {tag::DisplayName, tag::EntryId}))
            EXPECT_TRUE(children.emplace(KwToUtf8(WideAt(row, 0)), BytesAt(row, 1)).second) << "two of one name";
        return children;
    }
    static Node ReadTables(IMAPIFolder& folder)
    {
        Node node;
        for (const Props& row : Contents(folder))
            node.messages.push_back({KwToUtf8(WideAt(row, 0)), (NumberAt(row, 2) & MSGFLAG_READ) != 0,
                                     (NumberAt(row, 3) & MSGSTATUS_TAGGED) > 0});
        for (const Props& row : Contents(folder, MAPI_ASSOCIATED))
            node.hidden.insert(KwToUtf8(WideAt(row, 0)));
        EXPECT_EQ(Say(folder, {tag::ContentCount, tag::ContentUnread}),
                  std::to_string(node.messages.size()) + "|" + std::to_string(node.Unread(false).size()));
        for (const auto& [name, id] : ChildrenOf(folder))
            node.children[name] = ReadTables(*Opened<IMAPIFolder>(folder, id));
        return node;
    }
    void ExpectModel()
    {
        for (const auto& [path, node] : FModel.children)
            ASSERT_EQ(ReadTables(*Open(path)).Describe(path), node.Describe(path));
        const auto search = Opened<IMAPIFolder>(*OpenSpecial(FFile), IdOf(*FSearch));
        std::multiset<std::string> found;
        for (const Props& row : Contents(*search))
            found.insert(KwToUtf8(WideAt(row, 0)));
        ASSERT_EQ(found, At("root").Unread(true));
        EXPECT_EQ(Get(*search, tag::ContentUnread).Number(), static_cast<LONG>(found.size()));
    }

    bool FThere;
    bool FTurn = false;
    int FEnd;
    StorePtr FFile;
    StorePtr FOther;
    Ptr<IMAPIFolder> FSearch;
    Node FModel{{{"root", {}}, {"other", {}}}, {}, {}};
    std::mt19937 FRandom{11};
    int FNumber = 0;
};

void WorkAtRandom(Party party)
{
    for (const char* root : {"root", "other"}) {
        party.Folder(root, "here");
        party.Folder(root, "there");
    }
    party.Meet();
    const std::vector<std::string> own[] = {{"root/here", "other/here"}, {"root/there", "other/there"}};
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        for (int i = 0; i < 48; ++i) {
            party.Turn(i % 2);
            party.Anything(own[i % 2]);
        }
        party.Rest();
        for (int i = 0; i < 8; ++i) { // in turns, on everything
            party.Turn(party.Pick(2));
            party.Anything({"root/here", "other/here", "root/there", "other/there"});
            party.Meet();
        }
        if (::testing::Test::HasFatalFailure())
            return;
    }
    bool there = false;
    for (const auto& bulk : std::initializer_list<std::function<void()>>{
             [&] { party.Folder("root", "bulk"); }, [&] { party.ManyMessages("root/bulk", "b"); },
             [&] { party.Read("root/bulk", "", 0); }, [&] { party.Take("root/bulk", "b", "root/here", MESSAGE_MOVE); },
             [&] { party.Read("root/here", "b", CLEAR_READ_FLAG); },
             [&] { party.Take("root/here", "b", "other/there", MESSAGE_MOVE); }})
    {
        party.Turn(there = !there);
        bulk();
        party.Rest();
    }
    for (const HRESULT result : {S_OK, MAPI_E_COLLISION, MAPI_E_FOLDER_CYCLE, MAPI_E_HAS_FOLDERS, MAPI_E_HAS_MESSAGES})
        EXPECT_GT(party.results[result], 0) << std::hex << result; // the work was of every kind
}

TEST_F(FolderCalls, TwoProcessesAndAModelAgreeAfterRandomWork)
{
    CreateStoreFile(OtherFile(), ToBytes(NewUid()), u"Other store");
    FInbox.Reset();
    FStore.Reset();
    FStoreFile.reset(); // no connection crosses the fork
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    const bool there = child == 0;
    ::close(ends[!there]);
    try {
        WorkAtRandom(Party(there, ends[there], File(), OtherFile()));
    } catch (const std::exception& e) { // the child is no test runner of its own, and the other one waits for neither
        ADD_FAILURE() << e.what();
    } catch (...) {
        ADD_FAILURE() << "an exception in " << (there ? "the child" : "the parent");
    }
    ::close(ends[there]);
    if (there)
        ::_exit(HasFailure());
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    for (const auto& file : {File(), OtherFile()})
        ExpectWhole(*StoreFile::Open(file));
}

} // namespace
} // namespace deftmapi::client::test

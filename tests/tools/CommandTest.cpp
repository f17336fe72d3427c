// The deftmapi command as a script sees it: every call is a process of its own on a temporary data folder, so that what
// one call saved must be on disk for the next.

#include "mapi/DeftMAPI.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using Json = nlohmann::json;

struct Outcome
{
    int Status = -1;
    std::string Output;
    std::string Errors;

    [[nodiscard]] Json Document() const { return Json::parse(Output); }
};

std::string Contents(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// deftmapi watch in a process of its own.
class Watch
{
public:
    explicit Watch(const std::string& line) : FPipe(popen(("echo $$; exec " + line).c_str(), "r"))
    {
        FProcess = std::stoi(Line());
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch()
    {
        if (FPipe)
            static_cast<void>(Stop()); // one that still waits for events has failed its test already
    }

    /// The next line; empty when there are no more.
    [[nodiscard]] std::string Line() const
    {
        std::array<char, 65536> buffer{};
        const std::string line = fgets(buffer.data(), buffer.size(), FPipe) ? buffer.data() : "";
        return line.substr(0, line.find('\n'));
    }
    [[nodiscard]] Json Next() const
    {
        const std::string line = Line();
        return line.empty() ? Json() : Json::parse(line);
    }
    /// The next such event.
    [[nodiscard]] Json Next(const char* event, const char* type) const
    {
        Json document = Next();
        while (!document.is_null() && (document["event"] != event || document["type"] != type))
            document = Next();
        return document;
    }
    /// Ends it by a signal, and takes what it has still to say: nobody to listen would end it in another way.
    [[nodiscard]] int Stop()
    {
        kill(FProcess, SIGTERM);
        while (!Line().empty()) {
        }
        const int status = pclose(std::exchange(FPipe, nullptr));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    FILE* FPipe;
    pid_t FProcess = 0;
};

class CommandTest : public testing::Test
{
protected:
    [[nodiscard]] std::string Line(const std::string& arguments) const
    {
        return "'" + std::string(DEFTMAPI_COMMAND) + "' --home '" + (FFolder / "home").string() + "' " + arguments;
    }
    [[nodiscard]] Outcome Run(const std::string& arguments) const
    {
        const std::string line = Line(arguments) + " 2>'" + (FFolder / "errors").string() + "'";
        Outcome outcome;
        const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(line.c_str(), "r"), [](FILE*) { return 0; });
        std::array<char, 4096> buffer{};
        for (std::size_t n = 0; (n = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;)
            outcome.Output.append(buffer.data(), n);
        const int status = pclose(pipe.get());
        outcome.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        outcome.Errors = Contents(FFolder / "errors");
        return outcome;
    }
    void CreateProfile() const { ASSERT_EQ(Run("profile create Test").Status, 0); }
    /// A call that fails with that status and says so.
    void ExpectError(const std::string& arguments, int status, const std::string& text) const
    {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.Status, status) << arguments;
        EXPECT_NE(outcome.Errors.find(text), std::string::npos) << outcome.Errors;
    }
    /// The identifier of a folder, or of the first message that is imported into one.
    [[nodiscard]] std::string FolderID(const std::string& path) const
    {
        return Run("--json tree '" + path + "'").Document()["id"];
    }
    [[nodiscard]] std::string ImportedID(const std::string& path) const
    {
        return Run("--json import '" + path + "' " + Write("letter.eml", Letter)).Document()[0]["id"];
    }
    [[nodiscard]] std::string Write(const std::string& name, const std::string& contents) const
    {
        return "'" + FTemporary.Write(name, contents).string() + "'";
    }

    /// What a transport does with a message that it has delivered: it tells the store. No command does.
    void AnnounceMail(const std::string& id) const
    {
        setenv("DEFTMAPI_HOME", (FFolder / "home").c_str(), 1);
        {
            const auto session = deftmapi::TSession::Create();
            session->Get_LogonInfo()->Set_ProfileName(u"Test");
            session->Logon();
            const auto store = session->OpenDefaultMsgStore(deftmapi::alReadWrite);
            deftmapi::TKwBytes entry = deftmapi::EntryIDToArr(deftmapi::StrToEntryID(id));
            mapi::NOTIFICATION told{};
            told.ulEventType = mapi::fnevNewMail;
            told.info.newmail.cbEntryID = static_cast<mapi::ULONG>(entry.size());
            told.info.newmail.lpEntryID = reinterpret_cast<mapi::LPENTRYID>(entry.data());
            EXPECT_EQ(static_cast<mapi::IMsgStore*>(store->Get_MAPIOBJECT())->NotifyNewMail(&told), mapi::S_OK);
        }
        unsetenv("DEFTMAPI_HOME");
        deftmapi::KwUnloadDLL();
    }

    static constexpr const char* Letter = "From: Ada Example <ada@example.org>\r\nTo: Ben <ben@example.net>\r\n"
                                          "Subject: The second letter\r\nDate: Fri, 01 Mar 2024 12:00:00 +0000\r\n"
                                          "\r\nDear Ben,\r\nsee you.\r\n";

    const deftmapi::test::TemporaryFolder FTemporary;
    const fs::path FFolder = FTemporary.Path();
};

TEST_F(CommandTest, AnswersWithoutAProfile)
{
    const Outcome info = Run("--json info");
    ASSERT_EQ(info.Status, 0) << info.Errors;
    EXPECT_EQ(info.Document()["extended"], true);
    ASSERT_NE(std::getenv("DEFTMAPI_CLIENT"), nullptr);
    EXPECT_EQ(info.Document()["client"], std::getenv("DEFTMAPI_CLIENT"));
    EXPECT_EQ(info.Document()["definitions"], 4866);
    EXPECT_EQ(info.Document()["clients"], Json::array()) << "none is registered on this system";
    EXPECT_EQ(Run("--client /nowhere/mapi.so info").Status, 1);
#ifdef DEFTMAPI_LIBRARY_WITHOUT_MAPI
    const Outcome simple = Run("--client '" DEFTMAPI_LIBRARY_WITHOUT_MAPI "' --json info");
    ASSERT_EQ(simple.Status, 0) << simple.Errors;
    EXPECT_EQ(simple.Document()["extended"], false);
    EXPECT_EQ(simple.Document()["client"], DEFTMAPI_LIBRARY_WITHOUT_MAPI);
#endif

    const Outcome profiles = Run("profile list --json");
    ASSERT_EQ(profiles.Status, 0) << profiles.Errors;
    EXPECT_EQ(profiles.Document(), Json::array());

    const Outcome tree = Run("tree --json");
    EXPECT_EQ(tree.Status, 1);
    const Json error = Json::parse(tree.Errors);
    EXPECT_EQ(error["class"], "EMAPI_LOGON_FAILED");
    EXPECT_EQ(error["code"], "0x80040111");
}

TEST_F(CommandTest, UsageErrorsAreStatusTwo)
{
    for (const char* arguments : {"", "nonsense", "ls", "show", "show XYZ", "show ABC", "ls '//[Inbox]' --sort",
                                  "import '//[Inbox]'", "profile", "ls '//[Inbox]' --limit many", "mkdir ''"})
        EXPECT_EQ(Run(arguments).Status, 2) << arguments;
    CreateProfile();
    EXPECT_EQ(Run("ls '//[Inbox]' --columns PR_NOT_THERE").Status, 2);
    EXPECT_EQ(Run("ls '//[Inbox]' --sort PR_SUBJECT:down").Status, 2);
    for (const char* arguments : {"--json nonsense", "ls --json", "ls '//[Inbox]' --columns PR_NOT_THERE --json"}) {
        const Outcome mistake = Run(arguments);
        EXPECT_EQ(mistake.Status, 2) << arguments;
        const Json error = Json::parse(mistake.Errors, nullptr, false);
        ASSERT_TRUE(error.is_object()) << mistake.Errors;
        EXPECT_FALSE(error["error"].get<std::string>().empty());
        EXPECT_EQ(error["code"], "0x80070057");
        EXPECT_EQ(error["class"], "UsageError");
    }
    EXPECT_EQ(Run("ls").Errors, "deftmapi: PATH is required (see --help)\n");
    for (const char* number : {"-1", "x", "1.5", "99999999999999999999"})
        EXPECT_EQ(Run("ls '//[Inbox]' --limit " + std::string(number)).Errors,
                  "deftmapi: --limit: a number from 0 on expected instead of '" + std::string(number) +
                      "' (see --help)\n");
    EXPECT_EQ(Run("--json --help").Status, 0);
}

TEST_F(CommandTest, FoldersAreMadeByPath)
{
    CreateProfile();
    const auto classOf = [this](const std::string& path) {
        const Outcome tree = Run("--json tree '" + path + "'");
        return tree.Status == 0
                   ? tree.Document()["name"].get<std::string>() + " " + tree.Document()["class"].get<std::string>()
                   : tree.Errors;
    };
    for (const char* path :
         {"Top", "//Second", "Top/Notes [old]", "Top/Notes [old] x", "//Top/[odd]", "//[Inbox]/A", "[Inbox]/A/b]c"})
    {
        const Outcome made = Run(std::string("mkdir '") + path + "'");
        EXPECT_EQ(made.Status, 0) << path << ' ' << made.Errors;
    }
    ASSERT_EQ(Run("mkdir Plans --class IPF.Appointment").Status, 0);
    EXPECT_EQ(classOf("//Plans"), "Plans IPF.Appointment");
    EXPECT_EQ(classOf("Top/Notes [old] x"), "Notes [old] x IPF.Note");
    EXPECT_EQ(classOf("Second") + classOf("//[Inbox]/A/b]c"), "Second IPF.Noteb]c IPF.Note");
    EXPECT_EQ(classOf("//Top/[odd]"), "[odd] IPF.Note");
    for (const char* path : {"//[Inbox]", "//[Inbox]/", "//[Inbox]X", "[Inbox", "Top/", "//"})
        EXPECT_EQ(Run(std::string("mkdir '") + path + "'").Status, 2) << path;
    EXPECT_EQ(Run("mkdir '//[Nowhere]/A'").Status, 1);

    ExpectError("rmdir '//[Inbox]'", 1, "deftmapi: "); // the store needs it
    EXPECT_EQ(Run("rm " + FolderID("Top")).Status, 1) << "rm is for messages";
    EXPECT_EQ(classOf("Top"), "Top IPF.Note");
}

TEST_F(CommandTest, Profiles)
{
    CreateProfile();
    ASSERT_EQ(Run("profile create 'Second one'").Status, 0);
    EXPECT_EQ(Run("--json profile list").Document(),
              Json::parse(R"([{"name":"Second one","default":false},{"name":"Test","default":true}])"));
    ExpectError("profile create Test", 1, "The specified new profile already exists.");
    ASSERT_EQ(Run("profile default 'Second one'").Status, 0);
    ASSERT_EQ(Run("profile delete Test").Status, 0);
    EXPECT_EQ(Run("--json profile list").Document(), Json::parse(R"([{"name":"Second one","default":true}])"));
    ExpectError("profile delete Test", 1, "The specified profile does not exist.");
    EXPECT_EQ(Run("--profile Nobody tree").Status, 1);
}

TEST_F(CommandTest, ProfilesAreRenamedAndCopiedAndGuarded)
{
    CreateProfile();
    EXPECT_EQ(Run("profile rename Test").Status, 2);
    EXPECT_EQ(Run("--json profile rename Test Mail").Document(),
              Json::parse(R"({"name":"Mail","from":"Test","renamed":true})"));
    ASSERT_EQ(Run("profile copy Mail Twin").Status, 0);
    ExpectError("profile rename Mail Twin", 1, "already exists");
    EXPECT_EQ(Run("--profile Mail --json tree").Document(), Run("--profile Twin --json tree").Document())
        << "the same store";

    const Outcome changed = Run("--json profile password Mail < " + Write("new", "first pass\n"));
    EXPECT_EQ(changed.Status, 0) << changed.Errors;
    EXPECT_EQ(changed.Document(), Json::parse(R"({"name":"Mail","changed":true})"));
    EXPECT_EQ((changed.Output + changed.Errors).find("first pass"), std::string::npos);
    EXPECT_EQ(Run("--profile Mail tree").Status, 1);
    EXPECT_EQ(Run("--profile Mail --password 'first pass' tree").Status, 0);
    EXPECT_EQ(Run("profile copy Mail Third").Status, 1) << "not without the password";
    EXPECT_EQ(Run("profile password Mail --new second").Status, 1);
    EXPECT_EQ(Run("profile password Mail < /dev/null").Status, 2);
    ASSERT_EQ(Run("profile password Mail --password 'first pass' --new ''").Status, 0);
    EXPECT_EQ(Run("--profile Mail tree").Status, 0);

    ASSERT_EQ(Run("--password one profile create A").Status, 0);
    ASSERT_EQ(Run("--password one profile create B --new two").Status, 0);
    ASSERT_EQ(Run("profile create C --ask < " + Write("new", "three\n")).Status, 0);
    EXPECT_EQ(Run("--profile A tree").Status, 1);
    for (const auto& [name, password] : {std::pair{"A", "one"}, {"B", "two"}, {"C", "three"}})
        EXPECT_EQ(Run("--profile " + std::string(name) + " --password " + password + " tree").Status, 0) << name;
    EXPECT_EQ(Run("profile create E --ask < /dev/null").Status, 2);
    EXPECT_EQ(Run("profile create E --ask --new x").Status, 2);
}

TEST_F(CommandTest, Services)
{
    CreateProfile();
    EXPECT_EQ(Run("--json info").Document()["profile"], "Test");
    const Json before = Run("--json service list").Document();
    ASSERT_EQ(before.size(), 1u);
    EXPECT_EQ(before[0]["service"], "DEFTSTORE");
    EXPECT_EQ(before[0]["default"], true);
    const Outcome added =
        Run("--json service add DEFTSTORE --name Archive PR_DISPLAY_NAME=2024 PR_PST_PATH=archive.db");
    ASSERT_EQ(added.Status, 0) << added.Errors;
    EXPECT_TRUE(fs::exists(FFolder / "home" / "stores" / "archive.db"));
    const Json after = Run("--json service list").Document();
    ASSERT_EQ(after.size(), 2u);
    EXPECT_EQ(after[1]["uid"], added.Document()["uid"]);
    EXPECT_EQ(after[1]["name"], "Archive");
    ASSERT_EQ(Run("service default " + after[1]["uid"].get<std::string>()).Status, 0);
    const Json changed = Run("--json service list").Document();
    EXPECT_TRUE(!changed[0]["default"].get<bool>() && changed[1]["default"].get<bool>());
    EXPECT_EQ(Run("service default 0102").Status, 1);
    ASSERT_EQ(Run("service default " + after[0]["uid"].get<std::string>()).Status, 0);

    EXPECT_EQ(Run("service add DEFTSTORE 'no setting'").Status, 2);
    ExpectError("service add 'MSPST MS' PR_PST_PATH=some.pst", 1, "(.pst) cannot be opened");
    EXPECT_EQ(Run("service add DEFTSTORE PR_PST_PATH=archive.db").Status, 1) << "the profile has that store";
    EXPECT_EQ(Run("--json service list").Document(), after) << "nothing is left of what failed";

    ASSERT_EQ(Run("service remove " + after[1]["uid"].get<std::string>()).Status, 0);
    EXPECT_EQ(Run("--json service list").Document(), before);
    EXPECT_EQ(Run("service remove " + after[1]["uid"].get<std::string>()).Status, 1);
    EXPECT_EQ(Run("service remove 12").Status, 1);
}

TEST_F(CommandTest, ImportsListsShowsAndDeletes)
{
    CreateProfile();
    ASSERT_EQ(Run("mkdir '//[Inbox]/Project A'").Status, 0);
    EXPECT_EQ(Run("mkdir '//[Inbox]/Project A'").Status, 1) << "the name is taken";
    const std::string letter = Write("letter.eml", Letter);
    const std::string junk = Write("junk.eml", std::string("\x7f"
                                                           "ELF\x01\x02\x00\x03",
                                                           8));
    const Outcome import =
        Run("--json import '//[Inbox]/Project A' " + letter + " " + junk + " " + Write("letter2.eml", Letter));
    EXPECT_EQ(import.Status, 1) << "one file is no message";
    const Json imported = import.Document();
    ASSERT_EQ(imported.size(), 3U);
    EXPECT_TRUE(imported[0].contains("id"));
    EXPECT_TRUE(imported[1].contains("error"));
    EXPECT_NE(import.Errors.find("junk.eml"), std::string::npos);
    EXPECT_TRUE(imported[2].contains("id"));

    const std::string columns = " --columns PR_SUBJECT,PR_SENDER_EMAIL_ADDRESS,PR_MESSAGE_DELIVERY_TIME,PR_HASATTACH";
    const Json rows = Run("--json ls '//[Inbox]/Project A'" + columns).Document();
    ASSERT_EQ(rows.size(), 2U) << "nothing of the bad file is saved";
    EXPECT_EQ(rows[0]["PR_SUBJECT"], "The second letter");
    EXPECT_EQ(rows[0]["PR_SENDER_EMAIL_ADDRESS"], "ada@example.org");
    EXPECT_EQ(rows[0]["PR_MESSAGE_DELIVERY_TIME"], "2024-03-01T12:00:00Z");
    EXPECT_EQ(rows[0]["PR_HASATTACH"], false);
    const std::string id = imported[0]["id"];
    EXPECT_TRUE(rows[0]["id"] == id || rows[1]["id"] == id);
    EXPECT_EQ(Run("--json ls '//[Inbox]/Project A' --limit 1").Document().size(), 1U);

    const Json shown = Run("--json show " + id).Document();
    EXPECT_EQ(shown["id"], id);
    EXPECT_EQ(shown["class"], "IPM.Note");
    EXPECT_EQ(shown["properties"]["PR_SUBJECT"], "The second letter");
    ASSERT_EQ(shown["recipients"].size(), 1U);
    EXPECT_EQ(shown["recipients"][0]["address"], "ben@example.net");
    EXPECT_EQ(shown["attachments"], Json::array());
    EXPECT_NE(Run("show " + id + " --text").Output.find("Dear Ben,"), std::string::npos);

    ASSERT_EQ(Run("rm " + id).Status, 0);
    EXPECT_EQ(Run("--json ls '//[Inbox]/Project A'").Document().size(), 1U);
    EXPECT_EQ(Run("show " + id).Status, 1) << "deleted";
}

TEST_F(CommandTest, MessagesAndFoldersMoveAreCopiedAndDeleted)
{
    CreateProfile();
    const std::string a = Run("--json mkdir '//[Inbox]/A'").Document()["id"];
    ASSERT_EQ(Run("mkdir '//[Inbox]/A/Below'").Status, 0);
    ASSERT_EQ(Run("mkdir '//[Inbox]/B'").Status, 0);
    const std::string letter = ImportedID("//[Inbox]/A");
    const auto messages = [this](const std::string& path) {
        return Run("--json ls '//[Inbox]" + path + "' --columns PR_SUBJECT").Document().size();
    };

    const Outcome copied = Run("--json cp " + letter + " '//[Inbox]/B'");
    ASSERT_EQ(copied.Status, 0) << copied.Errors;
    const std::string copy = Run("--json ls '//[Inbox]/B'").Document()[0]["id"];
    EXPECT_EQ(copied.Document(), (Json{{"id", copy}, {"from", letter}, {"copied", true}, {"to", "//[Inbox]/B"}}));
    EXPECT_NE(copy, letter);
    const std::string again = Run("cp " + letter + " '//[Inbox]/B'").Output;
    EXPECT_EQ(messages("/A") + messages("/B"), 3U);
    ASSERT_EQ(Run("rm " + again).Status, 0) << "of two copies the new one";
    EXPECT_EQ(Run("show " + copy).Status, 0);
    ASSERT_EQ(Run("mv " + letter + " '//[Inbox]/B'").Status, 0);
    EXPECT_EQ(messages("/A"), 0U);
    EXPECT_EQ(messages("/B"), 2U);
    EXPECT_EQ(Run("mv " + letter + " '//[Inbox]/A' --name Other").Status, 2) << "a message has no name";
    EXPECT_EQ(Run("mv " + letter + " '//[Inbox]/Nowhere'").Status, 1);

    const std::string b = FolderID("//[Inbox]/B");
    const Outcome folder = Run("cp " + b + " '//[Inbox]/A' --name 'Copy of B'");
    ASSERT_EQ(folder.Status, 0) << folder.Errors;
    EXPECT_EQ(folder.Output, FolderID("//[Inbox]/A/Copy of B") + "\n");
    EXPECT_EQ(messages("/A/Copy of B"), 2U);
    EXPECT_EQ(messages("/B"), 2U);
    EXPECT_EQ(Run("mv " + a + " '//[Inbox]/A/Below'").Status, 1) << "into itself";
    ASSERT_EQ(Run("mv " + a + " '//[Inbox]/B'").Status, 0);
    EXPECT_EQ(messages("/B/A/Copy of B"), 2U);
    EXPECT_EQ(Run("--json mv " + a + " '//[Inbox]/B' --name Renamed").Document()["id"], a);
    EXPECT_EQ(messages("/B/Renamed/Copy of B"), 2U);
    ASSERT_EQ(Run("mv " + a + " '//[Inbox]/B' --name A").Status, 0);
    EXPECT_EQ(Run("ls '//[Inbox]/A'").Status, 1) << "moved";

    ExpectError("rmdir '//[Inbox]/B'", 1, "The subfolder was not deleted.");
    EXPECT_EQ(messages("/B"), 2U);
    ASSERT_EQ(Run("rmdir '//[Inbox]/B/A/Below'").Status, 0);
    ASSERT_EQ(Run("rmdir -r '//[Inbox]/B'").Status, 0);
    EXPECT_EQ(Run("show " + letter).Status, 1) << "deleted with its folder";
}

TEST_F(CommandTest, SeveralMessagesAreDeletedAndTheTreeCountsTheRest)
{
    CreateProfile();
    const std::string letter = Write("letter.eml", Letter);
    const Json made = Run("--json import '//[Inbox]' " + letter + " " + letter + " " + letter).Document();
    const std::string ids[] = {made[0]["id"], made[1]["id"], made[2]["id"]};
    ASSERT_EQ(Run("rm " + ids[1]).Status, 0);
    std::istringstream tree(Run("tree '//[Inbox]'").Output);
    const std::vector<std::string> words{std::istream_iterator<std::string>(tree), {}};
    EXPECT_EQ(words, (std::vector<std::string>{"Folder", "Type", "Class", "Messages", "Unread", "Inbox", "Inbox",
                                               "IPF.Note", "2", "2"}));
    const Outcome outcome = Run("--json rm " + ids[0] + " " + ids[1] + " " + ids[2]);
    EXPECT_EQ(outcome.Status, 1) << "one of them is gone already";
    const Json deleted = outcome.Document();
    ASSERT_EQ(deleted.size(), 3U);
    EXPECT_EQ(deleted[0], (Json{{"id", ids[0]}, {"deleted", true}}));
    EXPECT_TRUE(deleted[1].contains("error") && !deleted[1].contains("deleted"));
    EXPECT_EQ(deleted[2], (Json{{"id", ids[2]}, {"deleted", true}}));
    EXPECT_EQ(Run("--json ls '//[Inbox]'").Document().size(), 0U);
}

TEST_F(CommandTest, TheProjectsMessagesGoInAndTheTreeCountsThem)
{
    CreateProfile();
    const Outcome import = Run("--json import '//[Inbox]' '" DEFTMAPI_MESSAGES "'");
    ASSERT_EQ(import.Status, 0) << import.Errors;
    const std::size_t count = import.Document().size();
    EXPECT_GE(count, 12U);
    const Json inbox = Run("--json tree '//[Inbox]'").Document();
    EXPECT_EQ(inbox["type"], "Inbox");
    EXPECT_EQ(inbox["messages"], count);
}

TEST_F(CommandTest, RowsAreFilteredSortedAndFound)
{
    CreateProfile();
    const auto letter = [](const std::string& subject, const std::string& to, int day) {
        return "From: Ada Example <ada@example.org>\r\nTo: " + to + "\r\nSubject: " + subject + "\r\nDate: Fri, 0" +
               std::to_string(day) + " Mar 2024 12:00:00 +0000\r\n\r\nText.\r\n";
    };
    const std::string files = Write("1.eml", letter("Weekly report", "ben@example.net", 1)) + " " +
                              Write("2.eml", letter("Holiday", "eve@example.net", 2)) + " " +
                              Write("3.eml", letter("The REPORT, again", "ben@example.net", 3));
    ASSERT_EQ(Run("import '//[Inbox]' " + files).Status, 0);

    const auto subjects = [this](const std::string& arguments) {
        const Outcome outcome = Run("--json ls '//[Inbox]' --columns PR_SUBJECT " + arguments);
        EXPECT_EQ(outcome.Status, 0) << arguments << '\n' << outcome.Errors;
        std::string all;
        for (const Json& row : outcome.Document())
            all += row["PR_SUBJECT"].get<std::string>().substr(0, 3) + '|';
        return all;
    };
    EXPECT_EQ(subjects("--sort PR_SUBJECT"), "Hol|The|Wee|");
    EXPECT_EQ(subjects("--sort PR_SENDER_NAME,PR_CLIENT_SUBMIT_TIME:desc"), "The|Hol|Wee|");
    EXPECT_EQ(subjects("--sort PR_SUBJECT --where 'PR_SUBJECT ~ \"report\"'"), "The|Wee|");
    EXPECT_EQ(subjects("--where 'PR_SUBJECT ^ \"week\"'"), "Wee|");
    EXPECT_EQ(
        subjects("--sort PR_SUBJECT --where 'not PR_SUBJECT ~ \"report\" or PR_CLIENT_SUBMIT_TIME >= 2024-03-03'"),
        "Hol|The|");
    EXPECT_EQ(subjects("--where 'recipients (PR_EMAIL_ADDRESS ~ \"eve@\")'"), "Hol|");
    EXPECT_EQ(subjects("--where 'PR_HASATTACH'"), "");

    const Outcome found = Run("--json find '//[Inbox]' report --limit 1 --sort PR_SUBJECT");
    EXPECT_EQ(found.Status, 0);
    ASSERT_EQ(found.Document().size(), 1U);
    EXPECT_EQ(found.Document()[0]["PR_SUBJECT"], "The REPORT, again");
    const Outcome nothing = Run("--json find '//[Inbox]' invoice");
    EXPECT_EQ(nothing.Status, 3);
    EXPECT_EQ(nothing.Document(), Json::array());
    EXPECT_EQ(Run("find '//[Inbox]' report --limit 0").Status, 0) << "there are some";
    EXPECT_EQ(Run("find '//[Inbox]' invoice --limit 0").Status, 3);

    const Outcome mistake = Run("ls '//[Inbox]' --where 'PR_SUBJECT ~ report'");
    EXPECT_EQ(mistake.Status, 2);
    EXPECT_EQ(mistake.Errors, "deftmapi: --where, column 14: a text in quotes expected instead of 'report'\n");
}

TEST_F(CommandTest, WatchTellsWhatAnotherProcessChanges)
{
    CreateProfile();
    const Watch watch(Line("--json watch '//[Inbox]' --count 2 --where 'PR_SUBJECT ~ \"second\"' --columns "
                           "PR_SUBJECT,PR_SENDER_NAME,NPR_NAMEINTERNETKEYWORDS"));
    const Watch text(Line("watch '//[Inbox]' --count 1 --columns PR_SUBJECT,PR_IMPORTANCE"));
    EXPECT_EQ(watch.Next(), (Json{{"event", "watching"}, {"path", "//[Inbox]"}}));
    EXPECT_EQ(text.Line(), "watching  //[Inbox]");
    const std::string other = Write("other.eml", "From: a@example.org\r\nSubject: Other one\r\n\r\n.\r\n");
    const std::string anonymous = Write("anonymous.eml", "Subject: A second\r\n\r\n.\r\n");
    const Json imported = Run("--json import '//[Inbox]' " + other + " " + anonymous).Document();
    const Json added = watch.Next();
    EXPECT_EQ(added["event"], "added");
    EXPECT_EQ(added["row"], (Json{{"PR_SUBJECT", "A second"},
                                  {"PR_SENDER_NAME", nullptr}, // the message has neither
                                  {"NPR_NAMEINTERNETKEYWORDS", nullptr}}));
    EXPECT_EQ(added["id"], imported[1]["id"]);
    EXPECT_EQ(text.Line(), "added     Other one  1  " + imported[0]["id"].get<std::string>());
    ASSERT_EQ(Run("rm " + imported[0]["id"].get<std::string>() + " " + imported[1]["id"].get<std::string>()).Status, 0);
    const Json deleted = watch.Next();
    EXPECT_EQ(deleted["event"], "deleted");
    EXPECT_EQ(deleted["key"], added["key"]);
    EXPECT_TRUE(watch.Next().is_null()) << "two events were asked for";
    EXPECT_EQ(text.Line(), "");
}

TEST_F(CommandTest, WatchWithoutAFolderTellsOfTheWholeStore)
{
    CreateProfile();
    const std::string inbox = FolderID("//[Inbox]");
    const std::string drafts = FolderID("//[Draft]");
    Watch watch(Line("--json watch"));
    const Watch text(Line("watch --count 1"));
    EXPECT_EQ(watch.Next()["event"], "watching");
    EXPECT_EQ(text.Line(), "watching  ");
    const auto expectNext = [&watch](const char* event, const char* type, const Json& members) {
        Json told = watch.Next(event, type);
        for (const auto& member : members.items())
            EXPECT_EQ(told[member.key()], member.value()) << event << ' ' << type << ' ' << member.key();
    };

    const std::string plans = Run("--json mkdir '//[Draft]/Plans'").Document()["id"];
    EXPECT_EQ(text.Line(), "created   folder   " + plans);
    expectNext("created", "folder", {{"id", plans}, {"parent", drafts}, {"old_id", nullptr}});
    const std::string letter = ImportedID("//[Inbox]");
    expectNext("created", "message", {{"id", letter}});
    expectNext("modified", "folder", {{"id", inbox}, {"properties", {"PR_CONTENT_COUNT", "PR_CONTENT_UNREAD"}}});
    const std::string copy = Run("--json cp " + letter + " '//[Draft]/Plans'").Document()["id"];
    expectNext("copied", "message", {{"id", copy}, {"parent", plans}, {"old_id", letter}, {"old_parent", inbox}});
    ASSERT_EQ(Run("mv " + plans + " '//[Inbox]'").Status, 0);
    expectNext(
        "moved", "folder",
        {{"id", plans}, {"parent", inbox}, {"old_id", plans}, {"old_parent", drafts}, {"properties", Json::array()}});
    ASSERT_EQ(Run("rm " + letter).Status, 0);
    expectNext("deleted", "message", {{"id", letter}, {"parent", inbox}});
    EXPECT_EQ(watch.Stop(), 0) << "a signal ends it in good order";
}

TEST_F(CommandTest, WatchTellsOfMailThatIsAnnounced)
{
    if (!std::getenv("DEFTMAPI_CLIENT"))
        GTEST_SKIP() << "DEFTMAPI_CLIENT does not name the client that announces the mail";
    CreateProfile();
    const std::string inbox = FolderID("//[Inbox]");
    const std::string letter = ImportedID("//[Inbox]");
    const Watch watch(Line("--json watch --count 1"));
    const Watch text(Line("watch --count 1"));
    EXPECT_EQ(watch.Next()["event"], "watching");
    EXPECT_EQ(text.Line(), "watching  ");
    AnnounceMail(letter);
    EXPECT_EQ(watch.Next(), (Json{{"event", "new"}, {"id", letter}, {"parent", inbox}, {"class", "IPM.Note"}}));
    EXPECT_EQ(text.Line(), "new       message  " + letter + "  IPM.Note");
    EXPECT_TRUE(watch.Next().is_null());
}

TEST_F(CommandTest, Definitions)
{
    const Json subject = Run("--json defs PR_SUBJECT").Document();
    ASSERT_EQ(subject.size(), 1U);
    EXPECT_EQ(subject[0]["number"], 61);
    EXPECT_EQ(subject[0]["id"], "0x0037");
    EXPECT_EQ(subject[0]["type"], "dtWideString");
    EXPECT_EQ(subject[0]["set"], nullptr);
    EXPECT_EQ(Run("--json defs 0x0037001F").Document().size(), 2U) << "PR_SUBJECT and its twin";
    const Json named = Run("--json defs NPR_CLIENTINTENT").Document();
    EXPECT_EQ(named[0]["kind"], "string");
    EXPECT_EQ(named[0]["set"], "PSETID_CalendarAssistant");
    EXPECT_EQ(named[0]["string_name"], "ClientIntent");
    EXPECT_EQ(Run("--json defs").Document().size(), 4866U);
    EXPECT_EQ(Run("defs PR_NOT_THERE").Status, 3);
}

} // namespace

// Profiles: names, the default one, passwords, copies, the file that keeps them, several processes at once.
#include "client/session/PasswordHash.hpp"
#include "tests/client/SessionFixture.hpp"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace deftmapi::client::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using ProfileTest = SessionTest;
using NameList = std::vector<std::u16string>;

TEST_F(ProfileTest, TheFirstProfileBecomesTheDefaultAndDeletingItLeavesNone)
{
    EXPECT_THAT(Names(), IsEmpty());
    ASSERT_EQ(Create(u"work"), S_OK);
    ASSERT_EQ(Create(u"Home"), S_OK);
    EXPECT_EQ(Names(), (NameList{u"Home", u"*work"}));
    auto admin = Admin();
    ASSERT_EQ(admin->SetDefaultProfile(W(u"HOME"), Unicode), S_OK);
    EXPECT_EQ(Names(), (NameList{u"*Home", u"work"}));
    EXPECT_EQ(admin->SetDefaultProfile(W(u"other"), Unicode), MAPI_E_NOT_FOUND);
    EXPECT_EQ(Names(), (NameList{u"*Home", u"work"}));
    ASSERT_EQ(admin->DeleteProfile(W(u"home"), Unicode), S_OK);
    EXPECT_EQ(Names(), NameList{u"work"});
    EXPECT_EQ(admin->DeleteProfile(W(u"home"), Unicode), MAPI_E_NOT_FOUND);
    ASSERT_EQ(admin->SetDefaultProfile(W(u"work"), Unicode), S_OK);
    ASSERT_EQ(admin->SetDefaultProfile(nullptr, 0), S_OK);
    EXPECT_EQ(Names(), NameList{u"work"});
}

TEST_F(ProfileTest, NamesAreUniqueWithoutRegardToCaseAndLimited)
{
    ASSERT_EQ(Create(u"Übung"), S_OK);
    EXPECT_EQ(Create(u"ÜBUNG"), MAPI_E_NO_ACCESS);
    for (const char16_t* name : {u"", static_cast<const char16_t*>(nullptr), u" a", u"a ", u"a\nb"})
        EXPECT_EQ(Create(name), MAPI_E_INVALID_PARAMETER) << (name ? KwToUtf8(name) : "null");
    EXPECT_EQ(Create(u"../a/b\\c:*?"), S_OK);
    const std::u16string longest(cchProfileNameMax, u'x');
    EXPECT_EQ(Create(longest.c_str()), S_OK);
    EXPECT_EQ(Create((longest + u"x").c_str()), MAPI_E_STRING_TOO_LONG);
    EXPECT_EQ(Create(u"p", (longest + u"x").c_str()), MAPI_E_STRING_TOO_LONG);
    EXPECT_EQ(Names().size(), 3u);
    auto admin = Admin();
    EXPECT_EQ(admin->CreateProfile(W(u"p"), nullptr, 0, Unicode | 0x100), MAPI_E_UNKNOWN_FLAGS);
    EXPECT_EQ(admin->CreateProfile(A("\xDC"
                                     "bung"),
                                   nullptr, 0, 0),
              MAPI_E_NO_ACCESS); // code page 1252

    // The text of the failure, in both widths; for another code there is none.
    MapiBuffer<MAPIERROR> error;
    ASSERT_EQ(admin->GetLastError(MAPI_E_NO_ACCESS, Unicode, error.Out()), S_OK);
    ASSERT_TRUE(error);
    EXPECT_EQ(std::u16string(static_cast<const char16_t*>(error->lpszError)),
              u"There is a profile of this name already.");
    ASSERT_EQ(admin->GetLastError(MAPI_E_NO_ACCESS, 0, error.Out()), S_OK);
    EXPECT_STREQ(static_cast<const char*>(error->lpszError), "There is a profile of this name already.");
    ASSERT_EQ(admin->GetLastError(MAPI_E_NOT_FOUND, 0, error.Out()), S_OK);
    EXPECT_FALSE(error);
}

TEST_F(ProfileTest, PasswordsGuardTheLogon)
{
    ASSERT_EQ(Create(u"p", u"sesam"), S_OK);
    EXPECT_EQ(TryLogOn(u"p", u"Sesam"), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(TryLogOn(u"p", nullptr), MAPI_E_LOGON_FAILED);
    auto admin = Admin();
    Ptr<IMsgServiceAdmin> services;
    EXPECT_EQ(admin->AdminServices(W(u"p"), nullptr, 0, Unicode, Out(services)), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(admin->RenameProfile(W(u"p"), W(u"x"), W(u"q"), 0, Unicode), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(admin->ChangeProfilePassword(W(u"p"), W(u"x"), W(u"new"), Unicode), MAPI_E_LOGON_FAILED);
    ASSERT_EQ(admin->CopyProfile(W(u"p"), W(u"sesam"), W(u"copy"), 0, Unicode), S_OK);
    ASSERT_EQ(admin->ChangeProfilePassword(W(u"p"), W(u"sesam"), W(u"new"), Unicode), S_OK);
    EXPECT_EQ(TryLogOn(u"p", u"sesam"), MAPI_E_LOGON_FAILED);
    EXPECT_EQ(TryLogOn(u"copy", u"sesam"), S_OK);
    ASSERT_EQ(admin->ChangeProfilePassword(W(u"p"), W(u"new"), nullptr, Unicode), S_OK);
    EXPECT_EQ(TryLogOn(u"p", nullptr), S_OK);

    const Bytes content = ReadFile(Home() / "profiles.db");
    EXPECT_EQ(std::string(content.begin(), content.end()).find("sesam"), std::string::npos);
}

TEST(PasswordHash, AgreesWithPublishedVectors)
{
    const auto hex = [](const Digest& digest) {
        std::string text;
        for (const std::uint8_t byte : digest) {
            text += "0123456789abcdef"[byte >> 4];
            text += "0123456789abcdef"[byte & 15];
        }
        return text;
    };
    const auto bytes = [](std::string_view text) {
        return std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    };
    // FIPS 180-4 examples; the last one fills the block so that the length goes to a second one.
    EXPECT_EQ(hex(Sha256(bytes("abc"))), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hex(Sha256({})), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(hex(Sha256(bytes("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"))),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    const auto sesam = PasswordRecord::Make(u"sesam");
    const auto again = PasswordRecord::Make(u"sesam");
    EXPECT_NE(sesam.salt, again.salt);
    EXPECT_NE(sesam.hash, again.hash) << "who has the same password does not show it";
    EXPECT_EQ(sesam.rounds, 100'000u);
    EXPECT_EQ(sesam.hash, DeriveKey("sesam", sesam.salt, 100'000));
    EXPECT_TRUE(again.Fits(u"sesam") && !again.Fits(u"sesame"));
    // RFC 7914, section 11.
    EXPECT_EQ(hex(DeriveKey("passwd", bytes("salt"), 1)),
              "55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc");
    EXPECT_EQ(hex(DeriveKey("Password", bytes("NaCl"), 80000)),
              "4ddcd8f60b98be21830cee5ef22701f9641a4418d04c0414aeff08876b34ab56");
}

TEST_F(ProfileTest, CopiesShareTheStoreAndRenamingKeepsIt)
{
    ASSERT_EQ(Create(u"one"), S_OK);
    auto admin = Admin();
    EXPECT_EQ(admin->CopyProfile(W(u"none"), nullptr, W(u"two"), 0, Unicode), MAPI_E_NOT_FOUND);
    EXPECT_EQ(admin->CopyProfile(W(u"one"), nullptr, W(u"ONE"), 0, Unicode), MAPI_E_NO_ACCESS);
    ASSERT_EQ(admin->CopyProfile(W(u"one"), nullptr, W(u"two"), 0, Unicode), S_OK);
    const auto first = Stores(*LogOnTo(u"one"));
    const auto second = Stores(*LogOnTo(u"two"));
    ASSERT_EQ(first.size(), 1u);
    ASSERT_EQ(second.size(), 1u);
    EXPECT_EQ(first[0].id, second[0].id);
    EXPECT_TRUE(second[0].isDefault);

    EXPECT_EQ(admin->RenameProfile(W(u"one"), nullptr, W(u"two"), 0, Unicode), MAPI_E_NO_ACCESS);
    ASSERT_EQ(admin->RenameProfile(W(u"one"), nullptr, W(u"One"), 0, Unicode), S_OK);
    EXPECT_EQ(Names(), (NameList{u"*One", u"two"}));
    ASSERT_EQ(admin->RenameProfile(W(u"One"), nullptr, W(u"three"), 0, Unicode), S_OK);
    EXPECT_EQ(Stores(*LogOnTo(u"three")).at(0).id, first[0].id);
    EXPECT_EQ(TryLogOn(u"one", nullptr), MAPI_E_LOGON_FAILED);
}

TEST_F(ProfileTest, ADamagedForeignOrNewerFileIsRefusedAndLeftAlone)
{
    const auto file = Home() / "profiles.db";
    ASSERT_EQ(Create(u"p"), S_OK);
    const auto expectRefused = [&](HRESULT result) {
        const Bytes before = ReadFile(file);
        Ptr<IProfAdmin> admin;
        EXPECT_EQ(MAPIAdminProfiles(0, Out(admin)), result);
        EXPECT_EQ(TryLogOn(u"p", nullptr), result);
        EXPECT_TRUE(ReadFile(file) == before);
    };
    Database(file, Database::Mode::Open).Execute("PRAGMA user_version = 99");
    expectRefused(MAPI_E_VERSION);
    Database(file, Database::Mode::Open).Execute("PRAGMA application_id = 7");
    expectRefused(MAPI_E_CORRUPT_STORE);
    std::ofstream(file, std::ios::binary | std::ios::trunc) << std::string(4096, 'x');
    expectRefused(MAPI_E_CORRUPT_STORE);
}

// What waits for the lock of profiles.db, and what lets it go.
std::vector<std::chrono::milliseconds> waits;
Database* holder = nullptr;

TEST_F(ProfileTest, ALogonInAHurryWaitsThreeSecondsForALockAndAllElseTwenty)
{
    ASSERT_EQ(Create(u"p"), S_OK);
    Database other(Home() / "profiles.db", Database::Mode::Open);
    const auto lock = [&] { other.Execute("BEGIN EXCLUSIVE"); };
    struct Observed
    {
        explicit Observed(LockWaitObserver observer) { ObserveLockWaits(observer); }
        ~Observed() { ObserveLockWaits(nullptr); }
    };
    const LockWaitObserver giveUp = [](std::chrono::milliseconds wait) {
        waits.push_back(wait);
        return false;
    };
    const LockWaitObserver release = [](std::chrono::milliseconds wait) {
        waits.push_back(wait);
        std::exchange(holder, nullptr)->Execute("COMMIT");
        return true;
    };
    constexpr auto shortest = std::chrono::seconds(3);
    constexpr auto usual = std::chrono::seconds(20);
    lock();
    {
        const Observed observed(giveUp);
        EXPECT_EQ(TryLogOn(u"p", nullptr, Logon | MAPI_TIMEOUT_SHORT), MAPI_E_TIMEOUT);
        EXPECT_EQ(TryLogOn(u"p", nullptr), MAPI_E_TIMEOUT);
        EXPECT_THAT(waits, ElementsAre(shortest, usual));
    }
    waits.clear();
    holder = &other;
    const Observed observed(release);
    Ptr<IMAPISession> session;
    ASSERT_EQ(MAPILogonEx(0, W(u"p"), nullptr, Logon | MAPI_TIMEOUT_SHORT | MAPI_ALLOW_OTHERS, Out(session)), S_OK);
    lock();
    EXPECT_EQ(TryLogOn(nullptr, nullptr, MAPI_EXTENDED | MAPI_TIMEOUT_SHORT), S_OK) << "who joins waits for nothing";
    holder = &other;
    EXPECT_EQ(Stores(*session).size(), 1u) << "once logged on the session has time";
    EXPECT_THAT(waits, ElementsAre(shortest, usual));
}

TEST_F(ProfileTest, TheFileIsTheUsersAloneAndOneThatMayNotBeWrittenIsNamed)
{
    using std::filesystem::perms;
    const auto file = Home() / "profiles.db";
    ASSERT_EQ(Create(u"p"), S_OK);
    EXPECT_EQ(std::filesystem::status(file).permissions(), perms::owner_read | perms::owner_write);

    // Root may write everything, so it becomes somebody else meanwhile.
    constexpr uid_t nobody = 65534;
    for (auto folder = Home(); folder != folder.root_path() && folder != std::filesystem::temp_directory_path();
         folder = folder.parent_path())
        std::filesystem::permissions(folder, perms::group_exec | perms::others_exec,
                                     std::filesystem::perm_options::add);
    std::filesystem::permissions(file, perms::owner_read | perms::group_read | perms::others_read);
    struct Unprivileged
    {
        Unprivileged() : root(::geteuid() == 0) { EXPECT_TRUE(!root || ::seteuid(nobody) == 0); }
        ~Unprivileged() { EXPECT_TRUE(!root || ::seteuid(0) == 0); }
        const bool root;
    };
    const auto textOf = [](IProfAdmin& admin) {
        MapiBuffer<MAPIERROR> error;
        EXPECT_EQ(admin.GetLastError(MAPI_E_NO_ACCESS, Unicode, error.Out()), S_OK);
        return error ? std::u16string(static_cast<const char16_t*>(error->lpszError)) : std::u16string();
    };
    {
        const Unprivileged user;
        const auto admin = Admin();
        EXPECT_EQ(admin->CreateProfile(W(u"q"), nullptr, 0, Unicode), MAPI_E_NO_ACCESS);
        EXPECT_EQ(textOf(*admin).substr(0, 35), u"The file of the database, or its fo");
        EXPECT_EQ(admin->DeleteProfile(W(u"p"), Unicode), MAPI_E_NO_ACCESS);
        EXPECT_EQ(Names(), NameList{u"*p"}) << "it may be read";
    }
    std::filesystem::permissions(file, perms::none);
    {
        const Unprivileged user;
        Ptr<IProfAdmin> admin;
        EXPECT_EQ(MAPIAdminProfiles(0, Out(admin)), MAPI_E_NO_ACCESS);
        EXPECT_EQ(TryLogOn(u"p", nullptr), MAPI_E_NO_ACCESS);
    }
}

TEST_F(ProfileTest, ProcessesThatTakeTheSameNamesAgreeOnWhoWasFirst)
{
    constexpr int Processes = 4;
    constexpr int Count = 6;
    std::vector<pid_t> children;
    for (int process = 0; process < Processes; ++process) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            int made = 0;
            for (int i = 0; i < Count; ++i) {
                const std::u16string name = u"profile " + std::u16string(1, static_cast<char16_t>(u'0' + i));
                const HRESULT hr = Create(name.c_str());
                if (hr != S_OK && hr != MAPI_E_NO_ACCESS)
                    ::_exit(100);
                made += hr == S_OK;
            }
            ::_exit(made);
        }
        children.push_back(child);
    }
    int made = 0;
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        ASSERT_LT(WEXITSTATUS(status), 100);
        made += WEXITSTATUS(status);
    }
    EXPECT_EQ(made, Count);
    EXPECT_EQ(Names().size(), static_cast<std::size_t>(Count));
    EXPECT_EQ(Names()[0], u"*profile 0");
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(Home() / "stores"))
        files += entry.path().extension() == ".db";
    EXPECT_EQ(files, static_cast<std::size_t>(Count)); // who came too late left nothing behind
}

TEST_F(ProfileTest, AKilledProcessLeavesWholeProfilesOnly)
{
    int pipes[2];
    ASSERT_EQ(::pipe(pipes), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (int i = 0;; ++i) {
            const std::u16string name = u"p" + KwFromUtf8(std::to_string(i));
            if (Create(name.c_str()) != S_OK || ::write(pipes[1], "x", 1) != 1)
                ::_exit(1);
        }
    }
    ::close(pipes[1]);
    std::size_t confirmed = 0;
    char byte = 0;
    while (confirmed < 5 && ::read(pipes[0], &byte, 1) == 1)
        ++confirmed;
    // The next one is begun: its store file is there, or on its way.
    const auto files = [this] {
        std::error_code vanished; // drafts come and go
        std::size_t count = 0;
        for (std::filesystem::directory_iterator it(Home() / "stores", vanished), end; it != end;
             it.increment(vanished))
            ++count;
        return count;
    };
    int status = 0;
    while (files() <= confirmed)
        ASSERT_EQ(::waitpid(child, &status, WNOHANG), 0);
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    while (::read(pipes[0], &byte, 1) == 1)
        ++confirmed;
    ::close(pipes[0]);
    const NameList names = Names();
    EXPECT_GE(names.size(), confirmed);
    EXPECT_LE(names.size(), confirmed + 1);
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto session = LogOnTo((u"p" + KwFromUtf8(std::to_string(i))).c_str());
        ASSERT_EQ(Stores(*session).size(), 1u);
        EXPECT_TRUE(OpenFirstStore(*session));
    }
}

} // namespace
} // namespace deftmapi::client::test

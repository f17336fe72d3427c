// The walk through a store: its order, what it leaves out, and what ends it.
#include "tests/session/StoreFixture.hpp"

#include <gtest/gtest.h>
#include <stdexcept>

namespace deftmapi::test
{
namespace
{

class TStoreParserTest : public TStoreTest
{
protected:
    TStoreParserTest()
    {
        Object->Bag.Set(BinaryValue(GetPropTag(PR_IPM_SUBTREE_ENTRYID), "ROOT"));
        Root = Object->AddFolder("ROOT", u"Root");
        AddMessages(*Root, {"r1"});
        const auto a = AddFolder(*Root, "A", u"A");
        AddMessages(*AddFolder(*a, "A1", u"A1"), {"a1m"});
        AddMessages(*a, {"am1", "am2"});
        AddMessages(*AddFolder(*Root, "B", u"B"), {"bm"});
        a->Associated->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), "hidden")});
        Store = OpenStore(alReadOnly);
        Parser.OnParseStart = [&](TKwMAPIMsgStoreParser& parser, IKwMAPIMsgStore& store, IKwMAPIFolder& folder) {
            EXPECT_EQ(&parser, &Parser);
            EXPECT_EQ(&store, Store.Get());
            Seen += "<" + NameOf(folder);
        };
        Parser.OnParseSubFolder = [&](TKwMAPIMsgStoreParser&, IKwMAPIMsgStore&, IKwMAPIFolder& parent,
                                      IKwMAPIFolder& folder, bool& goOn) {
            EXPECT_TRUE(goOn);
            goOn = NameOf(folder) != Skipped;
            Seen += " " + NameOf(parent) + "/" + NameOf(folder);
        };
        Parser.OnParseMessage = [&](TKwMAPIMsgStoreParser&, IKwMAPIMsgStore&, IKwMAPIFolder& folder,
                                    const TKwMAPIEntryID& id, const WideString& subject) {
            const TKwBytes bytes = EntryIDToArr(id);
            Seen += " " + NameOf(folder) + ":" + std::string(bytes.begin(), bytes.end()) + "=" + KwToUtf8(subject);
        };
        Parser.OnParseEnd = [&](TKwMAPIMsgStoreParser&) { Seen += ">"; };
    }

    TKwComPtr<TScriptedFolder> AddFolder(TScriptedFolder& parent, const std::string& id, const char16_t* name)
    {
        parent.AddChild(id, name);
        return Object->AddFolder(id, name);
    }
    static void AddMessages(TScriptedFolder& folder, const std::vector<std::string>& ids)
    {
        for (const std::string& id : ids)
            folder.Contents->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), id), TextValue(GetPropTag(PR_SUBJECT), u"S")});
    }
    static std::string NameOf(IKwMAPIFolder& folder)
    {
        return KwToUtf8(folder.PropByName(PR_DISPLAY_NAME)->Get_AsString());
    }

    TKwComPtr<TScriptedFolder> Root;
    TKwMAPIMsgStoreParser Parser;
    std::string Seen;
    std::string Skipped;
};

TEST_F(TStoreParserTest, SubfoldersComeBeforeMessages)
{
    Parser.Start(*Store, nullptr);
    EXPECT_EQ(Seen, "<Root Root/A A/A1 A1:a1m=S A:am1=S A:am2=S Root/B B:bm=S Root:r1=S>");
    EXPECT_EQ(Calls->Count("SetColumns"), 8u);
    std::string columns;
    for (const std::string& line : Calls->Lines())
        if (line.starts_with("SetColumns") && columns.find(line) == std::string::npos)
            columns += line;
    EXPECT_EQ(columns, "SetColumns([0x0FFF0102],0)SetColumns([0x0FFF0102,0x0037001F],0)");

    Seen.clear();
    Skipped = "A";
    Parser.Start(*Store, nullptr);
    EXPECT_EQ(Seen, "<Root Root/A Root/B B:bm=S Root:r1=S>");
    Seen.clear();
    Skipped.clear();
    Parser.Start(*Store, Store->OpenFolder(ID("A"), alReadOnly));
    EXPECT_EQ(Seen, "<A A/A1 A1:a1m=S A:am1=S A:am2=S>");

    Seen.clear();
    Root->Hierarchy->Rows.clear();
    Parser.Start(*Store, nullptr);
    EXPECT_EQ(Seen, "<Root Root:r1=S>");
}

TEST_F(TStoreParserTest, FoldersAreOpenedWithTheAccessOfTheStore)
{
    const std::pair<TKwMAPIAccessLevel, const char*> levels[] = {
        {alReadOnly, ",0x00000000)"}, {alReadWrite, ",0x00000001)"}, {alBestAccess, ",0x00000010)"}};
    for (const auto& [level, flags] : levels) {
        Store = OpenStore(level);
        Parser.Start(*Store, nullptr);
        for (const std::string& line : Calls->Lines())
            EXPECT_TRUE(!line.starts_with("OpenEntry(") || line.ends_with(flags)) << line;
        EXPECT_EQ(Calls->Count("OpenEntry"), 4u);
    }
}

TEST_F(TStoreParserTest, NobodyListensAndFailures)
{
    TKwMAPIMsgStoreParser silent;
    static_cast<void>(Take());
    silent.Start(*Store, nullptr);
    EXPECT_EQ(Calls->Count("OpenEntry"), 4u);
    EXPECT_EQ(Calls->Count("GetContentsTable"), 4u) << "walked all the same";

    Calls->Next("GetContentsTable", mapi::MAPI_E_NO_ACCESS);
    EXPECT_EQ(Catch([&] { Parser.Start(*Store, nullptr); }).ClassName, "EMAPI_NO_ACCESS");
    EXPECT_EQ(Seen, "<Root Root/A A/A1") << "the end is not told";
    Seen.clear();
    Calls->Next("GetHierarchyTable", std::nullopt);
    Calls->Next("GetHierarchyTable", mapi::MAPI_E_NO_SUPPORT);
    EXPECT_EQ(Catch([&] { Parser.Start(*Store, nullptr); }).ClassName, "EMAPI_NO_SUPPORT");
    EXPECT_EQ(Seen, "<Root Root/A");
    Seen.clear();
    Parser.OnParseMessage = [](auto&&...) { throw std::runtime_error("enough"); };
    EXPECT_THROW(Parser.Start(*Store, nullptr), std::runtime_error);
    EXPECT_EQ(Seen, "<Root Root/A A/A1");
    EXPECT_EQ(Root->RefCount(), 2u); // the store's and the fixture's
}

} // namespace
} // namespace deftmapi::test

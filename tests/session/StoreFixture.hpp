// What the tests of stores, folders and messages share: a store over doubles on a scripted session, without a client
// library.
#pragma once

#include "mapi/DeftMAPI.hpp"
#include "tests/core/Caught.hpp"
#include "tests/session/ScriptedObjects.hpp"
#include "tests/support/LeakChecked.hpp"

namespace deftmapi::test
{

class TStoreTest : public TLeakChecked
{
protected:
    TStoreTest()
        : Calls(std::make_shared<TScriptedCalls>()), Session(KwMake<TScriptedSession>(Calls)),
          Object(new TScriptedStore(Calls)), InboxObject(static_cast<TScriptedFolder*>(FolderOf("INBOX")))
    {
        Store = OpenStore(alReadWrite);
    }

    [[nodiscard]] TKwRef<TKwMAPIMsgStore> OpenStore(TKwMAPIAccessLevel accessLevel)
    {
        const auto store = KwMake<TKwMAPIMsgStore>(*Session);
        store->SetMAPIOBJECT(Object.Get());
        store->SetOpenedAs(accessLevel);
        static_cast<void>(Calls->Take());
        return store;
    }
    [[nodiscard]] mapi::IMAPIFolder* FolderOf(const std::string& id)
    {
        return static_cast<mapi::IMAPIFolder*>(Object->Entries[id].Object.Get());
    }
    [[nodiscard]] TKwRef<IKwMAPIFolder> OpenInbox()
    {
        auto folder = Store->OpenFolderByType(ftInbox, alReadWrite);
        static_cast<void>(Calls->Take());
        return folder;
    }
    /// Gives the Inbox its list of further folders. A store that is open may know it otherwise.
    void SetAdditionalFolders(const std::vector<std::string>& ids)
    {
        std::vector<mapi::SBinary> elements;
        for (const std::string& id : ids)
            elements.push_back(BinaryValue(0, id).Value.bin);
        mapi::SPropValue list{};
        list.ulPropTag = GetPropTag(PR_ADDITIONAL_REN_ENTRYIDS);
        list.Value.MVbin = {static_cast<mapi::ULONG>(elements.size()), elements.data()};
        InboxObject->Bag.Set(list);
    }
    /// Gives the store every special folder, the one of the kind 64 as "F64", and opens it anew.
    void AddSpecialFolders()
    {
        const std::pair<TScriptedBag*, std::vector<TKwMAPIPropDef>> places[] = {
            {&Object->Bag,
             {PR_IPM_OUTBOX_ENTRYID, PR_IPM_WASTEBASKET_ENTRYID, PR_IPM_SENTMAIL_ENTRYID, PR_IPM_SUBTREE_ENTRYID,
              PR_FINDER_ENTRYID, PR_COMMON_VIEWS_ENTRYID, PR_VIEWS_ENTRYID}},
            {&InboxObject->Bag,
             {PR_IPM_CONTACT_ENTRYID, PR_IPM_APPOINTMENT_ENTRYID, PR_IPM_JOURNAL_ENTRYID, PR_IPM_NOTE_ENTRYID,
              PR_IPM_TASK_ENTRYID, PR_IPM_DRAFTS_ENTRYID}}};
        TKwMAPIFolderType type = ftOutbox; // the kinds are bits, in this order
        for (const auto& [bag, defs] : places)
            for (const TKwMAPIPropDef def : defs) {
                bag->Set(BinaryValue(GetPropTag(def), "F" + std::to_string(type)));
                type *= 2;
            }
        for (type = ftOutbox; type <= ftJunkFolder; type *= 2)
            Object->AddFolder("F" + std::to_string(type));
        SetAdditionalFolders({"", "F32768", "", "", "F65536"});
        Store = OpenStore(alReadWrite);
    }
    [[nodiscard]] std::string Take() { return Calls->Take(); }

    static TCaught Failure(const char* className, std::uint32_t code, const std::string& message)
    {
        return {className, message, code, false};
    }
    static TKwMAPIEntryID ID(std::string_view bytes)
    {
        return BinToEntryID(static_cast<std::int32_t>(bytes.size()), bytes.data());
    }

    TCallsRef Calls;
    TKwRef<TScriptedSession> Session;
    TKwComPtr<TScriptedStore> Object;
    TKwComPtr<TScriptedFolder> InboxObject;
    TKwRef<TKwMAPIMsgStore> Store;
};

} // namespace deftmapi::test

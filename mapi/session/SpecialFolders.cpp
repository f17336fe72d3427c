// The special folders of a store; see SpecialFolders.hpp.
#include "mapi/session/SpecialFolders.hpp"

namespace deftmapi
{

namespace
{

constexpr TKwMAPISpecialFolder StoreFolder(TKwMAPIFolderType type, const char16_t* keyword, TKwMAPIPropDef property)
{
    return {type, keyword, TKwMAPIFolderPlace::StoreProperty, property, 0, nullptr};
}

constexpr TKwMAPISpecialFolder InboxFolder(TKwMAPIFolderType type, const char16_t* keyword, TKwMAPIPropDef property,
                                           const char16_t* containerClass)
{
    return {type, keyword, TKwMAPIFolderPlace::InboxProperty, property, 0, containerClass};
}

constexpr TKwMAPISpecialFolder AdditionalFolder(TKwMAPIFolderType type, const char16_t* keyword, std::size_t element)
{
    return {type, keyword, TKwMAPIFolderPlace::AdditionalFolder, PR_ADDITIONAL_REN_ENTRYIDS, element, nullptr};
}

constexpr TKwMAPISpecialFolder Folders[] = {
    {ftInbox, u"Inbox", TKwMAPIFolderPlace::ReceiveFolder, 0, 0, nullptr},
    StoreFolder(ftOutbox, u"Outbox", PR_IPM_OUTBOX_ENTRYID),
    StoreFolder(ftDeleted, u"Deleted", PR_IPM_WASTEBASKET_ENTRYID),
    StoreFolder(ftSentItems, u"SentItems", PR_IPM_SENTMAIL_ENTRYID),
    StoreFolder(ftIPMRoot, u"IPMRoot", PR_IPM_SUBTREE_ENTRYID),
    StoreFolder(ftSearch, u"Search", PR_FINDER_ENTRYID),
    StoreFolder(ftSearch, u"SearchFolder", PR_FINDER_ENTRYID),
    StoreFolder(ftCommon, u"Common", PR_COMMON_VIEWS_ENTRYID),
    StoreFolder(ftPersonal, u"Personal", PR_VIEWS_ENTRYID),
    InboxFolder(ftContact, u"Contact", PR_IPM_CONTACT_ENTRYID, u"IPF.Contact"),
    InboxFolder(ftAppointment, u"Appointment", PR_IPM_APPOINTMENT_ENTRYID, u"IPF.Appointment"),
    InboxFolder(ftJournal, u"Journal", PR_IPM_JOURNAL_ENTRYID, u"IPF.Journal"),
    InboxFolder(ftStickyNote, u"StickyNote", PR_IPM_NOTE_ENTRYID, u"IPF.StickyNote"),
    InboxFolder(ftTask, u"Task", PR_IPM_TASK_ENTRYID, u"IPF.Task"),
    InboxFolder(ftDraft, u"Draft", PR_IPM_DRAFTS_ENTRYID, u"IPF.Draft"),
    AdditionalFolder(ftSyncIssues, u"SyncIssues", 1),
    AdditionalFolder(ftJunkFolder, u"JunkFolder", 4),
};

} // namespace

const TKwMAPISpecialFolder* FindSpecialFolder(TKwMAPIFolderType type) noexcept
{
    for (const auto& folder : Folders)
        if (folder.Type == type)
            return &folder;
    return nullptr;
}

const TKwMAPISpecialFolder* FindSpecialFolder(WideView keyword) noexcept
{
    for (const auto& folder : Folders)
        if (KwSameText(folder.Keyword, keyword))
            return &folder;
    return nullptr;
}

} // namespace deftmapi

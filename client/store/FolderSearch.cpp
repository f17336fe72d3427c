// What a search folder is told to look for, and what it says of it. A search is done when the call that starts it
// returns: it is one statement per folder. Which thread pays is the caller's either way, so that the flags for the
// foreground and the background are kept and make no difference.
#include "client/store/Folder.hpp"
#include "client/store/SearchCriteria.hpp"

namespace deftmapi::client
{
namespace
{

constexpr auto sNoSearch = u"The folder is no search folder.";
constexpr auto sContradiction = u"The search flags contradict each other.";
constexpr auto sNoCriteria = u"The search folder has not been given criteria yet.";
constexpr auto sNested = u"Search folders cannot be searched.";
constexpr auto sNoFolders = u"A search needs at least one folder.";

/// The first bit set, the second one not; or the other way; or what was before.
bool Choose(ULONG flags, ULONG yes, ULONG no, bool before)
{
    if ((flags & yes) && (flags & no))
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sContradiction);
    return flags & yes ? true : flags & no ? false : before;
}

MapiBuffer<mapi::ENTRYLIST> MakeEntryList(const std::vector<Bytes>& entries)
{
    std::size_t size = sizeof(mapi::ENTRYLIST) + entries.size() * sizeof(mapi::SBinary);
    std::size_t at = size;
    for (const Bytes& entry : entries)
        size += entry.size();
    auto list = AllocateAs<mapi::ENTRYLIST>(size);
    auto* raw = reinterpret_cast<std::uint8_t*>(list.Get());
    list->cValues = static_cast<ULONG>(entries.size());
    list->lpbin = reinterpret_cast<mapi::SBinary*>(raw + sizeof(mapi::ENTRYLIST));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::copy(entries[i].begin(), entries[i].end(), raw + at);
        list->lpbin[i] = {static_cast<ULONG>(entries[i].size()), raw + at};
        at += entries[i].size();
    }
    return list;
}

} // namespace

mapi::HRESULT FolderObject::SetSearchCriteria(mapi::LPSRestriction restriction, mapi::LPENTRYLIST containers,
                                              ULONG flags) noexcept
{
    return Run([&] {
        RequireFlags(flags, mapi::STOP_SEARCH | mapi::RESTART_SEARCH | mapi::RECURSIVE_SEARCH | mapi::SHALLOW_SEARCH |
                                mapi::FOREGROUND_SEARCH | mapi::BACKGROUND_SEARCH | mapi::CONTENT_INDEXED_SEARCH |
                                mapi::NON_CONTENT_INDEXED_SEARCH | mapi::STATIC_SEARCH);
        RequireWritable();
        Transaction transaction(FStore->Db());
        Refresh();
        if (!FState.IsSearch())
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoSearch);
        SearchFolders& searches = FStore->Searches();
        auto known = searches.Load(FRow);
        if (!known && (!restriction || !containers))
            Fail(mapi::MAPI_E_NOT_INITIALIZED, sNoCriteria);
        SearchCriteria criteria = known ? std::move(*known) : SearchCriteria();
        if (restriction)
            criteria.restriction = PackRestriction(*restriction);
        if (containers) {
            if (containers->cValues == 0 || !containers->lpbin)
                Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoFolders);
            criteria.folders.clear();
            for (ULONG i = 0; i < containers->cValues; ++i) {
                const mapi::SBinary& id = containers->lpbin[i];
                const auto row =
                    FStore->RowOf(id.cb, reinterpret_cast<const mapi::ENTRYID*>(id.lpb), EntryKind::Folder);
                if (LoadFolder(*FStore, row).IsSearch())
                    Fail(mapi::MAPI_E_NO_SUPPORT, sNested);
                criteria.folders.push_back(row);
            }
        }
        criteria.recursive = Choose(flags, mapi::RECURSIVE_SEARCH, mapi::SHALLOW_SEARCH, criteria.recursive);
        criteria.foreground = Choose(flags, mapi::FOREGROUND_SEARCH, mapi::BACKGROUND_SEARCH, criteria.foreground);
        // What was searched for once is not searched for again because its priority or its depth is set.
        const bool isAsked = restriction || containers || (flags & (mapi::RESTART_SEARCH | mapi::STATIC_SEARCH));
        const bool stays = criteria.isStatic && !isAsked;
        criteria.isStatic = stays || (flags & mapi::STATIC_SEARCH) != 0;
        const bool start = Choose(flags, mapi::RESTART_SEARCH, mapi::STOP_SEARCH, !stays);
        criteria.running = start && !criteria.isStatic;
        searches.Save(FRow, criteria);
        if (start)
            searches.Fill(FRow);
        transaction.Commit();
    });
}

mapi::HRESULT FolderObject::GetSearchCriteria(ULONG flags, mapi::LPSRestriction* restriction,
                                              mapi::LPENTRYLIST* containers, ULONG* state) noexcept
{
    return Run([&] {
        if (restriction)
            *restriction = nullptr;
        if (containers)
            *containers = nullptr;
        if (state)
            *state = 0;
        RequireFlags(flags, mapi::MAPI_UNICODE);
        Refresh();
        if (!FState.IsSearch())
            Fail(mapi::MAPI_E_NO_SUPPORT, sNoSearch);
        const auto criteria = FStore->Searches().Load(FRow);
        if (!criteria)
            Fail(mapi::MAPI_E_NOT_INITIALIZED, sNoCriteria);
        MapiBuffer<mapi::SRestriction> wanted;
        if (restriction)
            wanted = UnpackRestriction(criteria->restriction, (flags & mapi::MAPI_UNICODE) != 0);
        if (containers) {
            std::vector<Bytes> entries;
            for (const std::int64_t folder : criteria->folders)
                entries.push_back(FStore->EntryIdOf(EntryKind::Folder, folder));
            *containers = MakeEntryList(entries).Detach();
        }
        if (restriction)
            *restriction = wanted.Detach();
        if (state)
            *state =
                (criteria->running ? mapi::SEARCH_RUNNING : 0) | (criteria->recursive ? mapi::SEARCH_RECURSIVE : 0) |
                (criteria->foreground ? mapi::SEARCH_FOREGROUND : 0) | (criteria->isStatic ? mapi::SEARCH_STATIC : 0);
    });
}

} // namespace deftmapi::client

// Property names of a store: identifiers are given out once, from 0x8000 up, and kept for the life of the store.
#include "client/entry/Guard.hpp"
#include "client/store/StoreFile.hpp"

#include <cstring>

namespace deftmapi::client
{
namespace
{

constexpr ULONG FirstNamedId = 0x8000;
constexpr ULONG LastNamedId = 0xFFFE;
constexpr auto sNoMoreIds = u"The store has given out all identifiers for named properties.";

std::span<const std::uint8_t> GuidBytes(const mapi::GUID& guid)
{
    return {reinterpret_cast<const std::uint8_t*>(&guid), sizeof guid};
}

std::string NameKey(const mapi::GUID& set, std::int64_t lid, const WideString* name)
{
    std::string key(reinterpret_cast<const char*>(&set), sizeof set);
    return name ? key + 's' + PackText(*name) : key + 'i' + std::to_string(lid);
}

Query FindName(Database& database, const mapi::GUID& set, std::int64_t lid, const WideString* name)
{
    Query query = database.Prepare(name ? "SELECT id FROM named_props WHERE set_guid = ?1 AND name = ?2"
                                        : "SELECT id FROM named_props WHERE set_guid = ?1 AND lid = ?2");
    query.BindBlob(1, GuidBytes(set));
    if (name)
        query.BindText(2, PackText(*name));
    else
        query.Bind(2, lid);
    return query;
}

} // namespace

ULONG StoreFile::IdOfName(const mapi::GUID& set, std::int64_t lid, const WideString* name, bool create)
{
    const std::string key = NameKey(set, lid, name);
    if (const auto it = FIdsByName.find(key); it != FIdsByName.end())
        return it->second;
    ULONG id = 0;
    if (Query query = FindName(FDatabase, set, lid, name); query.Step())
        id = static_cast<ULONG>(query.Number(0));
    // Only what is there to stay is remembered: an identifier that this transaction gives may yet be rolled back.
    if (id != 0 && !FDatabase.InTransaction())
        FIdsByName.emplace(key, id);
    if (id == 0 && create) {
        Transaction transaction(FDatabase);
        // Another process may have been faster: look again inside the transaction.
        if (Query query = FindName(FDatabase, set, lid, name); query.Step()) {
            id = static_cast<ULONG>(query.Number(0));
        } else {
            id = static_cast<ULONG>(FDatabase.Scalar("SELECT max(id) FROM named_props"));
            id = id == 0 ? FirstNamedId : id + 1;
            if (id > LastNamedId)
                Fail(mapi::MAPI_E_TOO_BIG, sNoMoreIds);
            Query insert =
                FDatabase.Prepare("INSERT INTO named_props (id, set_guid, lid, name) VALUES (?1, ?2, ?3, ?4)");
            insert.Bind(1, id).BindBlob(2, GuidBytes(set));
            if (name)
                insert.BindText(4, PackText(*name));
            else
                insert.Bind(3, lid);
            insert.Run();
        }
        transaction.Commit();
    }
    return id;
}

std::shared_ptr<const StoreFile::Name> StoreFile::NameOfId(ULONG id)
{
    if (const auto it = FNamesById.find(id); it != FNamesById.end())
        return it->second;
    Query query = FDatabase.Prepare("SELECT set_guid, lid, name FROM named_props WHERE id = ?1");
    query.Bind(1, id);
    if (!query.Step() || query.Blob(0).size() != sizeof(mapi::GUID))
        return nullptr;
    auto name = std::make_shared<Name>();
    std::memcpy(&name->set, query.Blob(0).data(), sizeof name->set);
    name->isText = query.IsNull(1);
    if (name->isText)
        name->text = UnpackText(query.Text(2));
    else
        name->lid = static_cast<mapi::LONG>(query.Number(1));
    if (!FDatabase.InTransaction()) // a rollback would give the identifier to another name
        FNamesById.emplace(id, name);
    return name;
}

std::vector<ULONG> StoreFile::AllNameIds()
{
    std::vector<ULONG> ids;
    Query query = FDatabase.Prepare("SELECT id FROM named_props ORDER BY id");
    while (query.Step())
        ids.push_back(static_cast<ULONG>(query.Number(0)));
    return ids;
}

} // namespace deftmapi::client

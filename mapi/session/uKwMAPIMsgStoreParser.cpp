// The walk through a store; see uKwMAPIMsgStoreParser.hpp.
#include "mapi/session/uKwMAPIMsgStoreParser.hpp"

#include "mapi/core/uKwMAPIProps.hpp"

namespace deftmapi
{

void TKwMAPIMsgStoreParser::Start(IKwMAPIMsgStore& store, const TKwRef<IKwMAPIFolder>& folder)
{
    const TKwRef<IKwMAPIFolder> start = folder ? folder : store.OpenFolderByType(ftIPMRoot, store.Get_AccessLevel());
    if (OnParseStart)
        OnParseStart(*this, store, *start);
    Parse(store, *start);
    if (OnParseEnd)
        OnParseEnd(*this);
}

void TKwMAPIMsgStoreParser::Parse(IKwMAPIMsgStore& store, IKwMAPIFolder& folder)
{
    ParseSubFolders(store, folder);
    ParseMessages(store, folder);
}

void TKwMAPIMsgStoreParser::ParseSubFolders(IKwMAPIMsgStore& store, IKwMAPIFolder& folder)
{
    const auto children = folder.GetHierarchyTable(false);
    const auto id = children->Get_Fields()->Add(PR_ENTRYID);
    for (children->First(); !children->Get_EOF(); children->Next()) {
        const auto subFolder = store.OpenFolder(id->Get_Value(), store.Get_AccessLevel());
        bool goOn = true;
        if (OnParseSubFolder)
            OnParseSubFolder(*this, store, folder, *subFolder, goOn);
        if (goOn)
            Parse(store, *subFolder);
    }
}

void TKwMAPIMsgStoreParser::ParseMessages(IKwMAPIMsgStore& store, IKwMAPIFolder& folder)
{
    const auto contents = folder.GetContentsTable();
    const auto id = contents->Get_Fields()->Add(PR_ENTRYID);
    const auto subject = contents->Get_Fields()->Add(PR_SUBJECT);
    // Walked to the end whoever listens: a folder whose messages cannot be read ends the walk.
    for (contents->First(); !contents->Get_EOF(); contents->Next())
        if (OnParseMessage)
            OnParseMessage(*this, store, folder, id->Get_Value(), subject->Get_AsString());
}

} // namespace deftmapi

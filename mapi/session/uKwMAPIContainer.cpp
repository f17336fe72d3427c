// Containers; see uKwMAPIContainer.hpp.
#include "mapi/session/uKwMAPIContainer.hpp"

#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIStoreConstantsH.hpp"
#include "mapi/session/AccessLevel.hpp"
#include "mapi/session/EntryIDArg.hpp"
#include "mapi/table/uKwMAPITable.hpp"
#include "mapi/table/uKwSimpleMAPITables.hpp"

namespace deftmapi
{

namespace
{

constexpr auto sNotInSimpleMAPI = u"This action is not supported by Simple MAPI!";
constexpr auto sUnknownEntry = u"%s.%s has raised the following exception:\r\n%s (%d)\r\nThis exception can be raised "
                               u"if you are trying to open an Outlook contacts folder that has not been marked as an "
                               u"Addressbook folder!";
constexpr auto sUnknownEntryText = u"The given EntryID could not be located.";
constexpr auto sNoOpenEntry = u"OpenEntry is not supported for this containertype";
constexpr auto sNoTemplates = u"Invalid Containertype";
constexpr auto sNoTemplateOfType = u"The specified objecttype is not supported";

TKwMAPIContainerType ContainerTypeOf(std::int32_t objectType)
{
    switch (static_cast<mapi::ULONG>(objectType)) {
    case mapi::MAPI_FOLDER:
        return ctFolder;
    case mapi::MAPI_ABCONT:
        return ctABContainer;
    case mapi::MAPI_DISTLIST:
        return ctDistList;
    default:
        return ctUnknown;
    }
}

} // namespace

TKwMAPIContainer::TKwMAPIContainer(TKwMAPIWrapper& createdBy) : TKwMAPIProp(&createdBy, TKwKeepAlive::kaOwner)
{
    SetSession(createdBy.Session());
}

void TKwMAPIContainer::SetOpenedAs(TKwMAPIAccessLevel accessLevel)
{
    SetOpenedAccess(*this, accessLevel);
}

void TKwMAPIContainer::SetMAPIOBJECT(mapi::IUnknown* object)
{
    TKwMAPIProp::SetMAPIOBJECT(object);
    if (object == nullptr)
        FContainerType = ctUnknown;
    else if (Session()->UsesExtendedMAPI())
        FContainerType = ContainerTypeOf(PropByName(PR_OBJECT_TYPE)->Get_AsInteger());
    else
        FContainerType = ctFolder; // Simple MAPI has nothing else
}

WideString TKwMAPIContainer::Get_ContainerClass()
{
    CheckActive(u"Get_ContainerClass");
    return PropByName(PR_CONTAINER_CLASS)->Get_AsString();
}

void TKwMAPIContainer::Set_ContainerClass(WideView containerClass)
{
    CheckActive(u"Set_ContainerClass");
    PropByName(PR_CONTAINER_CLASS)->Set_AsString(containerClass);
}

TKwComPtr<mapi::IMAPITable> TKwMAPIContainer::OpenContentsTable(WideView methodName, mapi::ULONG flags)
{
    CheckActive(methodName);
    if (!Session()->UsesExtendedMAPI())
        CreateKwMAPIException(KwNotSupported, sNotInSimpleMAPI)->Raise();
    TKwComPtr<mapi::IMAPITable> table;
    const mapi::HRESULT hr = WithCharWidth(
        flags, [&](mapi::ULONG allFlags) { return MAPIContainer().GetContentsTable(allFlags, Out(table)); });
    if (hr == mapi::MAPI_E_UNKNOWN_ENTRYID)
        CreateKwMAPIException(hr, sUnknownEntry, {GetClassName(), methodName, sUnknownEntryText, hr})->Raise();
    CheckMAPIResult(*this, methodName, hr);
    return table;
}

TKwRef<IKwMAPITable> TKwMAPIContainer::GetContentsTable()
{
    return KwMake<TKwMAPITable>(*this, OpenContentsTable(u"GetContentsTable", 0).Get(),
                                [this] { return OpenContentsTable(u"GetContentsTable", 0); });
}

TKwComPtr<mapi::IMAPITable> TKwMAPIContainer::OpenHierarchyTable(bool deep)
{
    CheckActive(u"GetHierarchyTable");
    CheckExtendedMAPI(u"GetHierarchyTable");
    TKwComPtr<mapi::IMAPITable> table;
    CheckMAPIResult(*this, u"GetHierarchyTable",
                    WithCharWidth(deep ? mapi::CONVENIENT_DEPTH : 0, [&](mapi::ULONG flags) {
                        return FContainerType == ctDistList ? OpenHierarchyProperty(flags, table)
                                                            : MAPIContainer().GetHierarchyTable(flags, Out(table));
                    }));
    return table;
}

mapi::HRESULT TKwMAPIContainer::OpenHierarchyProperty(mapi::ULONG flags, TKwComPtr<mapi::IMAPITable>& table)
{
    try {
        const auto object = OpenIntfProperty(PR_CONTAINER_HIERARCHY, mapi::IID_IMAPITable, flags, alReadOnly, false);
        table = TKwComPtr<mapi::IMAPITable>(static_cast<mapi::IMAPITable*>(object.Get()));
        return mapi::S_OK;
    } catch (const EKwMAPIException& failure) {
        if (failure.ErrorCode() != mapi::MAPI_E_BAD_CHARWIDTH)
            throw;
        return failure.ErrorCode();
    }
}

TKwRef<IKwMAPITable> TKwMAPIContainer::GetHierarchyTable(WordBool deep)
{
    CheckActive(u"GetHierarchyTable");
    if (!Session()->UsesExtendedMAPI())
        return KwMake<TKwSimpleMAPIFolderHierachieTable>(
            *this, static_cast<TKwMAPIFolderType>(PropByName(PR_FOLDER_TYPE)->Get_AsInteger()));
    return KwMake<TKwMAPITable>(*this, OpenHierarchyTable(deep).Get(),
                                [this, deep] { return OpenHierarchyTable(deep); });
}

TKwComPtr<mapi::IUnknown> TKwMAPIContainer::OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                      mapi::ULONG flags, TKwMAPIObjectType& objectType)
{
    CheckActive(u"OpenEntry");
    CheckExtendedMAPI(u"OpenEntry");
    if (FContainerType == ctUnknown)
        CreateKwMAPIException(KwNotSupported, sNoOpenEntry)->Raise();
    TKwMAPIEntryIDArg id(entryID);
    mapi::ULONG type = 0;
    TKwComPtr<mapi::IUnknown> object;
    CheckMAPIResult(*this, u"OpenEntry",
                    MAPIContainer().OpenEntry(id.Size(), id.Get(), iid, flags, &type, Out(object)));
    objectType = static_cast<TKwMAPIObjectType>(type);
    return object;
}

TKwMAPIEntryID TKwMAPIContainer::_GetTemplateID(TKwMAPIObjectType objectType)
{
    CheckActive(u"_GetTemplateID");
    if (FContainerType != ctABContainer)
        CreateKwMAPIException(KwNotSupported, sNoTemplates)->Raise();
    if (objectType != otRecipient && objectType != otDistributionList)
        CreateKwMAPIException(KwNotSupported, sNoTemplateOfType)->Raise();
    return KwAsEntryID(PropByName(objectType == otRecipient ? PR_DEF_CREATE_MAILUSER : PR_DEF_CREATE_DL)->Get_Value());
}

} // namespace deftmapi

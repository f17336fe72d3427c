// Containers: what folders, address-book containers and distribution lists have in common.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

/// Wraps an IMAPIContainer: a folder, an address-book container or a distribution list.
class DEFTMAPI_API TKwMAPIContainer : public TKwMAPIProp, public virtual IKwMAPIContainer
{
public:
    /// @param createdBy  the store or other object that the container was opened from; it and its session are kept
    /// alive
    explicit TKwMAPIContainer(TKwMAPIWrapper& createdBy);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIContainer"; }
    /// Also works out the container type.
    void SetMAPIOBJECT(mapi::IUnknown* object) override;
    /// The access asked for. With alBestAccess the object tells whether writing is possible.
    void SetOpenedAs(TKwMAPIAccessLevel accessLevel);

    [[nodiscard]] TKwMAPIContainerType Get_ContainerType() override { return FContainerType; }
    [[nodiscard]] WideString Get_ContainerClass() override;
    void Set_ContainerClass(WideView containerClass) override;
    /// @throws EMAPI_UNKNOWN_ENTRYID  a contacts folder's entry in the address book that leads nowhere
    /// @throws EMAPI_NOT_SUPPORTED    Simple MAPI
    [[nodiscard]] TKwRef<IKwMAPITable> GetContentsTable() override;
    /// A distribution list gives the table as its PR_CONTAINER_HIERARCHY.
    [[nodiscard]] TKwRef<IKwMAPITable> GetHierarchyTable(WordBool deep) override;
    /// @throws EMAPI_NOT_SUPPORTED  "OpenEntry is not supported for this containertype": the object that is wrapped
    /// does
    ///                              not say which kind of container it is
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenEntry(const TKwMAPIEntryID& entryID, const mapi::GUID* iid,
                                                      mapi::ULONG flags, TKwMAPIObjectType& objectType) override;
    /// The template from which an address-book container makes new entries; Null when the container makes none.
    /// @param objectType  otRecipient (PR_DEF_CREATE_MAILUSER) or otDistributionList (PR_DEF_CREATE_DL)
    /// @throws EMAPI_NOT_SUPPORTED  "Invalid Containertype": no address-book container; "The specified objecttype is
    /// not
    ///                              supported"
    [[nodiscard]] TKwMAPIEntryID _GetTemplateID(TKwMAPIObjectType objectType);

protected:
    [[nodiscard]] mapi::IMAPIContainer& MAPIContainer() const noexcept { return MAPIObjectAs<mapi::IMAPIContainer>(); }
    /// The contents or (flags: MAPI_ASSOCIATED) associated contents, with the explanation that contacts folders need.
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenContentsTable(WideView methodName, mapi::ULONG flags);

private:
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenHierarchyTable(bool deep);
    /// The hierarchy of a distribution list. Returns MAPI_E_BAD_CHARWIDTH, and raises what else fails.
    [[nodiscard]] mapi::HRESULT OpenHierarchyProperty(mapi::ULONG flags, TKwComPtr<mapi::IMAPITable>& table);

    TKwMAPIContainerType FContainerType = ctUnknown;
};

} // namespace deftmapi

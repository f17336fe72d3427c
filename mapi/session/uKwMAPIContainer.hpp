// Containers: what folders, address-book containers and distribution lists have in common.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

/// Wraps an IMAPIContainer.
class DEFTMAPI_API TKwMAPIContainer : public TKwMAPIProp, public virtual IKwMAPIContainer
{
public:
    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIContainer"; }
    /// Also works out the container type.
    void SetMAPIOBJECT(mapi::IUnknown* object) override;

    [[nodiscard]] TKwMAPIContainerType Get_ContainerType() override { return FContainerType; }
    [[nodiscard]] WideString Get_ContainerClass() override;
    void Set_ContainerClass(WideView containerClass) override;
    [[nodiscard]] TKwRef<IKwMAPITable> GetContentsTable() override;
    [[nodiscard]] TKwRef<IKwMAPITable> GetHierarchyTable(bool deep) override;

protected:
    /// @param createdBy  the store or other object that the container was opened from; kept alive
    explicit TKwMAPIContainer(TKwMAPIObject* createdBy) : TKwMAPIProp(createdBy, TKwKeepAlive::kaOwner) {}

    [[nodiscard]] mapi::IMAPIContainer& MAPIContainer() const noexcept { return MAPIObjectAs<mapi::IMAPIContainer>(); }
    /// The contents or (flags: MAPI_ASSOCIATED) associated contents, with the explanation that contacts folders need.
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenContentsTable(WideView methodName, mapi::ULONG flags);

private:
    [[nodiscard]] TKwComPtr<mapi::IMAPITable> OpenHierarchyTable(bool deep);

    TKwMAPIContainerType FContainerType = ctUnknown;
};

} // namespace deftmapi

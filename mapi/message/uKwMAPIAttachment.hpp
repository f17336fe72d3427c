// Attachments, opened.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

namespace deftmapi
{

/// Wraps one IAttach. Its data is the property PR_ATTACH_DATA_BIN, best read through OpenBinProperty.
class DEFTMAPI_API TKwMAPIAttachment final : public TKwMAPIProp, public virtual IKwMAPIAttachment
{
public:
    /// @param message  the message that the attachment belongs to; kept alive
    explicit TKwMAPIAttachment(TKwMAPIWrapper& message);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIAttachment"; }
    /// Opened with the attachment's own access level.
    /// @throws EMAPI_INVALID_PARAMETER  the attachment is of another kind
    [[nodiscard]] TKwRef<IKwMAPIMessage> GetEmbeddedMessage() override;
};

} // namespace deftmapi

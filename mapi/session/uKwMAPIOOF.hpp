// The out-of-office assistant of a mailbox on an Exchange server.
#pragma once

#include "mapi/session/uKwMAPIMsgStore.hpp"

namespace deftmapi
{

/// The switch is a property of the store (PR_OOF_STATE); the text is that of a hidden message of the Inbox, the
/// template of the replies. IKwMAPIMsgStore::OpenOOF makes it; it keeps the store alive.
class DEFTMAPI_API TKwMAPIOOF final : public TKwMAPIObject, public virtual IKwMAPIOOF
{
public:
    explicit TKwMAPIOOF(TKwMAPIMsgStore& store);

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIOOF"; }
    [[nodiscard]] WordBool Get_OutOfOffice() override;
    void Set_OutOfOffice(WordBool value) override;
    [[nodiscard]] WideString Get_Text() override;
    /// Makes the template when there is none. @throws EMAPI_NOT_FOUND  the mailbox has no Inbox
    void Set_Text(WideView text) override;

private:
    TKwRef<IKwMAPIMsgStore> FStore;
};

} // namespace deftmapi

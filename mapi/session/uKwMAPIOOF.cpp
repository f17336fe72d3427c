// The out-of-office assistant; see uKwMAPIOOF.hpp.
#include "mapi/session/uKwMAPIOOF.hpp"

#include "mapi/core/uKwMAPILists.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/session/AssociatedMessages.hpp"

namespace deftmapi
{

namespace
{

constexpr auto TemplateClass = u"IPM.Note.Rules.OofTemplate.Microsoft";

} // namespace

TKwMAPIOOF::TKwMAPIOOF(TKwMAPIMsgStore& store) : TKwMAPIObject(&store, TKwKeepAlive::kaOwner), FStore(&store) {}

WordBool TKwMAPIOOF::Get_OutOfOffice()
{
    return FStore->GetPropValues({PR_OOF_STATE}).front() == TKwVariant(true); // others may have switched it
}

void TKwMAPIOOF::Set_OutOfOffice(WordBool value)
{
    const auto values = KwMake<TKwMAPIPropValueList>();
    values->AddValue(PR_OOF_STATE, value);
    FStore->SetPropValues(*values);
}

WideString TKwMAPIOOF::Get_Text()
{
    const auto inbox = FStore->OpenFolderByType(ftInbox, alReadOnly);
    const auto reply = KwFindAssociatedMessage(*FStore, *inbox, TemplateClass, alReadOnly);
    return reply ? reply->GetBodyText() : WideString();
}

void TKwMAPIOOF::Set_Text(WideView text)
{
    const auto inbox = FStore->OpenFolderByType(ftInbox, alReadWrite);
    auto reply = KwFindAssociatedMessage(*FStore, *inbox, TemplateClass, alReadWrite);
    if (!reply)
        reply = inbox->CreateMessage(TemplateClass);
    reply->SetMessageText(text, fmtPlainText);
    reply->SaveChanges();
}

} // namespace deftmapi

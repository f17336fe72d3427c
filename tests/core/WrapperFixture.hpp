// What the tests of wrappers share: a scripted session and a wrapper over a scripted IMAPIProp.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/core/uKwMAPIProps.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "tests/core/Caught.hpp"
#include "tests/support/LeakChecked.hpp"
#include "tests/support/ScriptedProp.hpp"

namespace deftmapi::test
{

/// The plainest property-bearing wrapper.
class TTestProp final : public TKwMAPIProp
{
public:
    explicit TTestProp(TKwAutoIntfObject* createdBy, TKwKeepAlive keepAlive = TKwKeepAlive::kaNone)
        : TKwMAPIProp(createdBy, keepAlive)
    {}
    [[nodiscard]] WideString GetClassName() const override { return u"TTestProp"; }
    using TKwMAPIProp::Items;

    /// Called by SetMAPIOBJECT, before the base is.
    std::function<void(mapi::IUnknown* object)> OnSetMAPIOBJECT;
    void SetMAPIOBJECT(mapi::IUnknown* object) override
    {
        if (OnSetMAPIOBJECT)
            OnSetMAPIOBJECT(object);
        TKwMAPIProp::SetMAPIOBJECT(object);
    }
};

class TWrapperTest : public TLeakChecked
{
protected:
    TWrapperTest()
        : Calls(std::make_shared<TScriptedCalls>()), Session(KwMake<TScriptedSession>(Calls)), Object(NewObject()),
          Prop(NewProp(Object.Get()))
    {}

    [[nodiscard]] TKwComPtr<TScriptedProp> NewObject(const std::string& label = {})
    {
        return TKwComPtr<TScriptedProp>(new TScriptedProp(Calls, label));
    }
    [[nodiscard]] TKwRef<TTestProp> NewProp(TScriptedProp* object)
    {
        TKwRef<TTestProp> prop = KwMake<TTestProp>(Session.Get());
        prop->SetSession(Session.Get());
        prop->SetMAPIOBJECT(object);
        return prop;
    }
    [[nodiscard]] TScriptedBag& Bag() { return Object->Bag; }
    [[nodiscard]] TKwRef<IKwMAPIProperty> Property(TKwMAPIPropDef def) { return Prop->PropByName(def); }

    std::shared_ptr<TScriptedCalls> Calls;
    TKwRef<TScriptedSession> Session;
    TKwComPtr<TScriptedProp> Object;
    TKwRef<TTestProp> Prop;
};

inline TCaught Failure(const char* className, std::uint32_t code, std::string message)
{
    return {className, std::move(message), code, false};
}

} // namespace deftmapi::test

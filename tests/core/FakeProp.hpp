// Library objects without a library behind them: the least that a definition, an entry identifier or a list needs of an
// object or a session. Memory is counted, so that a test can tell that everything was freed.
#pragma once

#include "mapi/core/uKwMAPIMemory.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"
#include "mapi/uKwMAPIInterfaces.hpp"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace deftmapi::test
{

/// One call of GetIDsFromNames, as the object saw it.
struct TNameCall
{
    mapi::ULONG Count = 0;
    mapi::GUID Set{};
    mapi::ULONG Kind = 0;
    mapi::LONG Identifier = 0;
    WideString Name;
    mapi::ULONG Flags = 0;
};

/// An IMAPIProp that resolves names as told and refuses everything else.
class TFakeMAPIProp final : public mapi::IMAPIProp
{
public:
    std::function<mapi::HRESULT(mapi::LPSPropTagArray*)> Answer; ///< of GetIDsFromNames
    std::vector<TNameCall> Calls;
    bool HasIMAPIProp = true;
    int References = 0;

    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(const mapi::IID& riid, void** ppv) override
    {
        *ppv = nullptr;
        if (riid != mapi::IID_IMAPIProp || !HasIMAPIProp)
            return mapi::E_NOINTERFACE;
        *ppv = static_cast<mapi::IMAPIProp*>(this);
        ++References;
        return mapi::S_OK;
    }
    mapi::ULONG DEFTMAPI_STDCALL AddRef() override { return static_cast<mapi::ULONG>(++References); }
    mapi::ULONG DEFTMAPI_STDCALL Release() override { return static_cast<mapi::ULONG>(--References); }

    mapi::HRESULT DEFTMAPI_STDCALL GetIDsFromNames(mapi::ULONG cPropNames, mapi::LPMAPINAMEID* lppPropNames,
                                                   mapi::ULONG ulFlags, mapi::LPSPropTagArray* lppPropTags) override
    {
        TNameCall call{cPropNames, *lppPropNames[0]->lpguid, lppPropNames[0]->ulKind, 0, {}, ulFlags};
        if (call.Kind == mapi::MNID_STRING)
            call.Name = lppPropNames[0]->Kind.lpwstrName;
        else
            call.Identifier = lppPropNames[0]->Kind.lID;
        Calls.push_back(call);
        return Answer(lppPropTags);
    }

    using HRESULT = mapi::HRESULT;
    HRESULT DEFTMAPI_STDCALL GetLastError(HRESULT, mapi::ULONG, mapi::LPMAPIERROR*) override { return Refuse(); }
    HRESULT DEFTMAPI_STDCALL SaveChanges(mapi::ULONG) override { return Refuse(); }
    HRESULT DEFTMAPI_STDCALL GetProps(mapi::LPSPropTagArray, mapi::ULONG, mapi::ULONG*, mapi::LPSPropValue*) override
    {
        return Refuse();
    }
    HRESULT DEFTMAPI_STDCALL GetPropList(mapi::ULONG, mapi::LPSPropTagArray*) override { return Refuse(); }
    HRESULT DEFTMAPI_STDCALL OpenProperty(mapi::ULONG, mapi::LPCIID, mapi::ULONG, mapi::ULONG,
                                          mapi::LPUNKNOWN*) override
    {
        return Refuse();
    }
    HRESULT DEFTMAPI_STDCALL SetProps(mapi::ULONG, mapi::LPSPropValue, mapi::LPSPropProblemArray*) override
    {
        return Refuse();
    }
    HRESULT DEFTMAPI_STDCALL DeleteProps(mapi::LPSPropTagArray, mapi::LPSPropProblemArray*) override
    {
        return Refuse();
    }
    HRESULT DEFTMAPI_STDCALL CopyTo(mapi::ULONG, mapi::LPCIID, mapi::LPSPropTagArray, mapi::ULONG_PTR,
                                    mapi::LPMAPIPROGRESS, mapi::LPCIID, mapi::LPVOID, mapi::ULONG,
                                    mapi::LPSPropProblemArray*) override
    {
        return Refuse();
    }
    HRESULT DEFTMAPI_STDCALL CopyProps(mapi::LPSPropTagArray, mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::LPCIID,
                                       mapi::LPVOID, mapi::ULONG, mapi::LPSPropProblemArray*) override
    {
        return Refuse();
    }
    HRESULT DEFTMAPI_STDCALL GetNamesFromIDs(mapi::LPSPropTagArray*, mapi::LPGUID, mapi::ULONG, mapi::ULONG*,
                                             mapi::LPMAPINAMEID**) override
    {
        return Refuse();
    }

private:
    static HRESULT Refuse() { return mapi::MAPI_E_NO_SUPPORT; }
};

/// The wrapper part of a library object. What a test does not need of it throws.
template <typename Interface>
class TFakeWrapper : public virtual Interface
{
public:
    mapi::IUnknown* Object = nullptr;
    std::set<void*> Buffers; ///< allocated and not yet freed
    mapi::ULONG LastSize = 0;

    ~TFakeWrapper() override
    {
        for (void* buffer : Buffers)
            std::free(buffer);
    }
    void AddRef() const noexcept override {}
    void Release() const noexcept override {}

    [[nodiscard]] WideString GetClassName() const override { return u"TKwMAPIFake"; }
    [[nodiscard]] mapi::IUnknown* Get_MAPIOBJECT() const noexcept override { return Object; }
    [[nodiscard]] void* AllocateBuffer(mapi::ULONG size) override
    {
        LastSize = size;
        // Exactly the size asked for, so that the sanitizer sees a write behind it.
        return *Buffers.insert(std::malloc(size)).first;
    }
    void FreeBuffer(void* buffer) override
    {
        if (buffer != nullptr && Buffers.erase(buffer) == 0)
            throw std::logic_error("freed what was not allocated here");
        std::free(buffer);
    }
    /// An answer for GetIDsFromNames.
    mapi::LPSPropTagArray MakeTags(const std::vector<mapi::ULONG>& tags)
    {
        auto* array = static_cast<mapi::LPSPropTagArray>(
            AllocateBuffer(static_cast<mapi::ULONG>(sizeof(mapi::ULONG) * (1 + tags.size()))));
        array->cValues = static_cast<mapi::ULONG>(tags.size());
        std::copy(tags.begin(), tags.end(), array->aulPropTag);
        return array;
    }

    [[nodiscard]] TKwRef<IKwMAPIObject> Get_CreatedBy() const override { return nullptr; }
    [[nodiscard]] IKwMAPISessionBase* Get_Session() const noexcept override { return nullptr; }
    void GetExtendedErrorInfo(mapi::HRESULT, TKwMAPIError&) override { Unused(); }
    [[nodiscard]] void* AllocateMore(mapi::ULONG, void*) override { Unused(); }
    [[nodiscard]] void* GetMAPIEntryID(const TKwMAPIEntryID&, mapi::ULONG&) override { Unused(); }
    [[nodiscard]] mapi::ULONG_PTR GetParentWindow() const override { return 0; }
    [[nodiscard]] mapi::ULONG_PTR GetAppHandle() const override { return 0; }

protected:
    [[noreturn]] static void Unused() { throw std::logic_error("the test did not expect this call"); }
};

class TFakeSession final : public TFakeWrapper<IKwMAPISessionBase>
{
public:
    [[nodiscard]] bool Get_Active() const noexcept override { return true; }
    [[nodiscard]] bool UsesExtendedMAPI() const noexcept override { return true; }
    [[nodiscard]] bool Get_ConnectedToExchange() const noexcept override { return false; }
};

class TFakeProp final : public TFakeWrapper<IKwMAPIProp>
{
public:
    [[nodiscard]] TKwRef<IKwMAPIProperties> Get_Properties() override { Unused(); }
    [[nodiscard]] TKwRef<IKwMAPIProperty> PropByName(TKwMAPIPropDef) override { Unused(); }
    [[nodiscard]] bool HasProp(TKwMAPIPropDef) override { Unused(); }
    [[nodiscard]] bool HasProp(TKwMAPIPropDef, TKwRef<IKwMAPIProperty>&) override { Unused(); }
    void CheckAccessLevel(TKwMAPIAccessLevel) const override { Unused(); }
    [[nodiscard]] TKwMAPIBuffer<mapi::SPropValue> GetPropValueArray(std::span<const TKwMAPIPropDef>,
                                                                    mapi::ULONG&) override
    {
        Unused();
    }
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenIntfPropertyByTag(mapi::ULONG, const mapi::GUID&, mapi::ULONG,
                                                                  TKwMAPIAccessLevel, bool) override
    {
        Unused();
    }
    void DeleteProperty(TKwMAPIPropDef) override { Unused(); }
    [[nodiscard]] mapi::ULONG GetPropTag(TKwMAPIPropDef) override { Unused(); }
    [[nodiscard]] TKwMAPIAccessLevel Get_AccessLevel() const override { return alReadWrite; }
    [[nodiscard]] bool GetModified() const override { Unused(); }
    [[nodiscard]] TKwMAPIEntryID Get_EntryID() override { Unused(); }
    [[nodiscard]] TKwVariant Get_RecordKey() override { Unused(); }
    [[nodiscard]] TKwVariant Get_SearchKey() override { Unused(); }
    void Set_SearchKey(const TKwVariant&) override { Unused(); }
    [[nodiscard]] TKwVariant Get_SourceKey() override { Unused(); }
    [[nodiscard]] std::vector<mapi::ULONG> GetPropList() override { Unused(); }
    void RetrieveAllProperties() override { Unused(); }
    void ResetProperties() override { Unused(); }
    [[nodiscard]] std::vector<TKwVariant> GetPropValues(const std::vector<TKwMAPIPropDef>&) override { Unused(); }
    void GetPropValues(IKwMAPIPropValueList&) override { Unused(); }
    void SetPropValues(IKwMAPIPropValueList&) override { Unused(); }
    void PersistPendingChanges() override { Unused(); }
    void SaveChanges(TKwMAPISaveMethod) override { Unused(); }
    [[nodiscard]] TKwComPtr<mapi::IStream> OpenBinProperty(TKwMAPIPropDef, TKwMAPIAccessLevel, bool) override
    {
        Unused();
    }
    [[nodiscard]] TKwComPtr<mapi::IUnknown> OpenIntfProperty(TKwMAPIPropDef, const mapi::GUID&, mapi::ULONG,
                                                             TKwMAPIAccessLevel, bool) override
    {
        Unused();
    }
    void DisplayProperties() override { Unused(); }
};

} // namespace deftmapi::test

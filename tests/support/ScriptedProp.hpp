// IMAPIProp over a bag of properties in memory, and the streams that it opens. It works as a plain provider does;
// results and problems that a test wants instead are set through TScriptedCalls and the members of the bag.
#pragma once

#include "tests/support/ScriptedMAPI.hpp"

namespace deftmapi::test
{

/// What GetLastError gives for these texts, in the width of the flags; null for an empty one.
[[nodiscard]] mapi::MAPIERROR* ErrorRecord(const WideString& error, const WideString& component, mapi::ULONG flags);

/// What an object keeps, and how it misbehaves when told to.
class TScriptedBag
{
public:
    using TStream = std::function<mapi::IUnknown*(TScriptedBag& bag, mapi::ULONG tag, bool write)>;

    /// @param label  goes before the method in the log ("store."), for tests with several objects; may be empty
    TScriptedBag(std::shared_ptr<TScriptedCalls> calls, std::string label)
        : FCalls(std::move(calls)), FLabel(std::move(label))
    {}

    void Set(const mapi::SPropValue& value);
    void Remove(mapi::ULONG tag) { FValues.erase(mapi::PROP_ID(tag)); }
    /// Null when the bag has no property of this identifier.
    [[nodiscard]] const mapi::SPropValue* Find(mapi::ULONG tag) const;
    /// All values as text, one per line.
    [[nodiscard]] std::string Text() const;
    /// The identifier of a named property, given out when the name is new; the upper half of a tag.
    mapi::ULONG IdOfName(const mapi::MAPINAMEID& name);

    /// Properties (by identifier) that GetProps answers with an error, whatever their value.
    std::map<mapi::ULONG, mapi::SCODE> Refused;
    /// Problems that the next SetProps or DeleteProps reports; a property with a problem is left as it is.
    std::vector<mapi::SPropProblem> Problems;
    /// How many values the next GetProps keeps back at the end.
    mapi::ULONG KeepBack = 0;
    /// Whether wide text is refused with MAPI_E_BAD_CHARWIDTH.
    bool EightBitOnly = false;
    /// What GetLastError tells; no record when Error is empty.
    WideString Error;
    WideString Component;
    /// Names that GetNamesFromIDs does not know, although they have an identifier.
    bool ForgetNames = false;
    /// What GetIDsFromNames gives instead of the bag's own identifiers; with a warning when one is an error.
    std::optional<std::vector<mapi::ULONG>> IDs;
    /// GetNamesFromIDs tells a number of names and gives none.
    bool LoseNames = false;
    /// What OpenProperty gives; a stream over the value unless set.
    TStream OpenStream;

    // The methods. Memory is the scripted allocator's.
    mapi::HRESULT GetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error);
    mapi::HRESULT SaveChanges(mapi::ULONG flags);
    mapi::HRESULT GetProps(mapi::SPropTagArray* tags, mapi::ULONG flags, mapi::ULONG* count, mapi::SPropValue** values);
    mapi::HRESULT GetPropList(mapi::ULONG flags, mapi::SPropTagArray** tags);
    mapi::HRESULT OpenProperty(mapi::ULONG tag, const mapi::IID* iid, mapi::ULONG options, mapi::ULONG flags,
                               mapi::IUnknown** object);
    mapi::HRESULT SetProps(mapi::ULONG count, mapi::SPropValue* values, mapi::SPropProblemArray** problems);
    mapi::HRESULT DeleteProps(mapi::SPropTagArray* tags, mapi::SPropProblemArray** problems);
    mapi::HRESULT GetNamesFromIDs(mapi::SPropTagArray** tags, mapi::GUID* set, mapi::ULONG flags, mapi::ULONG* count,
                                  mapi::MAPINAMEID*** names);
    mapi::HRESULT GetIDsFromNames(mapi::ULONG count, mapi::MAPINAMEID** names, mapi::ULONG flags,
                                  mapi::SPropTagArray** tags);
    /// Calls that the doubles have no work for: MAPI_E_NO_SUPPORT unless a result is set.
    mapi::HRESULT Refuse(const std::string& method, const std::string& arguments);
    std::optional<mapi::HRESULT> Enter(const std::string& method, const std::string& arguments);

private:
    struct TName
    {
        mapi::GUID Set;
        mapi::ULONG Kind;
        mapi::LONG Id;
        WideString Text;
        bool operator==(const TName&) const = default;
    };
    [[nodiscard]] mapi::HRESULT Report(mapi::SPropProblemArray** problems,
                                       const std::vector<mapi::SPropProblem>& found);

    std::shared_ptr<TScriptedCalls> FCalls;
    std::string FLabel;
    std::map<mapi::ULONG, TOwnedValue> FValues; // by identifier
    std::vector<TName> FNames;                  // identifiers from 0x8000
};

/// The COM object. Interface is IMAPIProp or one derived from it, whose own methods a derived double adds.
template <typename Interface>
class TScriptedPropOf : public TScriptedUnknown<Interface>
{
public:
    TScriptedPropOf(std::shared_ptr<TScriptedCalls> calls, std::vector<mapi::IID> iids, std::string label = {})
        : TScriptedUnknown<Interface>(std::move(iids)), Bag(std::move(calls), std::move(label))
    {}

    TScriptedBag Bag;

    mapi::HRESULT DEFTMAPI_STDCALL GetLastError(mapi::HRESULT hResult, mapi::ULONG ulFlags,
                                                mapi::MAPIERROR** lppMAPIError) override
    {
        return Bag.GetLastError(hResult, ulFlags, lppMAPIError);
    }
    mapi::HRESULT DEFTMAPI_STDCALL SaveChanges(mapi::ULONG ulFlags) override { return Bag.SaveChanges(ulFlags); }
    mapi::HRESULT DEFTMAPI_STDCALL GetProps(mapi::LPSPropTagArray lpPropTagArray, mapi::ULONG ulFlags,
                                            mapi::ULONG* lpcValues, mapi::LPSPropValue* lppPropArray) override
    {
        return Bag.GetProps(lpPropTagArray, ulFlags, lpcValues, lppPropArray);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetPropList(mapi::ULONG ulFlags, mapi::LPSPropTagArray* lppPropTagArray) override
    {
        return Bag.GetPropList(ulFlags, lppPropTagArray);
    }
    mapi::HRESULT DEFTMAPI_STDCALL OpenProperty(mapi::ULONG ulPropTag, mapi::LPCIID lpiid,
                                                mapi::ULONG ulInterfaceOptions, mapi::ULONG ulFlags,
                                                mapi::LPUNKNOWN* lppUnk) override
    {
        return Bag.OpenProperty(ulPropTag, lpiid, ulInterfaceOptions, ulFlags, lppUnk);
    }
    mapi::HRESULT DEFTMAPI_STDCALL SetProps(mapi::ULONG cValues, mapi::LPSPropValue lpPropArray,
                                            mapi::LPSPropProblemArray* lppProblems) override
    {
        return Bag.SetProps(cValues, lpPropArray, lppProblems);
    }
    mapi::HRESULT DEFTMAPI_STDCALL DeleteProps(mapi::LPSPropTagArray lpPropTagArray,
                                               mapi::LPSPropProblemArray* lppProblems) override
    {
        return Bag.DeleteProps(lpPropTagArray, lppProblems);
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(mapi::ULONG, mapi::LPCIID, mapi::LPSPropTagArray lpExcludeProps,
                                          mapi::ULONG_PTR, mapi::LPMAPIPROGRESS, mapi::LPCIID, mapi::LPVOID,
                                          mapi::ULONG ulFlags, mapi::LPSPropProblemArray*) override
    {
        return Bag.Refuse("CopyTo", TextOf(lpExcludeProps) + "," + Hex(ulFlags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL CopyProps(mapi::LPSPropTagArray lpIncludeProps, mapi::ULONG_PTR,
                                             mapi::LPMAPIPROGRESS, mapi::LPCIID, mapi::LPVOID, mapi::ULONG ulFlags,
                                             mapi::LPSPropProblemArray*) override
    {
        return Bag.Refuse("CopyProps", TextOf(lpIncludeProps) + "," + Hex(ulFlags));
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetNamesFromIDs(mapi::LPSPropTagArray* lppPropTags, mapi::LPGUID lpPropSetGuid,
                                                   mapi::ULONG ulFlags, mapi::ULONG* lpcPropNames,
                                                   mapi::LPMAPINAMEID** lpppPropNames) override
    {
        return Bag.GetNamesFromIDs(lppPropTags, lpPropSetGuid, ulFlags, lpcPropNames, lpppPropNames);
    }
    mapi::HRESULT DEFTMAPI_STDCALL GetIDsFromNames(mapi::ULONG cPropNames, mapi::LPMAPINAMEID* lppPropNames,
                                                   mapi::ULONG ulFlags, mapi::LPSPropTagArray* lppPropTags) override
    {
        return Bag.GetIDsFromNames(cPropNames, lppPropNames, ulFlags, lppPropTags);
    }
};

/// A plain IMAPIProp.
class TScriptedProp final : public TScriptedPropOf<mapi::IMAPIProp>
{
public:
    explicit TScriptedProp(std::shared_ptr<TScriptedCalls> calls, std::string label = {})
        : TScriptedPropOf(std::move(calls), {mapi::IID_IMAPIProp}, std::move(label))
    {}
};

/// A stream over a copy of a property's bytes; Commit and the last Release put them back when it was opened for
/// writing.
class TScriptedStream final : public TScriptedUnknown<mapi::IStream>
{
public:
    using TStore = std::function<void(const std::string& bytes)>;
    /// @param store  receives the bytes; empty for a stream that cannot be written
    TScriptedStream(std::shared_ptr<TScriptedCalls> calls, std::string bytes, TStore store);

    /// Most bytes that one Read gives, to have short reads.
    std::size_t MostPerRead = SIZE_MAX;

    mapi::HRESULT DEFTMAPI_STDCALL Read(void* pv, mapi::ULONG cb, mapi::ULONG* pcbRead) override;
    mapi::HRESULT DEFTMAPI_STDCALL Write(const void* pv, mapi::ULONG cb, mapi::ULONG* pcbWritten) override;
    mapi::HRESULT DEFTMAPI_STDCALL Seek(mapi::LARGE_INTEGER dlibMove, mapi::DWORD dwOrigin,
                                        mapi::ULARGE_INTEGER* plibNewPosition) override;
    mapi::HRESULT DEFTMAPI_STDCALL SetSize(mapi::ULARGE_INTEGER libNewSize) override;
    mapi::HRESULT DEFTMAPI_STDCALL CopyTo(mapi::IStream*, mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER*,
                                          mapi::ULARGE_INTEGER*) override
    {
        return mapi::E_NOTIMPL;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Commit(mapi::DWORD grfCommitFlags) override;
    mapi::HRESULT DEFTMAPI_STDCALL Revert() override { return mapi::E_NOTIMPL; }
    mapi::HRESULT DEFTMAPI_STDCALL LockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD) override
    {
        return mapi::E_NOTIMPL;
    }
    mapi::HRESULT DEFTMAPI_STDCALL UnlockRegion(mapi::ULARGE_INTEGER, mapi::ULARGE_INTEGER, mapi::DWORD) override
    {
        return mapi::E_NOTIMPL;
    }
    mapi::HRESULT DEFTMAPI_STDCALL Stat(mapi::STATSTG* pstatstg, mapi::DWORD grfStatFlag) override;
    mapi::HRESULT DEFTMAPI_STDCALL Clone(mapi::IStream**) override { return mapi::E_NOTIMPL; }

private:
    ~TScriptedStream() override;

    std::shared_ptr<TScriptedCalls> FCalls;
    std::string FBytes;
    std::size_t FPosition = 0;
    TStore FStore;
};

} // namespace deftmapi::test

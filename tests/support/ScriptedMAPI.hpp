// A MAPI that does what a test says: every call is logged with its arguments as text, any call can be given a result of
// the test's choice, and the allocator knows what is alive.
//
// The doubles do not use the library's own value code, so that what they log and keep is a second opinion on it.
#pragma once

#include "mapi/core/uKwMAPIBase.hpp"
#include "mapi/headers/uKwMAPIguidH.hpp"
#include "mapi/headers/uKwMAPIInterfacesH.hpp"

#include <atomic>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace deftmapi::test
{

// ---- Calls

/// The log of one test, shared by its doubles, and the results that it sets.
class TScriptedCalls
{
public:
    /// The next call of the method ("GetProps") that has no result yet gives this one instead of doing its work.
    /// Results for one method queue up; std::nullopt lets a call pass.
    void Next(const std::string& method, std::optional<mapi::HRESULT> result);
    /// The n-th call from now (1 is the next), whatever its method, gives the result.
    void FailNth(int n, mapi::HRESULT result);
    /// True once the call of FailNth has been made.
    [[nodiscard]] bool Failed() const noexcept { return FUntilFailure == 0; }

    /// For the doubles: logs the call and returns the result set for it, if any.
    std::optional<mapi::HRESULT> Enter(const std::string& method, const std::string& arguments);

    /// The lines "SetProps(0x0037001F=\"x\")" in order, joined by line ends; the log is empty afterwards.
    std::string Take();
    [[nodiscard]] const std::vector<std::string>& Lines() const noexcept { return FLines; }
    /// How many of the logged calls are calls of the method.
    [[nodiscard]] std::size_t Count(const std::string& method) const;

private:
    std::vector<std::string> FLines;
    std::map<std::string, std::list<std::optional<mapi::HRESULT>>> FResults;
    int FUntilFailure = -1; // -1: no failure set
    mapi::HRESULT FFailure = 0;
};

// ---- Memory

/// MAPI memory that counts. Process-wide, as the entry points are.
class TScriptedAllocator
{
public:
    [[nodiscard]] static void* Allocate(mapi::ULONG size);
    [[nodiscard]] static void* AllocateMore(mapi::ULONG size, void* parent);
    /// A pointer that is no live block fails the test.
    static void Free(void* block);
    /// Blocks of Allocate that are alive.
    [[nodiscard]] static std::size_t Live() noexcept;

    // In the shape of the entry points, for a scripted client library.
    static mapi::SCODE DEFTMAPI_STDCALL MAPIAllocateBuffer(mapi::ULONG size, void** block);
    static mapi::SCODE DEFTMAPI_STDCALL MAPIAllocateMore(mapi::ULONG size, void* parent, void** block);
    static mapi::ULONG DEFTMAPI_STDCALL MAPIFreeBuffer(void* block);
};

// ---- Values

/// `0x0037001F="text"`, `0x36020003=5`, `0x0FFF0102=[0A0B]`, `0x8001101F={"a","b"}`.
[[nodiscard]] std::string TextOf(const mapi::SPropValue& value);
/// `[0x0037001F,0x0FFF0102]`
[[nodiscard]] std::string TextOf(const mapi::SPropTagArray* tags);
/// `0x80000000`
[[nodiscard]] std::string Hex(std::uint32_t number);
/// Copies a value with everything it points to; `allocate` gives the memory.
void CopyValue(const mapi::SPropValue& from, mapi::SPropValue& to, const std::function<void*(std::size_t)>& allocate);

/// A value that owns what it points to.
class TOwnedValue
{
public:
    explicit TOwnedValue(const mapi::SPropValue& value);
    [[nodiscard]] const mapi::SPropValue& Value() const noexcept { return FValue; }

private:
    mapi::SPropValue FValue{};
    std::list<std::vector<std::max_align_t>> FMemory;
};

// Makers of the values that tests need most. Texts must outlive the value.
[[nodiscard]] mapi::SPropValue LongValue(mapi::ULONG tag, std::int32_t number);
[[nodiscard]] mapi::SPropValue TextValue(mapi::ULONG tag, const char16_t* text);
[[nodiscard]] mapi::SPropValue TextValue(mapi::ULONG tag, const char* text);
[[nodiscard]] mapi::SPropValue ErrorValue(mapi::ULONG tag, mapi::SCODE code);

/// The name of a property, with the set and the text that it points to.
struct TPropName : mapi::MAPINAMEID
{
    TPropName(const mapi::GUID& set, mapi::LONG identifier) : mapi::MAPINAMEID{&Set, mapi::MNID_ID, {}}, Set(set)
    {
        Kind.lID = identifier;
    }
    TPropName(const mapi::GUID& set, WideString text)
        : mapi::MAPINAMEID{&Set, mapi::MNID_STRING, {}}, Set(set), Text(std::move(text))
    {
        Kind.lpwstrName = Text.data();
    }
    TPropName(const TPropName&) = delete;
    TPropName& operator=(const TPropName&) = delete;

    mapi::GUID Set;
    WideString Text;
};

// ---- COM objects

/// COM doubles that are alive.
[[nodiscard]] std::size_t LiveScriptedObjects() noexcept;
void CountScriptedObject(int change) noexcept;

/// Reference counting and QueryInterface of a double that implements one chain of interfaces.
template <typename Interface>
class TScriptedUnknown : public Interface
{
public:
    /// @param iids  what QueryInterface answers beside IID_IUnknown
    explicit TScriptedUnknown(std::vector<mapi::IID> iids) : FIIDs(std::move(iids)) { CountScriptedObject(1); }
    TScriptedUnknown(const TScriptedUnknown&) = delete;
    TScriptedUnknown& operator=(const TScriptedUnknown&) = delete;

    mapi::HRESULT DEFTMAPI_STDCALL QueryInterface(mapi::REFIID riid, void** object) override
    {
        *object = nullptr;
        bool known = riid == mapi::IID_IUnknown;
        for (const mapi::IID& iid : FIIDs)
            known = known || iid == riid;
        if (!known)
            return mapi::E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return mapi::S_OK;
    }
    mapi::ULONG DEFTMAPI_STDCALL AddRef() override { return ++FRefCount; }
    mapi::ULONG DEFTMAPI_STDCALL Release() override
    {
        const mapi::ULONG left = --FRefCount;
        if (left == 0)
            delete this;
        return left;
    }
    [[nodiscard]] mapi::ULONG RefCount() const noexcept { return FRefCount; }

protected:
    virtual ~TScriptedUnknown() { CountScriptedObject(-1); }

private:
    std::vector<mapi::IID> FIIDs;
    std::atomic<mapi::ULONG> FRefCount{0};
};

// ---- Session

/// A session whose memory is the scripted allocator's. AllocateBuffer and AllocateMore are calls that can be made to
/// fail.
class TScriptedSession final : public TKwMAPISessionBase
{
public:
    explicit TScriptedSession(std::shared_ptr<TScriptedCalls> calls) : FCalls(std::move(calls)) {}

    bool Active = true;
    bool ExtendedMAPI = true;
    bool ConnectedToExchange = false;
    mapi::ULONG_PTR Window = 0;

    [[nodiscard]] WideString GetClassName() const override { return u"TScriptedSession"; }
    [[nodiscard]] WordBool Get_Active() const noexcept override { return Active; }
    [[nodiscard]] WordBool UsesExtendedMAPI() const noexcept override { return ExtendedMAPI; }
    [[nodiscard]] WordBool Get_ConnectedToExchange() const noexcept override { return ConnectedToExchange; }
    [[nodiscard]] mapi::ULONG_PTR GetParentWindow() const override { return Window; }
    [[nodiscard]] void* AllocateBuffer(mapi::ULONG size) override;
    [[nodiscard]] void* AllocateMore(mapi::ULONG size, void* parent) override;
    void FreeBuffer(void* buffer) override;

private:
    std::shared_ptr<TScriptedCalls> FCalls;
};

} // namespace deftmapi::test

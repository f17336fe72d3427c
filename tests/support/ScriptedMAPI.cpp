// The log, the allocator and the values of the scripted MAPI.
#include "tests/support/ScriptedMAPI.hpp"

#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "support/uKwText.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <mutex>

namespace deftmapi::test
{

// ---- Calls

void TScriptedCalls::Next(const std::string& method, std::optional<mapi::HRESULT> result)
{
    FResults[method].push_back(result);
}

void TScriptedCalls::FailNth(int n, mapi::HRESULT result)
{
    FUntilFailure = n;
    FFailure = result;
}

std::optional<mapi::HRESULT> TScriptedCalls::Enter(const std::string& method, const std::string& arguments)
{
    FLines.push_back(method + "(" + arguments + ")");
    if (FUntilFailure > 0 && --FUntilFailure == 0)
        return FFailure;
    auto& results = FResults[method];
    if (results.empty())
        return std::nullopt;
    const std::optional<mapi::HRESULT> result = results.front();
    results.pop_front();
    return result;
}

std::string TScriptedCalls::Take()
{
    std::string text;
    for (const std::string& line : FLines)
        text += (text.empty() ? "" : "\n") + line;
    FLines.clear();
    return text;
}

std::size_t TScriptedCalls::Count(const std::string& method) const
{
    std::size_t count = 0;
    for (const std::string& line : FLines)
        count += line.starts_with(method + "(") ? 1 : 0;
    return count;
}

// ---- Memory

namespace
{

// Every block, with the blocks that are freed with it.
std::mutex allocatorLock;
std::map<void*, std::vector<void*>> liveBlocks;
std::atomic<int> liveDoubles{0};

/// Exactly the size asked for, so that the sanitizer sees a write behind it; filled, so that nobody gets by with
/// reading what was never written.
void* NewBlock(mapi::ULONG size)
{
    return std::memset(std::malloc(std::max<std::size_t>(size, 1)), 0xCD, size);
}

} // namespace

void* TScriptedAllocator::Allocate(mapi::ULONG size)
{
    void* block = NewBlock(size);
    const std::lock_guard lock(allocatorLock);
    liveBlocks.emplace(block, std::vector<void*>());
    return block;
}

void* TScriptedAllocator::AllocateMore(mapi::ULONG size, void* parent)
{
    void* block = NewBlock(size);
    const std::lock_guard lock(allocatorLock);
    const auto found = liveBlocks.find(parent);
    if (found == liveBlocks.end()) {
        ADD_FAILURE() << "AllocateMore on a block that is not alive";
        std::free(block);
        return nullptr;
    }
    found->second.push_back(block);
    return block;
}

void TScriptedAllocator::Free(void* block)
{
    if (block == nullptr)
        return;
    const std::lock_guard lock(allocatorLock);
    const auto found = liveBlocks.find(block);
    if (found == liveBlocks.end()) {
        ADD_FAILURE() << "a block that is not alive was freed";
        return;
    }
    for (void* part : found->second)
        std::free(part);
    liveBlocks.erase(found);
    std::free(block);
}

std::size_t TScriptedAllocator::Live() noexcept
{
    const std::lock_guard lock(allocatorLock);
    return liveBlocks.size();
}

mapi::SCODE TScriptedAllocator::MAPIAllocateBuffer(mapi::ULONG size, void** block)
{
    *block = Allocate(size);
    return mapi::S_OK;
}

mapi::SCODE TScriptedAllocator::MAPIAllocateMore(mapi::ULONG size, void* parent, void** block)
{
    *block = AllocateMore(size, parent);
    return *block != nullptr ? mapi::S_OK : mapi::MAPI_E_CALL_FAILED;
}

mapi::ULONG TScriptedAllocator::MAPIFreeBuffer(void* block)
{
    Free(block);
    return 0;
}

// ---- Values

namespace
{

std::string HexBytes(const void* data, std::size_t size)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text = "[";
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<const std::uint8_t*>(data)[i];
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text + "]";
}

/// The text of one element.
struct TElement
{
    template <typename T>
    requires std::is_integral_v<T>
    static std::string Text(T number) { return std::to_string(number); }
    static std::string Text(double number)
    {
        char text[40];
        std::snprintf(text, sizeof text, "%.9g", number);
        return text;
    }
    static std::string Text(const char* text) { return text != nullptr ? "'" + std::string(text) + "'" : "null"; }
    static std::string Text(const char16_t* text) { return text != nullptr ? '"' + KwToUtf8(text) + '"' : "null"; }
    static std::string Text(const mapi::SBinary& bin) { return HexBytes(bin.lpb, bin.cb); }
    static std::string Text(const mapi::GUID& guid) { return "guid " + HexBytes(&guid, sizeof guid); }
    static std::string Text(const mapi::CURRENCY& amount) { return std::to_string(amount.int64); }
    static std::string Text(const mapi::LARGE_INTEGER& number) { return std::to_string(number.QuadPart); }
    static std::string Text(const mapi::FILETIME& time)
    {
        return std::to_string(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    }
};

/// Calls visit(elements, count, behind a pointer?, suffix of the text) for what a value of that type holds, be it one
/// element or many; not at all for a type that is not known.
template <typename Visit>
void VisitValue(mapi::ULONG type, mapi::UPV& v, Visit visit)
{
    const bool many = (type & mapi::MV_FLAG) != 0;
    const auto pick = [&](auto& single, mapi::ULONG count, auto*& elements, const char* suffix = "") {
        auto* one = &single;
        many ? visit(elements, count, true, suffix) : visit(one, 1, false, suffix);
    };
    switch (type & ~mapi::MV_FLAG) {
    case mapi::PT_I2:
        return pick(v.i, v.MVi.cValues, v.MVi.lpi);
    case mapi::PT_LONG:
        return pick(v.l, v.MVl.cValues, v.MVl.lpl);
    case mapi::PT_R4:
        return pick(v.flt, v.MVflt.cValues, v.MVflt.lpflt);
    case mapi::PT_DOUBLE:
        return pick(v.dbl, v.MVdbl.cValues, v.MVdbl.lpdbl);
    case mapi::PT_CURRENCY:
        return pick(v.cur, v.MVcur.cValues, v.MVcur.lpcur, "c");
    case mapi::PT_APPTIME:
        return pick(v.at, v.MVat.cValues, v.MVat.lpat, "d");
    case mapi::PT_I8:
        return pick(v.li, v.MVli.cValues, v.MVli.lpli, "L");
    case mapi::PT_SYSTIME:
        return pick(v.ft, v.MVft.cValues, v.MVft.lpft, "t");
    case mapi::PT_UNICODE:
        return pick(v.lpszW, v.MVszW.cValues, v.MVszW.lppszW);
    case mapi::PT_STRING8:
        return pick(v.lpszA, v.MVszA.cValues, v.MVszA.lppszA);
    case mapi::PT_BINARY:
    case mapi::PT_SVREID:
        return pick(v.bin, v.MVbin.cValues, v.MVbin.lpbin);
    case mapi::PT_CLSID:
        return many ? visit(v.MVguid.lpguid, v.MVguid.cValues, true, "") : visit(v.lpguid, 1, true, "");
    default:
        return;
    }
}

std::string ValueText(mapi::ULONG type, mapi::UPV v)
{
    if (type == mapi::PT_ERROR)
        return "error " + Hex(static_cast<std::uint32_t>(v.err));
    if (type == mapi::PT_BOOLEAN)
        return v.b == 0 ? "false" : v.b == 1 ? "true" : "Boolean " + std::to_string(v.b);
    std::string text;
    VisitValue(type, v, [&](auto* elements, mapi::ULONG count, bool, const char* suffix) {
        for (mapi::ULONG i = 0; i < count; ++i)
            text += (i == 0 ? "" : ",") + TElement::Text(elements[i]) + suffix;
        text = (type & mapi::MV_FLAG) != 0 ? "{" + text + "}" : text;
    });
    return text.empty() ? "?" : text;
}

template <typename T>
T* CopyBlock(const T* data, std::size_t count, const std::function<void*(std::size_t)>& allocate)
{
    auto* copy = static_cast<T*>(allocate(count * sizeof(T)));
    if (count != 0)
        std::memcpy(copy, data, count * sizeof(T));
    return copy;
}

} // namespace

std::string Hex(std::uint32_t number)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", number);
    return text;
}

std::string TextOf(const mapi::SPropValue& value)
{
    return Hex(value.ulPropTag) + "=" + ValueText(mapi::PROP_TYPE(value.ulPropTag), value.Value);
}

std::string TextOf(const mapi::SPropTagArray* tags)
{
    if (tags == nullptr)
        return "all";
    std::string text = "[";
    for (mapi::ULONG i = 0; i < tags->cValues; ++i)
        text += (i == 0 ? "" : ",") + Hex(tags->aulPropTag[i]);
    return text + "]";
}

void CopyValue(const mapi::SPropValue& from, mapi::SPropValue& to, const std::function<void*(std::size_t)>& allocate)
{
    to = from;
    VisitValue(mapi::PROP_TYPE(from.ulPropTag), to.Value,
               [&](auto*& elements, mapi::ULONG count, bool isBehindAPointer, const char*) {
                   using T = std::remove_pointer_t<std::remove_reference_t<decltype(elements)>>;
                   if (isBehindAPointer)
                       elements = CopyBlock(elements, count, allocate);
                   for (T* element = elements; element != elements + count; ++element) {
                       if constexpr (std::is_same_v<T, mapi::SBinary>)
                           element->lpb = CopyBlock(element->lpb, element->cb, allocate);
                       else if constexpr (std::is_pointer_v<T>)
                           *element = CopyBlock(
                               *element, std::char_traits<std::remove_pointer_t<T>>::length(*element) + 1, allocate);
                   }
               });
}

TOwnedValue::TOwnedValue(const mapi::SPropValue& value)
{
    CopyValue(value, FValue, [&](std::size_t size) {
        FMemory.emplace_back(size / sizeof(std::max_align_t) + 1);
        return static_cast<void*>(FMemory.back().data());
    });
}

mapi::SPropValue LongValue(mapi::ULONG tag, std::int32_t number)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.l = number;
    return value;
}

mapi::SPropValue TextValue(mapi::ULONG tag, const char16_t* text)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.lpszW = const_cast<char16_t*>(text);
    return value;
}

mapi::SPropValue TextValue(mapi::ULONG tag, const char* text)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.lpszA = const_cast<char*>(text);
    return value;
}

mapi::SPropValue ErrorValue(mapi::ULONG tag, mapi::SCODE code)
{
    mapi::SPropValue value{};
    value.ulPropTag = mapi::CHANGE_PROP_TYPE(tag, mapi::PT_ERROR);
    value.Value.err = code;
    return value;
}

// ---- COM objects and the session

std::size_t LiveScriptedObjects() noexcept
{
    return static_cast<std::size_t>(liveDoubles.load());
}

void CountScriptedObject(int change) noexcept
{
    liveDoubles += change;
}

void* TScriptedSession::AllocateBuffer(mapi::ULONG size)
{
    CheckMAPIResult(GetClassName(), u"AllocateBuffer",
                    FCalls->Enter("AllocateBuffer", std::to_string(size)).value_or(mapi::S_OK));
    return TScriptedAllocator::Allocate(size);
}

void* TScriptedSession::AllocateMore(mapi::ULONG size, void* parent)
{
    CheckMAPIResult(GetClassName(), u"AllocateMore",
                    FCalls->Enter("AllocateMore", std::to_string(size)).value_or(mapi::S_OK));
    return TScriptedAllocator::AllocateMore(size, parent);
}

void TScriptedSession::FreeBuffer(void* buffer)
{
    TScriptedAllocator::Free(buffer);
}

} // namespace deftmapi::test

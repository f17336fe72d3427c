// The log, the allocator and the values of the scripted MAPI.
#include "tests/support/ScriptedMAPI.hpp"

#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "support/uKwText.hpp"

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

} // namespace

void* TScriptedAllocator::Allocate(mapi::ULONG size)
{
    // Filled, so that nobody gets by with reading what was never written.
    void* block = std::malloc(size + 1);
    std::memset(block, 0xCD, size + 1);
    const std::lock_guard lock(allocatorLock);
    liveBlocks.emplace(block, std::vector<void*>());
    return block;
}

void* TScriptedAllocator::AllocateMore(mapi::ULONG size, void* parent)
{
    void* block = std::malloc(size + 1);
    std::memset(block, 0xCD, size + 1);
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

std::string Quoted(const char* text)
{
    return text != nullptr ? "'" + std::string(text) + "'" : "null";
}

std::string Quoted(const char16_t* text)
{
    return text != nullptr ? "\"" + KwToUtf8(text) + "\"" : "null";
}

std::string Number(double number)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.9g", number);
    return text;
}

std::string Of(const mapi::FILETIME& time)
{
    return std::to_string(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) + "t";
}

template <typename T, typename Print>
std::string Elements(mapi::ULONG count, const T* elements, Print print)
{
    std::string text = "{";
    for (mapi::ULONG i = 0; i < count; ++i)
        text += (i == 0 ? "" : ",") + print(elements[i]);
    return text + "}";
}

std::string ValueText(mapi::ULONG type, const mapi::UPV& v)
{
    const auto integer = [](auto number) { return std::to_string(number); };
    const auto real = [](auto number) { return Number(static_cast<double>(number)); };
    switch (type) {
    case mapi::PT_I2:
        return std::to_string(v.i);
    case mapi::PT_LONG:
        return std::to_string(v.l);
    case mapi::PT_R4:
        return Number(static_cast<double>(v.flt));
    case mapi::PT_DOUBLE:
        return Number(v.dbl);
    case mapi::PT_CURRENCY:
        return std::to_string(v.cur.int64) + "c";
    case mapi::PT_APPTIME:
        return Number(v.at) + "d";
    case mapi::PT_ERROR:
        return "error " + Hex(static_cast<std::uint32_t>(v.err));
    case mapi::PT_BOOLEAN:
        return v.b == 0 ? "false" : v.b == 1 ? "true" : "Boolean " + std::to_string(v.b);
    case mapi::PT_I8:
        return std::to_string(v.li.QuadPart) + "L";
    case mapi::PT_SYSTIME:
        return Of(v.ft);
    case mapi::PT_UNICODE:
        return Quoted(v.lpszW);
    case mapi::PT_STRING8:
        return Quoted(v.lpszA);
    case mapi::PT_BINARY:
    case mapi::PT_SVREID:
        return HexBytes(v.bin.lpb, v.bin.cb);
    case mapi::PT_CLSID:
        return "guid " + HexBytes(v.lpguid, sizeof *v.lpguid);
    case mapi::PT_MV_I2:
        return Elements(v.MVi.cValues, v.MVi.lpi, integer);
    case mapi::PT_MV_LONG:
        return Elements(v.MVl.cValues, v.MVl.lpl, integer);
    case mapi::PT_MV_R4:
        return Elements(v.MVflt.cValues, v.MVflt.lpflt, real);
    case mapi::PT_MV_DOUBLE:
        return Elements(v.MVdbl.cValues, v.MVdbl.lpdbl, real);
    case mapi::PT_MV_CURRENCY:
        return Elements(v.MVcur.cValues, v.MVcur.lpcur,
                        [](const mapi::CURRENCY& c) { return std::to_string(c.int64) + "c"; });
    case mapi::PT_MV_APPTIME:
        return Elements(v.MVat.cValues, v.MVat.lpat, [](double days) { return Number(days) + "d"; });
    case mapi::PT_MV_SYSTIME:
        return Elements(v.MVft.cValues, v.MVft.lpft, Of);
    case mapi::PT_MV_I8:
        return Elements(v.MVli.cValues, v.MVli.lpli,
                        [](const mapi::LARGE_INTEGER& n) { return std::to_string(n.QuadPart) + "L"; });
    case mapi::PT_MV_UNICODE:
        return Elements(v.MVszW.cValues, v.MVszW.lppszW, [](const char16_t* text) { return Quoted(text); });
    case mapi::PT_MV_STRING8:
        return Elements(v.MVszA.cValues, v.MVszA.lppszA, [](const char* text) { return Quoted(text); });
    case mapi::PT_MV_BINARY:
        return Elements(v.MVbin.cValues, v.MVbin.lpbin,
                        [](const mapi::SBinary& bin) { return HexBytes(bin.lpb, bin.cb); });
    case mapi::PT_MV_CLSID:
        return Elements(v.MVguid.cValues, v.MVguid.lpguid,
                        [](const mapi::GUID& guid) { return "guid " + HexBytes(&guid, sizeof guid); });
    default:
        return "?";
    }
}

template <typename T>
T* CopyBlock(const T* data, std::size_t count, const std::function<void*(std::size_t)>& allocate)
{
    auto* copy = static_cast<T*>(allocate(count * sizeof(T)));
    if (count != 0)
        std::memcpy(copy, data, count * sizeof(T));
    return copy;
}

template <typename Char>
Char* CopyText(const Char* text, const std::function<void*(std::size_t)>& allocate)
{
    return CopyBlock(text, std::char_traits<Char>::length(text) + 1, allocate);
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
    mapi::UPV& v = to.Value;
    switch (mapi::PROP_TYPE(from.ulPropTag)) {
    case mapi::PT_UNICODE:
        v.lpszW = CopyText(v.lpszW, allocate);
        break;
    case mapi::PT_STRING8:
        v.lpszA = CopyText(v.lpszA, allocate);
        break;
    case mapi::PT_BINARY:
    case mapi::PT_SVREID:
        v.bin.lpb = CopyBlock(v.bin.lpb, v.bin.cb, allocate);
        break;
    case mapi::PT_CLSID:
        v.lpguid = CopyBlock(v.lpguid, 1, allocate);
        break;
    case mapi::PT_MV_I2:
        v.MVi.lpi = CopyBlock(v.MVi.lpi, v.MVi.cValues, allocate);
        break;
    case mapi::PT_MV_LONG:
        v.MVl.lpl = CopyBlock(v.MVl.lpl, v.MVl.cValues, allocate);
        break;
    case mapi::PT_MV_R4:
        v.MVflt.lpflt = CopyBlock(v.MVflt.lpflt, v.MVflt.cValues, allocate);
        break;
    case mapi::PT_MV_DOUBLE:
    case mapi::PT_MV_APPTIME:
        v.MVdbl.lpdbl = CopyBlock(v.MVdbl.lpdbl, v.MVdbl.cValues, allocate);
        break;
    case mapi::PT_MV_I8:
    case mapi::PT_MV_CURRENCY:
    case mapi::PT_MV_SYSTIME:
        v.MVli.lpli = CopyBlock(v.MVli.lpli, v.MVli.cValues, allocate);
        break;
    case mapi::PT_MV_CLSID:
        v.MVguid.lpguid = CopyBlock(v.MVguid.lpguid, v.MVguid.cValues, allocate);
        break;
    case mapi::PT_MV_UNICODE:
        v.MVszW.lppszW = CopyBlock(v.MVszW.lppszW, v.MVszW.cValues, allocate);
        for (mapi::ULONG i = 0; i < v.MVszW.cValues; ++i)
            v.MVszW.lppszW[i] = CopyText(v.MVszW.lppszW[i], allocate);
        break;
    case mapi::PT_MV_STRING8:
        v.MVszA.lppszA = CopyBlock(v.MVszA.lppszA, v.MVszA.cValues, allocate);
        for (mapi::ULONG i = 0; i < v.MVszA.cValues; ++i)
            v.MVszA.lppszA[i] = CopyText(v.MVszA.lppszA[i], allocate);
        break;
    case mapi::PT_MV_BINARY:
        v.MVbin.lpbin = CopyBlock(v.MVbin.lpbin, v.MVbin.cValues, allocate);
        for (mapi::ULONG i = 0; i < v.MVbin.cValues; ++i)
            v.MVbin.lpbin[i].lpb = CopyBlock(v.MVbin.lpbin[i].lpb, v.MVbin.lpbin[i].cb, allocate);
        break;
    default:
        break;
    }
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

// The property bag and its streams.
#include "tests/support/ScriptedProp.hpp"

#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIConstantsH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "support/uKwText.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::test
{

namespace
{

constexpr mapi::ULONG firstNamedId = 0x8000;

bool IsWide(mapi::ULONG tag)
{
    return mapi::PROP_TYPE(tag) == mapi::PT_UNICODE || mapi::PROP_TYPE(tag) == mapi::PT_MV_UNICODE;
}

bool IsText(mapi::ULONG tag)
{
    const mapi::ULONG type = mapi::PROP_TYPE(tag) & ~mapi::MV_FLAG;
    return type == mapi::PT_UNICODE || type == mapi::PT_STRING8;
}

std::string NameText(const mapi::MAPINAMEID& name)
{
    return name.ulKind == mapi::MNID_STRING ? "\"" + KwToUtf8(name.Kind.lpwstrName) + "\""
                                            : Hex(static_cast<std::uint32_t>(name.Kind.lID));
}

std::string Narrow(const char16_t* text)
{
    std::string narrow;
    for (; *text != 0; ++text)
        narrow += *text < 0x80 ? static_cast<char>(*text) : '?';
    return narrow;
}

mapi::SPropTagArray* NewTagArray(const std::vector<mapi::ULONG>& tags)
{
    const auto size = static_cast<mapi::ULONG>(sizeof(mapi::ULONG) * (tags.size() + 1));
    auto* array = static_cast<mapi::SPropTagArray*>(TScriptedAllocator::Allocate(size));
    array->cValues = static_cast<mapi::ULONG>(tags.size());
    if (!tags.empty())
        std::memcpy(array->aulPropTag, tags.data(), tags.size() * sizeof(mapi::ULONG));
    return array;
}

} // namespace

void TScriptedBag::Set(const mapi::SPropValue& value)
{
    FValues.insert_or_assign(mapi::PROP_ID(value.ulPropTag), TOwnedValue(value));
}

const mapi::SPropValue* TScriptedBag::Find(mapi::ULONG tag) const
{
    const auto found = FValues.find(mapi::PROP_ID(tag));
    return found != FValues.end() ? &found->second.Value() : nullptr;
}

std::string TScriptedBag::Text() const
{
    std::string text;
    for (const auto& [id, value] : FValues)
        text += (text.empty() ? "" : "\n") + TextOf(value.Value());
    return text;
}

std::optional<mapi::HRESULT> TScriptedBag::Enter(const std::string& method, const std::string& arguments)
{
    return FCalls->Enter(FLabel + method, arguments);
}

mapi::HRESULT TScriptedBag::Refuse(const std::string& method, const std::string& arguments)
{
    return Enter(method, arguments).value_or(mapi::MAPI_E_NO_SUPPORT);
}

mapi::HRESULT TScriptedBag::GetLastError(mapi::HRESULT result, mapi::ULONG flags, mapi::MAPIERROR** error)
{
    *error = nullptr;
    if (const auto scripted = Enter("GetLastError", Hex(static_cast<std::uint32_t>(result)) + "," + Hex(flags)))
        return *scripted;
    if (EightBitOnly && (flags & mapi::MAPI_UNICODE) != 0)
        return mapi::MAPI_E_BAD_CHARWIDTH;
    *error = ErrorRecord(Error, Component, flags);
    return mapi::S_OK;
}

mapi::MAPIERROR* ErrorRecord(const WideString& error, const WideString& component, mapi::ULONG flags)
{
    if (error.empty())
        return nullptr;
    auto* record = static_cast<mapi::MAPIERROR*>(TScriptedAllocator::Allocate(sizeof(mapi::MAPIERROR)));
    *record = {0, nullptr, nullptr, 7, 9};
    const auto put = [&](const WideString& text) -> void* {
        const bool wide = (flags & mapi::MAPI_UNICODE) != 0;
        const std::string narrow = Narrow(text.c_str());
        const std::size_t size = wide ? (text.size() + 1) * sizeof(char16_t) : narrow.size() + 1;
        void* copy = TScriptedAllocator::AllocateMore(static_cast<mapi::ULONG>(size), record);
        std::memcpy(copy, wide ? static_cast<const void*>(text.c_str()) : narrow.c_str(), size);
        return copy;
    };
    record->lpszError = put(error);
    record->lpszComponent = component.empty() ? nullptr : put(component);
    return record;
}

mapi::HRESULT TScriptedBag::SaveChanges(mapi::ULONG flags)
{
    return Enter("SaveChanges", Hex(flags)).value_or(mapi::S_OK);
}

mapi::HRESULT TScriptedBag::GetProps(mapi::SPropTagArray* tags, mapi::ULONG flags, mapi::ULONG* count,
                                     mapi::SPropValue** values)
{
    *count = 0;
    *values = nullptr;
    if (const auto scripted = Enter("GetProps", TextOf(tags) + "," + Hex(flags)))
        return *scripted;
    std::vector<mapi::ULONG> asked;
    if (tags != nullptr)
        asked.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
    else
        for (const auto& [id, value] : FValues)
            asked.push_back(value.Value().ulPropTag);
    if (EightBitOnly && std::any_of(asked.begin(), asked.end(), IsWide))
        return mapi::MAPI_E_BAD_CHARWIDTH;

    const auto size = static_cast<mapi::ULONG>(asked.size() * sizeof(mapi::SPropValue));
    auto* array = static_cast<mapi::SPropValue*>(TScriptedAllocator::Allocate(size));
    const auto more = [&](std::size_t bytes) {
        return TScriptedAllocator::AllocateMore(static_cast<mapi::ULONG>(bytes), array);
    };
    bool errors = false;
    for (std::size_t i = 0; i < asked.size(); ++i) {
        const mapi::SPropValue* found = Find(asked[i]);
        const auto refused = Refused.find(mapi::PROP_ID(asked[i]));
        if (refused != Refused.end() || found == nullptr) {
            array[i] = ErrorValue(asked[i], refused != Refused.end() ? refused->second : mapi::MAPI_E_NOT_FOUND);
            errors = true;
            continue;
        }
        CopyValue(*found, array[i], more);
        // Single text in the width asked for.
        if (mapi::PROP_TYPE(asked[i]) == mapi::PT_STRING8 && mapi::PROP_TYPE(found->ulPropTag) == mapi::PT_UNICODE)
            CopyValue(TextValue(asked[i], Narrow(found->Value.lpszW).c_str()), array[i], more);
        else if (mapi::PROP_TYPE(asked[i]) == mapi::PT_UNICODE && mapi::PROP_TYPE(found->ulPropTag) == mapi::PT_STRING8)
            CopyValue(TextValue(asked[i], KwFromUtf8(found->Value.lpszA).c_str()), array[i], more);
    }
    *values = array;
    *count = static_cast<mapi::ULONG>(asked.size()) - std::exchange(KeepBack, 0);
    return errors ? mapi::MAPI_W_ERRORS_RETURNED : mapi::S_OK;
}

mapi::HRESULT TScriptedBag::GetPropList(mapi::ULONG flags, mapi::SPropTagArray** tags)
{
    *tags = nullptr;
    if (const auto scripted = Enter("GetPropList", Hex(flags)))
        return *scripted;
    const bool wide = (flags & mapi::MAPI_UNICODE) != 0;
    if (EightBitOnly && wide)
        return mapi::MAPI_E_BAD_CHARWIDTH;
    std::vector<mapi::ULONG> list;
    for (const auto& [id, value] : FValues) {
        const mapi::ULONG tag = value.Value().ulPropTag;
        list.push_back(IsText(tag) && IsWide(tag) != wide ? tag ^ mapi::PT_UNICODE ^ mapi::PT_STRING8 : tag);
    }
    *tags = NewTagArray(list);
    return mapi::S_OK;
}

mapi::HRESULT TScriptedBag::OpenProperty(mapi::ULONG tag, const mapi::IID* iid, mapi::ULONG options, mapi::ULONG flags,
                                         mapi::IUnknown** object)
{
    *object = nullptr;
    const std::string name = *iid == mapi::IID_IStream ? "IStream" : Hex(iid->Data1);
    if (const auto scripted = Enter("OpenProperty", Hex(tag) + "," + name + "," + Hex(options) + "," + Hex(flags)))
        return *scripted;
    if (OpenStream) {
        *object = OpenStream(*this, tag, (flags & mapi::MAPI_MODIFY) != 0);
        return mapi::S_OK;
    }
    const mapi::SPropValue* found = Find(tag);
    if (found == nullptr && (flags & mapi::MAPI_CREATE) == 0)
        return mapi::MAPI_E_NOT_FOUND;
    const mapi::ULONG type = mapi::PROP_TYPE(tag);
    if (type != mapi::PT_BINARY && type != mapi::PT_UNICODE && type != mapi::PT_STRING8)
        return mapi::MAPI_E_INTERFACE_NOT_SUPPORTED;
    std::string bytes;
    if (found != nullptr && type == mapi::PT_BINARY)
        bytes.assign(reinterpret_cast<const char*>(found->Value.bin.lpb), found->Value.bin.cb);
    else if (found != nullptr && type == mapi::PT_UNICODE)
        bytes.assign(reinterpret_cast<const char*>(found->Value.lpszW), 2 * WideView(found->Value.lpszW).size());
    else if (found != nullptr)
        bytes = found->Value.lpszA;
    TScriptedStream::TStore store;
    if ((flags & mapi::MAPI_MODIFY) != 0)
        store = [this, tag, type](const std::string& data) {
            mapi::SPropValue value{};
            value.ulPropTag = tag;
            std::string terminated = data + std::string(2, '\0');
            if (type == mapi::PT_BINARY)
                value.Value.bin = {static_cast<mapi::ULONG>(data.size()),
                                   reinterpret_cast<mapi::BYTE*>(terminated.data())};
            else
                value.Value.lpszA = terminated.data();
            Set(value);
        };
    *object = new TScriptedStream(FCalls, bytes, std::move(store));
    (*object)->AddRef();
    return mapi::S_OK;
}

mapi::HRESULT TScriptedBag::Report(mapi::SPropProblemArray** problems, const std::vector<mapi::SPropProblem>& found)
{
    if (problems == nullptr || found.empty())
        return mapi::S_OK;
    const auto size = static_cast<mapi::ULONG>(sizeof(mapi::ULONG) + found.size() * sizeof(mapi::SPropProblem));
    auto* array = static_cast<mapi::SPropProblemArray*>(TScriptedAllocator::Allocate(size));
    array->cProblem = static_cast<mapi::ULONG>(found.size());
    std::memcpy(array->aProblem, found.data(), found.size() * sizeof(mapi::SPropProblem));
    *problems = array;
    return mapi::S_OK;
}

mapi::HRESULT TScriptedBag::SetProps(mapi::ULONG count, mapi::SPropValue* values, mapi::SPropProblemArray** problems)
{
    if (problems != nullptr)
        *problems = nullptr;
    std::string text;
    for (mapi::ULONG i = 0; i < count; ++i)
        text += (i == 0 ? "" : ", ") + TextOf(values[i]);
    if (const auto scripted = Enter("SetProps", text))
        return *scripted;
    const std::vector<mapi::SPropProblem> found = std::exchange(Problems, {});
    for (mapi::ULONG i = 0; i < count; ++i)
        if (std::none_of(found.begin(), found.end(), [&](const mapi::SPropProblem& p) { return p.ulIndex == i; }))
            Set(values[i]);
    return Report(problems, found);
}

mapi::HRESULT TScriptedBag::DeleteProps(mapi::SPropTagArray* tags, mapi::SPropProblemArray** problems)
{
    if (problems != nullptr)
        *problems = nullptr;
    if (const auto scripted = Enter("DeleteProps", TextOf(tags)))
        return *scripted;
    std::vector<mapi::SPropProblem> found = std::exchange(Problems, {});
    for (mapi::ULONG i = 0; i < tags->cValues; ++i) {
        if (std::any_of(found.begin(), found.end(), [&](const mapi::SPropProblem& p) { return p.ulIndex == i; }))
            continue;
        if (FValues.erase(mapi::PROP_ID(tags->aulPropTag[i])) == 0)
            found.push_back({i, tags->aulPropTag[i], mapi::MAPI_E_NOT_FOUND});
    }
    return Report(problems, found);
}

mapi::ULONG TScriptedBag::IdOfName(const mapi::MAPINAMEID& name)
{
    const bool text = name.ulKind == mapi::MNID_STRING;
    const TName wanted{*name.lpguid, name.ulKind, text ? 0 : name.Kind.lID, text ? name.Kind.lpwstrName : u""};
    const auto found = std::find(FNames.begin(), FNames.end(), wanted);
    const auto id = firstNamedId + static_cast<mapi::ULONG>(found - FNames.begin());
    if (found == FNames.end())
        FNames.push_back(wanted);
    return id << 16;
}

mapi::HRESULT TScriptedBag::GetIDsFromNames(mapi::ULONG count, mapi::MAPINAMEID** names, mapi::ULONG flags,
                                            mapi::SPropTagArray** tags)
{
    *tags = nullptr;
    std::string text;
    for (mapi::ULONG i = 0; i < count; ++i)
        text += NameText(*names[i]) + ",";
    if (const auto scripted = Enter("GetIDsFromNames", text + Hex(flags)))
        return *scripted;
    std::vector<mapi::ULONG> found = IDs.value_or(std::vector<mapi::ULONG>());
    for (mapi::ULONG i = 0; i < count && !IDs; ++i)
        found.push_back(IdOfName(*names[i]));
    *tags = NewTagArray(found);
    const auto isError = [](mapi::ULONG tag) { return mapi::PROP_TYPE(tag) == mapi::PT_ERROR; };
    return std::any_of(found.begin(), found.end(), isError) ? mapi::MAPI_W_ERRORS_RETURNED : mapi::S_OK;
}

mapi::HRESULT TScriptedBag::GetNamesFromIDs(mapi::SPropTagArray** tags, mapi::GUID*, mapi::ULONG flags,
                                            mapi::ULONG* count, mapi::MAPINAMEID*** names)
{
    *count = 0;
    *names = nullptr;
    if (const auto scripted = Enter("GetNamesFromIDs", TextOf(*tags) + "," + Hex(flags)))
        return *scripted;
    const mapi::ULONG asked = (*tags)->cValues;
    if (LoseNames) {
        *count = asked;
        return mapi::S_OK;
    }
    auto** array = static_cast<mapi::MAPINAMEID**>(
        TScriptedAllocator::Allocate(static_cast<mapi::ULONG>(asked * sizeof(mapi::MAPINAMEID*))));
    const auto more = [&](std::size_t bytes) {
        return TScriptedAllocator::AllocateMore(static_cast<mapi::ULONG>(bytes), array);
    };
    bool errors = false;
    for (mapi::ULONG i = 0; i < asked; ++i) {
        array[i] = nullptr;
        const mapi::ULONG index = mapi::PROP_ID((*tags)->aulPropTag[i]) - firstNamedId;
        if (ForgetNames || index >= FNames.size()) {
            errors = true;
            continue;
        }
        const TName& name = FNames[index];
        array[i] = static_cast<mapi::MAPINAMEID*>(more(sizeof(mapi::MAPINAMEID)));
        array[i]->lpguid = static_cast<mapi::GUID*>(more(sizeof(mapi::GUID)));
        *array[i]->lpguid = name.Set;
        array[i]->ulKind = name.Kind;
        array[i]->Kind.lID_Reserved = 0;
        if (name.Kind == mapi::MNID_STRING) {
            const std::size_t size = (name.Text.size() + 1) * sizeof(char16_t);
            array[i]->Kind.lpwstrName = static_cast<char16_t*>(more(size));
            std::memcpy(array[i]->Kind.lpwstrName, name.Text.c_str(), size);
        } else {
            array[i]->Kind.lID = name.Id;
        }
    }
    *count = asked;
    *names = array;
    return errors ? mapi::MAPI_W_ERRORS_RETURNED : mapi::S_OK;
}

// ---- TScriptedStream

TScriptedStream::TScriptedStream(std::shared_ptr<TScriptedCalls> calls, std::string bytes, TStore store)
    : TScriptedUnknown({mapi::IID_ISequentialStream, mapi::IID_IStream}), FCalls(std::move(calls)),
      FBytes(std::move(bytes)), FStore(std::move(store))
{}

TScriptedStream::~TScriptedStream()
{
    if (FStore)
        FStore(FBytes);
}

mapi::HRESULT TScriptedStream::Read(void* pv, mapi::ULONG cb, mapi::ULONG* pcbRead)
{
    if (pcbRead != nullptr)
        *pcbRead = 0;
    if (const auto scripted = FCalls->Enter("Read", std::to_string(cb)))
        return *scripted;
    const std::size_t size = std::min({std::size_t{cb}, MostPerRead, FBytes.size() - FPosition});
    std::memcpy(pv, FBytes.data() + FPosition, size);
    FPosition += size;
    if (pcbRead != nullptr)
        *pcbRead = static_cast<mapi::ULONG>(size);
    return size < cb ? mapi::S_FALSE : mapi::S_OK;
}

mapi::HRESULT TScriptedStream::Write(const void* pv, mapi::ULONG cb, mapi::ULONG* pcbWritten)
{
    if (const auto scripted = FCalls->Enter("Write", std::to_string(cb)))
        return *scripted;
    if (!FStore)
        return mapi::STG_E_ACCESSDENIED;
    FBytes.replace(FPosition, std::min(std::size_t{cb}, FBytes.size() - FPosition), static_cast<const char*>(pv), cb);
    FPosition += cb;
    if (pcbWritten != nullptr)
        *pcbWritten = cb;
    return mapi::S_OK;
}

mapi::HRESULT TScriptedStream::Seek(mapi::LARGE_INTEGER dlibMove, mapi::DWORD dwOrigin,
                                    mapi::ULARGE_INTEGER* plibNewPosition)
{
    const std::size_t base = dwOrigin == 0 ? 0 : dwOrigin == 1 ? FPosition : FBytes.size();
    const std::int64_t position = static_cast<std::int64_t>(base) + dlibMove.QuadPart;
    if (position < 0 || static_cast<std::size_t>(position) > FBytes.size())
        return mapi::STG_E_INVALIDFUNCTION;
    FPosition = static_cast<std::size_t>(position);
    if (plibNewPosition != nullptr)
        plibNewPosition->QuadPart = FPosition;
    return mapi::S_OK;
}

mapi::HRESULT TScriptedStream::SetSize(mapi::ULARGE_INTEGER libNewSize)
{
    FBytes.resize(libNewSize.QuadPart);
    FPosition = std::min(FPosition, FBytes.size());
    return mapi::S_OK;
}

mapi::HRESULT TScriptedStream::Commit(mapi::DWORD grfCommitFlags)
{
    if (const auto scripted = FCalls->Enter("Commit", Hex(grfCommitFlags)))
        return *scripted;
    if (FStore)
        FStore(FBytes);
    return mapi::S_OK;
}

mapi::HRESULT TScriptedStream::Stat(mapi::STATSTG* pstatstg, mapi::DWORD)
{
    *pstatstg = {};
    pstatstg->cbSize.QuadPart = FBytes.size();
    return mapi::S_OK;
}

} // namespace deftmapi::test

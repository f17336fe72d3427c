#include "client/store/PropertyObject.hpp"

#include "client/store/PropertyStream.hpp"
#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <cstring>

namespace deftmapi::client
{
namespace
{

constexpr auto sReadOnly = u"The object was opened for reading only.";
constexpr auto sNoInterface = u"The property cannot be opened with this interface.";
constexpr auto sNoProperty = u"The object does not have this property.";
constexpr auto sNotStreamable = u"Only text and binary properties can be opened as a stream.";
constexpr auto sComputedStream = u"The property is computed and cannot be written.";
constexpr auto sNoTags = u"The array of property tags is empty.";
constexpr auto sNoNames = u"The object has no named properties.";

constexpr ULONG HtmlId = tag::Html >> 16;
constexpr ULONG FirstNamed = 0x8000;

std::string StringOf(const Bytes& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool IsTextType(ULONG type)
{
    return type == mapi::PT_UNICODE || type == mapi::PT_STRING8;
}

} // namespace

Prop Materialize(const Prop& prop)
{
    const auto* blob = std::get_if<BlobPtr>(&prop.data);
    if (!blob)
        return prop;
    const Bytes bytes = (*blob)->ReadAll();
    if (prop.Type() != mapi::PT_UNICODE)
        return {prop.tag, bytes};
    WideString text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * 2);
    return {prop.tag, std::move(text)};
}

std::optional<Prop> PropertyCore::Computed(ULONG)
{
    return std::nullopt;
}

std::vector<ULONG> PropertyCore::ComputedTags() const
{
    return {};
}

mapi::HRESULT PropertyCore::CheckChange(ULONG, bool)
{
    return mapi::S_OK;
}

TKwComPtr<mapi::IUnknown> PropertyCore::OpenObject(ULONG, const mapi::IID&, ULONG, ULONG)
{
    Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sNoInterface);
}

void PropertyCore::PutOntoStored(std::span<const ULONG> ids)
{
    Props changed;
    for (const ULONG id : ids)
        if (const Prop* prop = Read().Find(id))
            changed.push_back(*prop);
    Refresh();
    PropertyBag& bag = Write();
    for (const ULONG id : ids)
        bag.Erase(id);
    for (Prop& prop : changed)
        bag.Set(std::move(prop));
}

void PropertyCore::RequireWritable() const
{
    if (!FWritable)
        Fail(mapi::MAPI_E_NO_ACCESS, sReadOnly);
}

void PropertyCore::SetStreamValue(ULONG tag, PropData data)
{
    Refresh();
    PropertyBag& bag = Write();
    const Prop* old = bag.Find(tag >> 16);
    const auto* oldBlob = old ? std::get_if<BlobPtr>(&old->data) : nullptr;
    const auto* newBlob = std::get_if<BlobPtr>(&data);
    if (!oldBlob || !newBlob || *oldBlob != *newBlob || old->tag != tag)
        bag.Set({tag, std::move(data)});
    const ULONG id = tag >> 16;
    Changed({&id, 1});
}

std::optional<Prop> PropertyCore::ConvertHtml(const Prop& stored, ULONG type)
{
    // The HTML body is one property with a binary and a text form; PR_INTERNET_CPID says how one becomes the other.
    const auto codePage = static_cast<unsigned>(Read().Number(tag::InternetCodePage, 0));
    const TKwEncoding named(codePage);
    const TKwEncoding encoding = codePage != 0 && named.IsKnown() ? named : TKwEncoding(65001);
    if (stored.Type() == mapi::PT_BINARY && IsTextType(type)) {
        const Prop text{mapi::CHANGE_PROP_TYPE(stored.tag, mapi::PT_UNICODE),
                        encoding.ToWide(StringOf(std::get<Bytes>(stored.data)))};
        return Convert(text, type, true);
    }
    if (stored.Type() == mapi::PT_UNICODE && type == mapi::PT_BINARY) {
        const std::string bytes = encoding.FromWide(std::get<WideString>(stored.data));
        return BinaryProp(mapi::CHANGE_PROP_TYPE(stored.tag, type), Bytes(bytes.begin(), bytes.end()));
    }
    return std::nullopt;
}

Prop PropertyCore::GetOne(ULONG tag, bool unicode)
{
    const ULONG id = tag >> 16;
    const ULONG type = tag & 0xFFFF;
    std::optional<Prop> computed = Computed(id);
    const Prop* stored = computed ? &*computed : Read().Find(id);
    if (!stored)
        return ErrorProp(tag, mapi::MAPI_E_NOT_FOUND);
    const bool streamable = IsStreamType(stored->Type());
    if (streamable && DataSize(*stored) > limits::GetProps)
        return ErrorProp(tag, type == mapi::PT_UNSPECIFIED || IsStreamType(type) ? mapi::MAPI_E_NOT_ENOUGH_MEMORY
                                                                                 : mapi::MAPI_E_NOT_FOUND);
    const Prop value = Materialize(*stored);
    std::optional<Prop> result = Convert(value, type, unicode);
    if (!result && id == HtmlId)
        result = ConvertHtml(value, type);
    return result ? std::move(*result) : ErrorProp(tag, mapi::MAPI_E_NOT_FOUND);
}

std::vector<ULONG> PropertyCore::AllTags(bool unicode)
{
    std::vector<ULONG> tags;
    for (const auto& [id, prop] : Read())
        tags.push_back(prop.tag);
    for (const ULONG tag : ComputedTags()) {
        const auto value = Computed(tag >> 16);
        if (value && !Read().Find(tag >> 16))
            tags.push_back(tag);
    }
    if (!unicode) {
        for (ULONG& tag : tags) {
            const ULONG type = tag & 0xFFFF;
            if (type == mapi::PT_UNICODE || type == mapi::PT_MV_UNICODE)
                --tag;
        }
    }
    std::sort(tags.begin(), tags.end());
    return tags;
}

mapi::HRESULT PropertyCore::DoGetProps(const mapi::SPropTagArray* tags, ULONG flags, ULONG* count,
                                       mapi::LPSPropValue* values)
{
    Require(count, u"lpcValues");
    Require(values, u"lppPropArray");
    *count = 0;
    *values = nullptr;
    RequireFlags(flags, mapi::MAPI_UNICODE);
    Refresh();
    const bool unicode = (flags & mapi::MAPI_UNICODE) != 0;
    std::vector<ULONG> wanted;
    if (tags)
        wanted.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
    else
        wanted = AllTags(unicode);
    if (tags && wanted.empty())
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoTags);
    Props props;
    props.reserve(wanted.size());
    for (const ULONG tag : wanted)
        props.push_back(GetOne(tag, unicode));
    *values = ToInterface(props).Detach();
    *count = static_cast<ULONG>(props.size());
    const bool errors = std::any_of(props.begin(), props.end(), [](const Prop& prop) { return prop.IsError(); });
    return errors ? mapi::MAPI_W_ERRORS_RETURNED : mapi::S_OK;
}

void PropertyCore::DoGetPropList(ULONG flags, mapi::LPSPropTagArray* tags)
{
    Require(tags, u"lppPropTagArray");
    *tags = nullptr;
    RequireFlags(flags, mapi::MAPI_UNICODE);
    Refresh();
    *tags = MakeTagArray(AllTags((flags & mapi::MAPI_UNICODE) != 0)).Detach();
}

void PropertyCore::DoOpenProperty(ULONG tag, mapi::LPCIID iid, ULONG options, ULONG flags, mapi::LPUNKNOWN* object)
{
    Require(object, u"lppUnk");
    *object = nullptr;
    Require(iid, u"lpiid");
    RequireFlags(flags, mapi::MAPI_CREATE | mapi::MAPI_MODIFY | mapi::MAPI_DEFERRED_ERRORS);
    const bool create = (flags & mapi::MAPI_CREATE) != 0;
    const bool write = create || (flags & mapi::MAPI_MODIFY) != 0;
    if (write)
        RequireWritable();
    Refresh();
    if (*iid != mapi::IID_IStream || (tag & 0xFFFF) == mapi::PT_OBJECT) {
        *object = OpenObject(tag, *iid, options, flags).Detach();
        return;
    }
    const ULONG id = tag >> 16;
    if (!IsStreamType(tag & 0xFFFF))
        Fail(mapi::MAPI_E_INTERFACE_NOT_SUPPORTED, sNotStreamable);
    if (write && CheckChange(WideTag(tag), false) != mapi::S_OK)
        Fail(mapi::MAPI_E_NO_ACCESS, sComputedStream);
    BlobPtr content;
    const auto computed = Computed(id);
    const Prop* stored = computed ? &*computed : Read().Find(id);
    if (stored && !create) {
        const auto* blob = std::get_if<BlobPtr>(&stored->data);
        if (blob && stored->tag == WideTag(tag) && (tag & 0xFFFF) != mapi::PT_STRING8) {
            content = *blob;
        } else {
            const Prop value = Materialize(*stored);
            auto converted = Convert(value, tag & 0xFFFF, true);
            if (!converted && id == HtmlId)
                converted = ConvertHtml(value, tag & 0xFFFF);
            if (converted)
                content = StreamContent(*converted);
        }
    }
    if (!content && !create)
        Fail(mapi::MAPI_E_NOT_FOUND, sNoProperty);
    TKwComPtr<PropertyStream> stream(new PropertyStream(Self(), *this, tag, content, write));
    if (create)
        stream->Start();
    if (options & mapi::STREAM_APPEND && !(options & mapi::STGM_CREATE))
        stream->MoveToEnd();
    *object = stream.Detach();
}

void PropertyCore::DoSetProps(ULONG count, const mapi::SPropValue* values, mapi::LPSPropProblemArray* problems)
{
    if (problems)
        *problems = nullptr;
    RequireWritable();
    Require(values, u"lpPropArray");
    Refresh();
    std::vector<mapi::SPropProblem> found;
    std::vector<ULONG> ids;
    Props accepted;
    for (ULONG i = 0; i < count; ++i) {
        const ULONG tag = values[i].ulPropTag;
        const ULONG type = tag & 0xFFFF;
        const ULONG id = tag >> 16;
        if (type == mapi::PT_NULL || type == mapi::PT_ERROR)
            continue; // documented: such values are ignored
        mapi::HRESULT problem = type == mapi::PT_OBJECT || type == mapi::PT_UNSPECIFIED || id == 0 || id == 0xFFFF
                                    ? mapi::MAPI_E_INVALID_TYPE
                                    : CheckChange(WideTag(tag), false);
        if (problem != mapi::S_OK) {
            found.push_back({i, tag, problem});
            continue;
        }
        Prop prop = FromInterface(values[i]);
        if (DataSize(prop) > ValueLimit())
            found.push_back({i, tag, mapi::MAPI_E_TOO_BIG});
        else
            accepted.push_back(std::move(prop));
    }
    // All values were readable: only now the object changes.
    PropertyBag& bag = Write();
    for (Prop& prop : accepted) {
        ids.push_back(prop.Id());
        bag.Set(std::move(prop));
    }
    if (!ids.empty())
        Changed(ids);
    if (problems)
        *problems = MakeProblems(found).Detach();
}

void PropertyCore::DoDeleteProps(const mapi::SPropTagArray* tags, mapi::LPSPropProblemArray* problems)
{
    if (problems)
        *problems = nullptr;
    RequireWritable();
    Require(tags, u"lpPropTagArray");
    if (tags->cValues == 0)
        Fail(mapi::MAPI_E_INVALID_PARAMETER, sNoTags);
    Refresh();
    std::vector<mapi::SPropProblem> found;
    std::vector<ULONG> ids;
    PropertyBag& bag = Write();
    for (ULONG i = 0; i < tags->cValues; ++i) {
        const ULONG tag = tags->aulPropTag[i];
        const mapi::HRESULT problem = CheckChange(WideTag(tag), true);
        if (problem != mapi::S_OK)
            found.push_back({i, tag, problem});
        else if (bag.Erase(tag >> 16) || HasObject(tag >> 16))
            ids.push_back(tag >> 16);
    }
    if (!ids.empty())
        Changed(ids);
    if (problems)
        *problems = MakeProblems(found).Detach();
}

mapi::HRESULT PropertyCore::DoGetNamesFromIDs(mapi::LPSPropTagArray* tags, const mapi::GUID* set, ULONG flags,
                                              ULONG* count, mapi::LPMAPINAMEID** names)
{
    Require(tags, u"lppPropTags");
    Require(count, u"lpcPropNames");
    Require(names, u"lpppPropNames");
    *count = 0;
    *names = nullptr;
    RequireFlags(flags, mapi::MAPI_NO_STRINGS | mapi::MAPI_NO_IDS);
    if (!FStore)
        Fail(mapi::MAPI_E_NO_SUPPORT, sNoNames);
    std::vector<ULONG> ids;
    const bool all = *tags == nullptr;
    if (all)
        ids = FStore->AllNameIds();
    else
        for (ULONG i = 0; i < (*tags)->cValues; ++i)
            ids.push_back((*tags)->aulPropTag[i] >> 16);
    std::vector<std::shared_ptr<const StoreFile::Name>> found;
    std::vector<ULONG> foundTags;
    std::size_t size = 0;
    for (const ULONG id : ids) {
        std::shared_ptr<const StoreFile::Name> name;
        if (id < FirstNamed) {
            auto own = std::make_shared<StoreFile::Name>();
            own->set = mapi::PS_MAPI;
            own->lid = static_cast<mapi::LONG>(id);
            name = std::move(own);
        } else {
            name = FStore->NameOfId(id);
        }
        const bool fits = name && (!set || name->set == *set) && !(name->isText && flags & mapi::MAPI_NO_STRINGS) &&
                          !(!name->isText && flags & mapi::MAPI_NO_IDS);
        if (!fits && all)
            continue;
        found.push_back(fits ? name : nullptr);
        foundTags.push_back(id << 16);
        if (fits)
            size += sizeof(mapi::MAPINAMEID) + sizeof(mapi::GUID) + (name->text.size() + 1) * 2 + 8;
    }
    auto buffer = AllocateAs<mapi::LPMAPINAMEID>(found.size() * sizeof(void*) + size + 1);
    auto* at = reinterpret_cast<std::byte*>(buffer.Get() + found.size());
    mapi::HRESULT result = mapi::S_OK;
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!found[i]) {
            buffer.Get()[i] = nullptr;
            result = mapi::MAPI_W_ERRORS_RETURNED;
            continue;
        }
        const StoreFile::Name& name = *found[i];
        auto* out = reinterpret_cast<mapi::MAPINAMEID*>(at);
        at += sizeof *out;
        out->lpguid = reinterpret_cast<mapi::LPGUID>(at);
        *out->lpguid = name.set;
        at += sizeof(mapi::GUID);
        out->ulKind = name.isText ? mapi::MNID_STRING : mapi::MNID_ID;
        if (name.isText) {
            out->Kind.lpwstrName = reinterpret_cast<mapi::LPWSTR>(at);
            const std::size_t bytes = (name.text.size() + 1) * 2;
            std::memcpy(at, name.text.c_str(), bytes);
            at += (bytes + 7) & ~std::size_t{7};
        } else {
            out->Kind.lID = name.lid;
        }
        buffer.Get()[i] = out;
    }
    if (all)
        *tags = MakeTagArray(foundTags).Detach();
    *count = static_cast<ULONG>(found.size());
    *names = buffer.Detach();
    return result;
}

mapi::HRESULT PropertyCore::DoGetIDsFromNames(ULONG count, mapi::LPMAPINAMEID* names, ULONG flags,
                                              mapi::LPSPropTagArray* tags)
{
    Require(tags, u"lppPropTags");
    *tags = nullptr;
    RequireFlags(flags, mapi::MAPI_CREATE);
    if (!FStore)
        Fail(mapi::MAPI_E_NO_SUPPORT, sNoNames);
    const bool create = (flags & mapi::MAPI_CREATE) != 0;
    std::vector<ULONG> result;
    if (count == 0 || !names) {
        if (count != 0 || names)
            Require(nullptr, u"lppPropNames");
        for (const ULONG id : FStore->AllNameIds())
            result.push_back(id << 16);
        *tags = MakeTagArray(result).Detach();
        return mapi::S_OK;
    }
    // Names belong to the store: an object that is open for reading only may be asked for one that is new to it.
    // One transaction for all new names of the call.
    std::optional<Transaction> transaction;
    bool missing = false;
    for (ULONG i = 0; i < count; ++i) {
        const mapi::MAPINAMEID* name = names[i];
        ULONG id = 0;
        if (name && name->lpguid && *name->lpguid == mapi::PS_MAPI && name->ulKind == mapi::MNID_ID) {
            id = name->Kind.lID > 0 && static_cast<ULONG>(name->Kind.lID) < FirstNamed
                     ? static_cast<ULONG>(name->Kind.lID)
                     : 0;
        } else if (name && name->lpguid &&
                   (name->ulKind == mapi::MNID_ID || (name->ulKind == mapi::MNID_STRING && name->Kind.lpwstrName)))
        {
            const bool isText = name->ulKind == mapi::MNID_STRING;
            const WideString text = isText ? WideString(name->Kind.lpwstrName) : WideString();
            const std::int64_t lid = isText ? 0 : name->Kind.lID;
            id = FStore->IdOfName(*name->lpguid, lid, isText ? &text : nullptr, false);
            if (id == 0 && create) {
                if (!transaction)
                    transaction.emplace(FStore->Db());
                id = FStore->IdOfName(*name->lpguid, lid, isText ? &text : nullptr, true);
            }
        }
        missing = missing || id == 0;
        result.push_back(id ? id << 16 : mapi::PT_ERROR);
    }
    if (transaction)
        transaction->Commit();
    *tags = MakeTagArray(result).Detach();
    return missing ? mapi::MAPI_W_ERRORS_RETURNED : mapi::S_OK;
}

} // namespace deftmapi::client

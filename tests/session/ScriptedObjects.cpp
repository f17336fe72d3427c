#include "tests/session/ScriptedObjects.hpp"

namespace deftmapi::test
{

std::string IdsOf(mapi::LPENTRYLIST list)
{
    std::string ids;
    for (mapi::ULONG i = 0; i < list->cValues; ++i)
        ids += HexOf(list->lpbin[i].cb, list->lpbin[i].lpb) + ",";
    return ids;
}

std::string NameOf(mapi::LPCIID iid, void* destination)
{
    if (iid == nullptr || *iid != mapi::IID_IMAPIFolder)
        return "?";
    const auto* name = static_cast<TScriptedFolder*>(static_cast<mapi::IMAPIFolder*>(destination))
                           ->Bag.Find(GetPropTag(PR_DISPLAY_NAME));
    return KwToUtf8(name->Value.lpszW);
}

std::string HexOf(mapi::ULONG size, const void* bytes)
{
    std::string text;
    for (mapi::ULONG i = 0; i < size; ++i) {
        constexpr char Digits[] = "0123456789ABCDEF";
        const auto byte = static_cast<const std::uint8_t*>(bytes)[i];
        text += Digits[byte >> 4];
        text += Digits[byte & 15];
    }
    return text;
}

std::string TextArgument(const void* text, mapi::ULONG flags)
{
    if (text == nullptr)
        return "null";
    if ((flags & mapi::MAPI_UNICODE) != 0)
        return '"' + KwToUtf8(static_cast<const char16_t*>(text)) + '"';
    return "'" + std::string(static_cast<const char*>(text)) + "'";
}

mapi::SPropValue BinaryValue(mapi::ULONG tag, std::string_view bytes)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.bin.cb = static_cast<mapi::ULONG>(bytes.size());
    value.Value.bin.lpb = reinterpret_cast<mapi::BYTE*>(const_cast<char*>(bytes.data()));
    return value;
}

mapi::SPropValue BoolValue(mapi::ULONG tag, bool set)
{
    mapi::SPropValue value{};
    value.ulPropTag = tag;
    value.Value.b = set ? 1 : 0;
    return value;
}

void TScriptedFolder::AddChild(std::string_view id, const char16_t* name, const char16_t* containerClass)
{
    Hierarchy->AddRow({BinaryValue(GetPropTag(PR_ENTRYID), id), TextValue(GetPropTag(PR_DISPLAY_NAME), name),
                       TextValue(GetPropTag(PR_CONTAINER_CLASS), containerClass)});
}

TKwComPtr<TScriptedFolder> TScriptedStore::AddFolder(const std::string& id, const char16_t* name)
{
    TKwComPtr<TScriptedFolder> folder(new TScriptedFolder(FCalls, id, name));
    Entries[id] = {mapi::MAPI_FOLDER, TKwComPtr<mapi::IUnknown>(folder.Get())};
    return folder;
}

} // namespace deftmapi::test

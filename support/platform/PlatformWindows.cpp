// The platform on Windows.
#include "support/platform/PlatformCommon.hpp"
#include "support/platform/WindowsParts.hpp"

#include <algorithm>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#undef FreeModule

namespace deftmapi
{

namespace
{

using windows::FromWide;
using windows::Wide;

constexpr std::size_t longestKeyName = 256; // the system's limit is 255 characters
constexpr std::size_t longestPath = 32768;  // in characters, for names beyond MAX_PATH
constexpr std::uint32_t defaultLocale = 0x0409;
constexpr int mostFolderDepth = 64;

bool SystemIs64Bit() noexcept
{
    if constexpr (sizeof(void*) == 8)
        return true;
    BOOL wow = FALSE;
    return ::IsWow64Process(::GetCurrentProcess(), &wow) != 0 && wow != FALSE;
}

/// An open registry key, read-only.
class TRegistryKey
{
public:
    TRegistryKey(TKwRegistryRoot root, TKwRegistryView view, const WideString& key) noexcept
    {
        const std::size_t begin = std::min(key.find_first_not_of(u'\\'), key.size()); // a leading backslash is refused
        REGSAM access = KEY_READ;
        if (view == TKwRegistryView::rvOther) {
            if (!SystemIs64Bit())
                return; // a 32-bit system has one view only
            access |= sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
        }
        const HKEY parent = root == TKwRegistryRoot::rrCurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
        if (::RegOpenKeyExW(parent, Wide(key) + begin, 0, access, &FKey) != ERROR_SUCCESS)
            FKey = nullptr;
    }
    ~TRegistryKey()
    {
        if (FKey != nullptr)
            ::RegCloseKey(FKey);
    }
    TRegistryKey(const TRegistryKey&) = delete;
    TRegistryKey& operator=(const TRegistryKey&) = delete;

    [[nodiscard]] bool IsOpen() const noexcept { return FKey != nullptr; }

    [[nodiscard]] std::optional<WideString> Value(const WideString& name) const
    {
        DWORD type = 0;
        DWORD size = 0;
        std::string data;
        LSTATUS status = ::RegQueryValueExW(FKey, Wide(name), nullptr, &type, nullptr, &size);
        while (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
            // The value may have grown since its size was asked.
            data.resize(size);
            status = ::RegQueryValueExW(FKey, Wide(name), nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size);
            if (status == ERROR_SUCCESS)
                break;
        }
        if (status != ERROR_SUCCESS)
            return std::nullopt;
        data.resize(size);
        return TextOf(type, data);
    }

    [[nodiscard]] std::vector<WideString> SubKeys() const
    {
        std::vector<WideString> result;
        for (DWORD index = 0;; ++index) {
            wchar_t name[longestKeyName];
            DWORD length = longestKeyName;
            if (::RegEnumKeyExW(FKey, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                return result;
            result.push_back(FromWide(name, length));
        }
    }

private:
    static std::optional<WideString> TextOf(DWORD type, const std::string& data)
    {
        if (type == REG_DWORD && data.size() == sizeof(DWORD)) {
            DWORD number = 0;
            std::copy(data.begin(), data.end(), reinterpret_cast<char*>(&number));
            return KwFromUtf8(std::to_string(number));
        }
        if (type != REG_SZ && type != REG_EXPAND_SZ)
            return std::nullopt;
        WideString text(data.size() / sizeof(char16_t), u'\0');
        std::copy_n(data.begin(), text.size() * sizeof(char16_t), reinterpret_cast<char*>(text.data()));
        return text.substr(0, text.find(u'\0')); // the zero at the end is stored, and may be missing
    }

    HKEY FKey = nullptr;
};

class TFile
{
public:
    explicit TFile(const WideString& fileName) noexcept
        : FHandle(::CreateFileW(Wide(fileName), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    ~TFile()
    {
        if (FHandle != INVALID_HANDLE_VALUE)
            ::CloseHandle(FHandle);
    }
    TFile(const TFile&) = delete;
    TFile& operator=(const TFile&) = delete;

    [[nodiscard]] std::optional<std::uint64_t> Size() const noexcept
    {
        LARGE_INTEGER size = {};
        if (FHandle == INVALID_HANDLE_VALUE || ::GetFileSizeEx(FHandle, &size) == 0)
            return std::nullopt;
        return static_cast<std::uint64_t>(size.QuadPart);
    }

    [[nodiscard]] bool Read(std::uint64_t offset, std::string& buffer) const noexcept
    {
        LARGE_INTEGER position = {};
        position.QuadPart = static_cast<LONGLONG>(offset);
        if (::SetFilePointerEx(FHandle, position, nullptr, FILE_BEGIN) == 0)
            return false;
        std::size_t done = 0;
        while (done < buffer.size()) {
            const auto part = static_cast<DWORD>(std::min<std::size_t>(buffer.size() - done, 1u << 30));
            DWORD count = 0;
            if (::ReadFile(FHandle, buffer.data() + done, part, &count, nullptr) == 0)
                return false;
            if (count == 0)
                break;
            done += count;
        }
        buffer.resize(done);
        return true;
    }

private:
    HANDLE FHandle;
};

/// The system's text without the line breaks and blanks at its end; empty when there is none.
WideString MessageText(DWORD code)
{
    wchar_t* text = nullptr;
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                         nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    if (length == 0)
        return {};
    WideString result = FromWide(text, length);
    ::LocalFree(text);
    result.erase(std::min(result.find_last_not_of(u"\r\n ") + 1, result.size()));
    return result;
}

/// The name from the root of its drive; as it is when the system cannot tell.
WideString FullName(const WideString& fileName)
{
    const DWORD size = ::GetFullPathNameW(Wide(fileName), 0, nullptr, nullptr); // with the end mark
    WideString full(size, u'\0');
    const DWORD length =
        size == 0 ? 0 : ::GetFullPathNameW(Wide(fileName), size, reinterpret_cast<wchar_t*>(full.data()), nullptr);
    if (length == 0 || length >= size)
        return fileName;
    full.resize(length);
    return full;
}

void FindFilesBelow(const WideString& folder, const WideString& name, int depth, std::vector<WideString>& result)
{
    WIN32_FIND_DATAW entry = {};
    const HANDLE search = ::FindFirstFileW(Wide(folder + u"*"), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        const WideString entryName(reinterpret_cast<const char16_t*>(entry.cFileName));
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; // may lead back up
        if (!isFolder && KwSameText(entryName, name))
            result.push_back(folder + entryName);
        else if (isFolder && !isLink && entryName != u"." && entryName != u".." && depth < mostFolderDepth)
            FindFilesBelow(folder + entryName + u"\\", name, depth + 1, result);
    } while (::FindNextFileW(search, &entry) != 0);
    ::FindClose(search);
}

class TWindowsPlatform final : public IKwPlatform
{
public:
    bool RegistryKeyExists(TKwRegistryRoot root, TKwRegistryView view, const WideString& key) override
    {
        return TRegistryKey(root, view, key).IsOpen();
    }
    std::optional<WideString> RegistryValue(TKwRegistryRoot root, TKwRegistryView view, const WideString& key,
                                            const WideString& valueName) override
    {
        const TRegistryKey open(root, view, key);
        return open.IsOpen() ? open.Value(valueName) : std::nullopt;
    }
    std::vector<WideString> RegistrySubKeys(TKwRegistryRoot root, TKwRegistryView view, const WideString& key) override
    {
        const TRegistryKey open(root, view, key);
        return open.IsOpen() ? open.SubKeys() : std::vector<WideString>();
    }

    TKwModule LoadModule(const WideString& fileName, WideString& reason) override
    {
        // With a folder in its name a client library finds its own helpers beside itself. The flag for it is undefined
        // for relative names, and a bare name is looked for along the search path.
        const bool hasFolder = fileName.find_first_of(u"\\/:") != WideString::npos;
        const WideString name = hasFolder ? FullName(fileName) : fileName;
        DWORD oldMode = 0; // of this thread only: others may load what they like to see fail
        ::SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &oldMode); // no modal box from a service
        const HMODULE module = ::LoadLibraryExW(Wide(name), nullptr, hasFolder ? LOAD_WITH_ALTERED_SEARCH_PATH : 0);
        const DWORD error = module == nullptr ? ::GetLastError() : ERROR_SUCCESS;
        ::SetThreadErrorMode(oldMode, nullptr);
        reason.clear();
        if (module == nullptr) {
            reason = MessageText(error);
            if (reason.empty())
                reason = u"Error " + KwFromUtf8(std::to_string(error));
        }
        return module;
    }
    void FreeModule(TKwModule module) noexcept override
    {
        if (module != nullptr)
            ::FreeLibrary(static_cast<HMODULE>(module));
    }
    void* FindExport(TKwModule module, const char* name) noexcept override
    {
        if (module == nullptr)
            return nullptr;
        return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), name));
    }
    WideString ModuleFileNameOf(const void* address) override
    {
        HMODULE module = nullptr;
        if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                 static_cast<const wchar_t*>(address), &module) == 0)
            return {};
        WideString name(longestPath, u'\0');
        const DWORD length =
            ::GetModuleFileNameW(module, reinterpret_cast<wchar_t*>(name.data()), static_cast<DWORD>(name.size()));
        name.resize(length);
        return name;
    }
    bool Is64BitProcess() const noexcept override { return sizeof(void*) == 8; }
    bool IsWindowsNT() const noexcept override { return (::GetVersion() & 0x80000000u) == 0; }

    bool FileExists(const WideString& fileName) override
    {
        const DWORD attributes = ::GetFileAttributesW(Wide(fileName));
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    }
    std::optional<std::string> ReadFile(const WideString& fileName, std::uint64_t offset, std::size_t count) override
    {
        const TFile file(fileName);
        const auto size = file.Size();
        if (!size)
            return std::nullopt;
        if (offset >= *size)
            return std::string();
        std::string buffer(static_cast<std::size_t>(std::min<std::uint64_t>(count, *size - offset)), '\0');
        if (!file.Read(offset, buffer))
            return std::nullopt;
        return buffer;
    }
    std::vector<WideString> FindFiles(const WideString& folder, const WideString& name) override
    {
        WideString base = folder;
        if (!base.empty() && base.back() != u'\\' && base.back() != u'/')
            base.push_back(u'\\');
        std::vector<WideString> result;
        FindFilesBelow(base, name, 0, result);
        return result;
    }

    std::optional<WideString> Environment(const WideString& name) override
    {
        WideString value(128, u'\0');
        for (;;) {
            ::SetLastError(ERROR_SUCCESS);
            const DWORD length = ::GetEnvironmentVariableW(Wide(name), reinterpret_cast<wchar_t*>(value.data()),
                                                           static_cast<DWORD>(value.size()));
            if (length == 0 && ::GetLastError() != ERROR_SUCCESS)
                return std::nullopt;
            const bool complete = length < value.size();
            value.resize(length);
            if (complete)
                return value;
        }
    }
    WideString ExpandEnvironment(const WideString& text) override { return KwExpandPercentNames(*this, text); }
    std::uint32_t DefaultLocale() noexcept override
    {
        const LCID locale = ::GetUserDefaultLCID();
        return locale != 0 ? locale : defaultLocale;
    }
    unsigned AnsiCodePage() noexcept override { return ::GetACP(); }

    WideString SystemMessage(std::int32_t code) override { return MessageText(static_cast<DWORD>(code)); }

    bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text) override
    {
        return windows::CodePageToWide(codePage, bytes, text);
    }
    bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy) override
    {
        return windows::WideToCodePage(codePage, text, bytes, lossy);
    }
};

} // namespace

IKwPlatform& KwSystemPlatform() noexcept
{
    // Never destroyed: a session that an application keeps in a global ends after all of the library's own statics.
    static TWindowsPlatform& platform = *new TWindowsPlatform;
    return platform;
}

} // namespace deftmapi

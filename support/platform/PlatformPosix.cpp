// The platform on POSIX systems. There is no registry: every key is absent, and what a registry would name is found
// through environment variables instead.
#include "support/platform/PlatformCommon.hpp"
#include "support/platform/PosixParts.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace deftmapi
{

namespace
{

namespace fs = std::filesystem;

constexpr unsigned defaultAnsiCodePage = 1252;
constexpr std::uint32_t defaultLocale = 0x0409;
constexpr auto ansiCodePageVariable = "DEFTMAPI_ANSI_CODEPAGE";

fs::path PathOf(const WideString& fileName)
{
    return fs::path(KwToUtf8(fileName));
}

class TFile
{
public:
    explicit TFile(const WideString& fileName) : FHandle(::open(KwToUtf8(fileName).c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~TFile()
    {
        if (FHandle >= 0)
            ::close(FHandle);
    }
    TFile(const TFile&) = delete;
    TFile& operator=(const TFile&) = delete;

    /// Size of a regular file, or nothing.
    [[nodiscard]] std::optional<std::uint64_t> Size() const noexcept
    {
        struct stat status = {};
        if (FHandle < 0 || ::fstat(FHandle, &status) != 0 || !S_ISREG(status.st_mode))
            return std::nullopt;
        return static_cast<std::uint64_t>(status.st_size);
    }

    /// False on a read error. The buffer shrinks to what was there.
    [[nodiscard]] bool Read(std::uint64_t offset, std::string& buffer) const
    {
        std::size_t done = 0;
        while (done < buffer.size()) {
            const ssize_t count =
                ::pread(FHandle, buffer.data() + done, buffer.size() - done, static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                return false;
            if (count == 0)
                break;
            done += static_cast<std::size_t>(count);
        }
        buffer.resize(done);
        return true;
    }

private:
    int FHandle;
};

unsigned ReadAnsiCodePage() noexcept
{
    const char* text = std::getenv(ansiCodePageVariable);
    const unsigned long value = text != nullptr ? std::strtoul(text, nullptr, 10) : 0;
    return value > 0 && value <= 65535 ? static_cast<unsigned>(value) : defaultAnsiCodePage;
}

class TPosixPlatform final : public IKwPlatform
{
public:
    bool RegistryKeyExists(TKwRegistryRoot, TKwRegistryView, const WideString&) override { return false; }
    std::optional<WideString> RegistryValue(TKwRegistryRoot, TKwRegistryView, const WideString&,
                                            const WideString&) override
    {
        return std::nullopt;
    }
    std::vector<WideString> RegistrySubKeys(TKwRegistryRoot, TKwRegistryView, const WideString&) override { return {}; }

    TKwModule LoadModule(const WideString& fileName, WideString& reason) override
    {
        // Local: the client library's symbols must not satisfy those of the application or of another client.
        void* module = ::dlopen(KwToUtf8(fileName).c_str(), RTLD_NOW | RTLD_LOCAL);
        reason.clear();
        if (module == nullptr) {
            const char* text = ::dlerror();
            reason = KwFromUtf8(text != nullptr ? text : "");
        }
        return module;
    }

    void FreeModule(TKwModule module) noexcept override
    {
        if (module != nullptr)
            ::dlclose(module);
    }

    void* FindExport(TKwModule module, const char* name) noexcept override
    {
        // A null handle would search the whole process.
        return module != nullptr ? ::dlsym(module, name) : nullptr;
    }

    WideString ModuleFileNameOf(const void* address) override
    {
        Dl_info info = {};
        if (::dladdr(address, &info) == 0 || info.dli_fname == nullptr)
            return {};
        // The main program's name is what it was called by, which may be a bare name found along PATH.
        const bool hasFolder = std::string_view(info.dli_fname).find('/') != std::string_view::npos;
        std::error_code error;
        const fs::path full = fs::canonical(hasFolder ? info.dli_fname : "/proc/self/exe", error);
        return error ? WideString() : KwFromUtf8(full.string());
    }

    bool Is64BitProcess() const noexcept override { return sizeof(void*) == 8; }
    bool IsWindowsNT() const noexcept override { return false; }

    bool FileExists(const WideString& fileName) override
    {
        std::error_code error;
        return fs::is_regular_file(PathOf(fileName), error);
    }

    std::optional<std::string> ReadFile(const WideString& fileName, std::uint64_t offset, std::size_t count) override
    {
        const TFile file(fileName);
        const auto size = file.Size();
        if (!size)
            return std::nullopt;
        std::string buffer(
            static_cast<std::size_t>(std::min<std::uint64_t>(count, *size > offset ? *size - offset : 0)), '\0');
        if (!file.Read(offset, buffer))
            return std::nullopt;
        return buffer;
    }

    std::vector<WideString> FindFiles(const WideString& folder, const WideString& name) override
    {
        std::vector<WideString> result;
        std::error_code error;
        fs::recursive_directory_iterator it(PathOf(folder), fs::directory_options::skip_permission_denied, error);
        while (!error && it != fs::recursive_directory_iterator()) {
            std::error_code typeError;
            const fs::path& path = it->path();
            if (it->is_regular_file(typeError) && KwSameText(KwFromUtf8(path.filename().string()), name))
                result.push_back(KwFromUtf8(path.string()));
            it.increment(error);
        }
        return result;
    }

    std::optional<WideString> Environment(const WideString& name) override
    {
        const char* value = std::getenv(KwToUtf8(name).c_str());
        return value != nullptr ? std::optional(KwFromUtf8(value)) : std::nullopt;
    }

    WideString ExpandEnvironment(const WideString& text) override { return KwExpandPercentNames(*this, text); }

    std::uint32_t DefaultLocale() noexcept override
    {
        for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
            const char* value = std::getenv(variable);
            if (value == nullptr || *value == '\0')
                continue;
            const std::uint32_t locale = posix::LocaleOfName(value);
            return locale != 0 ? locale : defaultLocale;
        }
        return defaultLocale;
    }

    unsigned AnsiCodePage() noexcept override
    {
        static const unsigned codePage = ReadAnsiCodePage();
        return codePage;
    }

    WideString SystemMessage(std::int32_t code) override { return WideString(posix::SystemMessageOf(code)); }

    bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text) override
    {
        return posix::CodePageToWide(codePage, bytes, text);
    }

    bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy) override
    {
        return posix::WideToCodePage(codePage, text, bytes, lossy);
    }
};

} // namespace

IKwPlatform& KwSystemPlatform() noexcept
{
    // Never destroyed: a session that an application keeps in a global ends after all of the library's own statics.
    static TPosixPlatform& platform = *new TPosixPlatform;
    return platform;
}

} // namespace deftmapi

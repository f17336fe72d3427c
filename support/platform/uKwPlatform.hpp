// The one seam to the operating system: registry, modules, files, environment, locale, system texts, code pages.
// Everything above asks KwPlatform(); tests put their own in its place with TKwPlatformOverride.
#pragma once

#include "support/uKwExport.hpp"
#include "support/uKwText.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#ifdef FreeModule
#undef FreeModule // a macro of <windows.h>, which would rename the operation below
#endif

namespace deftmapi
{

enum class TKwRegistryRoot
{
    rrCurrentUser,
    rrLocalMachine
};

/// Which half of a 64-bit Windows registry: the process's own, or the other one.
enum class TKwRegistryView
{
    rvProcess,
    rvOther
};

/// A loaded module, opaque. Null is none.
using TKwModule = void*;

/// All operations are read-only but LoadModule and FreeModule. Thread-safe. File names use the platform's separators;
/// on POSIX they are UTF-8 underneath.
class DEFTMAPI_API IKwPlatform
{
public:
    virtual ~IKwPlatform() = default;

    // Registry. Keys have no leading backslash: the implementation removes it. On POSIX the registry is empty.
    [[nodiscard]] virtual bool RegistryKeyExists(TKwRegistryRoot root, TKwRegistryView view, const WideString& key) = 0;
    /// The text of a REG_SZ or REG_EXPAND_SZ value (not expanded), the decimal text of a REG_DWORD; empty valueName is
    /// the default value.
    [[nodiscard]] virtual std::optional<WideString>
    RegistryValue(TKwRegistryRoot root, TKwRegistryView view, const WideString& key, const WideString& valueName) = 0;
    /// Names of the sub-keys in the registry's order.
    [[nodiscard]] virtual std::vector<WideString> RegistrySubKeys(TKwRegistryRoot root, TKwRegistryView view,
                                                                  const WideString& key) = 0;

    // Modules.
    /// Loads a library; null when it cannot be loaded, with the platform's reason in `reason`.
    [[nodiscard]] virtual TKwModule LoadModule(const WideString& fileName, WideString& reason) = 0;
    virtual void FreeModule(TKwModule module) noexcept = 0;
    /// The address of an export, or null.
    [[nodiscard]] virtual void* FindExport(TKwModule module, const char* name) noexcept = 0;
    /// Full path of the module that contains the given address (for example a function of the library); empty when
    /// unknown.
    [[nodiscard]] virtual WideString ModuleFileNameOf(const void* address) = 0;
    /// True when a process of this kind runs 64-bit code.
    [[nodiscard]] virtual bool Is64BitProcess() const noexcept = 0;
    /// True on a Windows of the NT family, which keeps some settings under other keys than the older family.
    [[nodiscard]] virtual bool IsWindowsNT() const noexcept = 0;

    // Files.
    [[nodiscard]] virtual bool FileExists(const WideString& fileName) = 0;
    /// Up to `count` bytes at `offset`; fewer at the end; nothing when the file cannot be read.
    [[nodiscard]] virtual std::optional<std::string> ReadFile(const WideString& fileName, std::uint64_t offset,
                                                              std::size_t count) = 0;
    /// Full names of the files named `name` (without regard to case) in the folder and below it, depth first in
    /// directory order.
    [[nodiscard]] virtual std::vector<WideString> FindFiles(const WideString& folder, const WideString& name) = 0;

    // Environment and locale.
    [[nodiscard]] virtual std::optional<WideString> Environment(const WideString& name) = 0;
    /// Replaces each %NAME% that is set; others stay as they are.
    [[nodiscard]] virtual WideString ExpandEnvironment(const WideString& text) = 0;
    /// The user's default locale identifier (LCID); 0x0409 (1033) where there is none.
    [[nodiscard]] virtual std::uint32_t DefaultLocale() noexcept = 0;
    [[nodiscard]] virtual unsigned AnsiCodePage() noexcept = 0;

    /// The system's message text for a result code, without trailing line breaks; empty when it has none.
    /// On POSIX: the texts of our own table for the platform's general codes (HRESULTs of facility Win32 included),
    /// else empty.
    [[nodiscard]] virtual WideString SystemMessage(std::int32_t code) = 0;

    // Code pages that TKwEncoding does not convert itself. Return false when the code page is unknown; a malformed
    // sequence becomes U+FFFD, a character that the code page lacks '?' (and *lossy is set, when given).
    [[nodiscard]] virtual bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text) = 0;
    [[nodiscard]] virtual bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy) = 0;
};

/// The platform in use: the system's own unless a test has put another in its place.
[[nodiscard]] DEFTMAPI_API IKwPlatform& KwPlatform() noexcept;
/// The system's own platform, whatever is in use.
[[nodiscard]] DEFTMAPI_API IKwPlatform& KwSystemPlatform() noexcept;

/// Puts a platform in place for the life of this object. Not nested across threads. The platform must outlive it.
class DEFTMAPI_API TKwPlatformOverride
{
public:
    explicit TKwPlatformOverride(IKwPlatform& platform) noexcept;
    ~TKwPlatformOverride();
    TKwPlatformOverride(const TKwPlatformOverride&) = delete;
    TKwPlatformOverride& operator=(const TKwPlatformOverride&) = delete;

private:
    IKwPlatform* FPrevious;
};

/// What a module file says about itself, read from its bytes.
struct TKwModuleInfo
{
    enum class Format
    {
        None,
        PE,
        ELF
    };
    Format FileFormat = Format::None;
    bool Is64Bit = false;
    std::uint16_t Machine = 0; ///< the machine field of the PE or ELF header
    std::vector<std::string> Exports;

    [[nodiscard]] bool HasExport(std::string_view name) const noexcept;
};

/// Reads the machine type and the export table of a PE or ELF file through KwPlatform().ReadFile. Damaged or foreign
/// files give Format::None or an empty export list; reading is bounded by the file's size.
[[nodiscard]] DEFTMAPI_API TKwModuleInfo KwReadModuleInfo(const WideString& fileName);

} // namespace deftmapi

// TTestPlatform: a platform in memory. Registry, files, environment, locale, texts and modules are what the test puts
// there; nothing reaches the machine but the code pages, which are the system's own. Not thread-safe while it is being
// filled.
#pragma once

#include "support/platform/PlatformCommon.hpp"

#include <atomic>
#include <functional>
#include <map>
#include <utility>

namespace deftmapi::test
{

/// A module that LoadModule finds under its file name.
struct TFakeModule
{
    std::map<std::string, void*, std::less<>> Exports;
    WideString Refusal; ///< when not empty, loading fails with this reason
    std::atomic<int> Loads{0};
    std::atomic<int> Frees{0};

    /// Loads not yet freed.
    [[nodiscard]] int Open() const noexcept { return Loads - Frees; }
    template <typename Function>
    void Export(std::string name, Function* function)
    {
        Exports[std::move(name)] = reinterpret_cast<void*>(function);
    }
};

class TTestPlatform : public IKwPlatform
{
public:
    using TValues = std::map<WideString, WideString>;

    // What the test sets up. All names are compared without regard to case, registry keys without a leading backslash.
    /// Creates the key with all its parents.
    void AddKey(TKwRegistryRoot root, const WideString& key, TKwRegistryView view = TKwRegistryView::rvProcess)
    {
        static_cast<void>(KeyFor(root, view, key));
    }
    void SetValue(TKwRegistryRoot root, const WideString& key, const WideString& name, const WideString& value,
                  TKwRegistryView view = TKwRegistryView::rvProcess)
    {
        KeyFor(root, view, key).Values[KwUpperCase(name)] = value;
    }
    void SetFile(const WideString& fileName, std::string content) { Files[fileName] = std::move(content); }
    void SetEnvironment(const WideString& name, const WideString& value) { FEnvironment[KwUpperCase(name)] = value; }
    void ClearEnvironment(const WideString& name) { FEnvironment.erase(KwUpperCase(name)); }
    /// The module stays alive as long as the platform. Adding a name again gives the module that is there.
    TFakeModule& AddModule(const WideString& fileName) { return Modules[KwUpperCase(fileName)]; }
    /// Loads minus frees of all modules.
    [[nodiscard]] int OpenModules() const noexcept
    {
        int result = 0;
        for (const auto& [name, module] : Modules)
            result += module.Open();
        return result;
    }

    bool Process64Bit = true;
    bool WindowsNT = true;
    std::uint32_t Locale = 0x0409;
    unsigned CodePage = 1252;
    WideString OwnModuleFileName; ///< the answer of ModuleFileNameOf for every address
    std::map<std::int32_t, WideString> Messages;
    /// Called at the start of every LoadModule with the file name: for counting and for faults of the test's own.
    std::function<void(const WideString&)> OnLoad;
    std::map<WideString, std::string> Files; ///< in the order in which FindFiles reports them

    // IKwPlatform
    bool RegistryKeyExists(TKwRegistryRoot root, TKwRegistryView view, const WideString& key) override
    {
        return FindKey(root, view, key) != nullptr;
    }
    std::optional<WideString> RegistryValue(TKwRegistryRoot root, TKwRegistryView view, const WideString& key,
                                            const WideString& valueName) override
    {
        const TKey* found = FindKey(root, view, key);
        if (found == nullptr)
            return std::nullopt;
        const auto value = found->Values.find(KwUpperCase(valueName));
        return value != found->Values.end() ? std::optional(value->second) : std::nullopt;
    }
    std::vector<WideString> RegistrySubKeys(TKwRegistryRoot root, TKwRegistryView view, const WideString& key) override
    {
        const TKey* found = FindKey(root, view, key);
        return found != nullptr ? found->SubKeys : std::vector<WideString>();
    }

    TKwModule LoadModule(const WideString& fileName, WideString& reason) override
    {
        if (OnLoad)
            OnLoad(fileName);
        const auto found = Modules.find(KwUpperCase(fileName));
        reason = found == Modules.end() ? u"The module was not found." : found->second.Refusal;
        if (found == Modules.end() || !found->second.Refusal.empty())
            return nullptr;
        ++found->second.Loads;
        return &found->second;
    }
    void FreeModule(TKwModule module) noexcept override
    {
        if (module != nullptr)
            ++static_cast<TFakeModule*>(module)->Frees;
    }
    void* FindExport(TKwModule module, const char* name) noexcept override
    {
        if (module == nullptr)
            return nullptr;
        const auto& exports = static_cast<TFakeModule*>(module)->Exports;
        const auto found = exports.find(name);
        return found != exports.end() ? found->second : nullptr;
    }
    WideString ModuleFileNameOf(const void*) override { return OwnModuleFileName; }
    bool Is64BitProcess() const noexcept override { return Process64Bit; }
    bool IsWindowsNT() const noexcept override { return WindowsNT; }

    bool FileExists(const WideString& fileName) override { return FindFile(fileName) != nullptr; }
    std::optional<std::string> ReadFile(const WideString& fileName, std::uint64_t offset, std::size_t count) override
    {
        const std::string* content = FindFile(fileName);
        if (content == nullptr)
            return std::nullopt;
        return offset < content->size() ? content->substr(static_cast<std::size_t>(offset), count) : std::string();
    }
    std::vector<WideString> FindFiles(const WideString& folder, const WideString& name) override
    {
        WideString prefix = folder;
        if (!prefix.empty() && !IsSeparator(prefix.back()))
            prefix.push_back(prefix.find(u'\\') != WideString::npos ? u'\\' : u'/');
        std::vector<WideString> result;
        for (const auto& [fileName, content] : Files) {
            const std::size_t separator = fileName.find_last_of(u"\\/");
            const bool below = KwUpperCase(fileName).compare(0, prefix.size(), KwUpperCase(prefix)) == 0;
            if (below && separator != WideString::npos && KwSameText(WideView(fileName).substr(separator + 1), name))
                result.push_back(fileName);
        }
        return result;
    }

    std::optional<WideString> Environment(const WideString& name) override
    {
        const auto found = FEnvironment.find(KwUpperCase(name));
        return found != FEnvironment.end() ? std::optional(found->second) : std::nullopt;
    }
    WideString ExpandEnvironment(const WideString& text) override { return KwExpandPercentNames(*this, text); }
    std::uint32_t DefaultLocale() noexcept override { return Locale; }
    unsigned AnsiCodePage() noexcept override { return CodePage; }

    WideString SystemMessage(std::int32_t code) override
    {
        const auto found = Messages.find(code);
        return found != Messages.end() ? found->second : WideString();
    }

    bool CodePageToWide(unsigned codePage, std::string_view bytes, WideString& text) override
    {
        return KwSystemPlatform().CodePageToWide(codePage, bytes, text);
    }
    bool WideToCodePage(unsigned codePage, WideView text, std::string& bytes, bool* lossy) override
    {
        return KwSystemPlatform().WideToCodePage(codePage, text, bytes, lossy);
    }

private:
    struct TKey
    {
        TValues Values; // by upper-case name
        std::vector<WideString> SubKeys;
    };
    using TKeys = std::map<WideString, TKey>; // by upper-case path

    static bool IsSeparator(char16_t c) noexcept { return c == u'\\' || c == u'/'; }
    static WideString Path(const WideString& key)
    {
        WideView path = key;
        while (!path.empty() && path.front() == u'\\')
            path.remove_prefix(1);
        while (!path.empty() && path.back() == u'\\')
            path.remove_suffix(1);
        return WideString(path);
    }
    TKey& KeyFor(TKwRegistryRoot root, TKwRegistryView view, const WideString& key)
    {
        const WideString path = Path(key);
        TKeys& keys = FRegistry[{root, view}];
        const auto found = keys.find(KwUpperCase(path));
        if (found != keys.end())
            return found->second;
        if (!path.empty()) {
            const std::size_t separator = path.rfind(u'\\');
            TKey& parent = KeyFor(root, view, separator == WideString::npos ? WideString() : path.substr(0, separator));
            parent.SubKeys.push_back(path.substr(separator + 1)); // npos + 1 is 0: the whole path
        }
        return keys[KwUpperCase(path)];
    }
    [[nodiscard]] const TKey* FindKey(TKwRegistryRoot root, TKwRegistryView view, const WideString& key) const
    {
        const auto keys = FRegistry.find({root, view});
        if (keys == FRegistry.end())
            return nullptr;
        const auto found = keys->second.find(KwUpperCase(Path(key)));
        return found != keys->second.end() ? &found->second : nullptr;
    }
    [[nodiscard]] const std::string* FindFile(const WideString& fileName) const
    {
        for (const auto& [name, content] : Files)
            if (KwSameText(name, fileName))
                return &content;
        return nullptr;
    }

    std::map<std::pair<TKwRegistryRoot, TKwRegistryView>, TKeys> FRegistry;
    std::map<WideString, WideString> FEnvironment;
    std::map<WideString, TFakeModule> Modules;
};

} // namespace deftmapi::test

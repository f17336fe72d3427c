#include "client/session/DataFolder.hpp"

#include "client/entry/Guard.hpp"
#include "support/platform/uKwPlatform.hpp"

#ifndef _WIN32
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#endif

namespace deftmapi::client
{
namespace
{

constexpr auto sNoFolder = u"There is no folder for the data: set DEFTMAPI_HOME.";

/// The value of a variable that is set and not empty, else an empty path.
std::filesystem::path Variable(const char16_t* name)
{
    const auto value = KwPlatform().Environment(name);
    return value ? std::filesystem::path(*value) : std::filesystem::path();
}

std::filesystem::path Named()
{
    if (const auto home = Variable(u"DEFTMAPI_HOME"); !home.empty())
        return home;
#ifdef _WIN32
    if (const auto data = Variable(u"LOCALAPPDATA"); !data.empty())
        return data / "DeftMAPI";
#else
    // A relative XDG_DATA_HOME is invalid by its definition and ignored.
    if (const auto data = Variable(u"XDG_DATA_HOME"); data.is_absolute())
        return data / "deftmapi";
    if (const auto user = Variable(u"HOME"); !user.empty())
        return user / ".local" / "share" / "deftmapi";
#endif
    Fail(mapi::MAPI_E_UNCONFIGURED, sNoFolder);
}

} // namespace

std::filesystem::path DataFolder()
{
    const std::filesystem::path folder = std::filesystem::absolute(Named());
    MakePrivateFolder(folder);
    return folder;
}

void MakePrivateFolder(const std::filesystem::path& folder)
{
    if (folder.empty() || std::filesystem::is_directory(folder))
        return;
    if (folder.has_parent_path() && folder.parent_path() != folder)
        MakePrivateFolder(folder.parent_path());
    if (std::filesystem::create_directory(folder))
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
}

const std::filesystem::path& MakePrivateFile(const std::filesystem::path& file)
{
#ifndef _WIN32
    // In one step, so that there is no moment in which others could open it.
    const int made = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (made >= 0)
        ::close(made);
#endif
    return file;
}

void SyncFolder([[maybe_unused]] const std::filesystem::path& folder)
{
#ifndef _WIN32
    const int file = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = file >= 0 && ::fsync(file) == 0;
    const int error = errno;
    if (file >= 0)
        ::close(file);
    // Some file systems cannot sync a folder and say so; what they keep is then up to them.
    if (!synced && error != EINVAL)
        throw std::system_error(error, std::generic_category(), folder.string());
#endif
}

} // namespace deftmapi::client

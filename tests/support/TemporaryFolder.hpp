#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace deftmapi::test
{

/// A folder that goes with the object. Tests run side by side, and in a sanitizer's build an object has the same
/// address in each of them: a folder is this one's only when this call has made it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::random_device random;
        do
            FPath = std::filesystem::temp_directory_path() / ("deftmapi-test-" + std::to_string(random()));
        while (!std::filesystem::create_directory(FPath));
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(FPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    [[nodiscard]] const std::filesystem::path& Path() const { return FPath; }
    /// Writes a file and returns its path; folders on the way to it are made.
    std::filesystem::path Write(const std::filesystem::path& name, const std::string& content) const
    {
        const std::filesystem::path file = FPath / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        EXPECT_TRUE(out << content << std::flush) << file;
        return file;
    }

private:
    std::filesystem::path FPath;
};

} // namespace deftmapi::test

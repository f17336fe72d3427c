// main for fuzz targets that are built without a fuzzer: runs every file of the folders (and files) given, in order of
// name. It fails when there is nothing to run, so that a moved folder does not pass for a clean one.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace
{

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

bool Run(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        std::fprintf(stderr, "cannot read %s\n", file.string().c_str());
        return false;
    }
    const std::string content((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    // Named before it runs: when it crashes, the last line tells the culprit.
    std::printf("%s (%zu bytes)\n", file.string().c_str(), content.size());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        std::size_t count = 0;
        bool good = true;
        for (int i = 1; i < argc; ++i)
            for (const fs::path& file : FilesOf(argv[i])) {
                good = Run(file) && good;
                ++count;
            }
        if (count == 0)
            std::fprintf(stderr, "nothing to replay\n");
        return good && count > 0 ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}

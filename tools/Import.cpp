// deftmapi import: message files into a folder. One bad file does not stop the others; nothing of it is saved.
#include "Command.hpp"
#include "Values.hpp"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>

namespace deftmapi::tool
{

namespace
{

struct Arguments
{
    std::string Path;
    std::vector<std::string> Files;
};

/// The files given, and of each folder given the .eml files in it and below it, in the order of their names.
std::vector<std::string> FilesOf(const std::vector<std::string>& given)
{
    namespace fs = std::filesystem;
    std::vector<std::string> files;
    for (const std::string& name : given) {
        if (!fs::is_directory(name)) {
            files.push_back(name);
            continue;
        }
        std::vector<std::string> inside;
        for (const auto& entry : fs::recursive_directory_iterator(name, fs::directory_options::skip_permission_denied))
            if (entry.is_regular_file() && KwSameText(KwFromUtf8(entry.path().extension().string()), u".eml"))
                inside.push_back(entry.path().string());
        if (inside.empty())
            throw UsageError("there are no .eml files in " + name);
        std::sort(inside.begin(), inside.end());
        files.insert(files.end(), inside.begin(), inside.end());
    }
    return files;
}

/// One line on a terminal that is written over; nothing elsewhere.
class Progress
{
public:
    void Show(std::size_t done, std::size_t all, const std::string& file) const
    {
        if (FTerminal)
            std::cerr << "\r\x1b[K" << fmt::format("{}/{} {}", done, all, FitTo(file, 60)) << std::flush;
    }
    void Clear() const
    {
        if (FTerminal)
            std::cerr << "\r\x1b[K" << std::flush;
    }

private:
    bool FTerminal = isatty(STDERR_FILENO) != 0;
};

void Import(Context& context, const Arguments& arguments)
{
    const auto files = FilesOf(arguments.Files);
    const auto folder = context.Folder(arguments.Path, alReadWrite);
    const Progress progress;
    Json document = Json::array();
    std::size_t failed = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        progress.Show(i + 1, files.size(), files[i]);
        try {
            const auto message = folder->ImportMessage(KwFromUtf8(files[i]));
            document.push_back({{"file", files[i]}, {"id", IDText(message->Get_EntryID())}});
            if (!context.Options.Json) {
                progress.Clear();
                fmt::print("{}  {}\n", document.back()["id"].get<std::string>(), files[i]);
            }
        } catch (const EKwException& e) {
            ++failed;
            document.push_back({{"file", files[i]}, {"error", OneLine(e.what())}});
            progress.Clear();
            std::cerr << "deftmapi: " << files[i] << ": " << OneLine(e.what()) << '\n';
        }
    }
    progress.Clear();
    if (context.Options.Json)
        PrintJson(document);
    else if (files.size() > 1)
        fmt::print("{} of {} imported\n", files.size() - failed, files.size());
    if (failed > 0)
        throw ExitWith{exitFailure};
}

} // namespace

void AddImport(const Command& app, Context& context)
{
    const auto arguments = std::make_shared<Arguments>();
    const Command command =
        app.AddCommand("import", "message files (.eml) into a folder; prints the new entry identifiers");
    command.AddOption("PATH", arguments->Path, "the folder").Required();
    command.AddOption("FILE", arguments->Files, "files, or folders with .eml files").Required();
    command.OnRun([&context, arguments] { Import(context, *arguments); });
}

} // namespace deftmapi::tool

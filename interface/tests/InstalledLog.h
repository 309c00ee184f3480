#ifndef INTERFACE_TESTS_INSTALLEDLOG_H
#define INTERFACE_TESTS_INSTALLEDLOG_H

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

/** What an action adds to the installation's own log, beside the library that writes it. */
[[nodiscard]] inline std::string addedToInstalledLog(const std::function<void()> &action)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(GetModuleHandleW(L"Corvane.dll"), path, MAX_PATH);
    const std::filesystem::path log = std::filesystem::path(path).replace_filename(L"addon.log");
    // A file that is full would be put aside and begun anew; that of an earlier run may be.
    std::error_code error;
    std::filesystem::remove(log, error);
    const auto nBefore = std::filesystem::exists(log) ? std::filesystem::file_size(log) : 0;
    action();
    std::ifstream file(log, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(nBefore));
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

#endif

#ifndef BASE_TESTS_TEMPORARYFOLDER_H
#define BASE_TESTS_TEMPORARYFOLDER_H

#include <process.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

/** A folder of its own that goes with the object; the name is made one that no other process uses. */
class TemporaryFolder
{
public:
    explicit TemporaryFolder(const std::wstring &name)
        : m_path(std::filesystem::temp_directory_path() / (name + L' ' + std::to_wstring(_getpid())))
    {
        std::filesystem::remove_all(m_path);
        std::filesystem::create_directories(m_path);
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    [[nodiscard]] std::wstring path(const std::wstring &file) const
    {
        return (m_path / file).wstring();
    }
    [[nodiscard]] std::string utf8(const std::wstring &file) const
    {
        return (m_path / file).u8string();
    }
    [[nodiscard]] bool exists(const std::wstring &file) const
    {
        return std::filesystem::exists(m_path / file);
    }
    [[nodiscard]] std::string read(const std::wstring &file) const
    {
        std::ifstream stream(m_path / file, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }
    void write(const std::wstring &file, const std::string &text) const
    {
        std::ofstream(m_path / file, std::ios::binary) << text;
    }

private:
    std::filesystem::path m_path;
};

#endif

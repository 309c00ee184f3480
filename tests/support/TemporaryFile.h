#ifndef TESTS_SUPPORT_TEMPORARYFILE_H
#define TESTS_SUPPORT_TEMPORARYFILE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>

namespace testsupport
{

/**
 * The name of a file of this object's own, in the folder for temporary ones; the file goes with the object.
 *
 * The same test runs in several builds at once, which share that folder: each must have another name.
 */
class TemporaryFile
{
public:
    /** name, in UTF-8, is the end of the file's name. */
    explicit TemporaryFile(const std::string &name)
        : m_path(testing::TempDir() + std::to_string(std::random_device()()) + "-" + name)
    {
    }
    ~TemporaryFile()
    {
        std::error_code ignored;
        std::filesystem::remove(std::filesystem::u8path(m_path), ignored);
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    /** In UTF-8. */
    [[nodiscard]] const std::string &path() const
    {
        return m_path;
    }

    /** Adds to its end any container of bytes that lie one after the other. */
    template <class Bytes>
    void append(const Bytes &bytes) const
    {
        std::ofstream file(std::filesystem::u8path(m_path), std::ios::binary | std::ios::app);
        file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        ASSERT_TRUE(file.good()) << m_path;
    }

private:
    std::string m_path;
};

} // namespace testsupport

#endif

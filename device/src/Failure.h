#ifndef DEVICE_FAILURE_H
#define DEVICE_FAILURE_H

#include <exception>

namespace selvik
{

/**
 * Why a preview cannot start or cannot go on: one of the SELVIK_ERROR_ codes. It carries no text, so that no address
 * and no password can travel in one.
 */
class Failure : public std::exception
{
public:
    explicit Failure(unsigned long error) : m_error(error) {}

    [[nodiscard]] unsigned long error() const
    {
        return m_error;
    }
    [[nodiscard]] const char *what() const noexcept override
    {
        return "device failure";
    }

private:
    unsigned long m_error;
};

/** The preview was told to stop while it waited. */
class Stopped : public std::exception
{
public:
    [[nodiscard]] const char *what() const noexcept override
    {
        return "stopped";
    }
};

} // namespace selvik

#endif

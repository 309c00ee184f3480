#include "logging/LogException.h"

#include <exception>

namespace pellora
{

void logException(const LogLocation &where) noexcept
{
    try {
        throw;
    } catch (const std::exception &exception) {
        logError(where, "exception: %s", exception.what());
    } catch (...) {
        logError(where, "exception: an unknown exception");
    }
}

} // namespace pellora

#include "base/src/base/LogException.h"

#include "base/CLog.h"

#include <log4cxx/spi/location/locationinfo.h>

#include <exception>
#include <string>

namespace Base
{

namespace
{

std::string currentText()
{
    try {
        throw;
    } catch (const std::exception &exception) {
        return std::string("exception: ") + exception.what();
    } catch (...) {
        return "exception: an unknown exception";
    }
}

} // namespace

void logException(const char *pFile, const char *pFunction) noexcept
{
    try {
        const log4cxx::spi::LocationInfo location(pFile, pFile, pFunction, 0);
        CLog::getInstance()->Error(currentText(), std::string(), location);
    } catch (...) {
        // Not even memory for a line about it.
        return;
    }
}

} // namespace Base

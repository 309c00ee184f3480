#ifndef BASE_LOGEXCEPTION_H
#define BASE_LOGEXCEPTION_H

namespace Base
{

/**
 * Inside a catch block: writes what was thrown as an error line with this place.
 *
 * For code that Windows or Qt calls, neither of which knows exceptions. Threads: any.
 */
void logException(const char *pFile, const char *pFunction) noexcept;

} // namespace Base

#endif

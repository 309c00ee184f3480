#ifndef BASE_CORVANE_SCOPEDENVIRONMENT_H
#define BASE_CORVANE_SCOPEDENVIRONMENT_H

#include <QByteArray>

#include <initializer_list>
#include <utility>
#include <vector>

namespace corvane
{

/** Takes variables out of the process's environment and puts them back at the end of its life. One thread at a time. */
class ScopedEnvironment
{
public:
    ScopedEnvironment(std::initializer_list<const char *> names)
    {
        for (const char *name : names) {
            if (qEnvironmentVariableIsSet(name)) {
                m_saved.emplace_back(name, qgetenv(name));
                qunsetenv(name);
            }
        }
    }
    ~ScopedEnvironment()
    {
        for (const auto &[name, value] : m_saved) {
            qputenv(name, value);
        }
    }
    ScopedEnvironment(const ScopedEnvironment &) = delete;
    ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;

private:
    std::vector<std::pair<const char *, QByteArray>> m_saved;
};

} // namespace corvane

#endif

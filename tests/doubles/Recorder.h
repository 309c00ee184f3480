#ifndef TESTS_DOUBLES_RECORDER_H
#define TESTS_DOUBLES_RECORDER_H

#include "tests/doubles/DoubleControl.h"

#include <string>

/** What the doubles share: the call list, the scripts, and the ports and previews with their callbacks. */
namespace doubles
{

/** Writes the call down, runs its hook and returns the error that its script tells. */
DOUBLES_API unsigned long recordCall(const std::string &function, const std::string &arguments);

// Last errors, per calling thread.
DOUBLES_API void setLastError(long port, unsigned long error);
[[nodiscard]] DOUBLES_API unsigned long lastError(long port);

// Ports.
[[nodiscard]] DOUBLES_API long takePort();
[[nodiscard]] DOUBLES_API bool isOpenPort(long port);
/** Waits for a running callback of the port. */
DOUBLES_API void freePort(long port);

/** What a port was opened as. */
enum class PortKind { Unopened, Stream, File };
DOUBLES_API void setPortKind(long port, PortKind kind);
[[nodiscard]] DOUBLES_API PortKind portKind(long port);

struct PortCallbacks {
    KAVUN_PORT_CALLBACK fileEnd = nullptr;
    void *fileEndUser = nullptr;
    KAVUN_PORT_CALLBACK fileRef = nullptr;
    void *fileRefUser = nullptr;
    KAVUN_DRAW_CALLBACK draw = nullptr;
    void *drawUser = nullptr;
};
/** Exchanges callbacks of an open port; waits for a running one, except inside it. */
DOUBLES_API void changeCallbacks(long port, const std::function<void(PortCallbacks &)> &change);

[[nodiscard]] DOUBLES_API PlayerOutputs playerOutputs();

[[nodiscard]] DOUBLES_API long takeLogin();

// Spelling of arguments.
[[nodiscard]] DOUBLES_API std::string spell(const void *pointer);
[[nodiscard]] DOUBLES_API std::string spellText(const char *text);
[[nodiscard]] DOUBLES_API std::string spellBytes(const unsigned char *bytes, unsigned long size);
[[nodiscard]] DOUBLES_API std::string spellOut(const void *pointer);

/** Joins numbers and spelled texts with ", ". */
template <typename... Arguments>
[[nodiscard]] std::string joined(const Arguments &...arguments)
{
    std::string text;
    const auto append = [&text](const auto &argument) {
        if (!text.empty()) {
            text += ", ";
        }
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(argument)>>) {
            text += std::to_string(argument);
        } else {
            text += argument;
        }
    };
    (append(arguments), ...);
    return text;
}

} // namespace doubles

#endif

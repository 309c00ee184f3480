#ifndef TESTS_DOUBLES_DOUBLECONTROL_H
#define TESTS_DOUBLES_DOUBLECONTROL_H

#include "Kavun.h"
#include "Selvikdcm.h"

#include <functional>
#include <string>
#include <vector>

#if defined(DOUBLES_BUILD)
#define DOUBLES_API __declspec(dllexport)
#else
#define DOUBLES_API __declspec(dllimport)
#endif

/**
 * Control of the recording doubles of Drovel.dll and Selvikdcm.dll.
 *
 * Both doubles write every call into one list, in the order of their beginning, as text: "Kavun_Play(0, 0x10042)".
 * Numbers are decimal, pointers and handles hexadecimal or "null"; a text is quoted; bytes that are handed in are
 * spelled as [0A0B]; records are in braces; a pointer to a result is "out".
 *
 * A double does nothing of its own: it hands out port, log-in and preview numbers that count up from 0, keeps
 * callbacks, and answers as told. A call on a port that is not open fails with error 1, as the player's would.
 *
 * Threads: any.
 */
namespace doubles
{

struct Call {
    std::string text;
    unsigned long threadId;
};

/** What the player answers while its call succeeds. */
struct PlayerOutputs {
    long width = 704;
    long height = 576;
    unsigned long playedTime = 0;
    unsigned long fileTime = 0;
    unsigned short volume = 0xFFFF;
    KAVUN_SYSTEM_TIME first = {};
    KAVUN_SYSTEM_TIME last = {};
    KAVUN_SYSTEM_TIME now = {};
    std::string jpeg = "jpeg";
};

/** Forgets calls, scripts, hooks, ports and previews; numbers start at 0 again. */
DOUBLES_API void reset();

// ---- what was called ----

[[nodiscard]] DOUBLES_API std::vector<Call> calls();
[[nodiscard]] DOUBLES_API std::vector<std::string> callTexts();
DOUBLES_API void clearCalls();
/** Ports that were taken and not freed. */
[[nodiscard]] DOUBLES_API std::vector<long> openPorts();
/** Previews that were started and not stopped. */
[[nodiscard]] DOUBLES_API std::vector<long> openPreviews();

// ---- what is answered ----

/**
 * Last errors of the next calls of a function, in order; 0 succeeds. Later calls answer `afterwards`.
 * script("Kavun_OpenFile", {0, 4}) fails the second call from now with 4.
 */
DOUBLES_API void script(const std::string &function, std::vector<unsigned long> errors, unsigned long afterwards = 0);
DOUBLES_API void setPlayerOutputs(const PlayerOutputs &outputs);
/** Runs inside each call of a function, on the caller's thread, after it was recorded; null ends it. */
DOUBLES_API void whenCalled(const std::string &function, std::function<void()> action);

// ---- what comes back ----
// Each runs the callback that is set now on a thread of its own and returns when it has ended; false without one.
// As with the real libraries, the calls that exchange a callback or stop a preview wait while it runs.

DOUBLES_API bool fireFileEnd(long port);
DOUBLES_API bool fireFileRef(long port);
DOUBLES_API bool fireDraw(long port, HDC dc);
DOUBLES_API bool sendStream(long previewHandle, unsigned int type, const std::string &bytes);

} // namespace doubles

#endif

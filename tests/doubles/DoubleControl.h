#ifndef TESTS_DOUBLES_DOUBLECONTROL_H
#define TESTS_DOUBLES_DOUBLECONTROL_H

#include "Kavun.h"
#include "Selvikdcm.h"

#include <cstddef>
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
 * callbacks, and answers as told. As the player's, a call on a port that does not exist fails with error 1, and one
 * that closes a stream as a file, or a file as a stream, with error 2.
 *
 * Threads: any.
 */
namespace doubles
{

struct Call {
    std::string text;
    unsigned long threadId;
};

/** What a start of a preview was given. */
struct StartRequest {
    long userID;
    std::string bytes; /**< the record as it was in memory */
    bool bUrl;
    std::string url; /**< a copy, made during the call */
    unsigned long threadId;
};

/** How previews send by themselves, each on a thread of its own, from their start to their stop. */
struct Traffic {
    std::string header = "header";
    std::string data = "data";
    /** A new header after this many records of data, as after a reconnection; 0: none. */
    unsigned int recordsPerHeader = 0;
    /** The time between two records is 1 to this many milliseconds; 0: none. */
    unsigned int longestPause = 0;
    /** A start returns 0 to this many milliseconds after it has begun to send. */
    unsigned int longestStart = 0;
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

/**
 * Forgets calls, scripts, hooks, ports and previews, lets held calls go on, and ends every stream. Ports and log-ins
 * start at 0 again; previews do not, since a handle is never handed out twice.
 */
DOUBLES_API void reset();

// ---- what was called ----

[[nodiscard]] DOUBLES_API std::vector<Call> calls();
[[nodiscard]] DOUBLES_API std::vector<std::string> callTexts();
DOUBLES_API void clearCalls();
/** Ports that were taken and not freed. */
[[nodiscard]] DOUBLES_API std::vector<long> openPorts();
/** Previews that were started and not stopped. */
[[nodiscard]] DOUBLES_API std::vector<long> openPreviews();
/** How many starts of previews succeeded, since the last reset(). */
[[nodiscard]] DOUBLES_API std::size_t startedPreviews();
/** How many previews were stopped, since the last reset(). */
[[nodiscard]] DOUBLES_API std::size_t stoppedPreviews();
/** Requests of the starts, in the order of their beginning. */
[[nodiscard]] DOUBLES_API std::vector<StartRequest> startRequests();

// ---- what is answered ----

/**
 * Last errors of the next calls of a function, in order; 0 succeeds. Later calls answer `afterwards`.
 * script("Kavun_OpenFile", {0, 4}) fails the second call from now with 4.
 */
DOUBLES_API void script(const std::string &function, std::vector<unsigned long> errors, unsigned long afterwards = 0);
DOUBLES_API void setPlayerOutputs(const PlayerOutputs &outputs);
/** Runs inside each call of a function, on the caller's thread, after it was recorded; null ends it. */
DOUBLES_API void whenCalled(const std::string &function, std::function<void()> action);

// ---- when it is answered ----

/** From now on each call of a function waits, after it was recorded, until it is let through. */
DOUBLES_API void hold(const std::string &function);
[[nodiscard]] DOUBLES_API std::size_t heldCalls(const std::string &function);
/** Lets one of the calls that wait go on, 0 the oldest; the function's later calls wait. False without such a call. */
DOUBLES_API bool letThrough(const std::string &function, std::size_t position = 0);
/** Lets all calls that wait go on, and later ones pass; without a function those of every function. */
DOUBLES_API void letAllThrough(const std::string &function = std::string());
/**
 * From now on one call in three takes 1 to this many milliseconds, so that calls end in another order than they began;
 * 0 ends it.
 */
DOUBLES_API void delayCalls(unsigned int seed, unsigned int longest);
/** A number from 0 to `most`, from the seed that delayCalls was given. */
[[nodiscard]] DOUBLES_API unsigned int chance(unsigned int most);

/**
 * What the next starts answer, in order; a negative number is the answer of one that fails, by the script or without.
 * Otherwise a failed start answers -1, and the others count up.
 */
DOUBLES_API void answerStarts(std::vector<long> handles);
/** Runs inside each start that succeeds, on the caller's thread: its data may come from here on. Null ends it. */
DOUBLES_API void whenStarted(std::function<void(long previewHandle)> action);
/** Previews that are started from now on send by themselves; null: they do not. */
DOUBLES_API void setTraffic(const Traffic *traffic);
/** Threads of previews that send by themselves; one ends soon after its preview was stopped. */
[[nodiscard]] DOUBLES_API int runningStreams();

// ---- what comes back ----
// Each runs the callback that is set now on a thread of its own and returns when it has ended; false without one.
// As with the real libraries, the calls that exchange a callback or stop a preview wait while it runs: each port's, and
// each preview's, for its own callbacks only.

DOUBLES_API bool fireFileEnd(long port);
DOUBLES_API bool fireFileRef(long port);
DOUBLES_API bool fireDraw(long port, HDC dc);
DOUBLES_API bool sendStream(long previewHandle, unsigned int type, const std::string &bytes);
/** The preview whose callback is running on this thread; -1 outside of callbacks. */
[[nodiscard]] DOUBLES_API long currentPreview();
/** As a library would that calls back after the stop, or with a user of its own: the callback is called in any case. */
DOUBLES_API void callBack(const StartRequest &request, long previewHandle, const SELVIK_DCM_STREAM_DATA *data);

} // namespace doubles

#endif

#ifndef INTERFACE_TESTS_EVERYEXPORT_H
#define INTERFACE_TESTS_EVERYEXPORT_H

#include <windows.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/** What a call is made on. */
struct CallTarget {
    HWND hHost = nullptr;
    long lHandle = -1;
};

/** One exported function with arguments that do no harm, as a row. */
struct ExportCall {
    const char *name; /**< without the prefix */
    std::function<long(const CallTarget &)> run;
    /** The answer about the window that setScene() has made. */
    long lPlaying;
    /** The answer on the wrong thread and, of functions that take a handle, where it names no window. */
    long lRefused = 0;
    bool bTakesHandle = true;
};

void PrintTo(const ExportCall &call, std::ostream *pStream);

/** Each of the exported functions once, in the order of the header. */
[[nodiscard]] const std::vector<ExportCall> &everyExport();
/** Those without PELLORA_Init and PELLORA_Fini. */
[[nodiscard]] std::vector<ExportCall> everyExportBetween();
[[nodiscard]] const ExportCall &exportNamed(const std::string &name);

/**
 * Makes of a new window one that everyExport() is meant for: its current pane plays a file over the doubles with the
 * overlay open, and has a line with arrows as its rule 0.
 */
void setScene(const CallTarget &target);

#endif

#include "hosts/demo/options.h"

#include <windows.h>

#include <shellapi.h>

#include <stdio.h>
#include <stdlib.h>

static const char help[] =
    "PelloraDemo [option...] FILE...      plays up to nine files\n"
    "\n"
    "  --split N        panes: 1, 4 or 9 (default: as many as there are files)\n"
    "  --size WxH       client area in pixels (default: 1280x760)\n"
    "  --once           do not start files over at their end\n"
    "  --rules          put a rule of each type on the pictures, and print what the mouse does to them\n"
    "  --seconds N      end by itself after N seconds\n"
    "  --library PATH   Pellora.dll (default: beside this program)\n"
    "  --help           this text\n"
    "\n"
    "With the mouse: click a pane to select it, double-click to show it alone and again to come back.\n"
    "The keys act on the selected pane:\n"
    "\n"
    "  space            pause, go on                +  -        faster, slower\n"
    "  left, right      5 seconds back, on          N           play, after the end too\n"
    "  down, up         one picture on, back        home        to the beginning\n"
    "  1  4  9          panes                       F, esc      full screen, back\n"
    "  C                save a capture              R           loop on, off (all panes)\n"
    "  Q                quit\n"
    "\n"
    "With --rules:\n"
    "\n"
    "  Ctrl+1 .. Ctrl+9, Ctrl+0     draw a new rule of type 1 to 9, 10 with the mouse\n";

/** A wide text as UTF-8, which the library's paths are in. The caller frees it. */
static char *utf8_of(const wchar_t *text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, NULL, 0, NULL, NULL);
    char *result = size > 0 ? malloc((size_t)size) : NULL;
    if (result != NULL)
        WideCharToMultiByte(CP_UTF8, 0, text, -1, result, size, NULL, NULL);
    return result;
}

/** Reads a whole text as a number within bounds. */
static bool number_of(const wchar_t *text, int least, int most, int *number)
{
    wchar_t *end = NULL;
    const long value = text != NULL ? wcstol(text, &end, 10) : 0;
    if (text == NULL || end == text || *end != L'\0' || value < least || value > most)
        return false;
    *number = (int)value;
    return true;
}

static bool size_of(const wchar_t *text, int *width, int *height)
{
    wchar_t *end = NULL;
    const long w = text != NULL ? wcstol(text, &end, 10) : 0;
    if (text == NULL || *end != L'x' || w < 100 || w > 16384)
        return false;
    *width = (int)w;
    return number_of(end + 1, 100, 16384, height);
}

/** Takes one option, with its value if it has one; how many words were used, 0 for a wrong one. */
static int take_option(Options *options, const wchar_t *word, const wchar_t *value)
{
    if (wcscmp(word, L"--once") == 0) {
        options->loop = false;
        return 1;
    }
    if (wcscmp(word, L"--rules") == 0) {
        options->rules = true;
        return 1;
    }
    if (wcscmp(word, L"--split") == 0) {
        const bool read = number_of(value, 1, 9, &options->split);
        return read && (options->split == 1 || options->split == 4 || options->split == 9) ? 2 : 0;
    }
    if (wcscmp(word, L"--size") == 0)
        return size_of(value, &options->width, &options->height) ? 2 : 0;
    if (wcscmp(word, L"--seconds") == 0)
        return number_of(value, 1, 1000000, &options->seconds) ? 2 : 0;
    if (wcscmp(word, L"--library") == 0 && value != NULL) {
        options->library = value;
        return 2;
    }
    return 0;
}

static bool take_file(Options *options, const wchar_t *word)
{
    if (GetFileAttributesW(word) == INVALID_FILE_ATTRIBUTES) {
        fprintf(stderr, "There is no file %ls.\n", word);
        return false;
    }
    if (options->fileCount == OPTIONS_MAX_FILES) {
        fprintf(stderr, "At most %d files can be shown; %ls is left out.\n", OPTIONS_MAX_FILES, word);
        return true;
    }
    options->files[options->fileCount] = utf8_of(word);
    return options->files[options->fileCount++] != NULL;
}

bool options_parse(Options *options, int *exitCode)
{
    *options = (Options){.width = 1280, .height = 760, .loop = true};
    *exitCode = 2;
    int count = 0;
    /* Kept until the program ends: the options point into it. */
    wchar_t **words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (words == NULL)
        return false;
    for (int i = 1; i < count;) {
        if (wcscmp(words[i], L"--help") == 0) {
            fputs(help, stdout);
            *exitCode = 0;
            return false;
        }
        if (wcsncmp(words[i], L"--", 2) == 0) {
            const int used = take_option(options, words[i], i + 1 < count ? words[i + 1] : NULL);
            if (used == 0) {
                fprintf(stderr, "%ls is not understood, or lacks its value; --help lists the options.\n", words[i]);
                return false;
            }
            i += used;
        } else if (take_file(options, words[i])) {
            ++i;
        } else {
            return false;
        }
    }
    if (options->fileCount == 0) {
        fputs(help, stderr);
        return false;
    }
    if (options->split == 0)
        options->split = options->fileCount == 1 ? 1 : options->fileCount <= 4 ? 4 : 9;
    *exitCode = 0;
    return true;
}

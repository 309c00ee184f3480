#include "base/src/base/PrintfFormatter.h"

#include "base/src/base/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace Base
{
namespace
{

// A width from a broken format must not ask for all memory.
constexpr int kMaximumField = 65536;

enum class Size { Char, Short, Int, LongLong, Pointer };

struct Conversion {
    std::string flags;
    int width = -1;
    int precision = -1;
    bool longDouble = false;
    bool longPrefix = false;
    Size size = Size::Int;
    char type = '\0';
};

// va_list may be an array type, which cannot be passed on by reference portably; a record around it can.
struct Arguments {
    va_list list;
};

int readNumber(const char *&cursor, Arguments &arguments)
{
    if (*cursor == '*') {
        ++cursor;
        return va_arg(arguments.list, int);
    }
    int value = 0;
    for (; *cursor >= '0' && *cursor <= '9'; ++cursor) {
        value = std::min(value * 10 + (*cursor - '0'), kMaximumField);
    }
    return value;
}

bool skip(const char *&cursor, const char *prefix)
{
    const std::size_t length = std::strlen(prefix);
    if (std::strncmp(cursor, prefix, length) != 0) {
        return false;
    }
    cursor += length;
    return true;
}

void readSize(const char *&cursor, Conversion &conversion)
{
    if (skip(cursor, "hh")) {
        conversion.size = Size::Char;
    } else if (skip(cursor, "h")) {
        conversion.size = Size::Short;
    } else if (skip(cursor, "ll") || skip(cursor, "I64") || skip(cursor, "j")) {
        conversion.size = Size::LongLong;
    } else if (skip(cursor, "I32")) {
        conversion.size = Size::Int;
    } else if (skip(cursor, "l") || skip(cursor, "w")) {
        conversion.size = sizeof(long) == sizeof(int) ? Size::Int : Size::LongLong;
        conversion.longPrefix = true;
    } else if (skip(cursor, "z") || skip(cursor, "t") || skip(cursor, "I")) {
        conversion.size = Size::Pointer;
    } else if (skip(cursor, "L")) {
        conversion.longDouble = true;
        conversion.size = Size::LongLong;
    }
}

Conversion readConversion(const char *&cursor, Arguments &arguments)
{
    Conversion conversion;
    for (; *cursor != '\0' && std::strchr("-+ #0", *cursor) != nullptr; ++cursor) {
        if (conversion.flags.find(*cursor) == std::string::npos) {
            conversion.flags += *cursor;
        }
    }
    conversion.width = readNumber(cursor, arguments);
    if (conversion.width < 0) {
        conversion.flags += '-';
        conversion.width = conversion.width < -kMaximumField ? kMaximumField : -conversion.width;
    }
    conversion.width = std::min(conversion.width, kMaximumField);
    if (*cursor == '.') {
        ++cursor;
        conversion.precision = std::min(readNumber(cursor, arguments), kMaximumField);
    }
    readSize(cursor, conversion);
    conversion.type = *cursor;
    if (*cursor != '\0') {
        ++cursor;
    }
    return conversion;
}

template <typename Value>
void appendByLibrary(std::string &text, const Conversion &conversion, const char *size, Value value)
{
    std::string format = "%" + conversion.flags + "*.*";
    format += size;
    format += conversion.type;
    std::array<char, 128> small{};
    // A negative precision counts as none.
    const int length =
        std::snprintf(small.data(), small.size(), format.c_str(), conversion.width, conversion.precision, value);
    if (length < 0) {
        return;
    }
    if (static_cast<std::size_t>(length) < small.size()) {
        text.append(small.data(), static_cast<std::size_t>(length));
        return;
    }
    std::string large(static_cast<std::size_t>(length) + 1, '\0');
    std::snprintf(large.data(), large.size(), format.c_str(), conversion.width, conversion.precision, value);
    large.resize(static_cast<std::size_t>(length));
    text += large;
}

void appendInteger(std::string &text, const Conversion &conversion, Arguments &arguments)
{
    const bool isSigned = conversion.type == 'd' || conversion.type == 'i';
    long long value = 0;
    if (conversion.size == Size::LongLong || conversion.size == Size::Pointer) {
        value = va_arg(arguments.list, long long);
    } else {
        const int narrow = va_arg(arguments.list, int);
        value = isSigned ? static_cast<long long>(narrow) : static_cast<long long>(static_cast<unsigned int>(narrow));
        if (conversion.size == Size::Short) {
            value = isSigned ? static_cast<short>(narrow) : static_cast<unsigned short>(narrow);
        } else if (conversion.size == Size::Char) {
            value = isSigned ? static_cast<signed char>(narrow) : static_cast<unsigned char>(narrow);
        }
    }
    appendByLibrary(text, conversion, "ll", value);
}

void appendPadded(std::string &text, const Conversion &conversion, const std::string &value)
{
    const std::size_t width = static_cast<std::size_t>(conversion.width);
    const std::string padding(width > value.size() ? width - value.size() : 0, ' ');
    const bool left = conversion.flags.find('-') != std::string::npos;
    text += left ? value + padding : padding + value;
}

// At most `precision` bytes are read: a text with a precision need not end with a zero.
std::string boundedText(const char *value, int precision)
{
    if (precision < 0) {
        return value;
    }
    const std::size_t limit = static_cast<std::size_t>(precision);
    const void *end = std::memchr(value, 0, limit);
    return std::string(value,
                       end != nullptr ? static_cast<std::size_t>(static_cast<const char *>(end) - value) : limit);
}

std::string boundedText(const wchar_t *value, int precision)
{
    std::wstring wide;
    for (std::size_t i = 0; (precision < 0 || i < static_cast<std::size_t>(precision)) && value[i] != L'\0'; ++i) {
        wide += value[i];
    }
    return toUtf8(wide);
}

void appendText(std::string &text, const Conversion &conversion, Arguments &arguments)
{
    const void *value = va_arg(arguments.list, const void *);
    if (value == nullptr) {
        appendPadded(text, conversion, "(null)");
    } else if (conversion.longPrefix || conversion.type == 'S') {
        appendPadded(text, conversion, boundedText(static_cast<const wchar_t *>(value), conversion.precision));
    } else {
        appendPadded(text, conversion, boundedText(static_cast<const char *>(value), conversion.precision));
    }
}

void appendCharacter(std::string &text, const Conversion &conversion, Arguments &arguments)
{
    const int value = va_arg(arguments.list, int);
    if (conversion.longPrefix || conversion.type == 'C') {
        appendPadded(text, conversion, toUtf8(std::wstring(1, static_cast<wchar_t>(value))));
    } else {
        appendPadded(text, conversion, std::string(1, static_cast<char>(value)));
    }
}

void appendPointer(std::string &text, const Conversion &conversion, Arguments &arguments)
{
    std::array<char, 24> digits{};
    const auto value = reinterpret_cast<std::uintptr_t>(va_arg(arguments.list, const void *));
    std::snprintf(digits.data(), digits.size(), "%016llX", static_cast<unsigned long long>(value));
    appendPadded(text, conversion, digits.data());
}

void appendConversion(std::string &text, const Conversion &conversion, const std::string &source, Arguments &arguments)
{
    switch (conversion.type) {
    case '%':
        text += '%';
        break;
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        appendInteger(text, conversion, arguments);
        break;
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        if (conversion.longDouble) {
            appendByLibrary(text, conversion, "L", va_arg(arguments.list, long double));
        } else {
            appendByLibrary(text, conversion, "", va_arg(arguments.list, double));
        }
        break;
    case 's':
    case 'S':
        appendText(text, conversion, arguments);
        break;
    case 'c':
    case 'C':
        appendCharacter(text, conversion, arguments);
        break;
    case 'p':
        appendPointer(text, conversion, arguments);
        break;
    case 'n':
        // Takes its argument and writes nothing: a format must not write to memory.
        static_cast<void>(va_arg(arguments.list, void *));
        break;
    default:
        text += source;
        break;
    }
}

} // namespace

std::string formatPrintf(const char *format, va_list list)
{
    std::string text;
    if (format == nullptr) {
        return text;
    }
    Arguments arguments;
    va_copy(arguments.list, list);
    for (const char *cursor = format; *cursor != '\0';) {
        if (*cursor != '%') {
            const char *next = std::strchr(cursor, '%');
            const std::size_t length = next != nullptr ? static_cast<std::size_t>(next - cursor) : std::strlen(cursor);
            text.append(cursor, length);
            cursor += length;
            continue;
        }
        const char *start = cursor++;
        const Conversion conversion = readConversion(cursor, arguments);
        appendConversion(text, conversion, std::string(start, cursor), arguments);
    }
    va_end(arguments.list);
    return text;
}

} // namespace Base

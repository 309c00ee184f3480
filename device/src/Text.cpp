#include "device/src/Text.h"

extern "C" {
#include <libavutil/base64.h>
}

#include <algorithm>
#include <cstdio>
#include <random>

namespace selvik
{

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

std::string trimmed(const std::string &text)
{
    static const char *const pBlanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(pBlanks);
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(pBlanks) - begin + 1);
}

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        const std::string part = trimmed(text.substr(begin, end - begin));
        if (!part.empty()) {
            parts.push_back(part);
        }
        begin = end + 1;
    }
    return parts;
}

std::vector<std::string> lines(const std::string &text)
{
    return split(text, '\n');
}

std::string onOneLine(std::string text)
{
    const auto isControl = [](char letter) {
        return letter != '\t' && (static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F);
    };
    std::replace_if(text.begin(), text.end(), isControl, ' ');
    return text;
}

bool startsWith(const std::string &text, const std::string &beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::string percentDecoded(const std::string &text)
{
    const auto valueOf = [](char digit) {
        static const std::string digits = "0123456789abcdef";
        const std::size_t value = digits.find(lowerCase(std::string(1, digit)));
        return value == std::string::npos ? -1 : static_cast<int>(value);
    };
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && valueOf(text[i + 1]) >= 0 && valueOf(text[i + 2]) >= 0) {
            decoded += static_cast<char>(valueOf(text[i + 1]) * 16 + valueOf(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

int leadingNumber(const std::string &text)
{
    constexpr long long kMost = 1000000000;
    long long value = 0;
    for (const char letter : text) {
        if (letter < '0' || letter > '9') {
            break;
        }
        value = std::min(value * 10 + (letter - '0'), kMost);
    }
    return static_cast<int>(value);
}

std::string base64(ByteView bytes)
{
    std::string encoded(AV_BASE64_SIZE(bytes.size), '\0');
    av_base64_encode(encoded.data(), static_cast<int>(encoded.size()), bytes.pData, static_cast<int>(bytes.size));
    // Without the null at its end.
    encoded.pop_back();
    return encoded;
}

std::string randomWord()
{
    std::random_device random;
    char text[17];
    std::snprintf(text, sizeof text, "%08x%08x", random(), random());
    return text;
}

} // namespace selvik

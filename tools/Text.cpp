#include "Text.h"

#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace {

// Returns the text with replace(byte) in place of each byte that belongs to no printable character,
// or that is one of special.
template <typename Replace>
std::string replaceBytes(const std::string& text, const std::string& special, Replace replace) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        std::mbstate_t state = {};
        wchar_t wide = 0;
        size_t length = mbrtowc(&wide, &text[at], text.size() - at, &state);
        if (length <= text.size() && iswprint(static_cast<wint_t>(wide)) != 0 &&
            special.find(text[at]) == std::string::npos) {
            result += text.substr(at, length);
        } else {
            length = 1;
            result += replace(static_cast<unsigned char>(text[at]));
        }
        at += length;
    }
    return result;
}

std::string formatted(const char* format, unsigned byte) {
    char text[8];
    snprintf(text, sizeof text, format, byte);
    return text;
}

}  // namespace

std::string printable(const std::string& text) {
    return replaceBytes(
        text, "", [](unsigned byte) { return formatted(byte == '\n' ? "\\n" : "\\x%02X", byte); });
}

std::string asUtf8(const std::string& text) {
    return replaceBytes(text, "", [](unsigned char byte) {
        return byte < 0x80 ? std::string(1, static_cast<char>(byte)) : "\xEF\xBF\xBD";
    });
}

std::string shellWord(const std::string& text) {
    if (printable(text) == text) {
        return "'" + replaceBytes(text, "'", [](unsigned) { return "'\\''"; }) + "'";
    }
    const auto octal = [](unsigned byte) { return formatted("\\%03o", byte); };
    return "$'" + replaceBytes(text, "'\\", octal) + "'";
}

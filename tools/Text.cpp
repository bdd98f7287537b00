#include "Text.h"

#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace {

// Calls character(text) for each printable character, and odd(byte) for each other byte.
template <typename Character, typename Odd>
void forEachCharacter(const std::string& text, Character character, Odd odd) {
    for (size_t at = 0; at < text.size();) {
        std::mbstate_t state = {};
        wchar_t wide = 0;
        const size_t length = mbrtowc(&wide, &text[at], text.size() - at, &state);
        if (length <= text.size() && iswprint(static_cast<wint_t>(wide)) != 0) {
            character(text.substr(at, length));
            at += length;
        } else {
            odd(static_cast<unsigned char>(text[at++]));
        }
    }
}

std::string formatted(const char* format, unsigned byte) {
    char text[8];
    snprintf(text, sizeof text, format, byte);
    return text;
}

}  // namespace

std::string printable(const std::string& text) {
    std::string result;
    forEachCharacter(
        text, [&](const std::string& character) { result += character; },
        [&](unsigned byte) { result += formatted(byte == '\n' ? "\\n" : "\\x%02X", byte); });
    return result;
}

std::string asUtf8(const std::string& text) {
    std::string result;
    forEachCharacter(
        text, [&](const std::string& character) { result += character; },
        [&](unsigned byte) {
            result += byte < 0x80 ? std::string(1, static_cast<char>(byte)) : "\xEF\xBF\xBD";
        });
    return result;
}

std::string shellWord(const std::string& text) {
    std::string plain;
    std::string ansi;
    bool isPlain = true;
    forEachCharacter(
        text,
        [&](const std::string& character) {
            plain += character == "'" ? "'\\''" : character;
            ansi += character == "'" ? "\\047" : character == "\\" ? "\\134" : character;
        },
        [&](unsigned byte) {
            isPlain = false;
            ansi += formatted("\\%03o", byte);
        });
    return isPlain ? "'" + plain + "'" : "$'" + ansi + "'";
}

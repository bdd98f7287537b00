// These functions make texts that the companions print. Names of files may hold any byte but zero.
#pragma once

#include <sstream>
#include <string>

template <typename... Parts>
std::string concat(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

// The following functions take the text as UTF-8 if the process has such a locale.

// Returns the text with control characters, and bytes that are no characters, written as \n or
// \x1B. So a name can't add lines to a text, or move a terminal's cursor.
std::string printable(const std::string& text);

// Returns the text with U+FFFD in place of each byte that is no character.
std::string asUtf8(const std::string& text);

// Returns the text as one word of a shell command: 'a b'. If printable() would change the text, the
// word is like $'a\033b', which bash, zsh and ksh read. All shells read three octal digits alike,
// and a shell that doesn't know $'...' finds no quote in it that ends the word.
std::string shellWord(const std::string& text);

// This is Android's log for the host. Entries go to the file that VEX_HOST_LOG names. If it names
// none, they go to standard error if that is a terminal, else to the system log.
#include <android/log.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "Log.h"
#include "Settings.h"

namespace {

// A log entry has fewer bytes than this, which are enough for two of the longest paths and a
// message about them.
constexpr size_t MAX_LOG_ENTRY = 10000;

char lastEntry[MAX_LOG_ENTRY];

struct Priority {
    char letter;
    int syslogLevel;
};

// The rows go from ANDROID_LOG_VERBOSE to ANDROID_LOG_ERROR.
constexpr Priority PRIORITIES[] = {
    {'V', LOG_DEBUG}, {'D', LOG_DEBUG}, {'I', LOG_INFO}, {'W', LOG_WARNING}, {'E', LOG_ERR}};

// Returns true if the byte is a part of a control character. In UTF-8 those from U+0080 on have two
// bytes, 0xC2 and one below 0xA0.
bool isControl(unsigned char before, unsigned char byte, unsigned char after) {
    return byte < ' ' || byte == 0x7F || (byte == 0xC2 && after < 0xA0) ||
           (before == 0xC2 && byte < 0xA0);
}

// Makes one line of the text. It drops the last newline and writes control characters, which a file
// name may have, as \n or \x1B, so that they neither split the entry nor reach a terminal.
void putOneLine(const char* text, char* line, size_t size) {
    constexpr size_t MAX_ESCAPED = 5;  // bytes that one byte may become, and the end of the line
    unsigned char before = 0;
    size_t at = 0;
    for (; *text != '\0' && strcmp(text, "\n") != 0 && at + MAX_ESCAPED <= size; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        const bool control = isControl(before, byte, static_cast<unsigned char>(text[1]));
        const char* format = !control ? "%c" : byte == '\n' ? "\\n" : "\\x%02X";
        at += static_cast<size_t>(snprintf(line + at, MAX_ESCAPED, format, byte));
        before = byte;
    }
    line[at] = '\0';
}

// On a terminal an entry replaces a progress line that stands there.
bool putOnStandardError(const char* line) {
    return fprintf(stderr, "%s%s", isatty(STDERR_FILENO) != 0 ? "\r\033[K" : "", line) > 0;
}

bool isStandardError(const char* path) {
    struct stat wanted = {};
    struct stat error = {};
    return stat(path, &wanted) == 0 && fstat(STDERR_FILENO, &error) == 0 &&
           wanted.st_dev == error.st_dev && wanted.st_ino == error.st_ino;
}

// Says once in the life of the process that the file of log entries can't be used.
void reportOnce(const char* operation, const char* path, int error) {
    static bool reported = false;
    if (!reported) {
        reported = true;
        fprintf(stderr, "VEX_HOST_LOG: can't %s %s, %s\n", operation, path, strerror(error));
    }
}

// Returns true if the line was written in full.
bool appendToFile(const char* path, const char* line) {
    if (isStandardError(path)) {
        // If the file were opened a second time, the two streams would overwrite each other's
        // lines.
        return putOnStandardError(line);
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file < 0) {
        reportOnce("open", path, errno);
        return false;
    }
    const ssize_t written = write(file, line, strlen(line));
    const bool complete = written == static_cast<ssize_t>(strlen(line));
    if (!complete) {
        reportOnce("write to", path, written < 0 ? errno : ENOSPC);
    }
    close(file);
    return complete;
}

// Writes the local time in ISO 8601 with milliseconds.
void putLocalTime(char* text, size_t size) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    const size_t length = strftime(text, size, "%Y-%m-%dT%H:%M:%S", &local);
    snprintf(text + length, size - length, ".%03d", static_cast<int>(now.tv_usec / 1000));
}

}  // namespace

const char* host::lastLogEntry() { return lastEntry; }

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    char text[MAX_LOG_ENTRY];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    putOneLine(text, lastEntry, sizeof lastEntry);
    char time[40];
    putLocalTime(time, sizeof time);
    const Priority& priority =
        PRIORITIES[std::clamp<int>(prio, ANDROID_LOG_VERBOSE, ANDROID_LOG_ERROR) -
                   ANDROID_LOG_VERBOSE];
    char entry[MAX_LOG_ENTRY + 200];
    snprintf(entry, sizeof entry, "%s %c %s: %s\n", time, priority.letter, tag, lastEntry);

    const char* path = host::logFile();
    if (path != nullptr
            ? appendToFile(path, entry)
            : isatty(STDERR_FILENO) != 0 && putOnStandardError(entry + strlen(time) + 1)) {
        return 1;
    }
    syslog(LOG_USER | priority.syslogLevel, "%s: %s", tag, lastEntry);
    return 1;
}

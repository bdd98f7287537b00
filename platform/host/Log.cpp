// Android log for the host: lines of the file VEX_HOST_LOG, else the system log.
#include <android/log.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string format(const char* fmt, va_list args) {
    va_list measured;
    va_copy(measured, args);
    const int length = vsnprintf(nullptr, 0, fmt, measured);
    va_end(measured);
    if (length < 0) {
        return fmt;
    }
    std::string text(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(text.data(), text.size(), fmt, args);
    text.resize(static_cast<size_t>(length));
    return text;
}

// An entry is one line: its own newline goes, newlines inside it (of a file name, say) show as \n.
std::string oneLine(std::string text) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.replace(at, 1, "\\n");
    }
    return text;
}

char letterOf(int priority) {
    switch (priority) {
        case ANDROID_LOG_VERBOSE:
            return 'V';
        case ANDROID_LOG_DEBUG:
            return 'D';
        case ANDROID_LOG_INFO:
            return 'I';
        case ANDROID_LOG_WARN:
            return 'W';
        default:
            return 'E';
    }
}

int syslogLevelOf(int priority) {
    switch (priority) {
        case ANDROID_LOG_VERBOSE:
        case ANDROID_LOG_DEBUG:
            return LOG_DEBUG;
        case ANDROID_LOG_INFO:
            return LOG_INFO;
        case ANDROID_LOG_WARN:
            return LOG_WARNING;
        default:
            return LOG_ERR;
    }
}

bool appendToFile(const char* path, const std::string& line) {
    FILE* file = fopen(path, "ae");
    if (file == nullptr) {
        return false;
    }
    fwrite(line.data(), 1, line.size(), file);
    fclose(file);
    return true;
}

}  // namespace

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string entry = std::string(tag) + ": " + oneLine(format(fmt, args));
    va_end(args);

    const char* path = getenv("VEX_HOST_LOG");
    const bool wanted = path != nullptr && *path != '\0';
    if (!wanted || !appendToFile(path, std::string(1, letterOf(prio)) + " " + entry + "\n")) {
        syslog(LOG_USER | syslogLevelOf(prio), "%s", entry.c_str());
    }
    return 1;
}

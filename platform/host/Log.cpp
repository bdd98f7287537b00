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

struct Priority {
    char letter;
    int syslogLevel;
};

const Priority& priorityOf(int priority) {
    static constexpr Priority FROM_VERBOSE[] = {
        {'V', LOG_DEBUG}, {'D', LOG_DEBUG}, {'I', LOG_INFO}, {'W', LOG_WARNING}, {'E', LOG_ERR}};
    const bool known = priority >= ANDROID_LOG_VERBOSE && priority <= ANDROID_LOG_ERROR;
    return FROM_VERBOSE[(known ? priority : ANDROID_LOG_ERROR) - ANDROID_LOG_VERBOSE];
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
    if (!wanted || !appendToFile(path, std::string(1, priorityOf(prio).letter) + " " + entry + "\n")) {
        syslog(LOG_USER | priorityOf(prio).syslogLevel, "%s", entry.c_str());
    }
    return 1;
}

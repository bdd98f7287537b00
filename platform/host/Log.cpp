// Android log for the host: lines of the file VEX_HOST_LOG; without one, standard error where that
// is a terminal, else the system log.
#include <android/log.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

// An entry's bytes at most: two paths, and what is said of them.
constexpr size_t MOST = 10000;

// What stands in standard error's last line on a terminal, so that entries get lines of their own.
class Terminal {
  public:
    // Standard error then goes through here.
    Terminal() {
        if (isatty(STDERR_FILENO) == 0) {
            return;
        }
        cookie_io_functions_t functions = {};
        functions.write = write;
        if (FILE* stream = fopencookie(this, "w", functions)) {
            setvbuf(stream, nullptr, _IONBF, 0);
            stderr = stream;
        }
    }

    bool inLine() const { return mInLine; }

  private:
    static ssize_t write(void* terminal, const char* bytes, size_t size) {
        const ssize_t written = ::write(STDERR_FILENO, bytes, size);
        if (written > 0) {
            static_cast<Terminal*>(terminal)->mInLine = bytes[written - 1] != '\n';
        }
        return written < 0 ? 0 : written;
    }

    bool mInLine = false;
};
Terminal terminal;

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

// One line: the text's own newline goes, newlines inside it (of a file name, say) show as \n.
void putOneLine(const char* text, char* line, size_t size) {
    size_t at = 0;
    for (; *text != '\0' && at + 2 < size; ++text) {
        if (*text != '\n') {
            line[at++] = *text;
        } else if (text[1] != '\0') {
            line[at++] = '\\';
            line[at++] = 'n';
        }
    }
    line[at] = '\0';
}

// Lines of their own, also where progress stands.
bool putOnStandardError(const char* line) {
    return fprintf(stderr, "%s%s", terminal.inLine() ? "\r\n" : "", line) > 0;
}

bool isStandardError(const char* path) {
    struct stat wanted = {};
    struct stat error = {};
    return stat(path, &wanted) == 0 && fstat(STDERR_FILENO, &error) == 0 &&
           wanted.st_dev == error.st_dev && wanted.st_ino == error.st_ino;
}

// True when the line stands in the file.
bool appendToFile(const char* path, const char* line) {
    if (isStandardError(path)) {
        return putOnStandardError(line);  // opened anew, the two would write over each other
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file < 0) {
        static bool told = false;
        if (!told) {
            told = true;
            fprintf(stderr, "VEX_HOST_LOG: can't open %s, %s\n", path, strerror(errno));
        }
        return false;
    }
    const bool written = write(file, line, strlen(line)) > 0;
    close(file);
    return written;
}

// ISO 8601, milliseconds.
void putLocalTime(char* text, size_t size) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    const size_t length = strftime(text, size, "%Y-%m-%dT%H:%M:%S", &local);
    snprintf(text + length, size - length, ".%03d", static_cast<int>(now.tv_usec / 1000));
}

}  // namespace

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    char text[MOST];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    char line[MOST];
    putOneLine(text, line, sizeof line);
    char time[40];
    putLocalTime(time, sizeof time);
    const Priority& priority = priorityOf(prio);
    char entry[MOST + 200];
    snprintf(entry, sizeof entry, "%s %c %s: %s\n", time, priority.letter, tag, line);

    const char* path = getenv("VEX_HOST_LOG");
    const bool wanted = path != nullptr && *path != '\0';
    if (wanted ? appendToFile(path, entry)
               : isatty(STDERR_FILENO) != 0 && putOnStandardError(entry + strlen(time) + 1)) {
        return 1;
    }
    syslog(LOG_USER | priority.syslogLevel, "%s: %s", tag, line);
    return 1;
}

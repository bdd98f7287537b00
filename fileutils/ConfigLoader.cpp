// The loader of format rules reads JSON into formatConfigs. config/FormatConfig.h applies the
// rules.
#include <android/log.h>
#include <cjson/cJSON.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "config/DefaultConfig.h"
#include "config/FormatConfig.h"
#include "fileutils/File.h"
#include "fileutils/FileUtils.h"

#define LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FileUtils", __VA_ARGS__)

namespace {

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

using Text = std::unique_ptr<char, decltype(&free)>;

// Reads the values of a rule or pair object. If a key is missing, or its value is no string but has
// to be one, this logs the object and the key. The object is then not complete. A number may have
// any JSON type, because cJSON makes an integer of each.
class ObjectReader {
  public:
    ObjectReader(const cJSON* object, std::string place)
        : mObject(object), mPlace(std::move(place)), mComplete(cJSON_IsObject(object) != 0) {
        if (!mComplete) {
            LOGE("parseConfigFile: %s is no object\n", mPlace.c_str());
        }
    }

    bool complete() const { return mComplete; }

    std::string text(const char* key) {
        const cJSON* item = find(key);
        if (item != nullptr && cJSON_IsString(item) == 0) {
            fail(key, "is no string");
        }
        return mComplete ? item->valuestring : "";
    }

    int number(const char* key) {
        const cJSON* item = find(key);
        return item != nullptr ? item->valueint : 0;
    }

  private:
    // Returns null if the object is not complete.
    const cJSON* find(const char* key) {
        const cJSON* item = mComplete ? cJSON_GetObjectItem(mObject, key) : nullptr;
        if (mComplete && item == nullptr) {
            fail(key, "is missing");
        }
        return item;
    }

    void fail(const char* key, const char* problem) {
        LOGE("parseConfigFile: %s, key \"%s\" %s\n", mPlace.c_str(), key, problem);
        mComplete = false;
    }

    const cJSON* mObject;
    std::string mPlace;
    bool mComplete;
};

bool addPair(FormatConfig& rule, const cJSON* object, const std::string& place) {
    ObjectReader pair(object, place);
    const std::string formatStr = pair.text("FormatStr");
    const std::string colorFormat = pair.text("ColorFormat");
    const int widthAlignment = pair.number("WidthAlignment");
    const int heightAlignment = pair.number("HeightAlignment");
    if (pair.number("Separate") == 1) {  // cJSON makes 1 of true.
        const std::string yBody = pair.text("YBody");
        const std::string yHeader = pair.text("YHeader");
        const std::string cBody = pair.text("CBody");
        const std::string cHeader = pair.text("CHeader");
        rule.addFormatPair(formatStr, colorFormat, widthAlignment, heightAlignment, true, yBody,
                           yHeader, cBody, cHeader);
    } else {
        rule.addFormatPair(formatStr, colorFormat, widthAlignment, heightAlignment);
    }
    return pair.complete();
}

bool addPairs(FormatConfig& rule, const cJSON* object, const std::string& place) {
    const cJSON* pairs = cJSON_GetObjectItem(object, "ColorFormatPair");
    int number = 0;
    const cJSON* pair = nullptr;
    // This visits the elements of an array or the values of an object. Nothing else has any.
    cJSON_ArrayForEach(pair, pairs) {
        if (!addPair(rule, pair, place + ", pair " + std::to_string(++number))) {
            return false;
        }
    }
    return true;
}

bool addRule(std::vector<FormatConfig>& rules, const cJSON* object) {
    std::string place = "rule " + std::to_string(rules.size() + 1);
    ObjectReader keys(object, place);
    // Braces evaluate these calls in order, so that the first key that is missing is logged.
    FormatConfig rule{keys.text("Name"),
                      keys.text("Description"),
                      keys.text("Pattern"),
                      keys.number("WidthIndex"),
                      keys.number("HeightIndex"),
                      keys.number("ColorFormatIndex"),
                      keys.number("SeparateStringIndex"),
                      keys.number("DefaultWidth"),
                      keys.number("DefaultHeight"),
                      keys.number("DefaultWidthAlignment"),
                      keys.number("DefaultHeightAlignment"),
                      keys.text("DefaultColorFormat")};
    if (!keys.complete()) {
        return false;
    }
    place += " \"" + rule.name + "\"";
    if (!addPairs(rule, object, place)) {
        return false;
    }
    rules.push_back(std::move(rule));
    return true;
}

// Appends the document's rules and returns 0. If one of them can't be used, this appends none and
// returns -1.
int addRules(const cJSON* document) {
    std::vector<FormatConfig> rules;
    const cJSON* rule = nullptr;
    cJSON_ArrayForEach(rule, document) {
        if (!addRule(rules, rule)) {
            return -1;
        }
    }
    formatConfigs.insert(formatConfigs.end(), rules.begin(), rules.end());
    return 0;
}

// Reads the whole file into text. Returns 0. After a log entry it returns a negated errno if the
// file can't be opened, or -1 for any other failure.
int readText(const std::string& path, Text& text) {
    const File file(fopen(path.c_str(), "r"));
    if (file == nullptr) {
        const int error = errno;
        LOGE("parseConfigFile: Failed to open file: %s, errno: %d, %s\n", path.c_str(), error,
             strerror(error));
        return -error;
    }
    if (fseek(file.get(), 0, SEEK_END) != 0) {
        LOGE("parseConfigFile: Failed to fseek SEEK_END: %s\n", path.c_str());
        return -1;
    }
    const long fileSize = ftell(file.get());
    if (fileSize < 0) {
        LOGE("parseConfigFile: Failed to get file size: %s, errno: %d, %s\n", path.c_str(), errno,
             strerror(errno));
        return -1;
    }
    if (fileSize == 0) {
        LOGE("parseConfigFile: Empty config file: %s\n", path.c_str());
        return -1;
    }
    if (fseek(file.get(), 0, SEEK_SET) != 0) {
        LOGE("parseConfigFile: Failed to fseek SEEK_SET: %s\n", path.c_str());
        return -1;
    }
    // operator new would end the process if there is no memory. A folder, for example, reports a
    // huge size.
    const auto size = static_cast<size_t>(fileSize);
    text.reset(static_cast<char*>(malloc(size + 1)));  // NOLINT(*-no-malloc)
    const size_t readSize = text == nullptr ? 0 : fread(text.get(), 1, size, file.get());
    if (readSize < size) {
        LOGE("parseConfigFile: Failed to read file: %s, fileSize: %ld, readSize: %zu\n",
             path.c_str(), fileSize, readSize);
        return -1;
    }
    text.get()[size] = '\0';
    return 0;
}

}  // namespace

int FileUtils::parseConfigFile(std::string path) {
    Text text(nullptr, &free);
    if (!path.empty()) {
        const int status = readText(path, text);
        if (status != 0) {
            return status;
        }
    }
    const Json document(cJSON_Parse(path.empty() ? defaultConfig : text.get()), &cJSON_Delete);
    if (document != nullptr) {
        return addRules(document.get());
    }
    LOGE("parseConfigFile: Failed to parse config file: %s\n", path.c_str());
    return -1;
}

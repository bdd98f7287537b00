#include "Pictures.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "DumpFile.h"
#include "Log.h"
#include "Text.h"
#include "color/Catalogue.h"
#include "fileutils/FileUtils.h"
#include "memory/DmabufMemory.h"

namespace {

using Color = ColorConvert;

// Reads the first frame, which is stored in one file or in part files, and clears what they don't
// have of it. Returns the reason of a failure.
std::string readFirstFrame(const DumpCheck& dump, const Reading& reading, unsigned char* to) {
    const auto& [width, height] = reading.aligned;
    const auto files = dump.isSet() ? dump.partFiles : std::vector{dump.path};
    const auto parts = dump.isSet() ? Color::getSeparateSize(width, height, reading.format)
                                    : std::vector{std::pair(reading.frameSize, 0)};
    std::fill_n(to, reading.frameSize, static_cast<unsigned char>(0));
    for (size_t i = 0; i < parts.size(); ++i) {
        DumpFile file(files[i]);
        const auto& [size, offset] = parts[i];
        const bool isMissing = dump.isSet() && !FileUtils::isFile(files[i]);
        if (!file.read(0, std::min<int64_t>(size, file.size()), to + offset) && !isMissing) {
            return file.failure();
        }
    }
    return "";
}

// Writes a picture of a reading. what says where the reading comes from. Returns the reason of a
// failure, or an empty text.
std::string writePicture(const DumpCheck& dump, const Reading& reading, const std::string& what,
                         const std::string& folder, Color::ColorSpace space) {
    const auto& [width, height] = reading.aligned;
    const int pictureSize = Color::getFrameSize(width, height, Color::RGBA8888);
    DmabufMemory frame(reading.frameSize, DeviceMemory::NO_FD);
    DmabufMemory picture(pictureSize, DeviceMemory::NO_FD);
    if (frame.data() == nullptr || picture.data() == nullptr) {
        return host::lastLogEntry();
    }
    std::string failure = readFirstFrame(dump, reading, frame.data());
    if (!failure.empty()) {
        return failure;
    }
    const Color::ColorConvertConfig config = {
        {reading.format, space, width, height, frame.getFd()},
        {Color::RGBA8888, Color::BT601_LIMIT, width, height, picture.getFd()}};
    if (ColorConvert().convertFrame(config) != 0) {
        return host::lastLogEntry();
    }
    for (int i = 3; i < pictureSize; i += 4) {
        picture.data()[i] = 0xFF;
    }
    const std::string start = folder + "/" + std::filesystem::path(dump.path).stem().string();
    const std::string end = concat("_", what, "_", colorFormatInfo(reading.format).name, "_",
                                   reading.size.width, "x", reading.size.height, ".png");
    static std::set<std::string> names;
    std::string name = start + end;
    for (int copy = 2; !names.insert(name).second; ++copy) {
        name = concat(start, "-", copy, end);
    }
    return FileUtils::writeToPNG(name, width, height, picture.data(), 4) == 1
               ? ""
               : host::lastLogEntry();
}

}  // namespace

bool writePictures(const DumpCheck& dump, const std::string& folder, Color::ColorSpace space) {
    bool allWritten = true;
    const auto write = [&](const Reading& reading, const std::string& what) {
        const std::string failure = writePicture(dump, reading, what, folder, space);
        if (!failure.empty()) {
            fprintf(stderr, "Error: the picture of %s can't be written: %s\n",
                    concat(reading).c_str(), printable(failure).c_str());
            allWritten = false;
        }
    };
    if (dump.reading.frameSize > 0) {
        write(dump.reading, "name");
    }
    const auto& readings = dump.search.readings;
    for (size_t i = 0; i < readings.size(); ++i) {
        if (!readings[i].named) {
            write(readings[i], std::to_string(i + 1));
        }
    }
    return allWritten;
}

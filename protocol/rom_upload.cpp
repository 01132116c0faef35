#include "protocol/device.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

constexpr int kImageSize = 1024;
constexpr int kBlockSize = 64;

// A pipe or a device could keep us waiting for ever.
bool isPlainFile(const char* path) noexcept {
    try {
        return std::filesystem::is_regular_file(path);
    } catch (...) {
        return false;
    }
}

// A shorter file leaves the rest of the image as it is.
bool readImage(const char* path, unsigned char (&image)[kImageSize]) {
    if (!isPlainFile(path)) {
        return false;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "rb"), std::fclose);
    if (!file) {
        return false;
    }
    std::fread(image, 1, sizeof(image), file.get());
    return std::ferror(file.get()) == 0;
}

} // namespace

int deviceUploadRom(DeviceRecord* record, int handle, const char* path) {
    record->errorCode = 0;
    unsigned char image[kImageSize] = {};
    if (!readImage(path, image)) {
        return -1;
    }
    for (int offset = 0; offset < kImageSize; offset += kBlockSize) {
        char digits[2 * kBlockSize];
        hexEncode(digits, image + offset, kBlockSize);
        deviceCommand(record, "PVWR:%02X%04X%.128s", static_cast<unsigned>(handle),
                      static_cast<unsigned>(offset), digits);
        if (deviceGetError(record) != 0) {
            return -1;
        }
    }
    return 0;
}

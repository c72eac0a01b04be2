// Volume serials from stat's st_dev, with a replaceable source for tests.
#include "platform/volume.h"

#include <sys/stat.h>

#include <mutex>

namespace zandb4::platform {
namespace {

std::mutex& SourceMutex() {
    static std::mutex mutex;
    return mutex;
}

VolumeSerialSource& Source() {
    static VolumeSerialSource source;
    return source;
}

uint32_t SerialFromFileSystem(const std::string& path) {
    std::string probe = path;
    while (!probe.empty()) {
        struct stat info;
        if (::stat(probe.c_str(), &info) == 0) {
            uint64_t device = static_cast<uint64_t>(info.st_dev);
            return static_cast<uint32_t>(device ^ (device >> 32));
        }
        size_t slash = probe.find_last_of('/');
        if (slash == std::string::npos) break;
        probe = slash == 0 ? (probe == "/" ? std::string() : std::string("/")) : probe.substr(0, slash);
    }
    return 0;
}

}  // namespace

uint32_t GetVolumeSerial(const std::string& path) {
    {
        std::lock_guard<std::mutex> guard(SourceMutex());
        if (Source()) return Source()(path);
    }
    return SerialFromFileSystem(path);
}

void SetVolumeSerialSourceForTesting(VolumeSerialSource source) {
    std::lock_guard<std::mutex> guard(SourceMutex());
    Source() = std::move(source);
}

}  // namespace zandb4::platform

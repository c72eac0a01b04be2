// One of the files of the tool that include the library's internal headers:
// a file's disk_vsn must be the serial the library itself would compute, or
// the library's check of a swapped volume would not hold.
#include "volume_serial.h"

#include "platform/volume.h"

namespace zandb4::tool {

uint32_t VolumeSerialOf(const std::string& path) {
    return zandb4::platform::GetVolumeSerial(path);
}

}  // namespace zandb4::tool

// A file's disk_vsn must be the serial the library itself computes, or the
// library's check of a swapped volume would not hold: so the library is
// asked (tool_access), not the file system.
#include "volume_serial.h"

#include "library/tool_access.h"

namespace zandb4::tool {

uint32_t VolumeSerialOf(const std::string& path) { return tool_access::VolumeSerialOf(path); }

}  // namespace zandb4::tool

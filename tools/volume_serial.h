// The volume serial the library keeps with each file (disk_vsn), as the
// library's own platform layer computes it.
#pragma once

#include <cstdint>
#include <string>

namespace zandb4::tool {

// The serial of the volume that holds path; 0 when it cannot be asked.
uint32_t VolumeSerialOf(const std::string& path);

}  // namespace zandb4::tool

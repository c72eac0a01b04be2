// The serial number of the volume that holds a path, which the stores use to
// notice that the disk under an open file was swapped.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace zandb4::platform {

// The 32-bit fold of st_dev of the path, or of its nearest existing parent;
// 0 when nothing can be asked, which switches the guard off.
uint32_t GetVolumeSerial(const std::string& path);

// Test seam: while set, GetVolumeSerial answers from source instead of the
// file system. An empty function restores the real source. Not exported.
using VolumeSerialSource = std::function<uint32_t(const std::string& path)>;
void SetVolumeSerialSourceForTesting(VolumeSerialSource source);

}  // namespace zandb4::platform

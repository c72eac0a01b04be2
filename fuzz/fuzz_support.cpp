#include "fuzz_support.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <vector>

namespace zandb4::fuzz {

void CheckFailed(const char* file, int line, const char* condition, const std::string& detail) {
    std::fprintf(stderr, "%s:%d: check failed: %s%s%s\n", file, line, condition, detail.empty() ? "" : ": ",
                 detail.c_str());
    std::abort();
}

bool IsLibraryResult(HRESULT result) {
    switch (result) {
        case S_OK:
        case S_FALSE:
        case E_FAIL:
        case E_INVALIDARG:
        case E_NOINTERFACE:
        case E_OUTOFMEMORY:
        case E_ACCESSDENIED:
        case E_NOTIMPL:
            return true;
        default:
            return false;
    }
}

std::string HexResult(HRESULT result) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(result));
    return text;
}

namespace {

std::filesystem::path ScratchBase() {
    std::error_code error;
    if (std::filesystem::is_directory("/dev/shm", error) && access("/dev/shm", W_OK) == 0) return "/dev/shm";
    return std::filesystem::temp_directory_path();
}

}  // namespace

ScratchFolder::ScratchFolder(const char* prefix) {
    std::string pattern = (ScratchBase() / (std::string(prefix) + ".XXXXXX")).string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    FUZZ_CHECK_MSG(mkdtemp(buffer.data()) != nullptr, pattern);
    m_path = buffer.data();
}

ScratchFolder::~ScratchFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

std::u16string ConsumeText(FuzzedDataProvider& data, size_t maxUnits) {
    size_t units = data.ConsumeIntegralInRange<size_t>(0, maxUnits);
    std::u16string text;
    text.reserve(units);
    // One byte per unit for the first 240 values, so that quotes, '%', NUL
    // and Latin-1 letters are cheap to reach; above that the next two bytes
    // are the unit itself, which reaches surrogates and the rest of the
    // plane.
    for (size_t i = 0; i < units && data.remaining_bytes() > 0; ++i) {
        uint8_t lead = data.ConsumeIntegral<uint8_t>();
        if (lead < 0xF0)
            text.push_back(static_cast<char16_t>(lead));
        else
            text.push_back(static_cast<char16_t>(data.ConsumeIntegral<uint16_t>()));
    }
    return text;
}

float ConsumeFloatBits(FuzzedDataProvider& data) {
    uint32_t bits = data.ConsumeIntegral<uint32_t>();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

SYSTEMTIME ConsumeDate(FuzzedDataProvider& data) {
    SYSTEMTIME date{};
    date.wYear = data.ConsumeIntegral<uint16_t>();
    date.wMonth = data.ConsumeIntegral<uint16_t>();
    date.wDayOfWeek = data.ConsumeIntegral<uint16_t>();
    date.wDay = data.ConsumeIntegral<uint16_t>();
    date.wHour = data.ConsumeIntegral<uint16_t>();
    date.wMinute = data.ConsumeIntegral<uint16_t>();
    date.wSecond = data.ConsumeIntegral<uint16_t>();
    date.wMilliseconds = data.ConsumeIntegral<uint16_t>();
    return date;
}

}  // namespace zandb4::fuzz

// Helpers shared by the fuzz targets: a scratch root folder on a fast file
// system, checks that abort with a message (a failed check is a finding, so
// it must crash the fuzzer, not be counted), and the making of UTF-16 text
// from fuzzer bytes, including NULs and unpaired surrogates.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "frame/com_ptr.h"
#include "zandb4.h"

namespace zandb4::fuzz {

// Aborts with file, line and the failed condition. libFuzzer reports the
// abort as a crash and keeps the input.
[[noreturn]] void CheckFailed(const char* file, int line, const char* condition, const std::string& detail);

#define FUZZ_CHECK(condition)                                                        \
    do {                                                                             \
        if (!(condition)) ::zandb4::fuzz::CheckFailed(__FILE__, __LINE__, #condition, {}); \
    } while (0)

#define FUZZ_CHECK_MSG(condition, detail)                                                   \
    do {                                                                                    \
        if (!(condition)) ::zandb4::fuzz::CheckFailed(__FILE__, __LINE__, #condition, detail); \
    } while (0)

// True for the result codes the library answers; anything else (an SQLite
// code leaking out, a stray value) is a finding.
bool IsLibraryResult(HRESULT result);

std::string HexResult(HRESULT result);

// A fresh, empty folder under /dev/shm when it can be written (every
// execution of the root fuzzer writes a whole root), else under the system's
// temporary folder. Removed with all its contents on destruction.
class ScratchFolder {
public:
    explicit ScratchFolder(const char* prefix);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    CZanTString Wide() const { return CZanTString::FromUtf8(m_path.c_str()); }

private:
    std::filesystem::path m_path;
};

// UTF-16 text of up to maxUnits code units taken from the fuzzer's bytes two
// at a time: any value, so NULs, lone surrogates and quotes all occur.
std::u16string ConsumeText(FuzzedDataProvider& data, size_t maxUnits);

// A float of any bit pattern, NaN and infinities included.
float ConsumeFloatBits(FuzzedDataProvider& data);

// A date whose every field is any 16-bit value.
SYSTEMTIME ConsumeDate(FuzzedDataProvider& data);

// Creates an object of the library through its factory; aborts when the
// factory refuses, since every identifier used here is one it serves.
template <class T>
ComPtr<T> Create(const IID& iid) {
    ComPtr<T> object;
    HRESULT result = ZanDB4_CreateInstance(&iid, reinterpret_cast<void**>(object.Receive()));
    FUZZ_CHECK_MSG(result == S_OK && object, "ZanDB4_CreateInstance answered " + HexResult(result));
    return object;
}

}  // namespace zandb4::fuzz

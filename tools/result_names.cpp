// The names and plain reasons of the library's result codes.
#include "result_names.h"

#include <cstdio>

namespace zandb4::tool {
namespace {

struct ResultName {
    HRESULT code;
    const char* name;
    const char* reason;
};

constexpr ResultName kResultNames[] = {
    {S_OK, "S_OK", "success"},
    {S_FALSE, "S_FALSE", "done, with nothing to do or a negative answer"},
    {E_FAIL, "E_FAIL", "the operation failed"},
    {E_INVALIDARG, "E_INVALIDARG", "an argument is not valid"},
    {E_NOINTERFACE, "E_NOINTERFACE", "that interface is not offered"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY", "out of memory"},
    {E_ACCESSDENIED, "E_ACCESSDENIED", "access denied"},
    {E_NOTIMPL, "E_NOTIMPL", "not implemented"},
};

}  // namespace

std::string DescribeResult(HRESULT result) {
    char hex[16];
    std::snprintf(hex, sizeof(hex), "0x%08X", static_cast<unsigned>(result));
    for (const ResultName& known : kResultNames) {
        if (known.code == result) return std::string(known.name) + " (" + hex + "): " + known.reason;
    }
    return std::string(hex) + ": unknown result code";
}

}  // namespace zandb4::tool

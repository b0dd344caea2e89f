#include "frame/version.h"

namespace xdsp::frame {

namespace {
constexpr xdsp_hresult resultOk = 0;
constexpr xdsp_hresult resultNoInterface = static_cast<xdsp_hresult>(0x80004002u);
constexpr xdsp_hresult resultPointer = static_cast<xdsp_hresult>(0x80004003u);
constexpr uint32_t firstFormSize = 20;
constexpr uint32_t secondFormSize = 32;

static_assert(sizeof(xdsp_dll_version_info) == firstFormSize);
static_assert(sizeof(xdsp_dll_version_info2) == secondFormSize);
} // namespace

xdsp_hresult fillVersionInfo(xdsp_dll_version_info *info) {
    if (info == nullptr)
        return resultPointer;
    if (info->cbSize < firstFormSize)
        return resultNoInterface;
    info->dwBuildNumber = 1;
    info->dwMajorVersion = 1;
    // compat: minor version 0x00010000, not 1: callers compare with the value they have
    // always been given.
    info->dwMinorVersion = 0x00010000;
    info->dwPlatformID = 2;
    if (info->cbSize >= secondFormSize) {
        auto *second = reinterpret_cast<xdsp_dll_version_info2 *>(info);
        second->dwFlags = 0;
        second->ullVersion = 0x0001000100000000ull;
    }
    return resultOk;
}

} // namespace xdsp::frame

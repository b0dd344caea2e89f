// Device-class walks for the POSIX build. Only HID interfaces exist here: the
// HID interface class lists the hidraw nodes, and the all-classes walk sees
// each node as one device of the HID set-up class with one interface.
#include "os/os.h"

#include <new>

namespace xdsp::os {

namespace {
constexpr xdsp_guid hidInterfaceClass = {
    0x4D1E55B2, 0xF16F, 0x11CF, {0x88, 0xCB, 0x00, 0x11, 0x11, 0x00, 0x00, 0x30}};
constexpr xdsp_guid hidSetupClass = {
    0x745A17A0, 0x74D3, 0x11D0, {0xB6, 0xFE, 0x00, 0xA0, 0xC9, 0x0F, 0x57, 0xDA}};

bool sameGuid(const xdsp_guid &a, const xdsp_guid &b) {
    if (a.data1 != b.data1 || a.data2 != b.data2 || a.data3 != b.data3)
        return false;
    for (int i = 0; i < 8; ++i)
        if (a.data4[i] != b.data4[i])
            return false;
    return true;
}
} // namespace

struct ClassSet {
    bool allClasses;
    bool hidInterfaces;
};

ClassSet *classSetOpen(const xdsp_guid *interfaceClass) {
    bool all = interfaceClass == nullptr;
    return new (std::nothrow) ClassSet{all, all || sameGuid(*interfaceClass, hidInterfaceClass)};
}

void classSetClose(ClassSet *set) {
    delete set;
}

EnumStep classInterfaceAt(ClassSet *set, uint32_t index, HidInterface *out, uint32_t *) {
    if (!set->hidInterfaces)
        return EnumStep::end;
    return hidInterfaceAt(index, out) ? EnumStep::found : EnumStep::end;
}

EnumStep classDeviceAt(ClassSet *, uint32_t index, xdsp_guid *classOut, uint32_t *) {
    HidInterface probe;
    if (!hidInterfaceAt(index, &probe))
        return EnumStep::end;
    *classOut = hidSetupClass;
    return EnumStep::found;
}

EnumStep classDeviceInterfaceAt(ClassSet *, uint32_t deviceIndex, const xdsp_guid *,
                                uint32_t interfaceIndex, HidInterface *out, uint32_t *) {
    if (interfaceIndex != 0)
        return EnumStep::end;
    return hidInterfaceAt(deviceIndex, out) ? EnumStep::found : EnumStep::end;
}

} // namespace xdsp::os

// Property lists: any bytes are read or refused cleanly, and what was read is written and read back equal.

#include "FuzzSupport.h"

#include <CoreFoundation/CFQt.h>
#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>

namespace {

using List = VKCFRef<CFTypeRef>;
using Data = VKCFRef<CFDataRef>;

List read(CFDataRef data, CFOptionFlags options) {
    CFErrorRef error = nullptr;
    List list = List::adopt(CFPropertyListCreateWithData(nullptr, data, options, nullptr, &error));
    const auto owned = VKCFRef<CFErrorRef>::adopt(error);
    require(static_cast<bool>(list) != static_cast<bool>(owned), "a list or an error");
    return list;
}

Data write(const List& list) {
    return Data::adopt(
        CFPropertyListCreateData(nullptr, list.get(), kCFPropertyListXMLFormat_v1_0, 0, nullptr));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto data = Data::adopt(CFDataCreate(nullptr, bytes, static_cast<CFIndex>(size)));
    const List list = read(data.get(), kCFPropertyListImmutable);
    const List leaves = read(data.get(), kCFPropertyListMutableContainersAndLeaves);
    require(static_cast<bool>(list) == static_cast<bool>(leaves), "options do not decide what is refused");
    if (!list) {
        return 0;
    }
    require(CFEqual(list.get(), leaves.get()) != 0, "options do not change the values");
    const Data written = write(list);
    require(static_cast<bool>(written), "what was read can be written");
    const List back = read(written.get(), kCFPropertyListImmutable);
    require(static_cast<bool>(back), "what was written can be read",
            {QString::fromUtf8(CFDataCopyQByteArray(written.get()))});
    // Zeros lose their sign, so that the second round has to agree, not the first.
    require(CFDataCopyQByteArray(write(back).get()) == CFDataCopyQByteArray(written.get()),
            "a second round changes nothing", {QString::fromUtf8(CFDataCopyQByteArray(written.get()))});
    return 0;
}

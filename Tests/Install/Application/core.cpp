// Uses the core library alone.
#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCoreKit.h>

#include <cstdio>

int main() {
    const unsigned int sum = VKUtilsCRC32Std(0, "123456789", 9);
    const VKCFRef<CFStringRef> text =
        VKCFRef<CFStringRef>::adopt(CFStringCreateWithCString(nullptr, "123456789", kCFStringEncodingUTF8));
    if (sum != 0xCBF43926U || VKUtilsCRC32(0, text.get()) != sum) {
        std::fprintf(stderr, "outside core: wrong sum %08x\n", sum);
        return 1;
    }
    std::puts("outside core: fine");
    return 0;
}

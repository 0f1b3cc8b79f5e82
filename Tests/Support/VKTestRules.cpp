// Linked into each test program beside the platform answers of the same name.
#include "Support/VKTest.h"

const char* vkTestPlatformRules() { return VKTEST_PLATFORM_RULES; }

// Asks the portal.
#include "Platform/Linux/PortalCall.h"

#include "Platform/DocumentPortal.h"

#include <cerrno>

namespace VKPlatform {

int PortalCall::open(const char* method) {
    mBus = openBus(BusOwner::User);
    if (mBus == nullptr) {
        return ENOTCONN;
    }
    mCall = newBusCall(mBus, {"org.freedesktop.portal.Documents", "/org/freedesktop/portal/documents",
                              "org.freedesktop.portal.Documents", method});
    return mCall == nullptr ? EIO : 0;
}

int PortalCall::send(BusMessage& answer) {
    return sendBusCall(mBus, mCall, kPortalMicroseconds, &errorOfDocumentPortal, answer);
}

} // namespace VKPlatform

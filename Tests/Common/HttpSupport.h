// What the tests of the HTTP client share: owned transports, parts and progress objects.
#pragma once

#include "Support/RecordingServer.h"
#include "VKHttpImplCurl.h"
#include "VKHttpPart.h"

#include <VKCoreKit/VKProgress.h>

#include <memory>

namespace HttpTest {

using Transport = VKOwned<VKHttpImplCurl>;
using Part = VKOwned<VKHttpPart>;
using Progress = VKOwnedProgress;

inline Transport makeTransport(const QUrl& url) {
    Transport transport(new VKHttpImplCurl);
    transport->setUrl(url);
    return transport;
}

inline Part makePart(const QString& name, const QByteArray& body, const QString& filename = {}) {
    Part part(new VKHttpPart);
    part->setName(name);
    part->setBody(body);
    part->setFilename(filename);
    return part;
}

inline Progress makeProgress() { return Progress(VKProgressCreate(nullptr, nullptr)); }

} // namespace HttpTest

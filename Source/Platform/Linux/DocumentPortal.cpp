// Looks at the portal's file system, where a grant shows at once.
#include "Platform/DocumentPortal.h"

#include "Platform/FileFacts.h"

#include <unistd.h>

namespace VKPlatform {

QByteArray documentFolder() {
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    return (runtime.startsWith('/') ? runtime : "/run/user/" + QByteArray::number(::getuid())) + "/doc";
}

Grant grantOf(const DocumentToken& token, const QByteArray& folder) {
    if (fileExists(pathOfDocument(token, folder)) == 0) {
        return Grant::Stands;
    }
    return fileExists(folder + '/' + token.id) == 0 ? Grant::ItemIsGone : Grant::IsLost;
}

} // namespace VKPlatform

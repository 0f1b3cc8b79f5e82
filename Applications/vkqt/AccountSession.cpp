// A JSON object of three texts; who may read the file is asked of what was opened, not of its name.
#include "AccountSession.h"

#include "NewFile.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKProduct.h>
#include <VKQtPathUtils.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

VKCFRef<CFURLRef> urlOfFile(const VKQtPath& file) { return VKCFRef<CFURLRef>::adopt(file.createCFUrl()); }

/// Success only for a plain file and, where that is required, one that nobody but its owner can read: who could open
/// that is the owner or root.
VKStatus checkFile(int descriptor, Privacy privacy) {
    struct stat facts = {};
    if (::fstat(descriptor, &facts) != 0) {
        return static_cast<VKStatus>(errno);
    }
    if (!S_ISREG(facts.st_mode)) {
        return S_ISDIR(facts.st_mode) ? EISDIR : EOPNOTSUPP;
    }
    const bool isPrivate = (facts.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return isPrivate || privacy == Privacy::Ignored ? VKStatus{kVKStatusSuccess} : VKStatus{EPERM};
}

VKStatus readFile(const VKQtPath& path, Privacy privacy, QByteArray& content) {
    const QByteArray bytes = CFURLCopyFileSystemBytes(urlOfFile(path).get());
    const int descriptor = ::open(bytes.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return static_cast<VKStatus>(errno);
    }
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        return EISDIR;
    }
    if (const VKStatus status = checkFile(descriptor, privacy); status != kVKStatusSuccess) {
        return status;
    }
    content = file.read(kMostSessionBytes + 1);
    return content.size() <= kMostSessionBytes ? VKStatus{kVKStatusSuccess}
                                               : VKStatus{kVKStatusNotUnderstood};
}

} // namespace

VKQtPath defaultSessionFile() {
    const CFStringRef product = CFSTR("Example");
    if (VKProductRegister(product, nullptr) != kVKStatusSuccess) {
        return {};
    }
    const QString folder = VKQtPathUtils::getUserAppDataPathForProduct(product);
    return folder.isEmpty() ? VKQtPath() : VKQtPath(folder + u"/AccountSession.json"_s, false);
}

VKStatus readSession(const VKQtPath& file, AccountSession& session, Privacy privacy) {
    QByteArray content;
    if (const VKStatus status = readFile(file, privacy, content); status != kVKStatusSuccess) {
        return status;
    }
    const QJsonObject object = QJsonDocument::fromJson(content).object();
    const AccountSession read = {.service = object.value("service"_L1).toString(),
                                 .session = object.value("session"_L1).toString(),
                                 .name = object.value("name"_L1).toString()};
    if (read.service.isEmpty() || read.session.isEmpty()) {
        return kVKStatusNotUnderstood;
    }
    session = read;
    return kVKStatusSuccess;
}

VKStatus writeSession(const VKQtPath& file, const AccountSession& session) {
    const QJsonObject object{
        {u"service"_s, session.service}, {u"session"_s, session.session}, {u"name"_s, session.name}};
    return writeFile(file, QJsonDocument(object).toJson(), Existing::Keep, Readers::OwnerOnly);
}

VKStatus removeSession(const VKQtPath& file) { return VKFileMgrDeleteFile(urlOfFile(file).get()); }

} // namespace VKTool

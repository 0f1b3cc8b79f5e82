// The configuration's file, in and out.
#include "VKConfigFile.h"

#include "VKNode.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>

#include <QFile>

#include <cerrno>

namespace VKConfigDetail {

namespace {

// A resource is compiled in and never too long; it is read here only because nothing else reads resources.
VKStatus readResource(const QString& path, QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return file.error();
    }
    bytes = file.read(VKNode::kMaxJsonBytes + 1);
    return bytes.size() > VKNode::kMaxJsonBytes ? kVKStatusBadArgument : kVKStatusSuccess;
}

} // namespace

SaveOutcome saveOutcome(VKStatus status) noexcept {
    switch (status) {
    case kVKStatusSuccess:
        return {};
    case ENOSPC:
        return {SaveStep::Write, QFileDevice::ResourceError};
    case EDQUOT:
    case EFBIG:
    case EIO:
        return {SaveStep::Write, QFileDevice::WriteError};
    case EMFILE:
        return {SaveStep::Open, QFileDevice::ResourceError};
    default:
        return {SaveStep::Open, QFileDevice::OpenError};
    }
}

SaveOutcome saveFile(const VKQtPath& file, const QByteArray& bytes) {
    const auto url = VKCFRef<CFURLRef>::adopt(file.createCFUrl());
    const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(bytes));
    return saveOutcome(VKFileMgrWriteFileContents(data.get(), url.get()));
}

VKStatus readFile(const QString& path, QByteArray& bytes) {
    if (path.startsWith(u':')) {
        return readResource(path, bytes);
    }
    const auto url = VKCFRef<CFURLRef>::adopt(VKQtPath(path, false).createCFUrl());
    VKCFRef<CFDataRef> data;
    const VKStatus status = VKFileMgrGetFileContentsWithLimitCopy(
        url.get(), static_cast<std::uint64_t>(VKNode::kMaxJsonBytes), data.out());
    if (status == EFBIG) {
        return kVKStatusBadArgument;
    }
    if (status != kVKStatusSuccess) {
        return status == EMFILE ? QFileDevice::ResourceError : QFileDevice::OpenError;
    }
    bytes = CFDataCopyQByteArray(data.get());
    return kVKStatusSuccess;
}

} // namespace VKConfigDetail

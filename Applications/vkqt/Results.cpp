// One array for scripts, or lines for people; and the way from a text to the bytes on disk.
#include "Results.h"

#include "Text.h"

#include <CoreFoundation/CFQt.h>

namespace VKTool {

using namespace Qt::StringLiterals;

Results::Results(Invocation& invocation) : mOutput(invocation.output()), mJson(invocation.isOn(u"json"_s)) {
    if (mJson) {
        mOutput.writeBytes(jsonArrayStart());
    }
}

Results::~Results() {
    if (mJson) {
        mOutput.writeBytes(jsonArrayEnd(mFirst));
    }
}

void Results::add(const QJsonObject& object) {
    if (mJson) {
        mOutput.writeBytes(jsonArrayItem(object, mFirst));
        mFirst = false;
    }
}

void Results::say(const QString& line) {
    if (!mJson) {
        mOutput.write(line + u'\n');
    }
}

QJsonValue errorMember(VKStatus status) {
    return status == kVKStatusSuccess ? QJsonValue(QJsonValue::Null) : QJsonValue(reasonOf(status));
}

VKQtPath absolutePath(const QString& text, bool isFolder) {
    // An empty text, as of a shell's variable that nobody set, is not the working folder.
    return VKQtPath(text.isEmpty() ? QString() : absoluteText(text, workingFolder()), isFolder);
}

VKCFRef<CFURLRef> urlOf(const QString& text, bool isFolder) {
    return VKCFRef<CFURLRef>::adopt(absolutePath(text, isFolder).createCFUrl());
}

QByteArray bytesOf(CFURLRef url) { return CFURLCopyFileSystemBytes(url); }

QString textOf(CFURLRef url) { return VKQtPath(decodeBytes(bytesOf(url)), false).path(); }

VKCFRef<CFURLRef> urlInFolder(CFURLRef folder, QByteArrayView name, bool isFolder) {
    QByteArray bytes = bytesOf(folder);
    if (bytes.isNull()) {
        return {};
    }
    bytes += bytes.endsWith('/') ? "" : "/";
    bytes += name;
    return VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.constData()), bytes.size(), isFolder));
}

} // namespace VKTool

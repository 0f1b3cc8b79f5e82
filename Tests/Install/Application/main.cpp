// Uses the installed library the way an application does, and checks what comes back.
#include <VKCoreImage/VKCoreImageHardwareInfo.h>
#include <VKCoreImageUtils.h>
#include <VKKeySequence.h>
#include <VKQtDirIterator.h>
#include <VKQtPath.h>
#include <VKQtPathFilter.h>
#include <VKQtStringUtils.h>
#include <VKQtSysInfo.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

namespace {

int fail(const char* what) {
    std::fprintf(stderr, "outside application: %s\n", what);
    return 1;
}

} // namespace

int main() {
    const VKQtPath path(QStringLiteral("C:\\Photos\\Autumn\\"), true);
    if (path.path() != QStringLiteral("C:/Photos/Autumn") || path.filename() != QStringLiteral("Autumn")) {
        return fail("the path is not canonical");
    }
    if (VKQtSysInfo::isWinPlatform() && VKQtSysInfo::isMacPlatform()) {
        return fail("two platforms at once");
    }

    if (VKKeySequence::kCopy != QKeySequence(Qt::CTRL | Qt::Key_C)) {
        return fail("the shortcut of copying is wrong");
    }

    // Without a QGuiApplication there is no context, which is told and not suffered.
    if (VKCoreImageHardwareInfo::validateOpenGL() != 1002 || VKCoreImageUtils::sContext != nullptr) {
        return fail("a graphics context came from nowhere");
    }
    if (VKQtSysInfo::osName().isEmpty() || VKQtSysInfo::resolution() != QStringLiteral("0x0")) {
        return fail("the system is not known");
    }

    const QTemporaryDir folder;
    const char* const names[] = {"a.jpg", "b.txt", "Cafe\xCC\x81.png"};
    for (const char* name : names) {
        QFile file(folder.path() + u'/' + QString::fromUtf8(name));
        if (!file.open(QIODevice::WriteOnly) || file.write("photo") != 5) {
            return fail("a file could not be written");
        }
    }
    const std::unique_ptr<VKQtDirIterator> entries(
        VKQtDirIterator::makeIterator(VKQtPath(folder.path(), true), VKQtPathFilter()));
    QStringList found;
    VKQtDirIterator::Entry entry;
    while (entries->next(entry)) {
        if (entry.size != 5 || !entry.modified.isValid()) {
            return fail("an entry lacks its size or date");
        }
        found << entry.path.filename();
    }
    found.sort();
    if (found != QStringList{QStringLiteral("Caf\u00E9.png"), QStringLiteral("a.jpg")}) {
        return fail("the listing is wrong");
    }
    const CFURLRef url = VKQtPath(folder.path() + QStringLiteral("/Caf\u00E9.png"), false).createCFUrl();
    if (url == nullptr ||
        !VKQtStringUtils::createQStringFromCFUrlRef(url).endsWith(QStringLiteral("Cafe%CC%81.png"))) {
        return fail("the URL does not hold the name on the disk");
    }
    CFRelease(url);
    std::puts("outside application: fine");
    return 0;
}

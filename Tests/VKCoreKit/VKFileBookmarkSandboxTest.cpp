// Bookmarks end to end, with the real document portal and applications in real sandboxes. This program is also the
// application: with an argument it answers questions on its input instead of testing.
#include "Support/PortalSupport.h"
#include "Support/VKTest.h"

#include <VKCoreKit/VKCoreKit.h>

#include <CoreFoundation/CFQt.h>

#include <QScopeGuard>

#include <cerrno>
#include <iostream>
#include <memory>
#include <string>

namespace {

using Url = VKCFRef<CFURLRef>;
using Data = VKCFRef<CFDataRef>;
using String = VKCFRef<CFStringRef>;

constexpr char kApplication[] = "org.example.Photo";
constexpr char kOther[] = "org.example.Other";

Url urlOf(const QByteArray& path) {
    return Url::adopt(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.constData()), path.size(), 0));
}

String stringOf(const QByteArray& text) {
    return String::adopt(CFStringCreateWithQString(QString::fromUtf8(text)));
}

QByteArray failed(VKStatus status) { return "error " + QByteArray::number(status); }
QByteArray fresh(const QByteArray& path) { return "ok " + path + " fresh"; }
QByteArray stale(const QByteArray& path) { return "ok " + path + " stale"; }

// The application.

/// "ok PATH stale?" or "error CODE"
QByteArray resolved(const QByteArray& bytes) {
    const Data data = Data::adopt(CFDataCreateWithQByteArray(bytes));
    CFURLRef url = nullptr;
    bool isStale = false;
    const VKStatus status = VKFileMgrResolveBookmark(data.get(), nullptr, &url, &isStale);
    if (status != 0) {
        return failed(status);
    }
    const QByteArray path = CFURLCopyFileSystemBytes(Url::adopt(url).get());
    return isStale ? stale(path) : fresh(path);
}

QByteArray bookmarkOf(const QByteArray& urlText) {
    CFDataRef data = nullptr;
    const VKStatus status = VKFileMgrCreateBookmarkFromChooser(stringOf(urlText).get(), &data);
    return status == 0 ? QByteArray("ok " + CFDataCopyQByteArray(Data::adopt(data).get()).toHex())
                       : failed(status);
}

/// As an editor saves: a new file beside the old one takes its place.
QByteArray saved(const QByteArray& path) {
    const QByteArray fresh = path + ".new";
    const int file = ::open(fresh.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (file < 0 || ::write(file, "saved", 5) != 5 || ::close(file) != 0 ||
        ::rename(fresh.constData(), path.constData()) != 0) {
        return failed(static_cast<VKStatus>(errno));
    }
    return "ok";
}

QByteArray answer(const QByteArray& question, const QByteArray& argument) {
    if (question == "sandboxed") {
        return VKProcessGetSandboxed() ? "yes" : "no";
    }
    if (question == "resolve") {
        return resolved(argument);
    }
    if (question == "bookmark") {
        return bookmarkOf(argument);
    }
    if (question == "start") {
        return CFURLStartAccessingSecurityScopedResource(urlOf(argument).get()) != 0 ? "yes" : "no";
    }
    if (question == "read") {
        return Disk::exists(argument) ? "ok " + Disk::contentOf(argument) : QByteArray("no");
    }
    return question == "save" ? saved(argument) : QByteArray("?");
}

int beAnApplication() {
    std::string line;
    while (std::getline(std::cin, line)) {
        const QByteArrayList words = QByteArray::fromStdString(line).split(' ');
        std::cout << answer(words.first(), QByteArray::fromHex(words.value(1))).constData() << std::endl;
    }
    return 0;
}

// The test's side of it.

class Application {
public:
    Application(const char* name, const QByteArray& folder)
        : mProgram(Portal::sandboxed(name, folder, Portal::thisProgram(), {"application"})) {}

    QByteArray ask(const char* question, const QByteArray& argument = QByteArray()) {
        return mProgram.ask(question + QByteArray(" ") + argument.toHex());
    }
    int finish() { return mProgram.finish(); }

private:
    Portal::Program mProgram;
};

struct Granted {
    VKStatus status = 0;
    QByteArray data;
};

Granted grant(const QByteArray& path, VKFileRights rights = VKFileRights::ReadAndWrite,
              const char* application = kApplication) {
    CFDataRef data = nullptr;
    const VKStatus status =
        VKFileMgrGrantBookmark(urlOf(path).get(), stringOf(application).get(), rights, &data);
    return {status, CFDataCopyQByteArray(Data::adopt(data).get())};
}

VKStatus withdraw(const QByteArray& bytes, const char* application = kApplication) {
    const Data data = Data::adopt(CFDataCreateWithQByteArray(bytes));
    return VKFileMgrWithdrawBookmark(data.get(), stringOf(application).get());
}

/// The path in an answer "ok PATH fresh".
QByteArray pathIn(const QByteArray& answer) { return answer.split(' ').value(1); }

} // namespace

class VKFileBookmarkSandboxTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void deniedWithoutABookmark();
    void fileThroughItsBookmark();
    void folderThroughItsBookmark();
    void survivesARestart();
    void revokedWhileItRuns();
    void chooserToBookmark();
    void renamedOnTheHost();
    void replacedOnTheHost();
    void rightsAreTheGrants();
    void grantsAreOneApplications();
    void documentsOnTheHost();
    void theSameOutsideASandbox();
    void withoutAPortal();

private:
    [[nodiscard]] QByteArray makePhoto();

    std::unique_ptr<Portal::Session> mSession;
    QByteArray mFolder;
};

void VKFileBookmarkSandboxTest::initTestCase() {
    if (Portal::Session::canBeMade()) {
        mSession = std::make_unique<Portal::Session>();
    }
}

void VKFileBookmarkSandboxTest::cleanupTestCase() { mSession.reset(); }

void VKFileBookmarkSandboxTest::init() {
    VKTest::init();
    VKTEST_NEEDS(mSession != nullptr, "dbus, xdg-desktop-portal, bubblewrap and /dev/fuse");
    QVERIFY(mSession->isUp());
    mFolder = makeFolder().toUtf8();
}

QByteArray VKFileBookmarkSandboxTest::makePhoto() {
    const QByteArray path = mFolder + "/a.jpg";
    Disk::makeFile(path, "photo");
    return path;
}

void VKFileBookmarkSandboxTest::deniedWithoutABookmark() {
    const QByteArray path = makePhoto();
    Application application(kApplication, mFolder);
    QCOMPARE(application.ask("sandboxed"), "yes");
    QCOMPARE(application.ask("read", path), "no");
    QCOMPARE(application.ask("start", path), "no");
    QCOMPARE(application.ask("start", mFolder), "no");
    QCOMPARE(application.ask("start", mSession->documents() + "/nosuchid/a.jpg"), "no");
    QCOMPARE(application.finish(), 0);
}

void VKFileBookmarkSandboxTest::fileThroughItsBookmark() {
    const QByteArray path = makePhoto();
    const Granted granted = grant(path);
    QCOMPARE(granted.status, 0U);
    Application application(kApplication, mFolder);
    const QByteArray answer = application.ask("resolve", granted.data);
    QVERIFY2(answer.endsWith(" fresh"), answer.constData());
    const QByteArray inside = pathIn(answer);
    QVERIFY(inside.startsWith(QByteArray(mSession->documents() + '/')));
    QVERIFY(inside.endsWith("/a.jpg"));
    QCOMPARE(application.ask("start", inside), "yes");
    QCOMPARE(application.ask("read", inside), "ok photo");
    QCOMPARE(application.ask("save", inside), "ok");
    QCOMPARE(Disk::contentOf(path), "saved");
    QCOMPARE(application.ask("resolve", granted.data), answer);
    QCOMPARE(application.ask("read", path), "no");
    QCOMPARE(application.finish(), 0);
}

void VKFileBookmarkSandboxTest::folderThroughItsBookmark() {
    Disk::makeFolder(mFolder + "/Photos");
    Disk::makeFolder(mFolder + "/Photos/2026");
    Disk::makeFile(mFolder + "/Photos/2026/a.jpg", "photo");
    const Granted granted = grant(mFolder + "/Photos");
    QCOMPARE(granted.status, 0U);
    Application application(kApplication, mFolder);
    const QByteArray inside = pathIn(application.ask("resolve", granted.data));
    QVERIFY(inside.endsWith("/Photos"));
    QCOMPARE(application.ask("start", inside), "yes");
    QCOMPARE(application.ask("start", inside + "/2026/a.jpg"), "yes");
    QCOMPARE(application.ask("start", inside + "/2026/b.jpg"), "no");
    QCOMPARE(application.ask("read", inside + "/2026/a.jpg"), "ok photo");

    // An item in it has a bookmark of its own, which the host understands.
    const QByteArray made = application.ask("bookmark", "file://" + inside + "/2026/a.jpg");
    QVERIFY2(made.startsWith("ok "), made.constData());
    const QByteArray data = QByteArray::fromHex(made.sliced(3));
    QCOMPARE(application.ask("resolve", data), fresh(inside + "/2026/a.jpg"));
    QCOMPARE(resolved(data), fresh(mFolder + "/Photos/2026/a.jpg"));
    QCOMPARE(application.finish(), 0);
}

void VKFileBookmarkSandboxTest::survivesARestart() {
    const QByteArray path = makePhoto();
    const Granted granted = grant(path);
    QCOMPARE(granted.status, 0U);
    QByteArray inside;
    {
        Application first(kApplication, mFolder);
        inside = pathIn(first.ask("resolve", granted.data));
        QCOMPARE(first.ask("start", inside), "yes");
        QCOMPARE(first.finish(), 0);
    }
    mSession->stopPortal();
    QVERIFY(!Portal::isMounted(mSession->documents()));
    mSession->startPortal();
    QVERIFY(mSession->isUp());
    Application second(kApplication, mFolder);
    QCOMPARE(second.ask("resolve", granted.data), fresh(inside));
    QCOMPARE(second.ask("start", inside), "yes");
    QCOMPARE(second.ask("read", inside), "ok photo");
    QCOMPARE(second.finish(), 0);
}

void VKFileBookmarkSandboxTest::revokedWhileItRuns() {
    for (const char* name : {"/a.jpg", "/Photos"}) {
        const QByteArray path = mFolder + name;
        if (path.endsWith("jpg")) {
            Disk::makeFile(path, "photo");
        } else {
            Disk::makeFolder(path);
        }
        const Granted granted = grant(path);
        Application application(kApplication, mFolder);
        const QByteArray inside = pathIn(application.ask("resolve", granted.data));
        QCOMPARE(application.ask("start", inside), "yes");

        QCOMPARE(withdraw(granted.data), 0U);
        QCOMPARE(application.ask("start", inside), "no");
        QCOMPARE(application.ask("read", inside), "no");
        QCOMPARE(application.ask("resolve", granted.data), stale(inside));
        {
            Application later(kApplication, mFolder);
            QCOMPARE(later.ask("resolve", granted.data), stale(inside));
            QCOMPARE(later.ask("start", inside), "no");
            QCOMPARE(later.finish(), 0);
        }

        // Granted again, it is at the same place.
        QCOMPARE(grant(path).status, 0U);
        QCOMPARE(application.ask("start", inside), "yes");
        QCOMPARE(application.ask("resolve", granted.data), fresh(inside));
        QCOMPARE(application.finish(), 0);
    }
}

/// What a file chooser gives to an application is such a URL; the bookmark is made of it in one call, by the
/// application itself.
void VKFileBookmarkSandboxTest::chooserToBookmark() {
    Disk::makeFile(mFolder + "/a b%.jpg", "photo");
    const Granted granted = grant(mFolder + "/a b%.jpg");
    QByteArray made;
    {
        Application first(kApplication, mFolder);
        const QByteArray answer = first.ask("resolve", granted.data);
        const QByteArray inside = answer.sliced(3, answer.size() - 3 - 6);
        QVERIFY(inside.endsWith("/a b%.jpg"));
        made = first.ask("bookmark", "file://" + QByteArray(inside).replace("%", "%25").replace(" ", "%20"));
        QVERIFY2(made.startsWith("ok "), made.constData());
        QCOMPARE(first.ask("bookmark", "file://" + mSession->documents() + "/nosuchid/a.jpg"),
                 failed(ENOENT));
        QCOMPARE(first.finish(), 0);
    }
    Application second(kApplication, mFolder);
    const QByteArray answer = second.ask("resolve", QByteArray::fromHex(made.sliced(3)));
    QVERIFY2(answer.endsWith("/a b%.jpg fresh"), answer.constData());
    QCOMPARE(second.ask("start", answer.sliced(3, answer.size() - 3 - 6)), "yes");
    QCOMPARE(second.finish(), 0);
}

void VKFileBookmarkSandboxTest::renamedOnTheHost() {
    const QByteArray path = makePhoto();
    const Granted granted = grant(path);
    Application application(kApplication, mFolder);
    const QByteArray inside = pathIn(application.ask("resolve", granted.data));
    QCOMPARE(::rename(Disk::text(path), Disk::text(mFolder + "/b.jpg")), 0);
    // The portal follows no rename; the host does.
    QCOMPARE(application.ask("resolve", granted.data), failed(ENOENT));
    QCOMPARE(application.ask("start", inside), "no");
    QCOMPARE(resolved(granted.data), stale(mFolder + "/b.jpg"));
    QCOMPARE(::rename(Disk::text(mFolder + "/b.jpg"), Disk::text(path)), 0);
    QCOMPARE(application.ask("start", inside), "yes");
    QCOMPARE(application.finish(), 0);
}

void VKFileBookmarkSandboxTest::replacedOnTheHost() {
    const QByteArray path = makePhoto();
    const Granted granted = grant(path);
    Application application(kApplication, mFolder);
    const QByteArray inside = pathIn(application.ask("resolve", granted.data));
    QCOMPARE(saved(path), "ok");
    QCOMPARE(application.ask("resolve", granted.data), fresh(inside));
    QCOMPARE(application.ask("read", inside), "ok saved");
    QCOMPARE(application.finish(), 0);
}

void VKFileBookmarkSandboxTest::rightsAreTheGrants() {
    const QByteArray path = makePhoto();
    const Granted granted = grant(path, VKFileRights::Read);
    QCOMPARE(granted.status, 0U);
    Application application(kApplication, mFolder);
    const QByteArray inside = pathIn(application.ask("resolve", granted.data));
    QCOMPARE(application.ask("read", inside), "ok photo");
    QVERIFY(application.ask("save", inside).startsWith("error "));
    QCOMPARE(Disk::contentOf(path), "photo");
    QCOMPARE(application.finish(), 0);
}

void VKFileBookmarkSandboxTest::grantsAreOneApplications() {
    const Granted granted = grant(makePhoto());
    Application other(kOther, mFolder);
    const QByteArray answer = other.ask("resolve", granted.data);
    QVERIFY2(answer.endsWith(" stale"), answer.constData());
    QCOMPARE(other.ask("start", pathIn(answer)), "no");
    // Withdrawing what was never granted is no failure, and takes nothing from others.
    QCOMPARE(withdraw(granted.data, kOther), 0U);
    Application application(kApplication, mFolder);
    QCOMPARE(application.ask("start", pathIn(answer)), "yes");
    QCOMPARE(other.finish(), 0);
    QCOMPARE(application.finish(), 0);
}

void VKFileBookmarkSandboxTest::documentsOnTheHost() {
    const QByteArray path = makePhoto();
    const Granted granted = grant(path);
    Application application(kApplication, mFolder);
    const QByteArray inside = pathIn(application.ask("resolve", granted.data));
    const QByteArray made = application.ask("bookmark", "file://" + inside);
    QCOMPARE(application.finish(), 0);
    // The application's own bookmark leads the host to the real file, as does one made of a document's path there.
    QCOMPARE(resolved(QByteArray::fromHex(made.sliced(3))), fresh(path));
    const QByteArray onHost = bookmarkOf("file://" + inside);
    QCOMPARE(resolved(QByteArray::fromHex(onHost.sliced(3))), fresh(path));
    QCOMPARE(::rename(Disk::text(path), Disk::text(mFolder + "/b.jpg")), 0);
    QCOMPARE(resolved(QByteArray::fromHex(made.sliced(3))), failed(ENOENT));
    QCOMPARE(resolved(QByteArray::fromHex(onHost.sliced(3))), stale(mFolder + "/b.jpg"));
}

void VKFileBookmarkSandboxTest::theSameOutsideASandbox() {
    const QByteArray path = makePhoto();
    QCOMPARE(answer("sandboxed", QByteArray()), "no");
    const QByteArray made = bookmarkOf("file://" + path);
    QVERIFY(made.startsWith("ok "));
    const QByteArray data = QByteArray::fromHex(made.sliced(3));
    QCOMPARE(resolved(data), fresh(path));
    QCOMPARE(answer("start", path), "yes");
    QCOMPARE(withdraw(data), VKStatus(EINVAL));
    QCOMPARE(answer("start", path), "yes");
    QCOMPARE(resolved(data), fresh(path));
}

void VKFileBookmarkSandboxTest::withoutAPortal() {
    const QByteArray path = makePhoto();
    const Granted granted = grant(path);
    QCOMPARE(granted.status, 0U);
    mSession.reset();
    const auto again = qScopeGuard([this] { mSession = std::make_unique<Portal::Session>(); });
    QCOMPARE(grant(path).status, VKStatus(ENOTCONN));
    QCOMPARE(withdraw(granted.data), VKStatus(ENOTCONN));
    QCOMPARE(resolved(granted.data), fresh(path));
}

int main(int argc, char** argv) {
    if (argc == 2 && QByteArray(argv[1]) == "application") {
        return beAnApplication();
    }
    return vkTestRun(argc, argv, [] { return std::make_unique<VKFileBookmarkSandboxTest>(); });
}

#include "VKFileBookmarkSandboxTest.moc"

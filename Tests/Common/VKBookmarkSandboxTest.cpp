// Bookmarks of an application in a real sandbox with the real document portal. This program is also the
// application: with an argument it answers questions on its input instead of testing.
#include "Support/PortalSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <VKBookmark.h>
#include <VKBookmarkManager.h>
#include <VKCoreKit/VKFileBookmark.h>
#include <VKCoreKit/VKProcess.h>

#include <iostream>
#include <memory>
#include <string>

namespace {

using Data = VKCFRef<CFDataRef>;

constexpr char kApplication[] = "org.example.Photo";

// The application, which keeps one bookmark.

class Answers {
public:
    QByteArray answer(const QByteArray& question, const QByteArray& argument) {
        if (question == "sandboxed") {
            return yesOrNo(VKProcessGetSandboxed());
        }
        if (question == "load") {
            return loaded(argument);
        }
        if (question == "path") {
            return CFURLCopyFileSystemBytes(mBookmark->resolveUrlPath());
        }
        if (question == "checkout") {
            mBookmark->checkout();
            return mBookmark->checkoutRefused() ? "refused" : QByteArray::number(mBookmark->checkoutCount());
        }
        if (question == "checkin") {
            mBookmark->checkin();
            return QByteArray::number(mBookmark->checkoutCount());
        }
        if (question == "access") {
            return yesOrNo(VKBookmark::hasSandboxAccess(QString::fromUtf8(argument), false));
        }
        if (question == "read") {
            return Disk::exists(argument) ? "content " + Disk::contentOf(argument) : QByteArray("denied");
        }
        return question == "create" ? created(argument) : QByteArray("?");
    }

private:
    static QByteArray yesOrNo(bool yes) { return yes ? "yes" : "no"; }

    QByteArray loaded(const QByteArray& xml) {
        mBookmark.reset(new VKBookmark);
        return "status " + QByteArray::number(mBookmark->load(xml));
    }

    /// The kept form, as hexadecimal digits.
    static QByteArray created(const QByteArray& path) {
        VKBookmark* made = nullptr;
        const VKStatus status = VKBookmark::create(CoreKit::makeUrl(path, !path.endsWith(".jpg")).get(),
                                                   !path.endsWith(".jpg"), made);
        if (status != kVKStatusSuccess) {
            return "status " + QByteArray::number(status);
        }
        const VKOwned<VKBookmark> bookmark(made);
        QByteArray xml;
        return bookmark->save(xml) == kVKStatusSuccess ? xml.toHex() : QByteArray("not saved");
    }

    VKOwned<VKBookmark> mBookmark;
};

int beAnApplication() {
    // What cannot be resolved is said by the answers.
    VKLogSetHandler([](const VKLogRecord&, void*) {}, nullptr);
    Answers answers;
    std::string line;
    while (std::getline(std::cin, line)) {
        const QByteArrayList words = QByteArray::fromStdString(line).split(' ');
        std::cout << answers.answer(words.first(), QByteArray::fromHex(words.value(1))).constData()
                  << std::endl;
    }
    VKBookmarkManager::deleteInstance();
    return 0;
}

// The test's side of it.

class Application {
public:
    explicit Application(const QByteArray& folder)
        : mProgram(Portal::sandboxed(kApplication, folder, Portal::thisProgram(), {"application"})) {}

    QByteArray ask(const char* question, const QByteArray& argument = QByteArray()) {
        return mProgram.ask(question + QByteArray(" ") + argument.toHex());
    }
    int finish() { return mProgram.finish(); }

private:
    Portal::Program mProgram;
};

Data grant(const QByteArray& path) {
    Data data;
    const auto application = CoreKit::makeString(QString::fromUtf8(kApplication));
    const VKStatus status = VKFileMgrGrantBookmark(CoreKit::makeUrl(path).get(), application.get(),
                                                   VKFileRights::ReadAndWrite, data.out());
    return status == kVKStatusSuccess ? data : Data();
}

VKStatus withdraw(const Data& data) {
    return VKFileMgrWithdrawBookmark(data.get(), CoreKit::makeString(QString::fromUtf8(kApplication)).get());
}

/// As the application would have kept it.
QByteArray keptForm(const QByteArray& path, const Data& data) {
    VKBookmark bookmark;
    bookmark.setPath(QString::fromUtf8(path));
    bookmark.setData(data.get());
    QByteArray xml;
    return bookmark.save(xml) == kVKStatusSuccess ? xml : QByteArray();
}

} // namespace

class VKBookmarkSandboxTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { mSession.reset(); }
    void init();
    void reachesAnItem_data();
    void reachesAnItem();
    void laterProcessAfterTheRestart();
    void grantIsLost();
    void grantIsLostWhileCheckedOut();
    void madeInTheSandbox_data();
    void madeInTheSandbox();

private:
    /// A file, or a folder with that file in it; its path.
    [[nodiscard]] QByteArray makeItem(bool isFolder);

    std::unique_ptr<Portal::Session> mSession;
    QByteArray mFolder;
};

void VKBookmarkSandboxTest::initTestCase() {
    if (Portal::Session::canBeMade()) {
        mSession = std::make_unique<Portal::Session>();
    }
}

void VKBookmarkSandboxTest::init() {
    VKTest::init();
    VKTEST_NEEDS(mSession != nullptr, "dbus, xdg-desktop-portal, bubblewrap and /dev/fuse");
    QVERIFY(mSession->isUp());
    mFolder = makeFolder().toUtf8();
}

QByteArray VKBookmarkSandboxTest::makeItem(bool isFolder) {
    if (!isFolder) {
        Disk::makeFile(mFolder + "/a.jpg", "photo");
        return mFolder + "/a.jpg";
    }
    Disk::makeFolder(mFolder + "/Trip");
    Disk::makeFile(mFolder + "/Trip/a.jpg", "photo");
    return mFolder + "/Trip";
}

void VKBookmarkSandboxTest::reachesAnItem_data() {
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("file") << false;
    QTest::newRow("folder") << true;
}

void VKBookmarkSandboxTest::reachesAnItem() {
    QFETCH(bool, isFolder);
    const QByteArray item = makeItem(isFolder);
    const QByteArray below = isFolder ? "/a.jpg" : "";
    const Data data = grant(item);
    QVERIFY(data);
    Application application(mFolder);
    QCOMPARE(application.ask("sandboxed"), QByteArray("yes"));
    QCOMPARE(application.ask("read", item + below), QByteArray("denied"));
    QCOMPARE(application.ask("access", item), QByteArray("no"));

    QCOMPARE(application.ask("load", keptForm(item, data)), QByteArray("status 0"));
    const QByteArray inside = application.ask("path");
    QVERIFY2(inside.startsWith(QByteArray(mSession->documents() + '/')), inside.constData());
    QCOMPARE(application.ask("access", inside + below), QByteArray("no")); // not checked out yet
    QCOMPARE(application.ask("checkout"), QByteArray("1"));
    QCOMPARE(application.ask("checkout"), QByteArray("2"));
    QCOMPARE(application.ask("access", inside + below), QByteArray("yes"));
    QCOMPARE(application.ask("read", inside + below), QByteArray("content photo"));
    QCOMPARE(application.ask("checkin"), QByteArray("1"));
    QCOMPARE(application.ask("access", inside + below), QByteArray("yes"));
    QCOMPARE(application.ask("checkin"), QByteArray("0"));
    QCOMPARE(application.ask("access", inside + below), QByteArray("no"));
    QCOMPARE(application.finish(), 0);
}

void VKBookmarkSandboxTest::laterProcessAfterTheRestart() {
    const QByteArray item = makeItem(true);
    const QByteArray xml = keptForm(item, grant(item));
    {
        Application first(mFolder);
        QCOMPARE(first.ask("load", xml), QByteArray("status 0"));
        QCOMPARE(first.ask("checkout"), QByteArray("1"));
        QCOMPARE(first.finish(), 0);
    }
    mSession->stopPortal();
    mSession->startPortal();
    QVERIFY(mSession->isUp());
    Application second(mFolder);
    QCOMPARE(second.ask("load", xml), QByteArray("status 0"));
    QCOMPARE(second.ask("checkout"), QByteArray("1"));
    QCOMPARE(second.ask("read", second.ask("path") + "/a.jpg"), QByteArray("content photo"));
    QCOMPARE(second.finish(), 0);
}

void VKBookmarkSandboxTest::grantIsLost() {
    const QByteArray item = makeItem(false);
    const Data data = grant(item);
    const QByteArray xml = keptForm(item, data);
    QCOMPARE(withdraw(data), kVKStatusSuccess);
    Application application(mFolder);
    QCOMPARE(application.ask("load", xml), QByteArray("status 0"));
    QCOMPARE(application.ask("checkout"), QByteArray("refused"));
    QVERIFY(grant(item));
    QCOMPARE(application.ask("checkout"), QByteArray("refused")); // this object gives up for good
    QCOMPARE(application.ask("load", xml), QByteArray("status 0"));
    QCOMPARE(application.ask("checkout"), QByteArray("1")); // a new one is free to try
    QCOMPARE(application.finish(), 0);
}

void VKBookmarkSandboxTest::grantIsLostWhileCheckedOut() {
    const QByteArray item = makeItem(true);
    const Data data = grant(item);
    Application application(mFolder);
    QCOMPARE(application.ask("load", keptForm(item, data)), QByteArray("status 0"));
    const QByteArray inside = application.ask("path");
    QCOMPARE(application.ask("checkout"), QByteArray("1"));
    QCOMPARE(withdraw(data), kVKStatusSuccess);
    QCOMPARE(application.ask("read", inside + "/a.jpg"), QByteArray("denied"));
    QCOMPARE(application.ask("checkout"), QByteArray("refused"));
    QCOMPARE(application.finish(), 0);
}

void VKBookmarkSandboxTest::madeInTheSandbox_data() { reachesAnItem_data(); }

void VKBookmarkSandboxTest::madeInTheSandbox() {
    QFETCH(bool, isFolder);
    const QByteArray item = makeItem(isFolder);
    const Data data = grant(item);
    QByteArray xml;
    QByteArray inside;
    {
        // What a file chooser gives to an application lies in the folder of documents.
        Application first(mFolder);
        QCOMPARE(first.ask("load", keptForm(item, data)), QByteArray("status 0"));
        inside = first.ask("path");
        xml = QByteArray::fromHex(first.ask("create", inside));
        QVERIFY(xml.startsWith("<?xml"));
        QVERIFY(first.ask("create", mSession->documents() + "/nosuchid/a.jpg").startsWith("status "));
        QCOMPARE(first.finish(), 0);
    }
    Application second(mFolder);
    QCOMPARE(second.ask("load", xml), QByteArray("status 0"));
    QCOMPARE(second.ask("path"), inside);
    QCOMPARE(second.ask("checkout"), QByteArray("1"));
    QCOMPARE(second.ask("read", inside + (isFolder ? "/a.jpg" : "")), QByteArray("content photo"));
    QCOMPARE(second.finish(), 0);
}

int main(int argc, char** argv) {
    if (argc > 1 && QByteArray(argv[1]) == "application") {
        return beAnApplication();
    }
    return vkTestRun(argc, argv,
                     [] { return std::unique_ptr<QObject>(std::make_unique<VKBookmarkSandboxTest>()); });
}

#include "VKBookmarkSandboxTest.moc"

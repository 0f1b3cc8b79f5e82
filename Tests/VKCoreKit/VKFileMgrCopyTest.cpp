// Copying by URL: statuses, the stages of a folder's copy as an observer sees them, cancelling.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Support/ItemRecord.h"

#include <cerrno>

using namespace CoreKit;

namespace {

/// A progress object that writes down what it reports, as "stage/step/steps", and cancels itself at a step.
class Recorder {
public:
    explicit Recorder(const QString& cancelAt = QString())
        : mProgress(VKProgressCreate(&Recorder::observe, this)), mCancelAt(cancelAt) {}

    [[nodiscard]] VKProgress* progress() const { return mProgress.get(); }
    void watchBytes() { VKProgressSetByteObserver(progress(), &Recorder::observeBytes, this); }

    QStringList seen;
    QList<quint64> done;
    quint64 total = 0;
    bool cancelAtBytes = false;

private:
    static void observe(const VKProgressState& state, void* context) {
        auto* const self = static_cast<Recorder*>(context);
        self->seen.append(QStringLiteral("%1/%2/%3").arg(state.stage).arg(state.step).arg(state.steps));
        if (self->seen.last() == self->mCancelAt) {
            VKProgressSetCancel(self->progress(), true);
        }
    }
    static void observeBytes(const VKProgressBytes& bytes, void* context) {
        auto* const self = static_cast<Recorder*>(context);
        self->done.append(bytes.done);
        self->total = bytes.total;
        if (self->cancelAtBytes && bytes.done > 0) {
            VKProgressSetCancel(self->progress(), true);
        }
    }

    VKOwnedProgress mProgress;
    QString mCancelAt;
};

QStringList steps(std::initializer_list<const char*> texts) {
    QStringList list;
    for (const char* text : texts) {
        list.append(QString::fromUtf8(text));
    }
    return list;
}

} // namespace

class VKFileMgrCopyTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void copiesAFile();
    void statuses_data();
    void statuses();
    void badUrls();
    void fileProgress();
    void cancelledFile_data();
    void cancelledFile();

    void copiesAFolder();
    void stages();
    void stagesOfEmptyFolders_data();
    void stagesOfEmptyFolders();
    void cancelledFolder_data();
    void cancelledFolder();
    void cancelledAtAFile_data();
    void cancelledAtAFile();
    void cancelledBefore();
    void cancelledWhileBytesMove();
    void aStepThatFails();
    void targetThatCannotBeMade_data();
    void targetThatCannotBeMade();
    void existingTargetIsFilled();
    void folderBytes();

private:
    [[nodiscard]] QByteArray at(const char* name) const { return mRoot + name; }
    VKStatus copyFile(const char* from, const char* to, VKProgress* progress = nullptr) {
        return VKFileMgrCopyFileWithProgress(makeUrl(at(from)).get(), makeUrl(at(to)).get(), progress);
    }
    VKStatus copyFolder(const char* from, const char* to, VKProgress* progress = nullptr) {
        return VKFileMgrCopyFolder(makeUrl(at(from), true).get(), makeUrl(at(to), true).get(), progress);
    }
    /// "album" with the folders "A" and "b", in "A" the folder "c", and four files.
    void makeAlbum();

    QByteArray mRoot; ///< ends in "/"
};

void VKFileMgrCopyTest::initTestCase() { mRoot = makeFolder(QStringLiteral("copy")).toUtf8() + '/'; }

void VKFileMgrCopyTest::cleanup() {
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void VKFileMgrCopyTest::makeAlbum() {
    for (const char* folder : {"album", "album/A", "album/b", "album/A/c"}) {
        Disk::makeFolder(at(folder));
    }
    for (const char* file : {"album/z.jpg", "album/A/1.jpg", "album/b/2.jpg", "album/A/c/3.jpg"}) {
        Disk::makeFile(at(file), QByteArray(1000, 'x'));
        Disk::setTime(at(file), 1'000'000'000, 5);
    }
}

void VKFileMgrCopyTest::copiesAFile() {
    Disk::makeFile(at("a"), "photo");
    Disk::setTime(at("a"), 1'000'000'000, 123'456'789);
    QCOMPARE(VKFileMgrCopyFile(makeUrl(at("a")).get(), makeUrl(at("b")).get()), kVKStatusSuccess);
    QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
}

void VKFileMgrCopyTest::statuses_data() {
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("missing") << QByteArray("gone") << QByteArray("new") << VKStatus(2);
    QTest::newRow("folder") << QByteArray("folder") << QByteArray("new") << VKStatus(21);
    QTest::newRow("fifo") << QByteArray("fifo") << QByteArray("new") << VKStatus(95);
    QTest::newRow("existing destination") << QByteArray("a") << QByteArray("folder") << VKStatus(17);
    QTest::newRow("onto itself") << QByteArray("a") << QByteArray("a") << VKStatus(17);
    QTest::newRow("no folder there") << QByteArray("a") << QByteArray("gone/new") << VKStatus(2);
}

void VKFileMgrCopyTest::statuses() {
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(VKStatus, status);
    Disk::makeFile(at("a"), "a");
    Disk::makeFolder(at("folder"));
    Disk::makeFifo(at("fifo"));
    const QByteArrayList before = Disk::recordsBelow(mRoot, Disk::kAllParts);
    QCOMPARE(copyFile(from, to), status);
    QCOMPARE(Disk::recordsBelow(mRoot, Disk::kAllParts), before);
}

void VKFileMgrCopyTest::badUrls() {
    Disk::makeFile(at("a"), "a");
    const auto good = makeUrl(at("a"));
    const auto other = makeUrl(at("b"));
    const auto web = makeWebUrl();
    QCOMPARE(VKFileMgrCopyFile(nullptr, other.get()), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrCopyFile(good.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrCopyFile(web.get(), other.get()), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrCopyFile(good.get(), web.get()), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrCopyFolder(nullptr, other.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrCopyFolder(good.get(), nullptr, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrCopyFolder(web.get(), other.get(), nullptr), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrCopyFolder(good.get(), web.get(), nullptr), kVKStatusNotConvertible);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a"});
}

void VKFileMgrCopyTest::fileProgress() {
    constexpr int kSize = 5'000'000;
    Disk::makeFile(at("a"), QByteArray(kSize, 'x'));
    Recorder recorder;
    recorder.watchBytes();
    QCOMPARE(copyFile("a", "b", recorder.progress()), kVKStatusSuccess);
    QCOMPARE(recorder.total, quint64(kSize));
    QCOMPARE(recorder.done.last(), quint64(kSize));
    QVERIFY(recorder.seen.isEmpty()); // stages are for folders
}

void VKFileMgrCopyTest::cancelledFile_data() {
    QTest::addColumn<bool>("before");
    QTest::addColumn<bool>("isLink");
    QTest::newRow("before") << true << false;
    QTest::newRow("while bytes move") << false << false;
    QTest::newRow("a link, before") << true << true;
}

void VKFileMgrCopyTest::cancelledFile() {
    QFETCH(bool, before);
    QFETCH(bool, isLink);
    Disk::makeFile(at("a"), QByteArray(20'000'000, 'x'));
    Disk::makeLink(at("link"), "a");
    Recorder recorder;
    recorder.watchBytes();
    recorder.cancelAtBytes = true;
    VKProgressSetCancel(recorder.progress(), before);
    QCOMPARE(copyFile(isLink ? "link" : "a", "b", recorder.progress()), kVKStatusCancelled);
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"a", "link"}));
}

void VKFileMgrCopyTest::copiesAFolder() {
    makeAlbum();
    QCOMPARE(copyFolder("album", "new/deep/copy"), kVKStatusSuccess);
    QCOMPARE(Disk::recordsBelow(at("new/deep/copy"), Disk::kAllParts),
             Disk::recordsBelow(at("album"), Disk::kAllParts));
    QCOMPARE(Disk::recordOf(at("new/deep/copy"), Disk::kAllParts),
             Disk::recordOf(at("album"), Disk::kAllParts));
}

void VKFileMgrCopyTest::stages() {
    makeAlbum();
    Recorder recorder;
    QCOMPARE(copyFolder("album", "copy", recorder.progress()), kVKStatusSuccess);
    QCOMPARE(recorder.seen, steps({"0/-1/0", "0/-1/0",                           // scan
                                   "1/-1/3", "1/0/3", "1/1/3", "1/2/3", "1/2/3", // folders
                                   "2/-1/4", "2/0/4", "2/1/4", "2/2/4", "2/3/4", "2/3/4"}));
}

void VKFileMgrCopyTest::stagesOfEmptyFolders_data() {
    QTest::addColumn<QByteArray>("from");
    QTest::newRow("empty") << QByteArray("empty");
    QTest::newRow("missing") << QByteArray("gone");
    QTest::newRow("a file") << QByteArray("file");
    QTest::newRow("only hidden entries") << QByteArray("hidden");
}

void VKFileMgrCopyTest::stagesOfEmptyFolders() {
    QFETCH(QByteArray, from);
    Disk::makeFolder(at("empty"));
    Disk::makeFile(at("file"), "file");
    Disk::makeFolder(at("hidden"));
    Disk::makeFile(at("hidden/.a"), "a");
    Recorder recorder;
    QCOMPARE(copyFolder(from, "copy", recorder.progress()), kVKStatusSuccess);
    QVERIFY(Disk::namesIn(at("copy")).isEmpty());
    QCOMPARE(recorder.seen, steps({"0/-1/0", "0/-1/0", "1/-1/0", "1/-1/0", "2/-1/0", "2/-1/0"}));
}

void VKFileMgrCopyTest::cancelledFolder_data() {
    QTest::addColumn<QString>("at");
    QTest::addColumn<QStringList>("last");
    QTest::addColumn<QByteArrayList>("left");
    // What is reported after the step that cancels is only the end of its stage.
    QTest::newRow("while it is looked through")
        << QStringLiteral("0/-1/0") << steps({"0/-1/0", "0/-1/0"}) << QByteArrayList();
    QTest::newRow("first folder") << QStringLiteral("1/0/3")
                                  << steps({"0/-1/0", "0/-1/0", "1/-1/3", "1/0/3", "1/0/3"})
                                  << QByteArrayList{"A"};
    QTest::newRow("second folder") << QStringLiteral("1/1/3")
                                   << steps({"0/-1/0", "0/-1/0", "1/-1/3", "1/0/3", "1/1/3", "1/1/3"})
                                   << QByteArrayList{"A", "b"};
}

void VKFileMgrCopyTest::cancelledFolder() {
    QFETCH(QString, at);
    QFETCH(QStringList, last);
    QFETCH(QByteArrayList, left);
    makeAlbum();
    const QByteArrayList before = Disk::recordsBelow(this->at("album"), Disk::kAllParts);
    Recorder recorder(at);
    QCOMPARE(copyFolder("album", "copy", recorder.progress()), kVKStatusCancelled);
    QCOMPARE(recorder.seen, last);
    QCOMPARE(Disk::exists(this->at("copy")) ? Disk::namesIn(this->at("copy")) : QByteArrayList(), left);
    QCOMPARE(Disk::recordsBelow(this->at("album"), Disk::kAllParts), before);
}

void VKFileMgrCopyTest::cancelledAtAFile_data() {
    QTest::addColumn<int>("file");
    QTest::newRow("first") << 0;
    QTest::newRow("second") << 1;
    QTest::newRow("last") << 3;
}

void VKFileMgrCopyTest::cancelledAtAFile() {
    QFETCH(int, file);
    makeAlbum();
    Recorder recorder(QStringLiteral("2/%1/4").arg(file));
    QCOMPARE(copyFolder("album", "copy", recorder.progress()), kVKStatusCancelled);
    const QStringList all = steps({"2/-1/4", "2/0/4", "2/1/4", "2/2/4", "2/3/4"});
    QCOMPARE(recorder.seen.sliced(7), all.first(file + 2) << all.at(file + 1));
}

void VKFileMgrCopyTest::cancelledBefore() {
    makeAlbum();
    Recorder recorder;
    VKProgressSetCancel(recorder.progress(), true);
    QCOMPARE(copyFolder("album", "copy", recorder.progress()), kVKStatusCancelled);
    QVERIFY(!Disk::exists(at("copy")));
}

void VKFileMgrCopyTest::cancelledWhileBytesMove() {
    Disk::makeFolder(at("album"));
    for (int i = 0; i < 6; ++i) {
        Disk::makeFile(at("album/") + QByteArray::number(i), QByteArray(20'000'000, 'x'));
    }
    Recorder recorder;
    recorder.watchBytes();
    recorder.cancelAtBytes = true;
    QCOMPARE(copyFolder("album", "copy", recorder.progress()), kVKStatusCancelled);
    QCOMPARE(recorder.seen.first(5), steps({"0/-1/0", "0/-1/0", "1/-1/0", "1/-1/0", "2/-1/6"}));
    // What has its name is whole.
    for (const QByteArray& name : Disk::namesIn(at("copy"))) {
        QCOMPARE(Disk::recordOf(at("copy/") + name, Disk::kAllParts),
                 Disk::recordOf(at("album/") + name, Disk::kAllParts));
    }
}

void VKFileMgrCopyTest::aStepThatFails() {
    makeAlbum();
    Disk::makeFolder(at("copy"));
    Disk::makeFolder(at("copy/b"));
    Disk::makeFile(at("copy/b/2.jpg"), "what was there");
    Recorder recorder;
    QCOMPARE(copyFolder("album", "copy", recorder.progress()), VKStatus(EEXIST));
    // The files before it, in the order of the listing: z.jpg, A/1.jpg.
    QCOMPARE(recorder.seen.sliced(7), steps({"2/-1/4", "2/0/4", "2/1/4", "2/1/4"}));
    QCOMPARE(Disk::contentOf(at("copy/b/2.jpg")), QByteArray("what was there"));
    QCOMPARE(Disk::contentOf(at("copy/z.jpg")), Disk::contentOf(at("album/z.jpg")));
}

void VKFileMgrCopyTest::targetThatCannotBeMade_data() {
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("a file") << QByteArray("file") << VKStatus(EEXIST);
    QTest::newRow("below a file") << QByteArray("file/copy") << VKStatus(ENOTDIR);
    QTest::newRow("a name of 256 bytes") << QByteArray(256, 'n') << VKStatus(ENAMETOOLONG);
}

void VKFileMgrCopyTest::targetThatCannotBeMade() {
    QFETCH(QByteArray, to);
    QFETCH(VKStatus, status);
    makeAlbum();
    Disk::makeFile(at("file"), "what was there");
    Recorder recorder;
    QCOMPARE(copyFolder("album", to, recorder.progress()), status);
    QCOMPARE(recorder.seen, steps({"0/-1/0", "0/-1/0"}));
    QCOMPARE(Disk::contentOf(at("file")), QByteArray("what was there"));
}

void VKFileMgrCopyTest::existingTargetIsFilled() {
    makeAlbum();
    Disk::makeFolder(at("copy"));
    Disk::makeFile(at("copy/mine"), "mine");
    QCOMPARE(::chmod(at("copy").constData(), 0711), 0);
    QCOMPARE(copyFolder("album", "copy"), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(at("copy")), (QByteArrayList{"A", "b", "mine", "z.jpg"}));
    QCOMPARE(Disk::modeOf(at("copy")), 0711U);
}

void VKFileMgrCopyTest::folderBytes() {
    makeAlbum();
    Recorder recorder;
    recorder.watchBytes();
    QCOMPARE(copyFolder("album", "copy", recorder.progress()), kVKStatusSuccess);
    QCOMPARE(recorder.total, quint64(4000));
    QCOMPARE(recorder.done.last(), quint64(4000));
}

VKTEST_MAIN(VKFileMgrCopyTest)
#include "VKFileMgrCopyTest.moc"

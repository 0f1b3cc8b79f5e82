// Copies of whole trees by VKQtPathUtils: progress, cancelling at each step, and what a failed one leaves.
#include "Common/PathUtilsSupport.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"
#include "VKQtPathUtils.h"

#include <QList>

#include <cerrno>
#include <climits>
#include <memory>

using namespace CoreKit;
using namespace PathUtils;
using namespace Qt::StringLiterals;

namespace {

using OwnedProgress = VKOwnedProgress;

/// What a copy reports, and the stage and step at which it is cancelled.
struct Watcher {
    VKProgress* progress = nullptr;
    int cancelStage = INT_MAX;
    int cancelStep = 0;
    QList<QList<int>> seen;

    static void receive(const VKProgressState& state, void* context) {
        auto* const self = static_cast<Watcher*>(context);
        self->seen.append({state.stage, state.step, state.steps});
        if (state.stage == self->cancelStage && state.step == self->cancelStep) {
            VKProgressSetCancel(self->progress, true);
        }
    }
};

OwnedProgress watched(Watcher& watcher) {
    OwnedProgress progress(VKProgressCreate(&Watcher::receive, &watcher));
    watcher.progress = progress.get();
    return progress;
}

const QByteArray kCopiedTree = "link?\none.jpg=1\nsub/\nsub/deep/\nsub/deep/three.jpg=3\nsub/lat\xe9.jpg=2\n";

} // namespace

class VKQtPathUtilsTreesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void copiesATree();
    void progressOfATree();
    void cancelledAtEachStep_data();
    void cancelledAtEachStep();
    void cancelledAmongFoldersWithoutPermission();
    void treeThatCannotBeMade();
    void treeOntoItself();
    void missingTree();
    void cleanUpTakesWhatWasThere();
    void cleanUpByFlag();
    void treeIntoItself();
};
void VKQtPathUtilsTreesTest::copiesATree() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    const QByteArray before = snapshot(bytes + "/tree");
    VKQtPath from = folderPath(folder, u"tree"_s);
    VKQtPath to = folderPath(folder, u"copy/of/it"_s);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::copyRecursive(from, to, nullptr), kVKStatusSuccess);
    QCOMPARE(snapshot(bytes + "/copy/of/it"), kCopiedTree);
    QCOMPARE(snapshot(bytes + "/tree"), before);
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsTreesTest::progressOfATree() {
    const QString folder = makeFolder();
    makeTree(folder.toUtf8() + "/tree");
    VKQtPath from = folderPath(folder, u"tree"_s);
    VKQtPath to = folderPath(folder, u"copy"_s);
    Watcher watcher;
    const OwnedProgress progress = watched(watcher);
    QCOMPARE(VKQtPathUtils::copyRecursive(from, to, progress.get()), kVKStatusSuccess);
    QList<int> foldersDone;
    QList<int> filesDone;
    for (const QList<int>& state : watcher.seen) {
        QVERIFY(state[0] >= 0 && state[0] <= 2);
        QCOMPARE(state[2], state[0] == 0 ? 0 : state[0] == 1 ? 2 : 4); // the link is one of the files
        if (state[1] >= 0 && state[0] > 0) {
            QList<int>& done = state[0] == 1 ? foldersDone : filesDone;
            if (!done.contains(state[1])) { // the end of a stage tells its last step once more
                done.append(state[1]);
            }
        }
    }
    QCOMPARE(foldersDone, QList<int>({0, 1}));
    QCOMPARE(filesDone, QList<int>({0, 1, 2, 3}));
}

void VKQtPathUtilsTreesTest::cancelledAtEachStep_data() {
    QTest::addColumn<int>("stage");
    QTest::addColumn<int>("step");
    QTest::newRow("begin of the scan") << 0 << -1;
    QTest::newRow("begin of the folders") << 1 << -1;
    QTest::newRow("first folder") << 1 << 0;
    QTest::newRow("last folder") << 1 << 1;
    QTest::newRow("begin of the files") << 2 << -1;
    QTest::newRow("first file") << 2 << 0;
    QTest::newRow("last file") << 2 << 3;
}

void VKQtPathUtilsTreesTest::cancelledAtEachStep() {
    QFETCH(int, stage);
    QFETCH(int, step);
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    const QByteArray before = snapshot(bytes);
    VKQtPath from = folderPath(folder, u"tree"_s);
    VKQtPath to = folderPath(folder, u"copy"_s);
    Watcher watcher;
    const OwnedProgress progress = watched(watcher);
    watcher.cancelStage = stage;
    watcher.cancelStep = step;
    LogCapture log;
    QCOMPARE(VKQtPathUtils::copyRecursive(from, to, progress.get()), kVKStatusCancelled);
    QCOMPARE(loggedStatuses(log), QList<int>());
    QCOMPARE(snapshot(bytes), before);
}

void VKQtPathUtilsTreesTest::cancelledAmongFoldersWithoutPermission() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    Disk::openForOthers(bytes + "/x");
    QVERIFY(::chmod(bytes.constData(), 0777) == 0);
    // The copy's own folders must not keep the clean-up out, at whatever step it comes.
    const int failures = Disk::asOtherUser([&] {
        makeTree(bytes + "/tree");
        Disk::must(::chmod(Disk::text(bytes + "/tree/sub/deep"), 0555) == 0, "chmod", bytes);
        Disk::must(::chmod(Disk::text(bytes + "/tree/sub"), 0555) == 0, "chmod", bytes);
        const QByteArray before = snapshot(bytes);
        int failed = 0;
        for (const auto& [stage, step] : {std::pair{1, 0}, {1, 1}, {2, -1}, {2, 0}, {2, 2}, {2, 3}}) {
            VKQtPath from = folderPath(folder, u"tree"_s);
            VKQtPath to = folderPath(folder, u"copy"_s);
            Watcher watcher;
            const OwnedProgress progress = watched(watcher);
            watcher.cancelStage = stage;
            watcher.cancelStep = step;
            failed += VKQtPathUtils::copyRecursive(from, to, progress.get()) != kVKStatusCancelled ? 1 : 0;
            failed += snapshot(bytes) != before ? 1 : 0;
        }
        return failed;
    });
    QCOMPARE(failures, 0);
}

void VKQtPathUtilsTreesTest::treeThatCannotBeMade() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    Disk::makeFile(bytes + "/file", "mine");
    const QByteArray before = snapshot(bytes);
    VKQtPath from = folderPath(folder, u"tree"_s);
    VKQtPath to = folderPath(folder, u"file/copy"_s);
    LogCapture log;
    const VKStatus status = VKQtPathUtils::copyRecursive(from, to, nullptr);
    QVERIFY(status == ENOTDIR || status == EEXIST);
    QCOMPARE(loggedStatuses(log), QList<int>({int(status)}));
    QCOMPARE(snapshot(bytes), before);
}

void VKQtPathUtilsTreesTest::treeOntoItself() {
    for (const QString& name : {u"tree"_s, u"TREE"_s}) {
        const QString folder = makeFolder();
        const QByteArray bytes = folder.toUtf8();
        makeTree(bytes + "/tree");
        if (name == u"TREE") {
            makeTree(bytes + "/TREE");
        }
        VKQtPath from = folderPath(folder, u"tree"_s);
        VKQtPath to = folderPath(folder, name);
        LogCapture log;
        QCOMPARE(VKQtPathUtils::copyRecursive(from, to, nullptr), kVKStatusBadArgument);
        QCOMPARE(loggedStatuses(log), QList<int>({int(kVKStatusBadArgument)}));
        // What the header warns of: `to` is gone, and nothing else.
        QVERIFY(!Disk::exists(bytes + '/' + name.toUtf8()));
        QCOMPARE(Disk::exists(bytes + "/tree"), name == u"TREE");
        QVERIFY(Disk::exists("/etc"));
    }
}

void VKQtPathUtilsTreesTest::missingTree() {
    const QString folder = makeFolder();
    VKQtPath from = folderPath(folder, u"none"_s);
    VKQtPath to = folderPath(folder, u"copy"_s);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::copyRecursive(from, to, nullptr), kVKStatusSuccess);
    QCOMPARE(snapshot(folder.toUtf8()), QByteArray("copy/\n"));
    QCOMPARE(loggedStatuses(log), QList<int>());
}

void VKQtPathUtilsTreesTest::cleanUpTakesWhatWasThere() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    Disk::makeFolder(bytes + "/copy");
    Disk::makeFile(bytes + "/copy/one.jpg", "mine");
    Disk::makeFile(bytes + "/beside", "mine");
    VKQtPath from = folderPath(folder, u"tree"_s);
    VKQtPath to = folderPath(folder, u"copy"_s);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::copyRecursive(from, to, nullptr), VKStatus(EEXIST));
    QCOMPARE(loggedStatuses(log), QList<int>({EEXIST}));
    QVERIFY(!Disk::exists(bytes + "/copy"));
    QVERIFY(Disk::exists(bytes + "/tree/one.jpg"));
    QVERIFY(Disk::exists(bytes + "/beside"));
}

void VKQtPathUtilsTreesTest::cleanUpByFlag() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    VKQtPath from = folderPath(folder, u"tree"_s);
    VKQtPath to = filePath(folder, u"copy"_s);
    Watcher watcher;
    const OwnedProgress progress = watched(watcher);
    watcher.cancelStage = 2;
    watcher.cancelStep = 3;
    QCOMPARE(VKQtPathUtils::copyRecursive(from, to, progress.get()), kVKStatusCancelled);
    // A path that is no folder's deletes a file only.
    QCOMPARE(snapshot(bytes + "/copy"), kCopiedTree);
}

void VKQtPathUtilsTreesTest::treeIntoItself() {
    const QString folder = makeFolder();
    const QByteArray bytes = folder.toUtf8();
    makeTree(bytes + "/tree");
    VKQtPath from = folderPath(folder, u"tree"_s);
    VKQtPath to = folderPath(folder, u"tree/copy"_s);
    LogCapture log;
    QCOMPARE(VKQtPathUtils::copyRecursive(from, to, nullptr), kVKStatusSuccess);
    QCOMPARE(snapshot(bytes + "/tree/copy"), kCopiedTree);
}

VKTEST_MAIN(VKQtPathUtilsTreesTest)
#include "VKQtPathUtilsTreesTest.moc"

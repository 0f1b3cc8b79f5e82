// Listings longer than one read of the kernel's: nothing is missed and nothing comes twice.
#include "Common/DirIteratorSupport.h"
#include "Common/PathFilterSupport.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <VKQtDirIterator.h>

#include <QSet>

#include <memory>
#include <unistd.h>

using DirIteratorSupport::listed;
using DirIteratorSupport::Listing;
using DirIteratorSupport::namesOf;

namespace {

constexpr int kCount = 20000;

QByteArray nameAt(int index) {
    return "photo " + QByteArray::number(index) + (index % 2 == 0 ? ".jpg" : ".txt");
}

} // namespace

class VKQtDirIteratorManyTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyEntryOnce_data();
    void everyEntryOnce();
    void photosOnly();
    // Last, because it empties the folder.
    void removingOnTheWay();

private:
    QByteArray mRoot; // with its "/"
    VKQtPath mPath;
    QSet<QString> mNames;
};

void VKQtDirIteratorManyTest::initTestCase() {
    const QString folder = makeFolder(QStringLiteral("many"));
    mRoot = folder.toUtf8() + '/';
    mPath.setPath(folder, true);
    // Names of one file: they are entries like any other, and quickly made.
    Disk::makeFile(mRoot + nameAt(0), "content");
    mNames.insert(QString::fromUtf8(nameAt(0)));
    for (int i = 1; i < kCount; ++i) {
        const QByteArray name = mRoot + nameAt(i);
        Disk::must(::link(Disk::text(mRoot + nameAt(0)), name.constData()) == 0, "link", name);
        mNames.insert(QString::fromUtf8(nameAt(i)));
    }
}

void VKQtDirIteratorManyTest::everyEntryOnce_data() {
    QTest::addColumn<bool>("details");
    QTest::newRow("with details") << true;
    QTest::newRow("names only") << false;
}

void VKQtDirIteratorManyTest::everyEntryOnce() {
    QFETCH(bool, details);
    const Listing all = listed(mPath, filterWith(QStringLiteral("+all")), details);
    QCOMPARE(all.status, VKStatus{0});
    QCOMPARE(all.entries.size(), kCount);
    const QStringList names = namesOf(all);
    QVERIFY(QSet<QString>(names.begin(), names.end()) == mNames);
    for (const VKQtDirIterator::Entry& entry : all.entries) {
        QCOMPARE(entry.size, details ? 7 : 0);
        QCOMPARE(entry.modified.isValid(), details);
    }
}

void VKQtDirIteratorManyTest::photosOnly() {
    const Listing photos = listed(mPath, VKQtPathFilter());
    QCOMPARE(photos.entries.size(), kCount / 2);
    for (const VKQtDirIterator::Entry& entry : photos.entries) {
        QVERIFY(entry.path.isJPG());
        QVERIFY(mNames.contains(entry.path.filename()));
    }
}

void VKQtDirIteratorManyTest::removingOnTheWay() {
    const std::unique_ptr<VKQtDirIterator> iterator(
        VKQtDirIterator::makeIterator(mPath, filterWith(QStringLiteral("+all"))));
    QSet<QString> names;
    int count = 0;
    for (VKQtDirIterator::Entry entry; iterator->next(entry); ++count) {
        names.insert(entry.path.filename());
        const QByteArray bytes = entry.path.path().toUtf8();
        Disk::must(::unlink(bytes.constData()) == 0, "unlink", bytes);
    }
    QCOMPARE(iterator->status(), VKStatus{0});
    QCOMPARE(count, kCount);
    QVERIFY(names == mNames);
    QVERIFY(Disk::namesIn(mRoot).isEmpty());
}

VKTEST_MAIN(VKQtDirIteratorManyTest)
#include "VKQtDirIteratorManyTest.moc"

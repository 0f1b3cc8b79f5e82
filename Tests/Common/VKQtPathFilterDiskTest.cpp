// The one test of the filter that looks at the disk: what exists, however spelled, and what kind it is.
#include "Common/PathFilterSupport.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <VKQtPathFilter.h>

class VKQtPathFilterDiskTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void itemOnDisk_data();
    void itemOnDisk();
    void textsThatNameNoItem();
    void undecidableNamesCountAsMissing();
    void relativeText();

private:
    QString mFolder; // the present test's own, if it asks for one
};

void VKQtPathFilterDiskTest::cleanup() {
    if (!mFolder.isEmpty()) {
        Disk::removeTree(mFolder.toUtf8());
        mFolder.clear();
    }
}

void VKQtPathFilterDiskTest::itemOnDisk_data() {
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("filtered");
    const QString none;
    const QString noFiles = QStringLiteral("-files");
    const QString noFolders = QStringLiteral("-folders");
    const QByteArray file("file");
    const QByteArray folder("folder");
    QTest::newRow("photo") << none << file << QByteArray("a.jpg") << QStringLiteral("a.jpg") << false;
    QTest::newRow("text file") << none << file << QByteArray("a.txt") << QStringLiteral("a.txt") << true;
    QTest::newRow("folder") << none << folder << QByteArray("a.txt") << QStringLiteral("a.txt") << false;
    QTest::newRow("folder, folders off")
        << noFolders << folder << QByteArray("a.jpg") << QStringLiteral("a.jpg") << true;
    QTest::newRow("file, folders off")
        << noFolders << file << QByteArray("a.jpg") << QStringLiteral("a.jpg") << false;
    QTest::newRow("missing text file")
        << none << file << QByteArray("b.txt") << QStringLiteral("a.txt") << false;
    QTest::newRow("missing library") << none << folder << QByteArray("x") << QStringLiteral("a.aplibrary")
                                     << false;
    QTest::newRow("library") << none << folder << QByteArray("a.aplibrary") << QStringLiteral("a.aplibrary")
                             << true;
    QTest::newRow("another case is another name")
        << none << file << QByteArray("A.TXT") << QStringLiteral("a.txt") << false;
    QTest::newRow("composed") << none << file << QByteArray("\xC3\xA9.txt") << QStringLiteral("\u00E9.txt")
                              << true;
    QTest::newRow("decomposed") << none << file << QByteArray("e\xCC\x81.txt") << QStringLiteral("\u00E9.txt")
                                << true;
    QTest::newRow("decomposed photo, files off")
        << noFiles << file << QByteArray("e\xCC\x81.jpg") << QStringLiteral("\u00E9.jpg") << true;
    QTest::newRow("decomposed photo")
        << none << file << QByteArray("e\xCC\x81.jpg") << QStringLiteral("\u00E9.jpg") << false;
    QTest::newRow("decomposed folder with a file's suffix")
        << noFiles << folder << QByteArray("e\xCC\x81.txt") << QStringLiteral("\u00E9.txt") << false;
    QTest::newRow("decomposed folder, folders off")
        << noFolders << folder << QByteArray("e\xCC\x81") << QStringLiteral("\u00E9") << true;
    QTest::newRow("text given decomposed")
        << none << file << QByteArray("\xC3\xA9.txt") << QStringLiteral("e\u0301.txt") << true;
    QTest::newRow("text given decomposed, on disk too")
        << none << file << QByteArray("e\xCC\x81.txt") << QStringLiteral("e\u0301.txt") << true;
    QTest::newRow("undecodable") << none << file << QByteArray("caf\xE9.txt")
                                 << QStringLiteral("caf\uFFFD.txt") << true;
    QTest::newRow("undecodable photo, files off")
        << noFiles << file << QByteArray("caf\xE9.jpg") << QStringLiteral("caf\uFFFD.jpg") << true;
    QTest::newRow("undecodable photo")
        << none << file << QByteArray("caf\xE9.jpg") << QStringLiteral("caf\uFFFD.jpg") << false;
    QTest::newRow("undecodable folder, folders off")
        << noFolders << folder << QByteArray("caf\xE9") << QStringLiteral("caf\uFFFD") << true;
    QTest::newRow("name with a backslash")
        << none << file << QByteArray("a\\b.txt") << QStringLiteral("a\uFFFDb.txt") << true;
    QTest::newRow("link to nothing") << none << QByteArray("link:nothing") << QByteArray("a.txt")
                                     << QStringLiteral("a.txt") << false;
    QTest::newRow("decomposed link to nothing")
        << none << QByteArray("link:nothing") << QByteArray("e\xCC\x81.txt") << QStringLiteral("\u00E9.txt")
        << false;
    QTest::newRow("link to a folder")
        << noFolders << QByteArray("link:.") << QByteArray("a.jpg") << QStringLiteral("a.jpg") << true;
    QTest::newRow("decomposed link to a folder")
        << noFolders << QByteArray("link:.") << QByteArray("e\xCC\x81.jpg") << QStringLiteral("\u00E9.jpg")
        << true;
    QTest::newRow("a pipe is no file, so it counts as a folder")
        << noFolders << QByteArray("pipe") << QByteArray("a.jpg") << QStringLiteral("a.jpg") << true;
    QTest::newRow("decomposed pipe") << noFolders << QByteArray("pipe") << QByteArray("e\xCC\x81.jpg")
                                     << QStringLiteral("\u00E9.jpg") << true;
}

void VKQtPathFilterDiskTest::itemOnDisk() {
    QFETCH(QString, changes);
    QFETCH(QByteArray, kind);
    QFETCH(QByteArray, name);
    QFETCH(QString, text);
    QFETCH(bool, filtered);
    mFolder = makeFolder();
    const QByteArray item = mFolder.toUtf8() + '/' + name;
    if (kind == "file") {
        Disk::makeFile(item);
    } else if (kind == "folder") {
        Disk::makeFolder(item);
    } else if (kind == "pipe") {
        Disk::makeFifo(item);
    } else {
        Disk::makeLink(item, kind.mid(5));
    }
    QCOMPARE(filterWith(changes).isPathFiltered(QString(mFolder + u'/' + text)), filtered);
}

void VKQtPathFilterDiskTest::textsThatNameNoItem() {
    VKQtPathFilter nothing;
    nothing.mIncludeFiles = false;
    nothing.mIncludeFolders = false;
    mFolder = makeFolder();
    QVERIFY(nothing.isPathFiltered(mFolder));
    QVERIFY(!nothing.isPathFiltered(QString()));
    QVERIFY(!nothing.isPathFiltered(QString(QChar(0))));
    QVERIFY(!nothing.isPathFiltered(QString(mFolder + u'/' + QChar(0xD800))));
    QVERIFY(!nothing.isPathFiltered(QString(mFolder + u'/' + QString(300, u'\u00E9'))));
    QVERIFY(!nothing.isPathFiltered(QString(mFolder + QStringLiteral("/missing/a.jpg"))));
}

void VKQtPathFilterDiskTest::undecidableNamesCountAsMissing() {
    mFolder = makeFolder();
    Disk::makeFile(mFolder.toUtf8() + "/caf\xE9.txt");
    const QString shown = mFolder + QStringLiteral("/caf\uFFFD.txt");
    QVERIFY(VKQtPathFilter().isPathFiltered(shown));
    Disk::makeFile(mFolder.toUtf8() + "/caf\xE8.txt");
    QVERIFY(!VKQtPathFilter().isPathFiltered(shown));
}

void VKQtPathFilterDiskTest::relativeText() {
    mFolder = makeFolder();
    const QByteArray folder = mFolder.toUtf8();
    Disk::makeFile(folder + "/a.txt");
    Disk::makeFile(folder + "/e\xCC\x81.txt");
    const Disk::WorkingFolder working(folder);
    const VKQtPathFilter filter;
    const bool plain = filter.isPathFiltered(QStringLiteral("a.txt"));
    const bool odd = filter.isPathFiltered(QStringLiteral("\u00E9.txt"));
    const bool here = filter.isPathFiltered(QStringLiteral("."));
    const bool missing = filter.isPathFiltered(QStringLiteral("b.txt"));
    QVERIFY(plain);
    QVERIFY(odd);
    QVERIFY(here);
    QVERIFY(!missing);
}

VKTEST_MAIN(VKQtPathFilterDiskTest)
#include "VKQtPathFilterDiskTest.moc"

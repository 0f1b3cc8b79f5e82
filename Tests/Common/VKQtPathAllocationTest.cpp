// How often the path value allocates. Every step is done and its result looked at everywhere; the number counts
// where the program has its own allocator in front (not under the sanitizers).
#include "VKQtPath.h"

#include "Support/AllocationCounter.h"
#include "Support/VKTest.h"

#include <QDataStream>

#include <cstdlib>

namespace {

// Runs the step and verifies how many allocations it made.
#define VERIFY_ALLOCATIONS(expected, step)                                                                   \
    do {                                                                                                     \
        int allocations = 0;                                                                                 \
        {                                                                                                    \
            const AllocationCounter counter;                                                                 \
            step;                                                                                            \
            allocations = counter.count();                                                                   \
        }                                                                                                    \
        if (AllocationCounter::kAvailable) {                                                                 \
            QCOMPARE(allocations, expected);                                                                 \
        }                                                                                                    \
    } while (false)

const QString kText = QStringLiteral("/home/someone/Pictures/2024/Summer holidays/Img_0001.JPG");

} // namespace

class VKQtPathAllocationTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void counterCounts();
    void nothing();
    void once();
    void declaredLengths_data();
    void declaredLengths();
};

void VKQtPathAllocationTest::counterCounts() {
    VERIFY_ALLOCATIONS(1, const QString text(100, Qt::Uninitialized); Q_UNUSED(text));
    VERIFY_ALLOCATIONS(2, void* volatile block = std::malloc(10); block = std::realloc(block, 20);
                       std::free(block));
    const AllocationCounter counter;
    void* volatile block = std::calloc(10, 300);
    std::free(block);
    QCOMPARE(counter.largest(), std::size_t{AllocationCounter::kAvailable ? 3000U : 0U});
}

void VKQtPathAllocationTest::nothing() {
    const VKQtPath path(kText, false);
    const VKQtPath upper(kText.toUpper(), false);
    const VKQtPath folder(QStringLiteral("/home/someone"), true);
    const QString prefix = QStringLiteral("/HOME/SOMEONE/PICTURES/");
    const QString ending = QStringLiteral("img_0001.jpg");
    bool answer = false;
    size_t hash = 0;

    VERIFY_ALLOCATIONS(0, const VKQtPath constructed(kText, false);
                       answer = constructed.length() == kText.size());
    QVERIFY(answer);
    // NOLINTNEXTLINE: what copying costs is the question
    VERIFY_ALLOCATIONS(0, const VKQtPath copy(path); answer = copy.length() == path.length());
    QVERIFY(answer);
    VERIFY_ALLOCATIONS(0, VKQtPath copy; copy = path; VKQtPath moved(std::move(copy));
                       copy = std::move(moved); answer = copy.length() == path.length());
    QVERIFY(answer);
    VERIFY_ALLOCATIONS(0, answer = path == upper);
    QVERIFY(answer);
    VERIFY_ALLOCATIONS(0, hash = qHash(path));
    QCOMPARE(hash, qHash(upper));
    VERIFY_ALLOCATIONS(0, answer = path.startsWith(prefix) && path.endsWith(ending));
    QVERIFY(answer);
    VERIFY_ALLOCATIONS(0, answer = path.startsWith(folder));
    QVERIFY(answer);
    VERIFY_ALLOCATIONS(0, answer = path.isJPG() && !path.isPNG() && !path.isGIF() && !path.isTiff() &&
                                   !path.isHeic() && !path.isDNG() && !path.isXMP() && !path.isPhotoshop() &&
                                   !path.isVKX() && !path.isVKPhoto() && !path.isVideo() &&
                                   !path.isQRCPath() && !path.isUNC());
    QVERIFY(answer);
    VERIFY_ALLOCATIONS(0, answer = path.compare(upper, Qt::CaseSensitive) > 0 && upper < path);
    QVERIFY(answer);
    VERIFY_ALLOCATIONS(0, answer = path.normalize(kText, false).size() == kText.size());
    QVERIFY(answer);
}

void VKQtPathAllocationTest::once() {
    const VKQtPath path(kText, false, 3);
    QString text;
    VERIFY_ALLOCATIONS(1, text = path.pathOnly().path());
    QCOMPARE(text, QStringLiteral("/home/someone/Pictures/2024/Summer holidays"));
    VERIFY_ALLOCATIONS(1, text = path.suffix());
    QCOMPARE(text, QStringLiteral("jpg"));
    VERIFY_ALLOCATIONS(1, text = path.filename());
    QCOMPARE(text, QStringLiteral("Img_0001.JPG"));
    VERIFY_ALLOCATIONS(1, text = path.baseName());
    QCOMPARE(text, QStringLiteral("Img_0001"));
    const QString backslashes = QStringLiteral("C:\\Photos\\2024\\Img_0001.JPG\\");
    VERIFY_ALLOCATIONS(1, text = VKQtPath(backslashes, false).path());
    QCOMPARE(text, QStringLiteral("C:/Photos/2024/Img_0001.JPG"));
    const QString slash = QStringLiteral("/home/someone/Pictures/");
    VERIFY_ALLOCATIONS(1, text = VKQtPath(slash, true).path());
    QCOMPARE(text, QStringLiteral("/home/someone/Pictures"));
    const QString accent = QStringLiteral("/home/Ren\u00E9/a.jpg");
    VERIFY_ALLOCATIONS(0, text = VKQtPath(accent, false).path());
    QCOMPARE(text, accent);
    VKQtPath folder(slash, true);
    const QString part = QStringLiteral("Img_0001.JPG");
    VERIFY_ALLOCATIONS(1, folder.append(part, false));
    QCOMPARE(folder.path(), QStringLiteral("/home/someone/Pictures/Img_0001.JPG"));
}

void VKQtPathAllocationTest::declaredLengths_data() {
    QTest::addColumn<quint32>("length");
    QTest::addColumn<bool>("littleEndian");
    for (const quint32 length : {0xFFFFFFFEU, 0xFFFFFFFDU, 0x80000000U, 0x01000000U, 8U, 6U}) {
        QTest::addRow("%u bytes", length) << length << false;
        QTest::addRow("%u bytes, little endian", length) << length << true;
    }
}

void VKQtPathAllocationTest::declaredLengths() {
    QFETCH(const quint32, length);
    QFETCH(const bool, littleEndian);
    const auto order = littleEndian ? QDataStream::LittleEndian : QDataStream::BigEndian;
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(order);
    out << qint32{1} << true << length << quint16{u'/'} << quint16{u'a'};

    QDataStream in(bytes);
    in.setByteOrder(order);
    VKQtPath path(QStringLiteral("/before"), true, 3);
    std::size_t largest = 0;
    {
        const AllocationCounter counter;
        in >> path;
        largest = counter.largest();
    }
    QCOMPARE(in.status(), QDataStream::ReadPastEnd);
    QVERIFY(path.path().isEmpty() && !path.isFolder() && !path.hasVolumeID());
    QCOMPARE(largest, std::size_t{0});
}

VKTEST_MAIN(VKQtPathAllocationTest)
#include "VKQtPathAllocationTest.moc"
